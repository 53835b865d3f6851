// The hub's network service operations.
#include "HubForward.h"

using android::INetworkManager;

int BpTransferHub::INetGetDevIMEI(char *imei) {
    return pos::forward(mNetwork, &INetworkManager::GetDevIMEI, imei);
}

int BpTransferHub::INetGetDevIMSI(char *imsi) {
    return pos::forward(mNetwork, &INetworkManager::GetDevIMSI, imsi);
}

int BpTransferHub::INetGetDevICCID(char *iccid) {
    return pos::forward(mNetwork, &INetworkManager::GetDevICCID, iccid);
}

int BpTransferHub::INetGetSignalStrength(int *signal) {
    return pos::forward(mNetwork, &INetworkManager::GetSignalStrength, signal);
}

int BpTransferHub::INetGetDevBasebanVersion(char *version) {
    return pos::forward(mNetwork, &INetworkManager::GetDevBasebanVersion, version);
}

int BpTransferHub::INetGetSimStatus(int *state) {
    return pos::forward(mNetwork, &INetworkManager::GetSimStatus, state);
}

int BpTransferHub::INetGetSimOperator(char *operatorName) {
    return pos::forward(mNetwork, &INetworkManager::GetSimOperator, operatorName);
}

int BpTransferHub::INetGetDevBaseStation(android::xstation_info_t *station) {
    return pos::forward(mNetwork, &INetworkManager::GetDevBaseStation, station);
}

int BpTransferHub::INetGetWirelesslinkStatus(int *status) {
    return pos::forward(mNetwork, &INetworkManager::GetWirelesslinkStatus, status);
}

int BpTransferHub::ISendCustATCmd(char *command, char *response) {
    return pos::forward(mNetwork, &INetworkManager::SendCustATCmd, command, response);
}

int BpTransferHub::IGetCurDNSAddr(char *address) {
    return pos::forward(mNetwork, &INetworkManager::GetCurDNSAddr, address);
}

int BpTransferHub::IGetDNSAddr(char *address, int which) {
    return pos::forward(mNetwork, &INetworkManager::GetDNSAddr, address, which);
}

int BpTransferHub::ISetDNSAddr(char *address, int which) {
    return pos::forward(mNetwork, &INetworkManager::SetDNSAddr, address, which);
}

int BpTransferHub::IGetPreferredNetworkType(int *type) {
    return pos::forward(mNetwork, &INetworkManager::NetGetPreferredNetworkType, type);
}

int BpTransferHub::ISetPreferredNetworkType(int type) {
    return pos::forward(mNetwork, &INetworkManager::NetSetPreferredNetworkType, type);
}

int BpTransferHub::IGetEsmFailTimes(int *count) {
    return pos::forward(mNetwork, &INetworkManager::NetGetEsmFailTimes, count);
}

int BpTransferHub::ISetEsmFailTimes(int count) {
    return pos::forward(mNetwork, &INetworkManager::NetSetEsmFailTimes, count);
}

int BpTransferHub::INetWirelessConnect(char *kind, char *apn, char *user, char *password,
                                       char *auth, char *pdpType) {
    return pos::forward(mNetwork, &INetworkManager::WirelessConnect, kind, apn, user, password,
                        auth, pdpType);
}

int BpTransferHub::INetWirelessDisconnect(char *first, char *second) {
    return pos::forward(mNetwork, &INetworkManager::WirelessDisconnect, first, second);
}

int BpTransferHub::INetGetNetworkIP(char *interfaceName, char *address) {
    return pos::forward(mNetwork, &INetworkManager::GetNetworkIP, interfaceName, address);
}

int BpTransferHub::INetWifiGoToSleep() {
    return pos::forward(mNetwork, &INetworkManager::WifiGoToSleep);
}

int BpTransferHub::INetWifiWakeUp() {
    return pos::forward(mNetwork, &INetworkManager::WifiWakeUp);
}

int BpTransferHub::ISetRadioPower(int on) {
    return pos::forward(mNetwork, &INetworkManager::SetRadioPower, on);
}

int BpTransferHub::IWirelessGetModuleREG(int *state, char *first, char *second) {
    return pos::forward(mNetwork, &INetworkManager::WirelessGetModuleREG, state, first, second);
}

int BpTransferHub::ICallDIAL(char *number, int mode) {
    return pos::forward(mNetwork, &INetworkManager::CallDIAL, number, mode);
}

int BpTransferHub::ICallHandUpAll() {
    return pos::forward(mNetwork, &INetworkManager::CallHandUpAll);
}

int BpTransferHub::ICallGetCurCall(int *first, int *second, int *third, char *number) {
    return pos::forward(mNetwork, &INetworkManager::CallGetCurCall, first, second, third, number);
}

int BpTransferHub::IWirelessEnable(int on) {
    return pos::forward(mNetwork, &INetworkManager::WirelessEnable, on);
}

int BpTransferHub::ISetAirPlaneMode(int mode) {
    return pos::forward(mNetwork, &INetworkManager::setAirPlaneMode, mode);
}

int BpTransferHub::ISetNetAutoConnect(int bits) {
    return pos::forward(mNetwork, &INetworkManager::setNetAutoConnect, bits);
}

int BpTransferHub::ISaveApnConfig(char *kind, char *apn, char *user, char *password, char *auth,
                                  char *pdpType) {
    return pos::forward(mNetwork, &INetworkManager::SaveApnConfig, kind, apn, user, password, auth,
                        pdpType);
}

int BpTransferHub::ILoadApnConfig(char *kind, char *apn, char *user, char *password, char *auth,
                                  char *pdpType) {
    return pos::forward(mNetwork, &INetworkManager::LoadApnConfig, kind, apn, user, password, auth,
                        pdpType);
}

int BpTransferHub::IGetQNetworkInfo(char *first, char *second, char *third, int *value) {
    return pos::forward(mNetwork, &INetworkManager::GetQNetworkInfo, first, second, third, value);
}
