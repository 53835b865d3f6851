// Wi-Fi: the scan reshaped into application entries, joining with a password of the length
// given, the link's status with its name decoded, the signal level bands, and raw supplicant
// commands gathered into one buffer.
#include "pos_sdk/wifi.h"

#include <sysglue/sysglue.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "pos_sdk/log.h"
#include "pos_sdk/network.h"
#include "pos_sdk/os_time.h"
#include "pos_sdk/service/BpTransferHub.h"
#include "pos_sdk/util.h"

using android::WifiConfig;
using android::WifiScanRecord;

static_assert(sizeof(WIFI_SCAN_ENTRY_T) == 76, "a scan entry is 76 bytes");
static_assert(offsetof(WIFI_SCAN_ENTRY_T, level) == 64, "scan entry layout");
static_assert(offsetof(WIFI_CONNECT_T, password) == 72 && sizeof(WIFI_CONNECT_T) == 140,
              "connect request layout");

namespace {

BpTransferHub *const hub = BpTransferHub::getInstance();

// The process's open flag; nothing in the library reads it.
int wifiOpened = 0;

const int64_t kScanTimeMs = 10000;
const unsigned kScanRoundMs = 500;
const int kMostScanRecords = 128;
const size_t kStatusNameBuffer = 256;
// The name and address come back unbounded: the buffers are the size of the longest name a
// scan record can carry rather than the 64 and 16 bytes the texts normally need.
const size_t kStatusSsidBuffer = 256;
const size_t kStatusAddressBuffer = 256;
const size_t kCommandReplyBuffer = 512;
// execute_cmd keeps reading while its output is under 1025 characters, a line of up to 1023
// at a time: room for the most it can append, whatever the name.
const size_t kDecodeBuffer = 2048;
const int kLeastCommandOut = 2048;

// Turns a name in the service's escaped form back into its bytes with the shell's echo
// ("echo -e -n"), into OUT (SIZE bytes, at least 1025 for execute_cmd's bound). The name goes
// between double quotes: "$" and "`" are escaped and a lone '"' too so that a name can only
// ever be echoed, never run; escapes the service wrote pass as they are.
void decodeName(const char *escaped, char *out) {
    std::string quoted;
    for (const char *p = escaped; *p != '\0'; ++p) {
        if (*p == '\\') {
            if (p[1] == '\0') break;  // a lone last backslash would escape the closing quote
            quoted += *p++;
            quoted += *p;
        } else {
            if (*p == '"' || *p == '$' || *p == '`') quoted += '\\';
            quoted += *p;
        }
    }
    std::string command = "echo -e -n \"" + quoted + "\"";
    out[0] = '\0';
    execute_cmd(command.c_str(), out);
}

// 5 (WPA, which WPA2 matches too) or 1 (open), and the cipher of a WPA network.
void securityOf(const char *flags, WIFI_SCAN_ENTRY_T *entry) {
    bool wpa = strstr(flags, "WPA") != nullptr;
    entry->security = wpa ? WIFI_SECURITY_WPA : WIFI_SECURITY_OPEN;
    entry->cipher = !wpa ? 0 : strstr(flags, "CCMP") ? WIFI_CIPHER_CCMP : WIFI_CIPHER_TKIP;
}

// Scan records are whole 540-byte records whose texts may lack their terminator: each is read
// within its field.
std::string field(const char *text, size_t size) {
    return std::string(text, strnlen(text, size));
}

// Asks for networks until 1 to 128 answer or the time is up; the list holds what came last.
smartlist_t *scanRecords() {
    smartlist_t *list = smartlist_new();
    if (list == nullptr) return nullptr;
    int64_t start = get_sys_tick();
    while (get_sys_tick() - start < kScanTimeMs) {
        // The service appends: a round that brought more than 128 is kept, the next rounds
        // add to it, and all of them are used when the time is up.
        hub->IWifiScan(list);
        if (list->num_used >= 1 && list->num_used <= kMostScanRecords) break;
        OsSleep(kScanRoundMs);
    }
    return list;
}

// The status query shared by OsWifiCheck and OsGetWifiStatus: the decoded name appended to
// SSID; -1012 when any of the three texts is empty.
int wifiStatus(char *ssid, char *state, char *address, int *value) {
    char name[kStatusSsidBuffer] = {0};
    int result = hub->IWifiCheckStatus(name, state, address, value);
    if (result != 0 || name[0] == '\0' || state[0] == '\0' || address[0] == '\0')
        return OS_ERR_WIFI_NOT_CONNECTED;
    char decoded[kDecodeBuffer] = {0};
    decodeName(name, decoded);
    memcpy(ssid, decoded, strnlen(decoded, kStatusNameBuffer - 1));
    return 0;
}

}  // namespace

