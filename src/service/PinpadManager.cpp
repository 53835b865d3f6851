// The PIN pad service's proxy: one transaction per operation, every text as a String16.
#include "pos_sdk/service/IPinpadManager.h"

#include "ProxyCall.h"
#include "ServiceBinding.h"

namespace android {

POS_IMPLEMENT_SERVICE_INTERFACE(PinpadManager, "com.kivo.device.manager.IPinpadManager")

BpPinpadManager::BpPinpadManager(const sp<IBinder> &impl) : BpInterface<IPinpadManager>(impl) {}

int BpPinpadManager::PinpadOpen(const char *config) {
    return pos::call(this, OPEN, pos::text16(config)).status();
}

int BpPinpadManager::PinpadClose() {
    return pos::call(this, CLOSE).status();
}

const char *BpPinpadManager::PinpadStartInput(const char *request, int timeout) {
    return pos::call(this, START_INPUT, pos::text16(request), timeout).text();
}

const char *BpPinpadManager::PinpadPushMasterKey(const char *request) {
    return pos::call(this, PUSH_MASTER_KEY, pos::text16(request)).text();
}

const char *BpPinpadManager::PinpadPushWorkKey(const char *request) {
    return pos::call(this, PUSH_WORK_KEY, pos::text16(request)).text();
}

int BpPinpadManager::PinpadInit(const char *config) {
    return pos::call(this, INIT, pos::text16(config)).status();
}

const char *BpPinpadManager::PinpadGetKeyState(int type, int index) {
    return pos::call(this, GET_KEY_STATE, type, index).text();
}

const char *BpPinpadManager::PinpadDataDeal(const char *request) {
    return pos::call(this, DATA_DEAL, pos::text16(request)).text();
}

const char *BpPinpadManager::PinpadMacCal(const char *request) {
    return pos::call(this, MAC_CAL, pos::text16(request)).text();
}

const char *BpPinpadManager::PinpadMacCalIn(const char *request) {
    return pos::call(this, MAC_CAL_IN, pos::text16(request)).text();
}

const char *BpPinpadManager::PinpadGetRandom(int length) {
    return pos::call(this, GET_RANDOM, length).text();
}

const char *BpPinpadManager::PinpadGetSecVer() {
    return pos::call(this, GET_SEC_VER).text();
}

int BpPinpadManager::PinpadEraseAllKeys() {
    return pos::call(this, ERASE_ALL_KEYS).status();
}

int BpPinpadManager::PinpadLoadKey(const char *request) {
    return pos::call(this, LOAD_KEY, pos::text16(request)).status();
}

const char *BpPinpadManager::PinpadGetKCV(const char *request) {
    return pos::call(this, GET_KCV, pos::text16(request)).text();
}

int BpPinpadManager::PinpadDUKPTWriteKey(const char *request) {
    return pos::call(this, DUKPT_WRITE_KEY, pos::text16(request)).status();
}

const char *BpPinpadManager::PinpadDUKPTGetPinBlock(const char *request, int timeout) {
    return pos::call(this, DUKPT_GET_PIN_BLOCK, pos::text16(request), timeout).text();
}

const char *BpPinpadManager::PinpadDUKPTGetMac(const char *request) {
    return pos::call(this, DUKPT_GET_MAC, pos::text16(request)).text();
}

const char *BpPinpadManager::PinpadDUKPTGetDes(const char *request) {
    return pos::call(this, DUKPT_GET_DES, pos::text16(request)).text();
}

const char *BpPinpadManager::PinpadDUKPTGetKSN(int index) {
    return pos::call(this, DUKPT_GET_KSN, index).text();
}

int BpPinpadManager::PinpadDUKPTIncKSN(int index) {
    return pos::call(this, DUKPT_INC_KSN, index).status();
}

const char *BpPinpadManager::PinpadGetPinResult() {
    return pos::call(this, GET_PIN_RESULT).text();
}

const char *BpPinpadManager::PinpadDUKPTGetPinResult() {
    return pos::call(this, DUKPT_GET_PIN_RESULT).text();
}

int BpPinpadManager::PinpadCtrlKeyResponse(int action) {
    return pos::call(this, CTRL_KEY_RESPONSE, action).status();
}

}  // namespace android
