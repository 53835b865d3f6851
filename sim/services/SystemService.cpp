#include "SystemService.h"

#include <pos_sdk/service/ISystemManager.h>

#include <nlohmann/json.hpp>
#include <sysglue/sysglue.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <stdexcept>
#include <unistd.h>

#include "scenario/scenario.h"
#include "servers/system_state.h"
#include "servers/usb_serial.h"

using android::ISystemManager;
using android::Parcel;
using nlohmann::json;

namespace possim {

namespace {

const int kFailed = -1;
const size_t kMaxSerialLength = 32;  // record 1 must fit the 64-byte buffer readers decode into
const size_t kMaxRecordLength = 256;

// The versions the state shows, by name, and the system properties that hold them.
const std::pair<const char *, const char *> kVersions[] = {
    {"system", "kivo.system.version"},
    {"middleware", "kivo.config.mid.version"},
    {"mcu_software", "kivo.config.mcu.softver"},
    {"mcu_firmware", "kivo.config.mcu.firmware.info"},
};

std::map<std::string, std::string> defaultVersions() {
    Scenario defaults = defaultScenario();
    std::map<std::string, std::string> versions;
    for (const auto &version : kVersions)
        versions[version.first] = defaults.properties[version.second];
    return versions;
}

// {"system": "V1.6.2-20240315", ...}: names of kVersions only, texts a property can hold.
void readVersions(const json &values, std::map<std::string, std::string> &versions) {
    if (!values.is_object()) throw std::invalid_argument("versions: expected an object");
    for (auto it = values.begin(); it != values.end(); ++it) {
        const std::string what = "versions." + it.key();
        if (versions.count(it.key()) == 0) throw std::invalid_argument(what + ": no such version");
        std::string text = textOf(*it, what);
        if (text.size() >= KV_PROP_VALUE_MAX || text.find_first_of("\r\n") != std::string::npos) {
            throw std::invalid_argument(what + ": at most 91 characters on one line");
        }
        versions[it.key()] = text;
    }
}

std::vector<std::string> readUpgrades(const json &values) {
    if (!values.is_array()) throw std::invalid_argument("upgrades: expected a list of texts");
    std::vector<std::string> lines;
    for (const json &line : values) {
        std::string text = textOf(line, "upgrades");
        if (text.empty() || text.find('\n') != std::string::npos) {
            throw std::invalid_argument("upgrades: one line of text each");
        }
        lines.push_back(text);
    }
    return lines;
}

// The clock text: YYYYMMDDhhmmss (UTC).
std::string formatClock(time_t when) {
    struct tm tm;
    gmtime_r(&when, &tm);
    char text[32];
    snprintf(text, sizeof text, "%04d%02d%02d%02d%02d%02d", tm.tm_year + 1900, tm.tm_mon + 1,
             tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec);
    return text;
}

bool isLeapYear(int year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

bool validDate(int year, int month, int day, int hour, int minute, int second) {
    static const int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (year < 1970 || year > 2099 || month < 1 || month > 12) return false;
    int days = kDays[month - 1] + (month == 2 && isLeapYear(year) ? 1 : 0);
    return day >= 1 && day <= days && hour >= 0 && hour <= 23 && minute >= 0 && minute <= 59 &&
           second >= 0 && second <= 59;
}

// Seconds from the host's clock to the given date (UTC), or false for a date that does not exist.
bool offsetTo(int year, int month, int day, int hour, int minute, int second, long long *offset) {
    if (!validDate(year, month, day, hour, minute, second)) return false;
    struct tm tm = {};
    tm.tm_year = year - 1900;
    tm.tm_mon = month - 1;
    tm.tm_mday = day;
    tm.tm_hour = hour;
    tm.tm_min = minute;
    tm.tm_sec = second;
    *offset = static_cast<long long>(timegm(&tm)) - static_cast<long long>(time(nullptr));
    return true;
}

long long parseClock(const std::string &text) {
    int f[6];
    long long offset = 0;
    if (text.size() != 14 ||
        sscanf(text.c_str(), "%4d%2d%2d%2d%2d%2d", &f[0], &f[1], &f[2], &f[3], &f[4], &f[5]) != 6 ||
        !offsetTo(f[0], f[1], f[2], f[3], f[4], f[5], &offset)) {
        throw std::invalid_argument("rtc must be a date YYYYMMDDhhmmss");
    }
    return offset;
}

// The device information records other than 1, by number: {"2": "text", ...}.
std::map<int, std::string> readRecords(const json &records) {
    if (!records.is_object()) throw std::invalid_argument("dev_info: expected an object");
    std::map<int, std::string> out;
    for (auto it = records.begin(); it != records.end(); ++it) {
        const std::string what = "dev_info." + it.key();
        char *end = nullptr;
        long record = strtol(it.key().c_str(), &end, 10);
        if (it.key().empty() || *end != '\0' || record < INT_MIN || record > INT_MAX) {
            throw std::invalid_argument(what + ": records are numbered");
        }
        std::string text = textOf(*it, what);
        if (text.size() > kMaxRecordLength) throw std::invalid_argument(what + ": too long");
        out[static_cast<int>(record)] = text;
    }
    return out;
}

}  // namespace

SystemService::SystemService(const json &section) : SimService("com.kivo.manager.ISystemManager") {
    mState.versions = defaultVersions();
    load(section);
    onText(ISystemManager::GET_MCU_RTC_TIME, [this](const Parcel &request, ReplyFields &) {
        (void)request.readInt32();  // format selector: one text form is served for all
        return rtcText();
    });
    onStatus(ISystemManager::SET_MCU_RTC_TIME,
             [this](const Parcel &request, ReplyFields &) { return setRtc(request); });
    onStatus(ISystemManager::SET_MCU_SLEEP, [this](const Parcel &, ReplyFields &) {
        mState.mcuSleeping = true;
        return 0;
    });
    onStatus(ISystemManager::SET_MCU_WAKE_UP, [this](const Parcel &, ReplyFields &) {
        mState.mcuSleeping = false;
        return 0;
    });
    onStatus(ISystemManager::CTRL_BEEPER, [this](const Parcel &request, ReplyFields &) {
        int frequency = request.readInt32();
        int duration = request.readInt32();
        if (frequency < 0 || duration < 0) return kFailed;
        mState.beeperFrequency = frequency;
        mState.beeperDuration = duration;
        return 0;
    });
    onSet(ISystemManager::CTRL_KEYTONE, mState.keytone, INT_MIN, INT_MAX);
    onText(ISystemManager::GET_DEV_INFO,
           [this](const Parcel &request, ReplyFields &) { return devInfo(request.readInt32()); });
    onStatus(ISystemManager::SET_DEV_INFO,
             [this](const Parcel &request, ReplyFields &) { return setDevInfo(request); });
    onText(ISystemManager::GET_DEBUG_MODE_RANDOM, [this](const Parcel &, ReplyFields &after) {
        after.i32(mState.debugMode);
        return mState.debugRandom;
    });
    onStatus(ISystemManager::SET_DEBUG_MODE,
             [this](const Parcel &request, ReplyFields &) { return setDebugMode(request); });
    onGet(ISystemManager::GET_WAKE_SOURCE, mState.wakeSource);
    onStatus(ISystemManager::CTRL_LED, [this](const Parcel &request, ReplyFields &) {
        for (int &led : mState.leds) led = request.readInt32();
        return 0;
    });
    onStatus(ISystemManager::MCU_RFID_TEST,
             [this](const Parcel &, ReplyFields &) { return mState.rfidTestResult; });
    onSet(ISystemManager::SYNC_BAT_STATE, mState.batteryState, INT_MIN, INT_MAX);
    onSet(ISystemManager::SET_LP_LED_FREQ, mState.lpLedFrequency, 0, INT_MAX);
    onGet(ISystemManager::GET_LP_LED_FREQ, mState.lpLedFrequency);
}

std::string SystemService::encodeSerialRecord(const std::string &serial) {
    std::string bytes("\0\0\0\0\x01", 5);
    bytes += static_cast<char>(serial.size() & 0xff);
    bytes += static_cast<char>((serial.size() >> 8) & 0xff);
    bytes += serial;
    std::string hex;
    for (unsigned char c : bytes) {
        char pair[3];
        snprintf(pair, sizeof pair, "%02X", c);
        hex += pair;
    }
    return hex;
}

json SystemService::state() const {
    json records = json::object();
    for (const auto &record : mState.devInfo) records[std::to_string(record.first)] = record.second;
    State terminal = withTerminal(mState);
    return {{"rtc", rtcText()},
            {"serial_number", mState.serialNumber},
            {"serial_record", mState.serialRecord},
            {"versions", terminal.versions},
            {"usb_serial", terminal.usbSerial},
            {"upgrades", terminal.upgrades},
            {"upgrade_fail_count", terminal.upgradeFailCount},
            {"upgrade_fail_status", terminal.upgradeFailStatus},
            {"dev_info", records},
            {"keytone", mState.keytone},
            {"beeper_frequency", mState.beeperFrequency},
            {"beeper_duration", mState.beeperDuration},
            {"leds", mState.leds},
            {"wake_source", mState.wakeSource},
            {"mcu_sleeping", mState.mcuSleeping},
            {"debug_mode", mState.debugMode},
            {"debug_random", mState.debugRandom},
            {"rfid_test_result", mState.rfidTestResult},
            {"battery_state", mState.batteryState},
            {"lp_led_freq", mState.lpLedFrequency}};
}

void SystemService::load(const json &values) {
    if (!values.is_object()) throw std::invalid_argument("expected an object");
    const State before = withTerminal(mState);
    State s = before;
    std::string rtc;
    takeText(values, "rtc", rtc);
    if (!rtc.empty()) s.clockOffset = parseClock(rtc);
    takeText(values, "serial_number", s.serialNumber);
    if (s.serialNumber.empty() || s.serialNumber.size() > kMaxSerialLength) {
        throw std::invalid_argument("serial_number must have 1 to 32 characters");
    }
    if (values.contains("dev_info")) s.devInfo = readRecords(values["dev_info"]);
    takeInt(values, "keytone", s.keytone);
    takeInt(values, "beeper_frequency", s.beeperFrequency);
    takeInt(values, "beeper_duration", s.beeperDuration);
    if (values.contains("leds")) {
        const json &leds = values["leds"];
        if (!leds.is_array() || leds.size() != s.leds.size()) {
            throw std::invalid_argument("leds: expected 6 integers");
        }
        for (size_t i = 0; i < s.leds.size(); ++i) s.leds[i] = intOf(leds[i], "leds");
    }
    takeInt(values, "wake_source", s.wakeSource);
    takeBool(values, "mcu_sleeping", s.mcuSleeping);
    takeInt(values, "debug_mode", s.debugMode);
    takeText(values, "debug_random", s.debugRandom);
    takeInt(values, "rfid_test_result", s.rfidTestResult);
    takeInt(values, "battery_state", s.batteryState);
    takeInt(values, "lp_led_freq", s.lpLedFrequency);
    takeText(values, "serial_record", s.serialRecord);
    if (s.serialRecord.size() > 2 * kMaxRecordLength) {
        throw std::invalid_argument("serial_record: too long");
    }
    if (values.contains("versions")) readVersions(values["versions"], s.versions);
    takeBool(values, "usb_serial", s.usbSerial);
    if (values.contains("upgrades")) s.upgrades = readUpgrades(values["upgrades"]);
    takeInt(values, "upgrade_fail_count", s.upgradeFailCount);
    takeInt(values, "upgrade_fail_status", s.upgradeFailStatus);
    if (s.upgradeFailCount < 0) throw std::invalid_argument("upgrade_fail_count: 0 or more");
    storeInTerminal(before, s);
    mState = s;
}

// S with what the terminal keeps read from the terminal, when there is one.
SystemService::State SystemService::withTerminal(State s) const {
    if (!insideTerminal()) return s;
    for (const auto &version : kVersions) {
        char text[KV_PROP_VALUE_MAX] = {};
        if (kvgetsysver(version.second, text) == 0) s.versions[version.first] = text;
    }
    s.usbSerial = access(kUsbSerialDevice, F_OK) == 0;
    s.upgrades = readUpgradeRecord();
    UpgradeFaults faults = readUpgradeFaults();
    s.upgradeFailCount = faults.count;
    s.upgradeFailStatus = faults.status;
    return s;
}

// Writes what changed from FROM to TO to the terminal, the step that can be refused first.
void SystemService::storeInTerminal(const State &from, const State &to) const {
    if (!insideTerminal()) return;
    std::string error;
    if (to.usbSerial != from.usbSerial && !requestUsbSerial(to.usbSerial, error)) {
        throw std::runtime_error(error);
    }
    for (const auto &version : kVersions) {
        const std::string &text = to.versions.at(version.first);
        if (text != from.versions.at(version.first)) kvsetsysver(version.second, text.c_str());
    }
    if (to.upgrades != from.upgrades) writeUpgradeRecord(to.upgrades);
    if (to.upgradeFailCount != from.upgradeFailCount ||
        to.upgradeFailStatus != from.upgradeFailStatus) {
        writeUpgradeFaults({to.upgradeFailCount, to.upgradeFailStatus});
    }
}

// The microcontroller wakes up from a source (key, card, timer...): the number it reports.
void SystemService::event(const std::string &name, const json &args) {
    if (name != "wake_up") return SimService::event(name, args);
    takeInt(args, "source", mState.wakeSource);
    mState.mcuSleeping = false;
}

std::string SystemService::rtcText() const {
    return formatClock(static_cast<time_t>(time(nullptr) + mState.clockOffset));
}

int SystemService::setRtc(const Parcel &request) {
    int f[7];
    for (int &field : f) field = request.readInt32();  // year .. second, then the format
    return offsetTo(f[0], f[1], f[2], f[3], f[4], f[5], &mState.clockOffset) ? 0 : kFailed;
}

std::string SystemService::devInfo(int record) const {
    if (record == 1) {
        return mState.serialRecord.empty() ? encodeSerialRecord(mState.serialNumber)
                                           : mState.serialRecord;
    }
    auto found = mState.devInfo.find(record);
    return found == mState.devInfo.end() ? std::string() : found->second;
}

int SystemService::setDevInfo(const Parcel &request) {
    int record = request.readInt32();
    std::string text;
    if (!readText16(request, &text)) return kFailed;
    if (record == 1) {
        if (text.empty() || text.size() > kMaxSerialLength) return kFailed;
        mState.serialNumber = text;
        mState.serialRecord.clear();
        return 0;
    }
    if (text.size() > kMaxRecordLength) return kFailed;
    mState.devInfo[record] = text;
    return 0;
}

int SystemService::setDebugMode(const Parcel &request) {
    std::string text;
    if (!readText16(request, &text)) return kFailed;
    int mode = request.readInt32();
    // Switching debug mode on takes the answer to the last random challenge.
    if (mode != 0 && text != mState.debugRandom) return kFailed;
    mState.debugMode = mode;
    return 0;
}

}  // namespace possim
