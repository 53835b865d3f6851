// Interface and proxy of the PIN pad service ("KivoPinpadManagerService"): the terminal's key
// store and PIN entry device. It loads master, work and DUKPT keys, runs PIN entry, computes
// MACs, encrypts data and answers key check values, random numbers and its firmware version.
// Keys never live in this library: requests and answers are texts the service lays out, and
// this layer passes them through unchanged. Every text goes out as a String16.
//
// Text results point into a per-thread buffer that holds the last text reply of the calling
// thread; copy the text before the next text call on the same thread.
#ifndef POS_SDK_SERVICE_IPINPADMANAGER_H
#define POS_SDK_SERVICE_IPINPADMANAGER_H

#include "ServiceInterface.h"

namespace android {

class POS_API IPinpadManager : public IInterface {
    POS_DECLARE_SERVICE_INTERFACE(PinpadManager)

    // Transaction codes.
    enum : uint32_t {
        OPEN = 1,
        CLOSE = 2,
        START_INPUT = 3,
        PUSH_MASTER_KEY = 4,
        PUSH_WORK_KEY = 5,
        INIT = 6,
        GET_KEY_STATE = 7,
        DATA_DEAL = 8,
        MAC_CAL = 9,
        MAC_CAL_IN = 10,
        GET_RANDOM = 11,
        GET_SEC_VER = 12,
        ERASE_ALL_KEYS = 13,
        LOAD_KEY = 14,
        GET_KCV = 15,
        DUKPT_WRITE_KEY = 16,
        DUKPT_GET_PIN_BLOCK = 17,
        DUKPT_GET_MAC = 18,
        DUKPT_GET_DES = 19,
        DUKPT_GET_KSN = 20,
        DUKPT_INC_KSN = 21,
        GET_PIN_RESULT = 22,
        DUKPT_GET_PIN_RESULT = 23,
        CTRL_KEY_RESPONSE = 24,
    };

    virtual int PinpadOpen(const char *config) = 0;
    virtual int PinpadClose() = 0;
    virtual const char *PinpadStartInput(const char *request, int timeout) = 0;
    virtual const char *PinpadPushMasterKey(const char *request) = 0;
    virtual const char *PinpadPushWorkKey(const char *request) = 0;
    virtual int PinpadInit(const char *config) = 0;
    virtual const char *PinpadGetKeyState(int type, int index) = 0;
    virtual const char *PinpadDataDeal(const char *request) = 0;
    virtual const char *PinpadMacCal(const char *request) = 0;
    virtual const char *PinpadMacCalIn(const char *request) = 0;
    virtual const char *PinpadGetRandom(int length) = 0;
    virtual const char *PinpadGetSecVer() = 0;
    virtual int PinpadEraseAllKeys() = 0;
    virtual int PinpadLoadKey(const char *request) = 0;
    virtual const char *PinpadGetKCV(const char *request) = 0;
    virtual int PinpadDUKPTWriteKey(const char *request) = 0;
    virtual const char *PinpadDUKPTGetPinBlock(const char *request, int timeout) = 0;
    virtual const char *PinpadDUKPTGetMac(const char *request) = 0;
    virtual const char *PinpadDUKPTGetDes(const char *request) = 0;
    virtual const char *PinpadDUKPTGetKSN(int index) = 0;
    virtual int PinpadDUKPTIncKSN(int index) = 0;
    virtual const char *PinpadGetPinResult() = 0;
    virtual const char *PinpadDUKPTGetPinResult() = 0;
    virtual int PinpadCtrlKeyResponse(int action) = 0;
};

class POS_API BpPinpadManager : public BpInterface<IPinpadManager> {
  public:
    explicit BpPinpadManager(const sp<IBinder> &impl);

    int PinpadOpen(const char *config) override;
    int PinpadClose() override;
    const char *PinpadStartInput(const char *request, int timeout) override;
    const char *PinpadPushMasterKey(const char *request) override;
    const char *PinpadPushWorkKey(const char *request) override;
    int PinpadInit(const char *config) override;
    const char *PinpadGetKeyState(int type, int index) override;
    const char *PinpadDataDeal(const char *request) override;
    const char *PinpadMacCal(const char *request) override;
    const char *PinpadMacCalIn(const char *request) override;
    const char *PinpadGetRandom(int length) override;
    const char *PinpadGetSecVer() override;
    int PinpadEraseAllKeys() override;
    int PinpadLoadKey(const char *request) override;
    const char *PinpadGetKCV(const char *request) override;
    int PinpadDUKPTWriteKey(const char *request) override;
    const char *PinpadDUKPTGetPinBlock(const char *request, int timeout) override;
    const char *PinpadDUKPTGetMac(const char *request) override;
    const char *PinpadDUKPTGetDes(const char *request) override;
    const char *PinpadDUKPTGetKSN(int index) override;
    int PinpadDUKPTIncKSN(int index) override;
    const char *PinpadGetPinResult() override;
    const char *PinpadDUKPTGetPinResult() override;
    int PinpadCtrlKeyResponse(int action) override;
};

}  // namespace android

#endif
