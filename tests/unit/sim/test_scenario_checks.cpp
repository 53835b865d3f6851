// What pos-sim tells about a scenario before it starts: parts nothing reads, and text too large
// or too deep to be read safely.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "Registry.h"
#include "scenario/scenario.h"

namespace {

bool mentions(const std::vector<std::string> &messages, const std::string &part) {
    return std::any_of(messages.begin(), messages.end(),
                       [&](const std::string &m) { return m.find(part) != std::string::npos; });
}

TEST(ScenarioChecks, PartsNothingReadsAreNamed) {
    nlohmann::json scenario = nlohmann::json::parse(R"({
        "powr": {}, "power": {"battery_capacity": 5, "battery_capacty": 5},
        "system": {"serial_number": "X", "rtc_time": "x"},
        "radio": {"signal": 3, "sim": 1}, "servers": {"upgrade_fil": 0},
        "apps": [{"id": "a", "exe": "/bin/true"}],
        "properties": {"any.name": "1"}, "custom": {"ANY": "2"}, "hw_version": "V2"
    })");
    std::vector<std::string> messages = possim::unknownParts(scenario, possim::scenarioKeys());
    for (const char *part : {"section \"powr\"", "\"battery_capacty\" in section \"power\"",
                             "\"rtc_time\" in section \"system\"", "\"sim\" in section \"radio\"",
                             "\"upgrade_fil\"", "\"exe\" in an application"}) {
        EXPECT_TRUE(mentions(messages, part)) << part;
    }
    EXPECT_EQ(messages.size(), 6u);
}

TEST(ScenarioChecks, TextTooLargeOrTooDeepIsRefusedBeforeParsing) {
    nlohmann::json out;
    std::string error;
    std::string deep = std::string(100000, '[') + std::string(100000, ']');
    EXPECT_FALSE(possim::parseJson(deep, out, error));
    EXPECT_NE(error.find("deeper than 64"), std::string::npos) << error;

    // Brackets inside strings are text, not nesting.
    std::string quoted = "{\"a\": \"" + std::string(1000, '[') + "\\\"\"}";
    EXPECT_TRUE(possim::parseJson(quoted, out, error)) << error;
    std::string nested64 = std::string(64, '[') + std::string(64, ']');
    EXPECT_TRUE(possim::parseJson(nested64, out, error)) << error;

    std::string huge = "\"" + std::string(possim::kMaxJsonBytes, 'x') + "\"";
    EXPECT_FALSE(possim::parseJson(huge, out, error));
    EXPECT_NE(error.find("larger than"), std::string::npos) << error;
}

}  // namespace
