// Every system and power call through the hub into the simulator's services (run under
// pos-sim). Each call is checked by its effect on the service's state.
#include <gtest/gtest.h>

#include <pos_sdk/service/BpTransferHub.h>

#include <cstring>
#include <ctime>
#include <string>

namespace {

class HubOnSim : public ::testing::Test {
  protected:
    BpTransferHub *hub = BpTransferHub::getInstance();
};

TEST_F(HubOnSim, BatteryReadingsAgree) {
    int capacity = hub->IPowerSysGetBatCap();
    int voltage = hub->IPowerSysGetBatVol();
    int charge = hub->IPowerSysChgState();
    EXPECT_GE(capacity, 0);
    EXPECT_LE(capacity, 100);
    EXPECT_GT(voltage, 0);
    int a = -1, b = -1, c = -1;
    ASSERT_EQ(hub->IPowerSysGetBatInfo(&a, &b, &c), 0);
    EXPECT_EQ(a, charge);
    EXPECT_EQ(b, capacity);
    EXPECT_EQ(c, voltage);
}

TEST_F(HubOnSim, PowerSettingsRoundTrip) {
    EXPECT_EQ(hub->IPowerSysSetLCDBKL(30), 0);
    EXPECT_EQ(hub->IPowerSysGetLCDBKL(), 30);
    EXPECT_NE(hub->IPowerSysSetLCDBKL(101), 0);
    EXPECT_EQ(hub->IPowerSysGetLCDBKL(), 30);

    int value = 0;
    EXPECT_EQ(hub->IPowerSysSetSleepTime(300), 0);
    EXPECT_EQ(hub->IPowerSysGetSleepTime(&value), 0);
    EXPECT_EQ(value, 300);
    EXPECT_EQ(hub->IPowerSysAllowEnterSleep(0), 0);
    EXPECT_EQ(hub->IPowerSysGetAllowEnterSleep(&value), 0);
    EXPECT_EQ(value, 0);
    EXPECT_EQ(hub->IPowerSysSetDeepSleepTime(45), 0);
    EXPECT_EQ(hub->IPowerSysGetDeepSleepTime(&value), 0);
    EXPECT_EQ(value, 45);
    EXPECT_EQ(hub->IPowerSysSetSleepShutdownTime(7), 0);
    EXPECT_EQ(hub->IPowerSysGetSleepShutdownTime(&value), 0);
    EXPECT_EQ(value, 7);
    EXPECT_NE(hub->IPowerSysSetSleepShutdownTime(49), 0);
}

TEST_F(HubOnSim, ClockIsSetAndKeepsRunning) {
    ASSERT_EQ(hub->ISystemSetMCURTCTime(2030, 6, 15, 8, 0, 0), 0);
    const char *text = hub->ISystemGetMCURTCTime();
    ASSERT_NE(text, nullptr);
    // Set a moment ago: the same minute unless the test stalled for a minute.
    EXPECT_EQ(std::string(text).substr(0, 12), "203006150800");
    EXPECT_NE(hub->ISystemSetMCURTCTime(2030, 2, 29, 0, 0, 0), 0);  // not a leap year
}

TEST_F(HubOnSim, SerialNumberRecord) {
    char serial[] = "E2E-SN-0042";
    ASSERT_EQ(hub->ISystemSetDevInfo(1, serial), 0);
    const char *record = hub->ISystemGetDevInfo(1);
    ASSERT_NE(record, nullptr);
    // Four zero bytes, type 1, length 11 low byte first, then the text, all in hex.
    EXPECT_STREQ(record,
                 "00000000010B00"
                 "4532452D534E2D30303432");

    char other[] = "board rev C";
    ASSERT_EQ(hub->ISystemSetDevInfo(5, other), 0);
    EXPECT_STREQ(hub->ISystemGetDevInfo(5), "board rev C");
}

TEST_F(HubOnSim, DebugModeNeedsTheChallengeAnswer) {
    int mode = -1;
    const char *challenge = hub->ISystemGetDebugModeRandom(&mode);
    ASSERT_NE(challenge, nullptr);
    std::string answer = challenge;
    EXPECT_EQ(mode, 0);
    char wrong[] = "nope";
    EXPECT_NE(hub->ISystemSetDebugMode(wrong, 1), 0);
    EXPECT_EQ(hub->ISystemSetDebugMode(&answer[0], 1), 0);
    hub->ISystemGetDebugModeRandom(&mode);
    EXPECT_EQ(mode, 1);
}

TEST_F(HubOnSim, DeviceControls) {
    EXPECT_EQ(hub->ISystemCtrlBeeper(2000, 100), 0);
    EXPECT_NE(hub->ISystemCtrlBeeper(-1, 100), 0);
    EXPECT_EQ(hub->ISystemCtrlKeytone(3), 0);
    EXPECT_EQ(hub->ISystemCtrlLED(15, 5, 0, 0, 0, 0), 0);
    EXPECT_EQ(hub->ISystemMCURFIDTest(), 0);
    EXPECT_EQ(hub->ISystemSyncBATState(1), 0);
    int value = -1;
    EXPECT_EQ(hub->ISystemGetWakeSource(&value), 0);
    EXPECT_EQ(value, 0);
    EXPECT_EQ(hub->ISystemSetLPLEDFreq(4), 0);
    EXPECT_EQ(hub->ISystemGetLPLEDFreq(&value), 0);
    EXPECT_EQ(value, 4);
}

}  // namespace
