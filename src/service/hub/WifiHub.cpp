// The hub's Wi-Fi operations.
#include "HubForward.h"

using android::IWifiManager;
using android::WifiConfig;

int BpTransferHub::IWifiOpen() {
    return pos::forward(mWifi, &IWifiManager::WifiOpen);
}

int BpTransferHub::IWifiClose() {
    return pos::forward(mWifi, &IWifiManager::WifiClose);
}

int BpTransferHub::IWifiScan(smartlist_t *list) {
    return pos::forward(mWifi, &IWifiManager::WifiScan, list);
}

int BpTransferHub::IWifiConnect(WifiConfig *config, int flags) {
    return pos::forward(mWifi, &IWifiManager::WifiConnect, config, flags);
}

int BpTransferHub::IWifiDisconnect() {
    return pos::forward(mWifi, &IWifiManager::WifiDisconnect);
}

int BpTransferHub::IWifiReconnect() {
    return pos::forward(mWifi, &IWifiManager::WifiReconnect);
}

int BpTransferHub::IWifiCheckStatus(char *ssid, char *state, char *address, int *value) {
    return pos::forward(mWifi, &IWifiManager::WifiCheckStatus, ssid, state, address, value);
}

int BpTransferHub::IWifiSendCmd(char *command, char *reply, int size) {
    return pos::forward(mWifi, &IWifiManager::WifiSendCmd, command, reply, size);
}

int BpTransferHub::IWifiEnable(int on) {
    return pos::forward(mWifi, &IWifiManager::WifiEnable, on);
}

int BpTransferHub::IWifiSaveConfig(WifiConfig *config) {
    return pos::forward(mWifi, &IWifiManager::WifiSaveConfig, config);
}
