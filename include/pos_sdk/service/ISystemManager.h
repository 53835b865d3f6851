// Interface and proxy of the system service ("KivoSystemManagerService"): the terminal's
// microcontroller clock, sleep and wake, beeper, key tone, LEDs and device information.
//
// Text results point into a per-thread buffer that holds the last text reply of the calling
// thread; copy the text before the next text call on the same thread.
#ifndef POS_SDK_SERVICE_ISYSTEMMANAGER_H
#define POS_SDK_SERVICE_ISYSTEMMANAGER_H

#include "ServiceInterface.h"

namespace android {

class POS_API ISystemManager : public IInterface {
    POS_DECLARE_SERVICE_INTERFACE(SystemManager)

    // Transaction codes.
    enum : uint32_t {
        GET_MCU_RTC_TIME = 1,
        SET_MCU_RTC_TIME = 2,
        SET_MCU_SLEEP = 3,
        SET_MCU_WAKE_UP = 4,
        CTRL_BEEPER = 5,
        CTRL_KEYTONE = 6,
        GET_DEV_INFO = 7,
        SET_DEV_INFO = 8,
        GET_DEBUG_MODE_RANDOM = 9,
        SET_DEBUG_MODE = 10,
        GET_WAKE_SOURCE = 11,
        CTRL_LED = 12,
        MCU_RFID_TEST = 13,
        SYNC_BAT_STATE = 14,
        SET_LP_LED_FREQ = 15,
        GET_LP_LED_FREQ = 16,
    };

    virtual const char *SystemGetMCURTCTime(int format) = 0;
    virtual int SystemSetMCURTCTime(int year, int month, int day, int hour, int minute, int second,
                                    int format) = 0;
    virtual int SystemSetMCUSleep() = 0;
    virtual int SystemSetMCUWakeUp() = 0;
    virtual int SystemCtrlBeeper(int frequency, int duration) = 0;
    virtual int SystemCtrlKeytone(int on) = 0;
    virtual const char *SystemGetDevInfo(int record) = 0;
    virtual int SystemSetDevInfo(int record, char *text) = 0;
    virtual const char *SystemGetDebugModeRandom(int *value) = 0;
    virtual int SystemSetDebugMode(char *text, int mode) = 0;
    virtual int SystemGetWakeSource(int *source) = 0;
    virtual int SystemCtrlLED(int a, int b, int c, int d, int e, int f) = 0;
    virtual int SystemMCURFIDTest() = 0;
    virtual int SystemSyncBATState(int state) = 0;
    virtual int SystemSetLPLEDFreq(int frequency) = 0;
    virtual int SystemGetLPLEDFreq(int *frequency) = 0;
};

class POS_API BpSystemManager : public BpInterface<ISystemManager> {
  public:
    explicit BpSystemManager(const sp<IBinder> &impl);

    const char *SystemGetMCURTCTime(int format) override;
    int SystemSetMCURTCTime(int year, int month, int day, int hour, int minute, int second,
                            int format) override;
    int SystemSetMCUSleep() override;
    int SystemSetMCUWakeUp() override;
    int SystemCtrlBeeper(int frequency, int duration) override;
    int SystemCtrlKeytone(int on) override;
    const char *SystemGetDevInfo(int record) override;
    int SystemSetDevInfo(int record, char *text) override;
    const char *SystemGetDebugModeRandom(int *value) override;
    int SystemSetDebugMode(char *text, int mode) override;
    int SystemGetWakeSource(int *source) override;
    int SystemCtrlLED(int a, int b, int c, int d, int e, int f) override;
    int SystemMCURFIDTest() override;
    int SystemSyncBATState(int state) override;
    int SystemSetLPLEDFreq(int frequency) override;
    int SystemGetLPLEDFreq(int *frequency) override;
};

}  // namespace android

#endif
