#include "HubOps.h"

#include <cstring>

namespace {

// A network "HomeNet" with the password "secret12", as raw record bytes.
std::vector<uint8_t> homeNetBytes() {
    std::vector<uint8_t> bytes(196, 0);
    memcpy(bytes.data(), "HomeNet", 7);
    memcpy(bytes.data() + 128, "secret12", 8);
    bytes[192] = 1;
    return bytes;
}

}  // namespace

const std::vector<HubOp> &wifiHubOps() {
    static const char *const kName = "KivoWifiManagerService";
    static const char *const kToken = "com.torva.binder.IWifiManager";
    static android::WifiConfig config = [] {
        android::WifiConfig c{};
        strcpy(c.ssid, "HomeNet");
        memcpy(c.password, "secret12", 8);
        c.mode = 1;
        return c;
    }();
    static char ssid[256], state[256], address[256], reply[512];
    static char command[] = "PING";
    static int value;
    using H = BpTransferHub;
    using R = HubResult;
    const HubReturns status = HubReturns::Status;
    static const std::vector<HubOp> ops = {
        {"IWifiOpen", kName, kToken, 1, status, [](H &h) { return R{h.IWifiOpen()}; }, Bytes()},
        {"IWifiClose", kName, kToken, 2, status, [](H &h) { return R{h.IWifiClose()}; }, Bytes()},
        {"IWifiScan", kName, kToken, 3, status,
         [](H &h) {
             smartlist_t *list = smartlist_new();
             int result = h.IWifiScan(list);
             smartlist_free(list);
             return R{result};
         },
         Bytes()},
        {"IWifiConnect", kName, kToken, 4, status,
         [](H &h) { return R{h.IWifiConnect(&config, 3)}; }, Bytes().raw(homeNetBytes()).i32(3)},
        {"IWifiDisconnect", kName, kToken, 5, status, [](H &h) { return R{h.IWifiDisconnect()}; },
         Bytes()},
        {"IWifiReconnect", kName, kToken, 10, status, [](H &h) { return R{h.IWifiReconnect()}; },
         Bytes()},
        {"IWifiCheckStatus", kName, kToken, 6, status,
         [](H &h) { return R{h.IWifiCheckStatus(ssid, state, address, &value)}; }, Bytes()},
        {"IWifiSendCmd", kName, kToken, 7, status,
         [](H &h) { return R{h.IWifiSendCmd(command, reply, 512)}; },
         Bytes().cstr("PING").i32(512)},
        {"IWifiEnable", kName, kToken, 8, status, [](H &h) { return R{h.IWifiEnable(1)}; },
         Bytes().i32(1)},
        {"IWifiSaveConfig", kName, kToken, 9, status,
         [](H &h) { return R{h.IWifiSaveConfig(&config)}; }, Bytes().raw(homeNetBytes())},
    };
    return ops;
}
