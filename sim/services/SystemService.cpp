#include "SystemService.h"

#include <utils/String8.h>

#include <cstdio>
#include <ctime>

using android::Parcel;
using android::status_t;
using android::String16;
using android::String8;

namespace possim {

namespace {

const String16 kDescriptor("com.kivo.manager.ISystemManager");

enum : uint32_t {
    GET_MCU_RTC_TIME = 1,
    SET_MCU_RTC_TIME,
    SET_MCU_SLEEP,
    SET_MCU_WAKE_UP,
    CTRL_BEEPER,
    CTRL_KEYTONE,
    GET_DEV_INFO,
    SET_DEV_INFO,
    GET_DEBUG_MODE_RANDOM,
    SET_DEBUG_MODE,
    GET_WAKE_SOURCE,
    CTRL_LED,
    MCU_RFID_TEST,
    SYNC_BAT_STATE,
    SET_LP_LED_FREQ,
    GET_LP_LED_FREQ,
};

const int kFailed = -1;
const size_t kMaxSerialLength = 32;  // record 1 must fit the 64-byte buffer readers decode into
const size_t kMaxRecordLength = 256;

// The clock text: YYYYMMDDhhmmss (UTC).
std::string formatClock(time_t when) {
    struct tm tm;
    gmtime_r(&when, &tm);
    char text[32];
    snprintf(text, sizeof text, "%04d%02d%02d%02d%02d%02d", tm.tm_year + 1900, tm.tm_mon + 1,
             tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec);
    return text;
}

bool parseClock(const std::string &text, time_t *when) {
    struct tm tm = {};
    if (text.size() != 14 || sscanf(text.c_str(), "%4d%2d%2d%2d%2d%2d", &tm.tm_year, &tm.tm_mon,
                                    &tm.tm_mday, &tm.tm_hour, &tm.tm_min, &tm.tm_sec) != 6) {
        return false;
    }
    tm.tm_year -= 1900;
    tm.tm_mon -= 1;
    *when = timegm(&tm);
    return true;
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

// Reads a String16 field as 8-bit text; false for the null string.
bool readText(const Parcel &data, std::string *text) {
    size_t length = 0;
    const char16_t *units = data.readString16Inplace(&length);
    if (units == nullptr) return false;
    String8 text8(String16(units, length));
    text->assign(text8.string(), text8.size());
    return true;
}

}  // namespace

SystemState SystemState::fromJson(const nlohmann::json &section) {
    SystemState s;
    if (!section.is_object()) return s;
    if (section.contains("rtc")) {
        time_t when;
        if (!parseClock(section["rtc"].get<std::string>(), &when)) {
            throw std::runtime_error("system.rtc must be YYYYMMDDhhmmss");
        }
        s.clockOffset = static_cast<long long>(when) - static_cast<long long>(time(nullptr));
    }
    s.serialNumber = section.value("serial_number", s.serialNumber);
    if (section.contains("dev_info")) {
        for (const auto &item : section["dev_info"].items()) {
            s.devInfo[std::stoi(item.key())] = item.value().get<std::string>();
        }
    }
    s.keytone = section.value("keytone", s.keytone);
    s.wakeSource = section.value("wake_source", s.wakeSource);
    s.debugMode = section.value("debug_mode", s.debugMode);
    s.debugRandom = section.value("debug_random", s.debugRandom);
    s.rfidTestResult = section.value("rfid_test_result", s.rfidTestResult);
    s.lpLedFrequency = section.value("lp_led_freq", s.lpLedFrequency);
    return s;
}

SystemService::SystemService(const SystemState &initial) : mState(initial) {}

const String16 &SystemService::getInterfaceDescriptor() const {
    return kDescriptor;
}

SystemState SystemService::snapshot() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mState;
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

std::string SystemService::rtcText() const {
    return formatClock(static_cast<time_t>(time(nullptr) + mState.clockOffset));
}

int SystemService::setRtc(const Parcel &data) {
    int v[7];
    for (int &field : v) field = data.readInt32();  // year .. second, then the format
    if (!validDate(v[0], v[1], v[2], v[3], v[4], v[5])) return kFailed;
    struct tm tm = {};
    tm.tm_year = v[0] - 1900;
    tm.tm_mon = v[1] - 1;
    tm.tm_mday = v[2];
    tm.tm_hour = v[3];
    tm.tm_min = v[4];
    tm.tm_sec = v[5];
    mState.clockOffset = static_cast<long long>(timegm(&tm)) - time(nullptr);
    return 0;
}

std::string SystemService::devInfo(int record) const {
    if (record == 1) return encodeSerialRecord(mState.serialNumber);
    auto found = mState.devInfo.find(record);
    return found == mState.devInfo.end() ? std::string() : found->second;
}

int SystemService::setDevInfo(const Parcel &data) {
    int record = data.readInt32();
    std::string text;
    if (!readText(data, &text)) return kFailed;
    if (record == 1) {
        if (text.empty() || text.size() > kMaxSerialLength) return kFailed;
        mState.serialNumber = text;
        return 0;
    }
    if (text.size() > kMaxRecordLength) return kFailed;
    mState.devInfo[record] = text;
    return 0;
}

int SystemService::setDebugMode(const Parcel &data) {
    std::string text;
    if (!readText(data, &text)) return kFailed;
    int mode = data.readInt32();
    // Switching debug mode on takes the answer to the last random challenge.
    if (mode != 0 && text != mState.debugRandom) return kFailed;
    mState.debugMode = mode;
    return 0;
}

void SystemService::writeTextReply(uint32_t code, const Parcel &data, Parcel *reply) const {
    switch (code) {
        case GET_MCU_RTC_TIME:
            (void)data.readInt32();  // format selector: one text form is served for all
            reply->writeString16(String16(rtcText().c_str()));
            break;
        case GET_DEV_INFO:
            reply->writeString16(String16(devInfo(data.readInt32()).c_str()));
            break;
        case GET_DEBUG_MODE_RANDOM:
            reply->writeString16(String16(mState.debugRandom.c_str()));
            reply->writeInt32(mState.debugMode);
            break;
    }
}

int SystemService::runCommand(uint32_t code, const Parcel &data, std::vector<int32_t> *outputs) {
    switch (code) {
        case SET_MCU_RTC_TIME:
            return setRtc(data);
        case SET_MCU_SLEEP:
            mState.mcuSleeping = true;
            return 0;
        case SET_MCU_WAKE_UP:
            mState.mcuSleeping = false;
            return 0;
        case CTRL_BEEPER: {
            int frequency = data.readInt32();
            int duration = data.readInt32();
            if (frequency < 0 || duration < 0) return kFailed;
            mState.beeperFrequency = frequency;
            mState.beeperDuration = duration;
            return 0;
        }
        case CTRL_KEYTONE:
            mState.keytone = data.readInt32();
            return 0;
        case SET_DEV_INFO:
            return setDevInfo(data);
        case SET_DEBUG_MODE:
            return setDebugMode(data);
        case GET_WAKE_SOURCE:
            outputs->push_back(mState.wakeSource);
            return 0;
        case CTRL_LED:
            for (int &led : mState.leds) led = data.readInt32();
            return 0;
        case MCU_RFID_TEST:
            return mState.rfidTestResult;
        case SYNC_BAT_STATE:
            mState.batteryState = data.readInt32();
            return 0;
        case SET_LP_LED_FREQ: {
            int frequency = data.readInt32();
            if (frequency < 0) return kFailed;
            mState.lpLedFrequency = frequency;
            return 0;
        }
        case GET_LP_LED_FREQ:
            outputs->push_back(mState.lpLedFrequency);
            return 0;
    }
    return kFailed;
}

status_t SystemService::onTransact(uint32_t code, const Parcel &data, Parcel *reply,
                                   uint32_t flags) {
    if (code < GET_MCU_RTC_TIME || code > GET_LP_LED_FREQ) {
        return BBinder::onTransact(code, data, reply, flags);
    }
    if (!data.enforceInterface(kDescriptor)) return android::BAD_TYPE;
    std::lock_guard<std::mutex> lock(mLock);
    reply->writeNoException();
    if (code == GET_MCU_RTC_TIME || code == GET_DEV_INFO || code == GET_DEBUG_MODE_RANDOM) {
        writeTextReply(code, data, reply);  // text replies carry no status
        return android::NO_ERROR;
    }
    std::vector<int32_t> outputs;
    reply->writeInt32(runCommand(code, data, &outputs));
    for (int32_t value : outputs) reply->writeInt32(value);
    return android::NO_ERROR;
}

}  // namespace possim
