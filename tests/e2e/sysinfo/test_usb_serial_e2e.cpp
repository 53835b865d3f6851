// USB serial against the simulated terminal: the device node comes and goes with the
// requests, carries bytes to and from the host's end, and the wait for it follows the
// charging state the power service reports.
#include <pos_sdk/os_status.h>
#include <pos_sdk/usb_serial.h>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "SysinfoTest.h"

namespace {

using sysinfo_test::InTerminal;
using sysinfo_test::msSince;
using sysinfo_test::readFile;
using sysinfo_test::requestsWith;

const char *const kSerialMode = "/sys/class/power_supply/rm45k-battery/serial_mode";

// Reads what arrives on FD within a second, up to SIZE bytes.
std::string readSome(int fd, size_t size) {
    std::string got;
    pollfd p = {fd, POLLIN, 0};
    while (got.size() < size && poll(&p, 1, 1000) == 1) {
        char buf[64];
        ssize_t n = read(fd, buf, sizeof buf);
        if (n <= 0) break;
        got.append(buf, size_t(n));
    }
    return got;
}

class UsbSerial : public InTerminal {};

TEST_F(UsbSerial, StartedPortCarriesBytesBothWaysAndStopRemovesIt) {
    EXPECT_NE(access("/dev/ttyGS0", F_OK), 0) << "no port before it is started";
    ASSERT_EQ(OsStartUsbSerial(), 0);
    char name[OS_SERIAL_NAME_SIZE + 4];
    memset(name, 'x', sizeof name);
    ASSERT_EQ(OsCheckSerialPortExist(name, 500), 0);
    EXPECT_STREQ(name, "/dev/ttyGS0");
    EXPECT_EQ(name[OS_SERIAL_NAME_SIZE], 'x');
    EXPECT_EQ(harness::state("system")["usb_serial"], true);

    int device = open(name, O_RDWR | O_NOCTTY);
    int host = open("/tmp/.possim/usb_host", O_RDWR | O_NOCTTY);
    ASSERT_GE(device, 0);
    ASSERT_GE(host, 0);
    ASSERT_EQ(write(device, "sale 12.50\r\n", 12), 12);
    EXPECT_EQ(readSome(host, 12), "sale 12.50\r\n");
    ASSERT_EQ(write(host, "ACK\n", 4), 4);
    EXPECT_EQ(readSome(device, 4), "ACK\n") << "raw line: nothing echoed back or translated";
    close(device);
    close(host);

    ASSERT_EQ(OsStopUsbSerial(), 0);
    EXPECT_NE(access("/dev/ttyGS0", F_OK), 0);
    EXPECT_NE(access("/tmp/.possim/usb_host", F_OK), 0);

    // The console switches it too, as plugging a host in would.
    set("system", "usb_serial=true");
    EXPECT_EQ(access("/dev/ttyGS0", R_OK | W_OK), 0);
    EXPECT_EQ(OsQuerySerialPort(nullptr), OS_ERR_BAD_ARGUMENT);
    EXPECT_EQ(OsQuerySerialPort(name), 0);
    EXPECT_STREQ(name, "/dev/ttyGS0");
    EXPECT_EQ(requestsWith("initcmd 2457 \"chmod 777 /dev/ttyGS0\" -> \"ok\""), 1);
}

TEST_F(UsbSerial, WaitFollowsTheChargingState) {
    char name[OS_SERIAL_NAME_SIZE] = {};
    EXPECT_EQ(OsCheckSerialPortExist(nullptr, 100), OS_ERR_BAD_ARGUMENT);
    // No host powers the port: refused at once.
    for (const char *state : {"charge_state=3", "charge_state=255", "charge_state=-1"}) {
        set("power", state);
        auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(OsCheckSerialPortExist(name, 5000), OS_ERR_NO_USB_POWER) << state;
        EXPECT_LT(msSince(start), 1000) << state;
    }
    // Charging, but the port never appears: the whole wait, a time-out below 1 being 1 s.
    set("power", "charge_state=1");
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(OsCheckSerialPortExist(name, 0), OS_ERR_STAGING);
    EXPECT_GE(msSince(start), 1000);
    // State 0 marks nothing as missing: the missing node fails the access check instead.
    set("power", "charge_state=0");
    EXPECT_EQ(OsCheckSerialPortExist(name, 200), OS_ERR_SERVICE_FAILED);
    EXPECT_EQ(requestsWith("initcmd 2457 \"chmod 777 /dev/ttyGS0\""), 1);
    EXPECT_STREQ(name, "");
}

TEST_F(UsbSerial, ChargingAndCommunicationModuleModes) {
    ASSERT_EQ(readFile(kSerialMode), "0\n");
    ASSERT_EQ(OsStartCommModuleUsbSerial(), 0);
    EXPECT_EQ(readFile(kSerialMode), "1\n");
    EXPECT_EQ(readFile("/tmp/.possim/comm_module_serial"), "1\n");
    ASSERT_EQ(OsStopCommModuleUsbSerial(), 0);
    EXPECT_EQ(readFile(kSerialMode), "0\n");
    EXPECT_EQ(readFile("/tmp/.possim/comm_module_serial"), "0\n");

    std::ofstream(kSerialMode) << "1\n";
    ASSERT_EQ(OsStartUsbSerialWithUsbcharge(), 0);
    EXPECT_EQ(readFile(kSerialMode), "0\n");
    EXPECT_EQ(access("/dev/ttyGS0", F_OK), 0);
}

}  // namespace
