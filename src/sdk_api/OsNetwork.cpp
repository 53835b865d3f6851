// The cellular network API. Link control and most queries go to the network service through
// the hub; the quick status reads (SIM state, signal, registration, network mode, radio
// quality) come from the radio state the system publishes. The library keeps no link state:
// only the module claim, a flag of this process.
#include <sys/stat.h>
#include <sysglue/sysglue.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "pos_sdk/log.h"
#include "pos_sdk/network.h"
#include "pos_sdk/os_status.h"
#include "pos_sdk/os_time.h"
#include "pos_sdk/pkg.h"
#include "pos_sdk/service/BpTransferHub.h"

namespace {

BpTransferHub *const hub = BpTransferHub::getInstance();

// The module claim: a plain flag of this process, neither shared nor atomic.
unsigned char moduleClaimed = 0;

const char kRadioDaemonReady[] = "/tmp/rils";
const int kRadioPollMs = 100;
const int kLoginRoundMs = 500;
const int kRadioSimReady = 4;    // SIM state of the published radio state
const int kServiceSimReady = 1;  // SIM state as the network service reports it
const int kRegistered = 1;
const int kLogLevel = 3;  // every status line of the login

// Login and APN parameters the service always gets.
char kNetworkKind[] = "GSM";
char kAuthentication[] = "3";
char kPdpType[] = "IP";
char kDataInterface[] = "ppp0";

// The proxies copy the service's texts whole; these buffers hold more than any identity,
// address or name the service sends, so the documented 16- and 32-byte sizes are only what
// is taken from them.
const size_t kReplyText = 256;
const size_t kIdentityChars = 31;
const size_t kIccidLength = 20;

// Null texts go to the service as empty ones.
char *orEmpty(const char *text) {
    static char empty[] = "";
    return text != nullptr ? const_cast<char *>(text) : empty;
}

void waitForRadioDaemon() {
    while (access(kRadioDaemonReady, F_OK) != 0) OsSleep(kRadioPollMs);
}

// The signal level bands of the 0-31 scale (99: unknown).
int signalLevel(int signal) {
    if (signal == 99 || signal < 4) return 0;
    if (signal < 6) return 1;
    if (signal <= 9) return 2;
    if (signal < 15) return 3;
    if (signal < 20) return 4;
    return 5;
}

// One identity from the service: its characters, at most 31, copied without a terminator.
int readIdentity(int (BpTransferHub::*query)(char *), char *out, bool iccid) {
    if (out == nullptr) return OS_ERR_BAD_ARGUMENT;
    char text[kReplyText] = {0};
    if ((hub->*query)(text) != 0) return OS_ERR_SERVICE_FAILED;
    size_t length = strnlen(text, kIdentityChars);
    if (iccid && strlen(text) != kIccidLength) return OS_ERR_ICCID_LENGTH;
    memcpy(out, text, length);
    return 0;
}

// A DNS address from the service into OUT (SIZE bytes, cleared first).
template <typename Query>
int copyDnsAddress(char *out, int size, Query query) {
    if (out == nullptr || size < 8) return OS_ERR_BAD_ARGUMENT;
    memset(out, 0, static_cast<size_t>(size));
    char text[kReplyText] = {0};
    int result = query(text);
    if (result != 0) return result;
    // The address must leave room for its terminator, so OUT always holds a whole string.
    size_t length = strlen(text);
    if (length >= static_cast<size_t>(size)) return OS_ERR_BAD_ARGUMENT;
    memcpy(out, text, length);
    return 0;
}

int sendPowerLine(const char *command) {
    PkgAppManagementCmd(PKG_SERVER_INITCMD, 5, PKG_CMD_SHELL, command);
    return 0;
}

}  // namespace

