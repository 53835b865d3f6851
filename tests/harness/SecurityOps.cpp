#include "HubOps.h"

const std::vector<HubOp> &securityHubOps() {
    static const char *const kName = "KivoSecurityManagerService";
    static const char *const kToken = "com.kivo.manager.ISecurityManager";
    static int a;
    static char text[] = "A1B2";
    using H = BpTransferHub;
    using R = HubResult;
    const HubReturns status = HubReturns::Status, textual = HubReturns::Text;
    static const std::vector<HubOp> ops = {
        {"ISecurityGetRandom", kName, kToken, 1, textual,
         [](H &h) {
             return R{0, h.ISecurityGetRandom(8)};
         },
         Bytes().i32(8)},
        {"ISecurityGetAntiTamperState", kName, kToken, 2, status,
         [](H &h) { return R{h.ISecurityGetAntiTamperState(&a)}; }, Bytes()},
        {"ISecurityClearAntiTamperState", kName, kToken, 3, status,
         [](H &h) { return R{h.ISecurityClearAntiTamperState(1, text, 4)}; },
         Bytes().i32(1).i32(4).s16(u"A1B2")},
        {"ISecurityClearSerialNumber", kName, kToken, 4, status,
         [](H &h) { return R{h.ISecurityClearSerialNumber(2, text, 4)}; },
         Bytes().i32(2).i32(4).s16(u"A1B2")},
        {"ISecuritySetParam", kName, kToken, 5, status,
         [](H &h) { return R{h.ISecuritySetParam(3, text)}; }, Bytes().i32(3).s16(u"A1B2")},
        {"ISecurityGetParam", kName, kToken, 6, textual,
         [](H &h) {
             return R{0, h.ISecurityGetParam(3)};
         },
         Bytes().i32(3)},
        {"ISecurityGetEncCID", kName, kToken, 7, textual,
         [](H &h) {
             return R{0, h.ISecurityGetEncCID()};
         },
         Bytes()},
        {"ISecurityGetOSEncCID", kName, kToken, 8, textual,
         [](H &h) {
             return R{0, h.ISecurityGetOSEncCID()};
         },
         Bytes()},
        {"ISecurityClearOSPubKey", kName, kToken, 9, status,
         [](H &h) { return R{h.ISecurityClearOSPubKey()}; }, Bytes()},
    };
    return ops;
}
