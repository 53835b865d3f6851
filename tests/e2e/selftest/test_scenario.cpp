// The self-test's reading of scenario files: what it will expect of the terminal.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "Scenario.h"

namespace {

using selftest::Expectations;

TEST(SelftestScenario, VersionsReadAsTheSdkReportsThem) {
    EXPECT_EQ(selftest::reportedVersion("1.2.3-4"), "V1.2.3-4");
    EXPECT_EQ(selftest::reportedVersion("10.0.25-1234"), "V10.0.25-1234");
    // Numbers are read as numbers, as the simulator stores them.
    EXPECT_EQ(selftest::reportedVersion("01.02.003-0004"), "V1.2.3-4");
    for (const char *bad : {"", "1.2.3", "1.2.3-", "1.2.3-4x", "1..3-4", "a.b.c-d", "1.2.3.4",
                            "-1.2.3-4", "V1.2.3-4", "1234567890.0.0-0"}) {
        EXPECT_EQ(selftest::reportedVersion(bad), "") << bad;
    }
}

TEST(SelftestScenario, ReadsBatterySerialAndApplications) {
    const char *text = R"({
        "system": { "serial_number": "KV42", "rtc": "20261122090000" },
        "power": { "battery_capacity": 15, "battery_voltage": 3700, "charge_state": 2 },
        "apps": [ { "id": "com.acme.pay", "name": "Pay", "version": "1.0.0-7" },
                  { "id": "com.acme.bare" } ] })";
    Expectations expected;
    std::string error;
    ASSERT_TRUE(selftest::parseScenario(text, expected, error)) << error;
    EXPECT_EQ(expected.serialNumber.value_or(""), "KV42");
    EXPECT_EQ(expected.batteryCapacity.value_or(-1), 15);
    EXPECT_EQ(expected.batteryVoltage.value_or(-1), 3700);
    EXPECT_EQ(expected.chargeState.value_or(-1), 2);
    ASSERT_EQ(expected.apps.size(), 2u);
    EXPECT_EQ(expected.apps[0].id, "com.acme.pay");
    EXPECT_EQ(expected.apps[0].name, "Pay");
    EXPECT_EQ(expected.apps[0].version, "V1.0.0-7");
    // The simulator's defaults: the name is the id, the version 1.0.0-0.
    EXPECT_EQ(expected.apps[1].name, "com.acme.bare");
    EXPECT_EQ(expected.apps[1].version, "V1.0.0-0");
}

TEST(SelftestScenario, AbsentOrMistypedValuesExpectNothing) {
    Expectations expected;
    std::string error;
    ASSERT_TRUE(selftest::parseScenario(
        R"({"power": {"battery_capacity": "85", "charge_state": 1.5}, "system": {}})", expected,
        error));
    EXPECT_FALSE(expected.batteryCapacity.has_value());
    EXPECT_FALSE(expected.chargeState.has_value());
    EXPECT_FALSE(expected.batteryVoltage.has_value());
    EXPECT_FALSE(expected.serialNumber.has_value());
    EXPECT_TRUE(expected.apps.empty());

    // Beyond int's range, either way: no reading, rather than a wrapped one.
    ASSERT_TRUE(selftest::parseScenario(
        R"({"power": {"battery_capacity": 4294967381, "battery_voltage": -4294967296}})", expected,
        error));
    EXPECT_FALSE(expected.batteryCapacity.has_value());
    EXPECT_FALSE(expected.batteryVoltage.has_value());

    ASSERT_TRUE(selftest::parseScenario("{}", expected, error));
    EXPECT_TRUE(expected.apps.empty());
}

TEST(SelftestScenario, CardsInTheReaders) {
    Expectations expected;
    std::string error;
    ASSERT_TRUE(selftest::parseScenario(
        R"({"iccard": {"inserted": true}, "magcard": {"swiped": false}, "rfid": {"in_field": 1}})",
        expected, error));
    EXPECT_EQ(expected.cardInserted, std::optional<bool>(true));
    EXPECT_EQ(expected.cardSwiped, std::optional<bool>(false));
    EXPECT_FALSE(expected.cardInField.has_value());  // not a boolean: nothing expected
}

TEST(SelftestScenario, RefusesWhatTheSimulatorRefusesAndKeepsTheOldExpectations) {
    Expectations expected;
    expected.serialNumber = "KEPT";
    struct Case {
        const char *text;
        const char *error;
    } cases[] = {
        {"[1, 2]", "not a JSON object"},
        {"{\"apps\": [ {\"id\": \"x\" ", "not a JSON object"},
        {"", "not a JSON object"},
        {R"({"apps": {"id": "x"}})", "not a list"},
        {R"({"apps": [ {"name": "no id"} ]})", "no id"},
        {R"({"apps": [ {"id": ""} ]})", "no id"},
        {R"({"apps": [ {"id": "x", "version": "1.0"} ]})", "unreadable version"},
    };
    for (const Case &c : cases) {
        std::string error;
        EXPECT_FALSE(selftest::parseScenario(c.text, expected, error)) << c.text;
        EXPECT_NE(error.find(c.error), std::string::npos) << c.text << ": " << error;
        EXPECT_EQ(expected.serialNumber.value_or(""), "KEPT") << c.text;
    }
}

TEST(SelftestScenario, LoadsFromAFile) {
    std::string path = testing::TempDir() + "selftest_scenario.json";
    std::ofstream(path) << R"({"system": {"serial_number": "FROMFILE"}})";
    Expectations expected;
    std::string error;
    ASSERT_TRUE(selftest::loadScenario(path, expected, error)) << error;
    EXPECT_EQ(expected.serialNumber.value_or(""), "FROMFILE");
    std::remove(path.c_str());

    EXPECT_FALSE(selftest::loadScenario(path, expected, error));
    EXPECT_NE(error.find("cannot read"), std::string::npos) << error;
}

}  // namespace
