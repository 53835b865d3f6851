// The power, LED, screen and small-device functions against the simulated terminal: what the
// functions check themselves, what reaches the services (read back through the console) and
// how the services' refusals come back.
#include <gtest/gtest.h>

#include <pos_sdk/power.h>
#include <pos_sdk/service/BpTransferHub.h>

#include <sys/stat.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

#include "Console.h"

namespace {

class Devices : public ::testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(harness::underSimulator()) << "run under pos-sim run --"; }

    static int power(const char *key) { return harness::state("power")[key].get<int>(); }
    // The next call of SERVICE answers STATUS: a call that does not reach the service leaves
    // the fault for the call after it.
    static void failNext(const char *service, int status) {
        ASSERT_TRUE(harness::ctl({service, "fault", "fail", "1", std::to_string(status)}).ok);
    }
};

TEST_F(Devices, SleepTimesAreCheckedBeforeTheServiceAndItsRefusalsRead1015) {
    struct Setting {
        int (*set)(int);
        int (*get)(int *);
        const char *key;
        int low, high;
    };
    const Setting settings[] = {
        {OsSysSleepTime, OsGetSysSleepTime, "sleep_time", 10, 3600},
        {OsSetSysDeepSleepTime, OsGetSysDeepSleepTime, "deep_sleep_time", 10, 300},
        {OsSetSleepShutdownTime, OsGetSleepShutdownTime, "sleep_shutdown_time", 1, 48},
    };
    for (const Setting &s : settings) {
        SCOPED_TRACE(s.key);
        int before = power(s.key);
        EXPECT_EQ(s.set(s.low - 1), OS_ERR_BAD_ARGUMENT);
        EXPECT_EQ(s.set(s.high + 1), OS_ERR_BAD_ARGUMENT);
        EXPECT_EQ(power(s.key), before);
        for (int edge : {s.low, s.high}) {
            EXPECT_EQ(s.set(edge), 0);
            int now = -1;
            EXPECT_EQ(s.get(&now), 0);
            EXPECT_EQ(now, edge);
            EXPECT_EQ(power(s.key), edge);
        }
        EXPECT_EQ(s.get(nullptr), OS_ERR_BAD_ARGUMENT);
        failNext("power", 3);
        EXPECT_EQ(s.set(s.low), OS_ERR_NOT_SUPPORTED);
        failNext("power", -4);
        int value = 0;
        EXPECT_EQ(s.get(&value), OS_ERR_NOT_SUPPORTED);
    }

    EXPECT_EQ(OsSetSysSleepStatus(0), 0);
    int allow = -1;
    EXPECT_EQ(OsGetSysSleepStatus(&allow), 0);
    EXPECT_EQ(allow, 0);
    EXPECT_EQ(OsSetSysSleepStatus(7), OS_ERR_NOT_SUPPORTED);  // unchecked here, refused there
    EXPECT_EQ(OsGetSysSleepStatus(nullptr), OS_ERR_BAD_ARGUMENT);
}

TEST_F(Devices, BrightnessOutOfRangeIsHandedBackWithoutACall) {
    failNext("power", -9);
    EXPECT_EQ(OsScrBrightness(11), 11);
    EXPECT_EQ(OsScrBrightness(-1), -1);
    EXPECT_EQ(OsScrBrightness(5), -9);  // the first call to reach the service takes the fault
    EXPECT_EQ(OsScrBrightness(10), 0);
    EXPECT_EQ(power("brightness"), 100);
    EXPECT_EQ(OsScrBrightness(0), 0);
    EXPECT_EQ(power("brightness"), 0);

    int width = -1, height = -1;
    OsScrGetSize(&width, nullptr);
    EXPECT_EQ(width, -1);
    OsScrGetSize(&width, &height);
    EXPECT_EQ(width * 10000 + height, 800 * 10000 + 1280);
}

TEST_F(Devices, ChargeStateComesFromThePowerService) {
    ASSERT_TRUE(harness::ctl({"power", "event", "charger_connected"}).ok);
    EXPECT_EQ(OsGetBatChgState(), 1);
    ASSERT_TRUE(harness::ctl({"power", "event", "charger_disconnected"}).ok);
    EXPECT_EQ(OsGetBatChgState(), 0);
}

