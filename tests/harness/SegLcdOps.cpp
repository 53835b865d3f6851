#include "HubOps.h"

const std::vector<HubOp> &segLcdHubOps() {
    static const char *const kName = "KivoSegLcdService";
    static const char *const kToken = "com.torva.binder.ISegLcdManager";
    static char version[260];
    using H = BpTransferHub;
    using R = HubResult;
    const HubReturns status = HubReturns::Status;
    static const std::vector<HubOp> ops = {
        {"ISegLcdSetBacklight", kName, kToken, 1, status,
         [](H &h) { return R{h.ISegLcdSetBacklight(1, 60)}; }, Bytes().i32(1).i32(60)},
        {"ISegLcdCloseLcd", kName, kToken, 2, status, [](H &h) { return R{h.ISegLcdCloseLcd()}; },
         Bytes()},
        {"ISegLcdPing", kName, kToken, 3, status, [](H &h) { return R{h.ISegLcdPing()}; }, Bytes()},
        {"ISegLcdGetVersion", kName, kToken, 4, status,
         [](H &h) { return R{h.ISegLcdGetVersion(version)}; }, Bytes()},
        {"ISegLcdShow", kName, kToken, 5, status,
         [](H &h) { return R{h.ISegLcdShow(0, 2, "88.00", 1)}; },
         Bytes().i32(0).i32(2).cstr("88.00").i32(1)},
        {"ISegLcdShow(font)", kName, kToken, 6, status,
         [](H &h) { return R{h.ISegLcdShow(1, 0, 2, "PAID", 0)}; },
         Bytes().i32(1).i32(0).i32(2).cstr("PAID").i32(0)},
        {"ISegLcdReconnect", kName, kToken, 7, status, [](H &h) { return R{h.ISegLcdReconnect()}; },
         Bytes()},
        {"ISegLcdReset", kName, kToken, 8, status, [](H &h) { return R{h.ISegLcdReset()}; },
         Bytes()},
    };
    return ops;
}
