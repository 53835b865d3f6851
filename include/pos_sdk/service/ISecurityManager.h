// Interface and proxy of the security processor service ("KivoSecurityManagerService"):
// random numbers, the anti-tamper state and its clearing, security parameters and the
// encrypted chip identifiers.
//
// Text results point into a per-thread buffer that holds the last text reply of the calling
// thread; copy the text before the next text call on the same thread.
#ifndef POS_SDK_SERVICE_ISECURITYMANAGER_H
#define POS_SDK_SERVICE_ISECURITYMANAGER_H

#include "ServiceInterface.h"

namespace android {

class POS_API ISecurityManager : public IInterface {
    POS_DECLARE_SERVICE_INTERFACE(SecurityManager)

    // Transaction codes.
    enum : uint32_t {
        GET_RANDOM = 1,
        GET_ANTI_TAMPER_STATE = 2,
        CLEAR_ANTI_TAMPER_STATE = 3,
        CLEAR_SERIAL_NUMBER = 4,
        SET_PARAM = 5,
        GET_PARAM = 6,
        GET_ENC_CID = 7,
        GET_OS_ENC_CID = 8,
        CLEAR_OS_PUB_KEY = 9,
    };

    virtual const char *SecurityGetRandom(int length) = 0;
    virtual int SecurityGetAntiTamperState(int *state) = 0;
    // -2 without a transaction for a null TEXT or a LENGTH not above 0.
    virtual int SecurityClearAntiTamperState(int mode, char *text, int length) = 0;
    virtual int SecurityClearSerialNumber(int mode, char *text, int length) = 0;
    virtual int SecuritySetParam(int selector, char *value) = 0;
    virtual const char *SecurityGetParam(int selector) = 0;
    virtual const char *SecurityGetEncCID() = 0;
    virtual const char *SecurityGetOSEncCID() = 0;
    virtual int SecurityClearOSPubKey() = 0;
};

class POS_API BpSecurityManager : public BpInterface<ISecurityManager> {
  public:
    explicit BpSecurityManager(const sp<IBinder> &impl);

    const char *SecurityGetRandom(int length) override;
    int SecurityGetAntiTamperState(int *state) override;
    int SecurityClearAntiTamperState(int mode, char *text, int length) override;
    int SecurityClearSerialNumber(int mode, char *text, int length) override;
    int SecuritySetParam(int selector, char *value) override;
    const char *SecurityGetParam(int selector) override;
    const char *SecurityGetEncCID() override;
    const char *SecurityGetOSEncCID() override;
    int SecurityClearOSPubKey() override;
};

}  // namespace android

#endif
