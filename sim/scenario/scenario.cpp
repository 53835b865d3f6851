#include "scenario/scenario.h"

#include <cstdio>
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

bool parseVersion(const std::string &text, AppVersion &v) {
    AppVersion parsed;
    int n = std::sscanf(text.c_str(), "%d.%d.%d-%d", &parsed.major, &parsed.minor, &parsed.patch,
                        &parsed.build);
    if (n < 1) return false;
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

void readRadio(const json &j, RadioState &r) {
    r.simState = j.value("sim_state", r.simState);
    r.signal = j.value("signal", r.signal);
    r.signalSecond = j.value("signal_second", r.signalSecond);
    r.gsmStat = j.value("gsm_stat", r.gsmStat);
    r.networkMode = j.value("network_mode", r.networkMode);
    r.wifiRssi = j.value("wifi_rssi", r.wifiRssi);
    r.radioSqi = j.value("radio_sqi", r.radioSqi);
}

void readReplies(const json &j, ServerReplies &r) {
    r.firmwareApply = j.value("firmware_apply", r.firmwareApply);
    r.upgradeFile = j.value("upgrade_file", r.upgradeFile);
    r.upgradeDownload = j.value("upgrade_download", r.upgradeDownload);
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
    s.factoryTestStep = root.value("factory_test_step", s.factoryTestStep);
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
