/* The terminal's system utility library: system properties, the shared property store and
 * the radio and Wi-Fi state the system publishes. Every function returns 0 on success and
 * a negative value when the item is missing or unreadable; outputs are untouched then. */
#ifndef SYSGLUE_SYSGLUE_H
#define SYSGLUE_SYSGLUE_H

#ifdef __cplusplus
extern "C" {
#endif

/* Longest property value with its terminator, as the platform's property system allows. */
#define KV_PROP_VALUE_MAX 92

/* Reads system property KEY into VALUE (room for KV_PROP_VALUE_MAX bytes). */
int kvgetsysver(const char *key, char *value);

/* Shared text-property store (network switches such as "net.auto.connect", "KV_RADIO_SQI").
 * Get copies at most KV_PROP_VALUE_MAX bytes with the terminator; set stores VALUE cut to
 * KV_PROP_VALUE_MAX - 1 characters. */
int kvgetcutom(const char *key, char *value);
int kvsetcutom(const char *key, const char *value);

/* Radio state: SIM state (1 ready), signal and bit error rate, registration (1 registered),
 * network mode, and the Wi-Fi RSSI in dBm. */
int KV_GET_RADIO_SIMSTATE(int *state);
int KV_GET_RADIO_SIGNAL(int *signal, int *ber);
int kv_get_GSM_stat(int *stat);
int KV_GET_NETWORK_MODE(int *mode);
int KV_GET_WIFI_SIGNA(int *rssi);

/* The publishing side, used by the system's own services (the simulator on a PC):
 * sets a system property, and one radio item by name ("simstate", "signal" as
 * "SIGNAL BER", "gsm_stat", "network_mode", "wifi_rssi"). */
int kvsetsysver(const char *key, const char *value);
int kv_set_radio_state(const char *name, const char *text);

#ifdef __cplusplus
}
#endif

#endif
