// Interface and proxy of the network service ("KivoNetworkService"): the cellular modem's
// identities, SIM, signal, base station and data link, APN, DNS, voice calls, radio and
// airplane mode, and the Wi-Fi power state as the network stack sees it. Every text of this
// service travels as a C string.
#ifndef POS_SDK_SERVICE_INETWORKMANAGER_H
#define POS_SDK_SERVICE_INETWORKMANAGER_H

#include <stddef.h>
#include <stdint.h>

#include "ServiceInterface.h"

namespace android {

// The serving base station: five integers in this order, as the service reports them
// (country and network codes, location area, cell and base-station identity).
struct xstation_info_t {
    int32_t mcc;
    int32_t mnc;
    int32_t lac;
    int32_t cell_id;
    int32_t bsic;
};
static_assert(sizeof(xstation_info_t) == 20 && offsetof(xstation_info_t, bsic) == 16,
              "xstation_info_t is five packed 32-bit integers");

class POS_API INetworkManager : public IInterface {
    POS_DECLARE_SERVICE_INTERFACE(NetworkManager)

    // Transaction codes.
    enum : uint32_t {
        WIFI_GO_TO_SLEEP = 1,
        WIFI_WAKE_UP = 2,
        GET_DEV_IMEI = 3,
        GET_DEV_IMSI = 4,
        GET_DEV_ICCID = 5,
        GET_SIGNAL_STRENGTH = 6,
        GET_DEV_BASEBAND_VERSION = 7,
        GET_SIM_STATUS = 8,
        GET_DEV_BASE_STATION = 9,
        GET_WIRELESS_LINK_STATUS = 10,
        WIRELESS_CONNECT = 11,
        WIRELESS_DISCONNECT = 12,
        GET_SIM_OPERATOR = 13,
        GET_NETWORK_IP = 14,
        SET_RADIO_POWER = 15,
        WIRELESS_GET_MODULE_REG = 16,
        CALL_DIAL = 17,
        CALL_HANG_UP_ALL = 18,
        CALL_GET_CUR_CALL = 19,
        WIRELESS_ENABLE = 20,
        SET_AIRPLANE_MODE = 21,
        SET_NET_AUTO_CONNECT = 22,
        SAVE_APN_CONFIG = 23,
        LOAD_APN_CONFIG = 24,
        GET_Q_NETWORK_INFO = 25,
        SEND_CUST_AT_CMD = 26,
        GET_CUR_DNS_ADDR = 27,
        GET_DNS_ADDR = 28,
        SET_DNS_ADDR = 29,
        GET_PREFERRED_NETWORK_TYPE = 30,
        SET_PREFERRED_NETWORK_TYPE = 31,
        GET_ESM_FAIL_TIMES = 32,
        SET_ESM_FAIL_TIMES = 33,
    };

    virtual int WifiGoToSleep() = 0;
    virtual int WifiWakeUp() = 0;
    virtual int GetDevIMEI(char *imei) = 0;
    virtual int GetDevIMSI(char *imsi) = 0;
    virtual int GetDevICCID(char *iccid) = 0;
    virtual int GetSignalStrength(int *signal) = 0;
    virtual int GetDevBasebanVersion(char *version) = 0;
    virtual int GetSimStatus(int *state) = 0;
    // Declared here although its code is 13: the slot order is kept for compatibility.
    virtual int GetSimOperator(char *operatorName) = 0;
    virtual int GetDevBaseStation(xstation_info_t *station) = 0;
    virtual int GetWirelesslinkStatus(int *status) = 0;
    virtual int WirelessConnect(char *kind, char *apn, char *user, char *password, char *auth,
                                char *pdpType) = 0;
    virtual int WirelessDisconnect(char *first, char *second) = 0;
    virtual int GetNetworkIP(char *interfaceName, char *address) = 0;
    virtual int SetRadioPower(int on) = 0;
    virtual int WirelessGetModuleREG(int *state, char *first, char *second) = 0;
    virtual int CallDIAL(char *number, int mode) = 0;
    virtual int CallHandUpAll() = 0;
    virtual int CallGetCurCall(int *first, int *second, int *third, char *number) = 0;
    virtual int WirelessEnable(int on) = 0;
    virtual int setAirPlaneMode(int mode) = 0;
    virtual int setNetAutoConnect(int bits) = 0;
    virtual int SaveApnConfig(char *kind, char *apn, char *user, char *password, char *auth,
                              char *pdpType) = 0;
    virtual int LoadApnConfig(char *kind, char *apn, char *user, char *password, char *auth,
                              char *pdpType) = 0;
    virtual int GetQNetworkInfo(char *first, char *second, char *third, int *value) = 0;
    virtual int SendCustATCmd(char *command, char *response) = 0;
    virtual int GetCurDNSAddr(char *address) = 0;
    virtual int GetDNSAddr(char *address, int which) = 0;
    virtual int SetDNSAddr(char *address, int which) = 0;
    virtual int NetGetPreferredNetworkType(int *type) = 0;
    virtual int NetSetPreferredNetworkType(int type) = 0;
    virtual int NetGetEsmFailTimes(int *count) = 0;
    virtual int NetSetEsmFailTimes(int count) = 0;
};

class POS_API BpNetworkManager : public BpInterface<INetworkManager> {
  public:
    explicit BpNetworkManager(const sp<IBinder> &impl);

    int WifiGoToSleep() override;
    int WifiWakeUp() override;
    int GetDevIMEI(char *imei) override;
    int GetDevIMSI(char *imsi) override;
    int GetDevICCID(char *iccid) override;
    int GetSignalStrength(int *signal) override;
    int GetDevBasebanVersion(char *version) override;
    int GetSimStatus(int *state) override;
    int GetSimOperator(char *operatorName) override;
    int GetDevBaseStation(xstation_info_t *station) override;
    int GetWirelesslinkStatus(int *status) override;
    int WirelessConnect(char *kind, char *apn, char *user, char *password, char *auth,
                        char *pdpType) override;
    int WirelessDisconnect(char *first, char *second) override;
    int GetNetworkIP(char *interfaceName, char *address) override;
    int SetRadioPower(int on) override;
    int WirelessGetModuleREG(int *state, char *first, char *second) override;
    int CallDIAL(char *number, int mode) override;
    int CallHandUpAll() override;
    int CallGetCurCall(int *first, int *second, int *third, char *number) override;
    int WirelessEnable(int on) override;
    int setAirPlaneMode(int mode) override;
    int setNetAutoConnect(int bits) override;
    int SaveApnConfig(char *kind, char *apn, char *user, char *password, char *auth,
                      char *pdpType) override;
    int LoadApnConfig(char *kind, char *apn, char *user, char *password, char *auth,
                      char *pdpType) override;
    int GetQNetworkInfo(char *first, char *second, char *third, int *value) override;
    int SendCustATCmd(char *command, char *response) override;
    int GetCurDNSAddr(char *address) override;
    int GetDNSAddr(char *address, int which) override;
    int SetDNSAddr(char *address, int which) override;
    int NetGetPreferredNetworkType(int *type) override;
    int NetSetPreferredNetworkType(int type) override;
    int NetGetEsmFailTimes(int *count) override;
    int NetSetEsmFailTimes(int count) override;
};

}  // namespace android

#endif
