// Interface and proxy of the power service ("KivoPowerService"): screen brightness, battery
// readings and the sleep timers.
#ifndef POS_SDK_SERVICE_IPOWERMANAGER_H
#define POS_SDK_SERVICE_IPOWERMANAGER_H

#include "ServiceInterface.h"

namespace android {

class POS_API IPowerManager : public IInterface {
    POS_DECLARE_SERVICE_INTERFACE(PowerManager)

    // Transaction codes.
    enum : uint32_t {
        GET_LCD_BRIGHTNESS = 1,
        SET_LCD_BRIGHTNESS = 2,
        GET_BAT_CAP = 3,
        GET_BAT_VOL = 4,
        GET_CHG_STAT = 5,
        // The battery information goes out with the charge-state code and no call sends 6: the
        // service answers 5 with the charge state, capacity and voltage. Kept for the wire.
        GET_BATTERY_INFO = 5,
        SET_SLEEP_TIME = 7,
        GET_SLEEP_TIME = 8,
        ALLOW_ENTER_SLEEP = 9,
        GET_ALLOW_ENTER_SLEEP = 10,
        SET_DEEP_SLEEP_TIME = 11,
        GET_DEEP_SLEEP_TIME = 12,
        SET_SLEEP_SHUTDOWN_TIME = 13,
        GET_SLEEP_SHUTDOWN_TIME = 14,
    };

    virtual int SysGetLCDBrightness(int *level) = 0;
    virtual int SysSetLCDBrightness(int level) = 0;
    virtual int SysGetBatCap(int *capacity) = 0;
    virtual int SysGetBatVol(int *voltage) = 0;
    virtual int SysGetChgStat(int *state) = 0;
    virtual int SysGetBatteryInfo(int *first, int *second, int *third) = 0;
    virtual int SysSetSleepTime(int seconds) = 0;
    virtual int SysGetSleepTime(int *seconds) = 0;
    virtual int SysAllowEnterSleep(int allow) = 0;
    virtual int SysGetAllowEnterSleep(int *allow) = 0;
    virtual int SysSetDeepSleepTime(int seconds) = 0;
    virtual int SysGetDeepSleepTime(int *seconds) = 0;
    virtual int SysSetSleepShutdownTime(int value) = 0;
    virtual int SysGetSleepShutdownTime(int *value) = 0;
};

class POS_API BpPowerManager : public BpInterface<IPowerManager> {
  public:
    explicit BpPowerManager(const sp<IBinder> &impl);

    int SysGetLCDBrightness(int *level) override;
    int SysSetLCDBrightness(int level) override;
    int SysGetBatCap(int *capacity) override;
    int SysGetBatVol(int *voltage) override;
    int SysGetChgStat(int *state) override;
    int SysGetBatteryInfo(int *first, int *second, int *third) override;
    int SysSetSleepTime(int seconds) override;
    int SysGetSleepTime(int *seconds) override;
    int SysAllowEnterSleep(int allow) override;
    int SysGetAllowEnterSleep(int *allow) override;
    int SysSetDeepSleepTime(int seconds) override;
    int SysGetDeepSleepTime(int *seconds) override;
    int SysSetSleepShutdownTime(int value) override;
    int SysGetSleepShutdownTime(int *value) override;
};

}  // namespace android

#endif
