// System information as an application reads it: versions, hardware version, boot mode,
// serial number and the factory-test step.
#include <pos_sdk/sysinfo.h>

#include <cstring>
#include <string>

#include "Sections.h"

namespace selftest {
namespace {

const char *const kVersionNames[] = {"", "system", "middleware", "MCU software", "MCU firmware"};

void testVersions(Checks &checks) {
    for (int type = OS_VER_SYSTEM; type <= OS_VER_MCU_FIRMWARE; ++type) {
        char full[OS_VERSION_MAX] = {};
        char version[OS_VERSION_MAX] = {};
        OsGetSysVer(type, full);
        OsGetSysVersion(type, version);
        // The short form is the full one up to its first "-" (the firmware information whole).
        std::string expected = full;
        if (type != OS_VER_MCU_FIRMWARE) expected = expected.substr(0, expected.find('-'));
        checks.check(std::string(kVersionNames[type]) + " version " + version + " (" + full + ")",
                     full[0] != '\0' && expected == version, "unreadable or cut wrongly");
    }
    char info[32] = {};
    int status = OsFirmwareGetVersion(info, sizeof info);
    checks.check("firmware information fits 32 bytes: \"" + std::string(info) + "\"",
                 status == 0 && strlen(info) < sizeof info, got(status));
    checks.check("firmware information refused for 31 bytes",
                 OsFirmwareGetVersion(info, 31) == -1003, "accepted");
}

void testBoard(Checks &checks) {
    char hardware[4] = {};
    OsGetHwVersion(hardware);
    checks.check("hardware version \"" + std::string(hardware) + "\"", hardware[0] != '\0',
                 "empty");
    int mode = -1;
    int status = OsGetSysBootMode(&mode);
    checks.check("boot mode " + std::to_string(mode), status == 0 && mode >= 0, got(status));
    char module[33] = {};
    status = OsGetWirelessModuleVer(module);
    checks.check("wireless module \"" + std::string(module) + "\"", status == 0, got(status));
}

void testSerialNumber(Checks &checks, const Expectations &expected) {
    unsigned char serial[64] = {};
    int status = OsGetTermSn(serial);
    std::string text(reinterpret_cast<char *>(serial));
    checks.check(
        "serial number \"" + text + "\"",
        status == 0 && !text.empty() && (!expected.serialNumber || text == *expected.serialNumber),
        status != 0 ? got(status) : "expected \"" + expected.serialNumber.value_or("") + "\"");
    if (status != 0 || text.empty()) return;
    status = OsSetTermSn("SYSINFO-0042");
    unsigned char now[64] = {};
    int read = OsGetTermSn(now);
    checks.check(
        "serial number set through the SDK reads back",
        status == 0 && read == 0 && strcmp(reinterpret_cast<char *>(now), "SYSINFO-0042") == 0,
        "set " + std::to_string(status) + ", read " + std::to_string(read));
    checks.check("serial number restored", OsSetTermSn(text.c_str()) == 0, "refused");
}

void testFactoryStep(Checks &checks) {
    int original = OsGetFactoryTestStep();
    int status = OsSetFactoryTestStep(17);
    int now = OsGetFactoryTestStep();
    checks.check("factory-test step set to 17 reads back", status == 0 && now == 17,
                 "status " + std::to_string(status) + ", reads " + std::to_string(now));
    if (original >= 0) OsSetFactoryTestStep(original);
}

}  // namespace

void testSystemInformation(Checks &checks, const Expectations &expected) {
    testVersions(checks);
    testBoard(checks);
    testSerialNumber(checks, expected);
    testFactoryStep(checks);
}

}  // namespace selftest
