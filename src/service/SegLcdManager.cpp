// The segment LCD service's proxy: one transaction per operation. It says nothing about a
// dead service.
#include "pos_sdk/service/ISegLcdManager.h"

#include "ProxyCall.h"
#include "ServiceBinding.h"

template <>
struct pos::ReportsDeadObject<android::ISegLcdManager> : std::false_type {};

namespace android {

POS_IMPLEMENT_SERVICE_INTERFACE(SegLcdManager, "com.torva.binder.ISegLcdManager")

BpSegLcdManager::BpSegLcdManager(const sp<IBinder> &impl) : BpInterface<ISegLcdManager>(impl) {}

int BpSegLcdManager::Backlight(int mode, int level) {
    return pos::call(this, BACKLIGHT, mode, level).status();
}

int BpSegLcdManager::CloseLcd() {
    return pos::call(this, CLOSE_LCD).status();
}

int BpSegLcdManager::Ping() {
    return pos::call(this, PING).status();
}

int BpSegLcdManager::GetVersion(char *version) {
    return pos::call(this, GET_VERSION).status(pos::cstringCopy(version));
}

int BpSegLcdManager::Show(int line, int column, const char *text, int flags) {
    return pos::call(this, SHOW, line, column, pos::cstring(text), flags).status();
}

int BpSegLcdManager::Show(int line, int column, int font, const char *text, int flags) {
    return pos::call(this, SHOW_EX, line, column, font, pos::cstring(text), flags).status();
}

int BpSegLcdManager::Reconnect() {
    return pos::call(this, RECONNECT).status();
}

int BpSegLcdManager::Reset() {
    return pos::call(this, RESET).status();
}

}  // namespace android
