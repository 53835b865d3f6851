#include "scenario/scenario.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cerrno>
#include <algorithm>
#include <fstream>
#include <iterator>

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

// The integer fields of the sections read into records, by key.
template <typename Record>
struct IntField {
    const char *key;
    int Record::*field;
};
const IntField<RadioState> kRadioInts[] = {
    {"sim_state", &RadioState::simState},         {"signal", &RadioState::signal},
    {"signal_second", &RadioState::signalSecond}, {"gsm_stat", &RadioState::gsmStat},
    {"network_mode", &RadioState::networkMode},   {"wifi_rssi", &RadioState::wifiRssi},
};
const char kRadioSqi[] = "radio_sqi";
const IntField<ServerReplies> kServerInts[] = {
    {"firmware_apply", &ServerReplies::firmwareApply},
    {"upgrade_file", &ServerReplies::upgradeFile},
    {"upgrade_download", &ServerReplies::upgradeDownload},
};
const char *const kAppKeys[] = {"id",       "name",   "version", "description",
                                "category", "vendor", "exec"};
// The other sections: maps of any names to values, and single values.
const char *const kOtherSections[] = {"properties", "shared_properties", "custom",
                                      "apps",       "hw_version",        "factory_test_step"};

template <typename Record, size_t N>
void readInts(const json &j, const IntField<Record> (&fields)[N], Record &r) {
    for (const auto &f : fields) r.*f.field = intValue(j, f.key, r.*f.field);
}

template <typename Record, size_t N>
std::vector<std::string> keysOf(const IntField<Record> (&fields)[N]) {
    std::vector<std::string> keys;
    for (const auto &f : fields) keys.push_back(f.key);
    return keys;
}

void readRadio(const json &j, RadioState &r) {
    readInts(j, kRadioInts, r);
    r.radioSqi = j.value(kRadioSqi, r.radioSqi);
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
    if (root.contains("servers")) readInts(root["servers"], kServerInts, s.replies);
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

// The deepest nesting of arrays and objects in TEXT (strings skipped), counted up to LIMIT + 1.
int nestingDepth(const std::string &text, int limit) {
    int depth = 0, deepest = 0;
    bool inString = false;
    for (size_t i = 0; i < text.size() && deepest <= limit; ++i) {
        char c = text[i];
        if (inString) {
            if (c == '\\') {
                ++i;
            } else if (c == '"') {
                inString = false;
            }
        } else if (c == '"') {
            inString = true;
        } else if (c == '[' || c == '{') {
            deepest = std::max(deepest, ++depth);
        } else if (c == ']' || c == '}') {
            --depth;
        }
    }
    return deepest;
}

void warnUnknownKeys(const json &section, const std::string &where,
                     const std::vector<std::string> &known, std::vector<std::string> &out) {
    if (!section.is_object()) return;
    for (auto it = section.begin(); it != section.end(); ++it) {
        if (std::find(known.begin(), known.end(), it.key()) == known.end()) {
            out.push_back("unknown key \"" + it.key() + "\" in " + where);
        }
    }
}

}  // namespace

bool parseJson(const std::string &text, json &out, std::string &error) {
    if (text.size() > kMaxJsonBytes) {
        error = "larger than " + std::to_string(kMaxJsonBytes / (1024 * 1024)) + " MiB";
        return false;
    }
    if (nestingDepth(text, kMaxJsonDepth) > kMaxJsonDepth) {
        error = "nested deeper than " + std::to_string(kMaxJsonDepth) + " levels";
        return false;
    }
    try {
        out = json::parse(text);
    } catch (const json::exception &e) {
        error = e.what();
        return false;
    }
    return true;
}

std::vector<std::string> unknownParts(
    const json &scenario, const std::map<std::string, std::vector<std::string>> &serviceKeys) {
    std::vector<std::string> out;
    if (!scenario.is_object()) return out;
    std::map<std::string, std::vector<std::string>> keyed = serviceKeys;
    keyed["radio"] = keysOf(kRadioInts);
    keyed["radio"].push_back(kRadioSqi);
    keyed["servers"] = keysOf(kServerInts);
    for (auto it = scenario.begin(); it != scenario.end(); ++it) {
        const std::string &name = it.key();
        auto keys = keyed.find(name);
        if (keys != keyed.end()) {
            warnUnknownKeys(*it, "section \"" + name + "\"", keys->second, out);
        } else if (name == "apps" && it->is_array()) {
            const std::vector<std::string> appKeys(std::begin(kAppKeys), std::end(kAppKeys));
            for (const json &app : *it) warnUnknownKeys(app, "an application", appKeys, out);
        } else if (std::find(std::begin(kOtherSections), std::end(kOtherSections), name) ==
                   std::end(kOtherSections)) {
            out.push_back("unknown section \"" + name + "\"");
        }
    }
    return out;
}

bool parseScenario(const std::string &text, Scenario &out, std::string &error) {
    Scenario s = defaultScenario();
    json root;
    if (!parseJson(text, root, error)) return false;
    try {
        if (!apply(root, s, error)) return false;
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
    // Read one byte past the limit, so an oversized file is refused without reading it whole.
    std::string text(kMaxJsonBytes + 1, '\0');
    in.read(&text[0], static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<size_t>(in.gcount()));
    return parseScenario(text, out, error);
}

}  // namespace possim
