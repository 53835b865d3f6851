#include "PowerService.h"

#include <pos_sdk/service/IPowerManager.h>

#include <nlohmann/json.hpp>

using android::IPowerManager;
using android::Parcel;
using nlohmann::json;

namespace possim {

namespace {

const int kDay = 24 * 3600;

}  // namespace

PowerService::PowerService(const json &section) : SimService("com.torva.binder.IPowerManager") {
    load(section);
    onGet(IPowerManager::GET_LCD_BRIGHTNESS, mState.brightness);
    onSet(IPowerManager::SET_LCD_BRIGHTNESS, mState.brightness, 0, 100);
    onGet(IPowerManager::GET_BAT_CAP, mState.batteryCapacity);
    onGet(IPowerManager::GET_BAT_VOL, mState.batteryVoltage);
    // Code 5 serves the charge state and the whole battery information: the charge state
    // first, so the charge-state call reads it and the information call all three.
    onStatus(IPowerManager::GET_BATTERY_INFO, [this](const Parcel &, ReplyFields &out) {
        out.i32(mState.chargeState).i32(mState.batteryCapacity).i32(mState.batteryVoltage);
        return 0;
    });
    onSet(IPowerManager::SET_SLEEP_TIME, mState.sleepTime, 1, kDay);
    onGet(IPowerManager::GET_SLEEP_TIME, mState.sleepTime);
    onSet(IPowerManager::ALLOW_ENTER_SLEEP, mState.allowSleep, 0, 1);
    onGet(IPowerManager::GET_ALLOW_ENTER_SLEEP, mState.allowSleep);
    onSet(IPowerManager::SET_DEEP_SLEEP_TIME, mState.deepSleepTime, 1, kDay);
    onGet(IPowerManager::GET_DEEP_SLEEP_TIME, mState.deepSleepTime);
    onSet(IPowerManager::SET_SLEEP_SHUTDOWN_TIME, mState.sleepShutdownTime, 1, 48);
    onGet(IPowerManager::GET_SLEEP_SHUTDOWN_TIME, mState.sleepShutdownTime);
}

json PowerService::state() const {
    return {{"brightness", mState.brightness},
            {"battery_capacity", mState.batteryCapacity},
            {"battery_voltage", mState.batteryVoltage},
            {"charge_state", mState.chargeState},
            {"sleep_time", mState.sleepTime},
            {"deep_sleep_time", mState.deepSleepTime},
            {"sleep_shutdown_time", mState.sleepShutdownTime},
            {"allow_sleep", mState.allowSleep}};
}

void PowerService::load(const json &values) {
    if (!values.is_object()) throw std::invalid_argument("expected an object");
    State s = mState;
    takeInt(values, "brightness", s.brightness);
    takeInt(values, "battery_capacity", s.batteryCapacity);
    takeInt(values, "battery_voltage", s.batteryVoltage);
    takeInt(values, "charge_state", s.chargeState);
    takeInt(values, "sleep_time", s.sleepTime);
    takeInt(values, "deep_sleep_time", s.deepSleepTime);
    takeInt(values, "sleep_shutdown_time", s.sleepShutdownTime);
    takeInt(values, "allow_sleep", s.allowSleep);
    mState = s;
}

// The charger: plugging it in starts charging (or shows a full battery), unplugging stops it.
void PowerService::event(const std::string &name, const json &args) {
    if (name == "charger_connected") {
        mState.chargeState = mState.batteryCapacity >= 100 ? 2 : 1;
    } else if (name == "charger_disconnected") {
        mState.chargeState = 0;
    } else {
        SimService::event(name, args);
    }
}

}  // namespace possim
