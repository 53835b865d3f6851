#include "WifiService.h"

#include <pos_sdk/service/IWifiManager.h>

#include <nlohmann/json.hpp>

#include <cstring>

#include "sysglue/sysglue.h"

using android::IWifiManager;
using android::Parcel;
using android::WifiConfig;
using android::WifiScanRecord;
using nlohmann::json;

namespace possim {

namespace {

// Statuses.
const int kBadArgument = -1;
const int kDisabled = -2;
const int kNoNetwork = -3;
const int kWrongPassword = -4;

const size_t kMaxNetworks = 256;
const int kMaxReply = 4096;  // the most a raw command's answer holds, terminator included
const int kNoSignal = -127;  // published while no network is joined

WifiService::Network networkOf(const json &entry) {
    if (!entry.is_object()) throw std::invalid_argument("networks: each an object");
    WifiService::Network n;
    takeText(entry, "ssid", n.ssid);
    takeText(entry, "bssid", n.bssid);
    takeText(entry, "password", n.password);
    n.level = intArg(entry, "level", n.level);
    n.frequency = intArg(entry, "frequency", n.frequency);
    n.flags = n.password.empty() ? "[ESS]" : "[WPA2-PSK-CCMP][ESS]";
    takeText(entry, "flags", n.flags);
    if (n.ssid.empty() || n.ssid.size() > 32)
        throw std::invalid_argument("networks: ssid of 1 to 32 bytes");
    // The escaped name, address and flags must fit the scan record's fields.
    if (supplicantEscape(n.ssid).size() >= sizeof WifiScanRecord().ssid ||
        n.bssid.size() >= sizeof WifiScanRecord().bssid ||
        n.flags.size() >= sizeof WifiScanRecord().flags)
        throw std::invalid_argument("networks: bssid up to 23 characters, flags up to 255");
    if (n.password.size() > sizeof WifiConfig().password)
        throw std::invalid_argument("networks: password up to 64 bytes");
    return n;
}

json jsonOf(const WifiService::Network &n) {
    return {{"ssid", n.ssid},   {"bssid", n.bssid},       {"level", n.level},
            {"flags", n.flags}, {"password", n.password}, {"frequency", n.frequency}};
}

}  // namespace

std::string supplicantEscape(const std::string &ssid) {
    std::string out;
    for (unsigned char c : ssid) {
        switch (c) {
            case '"':
                out += "\\\"";
                break;
            case '\\':
                out += "\\\\";
                break;
            case '\033':
                out += "\\e";
                break;
            case '\n':
                out += "\\n";
                break;
            case '\r':
                out += "\\r";
                break;
            case '\t':
                out += "\\t";
                break;
            default:
                if (c >= 32 && c < 127) {
                    out += char(c);
                } else {
                    char hex[5];
                    snprintf(hex, sizeof hex, "\\x%02x", c);
                    out += hex;
                }
        }
    }
    return out;
}

WifiService::WifiService(const json &section) : SimService("com.torva.binder.IWifiManager") {
    load(section);
    onStatus(IWifiManager::OPEN, [this](const Parcel &, ReplyFields &) {
        mState.enabled = true;
        return 0;
    });
    onStatus(IWifiManager::CLOSE, [this](const Parcel &, ReplyFields &) {
        disconnect();
        mState.enabled = false;
        return 0;
    });
    onStatus(IWifiManager::ENABLE, [this](const Parcel &request, ReplyFields &) {
        int on = request.readInt32();
        if (on != 0 && on != 1) return kBadArgument;
        if (on == 0) disconnect();
        mState.enabled = on == 1;
        return 0;
    });
    onStatus(IWifiManager::SCAN, [this](const Parcel &, ReplyFields &out) { return scan(out); });
    onStatus(IWifiManager::CONNECT,
             [this](const Parcel &request, ReplyFields &) { return connect(request); });
    onStatus(IWifiManager::DISCONNECT, [this](const Parcel &, ReplyFields &) {
        disconnect();
        return 0;
    });
    onStatus(IWifiManager::RECONNECT, [this](const Parcel &, ReplyFields &) {
        if (mState.lastSsid.empty()) return kNoNetwork;
        const Network *n = find(mState.lastSsid);
        return join(mState.lastSsid, mState.lastPassword, n && !n->password.empty());
    });
    // Saving a network makes it the one Reconnect joins.
    onStatus(IWifiManager::SAVE_CONFIG, [this](const Parcel &request, ReplyFields &) {
        WifiConfig config;
        if (request.read(&config, sizeof config) != android::NO_ERROR) return kBadArgument;
        std::string ssid(config.ssid, strnlen(config.ssid, sizeof config.ssid));
        if (ssid.empty()) return kBadArgument;
        mState.lastSsid = ssid;
        mState.lastPassword =
            config.mode == android::WIFI_CONFIG_SECURED
                ? std::string(config.password, strnlen(config.password, sizeof config.password))
                : std::string();
        return 0;
    });
    onStatus(IWifiManager::CHECK_STATUS, [this](const Parcel &, ReplyFields &out) {
        const Network *n = find(mState.connected);
        out.cstring(n ? supplicantEscape(n->ssid) : "")
            .cstring(!mState.enabled ? "INTERFACE_DISABLED"
                     : n             ? "COMPLETED"
                                     : "DISCONNECTED")
            .cstring(n ? mState.ipAddress : "")
            .i32(n ? n->level : 0);
        return 0;
    });
    // The answer is cut to the size the caller's buffer has (the terminator included).
    onStatus(IWifiManager::SEND_CMD, [this](const Parcel &request, ReplyFields &out) {
        std::string text = readCString(request);
        int size = request.readInt32();
        if (size < 1 || size > kMaxReply) return kBadArgument;
        std::string reply = command(text);
        out.cstring(reply.substr(0, size_t(size - 1)));
        return 0;
    });
}

void WifiService::start() {
    mStarted = true;
    publishSignal();
}

const WifiService::Network *WifiService::find(const std::string &ssid) const {
    if (ssid.empty()) return nullptr;
    for (const Network &n : mState.networks) {
        if (n.ssid == ssid) return &n;
    }
    return nullptr;
}

int WifiService::scan(ReplyFields &out) {
    if (!mState.enabled) return kDisabled;
    if (mState.scanEmptyRounds > 0) {
        --mState.scanEmptyRounds;
        out.i32(0);
        return 0;
    }
    out.i32(int(mState.networks.size()));
    for (const Network &n : mState.networks) {
        WifiScanRecord record;
        memset(&record, 0, sizeof record);
        // load() keeps every text shorter than its field, so each stays terminated.
        memcpy(record.bssid, n.bssid.data(), n.bssid.size());
        record.level = n.level;
        memcpy(record.flags, n.flags.data(), n.flags.size());
        std::string ssid = supplicantEscape(n.ssid);
        memcpy(record.ssid, ssid.data(), ssid.size());
        out.raw(&record, sizeof record);
    }
    return 0;
}

// Request: the raw WifiConfig, then an integer kept as last_connect_arg.
int WifiService::connect(const Parcel &request) {
    WifiConfig config;
    if (request.read(&config, sizeof config) != android::NO_ERROR) return kBadArgument;
    mState.lastConnectArg = request.readInt32();
    if (config.mode != android::WIFI_CONFIG_SECURED && config.mode != android::WIFI_CONFIG_OPEN)
        return kBadArgument;
    std::string ssid(config.ssid, strnlen(config.ssid, sizeof config.ssid));
    std::string password(config.password, strnlen(config.password, sizeof config.password));
    if (ssid.empty()) return kBadArgument;
    return join(ssid, password, config.mode == android::WIFI_CONFIG_SECURED);
}

int WifiService::join(const std::string &ssid, const std::string &password, bool secured) {
    if (!mState.enabled) return kDisabled;
    const Network *n = find(ssid);
    if (n == nullptr) return kNoNetwork;
    // An open network takes any request; a secured one its password, sent as secured.
    if (!n->password.empty() && (!secured || password != n->password)) {
        disconnect();
        return kWrongPassword;
    }
    mState.connected = ssid;
    mState.lastSsid = ssid;
    mState.lastPassword = secured ? password : std::string();
    publishSignal();
    return 0;
}

void WifiService::disconnect() {
    mState.connected.clear();
    publishSignal();
}

void WifiService::publishSignal() const {
    if (!mStarted) return;  // outside a terminal there is nowhere of its own to publish
    const Network *n = find(mState.connected);
    kv_set_radio_state("wifi_rssi", std::to_string(n ? n->level : kNoSignal).c_str());
}

// The answers of a supplicant's control interface to the commands it knows here.
std::string WifiService::command(const std::string &text) const {
    const Network *joined = find(mState.connected);
    if (text == "PING") return "PONG\n";
    if (text == "STATUS") {
        std::string s;
        if (joined) {
            s += "bssid=" + joined->bssid + "\nfreq=" + std::to_string(joined->frequency) +
                 "\nssid=" + supplicantEscape(joined->ssid) + "\nid=0\nmode=station\n";
            if (!joined->password.empty()) s += "pairwise_cipher=CCMP\nkey_mgmt=WPA2-PSK\n";
            s += "wpa_state=COMPLETED\nip_address=" + mState.ipAddress + "\n";
        } else {
            s += std::string("wpa_state=") +
                 (mState.enabled ? "DISCONNECTED" : "INTERFACE_DISABLED") + "\n";
        }
        return s + "address=" + mState.macAddress + "\n";
    }
    if (text == "SCAN_RESULTS") {
        std::string s = "bssid / frequency / signal level / flags / ssid\n";
        for (const Network &n : mState.networks) {
            s += n.bssid + "\t" + std::to_string(n.frequency) + "\t" + std::to_string(n.level) +
                 "\t" + n.flags + "\t" + supplicantEscape(n.ssid) + "\n";
        }
        return s;
    }
    if (text == "LIST_NETWORKS") {
        std::string s = "network id / ssid / bssid / flags\n";
        if (!mState.lastSsid.empty()) {
            s += "0\t" + supplicantEscape(mState.lastSsid) + "\tany\t" +
                 (mState.connected == mState.lastSsid ? "[CURRENT]" : "") + "\n";
        }
        return s;
    }
    return "FAIL\n";
}

json WifiService::state() const {
    json networks = json::array();
    for (const Network &n : mState.networks) networks.push_back(jsonOf(n));
    return {{"enabled", mState.enabled},
            {"networks", networks},
            {"connected", mState.connected},
            {"last_ssid", mState.lastSsid},
            {"last_password", mState.lastPassword},
            {"ip_address", mState.ipAddress},
            {"mac_address", mState.macAddress},
            {"scan_empty_rounds", mState.scanEmptyRounds},
            {"last_connect_arg", mState.lastConnectArg}};
}

void WifiService::load(const json &values) {
    if (!values.is_object()) throw std::invalid_argument("expected an object");
    State s = mState;
    takeBool(values, "enabled", s.enabled);
    auto networks = values.find("networks");
    if (networks != values.end()) {
        if (!networks->is_array() || networks->size() > kMaxNetworks)
            throw std::invalid_argument("networks: an array of at most 256");
        s.networks.clear();
        for (const json &entry : *networks) s.networks.push_back(networkOf(entry));
    }
    takeText(values, "connected", s.connected);
    takeText(values, "last_ssid", s.lastSsid);
    takeText(values, "last_password", s.lastPassword);
    takeText(values, "ip_address", s.ipAddress);
    takeText(values, "mac_address", s.macAddress);
    takeInt(values, "scan_empty_rounds", s.scanEmptyRounds);
    takeInt(values, "last_connect_arg", s.lastConnectArg);
    // Callers read the address into 16 bytes and the name into what a scan record holds.
    if (s.ipAddress.size() > 15) throw std::invalid_argument("ip_address: a dotted IPv4 address");
    mState = s;
    // A joined network that went out of range drops the link.
    if (find(mState.connected) == nullptr) mState.connected.clear();
    publishSignal();
}

// add_network ssid=.. [bssid=.. level=.. flags=.. password=.. frequency=..];
// remove_network ssid=..; signal ssid=.. level=..
void WifiService::event(const std::string &name, const json &args) {
    if (name == "add_network") {
        Network n = networkOf(args);
        if (find(n.ssid) != nullptr)
            throw std::invalid_argument("a network of that ssid is in range");
        if (mState.networks.size() >= kMaxNetworks)
            throw std::invalid_argument("256 networks in range");
        mState.networks.push_back(n);
        return;
    }
    std::string ssid;
    takeText(args, "ssid", ssid);
    auto it = std::find_if(mState.networks.begin(), mState.networks.end(),
                           [&](const Network &n) { return n.ssid == ssid; });
    if (name == "remove_network" || name == "signal") {
        if (it == mState.networks.end()) throw std::invalid_argument("no network \"" + ssid + "\"");
        if (name == "signal") {
            it->level = intArg(args, "level", it->level);
        } else {
            mState.networks.erase(it);
            if (mState.connected == ssid) mState.connected.clear();
        }
        publishSignal();
        return;
    }
    SimService::event(name, args);
}

}  // namespace possim
