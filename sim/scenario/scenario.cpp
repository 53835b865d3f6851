#include "scenario/scenario.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cerrno>
#include <fstream>
#include <sstream>

namespace possim {

using nlohmann::json;

Scenario defaultScenario() {
    Scenario s;
    s.properties = {
        {"kivo.system.version", "V1.6.2-20240315"},
        {"kivo.config.mid.version", "V2.1.0-20240301"},
        {"kivo.config.mcu.softver", "V1.0.8-20231120"},
        {"kivo.config.mcu.firmware.info", "KV-SP-FW V1.0.8 2023-11-20"},
        {"KIVO.SYS.BOOT.MODE", "0"},
        {"R61.MIS.BOARD", "1"},
    };
    s.sharedProperties = {
        {"net.auto.connect", "1"},
        {"wifi.auto.connect", "1"},
        {"airplane.mode", "0"},
    };
    s.custom = {{"KV_RADIO_MODULE_VERSION", "EC200U_V1.2"}};
    return s;
}

namespace {

enum class NumberRead { Ok, Missing, OutOfRange };

// strtol rather than sscanf("%d"): a number too large for int is refused, not undefined.
NumberRead readInt(const char *&p, int &out) {
    char *end = nullptr;
    errno = 0;
    long value = std::strtol(p, &end, 10);
    if (end == p) return NumberRead::Missing;
    if (errno == ERANGE || value < INT_MIN || value > INT_MAX) return NumberRead::OutOfRange;
    out = static_cast<int>(value);
    p = end;
    return NumberRead::Ok;
}

// "MAJOR.MINOR.PATCH-BUILD"; trailing parts may be missing, as with "%d.%d.%d-%d".
bool parseVersion(const std::string &text, AppVersion &v) {
    AppVersion parsed;
    const char *p = text.c_str();
    if (readInt(p, parsed.major) != NumberRead::Ok) return false;
    int *const rest[] = {&parsed.minor, &parsed.patch, &parsed.build};
    const char separators[] = {'.', '.', '-'};
    for (int i = 0; i < 3 && *p == separators[i]; ++i) {
        ++p;
        NumberRead r = readInt(p, *rest[i]);
        if (r == NumberRead::OutOfRange) return false;
        if (r == NumberRead::Missing) break;
    }
    v = parsed;
    return true;
}

std::string textOf(const json &value) {
    return value.is_string() ? value.get<std::string>() : value.dump();
}

void readTextMap(const json &obj, std::map<std::string, std::string> &out) {
    for (auto it = obj.begin(); it != obj.end(); ++it) out[it.key()] = textOf(it.value());
}

void readCustom(const json &obj, std::vector<std::pair<std::string, std::string>> &out) {
    for (auto it = obj.begin(); it != obj.end(); ++it) {
        bool replaced = false;
        for (auto &kv : out) {
            if (kv.first == it.key()) {
                kv.second = textOf(it.value());
                replaced = true;
            }
        }
        if (!replaced) out.emplace_back(it.key(), textOf(it.value()));
    }
}

bool readApp(const json &j, ScenarioApp &app, std::string &error) {
    app.id = j.value("id", "");
    app.name = j.value("name", app.id);
    if (app.id.empty() || app.id.size() > 32 || app.name.empty()) {
        error = "application needs an id of 1 to 32 characters and a name";
        return false;
    }
    if (j.contains("version") && !parseVersion(textOf(j["version"]), app.version)) {
        error = "application " + app.id + ": version must read MAJOR.MINOR.PATCH-BUILD";
        return false;
    }
    app.description = j.value("description", "");
    app.category = j.value("category", app.category);
    app.vendor = j.value("vendor", "");
    app.exec = j.value("exec", "");
    return true;
}

// The int at KEY of OBJ, else FALLBACK. nlohmann casts a fraction to int directly, which is
// undefined outside int's range: such a number keeps FALLBACK.
int intValue(const json &obj, const char *key, int fallback) {
    if (obj.is_object()) {
        auto it = obj.find(key);
        if (it != obj.end() && it->is_number_float()) {
            double v = it->get<double>();
            if (!(v > double(INT_MIN) - 1.0 && v < double(INT_MAX) + 1.0)) return fallback;
        }
    }
    return obj.value(key, fallback);
}

void readRadio(const json &j, RadioState &r) {
    r.simState = intValue(j, "sim_state", r.simState);
    r.signal = intValue(j, "signal", r.signal);
    r.signalSecond = intValue(j, "signal_second", r.signalSecond);
    r.gsmStat = intValue(j, "gsm_stat", r.gsmStat);
    r.networkMode = intValue(j, "network_mode", r.networkMode);
    r.wifiRssi = intValue(j, "wifi_rssi", r.wifiRssi);
    r.radioSqi = j.value("radio_sqi", r.radioSqi);
}

void readReplies(const json &j, ServerReplies &r) {
    r.firmwareApply = intValue(j, "firmware_apply", r.firmwareApply);
    r.upgradeFile = intValue(j, "upgrade_file", r.upgradeFile);
    r.upgradeDownload = intValue(j, "upgrade_download", r.upgradeDownload);
}

bool apply(const json &root, Scenario &s, std::string &error) {
    if (!root.is_object()) {
        error = "a scenario is a JSON object";
        return false;
    }
    s.raw = root;
    if (root.contains("properties")) readTextMap(root["properties"], s.properties);
    if (root.contains("shared_properties"))
        readTextMap(root["shared_properties"], s.sharedProperties);
    if (root.contains("custom")) readCustom(root["custom"], s.custom);
    if (root.contains("radio")) readRadio(root["radio"], s.radio);
    if (root.contains("servers")) readReplies(root["servers"], s.replies);
    s.hwVersion = root.value("hw_version", s.hwVersion);
    s.factoryTestStep = intValue(root, "factory_test_step", s.factoryTestStep);
    if (root.contains("apps")) {
        for (const auto &j : root["apps"]) {
            ScenarioApp app;
            if (!readApp(j, app, error)) return false;
            s.apps.push_back(app);
        }
    }
    return true;
}

}  // namespace

bool parseScenario(const std::string &text, Scenario &out, std::string &error) {
    Scenario s = defaultScenario();
    try {
        if (!apply(json::parse(text), s, error)) return false;
    } catch (const json::exception &e) {
        error = e.what();
        return false;
    }
    out = std::move(s);
    return true;
}

bool loadScenario(const std::string &file, Scenario &out, std::string &error) {
    std::ifstream in(file);
    if (!in) {
        error = "cannot read " + file;
        return false;
    }
    std::stringstream text;
    text << in.rdbuf();
    return parseScenario(text.str(), out, error);
}

}  // namespace possim
