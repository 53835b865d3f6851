#include "HubOps.h"

const std::vector<HubOp> &thermalHubOps() {
    static const char *const kName = "KivoThermalPrinterService";
    static const char *const kToken = "com.kivo.device.manager.IThermalPrinterManager";
    using H = BpTransferHub;
    using R = HubResult;
    const HubReturns status = HubReturns::Status;
    static const std::vector<HubOp> ops = {
        {"IThermalOpen", kName, kToken, 1, status, [](H &h) { return R{h.IThermalOpen(1)}; },
         Bytes().i32(1)},
        {"IThermalClose", kName, kToken, 2, status, [](H &h) { return R{h.IThermalClose()}; },
         Bytes()},
        {"IThermalPrintBmp", kName, kToken, 3, status,
         [](H &h) { return R{h.IThermalPrintBmp("F0", 8, 8, 1, 1, 4)}; },
         Bytes().s16(u"F0").i32(8).i32(8).i32(1).i32(1).i32(4)},
        {"IThermalFeedPaper", kName, kToken, 4, status,
         [](H &h) { return R{h.IThermalFeedPaper(24, 1)}; }, Bytes().i32(24).i32(1)},
        {"IThermalFindBlackLabel", kName, kToken, 5, status,
         [](H &h) { return R{h.IThermalFindBlackLabel(400)}; }, Bytes().i32(400)},
        {"IThermalSetDensity", kName, kToken, 6, status,
         [](H &h) { return R{h.IThermalSetDensity(5, 2)}; }, Bytes().i32(5).i32(2)},
        {"IThermalStatus", kName, kToken, 7, status, [](H &h) { return R{h.IThermalStatus(0)}; },
         Bytes().i32(0)},
    };
    return ops;
}
