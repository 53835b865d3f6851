// Interface and proxy of the power service ("KivoPowerService"): screen brightness, battery
// readings and the sleep timers.
#ifndef POS_SDK_SERVICE_IPOWERMANAGER_H
#define POS_SDK_SERVICE_IPOWERMANAGER_H

#include "ServiceInterface.h"

namespace android {

class POS_API IPowerManager : public IInterface {
    POS_DECLARE_SERVICE_INTERFACE(PowerManager)

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
