// Power, sleep, LEDs, screen and the small devices: argument checks, one hub call each, and
// the result mapped; reboot, power-off, the touch panel and node modes are shell commands run
// by the init command server.
#include <sysglue/sysglue.h>

#include <stdio.h>
#include <string.h>

#include "pos_sdk/log.h"
#include "pos_sdk/os_status.h"
#include "pos_sdk/pkg.h"
#include "pos_sdk/power.h"
#include "pos_sdk/service/BpTransferHub.h"

namespace {

BpTransferHub *const gHub = BpTransferHub::getInstance();

constexpr int kShellTimeoutSec = 5;
constexpr int kScreenWidth = 800;
constexpr int kScreenHeight = 1280;
constexpr int kAllStatusLeds = 15;  // the LED selector that addresses all four at once

// Hands a shell command line to the init command server; its answer (0 when done).
int runShellCommand(const char *command) {
    return PkgAppManagementCmd(PKG_SERVER_INITCMD, kShellTimeoutSec, PKG_CMD_SHELL, command);
}

// The power service's settings and queries: any refusal, binding failures included, is -1015.
int powerResult(int hubResult) {
    return hubResult != 0 ? OS_ERR_NOT_SUPPORTED : 0;
}

int setWithin(int value, int low, int high, int (BpTransferHub::*setter)(int)) {
    if (value < low || value > high) return OS_ERR_BAD_ARGUMENT;
    return powerResult((gHub->*setter)(value));
}

int getInto(int *out, int (BpTransferHub::*getter)(int *)) {
    if (out == nullptr) return OS_ERR_BAD_ARGUMENT;
    return powerResult((gHub->*getter)(out));
}

}  // namespace

