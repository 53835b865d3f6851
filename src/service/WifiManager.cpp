// The Wi-Fi service's proxy: one transaction per operation.
#include "pos_sdk/service/IWifiManager.h"

#include "ProxyCall.h"
#include "ServiceBinding.h"

namespace android {

POS_IMPLEMENT_SERVICE_INTERFACE(WifiManager, "com.torva.binder.IWifiManager")

BpWifiManager::BpWifiManager(const sp<IBinder> &impl) : BpInterface<IWifiManager>(impl) {}

int BpWifiManager::WifiOpen() {
    return pos::call(this, OPEN).status();
}

int BpWifiManager::WifiClose() {
    return pos::call(this, CLOSE).status();
}

int BpWifiManager::WifiScan(smartlist_t *list) {
    return pos::call(this, SCAN).statusAndRecords(list, sizeof(WifiScanRecord));
}

int BpWifiManager::WifiConnect(WifiConfig *config, int flags) {
    return pos::call(this, CONNECT, pos::record(config), flags).status();
}

int BpWifiManager::WifiDisconnect() {
    return pos::call(this, DISCONNECT).status();
}

int BpWifiManager::WifiCheckStatus(char *ssid, char *state, char *address, int *value) {
    return pos::call(this, CHECK_STATUS)
        .status(pos::cstringOut(ssid), pos::cstringOut(state), pos::cstringOut(address), value);
}

int BpWifiManager::WifiSendCmd(char *command, char *reply, int size) {
    return pos::call(this, SEND_CMD, pos::cstring(command), size).status(pos::cstringOut(reply));
}

int BpWifiManager::WifiEnable(int on) {
    return pos::call(this, ENABLE, on).status();
}

int BpWifiManager::WifiSaveConfig(WifiConfig *config) {
    return pos::call(this, SAVE_CONFIG, pos::record(config)).status();
}

int BpWifiManager::WifiReconnect() {
    return pos::call(this, RECONNECT).status();
}

}  // namespace android
