/* Cellular network: the module claim, the SIM and registration, the data login, identities,
 * signal, base station, APN, DNS, preferred network type and ESM fail count; the shared
 * network properties (auto-connect, airplane mode). */
#ifndef POS_SDK_NETWORK_H
#define POS_SDK_NETWORK_H

#include "pos_export.h"

POS_BEGIN_DECLS

/* ---- Shared network properties ---- */

/* Reads KEY of the shared property store as an integer: 0 and *VALUE set, -1 for a null key,
 * or the store's error (VALUE untouched). A missing or non-numeric value reads as 0. */
POS_API int shm_get_property(const char *key, int *value);
/* Stores VALUE (at most 7 characters as decimal text) under KEY: the store's result, or -1
 * for a null key. */
POS_API int shm_set_property(const char *key, int value);

/* Cellular auto-connect (bit 0 of "net.auto.connect"): 0, -1003 for a null pointer or a
 * value other than 0 and 1, or the store's or the network service's error. */
POS_API int OsWlGetAutoConnectStatus(int *on);
POS_API int OsWlSetAutoConnectStatus(int on);
/* Wi-Fi auto-connect (bit 1 of "net.auto.connect"), as above. */
POS_API int OsWifiGetAutoConnectStatus(int *on);
POS_API int OsWifiSetAutoConnectStatus(int on);
/* Airplane mode ("net.airplane.mode"); set goes to the network service unchecked. */
POS_API int OsGetAirplaneMode(int *mode);
POS_API int OsSetAirplaneMode(int mode);

/* ---- Module, SIM and login ---- */

/* Claims and releases the module in this process; OsWlSwitchPower needs the claim. */
POS_API int OsWlLock(void);
POS_API void OsWlUnLock(void);
/* Waits (without limit) for the radio daemon, then for a ready SIM: 0, -3506 or -3509. */
POS_API int OsWlInit(void *unused);
POS_API int OsWlInitEx(const char *unused1, int unused2, char *unused3, int unused4);
/* 0 when claimed (powers nothing), else -1006. */
POS_API int OsWlSwitchPower(int on);
/* Not supported: -1015. */
POS_API int OsWlSwitchSleep(int mode);
POS_API int OsWlSelSim(int sim);
/* Signal level 0-5, or -3505. */
POS_API int OsWlGetSignal(void);
/* 0 when the SIM is ready and the modem registered; -3506, -3509 or -3307. */
POS_API int OsWlCheck(void);
/* Brings the data link up (or, with auto-connect, waits for it), polling every 500 ms for
 * at most TIMEOUTMS: 0, -1003 for a time-out below 1, or -3510. AUTH is not used. */
POS_API int OsWlLogin(const char *apn, const char *user, const char *password, int auth,
                      int timeoutMs);
POS_API int OsWlLoginEx(const char *a, const char *b, const char *c, const char *d, long e, int f,
                        int g, int h);
/* 0, or 2 when the service refuses. */
POS_API int OsWlLogout(void);

/* ---- Information ---- */

/* *READY = 1 when the SIM state is ready, else 0: 0, -1003 or the reader's error. */
POS_API int OsWlGetSimStatus(int *ready);
/* The operator's name into OUT: the service's result, or -1003. */
POS_API int OsWlGetSimOperator(char *out);
/* The identities' characters (at most 31) into OUT, which the caller clears first: 0, -1003,
 * -1007 when the service fails, and for the ICCID -1016 unless it has 20 characters. */
POS_API int OsWlGetImei(char *out);
POS_API int OsWlGetImsi(char *out);
POS_API int OsWlGetIccid(char *out);
/* The service's signal strength, or -1. */
POS_API int OsWlGetSignalStrength(void);
/* Registration state and its two texts from the service, or -1003 for a null pointer. */
POS_API int OsWlGetModuleREG(int *state, char *first, char *second);
/* The "ppp0" address into OUT: the service's result, or -1003. */
POS_API int OsWlGetNetworkIp(char *out);
/* The first two texts of the service's network information, or -1003. */
POS_API int OsWlGetQNetworkInfo(char *first, char *second);
/* The serving base station's five figures: 0, -1003 or -1. */
POS_API int OsWlGetDevBaseStation(int *first, int *second, int *third, int *fourth, int *fifth);
/* The network type (0: no network): 0 or -1003. */
POS_API int OsWLGetNetworkType(int *type);
/* RSRP, RSRQ and SINR: 0, -1003, -3505 or the store's error. */
POS_API int OsWLGetRadioSQI(int *rsrp, int *rsrq, int *sinr);
/* Switch the module's power line: always 0. */
POS_API int OsWLModulePowerDown(void);
POS_API int OsWLModulePowerOn(void);

/* ---- APN, DNS, network type, ESM ---- */

/* Saves the APN, user and password (null as empty): the service's result. */
POS_API int OsSetApnParams(const char *apn, const char *user, const char *password);
/* Loads them into three buffers: the service's result, or -1003. */
POS_API int OsGetApnParams(char *apn, char *user, char *password);
/* The DNS server in use, or server WHICH (0 primary, 1 secondary), into OUT of SIZE bytes
 * (at least 8): 0, -1003, or the service's error. */
POS_API int OsGetCurDNSAddr(char *out, int size);
POS_API int OsGetDNSAddr(int which, char *out, int size);
/* Sets server WHICH to ADDRESS (7 to 15 characters): the service's result, or -1003. */
POS_API int OsSetDNSAddr(int which, const char *address);
/* Type 0, 1 or 3: 0, -1003, or -1015 when the service refuses. */
POS_API int OsSetPreferredNetworkType(int type);
POS_API int OsGetPreferredNetworkType(int *type);
/* Count 0 to 5: 0, -1003, or -1015 when the service refuses. */
POS_API int OsSetEsmFailTimes(int count);
POS_API int OsGetEsmFailTimes(int *count);

/* Splits TEXT at DELIMITER into at most MAX fields of up to 31 characters; a TEXT ending in
 * the delimiter fills the remaining fields with empty ones. Returns the fields filled. */
POS_API int StrSubstring(const char *text, const char *delimiter, char fields[][32], int max);

POS_END_DECLS

#endif
