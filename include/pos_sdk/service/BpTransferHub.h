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
    // test and print have no result: 0 once the call is made.
    int ICloudTest();
    int ICloudPrint(const char *text);
    int ICloudAdd(int a, int b);
    int ICloudMultiply(int a, int b);

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
    int INetGetDevIMEI(char *imei);
    int INetGetDevIMSI(char *imsi);
    int INetGetDevICCID(char *iccid);
    int INetGetSignalStrength(int *signal);
    int INetGetDevBasebanVersion(char *version);
    int INetGetSimStatus(int *state);
    int INetGetSimOperator(char *operatorName);
    int INetGetDevBaseStation(android::xstation_info_t *station);
    int INetGetWirelesslinkStatus(int *status);
    int ISendCustATCmd(char *command, char *response);
    int IGetCurDNSAddr(char *address);
    int IGetDNSAddr(char *address, int which);
    int ISetDNSAddr(char *address, int which);
    int IGetPreferredNetworkType(int *type);
    int ISetPreferredNetworkType(int type);
    int IGetEsmFailTimes(int *count);
    int ISetEsmFailTimes(int count);
    int INetWirelessConnect(char *kind, char *apn, char *user, char *password, char *auth,
                            char *pdpType);
    int INetWirelessDisconnect(char *first, char *second);
    int INetGetNetworkIP(char *interfaceName, char *address);
    int INetWifiGoToSleep();
    int INetWifiWakeUp();
    int ISetRadioPower(int on);
    int IWirelessGetModuleREG(int *state, char *first, char *second);
    int ICallDIAL(char *number, int mode);
    int ICallHandUpAll();
    int ICallGetCurCall(int *first, int *second, int *third, char *number);
    int IWirelessEnable(int on);
    int ISetAirPlaneMode(int mode);
    int ISetNetAutoConnect(int bits);
    int ISaveApnConfig(char *kind, char *apn, char *user, char *password, char *auth,
                       char *pdpType);
    int ILoadApnConfig(char *kind, char *apn, char *user, char *password, char *auth,
                       char *pdpType);
    int IGetQNetworkInfo(char *first, char *second, char *third, int *value);

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
    int IPinpadOpen(const char *config);
    int IPinpadClose();
    const char *IPinpadStartInput(const char *request, int timeout);
    const char *IPinpadPushMasterKey(const char *request);
    const char *IPinpadPushWorkKey(const char *request);
    int IPinpadInit(const char *config);
    const char *IPinpadGetKeyState(int type, int index);
    const char *IPinpadDataDeal(const char *request);
    const char *IPinpadMacCal(const char *request);
    const char *IPinpadMacCalIn(const char *request);
    int IPinpadEraseAllKeys();
    int IPinpadLoadKey(const char *request);
    int IPinpadDUKPTWriteKey(const char *request);
    int IPinpadDUKPTIncKSN(int index);
    const char *IPinpadGetRandom(int length);
    const char *IPinpadGetSecVer();
    const char *IPinpadGetKCV(const char *request);
    const char *IPinpadDUKPTGetPinBlock(const char *request, int timeout);
    const char *IPinpadDUKPTGetMac(const char *request);
    const char *IPinpadDUKPTGetDes(const char *request);
    const char *IPinpadDUKPTGetKSN(int index);
    const char *IPinpadGetPinResult();
    const char *IPinpadDUKPTGetPinResult();
    int IPinpadCtrlKeyResponse(int action);

    // ---- Wifi ----

    // ---- Security ----

    // ---- Qd36n (model MCU) ----
    int IQd36nSetDateTime(char *text);
    int IQd36nLedCtrl(int which, int value);  // the service's CtrlEx
    int IQd36nLedRed(int state);
    int IQd36nLedGreen(int state);
    int IQd36nLedBlue(int state);
    int IQd36nResetSE();
    int IQd36nSetUsbSw(int position);
    int IQd36nGetUsbSw(int *position);

    // ---- SegLcd ----
    int ISegLcdSetBacklight(int mode, int level);
    int ISegLcdCloseLcd();
    int ISegLcdPing();
    int ISegLcdGetVersion(char *version);
    int ISegLcdShow(int line, int column, const char *text, int flags);
    int ISegLcdShow(int line, int column, int font, const char *text, int flags);
    int ISegLcdReconnect();
    int ISegLcdReset();

    // ---- Tts ----
    // The text comes first and its length second (the service takes them the other way).
    int ITtsTextToSpeech(const char *text, int length, int encoding, int speed, int pitch,
                         int volume, int flag);
    int ITtsTextToPcm(const char *text, int length, int encoding, int speed, int pitch, int volume,
                      char *result);
    int ITtsTextToWav(const char *text, int length, int encoding, int speed, int pitch, int volume,
                      char *result);
    int ITtsStopSpeech(int which);
    int ITtsIsBusy();

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
