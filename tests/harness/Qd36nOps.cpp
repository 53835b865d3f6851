#include "HubOps.h"

const std::vector<HubOp> &qd36nHubOps() {
    static const char *const kName = "KivoQd36nService";
    static const char *const kToken = "com.torva.binder.IQd36nManager";
    static int a;
    static char datetime[] = "202601020304.05";
    using H = BpTransferHub;
    using R = HubResult;
    const HubReturns status = HubReturns::Status;
    static const std::vector<HubOp> ops = {
        {"IQd36nSetDateTime", kName, kToken, 5, status,
         [](H &h) { return R{h.IQd36nSetDateTime(datetime)}; }, Bytes().cstr("202601020304.05")},
        // The hub's LED control is the service's CtrlEx.
        {"IQd36nLedCtrl", kName, kToken, 1, status, [](H &h) { return R{h.IQd36nLedCtrl(3, 1)}; },
         Bytes().i32(3).i32(1)},
        {"IQd36nLedRed", kName, kToken, 2, status, [](H &h) { return R{h.IQd36nLedRed(1)}; },
         Bytes().i32(1)},
        {"IQd36nLedGreen", kName, kToken, 3, status, [](H &h) { return R{h.IQd36nLedGreen(2)}; },
         Bytes().i32(2)},
        {"IQd36nLedBlue", kName, kToken, 4, status, [](H &h) { return R{h.IQd36nLedBlue(0)}; },
         Bytes().i32(0)},
        {"IQd36nResetSE", kName, kToken, 6, status, [](H &h) { return R{h.IQd36nResetSE()}; },
         Bytes()},
        {"IQd36nSetUsbSw", kName, kToken, 7, status, [](H &h) { return R{h.IQd36nSetUsbSw(1)}; },
         Bytes().i32(1)},
        {"IQd36nGetUsbSw", kName, kToken, 8, status, [](H &h) { return R{h.IQd36nGetUsbSw(&a)}; },
         Bytes()},
    };
    return ops;
}
