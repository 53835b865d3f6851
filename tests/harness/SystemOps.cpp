#include "HubOps.h"

const std::vector<HubOp> &systemHubOps() {
    static const char *const kName = "KivoSystemManagerService";
    static const char *const kToken = "com.kivo.manager.ISystemManager";
    static int a;
    static char text[] = "SN-1";
    using H = BpTransferHub;
    using R = HubResult;
    const HubReturns status = HubReturns::Status, textual = HubReturns::Text;
    static const std::vector<HubOp> ops = {
        {"ISystemGetMCURTCTime", kName, kToken, 1, textual,
         [](H &h) {
             return R{0, h.ISystemGetMCURTCTime()};
         },
         Bytes().i32(2)},
        {"ISystemSetMCURTCTime", kName, kToken, 2, status,
         [](H &h) { return R{h.ISystemSetMCURTCTime(2026, 11, 22, 10, 30, 5)}; },
         Bytes().i32(2026).i32(11).i32(22).i32(10).i32(30).i32(5).i32(2)},
        {"ISystemCtrlBeeper", kName, kToken, 5, status,
         [](H &h) { return R{h.ISystemCtrlBeeper(2000, 150)}; }, Bytes().i32(2000).i32(150)},
        {"ISystemCtrlKeytone", kName, kToken, 6, status,
         [](H &h) { return R{h.ISystemCtrlKeytone(1)}; }, Bytes().i32(1)},
        {"ISystemGetDevInfo", kName, kToken, 7, textual,
         [](H &h) {
             return R{0, h.ISystemGetDevInfo(3)};
         },
         Bytes().i32(3)},
        {"ISystemSetDevInfo", kName, kToken, 8, status,
         [](H &h) { return R{h.ISystemSetDevInfo(1, text)}; }, Bytes().i32(1).s16(u"SN-1")},
        {"ISystemGetDebugModeRandom", kName, kToken, 9, textual,
         [](H &h) {
             return R{0, h.ISystemGetDebugModeRandom(&a)};
         },
         Bytes()},
        {"ISystemSetDebugMode", kName, kToken, 10, status,
         [](H &h) { return R{h.ISystemSetDebugMode(text, 1)}; }, Bytes().s16(u"SN-1").i32(1)},
        {"ISystemGetWakeSource", kName, kToken, 11, status,
         [](H &h) { return R{h.ISystemGetWakeSource(&a)}; }, Bytes()},
        {"ISystemCtrlLED", kName, kToken, 12, status,
         [](H &h) { return R{h.ISystemCtrlLED(1, 2, 3, 4, 5, 6)}; },
         Bytes().i32(1).i32(2).i32(3).i32(4).i32(5).i32(6)},
        {"ISystemMCURFIDTest", kName, kToken, 13, status,
         [](H &h) { return R{h.ISystemMCURFIDTest()}; }, Bytes()},
        {"ISystemSyncBATState", kName, kToken, 14, status,
         [](H &h) { return R{h.ISystemSyncBATState(3)}; }, Bytes().i32(3)},
        {"ISystemSetLPLEDFreq", kName, kToken, 15, status,
         [](H &h) { return R{h.ISystemSetLPLEDFreq(4)}; }, Bytes().i32(4)},
        {"ISystemGetLPLEDFreq", kName, kToken, 16, status,
         [](H &h) { return R{h.ISystemGetLPLEDFreq(&a)}; }, Bytes()},
    };
    return ops;
}
