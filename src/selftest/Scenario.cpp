#include "Scenario.h"

#include <nlohmann/json.hpp>

#include <cctype>
#include <climits>
#include <fstream>
#include <sstream>
#include <type_traits>

namespace selftest {
namespace {

using nlohmann::json;

// Reads one decimal number at POS into VALUE, advancing POS past it. At most nine digits, so the
// value always fits an int as the simulator stores it.
bool readNumber(const std::string &text, size_t &pos, int &value) {
    size_t start = pos;
    value = 0;
    while (pos < text.size() && isdigit(static_cast<unsigned char>(text[pos])) && pos - start < 9) {
        value = value * 10 + (text[pos] - '0');
        ++pos;
    }
    return pos > start;
}

bool readSeparator(const std::string &text, size_t &pos, char separator) {
    if (pos >= text.size() || text[pos] != separator) return false;
    ++pos;
    return true;
}

template <typename T>
std::optional<T> optionalField(const json &section, const char *key) {
    if (!section.is_object() || !section.contains(key)) return std::nullopt;
    const json &value = section.at(key);
    // Integers out of int's range are no reading the simulator could report: ignore them.
    if (std::is_same<T, int>::value &&
        (!value.is_number_integer() || value.get<long long>() < INT_MIN ||
         (value.is_number_unsigned() ? value.get<unsigned long long>() > INT_MAX
                                     : value.get<long long>() > INT_MAX))) {
        return std::nullopt;
    }
    if (std::is_same<T, std::string>::value && !value.is_string()) return std::nullopt;
    return value.get<T>();
}

std::optional<bool> flag(const json &root, const char *section, const char *key) {
    if (!root.contains(section) || !root[section].is_object()) return std::nullopt;
    const json &part = root[section];
    if (!part.contains(key) || !part[key].is_boolean()) return std::nullopt;
    return part[key].get<bool>();
}

bool parseApps(const json &apps, std::vector<ExpectedApp> &out, std::string &error) {
    if (!apps.is_array()) {
        error = "\"apps\" is not a list";
        return false;
    }
    for (const json &app : apps) {
        auto id = optionalField<std::string>(app, "id");
        if (!id || id->empty()) {
            error = "an application has no id";
            return false;
        }
        // The simulator's own defaults: a missing name is the id, a missing version 1.0.0-0.
        auto given = optionalField<std::string>(app, "version");
        std::string version = reportedVersion(given.value_or("1.0.0-0"));
        if (version.empty()) {
            error = "application " + *id + " has an unreadable version";
            return false;
        }
        out.push_back({*id, optionalField<std::string>(app, "name").value_or(*id), version});
    }
    return true;
}

}  // namespace

std::string reportedVersion(const std::string &version) {
    int major = 0, minor = 0, patch = 0, build = 0;
    size_t pos = 0;
    bool ok = readNumber(version, pos, major) && readSeparator(version, pos, '.') &&
              readNumber(version, pos, minor) && readSeparator(version, pos, '.') &&
              readNumber(version, pos, patch) && readSeparator(version, pos, '-') &&
              readNumber(version, pos, build) && pos == version.size();
    if (!ok) return "";
    return "V" + std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(patch) +
           "-" + std::to_string(build);
}

bool parseScenario(const std::string &text, Expectations &out, std::string &error) {
    json root = json::parse(text, nullptr, /*allow_exceptions=*/false);
    if (!root.is_object()) {
        error = "the scenario is not a JSON object";
        return false;
    }
    Expectations expected;
    if (root.contains("system")) {
        expected.serialNumber = optionalField<std::string>(root["system"], "serial_number");
    }
    if (root.contains("power")) {
        const json &power = root["power"];
        expected.batteryCapacity = optionalField<int>(power, "battery_capacity");
        expected.batteryVoltage = optionalField<int>(power, "battery_voltage");
        expected.chargeState = optionalField<int>(power, "charge_state");
    }
    if (root.contains("apps") && !parseApps(root["apps"], expected.apps, error)) return false;
    if (root.contains("pinpad") && root["pinpad"].is_object()) {
        json steps = root["pinpad"].value("scripted_pins", json::array());
        std::string first = steps.is_array() && !steps.empty() && steps[0].is_string()
                                ? steps[0].get<std::string>()
                                : "";
        if (first.size() >= 4 && first.size() <= 12 &&
            first.find_first_not_of("0123456789") == std::string::npos) {
            expected.scriptedPin = first;
        }
    }
    expected.cardInserted = flag(root, "iccard", "inserted");
    expected.cardSwiped = flag(root, "magcard", "swiped");
    expected.cardInField = flag(root, "rfid", "in_field");
    out = expected;
    return true;
}

bool loadScenario(const std::string &path, Expectations &out, std::string &error) {
    std::ifstream in(path);
    if (!in) {
        error = "cannot read " + path;
        return false;
    }
    std::ostringstream text;
    text << in.rdbuf();
    return parseScenario(text.str(), out, error);
}

}  // namespace selftest
