// Interface and proxy of the Wi-Fi service ("KivoWifiManagerService"): switch the radio, scan,
// join and leave networks, read the link's status and pass raw commands to the supplicant.
//
// Two records travel as raw bytes: WifiConfig (a network to join, 196 bytes) and the scan
// record (540 bytes, one per network found). Their layouts are fixed on the wire and the same
// on 32- and 64-bit builds.
#ifndef POS_SDK_SERVICE_IWIFIMANAGER_H
#define POS_SDK_SERVICE_IWIFIMANAGER_H

#include <stddef.h>
#include <stdint.h>

#include "../smartlist.h"
#include "ServiceInterface.h"

namespace android {

// A network to join. The library zeroes the record before filling it.
struct WifiConfig {
    char ssid[128];     // zero-terminated, zero-filled
    char password[64];  // password bytes, not necessarily terminated, zero-filled
    int32_t mode;       // WIFI_CONFIG_SECURED or WIFI_CONFIG_OPEN
};
enum { WIFI_CONFIG_SECURED = 1, WIFI_CONFIG_OPEN = 2 };

// One network found by a scan, as the service sends it.
struct WifiScanRecord {
    char bssid[24];   // the access point's address, zero-terminated
    int32_t level;    // signal figure as the service reports it
    char flags[256];  // capability list, e.g. "[WPA2-PSK-CCMP][ESS]"
    char ssid[256];   // the network's name with shell echo escapes for non-ASCII bytes
};

static_assert(sizeof(WifiConfig) == 196, "WifiConfig is 196 bytes on the wire");
static_assert(offsetof(WifiConfig, password) == 128 && offsetof(WifiConfig, mode) == 192,
              "WifiConfig layout");
static_assert(sizeof(WifiScanRecord) == 540, "a scan record is 540 bytes on the wire");
static_assert(offsetof(WifiScanRecord, level) == 24 && offsetof(WifiScanRecord, flags) == 28 &&
                  offsetof(WifiScanRecord, ssid) == 284,
              "WifiScanRecord layout");

class POS_API IWifiManager : public IInterface {
    POS_DECLARE_SERVICE_INTERFACE(WifiManager)

    // Transaction codes.
    enum : uint32_t {
        OPEN = 1,
        CLOSE = 2,
        SCAN = 3,
        CONNECT = 4,
        DISCONNECT = 5,
        CHECK_STATUS = 6,
        SEND_CMD = 7,
        ENABLE = 8,
        SAVE_CONFIG = 9,
        RECONNECT = 10,
    };

    virtual int WifiOpen() = 0;
    virtual int WifiClose() = 0;
    // Appends one malloc'ed WifiScanRecord per network to LIST (status 0 only); the list's
    // owner frees them (smartlist_free does).
    virtual int WifiScan(smartlist_t *list) = 0;
    virtual int WifiConnect(WifiConfig *config, int flags) = 0;
    virtual int WifiDisconnect() = 0;
    virtual int WifiCheckStatus(char *ssid, char *state, char *address, int *value) = 0;
    virtual int WifiSendCmd(char *command, char *reply, int size) = 0;
    virtual int WifiEnable(int on) = 0;
    virtual int WifiSaveConfig(WifiConfig *config) = 0;
    virtual int WifiReconnect() = 0;
};

class POS_API BpWifiManager : public BpInterface<IWifiManager> {
  public:
    explicit BpWifiManager(const sp<IBinder> &impl);

    int WifiOpen() override;
    int WifiClose() override;
    int WifiScan(smartlist_t *list) override;
    int WifiConnect(WifiConfig *config, int flags) override;
    int WifiDisconnect() override;
    int WifiCheckStatus(char *ssid, char *state, char *address, int *value) override;
    int WifiSendCmd(char *command, char *reply, int size) override;
    int WifiEnable(int on) override;
    int WifiSaveConfig(WifiConfig *config) override;
    int WifiReconnect() override;
};

}  // namespace android

#endif
