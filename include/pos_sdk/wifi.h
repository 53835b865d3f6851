/* Wi-Fi: scan for networks, join and leave them, read the link's status and signal level,
 * and pass raw commands to the Wi-Fi supplicant. The auto-connect switch is in network.h.
 *
 * Status codes are those of os_status.h: OS_ERR_BAD_ARGUMENT (-1003) for bad arguments and a
 * failed or oversize raw command, OS_ERR_WIFI_NOT_CONNECTED (-1012) when no network is
 * joined, OS_ERR_NOT_SUPPORTED (-1015) for WPS. Functions described as "the service's result"
 * hand on the Wi-Fi service's own status, or one of the hub's binding codes. */
#ifndef POS_SDK_WIFI_H
#define POS_SDK_WIFI_H

#include <stdint.h>

#include "os_status.h"
#include "pos_export.h"

POS_BEGIN_DECLS

/* Security of a network: WPA/WPA2 with a password, or open. */
#define WIFI_SECURITY_OPEN 1
#define WIFI_SECURITY_WPA 5
/* Cipher of a WPA network. */
#define WIFI_CIPHER_CCMP 16
#define WIFI_CIPHER_TKIP 32

/* One network found by OsWifiScan (76 bytes). */
typedef struct {
    char ssid[33];    /* the network's name as bytes, zero-terminated */
    char bssid[23];   /* the access point's address text, zero-filled */
    char reserved[8]; /* always zero */
    int32_t level;    /* the signal figure the Wi-Fi service reports (dBm) */
    int32_t security; /* WIFI_SECURITY_WPA if the capability list holds "WPA", else OPEN */
    int32_t cipher;   /* for WPA: CCMP if the list holds "CCMP", else TKIP; open: 0 */
} WIFI_SCAN_ENTRY_T;

/* A network to join with OsWifiConnect. */
typedef struct {
    char ssid[64];        /* zero-terminated */
    int32_t security;     /* WIFI_SECURITY_WPA uses the password; anything else joins open */
    int32_t unused;       /* not read */
    char password[64];    /* password bytes, not necessarily terminated */
    int32_t password_len; /* how many of them to use (0 to 64) */
} WIFI_CONNECT_T;

typedef enum { WPS_MODE_PBC = 0, WPS_MODE_PIN = 1 } WPS_MODE;

/* 0; sets the process's Wi-Fi open flag. */
POS_API int OsWifiOpen(void);
/* Clears the open flag. */
POS_API void OsWifiClose(void);
/* 0; the argument is not used. */
POS_API int OsWifiSwitchPower(int on);
/* Scans for up to 10 seconds (every 500 ms until 1 to 128 networks answer) and stores in *OUT
 * a malloc'ed array with one entry per network found (free it with free); returns the number
 * of entries filled, which may be less than the array holds (names that decode to nothing
 * are dropped). 0 with *OUT null when none answered. -1003 for a null OUT. */
POS_API int OsWifiScan(WIFI_SCAN_ENTRY_T **out);
/* Asks the service to join REQUEST's network; N (above 0) goes to the service. The service's
 * result; -1003 for a null request or N not above 0. Whether the link came up is learnt with
 * OsWifiCheck or OsGetWifiStatus. */
POS_API int OsWifiConnect(const WIFI_CONNECT_T *request, int n);
/* The service's result. */
POS_API int OsWifiDisconnect(void);
/* Rejoins the last network when Wi-Fi auto-connect is on (the service's result); -2 when it
 * is off. */
POS_API int OsWifiReconnect(void);
/* The joined network: its name appended to SSID (which the caller clears; up to 255 bytes,
 * no terminator added), the service's second text in STATE (room for 64) and its integer in
 * VALUE. 0; -1003 for a null pointer; -1012 when not connected. */
POS_API int OsWifiCheck(char *ssid, char *state, int *value);
/* As OsWifiCheck, with the address text (room for 16 at least) in ADDRESS too. */
POS_API int OsGetWifiStatus(char *ssid, char *state, char *address, int *value);
/* The joined network's signal as a level 0 (none) to 4 (strong). An unreadable signal reads as
 * 0 dBm and so gives 4. */
POS_API int OsGetWifiSignalStrength(void);
/* Sends COUNT raw supplicant commands in turn and appends each answer to OUT (SIZE at least
 * 2048; no separator and no terminator added, so clear OUT first). 0; -1003 for bad arguments,
 * a failed command or answers that would not fit (what came before stays in OUT). */
POS_API int OsWifiCmd(char **commands, int count, char *out, int size);
/* Not supported: -1015. */
POS_API int OsWifiWpsConnect(WPS_MODE mode, char *pin);
/* Wake the Wi-Fi module up / put it to sleep: the network service's result. */
POS_API int OsWifiModuleWakeUp(void);
POS_API int OsWifiModuleSleep(void);

POS_END_DECLS

#endif
