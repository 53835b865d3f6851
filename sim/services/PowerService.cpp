#include "PowerService.h"

using android::Parcel;
using android::status_t;
using android::String16;

namespace possim {

namespace {

const String16 kDescriptor("com.torva.binder.IPowerManager");

enum : uint32_t {
    GET_LCD_BRIGHTNESS = 1,
    SET_LCD_BRIGHTNESS,
    GET_BAT_CAP,
    GET_BAT_VOL,
    // Clients send 5 both for the charge state and for the whole battery information, so the
    // reply carries the charge state first and capacity and voltage after it.
    GET_BATTERY,
    UNUSED_6,
    SET_SLEEP_TIME,
    GET_SLEEP_TIME,
    ALLOW_ENTER_SLEEP,
    GET_ALLOW_ENTER_SLEEP,
    SET_DEEP_SLEEP_TIME,
    GET_DEEP_SLEEP_TIME,
    SET_SLEEP_SHUTDOWN_TIME,
    GET_SLEEP_SHUTDOWN_TIME,
};

const int kFailed = -1;

// A setting accepted only within [low, high].
int setInRange(const Parcel &data, int low, int high, int *field) {
    int value = data.readInt32();
    if (value < low || value > high) return kFailed;
    *field = value;
    return 0;
}

}  // namespace

PowerState PowerState::fromJson(const nlohmann::json &section) {
    PowerState s;
    if (!section.is_object()) return s;
    s.brightness = section.value("brightness", s.brightness);
    s.batteryCapacity = section.value("battery_capacity", s.batteryCapacity);
    s.batteryVoltage = section.value("battery_voltage", s.batteryVoltage);
    s.chargeState = section.value("charge_state", s.chargeState);
    s.sleepTime = section.value("sleep_time", s.sleepTime);
    s.deepSleepTime = section.value("deep_sleep_time", s.deepSleepTime);
    s.sleepShutdownTime = section.value("sleep_shutdown_time", s.sleepShutdownTime);
    s.allowSleep = section.value("allow_sleep", s.allowSleep);
    return s;
}

PowerService::PowerService(const PowerState &initial) : mState(initial) {}

const String16 &PowerService::getInterfaceDescriptor() const {
    return kDescriptor;
}

PowerState PowerService::snapshot() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mState;
}

status_t PowerService::onTransact(uint32_t code, const Parcel &data, Parcel *reply,
                                  uint32_t flags) {
    if (code < GET_LCD_BRIGHTNESS || code > GET_SLEEP_SHUTDOWN_TIME || code == UNUSED_6) {
        return BBinder::onTransact(code, data, reply, flags);
    }
    if (!data.enforceInterface(kDescriptor)) return android::BAD_TYPE;
    std::lock_guard<std::mutex> lock(mLock);
    PowerState &s = mState;
    reply->writeNoException();
    int status = 0;
    switch (code) {
        case SET_LCD_BRIGHTNESS:
            status = setInRange(data, 0, 100, &s.brightness);
            break;
        case SET_SLEEP_TIME:
            status = setInRange(data, 1, 24 * 3600, &s.sleepTime);
            break;
        case ALLOW_ENTER_SLEEP:
            status = setInRange(data, 0, 1, &s.allowSleep);
            break;
        case SET_DEEP_SLEEP_TIME:
            status = setInRange(data, 1, 24 * 3600, &s.deepSleepTime);
            break;
        case SET_SLEEP_SHUTDOWN_TIME:
            status = setInRange(data, 1, 48, &s.sleepShutdownTime);
            break;
    }
    reply->writeInt32(status);
    switch (code) {  // getters: the values after the status
        case GET_LCD_BRIGHTNESS:
            reply->writeInt32(s.brightness);
            break;
        case GET_BAT_CAP:
            reply->writeInt32(s.batteryCapacity);
            break;
        case GET_BAT_VOL:
            reply->writeInt32(s.batteryVoltage);
            break;
        case GET_BATTERY:
            reply->writeInt32(s.chargeState);
            reply->writeInt32(s.batteryCapacity);
            reply->writeInt32(s.batteryVoltage);
            break;
        case GET_SLEEP_TIME:
            reply->writeInt32(s.sleepTime);
            break;
        case GET_ALLOW_ENTER_SLEEP:
            reply->writeInt32(s.allowSleep);
            break;
        case GET_DEEP_SLEEP_TIME:
            reply->writeInt32(s.deepSleepTime);
            break;
        case GET_SLEEP_SHUTDOWN_TIME:
            reply->writeInt32(s.sleepShutdownTime);
            break;
    }
    return android::NO_ERROR;
}

}  // namespace possim
