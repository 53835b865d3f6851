#include "NetworkService.h"

#include <arpa/inet.h>
#include <pos_sdk/service/INetworkManager.h>
#include <sys/stat.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include <climits>
#include <fstream>
#include <stdexcept>

#include "sysglue/sysglue.h"
#include "servers/system_state.h"

using android::INetworkManager;
using android::Parcel;
using nlohmann::json;

namespace possim {

namespace {

const int kFailed = -1;
const char kModemDevice[] = "/dev/chn/4";
const char kRadioDaemonReady[] = "/tmp/rils";
const size_t kMaxText = 63;  // any text the service keeps: identities, APN fields, operator

// The service's own SIM codes (GetSimStatus) and those of the published radio state.
int serviceSimCode(SimState s) {
    return s == SimState::Ready ? 1 : s == SimState::Locked ? 2 : 0;
}
int radioSimCode(SimState s) {
    return s == SimState::Ready ? 4 : s == SimState::Locked ? 2 : 1;
}

const char *simName(SimState s) {
    return s == SimState::Ready ? "ready" : s == SimState::Locked ? "locked" : "absent";
}

SimState simFromName(const std::string &name) {
    if (name == "ready") return SimState::Ready;
    if (name == "locked") return SimState::Locked;
    if (name == "absent") return SimState::Absent;
    throw std::invalid_argument("sim must be ready, locked or absent");
}

std::string checkedText(const std::string &text, const char *what) {
    if (text.size() > kMaxText) throw std::invalid_argument(std::string(what) + ": too long");
    return text;
}

bool isIPv4(const std::string &text) {
    struct in_addr addr;
    return inet_pton(AF_INET, text.c_str(), &addr) == 1;
}

std::string hex(int value) {
    char text[16];
    snprintf(text, sizeof text, "%X", static_cast<unsigned>(value));
    return text;
}

// A value the shared store keeps in its 8-byte buffers: at most 7 characters.
bool fitsProperty(int value) {
    return value >= -999999 && value <= 9999999;
}

template <size_t N>
void takeTexts(const json &values, const char *key, std::array<std::string, N> &field) {
    if (!values.contains(key)) return;
    const json &list = values[key];
    if (!list.is_array() || list.size() != N)
        throw std::invalid_argument(std::string(key) + ": expected " + std::to_string(N) +
                                    " texts");
    for (size_t i = 0; i < N; ++i) field[i] = checkedText(textOf(list[i], key), key);
}

// Where the modem logs its commands: the run's output directory, else the status directory.
std::string modemLogPath() {
    std::string dir = readStatus("out_dir");
    return (dir.empty() ? std::string(kStatusDir) : dir) + "/modem.log";
}

}  // namespace

NetworkService::NetworkService(const json &section)
    : SimService("com.torva.binder.INetworkManager") {
    load(section);
    addHandlers();
}

NetworkService::~NetworkService() {
    mModem.reset();
}

void NetworkService::addHandlers() {
    using I = INetworkManager;
    onStatus(I::WIFI_GO_TO_SLEEP, [this](const Parcel &, ReplyFields &) {
        mState.wifiSleeping = true;
        return 0;
    });
    onStatus(I::WIFI_WAKE_UP, [this](const Parcel &, ReplyFields &) {
        mState.wifiSleeping = false;
        return 0;
    });
    onStatus(I::GET_DEV_IMEI, [this](const Parcel &, ReplyFields &out) {
        out.cstring(mState.imei);
        return 0;
    });
    onStatus(I::GET_DEV_IMSI, [this](const Parcel &, ReplyFields &out) {
        bool ready = mState.sim == SimState::Ready;
        out.cstring(ready ? mState.imsi : "");
        return ready ? 0 : kFailed;
    });
    onStatus(I::GET_DEV_ICCID, [this](const Parcel &, ReplyFields &out) {
        bool present = mState.sim != SimState::Absent;
        out.cstring(present ? mState.iccid : "");
        return present ? 0 : kFailed;
    });
    onStatus(I::GET_SIGNAL_STRENGTH, [this](const Parcel &, ReplyFields &out) {
        out.i32(mState.signal);
        return 0;
    });
    onStatus(I::GET_DEV_BASEBAND_VERSION, [this](const Parcel &, ReplyFields &out) {
        out.cstring(mState.baseband);
        return 0;
    });
    onStatus(I::GET_SIM_STATUS, [this](const Parcel &, ReplyFields &out) {
        out.i32(serviceSimCode(mState.sim));
        return 0;
    });
    onStatus(I::GET_DEV_BASE_STATION, [this](const Parcel &, ReplyFields &out) {
        bool known = canConnect();
        for (int field : mState.baseStation) out.i32(known ? field : 0);
        return known ? 0 : kFailed;
    });
    onStatus(I::GET_WIRELESS_LINK_STATUS, [this](const Parcel &, ReplyFields &out) {
        out.i32(linkUp() ? 1 : 0);
        return 0;
    });
    onStatus(I::WIRELESS_CONNECT,
             [this](const Parcel &request, ReplyFields &) { return connect(request); });
    onStatus(I::WIRELESS_DISCONNECT, [this](const Parcel &request, ReplyFields &) {
        readCString(request);
        readCString(request);
        mState.link = "down";
        return 0;
    });
    onStatus(I::GET_SIM_OPERATOR, [this](const Parcel &, ReplyFields &out) {
        bool known = canConnect();
        out.cstring(known ? mState.operatorName : "");
        return known ? 0 : kFailed;
    });
    onStatus(I::GET_NETWORK_IP, [this](const Parcel &request, ReplyFields &out) {
        bool up = readCString(request) == "ppp0" && linkUp();
        if (up) mState.link = "up";
        out.cstring(up ? mState.address : "");
        return up ? 0 : kFailed;
    });
    onSet(I::SET_RADIO_POWER, mState.radioPower, 0, 1);
    onStatus(I::WIRELESS_GET_MODULE_REG, [this](const Parcel &, ReplyFields &out) {
        bool known = canConnect();
        out.i32(known ? 1 : 0)
            .cstring(known ? hex(mState.baseStation[2]) : "")
            .cstring(known ? hex(mState.baseStation[3]) : "");
        return 0;
    });
    onStatus(I::CALL_DIAL, [this](const Parcel &request, ReplyFields &) {
        std::string number = readCString(request);
        if (!canConnect() || number.empty() || number.size() > kMaxText) return kFailed;
        mState.callNumber = number;
        return 0;
    });
    onStatus(I::CALL_HANG_UP_ALL, [this](const Parcel &, ReplyFields &) {
        mState.callNumber.clear();
        return 0;
    });
    onStatus(I::CALL_GET_CUR_CALL, [this](const Parcel &, ReplyFields &out) {
        bool active = !mState.callNumber.empty();
        // Direction (0 outgoing), call state (0 active) and mode (0 voice) of the one call.
        out.i32(active ? 1 : 0).i32(0).i32(0).cstring(mState.callNumber);
        return 0;
    });
    onSet(I::WIRELESS_ENABLE, mState.wirelessEnabled, 0, 1);
    onStatus(I::SET_AIRPLANE_MODE, [this](const Parcel &request, ReplyFields &) {
        int mode = request.readInt32();
        if (!fitsProperty(mode)) return kFailed;
        mState.airplaneMode = mode;
        if (mode != 0) mState.link = "down";
        publish();
        return 0;
    });
    onStatus(I::SET_NET_AUTO_CONNECT, [this](const Parcel &request, ReplyFields &) {
        int bits = request.readInt32();
        if (!fitsProperty(bits)) return kFailed;
        mState.autoConnect = bits;
        publish();
        return 0;
    });
    onStatus(I::SAVE_APN_CONFIG, [this](const Parcel &request, ReplyFields &) {
        std::array<std::string, 6> apn;
        for (std::string &field : apn) field = readCString(request);
        for (const std::string &field : apn)
            if (field.size() > kMaxText) return kFailed;
        mState.apn = apn;
        return 0;
    });
    onStatus(I::LOAD_APN_CONFIG, [this](const Parcel &, ReplyFields &out) {
        for (const std::string &field : mState.apn) out.cstring(field);
        return 0;
    });
    onStatus(I::GET_Q_NETWORK_INFO, [this](const Parcel &, ReplyFields &out) {
        bool known = canConnect();
        out.cstring(known ? mState.accessTechnology : "")
            .cstring(known ? mState.operatorCode : "")
            .cstring(known ? mState.band : "")
            .i32(known ? mState.channel : 0);
        return known ? 0 : kFailed;
    });
    onStatus(I::SEND_CUST_AT_CMD, [this](const Parcel &request, ReplyFields &out) {
        AtAnswer answer = answerAt(readCString(request), modemView());
        std::string text;
        for (const std::string &line : answer.lines) text += line + "\n";
        out.cstring(text + (answer.prompt ? "> " : answer.final) + "\n");
        return answer.ok() ? 0 : kFailed;
    });
    onStatus(I::GET_CUR_DNS_ADDR, [this](const Parcel &, ReplyFields &out) {
        bool up = linkUp();
        out.cstring(up ? mState.dns[0] : "");
        return up ? 0 : kFailed;
    });
    onStatus(I::GET_DNS_ADDR, [this](const Parcel &request, ReplyFields &out) {
        int which = request.readInt32();
        bool known = which == 0 || which == 1;
        out.cstring(known ? mState.dns[static_cast<size_t>(which)] : "");
        return known ? 0 : kFailed;
    });
    onStatus(I::SET_DNS_ADDR,
             [this](const Parcel &request, ReplyFields &) { return setDns(request); });
    onGet(I::GET_PREFERRED_NETWORK_TYPE, mState.preferredNetworkType);
    onSet(I::SET_PREFERRED_NETWORK_TYPE, mState.preferredNetworkType, 0, 3);
    onGet(I::GET_ESM_FAIL_TIMES, mState.esmFailTimes);
    onSet(I::SET_ESM_FAIL_TIMES, mState.esmFailTimes, 0, 5);
}

// Registered on a usable SIM, with the radio on.
bool NetworkService::canConnect() const {
    return mState.sim == SimState::Ready && mState.registered && mState.airplaneMode == 0 &&
           mState.radioPower != 0;
}

// Up when brought up, once a login's delay has passed, or by itself with cellular
// auto-connect; never without registration.
bool NetworkService::linkUp() const {
    if (!canConnect()) return false;
    if (mState.link == "up") return true;
    if (mState.link == "connecting")
        return !mState.loginFails &&
               Clock::now() >= mConnectedAt + std::chrono::milliseconds(mState.loginDelayMs);
    return (mState.autoConnect & 1) != 0;
}

std::string NetworkService::currentLink() const {
    if (linkUp()) return "up";
    return mState.link == "connecting" ? "connecting" : "down";
}

int NetworkService::connect(const Parcel &request) {
    std::array<std::string, 6> fields;  // kind, APN, user, password, authentication, PDP type
    for (std::string &field : fields) field = readCString(request);
    if (!canConnect()) return kFailed;
    if (linkUp()) return 0;
    mState.link = "connecting";
    mConnectedAt = Clock::now();
    return 0;
}

int NetworkService::setDns(const Parcel &request) {
    std::string address = readCString(request);
    int which = request.readInt32();
    if ((which != 0 && which != 1) || !isIPv4(address)) return kFailed;
    mState.dns[static_cast<size_t>(which)] = address;
    return 0;
}

ModemView NetworkService::modemView() const {
    ModemView v;
    v.sim = mState.sim;
    v.registered = canConnect();
    v.signal = mState.signal;
    v.ber = mState.ber;
    v.operatorName = mState.operatorName;
    v.imei = mState.imei;
    v.imsi = mState.imsi;
    v.iccid = mState.iccid;
    v.baseband = mState.baseband;
    return v;
}

void NetworkService::start() {
    // Outside a simulated terminal (no status directory) the host's /tmp is not the
    // terminal's: nothing is published there and no modem is served.
    struct stat st;
    if (stat(kStatusDir, &st) != 0 || !S_ISDIR(st.st_mode)) return;
    mStarted = true;
    int master = ptyMasterOf(kModemDevice);
    if (master >= 0) {
        makeLineRaw(kModemDevice);
        mModem.reset(new ModemLine(
            master,
            [this](const std::string &command) {
                std::lock_guard<std::mutex> lock(mViewLock);
                return answerAt(command, mView);
            },
            modemLogPath()));
    }
    publish();
}

void NetworkService::publish() {
    if (!mStarted) return;
    {
        std::lock_guard<std::mutex> lock(mViewLock);
        mView = modemView();
    }
    if (mModem) mModem->setSilent(mState.modem == "silent");
    kv_set_radio_state("simstate", std::to_string(radioSimCode(mState.sim)).c_str());
    std::string signal = std::to_string(mState.signal) + " " + std::to_string(mState.ber);
    kv_set_radio_state("signal", signal.c_str());
    kv_set_radio_state("gsm_stat", canConnect() ? "1" : "0");
    kv_set_radio_state("network_mode", std::to_string(mState.networkMode).c_str());
    kvsetcutom("KV_RADIO_SQI", mState.radioSqi.c_str());
    kvsetcutom("net.auto.connect", std::to_string(mState.autoConnect).c_str());
    kvsetcutom("net.airplane.mode", std::to_string(mState.airplaneMode).c_str());
    if (mState.radioDaemonUp) {
        std::ofstream(kRadioDaemonReady, std::ios::app);
    } else {
        unlink(kRadioDaemonReady);
    }
}

json NetworkService::state() const {
    return {{"sim", simName(mState.sim)},
            {"registered", mState.registered},
            {"signal", mState.signal},
            {"ber", mState.ber},
            {"network_mode", mState.networkMode},
            {"radio_sqi", mState.radioSqi},
            {"operator", mState.operatorName},
            {"imei", mState.imei},
            {"imsi", mState.imsi},
            {"iccid", mState.iccid},
            {"baseband", mState.baseband},
            {"base_station", mState.baseStation},
            {"access_technology", mState.accessTechnology},
            {"operator_code", mState.operatorCode},
            {"band", mState.band},
            {"channel", mState.channel},
            {"apn", mState.apn},
            {"dns", mState.dns},
            {"preferred_network_type", mState.preferredNetworkType},
            {"esm_fail_times", mState.esmFailTimes},
            {"auto_connect", mState.autoConnect},
            {"airplane_mode", mState.airplaneMode},
            {"radio_power", mState.radioPower},
            {"wireless_enabled", mState.wirelessEnabled},
            {"wifi_sleeping", mState.wifiSleeping},
            {"login_delay_ms", mState.loginDelayMs},
            {"login_fails", mState.loginFails},
            {"link", currentLink()},
            {"address", mState.address},
            {"radio_daemon", mState.radioDaemonUp ? "up" : "down"},
            {"modem", mState.modem},
            {"call_number", mState.callNumber}};
}

void NetworkService::load(const json &values) {
    if (!values.is_object()) throw std::invalid_argument("expected an object");
    State s = mState;
    std::string text;
    if (values.contains("sim")) s.sim = simFromName(textOf(values["sim"], "sim"));
    takeBool(values, "registered", s.registered);
    takeInt(values, "signal", s.signal);
    if (s.signal < 0 || (s.signal > 31 && s.signal != 99))
        throw std::invalid_argument("signal must be 0 to 31, or 99");
    takeInt(values, "ber", s.ber);
    takeInt(values, "network_mode", s.networkMode);
    takeText(values, "radio_sqi", s.radioSqi);
    s.radioSqi = checkedText(s.radioSqi, "radio_sqi");
    for (auto field : {std::make_pair("operator", &s.operatorName),
                       {"imei", &s.imei},
                       {"imsi", &s.imsi},
                       {"iccid", &s.iccid},
                       {"baseband", &s.baseband},
                       {"access_technology", &s.accessTechnology},
                       {"operator_code", &s.operatorCode},
                       {"band", &s.band},
                       {"address", &s.address},
                       {"call_number", &s.callNumber}}) {
        takeText(values, field.first, *field.second);
        *field.second = checkedText(*field.second, field.first);
    }
    if (values.contains("base_station")) {
        const json &list = values["base_station"];
        if (!list.is_array() || list.size() != 5)
            throw std::invalid_argument("base_station: expected 5 integers");
        for (size_t i = 0; i < 5; ++i) s.baseStation[i] = intOf(list[i], "base_station");
    }
    takeInt(values, "channel", s.channel);
    takeTexts(values, "apn", s.apn);
    takeTexts(values, "dns", s.dns);
    for (const std::string &dns : s.dns)
        if (!isIPv4(dns)) throw std::invalid_argument("dns: " + dns + " is no IPv4 address");
    takeInt(values, "preferred_network_type", s.preferredNetworkType);
    takeInt(values, "esm_fail_times", s.esmFailTimes);
    takeInt(values, "auto_connect", s.autoConnect);
    takeInt(values, "airplane_mode", s.airplaneMode);
    if (!fitsProperty(s.autoConnect) || !fitsProperty(s.airplaneMode))
        throw std::invalid_argument("auto_connect and airplane_mode take at most 7 digits");
    takeInt(values, "radio_power", s.radioPower);
    takeInt(values, "wireless_enabled", s.wirelessEnabled);
    takeBool(values, "wifi_sleeping", s.wifiSleeping);
    takeInt(values, "login_delay_ms", s.loginDelayMs);
    if (s.loginDelayMs < 0 || s.loginDelayMs > 600000)
        throw std::invalid_argument("login_delay_ms must be 0 to 600000");
    takeBool(values, "login_fails", s.loginFails);
    takeText(values, "link", s.link);
    if (s.link != "up" && s.link != "down" && s.link != "connecting")
        throw std::invalid_argument("link must be up, connecting or down");
    if (values.contains("radio_daemon")) {
        text = textOf(values["radio_daemon"], "radio_daemon");
        if (text != "up" && text != "down")
            throw std::invalid_argument("radio_daemon must be up or down");
        s.radioDaemonUp = text == "up";
    }
    takeText(values, "modem", s.modem);
    if (s.modem != "on" && s.modem != "silent")
        throw std::invalid_argument("modem must be on or silent");
    bool connecting = s.link == "connecting" && mState.link != "connecting";
    mState = s;
    if (connecting) mConnectedAt = Clock::now();
    publish();
}

// link_up / link_down: the data link comes up or drops at once; unsolicited line=TEXT: the
// modem reports TEXT on its AT port unasked.
void NetworkService::event(const std::string &name, const json &args) {
    if (name == "link_up" || name == "link_down") {
        mState.link = name == "link_up" ? "up" : "down";
    } else if (name == "unsolicited") {
        std::string line;
        takeText(args, "line", line);
        if (line.empty() || line.size() > 1024)
            throw std::invalid_argument("unsolicited needs line=TEXT (up to 1024 characters)");
        if (!mModem) throw std::invalid_argument("the modem has no line to send on");
        mModem->unsolicited(line);
    } else {
        return SimService::event(name, args);
    }
    publish();
}

}  // namespace possim