TEST_F(Devices, StatusLedsGoOutAsOneMaskForAllFour) {
    EXPECT_EQ(OsLed(1, 0, 1, 0), 0);
    EXPECT_EQ(harness::state("system")["leds"], nlohmann::json({15, 5, 0, 0, 0, 0}));
    EXPECT_EQ(OsLed(0, 7, 0, 0xffffffffu), 0);  // any non-zero counts as on
    EXPECT_EQ(harness::state("system")["leds"], nlohmann::json({15, 10, 0, 0, 0, 0}));
    EXPECT_EQ(OsLed(0, 0, 0, 0), 0);
    EXPECT_EQ(harness::state("system")["leds"][1], 0);
}

TEST_F(Devices, CompanionControllerLeds) {
    EXPECT_EQ(OsLedRed(1), 0);
    EXPECT_EQ(OsLedGreen(2), 0);
    EXPECT_EQ(OsLedBlue(1), 0);
    EXPECT_EQ(OsLedCtrl(5, 0), 0);  // red and blue off, green left blinking
    nlohmann::json q = harness::state("qd36n");
    EXPECT_EQ(q["led_red"], 0);
    EXPECT_EQ(q["led_green"], 2);
    EXPECT_EQ(q["led_blue"], 0);
    EXPECT_EQ(OsLedRed(3), -1);  // the service's own refusal, handed on
    EXPECT_EQ(OsLedCtrl(8, 1), -1);
}

TEST_F(Devices, CompanionDateTimeIsFourteenCharactersSentInTheDateCommandsForm) {
    EXPECT_EQ(OsQd36nSetDateTime("20260102030405"), 0);
    EXPECT_EQ(harness::state("qd36n")["datetime"], "202601020304.05");
    for (const char *wrong : {"2026010203040", "202601020304056", ""}) {
        EXPECT_EQ(OsQd36nSetDateTime(wrong), OS_ERR_BAD_ARGUMENT) << wrong;
    }
    EXPECT_EQ(OsQd36nSetDateTime(nullptr), OS_ERR_BAD_ARGUMENT);
    // Digits are the service's to check: a day that does not exist is refused there.
    EXPECT_EQ(OsQd36nSetDateTime("20260230000000"), OS_ERR_SERVICE_FAILED);
    EXPECT_EQ(harness::state("qd36n")["datetime"], "202601020304.05");
}

TEST_F(Devices, CompanionUsbSwitchAndSecureElement) {
    EXPECT_EQ(OsQd36nSetUsbSw(1), 0);
    int position = -1;
    EXPECT_EQ(OsQd36nGetUsbSw(&position), 0);
    EXPECT_EQ(position, 1);
    EXPECT_EQ(OsQd36nGetUsbSw(nullptr), OS_ERR_BAD_ARGUMENT);
    ASSERT_TRUE(harness::ctl({"qd36n", "event", "usb_host_disconnected"}).ok);
    EXPECT_EQ(OsQd36nGetUsbSw(&position), 0);
    EXPECT_EQ(position, 0);

    EXPECT_EQ(OsQd36nResetSE(), 0);
    ASSERT_TRUE(harness::ctl({"qd36n", "set", "se_fault=true"}).ok);
    EXPECT_EQ(OsQd36nResetSE(), -1);
    EXPECT_EQ(harness::state("qd36n")["se_resets"], 2);
}

TEST_F(Devices, SegmentLcdShowsWhatItIsGivenAndReportsALostLink) {
    EXPECT_EQ(OsSegLcdShowSTD(0, 0, "TOTAL", 0), 0);
    EXPECT_EQ(OsSegLcdShow(1, 10, 2, "12.50", 1), 0);
    nlohmann::json lcd = harness::state("seglcd");
    EXPECT_EQ(lcd["lines"], nlohmann::json({"TOTAL           ", "          12.50 "}));
    EXPECT_EQ(lcd["font"], 2);
    EXPECT_EQ(OsSegLcdShowSTD(0, 12, "TOO LONG", 0), -1);  // refused, not cut

    char version[64] = "";
    EXPECT_EQ(OsSegLcdGetVersion(version), 0);
    EXPECT_STREQ(version, "SEGLCD-1.2.0");
    EXPECT_EQ(OsSegLcdGetVersion(nullptr), OS_ERR_BAD_ARGUMENT);
    EXPECT_EQ(OsSegLcdSetBacklight(2, 40), 0);
    EXPECT_EQ(harness::state("seglcd")["backlight_level"], 40);

    ASSERT_TRUE(harness::ctl({"seglcd", "event", "link_lost"}).ok);
    EXPECT_EQ(OsSegLcdPing(), -2);
    EXPECT_EQ(OsSegLcdReconnect(), 0);
    EXPECT_EQ(OsSegLcdPing(), 0);
    EXPECT_EQ(OsSegLcdCloseLcd(), 0);
    EXPECT_EQ(harness::state("seglcd")["open"], false);
    EXPECT_EQ(OsSegLcdReset(), 0);
    EXPECT_EQ(harness::state("seglcd")["lines"][1], "                ");
}

