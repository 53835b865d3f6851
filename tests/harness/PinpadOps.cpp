#include "HubOps.h"

const std::vector<HubOp> &pinpadHubOps() {
    static const char *const kName = "KivoPinpadManagerService";
    static const char *const kToken = "com.kivo.device.manager.IPinpadManager";
    static const char text[] = "1|K";
    using H = BpTransferHub;
    using R = HubResult;
    const HubReturns status = HubReturns::Status, textual = HubReturns::Text;
    static const std::vector<HubOp> ops = {
        {"IPinpadOpen", kName, kToken, 1, status, [](H &h) { return R{h.IPinpadOpen(text)}; },
         Bytes().s16(u"1|K")},
        {"IPinpadClose", kName, kToken, 2, status, [](H &h) { return R{h.IPinpadClose()}; },
         Bytes()},
        {"IPinpadStartInput", kName, kToken, 3, textual,
         [](H &h) {
             return R{0, h.IPinpadStartInput(text, 30)};
         },
         Bytes().s16(u"1|K").i32(30)},
        {"IPinpadPushMasterKey", kName, kToken, 4, textual,
         [](H &h) {
             return R{0, h.IPinpadPushMasterKey(text)};
         },
         Bytes().s16(u"1|K")},
        {"IPinpadPushWorkKey", kName, kToken, 5, textual,
         [](H &h) {
             return R{0, h.IPinpadPushWorkKey(text)};
         },
         Bytes().s16(u"1|K")},
        {"IPinpadInit", kName, kToken, 6, status, [](H &h) { return R{h.IPinpadInit(text)}; },
         Bytes().s16(u"1|K")},
        {"IPinpadGetKeyState", kName, kToken, 7, textual,
         [](H &h) {
             return R{0, h.IPinpadGetKeyState(1, 2)};
         },
         Bytes().i32(1).i32(2)},
        {"IPinpadDataDeal", kName, kToken, 8, textual,
         [](H &h) {
             return R{0, h.IPinpadDataDeal(text)};
         },
         Bytes().s16(u"1|K")},
        {"IPinpadMacCal", kName, kToken, 9, textual,
         [](H &h) {
             return R{0, h.IPinpadMacCal(text)};
         },
         Bytes().s16(u"1|K")},
        {"IPinpadMacCalIn", kName, kToken, 10, textual,
         [](H &h) {
             return R{0, h.IPinpadMacCalIn(text)};
         },
         Bytes().s16(u"1|K")},
        {"IPinpadGetRandom", kName, kToken, 11, textual,
         [](H &h) {
             return R{0, h.IPinpadGetRandom(8)};
         },
         Bytes().i32(8)},
        {"IPinpadGetSecVer", kName, kToken, 12, textual,
         [](H &h) {
             return R{0, h.IPinpadGetSecVer()};
         },
         Bytes()},
        {"IPinpadEraseAllKeys", kName, kToken, 13, status,
         [](H &h) { return R{h.IPinpadEraseAllKeys()}; }, Bytes()},
        {"IPinpadLoadKey", kName, kToken, 14, status,
         [](H &h) { return R{h.IPinpadLoadKey(text)}; }, Bytes().s16(u"1|K")},
        {"IPinpadGetKCV", kName, kToken, 15, textual,
         [](H &h) {
             return R{0, h.IPinpadGetKCV(text)};
         },
         Bytes().s16(u"1|K")},
        {"IPinpadDUKPTWriteKey", kName, kToken, 16, status,
         [](H &h) { return R{h.IPinpadDUKPTWriteKey(text)}; }, Bytes().s16(u"1|K")},
        {"IPinpadDUKPTGetPinBlock", kName, kToken, 17, textual,
         [](H &h) {
             return R{0, h.IPinpadDUKPTGetPinBlock(text, 20)};
         },
         Bytes().s16(u"1|K").i32(20)},
        {"IPinpadDUKPTGetMac", kName, kToken, 18, textual,
         [](H &h) {
             return R{0, h.IPinpadDUKPTGetMac(text)};
         },
         Bytes().s16(u"1|K")},
        {"IPinpadDUKPTGetDes", kName, kToken, 19, textual,
         [](H &h) {
             return R{0, h.IPinpadDUKPTGetDes(text)};
         },
         Bytes().s16(u"1|K")},
        {"IPinpadDUKPTGetKSN", kName, kToken, 20, textual,
         [](H &h) {
             return R{0, h.IPinpadDUKPTGetKSN(3)};
         },
         Bytes().i32(3)},
        {"IPinpadDUKPTIncKSN", kName, kToken, 21, status,
         [](H &h) { return R{h.IPinpadDUKPTIncKSN(3)}; }, Bytes().i32(3)},
        {"IPinpadGetPinResult", kName, kToken, 22, textual,
         [](H &h) {
             return R{0, h.IPinpadGetPinResult()};
         },
         Bytes()},
        {"IPinpadDUKPTGetPinResult", kName, kToken, 23, textual,
         [](H &h) {
             return R{0, h.IPinpadDUKPTGetPinResult()};
         },
         Bytes()},
        {"IPinpadCtrlKeyResponse", kName, kToken, 24, status,
         [](H &h) { return R{h.IPinpadCtrlKeyResponse(1)}; }, Bytes().i32(1)},
    };
    return ops;
}
