// BpTransferHub: the process-wide hub through which the library reaches the system services.
//
// The hub holds one proxy per service, binds it by registered name on first use, checks it is
// alive before every call and binds it again after its service died. Integer operations
// return the service's status, or a binding code when the service cannot be reached:
//   POS_HUB_NO_SERVICE_MANAGER  no binder context (no service manager);
//   POS_HUB_SERVICE_NOT_FOUND   no service of that name, or it is not of the expected interface.
// Text operations return null in both cases, else text that stays valid until the next text
// call on the same thread.
//
// The hub takes no lock: callers that use it from several threads serialise their calls.
#ifndef POS_SDK_SERVICE_BPTRANSFERHUB_H
#define POS_SDK_SERVICE_BPTRANSFERHUB_H

#include "ICloudManager.h"
#include "IICCardManager.h"
#include "IMagcardManager.h"
#include "IRFIDManager.h"
#include "IThermalManager.h"
#include "INetworkManager.h"
#include "IPowerManager.h"
#include "ISystemManager.h"
#include "IPinpadManager.h"
#include "IWifiManager.h"
#include "ISecurityManager.h"
#include "IQd36nManager.h"
#include "ISegLcdManager.h"
#include "ITtsManager.h"

#define POS_HUB_NO_SERVICE_MANAGER 0x10000001
#define POS_HUB_SERVICE_NOT_FOUND 0x10000002

class POS_API BpTransferHub {
  public:
    static BpTransferHub *getInstance();

    BpTransferHub();
    ~BpTransferHub();
    // A copy starts unbound: copies never share bindings.
    BpTransferHub(const BpTransferHub &other);
    // Copies nothing and returns the singleton rather than *this; kept for compatibility.
    BpTransferHub &operator=(const BpTransferHub &other);

    // One section per service, in member order. Each section's operations are defined in
    // src/service/hub/<Service>Hub.cpp.

    // ---- Cloud (test service) ----

    // ---- ICCard ----
    int IICCardOpen(int slot, int mode);
    int IICCardClose(int slot);
    int IICCardAsyncCardWorkAttr(int slot, int voltage, int standard, int pps, int baud,
                                 int timeout);
    const char *IICCardPowerOn(int slot, int timeout);
    int IICCardPowerOff(int slot, int timeout);
    const char *IICCardAsyncCardComm(int slot, const char *apdu, int timeout);
    int IICCardDeckCheck(int slot, int timeout);
    const char *IICCardSyncCardComm(int slot, int cardType, const char *command, int timeout);

    // ---- Magcard ----
    int IMagcardOpen(int mode);
    int IMagcardClose();
    int IMagcardRead(int tracks, int timeout);
    const char *IMagcardReadData(int track);
    int IMagcardWrite(const char *track1, const char *track2, const char *track3, int mode);
    int IMagcardStatus(int *state);
    int IMagcardCancel();

    // ---- RFID ----
    int IRFIDOpen(int mode);
    int IRFIDClose();
    int IRFIDSelectCardType(int cardType, int rate);
    int IRFIDPowerOn();
    int IRFIDPowerOff();
    const char *IRFIDSearchCard(int timeout);
    const char *IRFIDAPDUComm(const char *apdu, int timeout);
    const char *IRFIDMifareCardComm(int command, const char *data, int timeout);
    int IRFIDSearchCardWithoutPowerOn(int timeout);
    const char *IRFIDCardPowerOn(int timeout);
    int IRFIDCardPowerOff(int timeout);
    const char *IRFIDFelicaSearchPowerOn(int timeout);
    const char *IRFIDFelicaAPDUComm(const char *frame, int timeout);

    // ---- Thermal (printer) ----

    // ---- Network ----

