// The service hub: the singleton and the binding routines. Each service's operations are in
// hub/<Service>Hub.cpp.
#include "pos_sdk/service/BpTransferHub.h"

#include "ServiceBinding.h"

using namespace android;

BpTransferHub *BpTransferHub::instance = nullptr;

BpTransferHub *BpTransferHub::getInstance() {
    // No lock: callers serialise first use (the library has no threads of its own).
    if (instance == nullptr) instance = new BpTransferHub();
    return instance;
}

BpTransferHub::BpTransferHub() = default;

// Members are released in reverse order of declaration: Tts first, Cloud last.
BpTransferHub::~BpTransferHub() = default;

BpTransferHub::BpTransferHub(const BpTransferHub &) {}

BpTransferHub &BpTransferHub::operator=(const BpTransferHub &) {
    // Returns the singleton, not the left-hand side; kept for compatibility.
    return *getInstance();
}

// Registered service names, as the service manager knows them.
int GetCloudManagerService(sp<ICloudManager> &s) {
    return pos::bindService(s, "cloudservice");
}
int GetICCardManagerService(sp<IICCardManager> &s) {
    return pos::bindService(s, "KivoIICCardService");
}
int GetMagcardManagerService(sp<IMagcardManager> &s) {
    return pos::bindService(s, "KivoMagcardService");
}
int GetRFIDManagerService(sp<IRFIDManager> &s) {
    return pos::bindService(s, "KivoRFIDService");
}
int GetThermalManagerService(sp<IThermalManager> &s) {
    return pos::bindService(s, "KivoThermalPrinterService");
}
int GetNetworkManagerService(sp<INetworkManager> &s) {
    return pos::bindService(s, "KivoNetworkService");
}
int GetPowerManagerService(sp<IPowerManager> &s) {
    return pos::bindService(s, "KivoPowerService");
}
int GetSystemManagerService(sp<ISystemManager> &s) {
    return pos::bindService(s, "KivoSystemManagerService");
}
int GetPinpadManagerService(sp<IPinpadManager> &s) {
    return pos::bindService(s, "KivoPinpadManagerService");
}
int GetWifiManagerService(sp<IWifiManager> &s) {
    return pos::bindService(s, "KivoWifiManagerService");
}
int GetSecurityManagerService(sp<ISecurityManager> &s) {
    return pos::bindService(s, "KivoSecurityManagerService");
}
int GetQd36nManagerService(sp<IQd36nManager> &s) {
    return pos::bindService(s, "KivoQd36nService");
}
int GetSegLcdManagerService(sp<ISegLcdManager> &s) {
    return pos::bindService(s, "KivoSegLcdService");
}
int GetTtsManagerService(sp<ITtsManager> &s) {
    return pos::bindService(s, "KivoTtsService");
}