std::string powerStatus() {
    std::ifstream in("/tmp/.possim/power");
    std::string line;
    std::getline(in, line);
    return line;
}

TEST_F(Devices, ShellCommandsReachTheInitServer) {
    const char *node = "/tmp/devnode";
    std::ofstream(node) << "x";
    ASSERT_EQ(chmod(node, 0644), 0);
    EXPECT_EQ(OsDevNodeChmod(node, 600), 0);  // the mode is printed in decimal: "chmod 600"
    struct stat st;
    ASSERT_EQ(stat(node, &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0600u);
    EXPECT_EQ(OsDevNodeChmod(nullptr, 600), OS_ERR_BAD_ARGUMENT);
    EXPECT_EQ(OsDevNodeChmod(("/tmp/" + std::string(200, 'n')).c_str(), 600), OS_ERR_BAD_ARGUMENT);
    EXPECT_EQ(OsResetTP(), 0);
    // Each went to the init command server as a shell command (code 2457).
    std::ifstream log("/tmp/.possim/requests.log");
    std::string all((std::istreambuf_iterator<char>(log)), std::istreambuf_iterator<char>());
    EXPECT_NE(all.find("initcmd 2457 \"chmod 600 /tmp/devnode\" -> \"ok\""), std::string::npos)
        << all;
    EXPECT_NE(all.find("initcmd 2457 \"echo 0 > /sys/bus/platform/drivers/kivosys/ctp_stress\" "
                       "-> \"ok\""),
              std::string::npos)
        << all;
    EXPECT_EQ(all.find("nnnnnnnn"), std::string::npos);  // the over-long one never went
    int flag = -1;
    EXPECT_EQ(OsGetMisFlag(&flag), 0);
    EXPECT_EQ(flag, 1);  // the scenario's default board
    EXPECT_EQ(OsGetMisFlag(nullptr), OS_ERR_BAD_ARGUMENT);

    EXPECT_EQ(OsReboot(), 0);
    EXPECT_EQ(powerStatus(), "rebooting");
    EXPECT_EQ(OsPowerOff(), 0);
    EXPECT_EQ(powerStatus(), "off");
}

// Without the init command server a command cannot be asked for: reset and chmod say so,
// reboot still answers 0.
TEST_F(Devices, CommandsWithoutTheServer) {
    const char *socket = "/tmp/kv_init_servers_cmd_sock";
    ASSERT_EQ(rename(socket, "/tmp/away"), 0);
    EXPECT_EQ(OsResetTP(), OS_ERR_SERVICE_FAILED);
    EXPECT_EQ(OsReboot(), 0);
    EXPECT_EQ(powerStatus(), "on");
    ASSERT_EQ(rename("/tmp/away", socket), 0);
}

TEST_F(Devices, KilledServiceIsReboundAfterARestart) {
    ASSERT_TRUE(harness::ctl({"qd36n", "set", "usb_switch=1"}).ok);
    int position = -1;
    ASSERT_EQ(OsQd36nGetUsbSw(&position), 0);  // the hub holds a proxy
    ASSERT_TRUE(harness::ctl({"qd36n", "kill"}).ok);
    // The held proxy meets the dead connection and reads an empty reply, silently.
    testing::internal::CaptureStdout();
    EXPECT_EQ(OsQd36nGetUsbSw(&position), 0);
    EXPECT_EQ(position, 0);
    EXPECT_EQ(OsQd36nGetUsbSw(&position), POS_HUB_SERVICE_NOT_FOUND);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Service com.torva.binder.IQd36nManager is  not alive \n");
    ASSERT_TRUE(harness::ctl({"qd36n", "restart"}).ok);
    EXPECT_EQ(OsQd36nGetUsbSw(&position), 0);
    EXPECT_EQ(position, 1);  // the state the killed service had
}

}  // namespace
