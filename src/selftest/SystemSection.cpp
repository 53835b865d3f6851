// System and power services through the service hub.
#include <pos_sdk/service/BpTransferHub.h>
#include <pos_sdk/util.h>

#include <cstring>
#include <string>
#include <vector>

#include "Sections.h"

namespace selftest {
namespace {

bool reachable(int status) {
    return status != POS_HUB_NO_SERVICE_MANAGER && status != POS_HUB_SERVICE_NOT_FOUND;
}

// Device information record 1 is hexadecimal text of four zero bytes, the byte 1, the serial
// number's length (low byte first) and its characters. Returns false when TEXT is not that.
bool decodeSerialRecord(const char *text, std::string &serial) {
    if (text == nullptr) return false;
    int len = static_cast<int>(strlen(text));
    if (len < 14 || len % 2 != 0) return false;
    std::vector<unsigned char> bytes(len / 2);
    StrToByte(reinterpret_cast<const unsigned char *>(text), len, bytes.data());
    if (bytes[0] || bytes[1] || bytes[2] || bytes[3] || bytes[4] != 1) return false;
    size_t count = bytes[5] | (bytes[6] << 8);
    if (count != bytes.size() - 7) return false;
    serial.assign(bytes.begin() + 7, bytes.end());
    return true;
}

void testBattery(Checks &checks, BpTransferHub *hub, const Expectations &expected) {
    int capacity = hub->IPowerSysGetBatCap();
    checks.check("battery capacity " + std::to_string(capacity) + " %",
                 expected.batteryCapacity ? capacity == *expected.batteryCapacity
                                          : capacity >= 0 && capacity <= 100,
                 expected.batteryCapacity ? "expected " + std::to_string(*expected.batteryCapacity)
                                          : "outside 0..100");
    int voltage = hub->IPowerSysGetBatVol();
    checks.check("battery voltage " + std::to_string(voltage) + " mV",
                 expected.batteryVoltage ? voltage == *expected.batteryVoltage : voltage > 0,
                 expected.batteryVoltage ? "expected " + std::to_string(*expected.batteryVoltage)
                                         : "not positive");
    int charge = hub->IPowerSysChgState();
    checks.check(
        "charge state " + std::to_string(charge),
        expected.chargeState ? charge == *expected.chargeState : charge >= 0 && charge <= 2,
        expected.chargeState ? "expected " + std::to_string(*expected.chargeState)
                             : "outside 0..2");
    int first = -1, second = -1, third = -1;
    int status = hub->IPowerSysGetBatInfo(&first, &second, &third);
    checks.check("battery information agrees with the single readings",
                 status == 0 && first == charge && second == capacity && third == voltage,
                 "status " + std::to_string(status) + ", fields " + std::to_string(first) + ", " +
                     std::to_string(second) + ", " + std::to_string(third));
}

void testBrightness(Checks &checks, BpTransferHub *hub) {
    int original = hub->IPowerSysGetLCDBKL();
    checks.check("brightness reads " + std::to_string(original), original >= 0 && original <= 100,
                 "outside 0..100");
    int status = hub->IPowerSysSetLCDBKL(50);
    int now = hub->IPowerSysGetLCDBKL();
    checks.check("brightness set to 50 reads back", status == 0 && now == 50,
                 "status " + std::to_string(status) + ", reads " + std::to_string(now));
    status = hub->IPowerSysSetLCDBKL(150);
    now = hub->IPowerSysGetLCDBKL();
    checks.check("brightness 150 refused and 50 kept", status != 0 && now == 50,
                 "status " + std::to_string(status) + ", reads " + std::to_string(now));
    if (original >= 0 && original <= 100) hub->IPowerSysSetLCDBKL(original);
}

// Sets a value through SETTER, reads it back through GETTER and restores what was there.
void testSetting(Checks &checks, BpTransferHub *hub, const char *what, int value,
                 int (BpTransferHub::*setter)(int), int (BpTransferHub::*getter)(int *)) {
    int original = 0;
    int readStatus = (hub->*getter)(&original);
    int setStatus = (hub->*setter)(value);
    int now = -1;
    int status = (hub->*getter)(&now);
    checks.check(std::string(what) + " set to " + std::to_string(value) + " reads back",
                 setStatus == 0 && status == 0 && now == value,
                 "set status " + std::to_string(setStatus) + ", read status " +
                     std::to_string(status) + ", value " + std::to_string(now));
    if (readStatus == 0) (hub->*setter)(original);
}

void testPowerSettings(Checks &checks, BpTransferHub *hub) {
    testBrightness(checks, hub);
    testSetting(checks, hub, "sleep time", 120, &BpTransferHub::IPowerSysSetSleepTime,
                &BpTransferHub::IPowerSysGetSleepTime);
    testSetting(checks, hub, "deep-sleep time", 60, &BpTransferHub::IPowerSysSetDeepSleepTime,
                &BpTransferHub::IPowerSysGetDeepSleepTime);
    testSetting(checks, hub, "shut-down time", 12, &BpTransferHub::IPowerSysSetSleepShutdownTime,
                &BpTransferHub::IPowerSysGetSleepShutdownTime);
    testSetting(checks, hub, "sleep allowed", 0, &BpTransferHub::IPowerSysAllowEnterSleep,
                &BpTransferHub::IPowerSysGetAllowEnterSleep);
    int status = hub->IPowerSysSetSleepTime(0);
    checks.check("sleep time 0 refused", status != 0, got(status));
}

void testClock(Checks &checks, BpTransferHub *hub) {
    const char *clock = hub->ISystemGetMCURTCTime();
    std::string before = clock ? clock : "";
    checks.check("clock reads \"" + before + "\"", before.size() == 14, "not YYYYMMDDhhmmss");
    int status = hub->ISystemSetMCURTCTime(2026, 11, 22, 10, 30, 0);
    clock = hub->ISystemGetMCURTCTime();
    std::string after = clock ? clock : "";
    // The clock keeps running: compare to the minute.
    checks.check("clock set to 2026-11-22 10:30:00 reads back",
                 status == 0 && after.compare(0, 12, "202611221030") == 0,
                 "status " + std::to_string(status) + ", reads \"" + after + "\"");
    status = hub->ISystemSetMCURTCTime(2026, 2, 30, 0, 0, 0);
    checks.check("clock set to 2026-02-30 refused", status != 0, got(status));
}

void testSerialNumber(Checks &checks, BpTransferHub *hub, const Expectations &expected) {
    std::string original;
    bool decoded = decodeSerialRecord(hub->ISystemGetDevInfo(1), original);
    checks.check("serial number record reads \"" + original + "\"",
                 decoded && (!expected.serialNumber || original == *expected.serialNumber),
                 decoded ? "expected \"" + expected.serialNumber.value_or("") + "\""
                         : "not a serial number record");
    char serial[] = "SELFTEST0001";
    int status = hub->ISystemSetDevInfo(1, serial);
    std::string now;
    decoded = decodeSerialRecord(hub->ISystemGetDevInfo(1), now);
    checks.check("serial number set to SELFTEST0001 reads back",
                 status == 0 && decoded && now == serial,
                 "status " + std::to_string(status) + ", reads \"" + now + "\"");
    if (!original.empty()) {
        std::vector<char> restore(original.begin(), original.end());
        restore.push_back('\0');
        status = hub->ISystemSetDevInfo(1, restore.data());
        checks.check("serial number restored", status == 0, got(status));
    }
}

void testDeviceInformation(Checks &checks, BpTransferHub *hub) {
    char board[] = "board rev C";
    int status = hub->ISystemSetDevInfo(5, board);
    const char *record = hub->ISystemGetDevInfo(5);
    std::string now = record ? record : "";
    checks.check("device information record 5 set and read back", status == 0 && now == board,
                 "status " + std::to_string(status) + ", reads \"" + now + "\"");
}

void testDebugMode(Checks &checks, BpTransferHub *hub) {
    int mode = -1;
    const char *challenge = hub->ISystemGetDebugModeRandom(&mode);
    std::string answer = challenge ? challenge : "";
    checks.check("debug challenge \"" + answer + "\" with debug mode off",
                 !answer.empty() && mode == 0, "mode " + std::to_string(mode));
    char wrong[] = "not the answer";
    int status = hub->ISystemSetDebugMode(wrong, 1);
    checks.check("debug mode refused without the challenge's answer", status != 0, got(status));
    status = hub->ISystemSetDebugMode(&answer[0], 1);
    hub->ISystemGetDebugModeRandom(&mode);
    checks.check("debug mode on with the answer", status == 0 && mode == 1,
                 "status " + std::to_string(status) + ", mode " + std::to_string(mode));
    hub->ISystemSetDebugMode(&answer[0], 0);
}

void testDeviceControls(Checks &checks, BpTransferHub *hub) {
    checks.check("beeper 2000 Hz for 100 ms", hub->ISystemCtrlBeeper(2000, 100) == 0, "refused");
    int status = hub->ISystemCtrlBeeper(-1, 100);
    checks.check("beeper at a negative frequency refused", status != 0, got(status));
    checks.check("key tone on", hub->ISystemCtrlKeytone(1) == 0, "refused");
    checks.check("LEDs set", hub->ISystemCtrlLED(15, 5, 0, 0, 0, 0) == 0, "refused");
    checks.check("battery state handed over", hub->ISystemSyncBATState(1) == 0, "refused");
    status = hub->ISystemMCURFIDTest();
    checks.check("RF test passes", status == 0, got(status));
    int source = -1;
    status = hub->ISystemGetWakeSource(&source);
    checks.check("wake source reads " + std::to_string(source), status == 0 && source >= 0,
                 got(status));
    int original = 0, now = -1;
    hub->ISystemGetLPLEDFreq(&original);
    status = hub->ISystemSetLPLEDFreq(4);
    hub->ISystemGetLPLEDFreq(&now);
    checks.check("low-power LED frequency set to 4 reads back", status == 0 && now == 4,
                 "status " + std::to_string(status) + ", reads " + std::to_string(now));
    hub->ISystemSetLPLEDFreq(original);
}

}  // namespace

void testSystemAndPower(Checks &checks, const Expectations &expected) {
    BpTransferHub *hub = BpTransferHub::getInstance();
    int capacity = hub->IPowerSysGetBatCap();
    if (!checks.check("power service reachable", reachable(capacity), got(capacity))) return;
    testBattery(checks, hub, expected);
    testPowerSettings(checks, hub);
    int lpFrequency = 0;
    int status = hub->ISystemGetLPLEDFreq(&lpFrequency);
    if (!checks.check("system service reachable", reachable(status), got(status))) return;
    testClock(checks, hub);
    testSerialNumber(checks, hub, expected);
    testDeviceInformation(checks, hub);
    testDebugMode(checks, hub);
    testDeviceControls(checks, hub);
}

}  // namespace selftest
