#include "HubOps.h"

const std::vector<HubOp> &powerHubOps() {
    static const char *const kName = "KivoPowerService";
    static const char *const kToken = "com.torva.binder.IPowerManager";
    static int a, b, c;
    using H = BpTransferHub;
    using R = HubResult;
    const HubReturns status = HubReturns::Status, mapped = HubReturns::Mapped;
    static const std::vector<HubOp> ops = {
        {"IPowerSysGetBatCap", kName, kToken, 3, mapped,
         [](H &h) { return R{h.IPowerSysGetBatCap()}; }, Bytes()},
        {"IPowerSysGetBatVol", kName, kToken, 4, mapped,
         [](H &h) { return R{h.IPowerSysGetBatVol()}; }, Bytes()},
        {"IPowerSysChgState", kName, kToken, 5, mapped,
         [](H &h) { return R{h.IPowerSysChgState()}; }, Bytes()},
        {"IPowerSysGetBatInfo", kName, kToken, 5, mapped,
         [](H &h) { return R{h.IPowerSysGetBatInfo(&a, &b, &c)}; }, Bytes()},
        {"IPowerSysGetLCDBKL", kName, kToken, 1, mapped,
         [](H &h) { return R{h.IPowerSysGetLCDBKL()}; }, Bytes()},
        {"IPowerSysSetLCDBKL", kName, kToken, 2, status,
         [](H &h) { return R{h.IPowerSysSetLCDBKL(50)}; }, Bytes().i32(50)},
        {"IPowerSysSetSleepTime", kName, kToken, 7, status,
         [](H &h) { return R{h.IPowerSysSetSleepTime(61)}; }, Bytes().i32(61)},
        {"IPowerSysGetSleepTime", kName, kToken, 8, status,
         [](H &h) { return R{h.IPowerSysGetSleepTime(&a)}; }, Bytes()},
        {"IPowerSysAllowEnterSleep", kName, kToken, 9, status,
         [](H &h) { return R{h.IPowerSysAllowEnterSleep(1)}; }, Bytes().i32(1)},
        {"IPowerSysGetAllowEnterSleep", kName, kToken, 10, status,
         [](H &h) { return R{h.IPowerSysGetAllowEnterSleep(&a)}; }, Bytes()},
        {"IPowerSysSetDeepSleepTime", kName, kToken, 11, status,
         [](H &h) { return R{h.IPowerSysSetDeepSleepTime(33)}; }, Bytes().i32(33)},
        {"IPowerSysGetDeepSleepTime", kName, kToken, 12, status,
         [](H &h) { return R{h.IPowerSysGetDeepSleepTime(&a)}; }, Bytes()},
        {"IPowerSysSetSleepShutdownTime", kName, kToken, 13, status,
         [](H &h) { return R{h.IPowerSysSetSleepShutdownTime(2)}; }, Bytes().i32(2)},
        {"IPowerSysGetSleepShutdownTime", kName, kToken, 14, status,
         [](H &h) { return R{h.IPowerSysGetSleepShutdownTime(&a)}; }, Bytes()},
    };
    return ops;
}
