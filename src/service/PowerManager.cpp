// The power service's proxy: one transaction per operation.
#include "pos_sdk/service/IPowerManager.h"

#include <binder/Parcel.h>

#include <initializer_list>

#include "ParcelUtil.h"
#include "ServiceBinding.h"

namespace android {

POS_IMPLEMENT_SERVICE_INTERFACE(PowerManager, "com.torva.binder.IPowerManager")

namespace {

// Transaction codes of the power service.
enum : uint32_t {
    GET_LCD_BRIGHTNESS = 1,
    SET_LCD_BRIGHTNESS = 2,
    GET_BAT_CAP = 3,
    GET_BAT_VOL = 4,
    GET_CHG_STAT = 5,
    // The battery-information call goes out with the charge-state code and nothing sends 6;
    // the service answers code 5 with every field, so this is kept for wire compatibility.
    GET_BATTERY_INFO = 5,
    SET_SLEEP_TIME = 7,
    GET_SLEEP_TIME = 8,
    ALLOW_ENTER_SLEEP = 9,
    GET_ALLOW_ENTER_SLEEP = 10,
    SET_DEEP_SLEEP_TIME = 11,
    GET_DEEP_SLEEP_TIME = 12,
    SET_SLEEP_SHUTDOWN_TIME = 13,
    GET_SLEEP_SHUTDOWN_TIME = 14,
};

}  // namespace

BpPowerManager::BpPowerManager(const sp<IBinder> &impl) : BpInterface<IPowerManager>(impl) {}

// Setters send one int and read back the status.
static int setInt(IBinder *remote, uint32_t code, int value) {
    Parcel data, reply;
    data.writeInterfaceToken(IPowerManager::descriptor);
    data.writeInt32(value);
    pos::sendRequest(remote, code, data, reply);
    return reply.readInt32();
}

// Getters send nothing and read the status followed by one output per pointer, in order.
static int getInts(IBinder *remote, uint32_t code, std::initializer_list<int *> outputs) {
    Parcel data, reply;
    data.writeInterfaceToken(IPowerManager::descriptor);
    pos::sendRequest(remote, code, data, reply);
    int status = reply.readInt32();
    for (int *out : outputs) pos::readIntOutput(reply, out);
    return status;
}

int BpPowerManager::SysGetLCDBrightness(int *level) {
    return getInts(remote(), GET_LCD_BRIGHTNESS, {level});
}

int BpPowerManager::SysSetLCDBrightness(int level) {
    return setInt(remote(), SET_LCD_BRIGHTNESS, level);
}

int BpPowerManager::SysGetBatCap(int *capacity) {
    return getInts(remote(), GET_BAT_CAP, {capacity});
}

int BpPowerManager::SysGetBatVol(int *voltage) {
    return getInts(remote(), GET_BAT_VOL, {voltage});
}

int BpPowerManager::SysGetChgStat(int *state) {
    return getInts(remote(), GET_CHG_STAT, {state});
}

int BpPowerManager::SysGetBatteryInfo(int *first, int *second, int *third) {
    return getInts(remote(), GET_BATTERY_INFO, {first, second, third});
}

int BpPowerManager::SysSetSleepTime(int seconds) {
    return setInt(remote(), SET_SLEEP_TIME, seconds);
}

int BpPowerManager::SysGetSleepTime(int *seconds) {
    return getInts(remote(), GET_SLEEP_TIME, {seconds});
}

int BpPowerManager::SysAllowEnterSleep(int allow) {
    return setInt(remote(), ALLOW_ENTER_SLEEP, allow);
}

int BpPowerManager::SysGetAllowEnterSleep(int *allow) {
    return getInts(remote(), GET_ALLOW_ENTER_SLEEP, {allow});
}

int BpPowerManager::SysSetDeepSleepTime(int seconds) {
    return setInt(remote(), SET_DEEP_SLEEP_TIME, seconds);
}

int BpPowerManager::SysGetDeepSleepTime(int *seconds) {
    return getInts(remote(), GET_DEEP_SLEEP_TIME, {seconds});
}

int BpPowerManager::SysSetSleepShutdownTime(int value) {
    return setInt(remote(), SET_SLEEP_SHUTDOWN_TIME, value);
}

int BpPowerManager::SysGetSleepShutdownTime(int *value) {
    return getInts(remote(), GET_SLEEP_SHUTDOWN_TIME, {value});
}

}  // namespace android
