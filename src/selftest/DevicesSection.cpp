// Power settings, the screen, the LEDs, the companion controller and the segment LCD through
// the SDK's C functions.
#include <pos_sdk/power.h>
#include <pos_sdk/service/BpTransferHub.h>

#include <ctime>
#include <string>

#include "Sections.h"

namespace selftest {
namespace {

void testSleepTimes(Checks &checks) {
    int original = 0;
    int readStatus = OsGetSysSleepTime(&original);
    int status = OsSysSleepTime(120);
    int now = -1;
    OsGetSysSleepTime(&now);
    checks.check("sleep time set to 120 s reads back", status == 0 && now == 120,
                 "status " + std::to_string(status) + ", reads " + std::to_string(now));
    status = OsSysSleepTime(9);
    checks.check("sleep time 9 s refused before the service", status == OS_ERR_BAD_ARGUMENT,
                 got(status));
    if (readStatus == 0) OsSysSleepTime(original);
    status = OsSetSysDeepSleepTime(301);
    checks.check("deep-sleep time 301 s refused", status == OS_ERR_BAD_ARGUMENT, got(status));
    status = OsSetSleepShutdownTime(49);
    checks.check("shut-down time 49 refused", status == OS_ERR_BAD_ARGUMENT, got(status));
}

void testScreen(Checks &checks) {
    int original = BpTransferHub::getInstance()->IPowerSysGetLCDBKL();
    int status = OsScrBrightness(7);
    int now = BpTransferHub::getInstance()->IPowerSysGetLCDBKL();
    checks.check("backlight level 7 is brightness 70", status == 0 && now == 70,
                 "status " + std::to_string(status) + ", brightness " + std::to_string(now));
    status = OsScrBrightness(11);
    checks.check("backlight level 11 handed back unsent", status == 11, got(status));
    if (original >= 0 && original <= 100)
        BpTransferHub::getInstance()->IPowerSysSetLCDBKL(original);
    int width = 0, height = 0;
    OsScrGetSize(&width, &height);
    checks.check("screen is 800 x 1280", width == 800 && height == 1280,
                 std::to_string(width) + " x " + std::to_string(height));
}

void testLeds(Checks &checks) {
    checks.check("status LEDs 1 and 3 on", OsLed(1, 0, 1, 0) == 0, "refused");
    OsLed(0, 0, 0, 0);
    int status = OsLedRed(1) | OsLedGreen(1) | OsLedBlue(1);
    checks.check("companion LEDs red, green and blue on", status == 0, got(status));
    status = OsLedCtrl(7, 0);
    checks.check("companion LEDs off together", status == 0, got(status));
}

void testCompanion(Checks &checks) {
    time_t now = time(nullptr);
    struct tm tm;
    gmtime_r(&now, &tm);
    char text[32];
    strftime(text, sizeof text, "%Y%m%d%H%M%S", &tm);
    int status = OsQd36nSetDateTime(text);
    checks.check(std::string("companion clock set to ") + text, status == 0, got(status));
    status = OsQd36nSetDateTime("2026010203040");
    checks.check("a 13-character date-time refused", status == OS_ERR_BAD_ARGUMENT, got(status));
    int original = 0, position = -1;
    OsQd36nGetUsbSw(&original);
    status = OsQd36nSetUsbSw(1);
    OsQd36nGetUsbSw(&position);
    checks.check("USB switch set to 1 reads back", status == 0 && position == 1,
                 "status " + std::to_string(status) + ", reads " + std::to_string(position));
    OsQd36nSetUsbSw(original);
    status = OsQd36nResetSE();
    checks.check("secure element reset", status == 0, got(status));
}

void testSegmentLcd(Checks &checks) {
    int status = OsSegLcdPing();
    if (!checks.check("segment LCD answers", status == 0, got(status))) return;
    char version[64] = "";
    status = OsSegLcdGetVersion(version);
    checks.check(std::string("segment LCD version \"") + version + "\"",
                 status == 0 && version[0] != '\0', got(status));
    status = OsSegLcdShowSTD(0, 0, "SELF TEST", 0);
    checks.check("segment LCD shows SELF TEST", status == 0, got(status));
    status = OsSegLcdShow(1, 0, 0, "0.00", 0);
    checks.check("segment LCD shows 0.00 on line 2", status == 0, got(status));
    status = OsSegLcdSetBacklight(1, 60);
    checks.check("segment LCD backlight at 60", status == 0, got(status));
}

}  // namespace

void testSmallDevices(Checks &checks, const Expectations &expected) {
    int charge = OsGetBatChgState();
    bool reachable = charge != POS_HUB_NO_SERVICE_MANAGER && charge != POS_HUB_SERVICE_NOT_FOUND;
    if (!checks.check("charge state " + std::to_string(charge),
                      reachable && (expected.chargeState ? charge == *expected.chargeState
                                                         : charge >= 0 && charge <= 2),
                      got(charge))) {
        return;
    }
    testSleepTimes(checks);
    testScreen(checks);
    testLeds(checks);
    testCompanion(checks);
    testSegmentLcd(checks);
    int flag = -1;
    int status = OsGetMisFlag(&flag);
    checks.check("board MIS flag " + std::to_string(flag), status == 0 && flag >= 0 && flag <= 9,
                 got(status));
}

}  // namespace selftest
