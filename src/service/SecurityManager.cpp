// The security processor service's proxy: one transaction per operation.
#include "pos_sdk/service/ISecurityManager.h"

#include "ProxyCall.h"
#include "ServiceBinding.h"

namespace android {

POS_IMPLEMENT_SERVICE_INTERFACE(SecurityManager, "com.kivo.manager.ISecurityManager")

BpSecurityManager::BpSecurityManager(const sp<IBinder> &impl)
    : BpInterface<ISecurityManager>(impl) {}

const char *BpSecurityManager::SecurityGetRandom(int length) {
    return pos::call(this, GET_RANDOM, length).text();
}

int BpSecurityManager::SecurityGetAntiTamperState(int *state) {
    return pos::call(this, GET_ANTI_TAMPER_STATE).status(state);
}

int BpSecurityManager::SecurityClearAntiTamperState(int mode, char *text, int length) {
    // Only this clear operation checks its arguments; the serial-number one sends anything.
    if (text == nullptr || length <= 0) return -2;
    // The length goes out before the text although it follows it; kept for the wire.
    return pos::call(this, CLEAR_ANTI_TAMPER_STATE, mode, length, pos::text16(text)).status();
}

int BpSecurityManager::SecurityClearSerialNumber(int mode, char *text, int length) {
    // The length goes out before the text although it follows it; kept for the wire.
    return pos::call(this, CLEAR_SERIAL_NUMBER, mode, length, pos::text16(text)).status();
}

int BpSecurityManager::SecuritySetParam(int selector, char *value) {
    return pos::call(this, SET_PARAM, selector, pos::text16(value)).status();
}

const char *BpSecurityManager::SecurityGetParam(int selector) {
    return pos::call(this, GET_PARAM, selector).text();
}

const char *BpSecurityManager::SecurityGetEncCID() {
    return pos::call(this, GET_ENC_CID).text();
}

const char *BpSecurityManager::SecurityGetOSEncCID() {
    return pos::call(this, GET_OS_ENC_CID).text();
}

int BpSecurityManager::SecurityClearOSPubKey() {
    return pos::call(this, CLEAR_OS_PUB_KEY).status();
}

}  // namespace android
