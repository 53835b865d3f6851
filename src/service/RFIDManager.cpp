// The contactless reader service's proxy: one transaction per operation, text as String16.
#include "pos_sdk/service/IRFIDManager.h"

#include "ProxyCall.h"
#include "ServiceBinding.h"

namespace android {

POS_IMPLEMENT_SERVICE_INTERFACE(RFIDManager, "com.kivo.device.manager.IRFIDManager")

BpRFIDManager::BpRFIDManager(const sp<IBinder> &impl) : BpInterface<IRFIDManager>(impl) {}

int BpRFIDManager::RFIDOpen(int mode) {
    return pos::call(this, OPEN, mode).status();
}

int BpRFIDManager::RFIDClose() {
    return pos::call(this, CLOSE).status();
}

int BpRFIDManager::RFIDSelectCardType(int cardType, int rate) {
    return pos::call(this, SELECT_CARD_TYPE, cardType, rate).status();
}

int BpRFIDManager::RFIDPowerOn() {
    return pos::call(this, POWER_ON).status();
}

int BpRFIDManager::RFIDPowerOff() {
    return pos::call(this, POWER_OFF).status();
}

const char *BpRFIDManager::RFIDSearchCard(int timeout) {
    return pos::call(this, SEARCH_CARD, timeout).text();
}

const char *BpRFIDManager::RFIDAPDUComm(const char *apdu, int timeout) {
    return pos::call(this, APDU_COMM, pos::text16(apdu), timeout).text();
}

const char *BpRFIDManager::RFIDMifareCardComm(int command, const char *data, int timeout) {
    return pos::call(this, MIFARE_CARD_COMM, command, pos::text16(data), timeout).text();
}

int BpRFIDManager::RFIDSearchCardWithoutPowerOn(int timeout) {
    return pos::call(this, SEARCH_CARD_WITHOUT_POWER_ON, timeout).status();
}

const char *BpRFIDManager::RFIDCardPowerOn(int timeout) {
    return pos::call(this, CARD_POWER_ON, timeout).text();
}

int BpRFIDManager::RFIDCardPowerOff(int timeout) {
    return pos::call(this, CARD_POWER_OFF, timeout).status();
}

const char *BpRFIDManager::RFIDFelicaSearchPowerOn(int timeout) {
    return pos::call(this, FELICA_SEARCH_POWER_ON, timeout).text();
}

const char *BpRFIDManager::RFIDFelicaAPDUComm(const char *frame, int timeout) {
    return pos::call(this, FELICA_APDU_COMM, pos::text16(frame), timeout).text();
}

}  // namespace android