extern "C" {

POS_API int OsWlLock(void) {
    if (!moduleClaimed) moduleClaimed = 1;
    return 0;
}

POS_API void OsWlUnLock(void) {
    moduleClaimed = 0;
}

POS_API int OsWlSwitchPower(int) {
    return moduleClaimed ? 0 : OS_ERR_MODULE_NOT_CLAIMED;
}

POS_API int OsWlSwitchSleep(int) {
    return OS_ERR_NOT_SUPPORTED;
}

POS_API int OsWlSelSim(int) {
    return OS_ERR_NOT_SUPPORTED;
}

POS_API int OsWlLoginEx(const char *, const char *, const char *, const char *, long, int, int,
                        int) {
    return OS_ERR_NOT_SUPPORTED;
}

POS_API int OsWlGetSimStatus(int *ready) {
    if (ready == nullptr) return OS_ERR_BAD_ARGUMENT;
    int state = 0;
    int result = KV_GET_RADIO_SIMSTATE(&state);
    if (result != 0) return result;
    *ready = state == kRadioSimReady ? 1 : 0;
    return 0;
}

POS_API int OsWlInit(void *) {
    waitForRadioDaemon();
    int ready = 0;
    if (OsWlGetSimStatus(&ready) == 0 && ready) return 0;
    int state = 0;
    if (hub->INetGetSimStatus(&state) != 0) return OS_ERR_SIM_UNREADABLE;
    return state != kServiceSimReady ? OS_ERR_SIM_NOT_READY : 0;
}

POS_API int OsWlInitEx(const char *, int, char *, int) {
    waitForRadioDaemon();
    int ready = 0;
    if (OsWlGetSimStatus(&ready) != 0) return OS_ERR_SIM_UNREADABLE;
    return ready ? 0 : OS_ERR_SIM_NOT_READY;
}

POS_API int OsWlCheck(void) {
    int ready = 0;
    if (OsWlGetSimStatus(&ready) != 0) return OS_ERR_SIM_UNREADABLE;
    if (!ready) return OS_ERR_SIM_NOT_READY;
    int registration = 0;
    kv_get_GSM_stat(&registration);  // a failed read leaves "not registered"
    return registration != kRegistered ? OS_ERR_NOT_REGISTERED : 0;
}

POS_API int OsWlGetSignal(void) {
    int signal = -1, second = -1;
    if (KV_GET_RADIO_SIGNAL(&signal, &second) != 0) return OS_ERR_SIGNAL_UNREADABLE;
    return signalLevel(signal);
}

POS_API int OsWlLogin(const char *apn, const char *user, const char *password, int, int timeoutMs) {
    if (timeoutMs < 1) return OS_ERR_BAD_ARGUMENT;
    int autoConnect = 0;
    if (OsWlGetAutoConnectStatus(&autoConnect) != 0) autoConnect = 0;
    OsLog(kLogLevel, "OsWlGetAutoConnectStatus status %d", autoConnect);
    // The tick is 64-bit: a 32-bit long would log it truncated.
    OsLog(kLogLevel, "login start time=%lld", static_cast<long long>(get_sys_tick()));

    // Rounds n = 0, 1, ... while the time-out exceeds 500 * n, in 64 bits for large time-outs.
    if (autoConnect) {
        // The system connects by itself: only wait for it.
        for (long long n = 0; timeoutMs > kLoginRoundMs * n; ++n) {
            int check = OsWlCheck();
            OsLog(kLogLevel, "OsWlCheck ret %d", check);
            if (check == 0) return 0;
            OsSleep(kLoginRoundMs);
        }
        return OS_ERR_LOGIN_FAILED;
    }

    // The authentication argument is deliberately not used: the service always gets "3".
    int result = hub->INetWirelessConnect(kNetworkKind, orEmpty(apn), orEmpty(user),
                                          orEmpty(password), kAuthentication, kPdpType);
    OsLog(kLogLevel, "INetWirelessConnect ret %d", result);
    if (result != 0) return OS_ERR_LOGIN_FAILED;
    OsLog(kLogLevel, "INetWirelessConnect...");
    OsLog(kLogLevel, "login start2 time=%lld", static_cast<long long>(get_sys_tick()));

    char address[kReplyText] = {0};
    for (long long n = 0; timeoutMs > kLoginRoundMs * n; ++n) {
        memset(address, 0, sizeof address);
        result = hub->INetGetNetworkIP(kDataInterface, address);
        OsLog(kLogLevel, "INetGetNetworkIP [%d] [%s]  \n", result, address);
        if (result == 0 && address[0] != '\0') break;
        OsSleep(kLoginRoundMs);
    }
    OsLog(kLogLevel, "INetWirelessConnect end");
    // A time-out leaves the link as it is: the service may still bring it up.
    return address[0] != '\0' ? 0 : OS_ERR_LOGIN_FAILED;
}

POS_API int OsWlLogout(void) {
    char first[] = "1", second[] = "0";
    return hub->INetWirelessDisconnect(first, second) != 0 ? 2 : 0;
}

POS_API int OsWlGetSimOperator(char *out) {
    if (out == nullptr) return OS_ERR_BAD_ARGUMENT;
    return hub->INetGetSimOperator(out);
}

POS_API int OsWlGetImei(char *out) {
    return readIdentity(&BpTransferHub::INetGetDevIMEI, out, false);
}

POS_API int OsWlGetImsi(char *out) {
    return readIdentity(&BpTransferHub::INetGetDevIMSI, out, false);
}

POS_API int OsWlGetIccid(char *out) {
    return readIdentity(&BpTransferHub::INetGetDevICCID, out, true);
}

POS_API int OsWlGetSignalStrength(void) {
    int signal = 0;
    if (hub->INetGetSignalStrength(&signal) != 0) {
        Log_Err("GetSignalStrength Failed!!!");
        return -1;
    }
    return signal;
}

POS_API int OsWlGetModuleREG(int *state, char *first, char *second) {
    if (state == nullptr || first == nullptr || second == nullptr) return OS_ERR_BAD_ARGUMENT;
    return hub->IWirelessGetModuleREG(state, first, second);
}

POS_API int OsWlGetNetworkIp(char *out) {
    if (out == nullptr) return OS_ERR_BAD_ARGUMENT;
    return hub->INetGetNetworkIP(kDataInterface, out);
}

POS_API int OsWlGetQNetworkInfo(char *first, char *second) {
    if (first == nullptr || second == nullptr) return OS_ERR_BAD_ARGUMENT;
    char third[kReplyText] = {0};
    int value = 0;
    return hub->IGetQNetworkInfo(first, second, third, &value);
}

POS_API int OsWlGetDevBaseStation(int *first, int *second, int *third, int *fourth, int *fifth) {
    if (first == nullptr || second == nullptr || third == nullptr || fourth == nullptr ||
        fifth == nullptr)
        return OS_ERR_BAD_ARGUMENT;
    android::xstation_info_t station = {0, 0, 0, 0, 0};
    int result = hub->INetGetDevBaseStation(&station);
    if (result != 0) {
        Log_Err("INetGetDevBaseStation Failed [%d]", result);
        return -1;
    }
    *first = station.mcc;
    *second = station.mnc;
    *third = station.lac;
    *fourth = station.cell_id;
    *fifth = station.bsic;
    return 0;
}

POS_API int OsWLGetNetworkType(int *type) {
    if (type == nullptr) return OS_ERR_BAD_ARGUMENT;
    *type = 0;
    if (OsWlCheck() != 0) return 0;  // type 0: no network
    return KV_GET_NETWORK_MODE(type);
}

POS_API int OsWLGetRadioSQI(int *rsrp, int *rsrq, int *sinr) {
    if (rsrp == nullptr || rsrq == nullptr || sinr == nullptr) return OS_ERR_BAD_ARGUMENT;
    char text[128] = {0};
    int result = kvgetcutom("KV_RADIO_SQI", text);
    if (result != 0) return result;
    OsLog(0, "OsWLGetRadioSQI szTmp=%s\n", text);
    char fields[3][32];
    if (StrSubstring(text, ",", fields, 3) < 3) return OS_ERR_SIGNAL_UNREADABLE;
    *rsrp = atoi(fields[0]);
    *rsrq = atoi(fields[1]);
    *sinr = atoi(fields[2]);
    OsLog(0, "OsWLGetRadioSQI rsrp=%d,rsrq=%d,sinr=%d\n", *rsrp, *rsrq, *sinr);
    return 0;
}

POS_API int OsWLModulePowerDown(void) {
    return sendPowerLine("echo 0 > /sys/class/gpio/gpio53/value");
}

POS_API int OsWLModulePowerOn(void) {
    return sendPowerLine("echo 1 > /sys/class/gpio/gpio53/value");
}

POS_API int OsSetApnParams(const char *apn, const char *user, const char *password) {
    return hub->ISaveApnConfig(kNetworkKind, orEmpty(apn), orEmpty(user), orEmpty(password),
                               kAuthentication, kPdpType);
}

POS_API int OsGetApnParams(char *apn, char *user, char *password) {
    if (apn == nullptr || user == nullptr || password == nullptr) return OS_ERR_BAD_ARGUMENT;
    char kind[kReplyText] = {0}, auth[kReplyText] = {0}, pdp[kReplyText] = {0};
    return hub->ILoadApnConfig(kind, apn, user, password, auth, pdp);
}

POS_API int OsGetCurDNSAddr(char *out, int size) {
    return copyDnsAddress(out, size, [](char *text) { return hub->IGetCurDNSAddr(text); });
}

POS_API int OsGetDNSAddr(int which, char *out, int size) {
    if (which != 0 && which != 1) return OS_ERR_BAD_ARGUMENT;
    return copyDnsAddress(out, size, [which](char *text) { return hub->IGetDNSAddr(text, which); });
}

POS_API int OsSetDNSAddr(int which, const char *address) {
    if ((which != 0 && which != 1) || address == nullptr) return OS_ERR_BAD_ARGUMENT;
    size_t length = strnlen(address, 16);
    if (length < 7 || length > 15) return OS_ERR_BAD_ARGUMENT;
    return hub->ISetDNSAddr(const_cast<char *>(address), which);
}

POS_API int OsSetPreferredNetworkType(int type) {
    if (type != 0 && type != 1 && type != 3) return OS_ERR_BAD_ARGUMENT;
    return hub->ISetPreferredNetworkType(type) != 0 ? OS_ERR_NOT_SUPPORTED : 0;
}

POS_API int OsGetPreferredNetworkType(int *type) {
    if (type == nullptr) return OS_ERR_BAD_ARGUMENT;
    return hub->IGetPreferredNetworkType(type) != 0 ? OS_ERR_NOT_SUPPORTED : 0;
}

POS_API int OsSetEsmFailTimes(int count) {
    if (count < 0 || count > 5) return OS_ERR_BAD_ARGUMENT;
    return hub->ISetEsmFailTimes(count) != 0 ? OS_ERR_NOT_SUPPORTED : 0;
}

POS_API int OsGetEsmFailTimes(int *count) {
    if (count == nullptr) return OS_ERR_BAD_ARGUMENT;
    return hub->IGetEsmFailTimes(count) != 0 ? OS_ERR_NOT_SUPPORTED : 0;
}

POS_API int StrSubstring(const char *text, const char *delimiter, char fields[][32], int max) {
    // Nothing to split, or no delimiter to split at: no fields.
    if (text == nullptr || delimiter == nullptr || fields == nullptr || delimiter[0] == '\0')
        return 0;
    size_t delimiterLength = strlen(delimiter);
    int count = 0;
    const char *rest = text;
    while (count < max && *rest != '\0') {
        const char *found = strstr(rest, delimiter);
        size_t length = found != nullptr ? size_t(found - rest) : strlen(rest);
        size_t kept = length < 31 ? length : 31;
        memcpy(fields[count], rest, kept);
        fields[count][kept] = '\0';
        ++count;
        if (found == nullptr) break;
        rest = found + delimiterLength;
    }
    // A text ending in the delimiter fills the remaining fields with empty ones.
    size_t textLength = strlen(text);
    while (count < max && textLength > 0 && text[textLength - 1] == delimiter[0]) {
        fields[count++][0] = '\0';
    }
    return count;
}

}  // extern "C"
