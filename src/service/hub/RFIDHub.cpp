// The hub's contactless reader operations.
#include "HubForward.h"

using android::IRFIDManager;

int BpTransferHub::IRFIDOpen(int mode) {
    return pos::forward(mRFID, &IRFIDManager::RFIDOpen, mode);
}

int BpTransferHub::IRFIDClose() {
    return pos::forward(mRFID, &IRFIDManager::RFIDClose);
}

int BpTransferHub::IRFIDSelectCardType(int cardType, int rate) {
    return pos::forward(mRFID, &IRFIDManager::RFIDSelectCardType, cardType, rate);
}

int BpTransferHub::IRFIDPowerOn() {
    return pos::forward(mRFID, &IRFIDManager::RFIDPowerOn);
}

int BpTransferHub::IRFIDPowerOff() {
    return pos::forward(mRFID, &IRFIDManager::RFIDPowerOff);
}

const char *BpTransferHub::IRFIDSearchCard(int timeout) {
    return pos::forward(mRFID, &IRFIDManager::RFIDSearchCard, timeout);
}

const char *BpTransferHub::IRFIDAPDUComm(const char *apdu, int timeout) {
    return pos::forward(mRFID, &IRFIDManager::RFIDAPDUComm, apdu, timeout);
}

const char *BpTransferHub::IRFIDMifareCardComm(int command, const char *data, int timeout) {
    return pos::forward(mRFID, &IRFIDManager::RFIDMifareCardComm, command, data, timeout);
}

int BpTransferHub::IRFIDSearchCardWithoutPowerOn(int timeout) {
    return pos::forward(mRFID, &IRFIDManager::RFIDSearchCardWithoutPowerOn, timeout);
}

const char *BpTransferHub::IRFIDCardPowerOn(int timeout) {
    return pos::forward(mRFID, &IRFIDManager::RFIDCardPowerOn, timeout);
}

int BpTransferHub::IRFIDCardPowerOff(int timeout) {
    return pos::forward(mRFID, &IRFIDManager::RFIDCardPowerOff, timeout);
}

const char *BpTransferHub::IRFIDFelicaSearchPowerOn(int timeout) {
    return pos::forward(mRFID, &IRFIDManager::RFIDFelicaSearchPowerOn, timeout);
}

const char *BpTransferHub::IRFIDFelicaAPDUComm(const char *frame, int timeout) {
    return pos::forward(mRFID, &IRFIDManager::RFIDFelicaAPDUComm, frame, timeout);
}
