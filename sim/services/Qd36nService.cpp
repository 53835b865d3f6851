#include "Qd36nService.h"

#include <pos_sdk/service/IQd36nManager.h>

#include <nlohmann/json.hpp>

#include <cctype>
#include <cstdio>
#include <ctime>
#include <stdexcept>

using android::IQd36nManager;
using android::Parcel;
using nlohmann::json;

namespace possim {

namespace {

const int kRefused = -1;
const int kLedStates = 2;  // 0 off, 1 on, 2 blinking
// CtrlEx addresses the LEDs by mask: bit 0 red, bit 1 green, bit 2 blue.
const int kAllLeds = 7;

// Whether TEXT is a date and time that exists, written YYYYMMDDhhmm.ss (the form `date` takes).
bool validDatetime(const std::string &text) {
    if (text.size() != 15 || text[12] != '.') return false;
    for (size_t i = 0; i < text.size(); ++i) {
        if (i != 12 && !isdigit(static_cast<unsigned char>(text[i]))) return false;
    }
    struct tm tm = {};
    if (sscanf(text.c_str(), "%4d%2d%2d%2d%2d.%2d", &tm.tm_year, &tm.tm_mon, &tm.tm_mday,
               &tm.tm_hour, &tm.tm_min, &tm.tm_sec) != 6) {
        return false;
    }
    // A date that does not exist comes back from timegm moved on to another day.
    struct tm asked = tm;
    tm.tm_year -= 1900;
    tm.tm_mon -= 1;
    time_t when = timegm(&tm);
    return asked.tm_year >= 1970 && tm.tm_year + 1900 == asked.tm_year &&
           tm.tm_mon + 1 == asked.tm_mon && tm.tm_mday == asked.tm_mday &&
           tm.tm_hour == asked.tm_hour && tm.tm_min == asked.tm_min && tm.tm_sec == asked.tm_sec &&
           when != time_t(-1);
}

int ledOf(const json &values, const char *key, int current) {
    int value = current;
    takeInt(values, key, value);
    if (value < 0 || value > kLedStates) {
        throw std::invalid_argument(std::string(key) + " must be 0, 1 or 2");
    }
    return value;
}

}  // namespace

Qd36nService::Qd36nService(const json &section) : SimService("com.torva.binder.IQd36nManager") {
    load(section);
    onStatus(IQd36nManager::CTRL_EX,
             [this](const Parcel &request, ReplyFields &) { return ctrlEx(request); });
    onSet(IQd36nManager::LED_RED, mState.red, 0, kLedStates);
    onSet(IQd36nManager::LED_GREEN, mState.green, 0, kLedStates);
    onSet(IQd36nManager::LED_BLUE, mState.blue, 0, kLedStates);
    onStatus(IQd36nManager::SET_DATETIME,
             [this](const Parcel &request, ReplyFields &) { return setDatetime(request); });
    onStatus(IQd36nManager::RESET_SE, [this](const Parcel &, ReplyFields &) {
        ++mState.seResets;
        return mState.seFault ? kRefused : 0;
    });
    onSet(IQd36nManager::SET_USB_SW, mState.usbSwitch, 0, 1);
    onGet(IQd36nManager::GET_USB_SW, mState.usbSwitch);
}

// CtrlEx(mask, state): every LED of the mask takes the state.
int Qd36nService::ctrlEx(const Parcel &request) {
    int mask = request.readInt32();
    int value = request.readInt32();
    if (mask < 1 || mask > kAllLeds || value < 0 || value > kLedStates) return kRefused;
    if (mask & 1) mState.red = value;
    if (mask & 2) mState.green = value;
    if (mask & 4) mState.blue = value;
    return 0;
}

int Qd36nService::setDatetime(const Parcel &request) {
    std::string text = readCString(request);
    if (!validDatetime(text)) return kRefused;
    mState.datetime = text;
    return 0;
}

json Qd36nService::state() const {
    return {{"led_red", mState.red},          {"led_green", mState.green},
            {"led_blue", mState.blue},        {"datetime", mState.datetime},
            {"usb_switch", mState.usbSwitch}, {"se_resets", mState.seResets},
            {"se_fault", mState.seFault}};
}

void Qd36nService::load(const json &values) {
    if (!values.is_object()) throw std::invalid_argument("expected an object");
    State s = mState;
    s.red = ledOf(values, "led_red", s.red);
    s.green = ledOf(values, "led_green", s.green);
    s.blue = ledOf(values, "led_blue", s.blue);
    takeText(values, "datetime", s.datetime);
    if (!s.datetime.empty() && !validDatetime(s.datetime)) {
        throw std::invalid_argument("datetime must be a date YYYYMMDDhhmm.ss");
    }
    takeInt(values, "usb_switch", s.usbSwitch);
    if (s.usbSwitch != 0 && s.usbSwitch != 1) throw std::invalid_argument("usb_switch: 0 or 1");
    takeInt(values, "se_resets", s.seResets);
    takeBool(values, "se_fault", s.seFault);
    mState = s;
}

// The USB cable: plugging a host in turns the switch to the device side (1), unplugging back.
void Qd36nService::event(const std::string &name, const json &args) {
    if (name == "usb_host_connected") {
        mState.usbSwitch = 1;
    } else if (name == "usb_host_disconnected") {
        mState.usbSwitch = 0;
    } else {
        SimService::event(name, args);
    }
}

}  // namespace possim
