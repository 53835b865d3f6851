// The network service's proxy: one transaction per operation, every text a C string.
#include "pos_sdk/service/INetworkManager.h"

#include "ProxyCall.h"
#include "ServiceBinding.h"

namespace android {

using pos::cstring;
using pos::cstringCopy;
using pos::cstringOut;

POS_IMPLEMENT_SERVICE_INTERFACE(NetworkManager, "com.torva.binder.INetworkManager")

BpNetworkManager::BpNetworkManager(const sp<IBinder> &impl) : BpInterface<INetworkManager>(impl) {}

int BpNetworkManager::WifiGoToSleep() {
    return pos::call(this, WIFI_GO_TO_SLEEP).status();
}

int BpNetworkManager::WifiWakeUp() {
    return pos::call(this, WIFI_WAKE_UP).status();
}

int BpNetworkManager::GetDevIMEI(char *imei) {
    return pos::call(this, GET_DEV_IMEI).status(cstringOut(imei));
}

int BpNetworkManager::GetDevIMSI(char *imsi) {
    return pos::call(this, GET_DEV_IMSI).status(cstringOut(imsi));
}

int BpNetworkManager::GetDevICCID(char *iccid) {
    return pos::call(this, GET_DEV_ICCID).status(cstringOut(iccid));
}

int BpNetworkManager::GetSignalStrength(int *signal) {
    return pos::call(this, GET_SIGNAL_STRENGTH).status(signal);
}

int BpNetworkManager::GetDevBasebanVersion(char *version) {
    return pos::call(this, GET_DEV_BASEBAND_VERSION).status(cstringOut(version));
}

int BpNetworkManager::GetSimStatus(int *state) {
    return pos::call(this, GET_SIM_STATUS).status(state);
}

int BpNetworkManager::GetSimOperator(char *operatorName) {
    return pos::call(this, GET_SIM_OPERATOR).status(cstringOut(operatorName));
}

int BpNetworkManager::GetDevBaseStation(xstation_info_t *s) {
    // Five words read one by one into the record's fields.
    return pos::call(this, GET_DEV_BASE_STATION)
        .status(&s->mcc, &s->mnc, &s->lac, &s->cell_id, &s->bsic);
}

int BpNetworkManager::GetWirelesslinkStatus(int *status) {
    return pos::call(this, GET_WIRELESS_LINK_STATUS).status(status);
}

int BpNetworkManager::WirelessConnect(char *kind, char *apn, char *user, char *password, char *auth,
                                      char *pdpType) {
    return pos::call(this, WIRELESS_CONNECT, cstring(kind), cstring(apn), cstring(user),
                     cstring(password), cstring(auth), cstring(pdpType))
        .status();
}

int BpNetworkManager::WirelessDisconnect(char *first, char *second) {
    return pos::call(this, WIRELESS_DISCONNECT, cstring(first), cstring(second)).status();
}

int BpNetworkManager::GetNetworkIP(char *interfaceName, char *address) {
    return pos::call(this, GET_NETWORK_IP, cstring(interfaceName)).status(cstringOut(address));
}

int BpNetworkManager::SetRadioPower(int on) {
    return pos::call(this, SET_RADIO_POWER, on).status();
}

int BpNetworkManager::WirelessGetModuleREG(int *state, char *first, char *second) {
    return pos::call(this, WIRELESS_GET_MODULE_REG)
        .status(state, cstringOut(first), cstringOut(second));
}

int BpNetworkManager::CallDIAL(char *number, int mode) {
    return pos::call(this, CALL_DIAL, cstring(number), mode).status();
}

int BpNetworkManager::CallHandUpAll() {
    return pos::call(this, CALL_HANG_UP_ALL).status();
}

int BpNetworkManager::CallGetCurCall(int *first, int *second, int *third, char *number) {
    return pos::call(this, CALL_GET_CUR_CALL).status(first, second, third, cstringOut(number));
}

int BpNetworkManager::WirelessEnable(int on) {
    return pos::call(this, WIRELESS_ENABLE, on).status();
}

int BpNetworkManager::setAirPlaneMode(int mode) {
    return pos::call(this, SET_AIRPLANE_MODE, mode).status();
}

int BpNetworkManager::setNetAutoConnect(int bits) {
    return pos::call(this, SET_NET_AUTO_CONNECT, bits).status();
}

int BpNetworkManager::SaveApnConfig(char *kind, char *apn, char *user, char *password, char *auth,
                                    char *pdpType) {
    return pos::call(this, SAVE_APN_CONFIG, cstring(kind), cstring(apn), cstring(user),
                     cstring(password), cstring(auth), cstring(pdpType))
        .status();
}

int BpNetworkManager::LoadApnConfig(char *kind, char *apn, char *user, char *password, char *auth,
                                    char *pdpType) {
    return pos::call(this, LOAD_APN_CONFIG)
        .status(cstringCopy(kind), cstringCopy(apn), cstringCopy(user), cstringCopy(password),
                cstringCopy(auth), cstringCopy(pdpType));
}

int BpNetworkManager::GetQNetworkInfo(char *first, char *second, char *third, int *value) {
    return pos::call(this, GET_Q_NETWORK_INFO)
        .status(cstringCopy(first), cstringCopy(second), cstringCopy(third), value);
}

int BpNetworkManager::SendCustATCmd(char *command, char *response) {
    return pos::call(this, SEND_CUST_AT_CMD, cstring(command)).status(cstringCopy(response));
}

int BpNetworkManager::GetCurDNSAddr(char *address) {
    return pos::call(this, GET_CUR_DNS_ADDR).status(cstringCopy(address));
}

int BpNetworkManager::GetDNSAddr(char *address, int which) {
    return pos::call(this, GET_DNS_ADDR, which).status(cstringCopy(address));
}

int BpNetworkManager::SetDNSAddr(char *address, int which) {
    // The one argument this service checks: no address, no transaction.
    if (address == nullptr) return -1;
    return pos::call(this, SET_DNS_ADDR, cstring(address), which).status();
}

int BpNetworkManager::NetGetPreferredNetworkType(int *type) {
    return pos::call(this, GET_PREFERRED_NETWORK_TYPE).status(type);
}

int BpNetworkManager::NetSetPreferredNetworkType(int type) {
    return pos::call(this, SET_PREFERRED_NETWORK_TYPE, type).status();
}

int BpNetworkManager::NetGetEsmFailTimes(int *count) {
    return pos::call(this, GET_ESM_FAIL_TIMES).status(count);
}

int BpNetworkManager::NetSetEsmFailTimes(int count) {
    return pos::call(this, SET_ESM_FAIL_TIMES, count).status();
}

}  // namespace android
