// Integer properties in the shared property store, and the network switches kept there. The
// network service writes the switches; this library reads them and asks the service to change
// them.
#include <sysglue/sysglue.h>

#include <cstdio>
#include <cstdlib>

#include "pos_sdk/log.h"
#include "pos_sdk/network.h"
#include "pos_sdk/os_status.h"
#include "pos_sdk/service/BpTransferHub.h"

namespace {

BpTransferHub *const hub = BpTransferHub::getInstance();

const char kAutoConnect[] = "net.auto.connect";
const char kAirplaneMode[] = "net.airplane.mode";
const int kCellularBit = 0x01;
const int kWifiBit = 0x02;

// Values travel as decimal text of at most 7 characters.
const size_t kValueText = 8;

// Sets or clears BIT of the auto-connect set and hands the whole set to the network service.
// Clearing masks with the 8-bit complement of the bit, so bits above 7 go too (only bits 0
// and 1 are defined); kept for compatibility.
int setAutoConnectBit(int on, int bit, const char *caller) {
    if (on != 0 && on != 1) return OS_ERR_BAD_ARGUMENT;
    int bits = 0;
    int result = shm_get_property(kAutoConnect, &bits);
    if (result != 0) {
        OsLog(0, "%s  %d\n", caller, result);
        return result;
    }
    bits = on ? (bits | bit) : (bits & (0xFF & ~bit));
    return hub->ISetNetAutoConnect(bits);
}

int getAutoConnectBit(int *on, int bit) {
    if (on == nullptr) return OS_ERR_BAD_ARGUMENT;
    int bits = 0;
    int result = shm_get_property(kAutoConnect, &bits);
    if (result != 0) return result;
    *on = (bits & bit) != 0 ? 1 : 0;
    return 0;
}

}  // namespace

extern "C" {

POS_API int shm_get_property(const char *key, int *value) {
    if (key == nullptr) return -1;
    // The store copies up to its own limit whatever the value's documented size: read into
    // a buffer of that limit, so a long value cannot overrun it.
    char text[KV_PROP_VALUE_MAX] = {0};
    int result = kvgetcutom(key, text);
    if (result != 0) return result;
    *value = atoi(text);
    return 0;
}

POS_API int shm_set_property(const char *key, int value) {
    if (key == nullptr) return -1;
    // A value of more than 7 characters is cut to 7 rather than written past the buffer.
    char text[kValueText] = {0};
    snprintf(text, sizeof text, "%d", value);
    return kvsetcutom(key, text);
}

POS_API int OsWlGetAutoConnectStatus(int *on) {
    return getAutoConnectBit(on, kCellularBit);
}

POS_API int OsWlSetAutoConnectStatus(int on) {
    return setAutoConnectBit(on, kCellularBit, "OsWlSetAutoConnectStatus");
}

POS_API int OsWifiGetAutoConnectStatus(int *on) {
    return getAutoConnectBit(on, kWifiBit);
}

POS_API int OsWifiSetAutoConnectStatus(int on) {
    return setAutoConnectBit(on, kWifiBit, "OsWifiSetAutoConnectStatus");
}

POS_API int OsGetAirplaneMode(int *mode) {
    if (mode == nullptr) return OS_ERR_BAD_ARGUMENT;
    return shm_get_property(kAirplaneMode, mode);
}

POS_API int OsSetAirplaneMode(int mode) {
    return hub->ISetAirPlaneMode(mode);
}

}  // extern "C"
