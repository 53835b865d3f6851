// The power service's proxy: one transaction per operation.
#include "pos_sdk/service/IPowerManager.h"

#include "ProxyCall.h"
#include "ServiceBinding.h"

namespace android {

POS_IMPLEMENT_SERVICE_INTERFACE(PowerManager, "com.torva.binder.IPowerManager")

BpPowerManager::BpPowerManager(const sp<IBinder> &impl) : BpInterface<IPowerManager>(impl) {}

int BpPowerManager::SysGetLCDBrightness(int *level) {
    return pos::call(this, GET_LCD_BRIGHTNESS).status(level);
}

int BpPowerManager::SysSetLCDBrightness(int level) {
    return pos::call(this, SET_LCD_BRIGHTNESS, level).status();
}

int BpPowerManager::SysGetBatCap(int *capacity) {
    return pos::call(this, GET_BAT_CAP).status(capacity);
}

int BpPowerManager::SysGetBatVol(int *voltage) {
    return pos::call(this, GET_BAT_VOL).status(voltage);
}

int BpPowerManager::SysGetChgStat(int *state) {
    return pos::call(this, GET_CHG_STAT).status(state);
}

int BpPowerManager::SysGetBatteryInfo(int *first, int *second, int *third) {
    // Sent with the charge-state code 5 (nothing sends 6); kept for wire compatibility.
    return pos::call(this, GET_BATTERY_INFO).status(first, second, third);
}

int BpPowerManager::SysSetSleepTime(int seconds) {
    return pos::call(this, SET_SLEEP_TIME, seconds).status();
}

int BpPowerManager::SysGetSleepTime(int *seconds) {
    return pos::call(this, GET_SLEEP_TIME).status(seconds);
}

int BpPowerManager::SysAllowEnterSleep(int allow) {
    return pos::call(this, ALLOW_ENTER_SLEEP, allow).status();
}

int BpPowerManager::SysGetAllowEnterSleep(int *allow) {
    return pos::call(this, GET_ALLOW_ENTER_SLEEP).status(allow);
}

int BpPowerManager::SysSetDeepSleepTime(int seconds) {
    return pos::call(this, SET_DEEP_SLEEP_TIME, seconds).status();
}

int BpPowerManager::SysGetDeepSleepTime(int *seconds) {
    return pos::call(this, GET_DEEP_SLEEP_TIME).status(seconds);
}

int BpPowerManager::SysSetSleepShutdownTime(int value) {
    return pos::call(this, SET_SLEEP_SHUTDOWN_TIME, value).status();
}

int BpPowerManager::SysGetSleepShutdownTime(int *value) {
    return pos::call(this, GET_SLEEP_SHUTDOWN_TIME).status(value);
}

}  // namespace android
