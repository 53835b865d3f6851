// The hub's power service operations.
#include "HubForward.h"

using android::IPowerManager;
using android::sp;

namespace {

// The argument-less getters answer the value itself, so a refusal can only read as -1.
int valueOrRefusal(sp<IPowerManager> &power, int (IPowerManager::*getter)(int *)) {
    int bound = pos::bind(power);
    if (bound != 0) return bound;
    int value = 0;
    return (power.get()->*getter)(&value) != 0 ? -1 : value;
}

}  // namespace

int BpTransferHub::IPowerSysGetBatCap() {
    return valueOrRefusal(mPower, &IPowerManager::SysGetBatCap);
}

int BpTransferHub::IPowerSysGetBatVol() {
    return valueOrRefusal(mPower, &IPowerManager::SysGetBatVol);
}

int BpTransferHub::IPowerSysChgState() {
    return valueOrRefusal(mPower, &IPowerManager::SysGetChgStat);
}

int BpTransferHub::IPowerSysGetBatInfo(int *first, int *second, int *third) {
    // Callers test for 0: the service's own refusal codes are folded into -1.
    int bound = pos::bind(mPower);
    if (bound != 0) return bound;
    return mPower->SysGetBatteryInfo(first, second, third) != 0 ? -1 : 0;
}

int BpTransferHub::IPowerSysGetLCDBKL() {
    return valueOrRefusal(mPower, &IPowerManager::SysGetLCDBrightness);
}

int BpTransferHub::IPowerSysSetLCDBKL(int level) {
    return pos::forward(mPower, &IPowerManager::SysSetLCDBrightness, level);
}

int BpTransferHub::IPowerSysSetSleepTime(int seconds) {
    return pos::forward(mPower, &IPowerManager::SysSetSleepTime, seconds);
}

int BpTransferHub::IPowerSysGetSleepTime(int *seconds) {
    return pos::forward(mPower, &IPowerManager::SysGetSleepTime, seconds);
}

int BpTransferHub::IPowerSysAllowEnterSleep(int allow) {
    return pos::forward(mPower, &IPowerManager::SysAllowEnterSleep, allow);
}

int BpTransferHub::IPowerSysGetAllowEnterSleep(int *allow) {
    return pos::forward(mPower, &IPowerManager::SysGetAllowEnterSleep, allow);
}

int BpTransferHub::IPowerSysSetDeepSleepTime(int seconds) {
    return pos::forward(mPower, &IPowerManager::SysSetDeepSleepTime, seconds);
}

int BpTransferHub::IPowerSysGetDeepSleepTime(int *seconds) {
    return pos::forward(mPower, &IPowerManager::SysGetDeepSleepTime, seconds);
}

int BpTransferHub::IPowerSysSetSleepShutdownTime(int value) {
    return pos::forward(mPower, &IPowerManager::SysSetSleepShutdownTime, value);
}

int BpTransferHub::IPowerSysGetSleepShutdownTime(int *value) {
    return pos::forward(mPower, &IPowerManager::SysGetSleepShutdownTime, value);
}
