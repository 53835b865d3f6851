// The service hub: binding routines and the system and power operations.
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

// ---- Power service ----

// The argument-less getters answer the value itself, so a refusal can only be told by -1.
static int readPowerValue(sp<IPowerManager> &power, int (IPowerManager::*getter)(int *)) {
    int ret = GetPowerManagerService(power);
    if (ret != 0) return ret;
    int value = 0;
    int status = (power.get()->*getter)(&value);
    return status != 0 ? -1 : value;
}

int BpTransferHub::IPowerSysGetBatCap() {
    return readPowerValue(mPower, &IPowerManager::SysGetBatCap);
}

int BpTransferHub::IPowerSysGetBatVol() {
    return readPowerValue(mPower, &IPowerManager::SysGetBatVol);
}

int BpTransferHub::IPowerSysChgState() {
    return readPowerValue(mPower, &IPowerManager::SysGetChgStat);
}

int BpTransferHub::IPowerSysGetBatInfo(int *first, int *second, int *third) {
    int ret = GetPowerManagerService(mPower);
    if (ret != 0) return ret;
    return mPower->SysGetBatteryInfo(first, second, third) != 0 ? -1 : 0;
}

int BpTransferHub::IPowerSysGetLCDBKL() {
    return readPowerValue(mPower, &IPowerManager::SysGetLCDBrightness);
}

int BpTransferHub::IPowerSysSetLCDBKL(int level) {
    int ret = GetPowerManagerService(mPower);
    return ret != 0 ? ret : mPower->SysSetLCDBrightness(level);
}

int BpTransferHub::IPowerSysSetSleepTime(int seconds) {
    int ret = GetPowerManagerService(mPower);
    return ret != 0 ? ret : mPower->SysSetSleepTime(seconds);
}

int BpTransferHub::IPowerSysGetSleepTime(int *seconds) {
    int ret = GetPowerManagerService(mPower);
    return ret != 0 ? ret : mPower->SysGetSleepTime(seconds);
}

int BpTransferHub::IPowerSysAllowEnterSleep(int allow) {
    int ret = GetPowerManagerService(mPower);
    return ret != 0 ? ret : mPower->SysAllowEnterSleep(allow);
}

int BpTransferHub::IPowerSysGetAllowEnterSleep(int *allow) {
    int ret = GetPowerManagerService(mPower);
    return ret != 0 ? ret : mPower->SysGetAllowEnterSleep(allow);
}

int BpTransferHub::IPowerSysSetDeepSleepTime(int seconds) {
    int ret = GetPowerManagerService(mPower);
    return ret != 0 ? ret : mPower->SysSetDeepSleepTime(seconds);
}

int BpTransferHub::IPowerSysGetDeepSleepTime(int *seconds) {
    int ret = GetPowerManagerService(mPower);
    return ret != 0 ? ret : mPower->SysGetDeepSleepTime(seconds);
}

int BpTransferHub::IPowerSysSetSleepShutdownTime(int value) {
    int ret = GetPowerManagerService(mPower);
    return ret != 0 ? ret : mPower->SysSetSleepShutdownTime(value);
}

int BpTransferHub::IPowerSysGetSleepShutdownTime(int *value) {
    int ret = GetPowerManagerService(mPower);
    return ret != 0 ? ret : mPower->SysGetSleepShutdownTime(value);
}

// ---- System service ----

// The service's clock calls carry a format selector; the hub always uses format 2.
static const int kRtcFormat = 2;

const char *BpTransferHub::ISystemGetMCURTCTime() {
    if (GetSystemManagerService(mSystem) != 0) return nullptr;
    return mSystem->SystemGetMCURTCTime(kRtcFormat);
}

int BpTransferHub::ISystemSetMCURTCTime(int year, int month, int day, int hour, int minute,
                                        int second) {
    int ret = GetSystemManagerService(mSystem);
    if (ret != 0) return ret;
    return mSystem->SystemSetMCURTCTime(year, month, day, hour, minute, second, kRtcFormat);
}

int BpTransferHub::ISystemCtrlBeeper(int frequency, int duration) {
    int ret = GetSystemManagerService(mSystem);
    return ret != 0 ? ret : mSystem->SystemCtrlBeeper(frequency, duration);
}

int BpTransferHub::ISystemCtrlKeytone(int on) {
    int ret = GetSystemManagerService(mSystem);
    return ret != 0 ? ret : mSystem->SystemCtrlKeytone(on);
}

const char *BpTransferHub::ISystemGetDevInfo(int record) {
    if (GetSystemManagerService(mSystem) != 0) return nullptr;
    return mSystem->SystemGetDevInfo(record);
}

int BpTransferHub::ISystemSetDevInfo(int record, char *text) {
    int ret = GetSystemManagerService(mSystem);
    return ret != 0 ? ret : mSystem->SystemSetDevInfo(record, text);
}

const char *BpTransferHub::ISystemGetDebugModeRandom(int *value) {
    if (GetSystemManagerService(mSystem) != 0) return nullptr;
    return mSystem->SystemGetDebugModeRandom(value);
}

int BpTransferHub::ISystemSetDebugMode(char *text, int mode) {
    int ret = GetSystemManagerService(mSystem);
    return ret != 0 ? ret : mSystem->SystemSetDebugMode(text, mode);
}

int BpTransferHub::ISystemGetWakeSource(int *source) {
    int ret = GetSystemManagerService(mSystem);
    return ret != 0 ? ret : mSystem->SystemGetWakeSource(source);
}

int BpTransferHub::ISystemCtrlLED(int a, int b, int c, int d, int e, int f) {
    int ret = GetSystemManagerService(mSystem);
    return ret != 0 ? ret : mSystem->SystemCtrlLED(a, b, c, d, e, f);
}

int BpTransferHub::ISystemMCURFIDTest() {
    int ret = GetSystemManagerService(mSystem);
    return ret != 0 ? ret : mSystem->SystemMCURFIDTest();
}

int BpTransferHub::ISystemSyncBATState(int state) {
    int ret = GetSystemManagerService(mSystem);
    return ret != 0 ? ret : mSystem->SystemSyncBATState(state);
}

int BpTransferHub::ISystemSetLPLEDFreq(int frequency) {
    int ret = GetSystemManagerService(mSystem);
    return ret != 0 ? ret : mSystem->SystemSetLPLEDFreq(frequency);
}

int BpTransferHub::ISystemGetLPLEDFreq(int *frequency) {
    int ret = GetSystemManagerService(mSystem);
    return ret != 0 ? ret : mSystem->SystemGetLPLEDFreq(frequency);
}