    // ---- Power ----
    // The four getters without arguments return the value read, or -1 when the service
    // answers a non-zero status.
    int IPowerSysGetBatCap();
    int IPowerSysGetBatVol();
    int IPowerSysChgState();
    int IPowerSysGetBatInfo(int *first, int *second, int *third);  // 0, or -1 on refusal
    int IPowerSysGetLCDBKL();
    int IPowerSysSetLCDBKL(int level);
    int IPowerSysSetSleepTime(int seconds);
    int IPowerSysGetSleepTime(int *seconds);
    int IPowerSysAllowEnterSleep(int allow);
    int IPowerSysGetAllowEnterSleep(int *allow);
    int IPowerSysSetDeepSleepTime(int seconds);
    int IPowerSysGetDeepSleepTime(int *seconds);
    int IPowerSysSetSleepShutdownTime(int value);
    int IPowerSysGetSleepShutdownTime(int *value);

    // ---- System ----
    const char *ISystemGetMCURTCTime();
    int ISystemSetMCURTCTime(int year, int month, int day, int hour, int minute, int second);
    int ISystemCtrlBeeper(int frequency, int duration);
    int ISystemCtrlKeytone(int on);
    const char *ISystemGetDevInfo(int record);
    int ISystemSetDevInfo(int record, char *text);
    const char *ISystemGetDebugModeRandom(int *value);
    int ISystemSetDebugMode(char *text, int mode);
    int ISystemGetWakeSource(int *source);
    int ISystemCtrlLED(int a, int b, int c, int d, int e, int f);
    int ISystemMCURFIDTest();
    int ISystemSyncBATState(int state);
    int ISystemSetLPLEDFreq(int frequency);
    int ISystemGetLPLEDFreq(int *frequency);

    // ---- Pinpad ----

    // ---- Wifi ----

    // ---- Security ----

    // ---- Qd36n (model MCU) ----

    // ---- SegLcd ----

    // ---- Tts ----

  private:
    static BpTransferHub *instance;

    // One proxy per service, in this order; released in reverse order.
    android::sp<android::ICloudManager> mCloud;
    android::sp<android::IICCardManager> mICCard;
    android::sp<android::IMagcardManager> mMagcard;
    android::sp<android::IRFIDManager> mRFID;
    android::sp<android::IThermalManager> mThermal;
    android::sp<android::INetworkManager> mNetwork;
    android::sp<android::IPowerManager> mPower;
    android::sp<android::ISystemManager> mSystem;
    android::sp<android::IPinpadManager> mPinpad;
    android::sp<android::IWifiManager> mWifi;
    android::sp<android::ISecurityManager> mSecurity;
    android::sp<android::IQd36nManager> mQd36n;
    android::sp<android::ISegLcdManager> mSegLcd;
    android::sp<android::ITtsManager> mTts;
};

// Binding routines: return 0 when `service` holds a live proxy (binding it first if needed),
// else POS_HUB_NO_SERVICE_MANAGER or POS_HUB_SERVICE_NOT_FOUND.
POS_API int GetCloudManagerService(android::sp<android::ICloudManager> &service);
POS_API int GetICCardManagerService(android::sp<android::IICCardManager> &service);
POS_API int GetMagcardManagerService(android::sp<android::IMagcardManager> &service);
POS_API int GetRFIDManagerService(android::sp<android::IRFIDManager> &service);
POS_API int GetThermalManagerService(android::sp<android::IThermalManager> &service);
POS_API int GetNetworkManagerService(android::sp<android::INetworkManager> &service);
POS_API int GetPowerManagerService(android::sp<android::IPowerManager> &service);
POS_API int GetSystemManagerService(android::sp<android::ISystemManager> &service);
POS_API int GetPinpadManagerService(android::sp<android::IPinpadManager> &service);
POS_API int GetWifiManagerService(android::sp<android::IWifiManager> &service);
POS_API int GetSecurityManagerService(android::sp<android::ISecurityManager> &service);
POS_API int GetQd36nManagerService(android::sp<android::IQd36nManager> &service);
POS_API int GetSegLcdManagerService(android::sp<android::ISegLcdManager> &service);
POS_API int GetTtsManagerService(android::sp<android::ITtsManager> &service);

#endif
