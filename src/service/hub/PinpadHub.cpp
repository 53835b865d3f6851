// The hub's PIN pad service operations.
#include "HubForward.h"

using android::IPinpadManager;

int BpTransferHub::IPinpadOpen(const char *config) {
    return pos::forward(mPinpad, &IPinpadManager::PinpadOpen, config);
}

int BpTransferHub::IPinpadClose() {
    return pos::forward(mPinpad, &IPinpadManager::PinpadClose);
}

const char *BpTransferHub::IPinpadStartInput(const char *request, int timeout) {
    return pos::forward(mPinpad, &IPinpadManager::PinpadStartInput, request, timeout);
}

const char *BpTransferHub::IPinpadPushMasterKey(const char *request) {
    return pos::forward(mPinpad, &IPinpadManager::PinpadPushMasterKey, request);
}

const char *BpTransferHub::IPinpadPushWorkKey(const char *request) {
    return pos::forward(mPinpad, &IPinpadManager::PinpadPushWorkKey, request);
}

int BpTransferHub::IPinpadInit(const char *config) {
    return pos::forward(mPinpad, &IPinpadManager::PinpadInit, config);
}

const char *BpTransferHub::IPinpadGetKeyState(int type, int index) {
    return pos::forward(mPinpad, &IPinpadManager::PinpadGetKeyState, type, index);
}

const char *BpTransferHub::IPinpadDataDeal(const char *request) {
    return pos::forward(mPinpad, &IPinpadManager::PinpadDataDeal, request);
}

const char *BpTransferHub::IPinpadMacCal(const char *request) {
    return pos::forward(mPinpad, &IPinpadManager::PinpadMacCal, request);
}

const char *BpTransferHub::IPinpadMacCalIn(const char *request) {
    return pos::forward(mPinpad, &IPinpadManager::PinpadMacCalIn, request);
}

int BpTransferHub::IPinpadEraseAllKeys() {
    return pos::forward(mPinpad, &IPinpadManager::PinpadEraseAllKeys);
}

int BpTransferHub::IPinpadLoadKey(const char *request) {
    return pos::forward(mPinpad, &IPinpadManager::PinpadLoadKey, request);
}

int BpTransferHub::IPinpadDUKPTWriteKey(const char *request) {
    return pos::forward(mPinpad, &IPinpadManager::PinpadDUKPTWriteKey, request);
}

int BpTransferHub::IPinpadDUKPTIncKSN(int index) {
    return pos::forward(mPinpad, &IPinpadManager::PinpadDUKPTIncKSN, index);
}

const char *BpTransferHub::IPinpadGetRandom(int length) {
    return pos::forward(mPinpad, &IPinpadManager::PinpadGetRandom, length);
}

const char *BpTransferHub::IPinpadGetSecVer() {
    return pos::forward(mPinpad, &IPinpadManager::PinpadGetSecVer);
}

const char *BpTransferHub::IPinpadGetKCV(const char *request) {
    return pos::forward(mPinpad, &IPinpadManager::PinpadGetKCV, request);
}

const char *BpTransferHub::IPinpadDUKPTGetPinBlock(const char *request, int timeout) {
    return pos::forward(mPinpad, &IPinpadManager::PinpadDUKPTGetPinBlock, request, timeout);
}

const char *BpTransferHub::IPinpadDUKPTGetMac(const char *request) {
    return pos::forward(mPinpad, &IPinpadManager::PinpadDUKPTGetMac, request);
}

const char *BpTransferHub::IPinpadDUKPTGetDes(const char *request) {
    return pos::forward(mPinpad, &IPinpadManager::PinpadDUKPTGetDes, request);
}

const char *BpTransferHub::IPinpadDUKPTGetKSN(int index) {
    return pos::forward(mPinpad, &IPinpadManager::PinpadDUKPTGetKSN, index);
}

const char *BpTransferHub::IPinpadGetPinResult() {
    return pos::forward(mPinpad, &IPinpadManager::PinpadGetPinResult);
}

const char *BpTransferHub::IPinpadDUKPTGetPinResult() {
    return pos::forward(mPinpad, &IPinpadManager::PinpadDUKPTGetPinResult);
}

int BpTransferHub::IPinpadCtrlKeyResponse(int action) {
    return pos::forward(mPinpad, &IPinpadManager::PinpadCtrlKeyResponse, action);
}
