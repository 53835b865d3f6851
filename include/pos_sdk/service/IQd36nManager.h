// Interface and proxy of the model's companion microcontroller service ("KivoQd36nService"):
// its LEDs, date and time, secure-element reset and USB switch.
#ifndef POS_SDK_SERVICE_IQD36NMANAGER_H
#define POS_SDK_SERVICE_IQD36NMANAGER_H

#include "ServiceInterface.h"

namespace android {

class POS_API IQd36nManager : public IInterface {
    POS_DECLARE_SERVICE_INTERFACE(Qd36nManager)

    // Transaction codes.
    enum : uint32_t {
        CTRL_EX = 1,
        LED_RED = 2,
        LED_GREEN = 3,
        LED_BLUE = 4,
        SET_DATETIME = 5,
        RESET_SE = 6,
        SET_USB_SW = 7,
        GET_USB_SW = 8,
    };

    virtual int CtrlEx(int which, int value) = 0;
    virtual int LedRed(int state) = 0;
    virtual int LedGreen(int state) = 0;
    virtual int LedBlue(int state) = 0;
    virtual int SetDatetime(char *text) = 0;
    virtual int ResetSE() = 0;
    virtual int SetUsbSw(int position) = 0;
    virtual int GetUsbSw(int *position) = 0;
};

class POS_API BpQd36nManager : public BpInterface<IQd36nManager> {
  public:
    explicit BpQd36nManager(const sp<IBinder> &impl);

    int CtrlEx(int which, int value) override;
    int LedRed(int state) override;
    int LedGreen(int state) override;
    int LedBlue(int state) override;
    int SetDatetime(char *text) override;
    int ResetSE() override;
    int SetUsbSw(int position) override;
    int GetUsbSw(int *position) override;
};

}  // namespace android

#endif
