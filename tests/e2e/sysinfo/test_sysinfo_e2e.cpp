// Versions, hardware version, boot mode, serial number, parameters and the factory-test step
// as an application reads them from a simulated terminal whose state the console sets.
#include <pos_sdk/app.h>
#include <pos_sdk/os_status.h>
#include <pos_sdk/sysinfo.h>

#include <sysglue/sysglue.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "SysinfoTest.h"

namespace {

using sysinfo_test::InTerminal;

class SystemInfo : public InTerminal {};

TEST_F(SystemInfo, VersionsAreCutAtTheFirstDashExceptTheFirmwareInformation) {
    set("system",
        R"(versions={"system":"3.1.0-beta-2","middleware":"3.1.0","mcu_firmware":"FW-1.0-x"})");
    char out[OS_VERSION_MAX];
    OsGetSysVersion(OS_VER_SYSTEM, out);
    EXPECT_STREQ(out, "3.1.0");
    OsGetSysVersion(OS_VER_MIDDLEWARE, out);
    EXPECT_STREQ(out, "3.1.0");
    OsGetSysVersion(OS_VER_MCU_FIRMWARE, out);
    EXPECT_STREQ(out, "FW-1.0-x");
    OsGetSysVer(OS_VER_SYSTEM, out);
    EXPECT_STREQ(out, "3.1.0-beta-2");

    // An unknown type, or a property that cannot be read, leaves the buffer alone.
    strcpy(out, "untouched");
    OsGetSysVer(5, out);
    OsGetSysVersion(0, out);
    EXPECT_STREQ(out, "untouched");
    ASSERT_EQ(unlink("/tmp/.sysglue/prop/kivo.config.mcu.softver"), 0);
    OsGetSysVersion(OS_VER_MCU_SOFTWARE, out);
    EXPECT_STREQ(out, "untouched");
}

TEST_F(SystemInfo, SmallCallerBuffersAreNeverOverrun) {
    // The longest value a property holds, which every reader copies whole from below.
    const std::string longest(KV_PROP_VALUE_MAX - 2, 'F');
    set("system", R"(versions={"mcu_firmware":"7)" + longest + "\"}");
    ASSERT_EQ(kvsetsysver("KIVO.SYS.BOOT.MODE", ("7" + longest).c_str()), 0);

    struct {
        char info[32];
        char guard[16];
    } firmware;
    memset(&firmware, 0x5A, sizeof firmware);
    EXPECT_EQ(OsFirmwareGetVersion(firmware.info, 31), OS_ERR_BAD_ARGUMENT);
    EXPECT_EQ(OsFirmwareGetVersion(nullptr, 64), OS_ERR_BAD_ARGUMENT);
    ASSERT_EQ(OsFirmwareGetVersion(firmware.info, sizeof firmware.info), 0);
    EXPECT_EQ(std::string(firmware.info), ("7" + longest).substr(0, 31));
    EXPECT_EQ(std::string(firmware.guard, sizeof firmware.guard), std::string(16, '\x5A'));

    int mode = -1;
    EXPECT_EQ(OsGetSysBootMode(&mode), 0);
    EXPECT_EQ(mode, 7);
    EXPECT_EQ(OsGetSysBootMode(nullptr), -1);
    ASSERT_EQ(unlink("/tmp/.sysglue/prop/KIVO.SYS.BOOT.MODE"), 0);
    mode = -1;
    EXPECT_NE(OsGetSysBootMode(&mode), 0);
    EXPECT_EQ(mode, 0);

    ASSERT_EQ(unlink("/tmp/.sysglue/prop/kivo.config.mcu.firmware.info"), 0);
    EXPECT_EQ(OsFirmwareGetVersion(firmware.info, sizeof firmware.info),
              OS_ERR_VERSION_UNREADABLE);
}

