// pos_demo: makes every system and power call through the SDK's service hub and prints what
// came back. Run it on a terminal or under the simulator: pos-sim run -- pos_demo
#include <pos_sdk/at.h>
#include <pos_sdk/network.h>
#include <pos_sdk/os_time.h>
#include <pos_sdk/service/BpTransferHub.h>

#include <cstdio>

namespace {

int g_failures = 0;

// Prints one call's status; binding codes get their meaning spelled out.
void show(const char *call, int status) {
    if (status == POS_HUB_NO_SERVICE_MANAGER) {
        printf("  %-34s no service manager (is the simulator running?)\n", call);
    } else if (status == POS_HUB_SERVICE_NOT_FOUND) {
        printf("  %-34s service not found\n", call);
    } else {
        printf("  %-34s status %d\n", call, status);
        return;
    }
    ++g_failures;
}

void showValue(const char *call, int value, const char *unit) {
    if (value == POS_HUB_NO_SERVICE_MANAGER || value == POS_HUB_SERVICE_NOT_FOUND) {
        show(call, value);
        return;
    }
    printf("  %-34s %d%s\n", call, value, unit);
}

void showText(const char *call, const char *text) {
    if (text == nullptr) {
        printf("  %-34s (no answer: service unreachable)\n", call);
        ++g_failures;
        return;
    }
    printf("  %-34s \"%s\"\n", call, text);
}

void power(BpTransferHub *hub) {
    printf("Power service\n");
    showValue("battery capacity", hub->IPowerSysGetBatCap(), " %");
    showValue("battery voltage", hub->IPowerSysGetBatVol(), " mV");
    showValue("charge state", hub->IPowerSysChgState(), "");
    int a = 0, b = 0, c = 0;
    int status = hub->IPowerSysGetBatInfo(&a, &b, &c);
    show("battery information", status);
    printf("  %-34s %d, %d, %d\n", "  (fields)", a, b, c);
    showValue("screen brightness", hub->IPowerSysGetLCDBKL(), "");
    show("set brightness to 50", hub->IPowerSysSetLCDBKL(50));
    showValue("screen brightness now", hub->IPowerSysGetLCDBKL(), "");

    int value = 0;
    show("set sleep time to 120 s", hub->IPowerSysSetSleepTime(120));
    status = hub->IPowerSysGetSleepTime(&value);
    printf("  %-34s status %d, %d s\n", "sleep time", status, value);
    show("forbid sleep", hub->IPowerSysAllowEnterSleep(0));
    status = hub->IPowerSysGetAllowEnterSleep(&value);
    printf("  %-34s status %d, %d\n", "sleep allowed", status, value);
    show("set deep-sleep time to 60 s", hub->IPowerSysSetDeepSleepTime(60));
    status = hub->IPowerSysGetDeepSleepTime(&value);
    printf("  %-34s status %d, %d s\n", "deep-sleep time", status, value);
    show("set shut-down time to 12", hub->IPowerSysSetSleepShutdownTime(12));
    status = hub->IPowerSysGetSleepShutdownTime(&value);
    printf("  %-34s status %d, %d\n", "shut-down after sleep", status, value);
    show("brightness 150 (refused)", hub->IPowerSysSetLCDBKL(150));
}

void system(BpTransferHub *hub) {
    printf("System service\n");
    showText("clock", hub->ISystemGetMCURTCTime());
    show("set clock to 2026-11-22 10:30:00", hub->ISystemSetMCURTCTime(2026, 11, 22, 10, 30, 0));
    showText("clock now", hub->ISystemGetMCURTCTime());
    show("set clock to 2026-02-30 (refused)", hub->ISystemSetMCURTCTime(2026, 2, 30, 0, 0, 0));
    showText("device information 1", hub->ISystemGetDevInfo(1));
    char serial[] = "DEMO12345678";
    show("set serial number", hub->ISystemSetDevInfo(1, serial));
    showText("device information 1 now", hub->ISystemGetDevInfo(1));
    show("beep 2000 Hz for 100 ms", hub->ISystemCtrlBeeper(2000, 100));
    show("key tone on", hub->ISystemCtrlKeytone(5));
    show("LEDs: all four on", hub->ISystemCtrlLED(15, 15, 0, 0, 0, 0));

    int value = 0;
    const char *random = hub->ISystemGetDebugModeRandom(&value);
    showText("debug-mode challenge", random);
    printf("  %-34s %d\n", "debug mode", value);
    show("debug mode on with a wrong answer", hub->ISystemSetDebugMode(const_cast<char *>("x"), 1));
    int status = hub->ISystemGetWakeSource(&value);
    printf("  %-34s status %d, source %d\n", "wake source", status, value);
    show("RF test", hub->ISystemMCURFIDTest());
    show("hand over battery state 1", hub->ISystemSyncBATState(1));
    show("low-power LED frequency 3", hub->ISystemSetLPLEDFreq(3));
    status = hub->ISystemGetLPLEDFreq(&value);
    printf("  %-34s status %d, %d\n", "low-power LED frequency", status, value);
}

// Logs into the cellular network and shows what the link and the modem report.
void cellular() {
    printf("Cellular network\n");
    OsWlLock();
    show("module and SIM ready", OsWlInit(nullptr));
    char name[128] = {0}, address[64] = {0}, imei[64] = {0};
    show("operator", OsWlGetSimOperator(name));
    printf("  %-34s \"%s\"\n", "  (name)", name);
    OsWlGetImei(imei);
    printf("  %-34s %s\n", "IMEI", imei);
    printf("  %-34s level %d of 5, strength %d\n", "signal", OsWlGetSignal(),
           OsWlGetSignalStrength());
    int64_t start = get_sys_tick();
    show("data login (APN cmnet)", OsWlLogin("cmnet", "", "", 0, 10000));
    printf("  %-34s %lld ms\n", "  (took)", static_cast<long long>(get_sys_tick() - start));
    show("ppp0 address", OsWlGetNetworkIp(address));
    printf("  %-34s %s\n", "  (address)", address);
    char response[1024] = {0};
    OsCustATCmdOpen();
    show("AT+COPS? on the modem", OsSendCustATCmd("AT+COPS?", response));
    printf("  %-34s %s", "  (answer)", response);
    show("logout", OsWlLogout());
    OsWlUnLock();
}

}  // namespace

int main() {
    BpTransferHub *hub = BpTransferHub::getInstance();
    power(hub);
    system(hub);
    cellular();
    if (g_failures != 0) {
        printf("%d calls could not reach their service\n", g_failures);
        return 1;
    }
    printf("every call reached its service\n");
    return 0;
}
