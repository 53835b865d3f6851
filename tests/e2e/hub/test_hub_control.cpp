// The hub against the simulator's services while the test drives them through the control
// console: what the console sets the library reads, what the library does the console shows,
// and injected faults, events and restarts reach the library as they would on a terminal.
#include <gtest/gtest.h>

#include <pos_sdk/service/BpTransferHub.h>

#include <chrono>
#include <string>

#include "Console.h"

namespace {

class HubControl : public ::testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(harness::underSimulator()) << "run under pos-sim run --"; }

    BpTransferHub hub;
};

TEST_F(HubControl, WhatTheConsoleSetsTheLibraryReadsAndTheOtherWayRound) {
    ASSERT_TRUE(harness::ctl({"power", "set", "battery_capacity=15"}).ok);
    EXPECT_EQ(hub.IPowerSysGetBatCap(), 15);

    // The same through the command line a person would type.
    auto [status, out] =
        harness::runCommand(POS_SIM " ctl power set battery_capacity=23 charge_state=2");
    ASSERT_EQ(status, 0) << out;
    EXPECT_NE(out.find("\"battery_capacity\": 23"), std::string::npos) << out;
    int charge = -1, capacity = -1, voltage = -1;
    EXPECT_EQ(hub.IPowerSysGetBatInfo(&charge, &capacity, &voltage), 0);
    EXPECT_EQ(capacity * 10 + charge, 232);
    EXPECT_EQ(harness::runCommand(POS_SIM " ctl power state").out, out);

    ASSERT_EQ(hub.IPowerSysSetLCDBKL(30), 0);
    ASSERT_EQ(hub.ISystemCtrlLED(1, 0, 2, 0, 3, 0), 0);
    char serial[] = "CTL-0001";
    ASSERT_EQ(hub.ISystemSetDevInfo(1, serial), 0);
    EXPECT_EQ(harness::state("power")["brightness"], 30);
    nlohmann::json system = harness::state("system");
    EXPECT_EQ(system["leds"], nlohmann::json({1, 0, 2, 0, 3, 0}));
    EXPECT_EQ(system["serial_number"], "CTL-0001");
}

TEST_F(HubControl, HardwareEvents) {
    ASSERT_TRUE(harness::ctl({"power", "event", "charger_connected"}).ok);
    EXPECT_EQ(hub.IPowerSysChgState(), 1);
    ASSERT_TRUE(harness::ctl({"power", "event", "charger_disconnected"}).ok);
    EXPECT_EQ(hub.IPowerSysChgState(), 0);

    ASSERT_TRUE(harness::ctl({"system", "set", "mcu_sleeping=true"}).ok);
    ASSERT_TRUE(harness::ctl({"system", "event", "wake_up", "source=4"}).ok);
    int source = -1;
    EXPECT_EQ(hub.ISystemGetWakeSource(&source), 0);
    EXPECT_EQ(source, 4);
    EXPECT_EQ(harness::state("system")["mcu_sleeping"], false);

    possim::ctl::Answer unknown = harness::ctl({"power", "event", "lid_opened"});
    EXPECT_FALSE(unknown.ok);
    EXPECT_NE(unknown.text.find("unknown event"), std::string::npos) << unknown.text;
}

TEST_F(HubControl, InjectedFaultsReachTheCaller) {
    // Failing calls answer the given status; the argument-less getters fold it into -1.
    ASSERT_TRUE(harness::ctl({"power", "fault", "fail", "2", "-7"}).ok);
    EXPECT_EQ(hub.IPowerSysSetLCDBKL(40), -7);
    EXPECT_EQ(hub.IPowerSysGetBatCap(), -1);
    EXPECT_EQ(hub.IPowerSysGetBatCap(), 85);
    ASSERT_TRUE(harness::ctl({"system", "fault", "fail", "1"}).ok);
    EXPECT_STREQ(hub.ISystemGetDevInfo(1), "");

    // A dropped reply reads as empty: status 0, outputs 0, and no word about a dead object.
    ASSERT_TRUE(harness::ctl({"power", "fault", "drop", "1"}).ok);
    testing::internal::CaptureStdout();
    int seconds = 99;
    EXPECT_EQ(hub.IPowerSysGetSleepTime(&seconds), 0);
    EXPECT_EQ(seconds, 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(hub.IPowerSysGetSleepTime(&seconds), 0);
    EXPECT_EQ(seconds, 60);

    // A delayed call comes back late but whole.
    ASSERT_TRUE(harness::ctl({"power", "fault", "delay", "1", "300"}).ok);
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(hub.IPowerSysGetBatVol(), 4012);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(300));

    ASSERT_TRUE(harness::ctl({"power", "fault", "fail", "5"}).ok);
    ASSERT_TRUE(harness::ctl({"power", "fault", "clear"}).ok);
    EXPECT_EQ(hub.IPowerSysGetBatCap(), 85);
}

TEST_F(HubControl, KilledServiceIsNoticedAndARestartedOneKeepsItsState) {
    ASSERT_TRUE(harness::ctl({"power", "set", "battery_capacity=15"}).ok);
    EXPECT_EQ(hub.IPowerSysGetBatCap(), 15);
    ASSERT_TRUE(harness::ctl({"power", "kill"}).ok);
    EXPECT_NE(harness::ctl({"list"}).text.find("KivoPowerService\tkilled"), std::string::npos);
    EXPECT_FALSE(harness::ctl({"power", "state"}).ok);

    // The call that meets the dead connection reads the empty reply; the next finds no service.
    testing::internal::CaptureStdout();
    int seconds = 99;
    EXPECT_EQ(hub.IPowerSysGetSleepTime(&seconds), 0);
    EXPECT_EQ(seconds, 0);
    EXPECT_EQ(hub.IPowerSysGetBatCap(), POS_HUB_SERVICE_NOT_FOUND);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "remote dead object !Service com.torva.binder.IPowerManager is  not alive \n");

    ASSERT_TRUE(harness::ctl({"power", "restart"}).ok);
    EXPECT_EQ(hub.IPowerSysGetBatCap(), 15);  // the battery did not change with its service

    // Restarting a running service: the held proxy is dead, the next call binds the new one.
    ASSERT_TRUE(harness::ctl({"power", "restart"}).ok);
    testing::internal::CaptureStdout();
    hub.IPowerSysGetBatCap();
    EXPECT_EQ(hub.IPowerSysGetBatCap(), 15);
    testing::internal::GetCapturedStdout();
}

TEST_F(HubControl, RefusedCommandsSayWhyAndChangeNothing) {
    const std::vector<std::vector<std::string>> refused = {
        {"fax", "state"},
        {"power", "set", "battery_capacity"},
        {"power", "fault", "delay", "1"},
        {"power", "fault", "melt", "1"},
        {"system", "set", "rtc=20260230000000"},
        {"power", "recharge"},
    };
    for (const auto &words : refused) {
        possim::ctl::Answer answer = harness::ctl(words);
        EXPECT_FALSE(answer.ok) << words[1];
        EXPECT_FALSE(answer.text.empty());
    }
    EXPECT_EQ(harness::state("power")["battery_capacity"], 85);
    EXPECT_EQ(hub.IPowerSysGetBatCap(), 85);
}

}  // namespace
