// The companion microcontroller service's proxy: one transaction per operation. It says
// nothing about a dead service.
#include "pos_sdk/service/IQd36nManager.h"

#include "ProxyCall.h"
#include "ServiceBinding.h"

template <>
struct pos::ReportsDeadObject<android::IQd36nManager> : std::false_type {};

namespace android {

POS_IMPLEMENT_SERVICE_INTERFACE(Qd36nManager, "com.torva.binder.IQd36nManager")

BpQd36nManager::BpQd36nManager(const sp<IBinder> &impl) : BpInterface<IQd36nManager>(impl) {}

int BpQd36nManager::CtrlEx(int which, int value) {
    return pos::call(this, CTRL_EX, which, value).status();
}

int BpQd36nManager::LedRed(int state) {
    return pos::call(this, LED_RED, state).status();
}

int BpQd36nManager::LedGreen(int state) {
    return pos::call(this, LED_GREEN, state).status();
}

int BpQd36nManager::LedBlue(int state) {
    return pos::call(this, LED_BLUE, state).status();
}

int BpQd36nManager::SetDatetime(char *text) {
    return pos::call(this, SET_DATETIME, pos::cstring(text)).status();
}

int BpQd36nManager::ResetSE() {
    return pos::call(this, RESET_SE).status();
}

int BpQd36nManager::SetUsbSw(int position) {
    return pos::call(this, SET_USB_SW, position).status();
}

int BpQd36nManager::GetUsbSw(int *position) {
    return pos::call(this, GET_USB_SW).status(position);
}

}  // namespace android
