#include "HubOps.h"

const std::vector<HubOp> &cloudHubOps() {
    static const char *const kName = "cloudservice";
    static const char *const kToken = "com.cloud.test.ICloudManager";
    using H = BpTransferHub;
    using R = HubResult;
    const HubReturns status = HubReturns::Status, nothing = HubReturns::Nothing;
    static const std::vector<HubOp> ops = {
        {"ICloudTest", kName, kToken, 1, nothing, [](H &h) { return R{h.ICloudTest()}; }, Bytes()},
        {"ICloudPrint", kName, kToken, 2, nothing, [](H &h) { return R{h.ICloudPrint("note")}; },
         Bytes().s16(u"note")},
        {"ICloudAdd", kName, kToken, 3, status, [](H &h) { return R{h.ICloudAdd(2, 3)}; },
         Bytes().i32(2).i32(3)},
        {"ICloudMultiply", kName, kToken, 4, status,
         [](H &h) { return R{h.ICloudMultiply(-4, 5)}; }, Bytes().i32(-4).i32(5)},
    };
    return ops;
}