TEST_F(SystemInfo, HardwareVersionIsTwoCharactersOrZero) {
    char out[8];
    memset(out, 'x', sizeof out);
    std::ofstream("/sys/bus/platform/drivers/kivosys/hw_version") << "V31\n";
    OsGetHwVersion(out);
    EXPECT_STREQ(out, "V3");
    ASSERT_EQ(unlink("/sys/bus/platform/drivers/kivosys/hw_version"), 0);
    OsGetHwVersion(out);
    EXPECT_STREQ(out, "0");
}

TEST_F(SystemInfo, SerialNumberRecordIsCheckedBeforeItIsCopied) {
    unsigned char sn[64];
    memset(sn, 0xEE, sizeof sn);
    EXPECT_EQ(OsGetTermSn(nullptr), OS_ERR_BAD_ARGUMENT);
    EXPECT_EQ(OsSetTermSn(nullptr), OS_ERR_BAD_ARGUMENT);
    ASSERT_EQ(OsSetTermSn("KV-TEST-42"), 0);
    EXPECT_EQ(harness::state("system")["serial_number"], "KV-TEST-42");
    ASSERT_EQ(OsGetTermSn(sn), 0);
    EXPECT_EQ(std::string(reinterpret_cast<char *>(sn), 10), "KV-TEST-42");
    EXPECT_EQ(sn[10], 0xEE) << "only the serial number's bytes are written";
    // The service keeps at most 32 characters.
    EXPECT_EQ(OsSetTermSn(std::string(33, '9').c_str()), OS_ERR_SERVICE_FAILED);

    set("system", "serial_record=00000000010300414243");
    memset(sn, 0, sizeof sn);
    ASSERT_EQ(OsGetTermSn(sn), 0);
    EXPECT_STREQ(reinterpret_cast<char *>(sn), "ABC");

    const char *const bad[] = {
        "00000000020300414243",  // tag 2
        "00000100010300414243",  // head not zero
        "0000000",               // shorter than 8 characters
        "00000000013A00414243",  // a length past the 64-byte record
    };
    for (const char *record : bad) {
        set("system", std::string("serial_record=") + record);
        EXPECT_EQ(OsGetTermSn(sn), OS_ERR_SERVICE_FAILED) << record;
    }
    // A failing service answers an empty record.
    set("system", "serial_record=");
    ASSERT_TRUE(harness::ctl({"system", "fault", "fail", "1"}).ok);
    EXPECT_EQ(OsGetTermSn(sn), OS_ERR_SERVICE_FAILED);
    EXPECT_EQ(OsGetTermSn(sn), 0);
}

TEST_F(SystemInfo, ParametersAndFactoryTestStep) {
    char value[33] = {};
    EXPECT_EQ(OsSetSysParam("", "x"), -1);
    EXPECT_EQ(OsSetSysParam(nullptr, "x"), -1);
    EXPECT_EQ(OsSetSysParam("shop", nullptr), -1);
    EXPECT_EQ(OsGetSysParam("", value), -1);
    EXPECT_EQ(OsGetSysParam("shop", value), -1);  // not set yet
    ASSERT_EQ(OsSetSysParam("shop", "north"), 0);
    ASSERT_EQ(OsGetSysParam("shop", value), 0);
    EXPECT_STREQ(value, "north");

    EXPECT_EQ(OsGetWirelessModuleVer(nullptr), OS_ERR_BAD_ARGUMENT);
    ASSERT_EQ(OsGetWirelessModuleVer(value), 0);
    EXPECT_STREQ(value, "EC200U_V1.2");

    EXPECT_EQ(OsSetFactoryTestStep(-1234567), 0);
    EXPECT_EQ(OsGetFactoryTestStep(), -123456) << "the step text has room for 7 characters";
    EXPECT_EQ(OsSetFactoryTestStep(12), 0);
    EXPECT_EQ(OsGetFactoryTestStep(), 12);
    EXPECT_EQ(sysinfo_test::requestsWith("initcmd 801 \"\" -> 12"), 1);
}

}  // namespace