extern "C" {

POS_API int OsGetBatChgState(void) {
    return gHub->IPowerSysChgState();
}

POS_API int OsSysSleepTime(int seconds) {
    return setWithin(seconds, 10, 3600, &BpTransferHub::IPowerSysSetSleepTime);
}

POS_API int OsGetSysSleepTime(int *seconds) {
    return getInto(seconds, &BpTransferHub::IPowerSysGetSleepTime);
}

POS_API int OsSetSleepShutdownTime(int value) {
    return setWithin(value, 1, 48, &BpTransferHub::IPowerSysSetSleepShutdownTime);
}

POS_API int OsGetSleepShutdownTime(int *value) {
    return getInto(value, &BpTransferHub::IPowerSysGetSleepShutdownTime);
}

POS_API int OsSetSysDeepSleepTime(int seconds) {
    return setWithin(seconds, 10, 300, &BpTransferHub::IPowerSysSetDeepSleepTime);
}

POS_API int OsGetSysDeepSleepTime(int *seconds) {
    return getInto(seconds, &BpTransferHub::IPowerSysGetDeepSleepTime);
}

POS_API int OsSetSysSleepStatus(int allow) {
    return powerResult(gHub->IPowerSysAllowEnterSleep(allow));
}

POS_API int OsGetSysSleepStatus(int *allow) {
    return getInto(allow, &BpTransferHub::IPowerSysGetAllowEnterSleep);
}

// Once asked, the terminal is going down: nobody would act on a failure.
POS_API int OsReboot(void) {
    runShellCommand("reboot");
    return 0;
}

POS_API int OsPowerOff(void) {
    runShellCommand("poweroff");
    return 0;
}

POS_API int OsOpenCameraService(int, void *) {
    return 0;
}

POS_API int OsCloseCameraService(void) {
    return 0;
}

POS_API int OsScrBrightness(int level) {
    // An out-of-range level is handed back as the result rather than refused with a code;
    // callers test for 0. Kept for compatibility.
    if (level < 0 || level > 10) return level;
    return gHub->IPowerSysSetLCDBKL(level * 10);
}

POS_API void OsScrGetSize(int *width, int *height) {
    if (width == nullptr || height == nullptr) return;
    *width = kScreenWidth;
    *height = kScreenHeight;
}

POS_API int OsLedCtrl(int mask, int state) {
    return gHub->IQd36nLedCtrl(mask, state);
}

POS_API int OsLedRed(int state) {
    return gHub->IQd36nLedRed(state);
}

POS_API int OsLedGreen(int state) {
    return gHub->IQd36nLedGreen(state);
}

POS_API int OsLedBlue(int state) {
    return gHub->IQd36nLedBlue(state);
}

POS_API int OsLed(unsigned int first, unsigned int second, unsigned int third,
                  unsigned int fourth) {
    int mask =
        (first != 0 ? 1 : 0) | (second != 0 ? 2 : 0) | (third != 0 ? 4 : 0) | (fourth != 0 ? 8 : 0);
    return gHub->ISystemCtrlLED(kAllStatusLeds, mask, 0, 0, 0, 0);
}

POS_API int OsResetTP(void) {
    return runShellCommand("echo 0 > /sys/bus/platform/drivers/kivosys/ctp_stress") != 0
               ? OS_ERR_SERVICE_FAILED
               : 0;
}

POS_API int OsDevNodeChmod(const char *path, int mode) {
    if (path == nullptr) return OS_ERR_BAD_ARGUMENT;
    char command[128];
    int length = snprintf(command, sizeof command, "chmod %d %s", mode, path);
    // A cut command would change the mode of another node: refuse it whole.
    if (length < 0 || size_t(length) >= sizeof command) return OS_ERR_BAD_ARGUMENT;
    return runShellCommand(command) != 0 ? OS_ERR_SERVICE_FAILED : 0;
}

POS_API int OsGetMisFlag(int *flag) {
    if (flag == nullptr) return OS_ERR_BAD_ARGUMENT;
    // The property is one digit, but the reader copies up to a whole property value.
    char value[KV_PROP_VALUE_MAX] = {0};
    if (kvgetsysver("R61.MIS.BOARD", value) != 0) return -1;
    *flag = value[0] - '0';
    return 0;
}

POS_API int OsQd36nSetDateTime(const char *datetime) {
    if (datetime == nullptr || strlen(datetime) != 14) return OS_ERR_BAD_ARGUMENT;
    // YYYYMMDDhhmm.ss: the form the companion's date command takes.
    char text[16] = {0};
    snprintf(text, sizeof text, "%.12s.%.2s", datetime, datetime + 12);
    int result = gHub->IQd36nSetDateTime(text);
    if (result == 0) return 0;
    OsLog(0, "ISetDateTime ret=%d\n", -result);
    return OS_ERR_SERVICE_FAILED;
}

POS_API int OsQd36nResetSE(void) {
    return gHub->IQd36nResetSE();
}

POS_API int OsQd36nSetUsbSw(int position) {
    return gHub->IQd36nSetUsbSw(position);
}

POS_API int OsQd36nGetUsbSw(int *position) {
    if (position == nullptr) return OS_ERR_BAD_ARGUMENT;
    return gHub->IQd36nGetUsbSw(position);
}

POS_API int OsSegLcdSetBacklight(int mode, int level) {
    return gHub->ISegLcdSetBacklight(mode, level);
}

POS_API int OsSegLcdCloseLcd(void) {
    return gHub->ISegLcdCloseLcd();
}

POS_API int OsSegLcdPing(void) {
    return gHub->ISegLcdPing();
}

POS_API int OsSegLcdReconnect(void) {
    return gHub->ISegLcdReconnect();
}

POS_API int OsSegLcdReset(void) {
    return gHub->ISegLcdReset();
}

POS_API int OsSegLcdGetVersion(char *version) {
    if (version == nullptr) return OS_ERR_BAD_ARGUMENT;
    return gHub->ISegLcdGetVersion(version);
}

POS_API int OsSegLcdShow(int line, int column, int font, const char *text, int flags) {
    return gHub->ISegLcdShow(line, column, font, text, flags);
}

POS_API int OsSegLcdShowSTD(int line, int column, const char *text, int flags) {
    return gHub->ISegLcdShow(line, column, text, flags);
}

}  // extern "C"