extern "C" {

POS_API int OsWifiOpen(void) {
    wifiOpened = 1;
    return 0;
}

POS_API void OsWifiClose(void) {
    wifiOpened = 0;
}

POS_API int OsWifiSwitchPower(int) {
    return 0;
}

POS_API int OsWifiScan(WIFI_SCAN_ENTRY_T **out) {
    if (out == nullptr) return OS_ERR_BAD_ARGUMENT;
    smartlist_t *list = scanRecords();
    if (list == nullptr) return 0;
    if (list->num_used == 0) {
        smartlist_free(list);
        *out = nullptr;
        return 0;
    }
    auto *entries =
        static_cast<WIFI_SCAN_ENTRY_T *>(calloc(size_t(list->num_used), sizeof(WIFI_SCAN_ENTRY_T)));
    if (entries == nullptr) {
        smartlist_free(list);
        *out = nullptr;
        return 0;
    }
    *out = entries;
    int filled = 0;
    for (int i = 0; i < list->num_used; ++i) {
        const auto *record = static_cast<const WifiScanRecord *>(list->list[i]);
        char decoded[kDecodeBuffer] = {0};
        decodeName(field(record->ssid, sizeof record->ssid).c_str(), decoded);
        if (decoded[0] == '\0') {
            Log_Err("wifi name exception\n");
            continue;
        }
        WIFI_SCAN_ENTRY_T *entry = &entries[filled++];
        // The name and address are cut to their fields, each keeping its terminator.
        memcpy(entry->ssid, decoded, strnlen(decoded, sizeof entry->ssid - 1));
        std::string bssid = field(record->bssid, sizeof record->bssid);
        memcpy(entry->bssid, bssid.data(), std::min(bssid.size(), sizeof entry->bssid - 1));
        entry->level = record->level;
        securityOf(field(record->flags, sizeof record->flags).c_str(), entry);
    }
    Log_Err("wifi num  [%d]\n", filled);
    smartlist_free(list);
    return filled;
}

POS_API int OsWifiConnect(const WIFI_CONNECT_T *request, int n) {
    if (request == nullptr || n <= 0) return OS_ERR_BAD_ARGUMENT;
    WifiConfig config;
    memset(&config, 0, sizeof config);
    // The name's length by its terminator, read no further than its field.
    memcpy(config.ssid, request->ssid, strnlen(request->ssid, sizeof request->ssid));
    if (request->security == WIFI_SECURITY_WPA) {
        config.mode = android::WIFI_CONFIG_SECURED;
        // Exactly the length given, bounded by the field (a longer one cannot be meant).
        int length = request->password_len;
        if (length < 0) length = 0;
        if (length > int(sizeof config.password)) length = int(sizeof config.password);
        memcpy(config.password, request->password, size_t(length));
    } else {
        config.mode = android::WIFI_CONFIG_OPEN;
    }
    return hub->IWifiConnect(&config, n);
}

POS_API int OsWifiDisconnect(void) {
    return hub->IWifiDisconnect();
}

POS_API int OsWifiReconnect(void) {
    int on = 0;
    OsWifiGetAutoConnectStatus(&on);
    return on == 1 ? hub->IWifiReconnect() : -2;
}

POS_API int OsWifiCheck(char *ssid, char *state, int *value) {
    if (ssid == nullptr || state == nullptr || value == nullptr) return OS_ERR_BAD_ARGUMENT;
    char address[kStatusAddressBuffer] = {0};
    return wifiStatus(ssid, state, address, value);
}

POS_API int OsGetWifiStatus(char *ssid, char *state, char *address, int *value) {
    if (ssid == nullptr || state == nullptr || address == nullptr || value == nullptr)
        return OS_ERR_BAD_ARGUMENT;
    return wifiStatus(ssid, state, address, value);
}

POS_API int OsGetWifiSignalStrength(void) {
    int rssi = 0;
    KV_GET_WIFI_SIGNA(&rssi);  // a failed read leaves 0, which reads as the strongest level
    if (rssi >= -55) return 4;
    if (rssi >= -70) return 3;
    if (rssi >= -85) return 2;
    if (rssi >= -100) return 1;
    return 0;
}

POS_API int OsWifiCmd(char **commands, int count, char *out, int size) {
    if (commands == nullptr || count < 1 || out == nullptr || size < kLeastCommandOut)
        return OS_ERR_BAD_ARGUMENT;
    size_t used = 0;
    for (int i = 0; i < count; ++i) {
        char reply[kCommandReplyBuffer] = {0};
        if (commands[i] == nullptr || hub->IWifiSendCmd(commands[i], reply, int(sizeof reply)) < 0)
            return OS_ERR_BAD_ARGUMENT;
        size_t length = strnlen(reply, sizeof reply);
        if (used + length > size_t(size)) {
            Log_Err("outBuf size overflow \n");
            return OS_ERR_BAD_ARGUMENT;
        }
        memcpy(out + used, reply, length);
        used += length;
    }
    return 0;
}

POS_API int OsWifiWpsConnect(WPS_MODE, char *) {
    return OS_ERR_NOT_SUPPORTED;
}

POS_API int OsWifiModuleWakeUp(void) {
    return hub->INetWifiWakeUp();
}

POS_API int OsWifiModuleSleep(void) {
    return hub->INetWifiGoToSleep();
}

}  // extern "C"
