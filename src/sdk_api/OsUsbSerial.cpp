// USB serial: the init command server switches the USB gadget's serial function and the
// communication-module routing; the battery driver's serial mode decides whether the port
// charges meanwhile. This unit sends the requests and waits for the device node.
#include <string.h>
#include <unistd.h>

#include "OsRequests.h"
#include "pos_sdk/log.h"
#include "pos_sdk/os_status.h"
#include "pos_sdk/service/BpTransferHub.h"
#include "pos_sdk/usb_serial.h"

namespace {

BpTransferHub *const gHub = BpTransferHub::getInstance();

const char *const kSerialDevice = "/dev/ttyGS0";
const char *const kGrantAccess = "chmod 777 /dev/ttyGS0";
const char *const kSerialModeOff = "echo 0 > /sys/class/power_supply/rm45k-battery/serial_mode";
const char *const kSerialModeOn = "echo 1 > /sys/class/power_supply/rm45k-battery/serial_mode";

constexpr int kPollMs = 100;
constexpr int kDefaultWaitMs = 1000;
// Charging states that mean no host powers the USB port.
constexpr int kNoHostPower = 3;
constexpr int kNoHostPowerEither = 255;

int request(int code, const char *text) {
    return osreq::initCommand(code, text) == 0 ? 0 : OS_ERR_SERVICE_FAILED;
}

void writeDeviceName(char *name) {
    memcpy(name, kSerialDevice, strlen(kSerialDevice) + 1);
}

// Polls for the device node until TIMEOUTMS have passed; once it is there, allows the
// gadget a further poll interval to settle.
bool waitForDevice(int timeoutMs) {
    int64_t start = osreq::tickMs();
    while (osreq::tickMs() - start < timeoutMs) {
        bool present = access(kSerialDevice, F_OK) == 0;
        osreq::sleepMs(kPollMs);
        if (present) return true;
    }
    return false;
}

bool readWritable() {
    return access(kSerialDevice, R_OK | W_OK) == 0;
}

}  // namespace

extern "C" {

POS_API int OsStartUsbSerial(void) {
    return request(PKG_CMD_USB_SERIAL_START, "start-usb-serial");
}

POS_API int OsStopUsbSerial(void) {
    return request(PKG_CMD_USB_SERIAL_STOP, "stop-usb-serial");
}

POS_API int OsStartUsbSerialWithUsbcharge(void) {
    if (request(PKG_CMD_USB_SERIAL_START, "start-usb-serial") != 0) return OS_ERR_SERVICE_FAILED;
    osreq::sleepMs(kPollMs);
    osreq::runPrivileged(kSerialModeOff);
    return 0;
}

POS_API int OsStartCommModuleUsbSerial(void) {
    if (request(PKG_CMD_COMM_MODULE_SERIAL, "1") != 0) return OS_ERR_SERVICE_FAILED;
    osreq::runPrivileged(kSerialModeOn);
    return 0;
}

POS_API int OsStopCommModuleUsbSerial(void) {
    if (request(PKG_CMD_COMM_MODULE_SERIAL, "0") != 0) return OS_ERR_SERVICE_FAILED;
    osreq::runPrivileged(kSerialModeOff);
    return 0;
}

POS_API int OsQuerySerialPort(char *name) {
    if (name == nullptr) return OS_ERR_BAD_ARGUMENT;
    osreq::runPrivileged(kGrantAccess);
    writeDeviceName(name);
    return 0;
}

POS_API int OsCheckSerialPortExist(char *name, int timeout_ms) {
    if (name == nullptr) return OS_ERR_BAD_ARGUMENT;
    if (timeout_ms < 1) timeout_ms = kDefaultWaitMs;
    int state = gHub->IPowerSysChgState();
    if (state < 0 || state == kNoHostPower || state == kNoHostPowerEither) {
        return OS_ERR_NO_USB_POWER;
    }
    // The charging state doubles as the "not found" mark, so with a state of 0 a missing
    // node gets through to the access check below; kept for compatibility.
    int missing = waitForDevice(timeout_ms) ? 0 : state;
    if (missing != 0) return OS_ERR_STAGING;
    if (!readWritable()) {
        osreq::runPrivileged(kGrantAccess);
        if (!readWritable()) {
            OsLog(0, "/dev/ttyGS0 ERR_ACCESS_DENY");
            return OS_ERR_SERVICE_FAILED;
        }
    }
    writeDeviceName(name);
    return 0;
}

}  // extern "C"
