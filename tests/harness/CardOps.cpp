#include "HubOps.h"

// The IC card, magnetic stripe and contactless reader operations.

const std::vector<HubOp> &icCardHubOps() {
    static const char *const kName = "KivoIICCardService";
    static const char *const kToken = "com.kivo.device.manager.IICCardManager";
    using H = BpTransferHub;
    using R = HubResult;
    const HubReturns status = HubReturns::Status, textual = HubReturns::Text;
    static const std::vector<HubOp> ops = {
        {"IICCardOpen", kName, kToken, 1, status, [](H &h) { return R{h.IICCardOpen(0, 1)}; },
         Bytes().i32(0).i32(1)},
        {"IICCardClose", kName, kToken, 2, status, [](H &h) { return R{h.IICCardClose(0)}; },
         Bytes().i32(0)},
        {"IICCardAsyncCardWorkAttr", kName, kToken, 3, status,
         [](H &h) { return R{h.IICCardAsyncCardWorkAttr(0, 2, 1, 0, 9600, 3000)}; },
         Bytes().i32(0).i32(2).i32(1).i32(0).i32(9600).i32(3000)},
        {"IICCardPowerOn", kName, kToken, 4, textual,
         [](H &h) {
             return R{0, h.IICCardPowerOn(0, 3000)};
         },
         Bytes().i32(0).i32(3000)},
        {"IICCardPowerOff", kName, kToken, 5, status,
         [](H &h) { return R{h.IICCardPowerOff(0, 0)}; }, Bytes().i32(0).i32(0)},
        {"IICCardAsyncCardComm", kName, kToken, 6, textual,
         [](H &h) {
             return R{0, h.IICCardAsyncCardComm(0, "0084000008", 2000)};
         },
         Bytes().i32(0).s16(u"0084000008").i32(2000)},
        {"IICCardDeckCheck", kName, kToken, 7, status,
         [](H &h) { return R{h.IICCardDeckCheck(0, 0)}; }, Bytes().i32(0).i32(0)},
        {"IICCardSyncCardComm", kName, kToken, 8, textual,
         [](H &h) {
             return R{0, h.IICCardSyncCardComm(0, 1, "300010", 500)};
         },
         Bytes().i32(0).i32(1).s16(u"300010").i32(500)},
    };
    return ops;
}

const std::vector<HubOp> &magcardHubOps() {
    static const char *const kName = "KivoMagcardService";
    static const char *const kToken = "com.kivo.device.manager.IMagcardManager";
    static int a;
    using H = BpTransferHub;
    using R = HubResult;
    const HubReturns status = HubReturns::Status, textual = HubReturns::Text;
    static const std::vector<HubOp> ops = {
        {"IMagcardOpen", kName, kToken, 1, status, [](H &h) { return R{h.IMagcardOpen(0)}; },
         Bytes().i32(0)},
        {"IMagcardClose", kName, kToken, 2, status, [](H &h) { return R{h.IMagcardClose()}; },
         Bytes()},
        {"IMagcardRead", kName, kToken, 3, status, [](H &h) { return R{h.IMagcardRead(7, 0)}; },
         Bytes().i32(7).i32(0)},
        {"IMagcardReadData", kName, kToken, 4, textual,
         [](H &h) {
             return R{0, h.IMagcardReadData(2)};
         },
         Bytes().i32(2)},
        {"IMagcardWrite", kName, kToken, 5, status,
         [](H &h) { return R{h.IMagcardWrite("", ";1234=99?", "", 2)}; },
         Bytes().cstr("").cstr(";1234=99?").cstr("").i32(2)},
        {"IMagcardStatus", kName, kToken, 6, status, [](H &h) { return R{h.IMagcardStatus(&a)}; },
         Bytes()},
        {"IMagcardCancel", kName, kToken, 7, status, [](H &h) { return R{h.IMagcardCancel()}; },
         Bytes()},
    };
    return ops;
}

const std::vector<HubOp> &rfidHubOps() {
    static const char *const kName = "KivoRFIDService";
    static const char *const kToken = "com.kivo.device.manager.IRFIDManager";
    using H = BpTransferHub;
    using R = HubResult;
    const HubReturns status = HubReturns::Status, textual = HubReturns::Text;
    static const std::vector<HubOp> ops = {
        {"IRFIDOpen", kName, kToken, 1, status, [](H &h) { return R{h.IRFIDOpen(0)}; },
         Bytes().i32(0)},
        {"IRFIDClose", kName, kToken, 2, status, [](H &h) { return R{h.IRFIDClose()}; }, Bytes()},
        {"IRFIDSelectCardType", kName, kToken, 3, status,
         [](H &h) { return R{h.IRFIDSelectCardType(0, 106)}; }, Bytes().i32(0).i32(106)},
        {"IRFIDPowerOn", kName, kToken, 4, status, [](H &h) { return R{h.IRFIDPowerOn()}; },
         Bytes()},
        {"IRFIDPowerOff", kName, kToken, 5, status, [](H &h) { return R{h.IRFIDPowerOff()}; },
         Bytes()},
        {"IRFIDSearchCard", kName, kToken, 6, textual,
         [](H &h) {
             return R{0, h.IRFIDSearchCard(100)};
         },
         Bytes().i32(100)},
        {"IRFIDAPDUComm", kName, kToken, 7, textual,
         [](H &h) {
             return R{0, h.IRFIDAPDUComm("00B2010C00", 1000)};
         },
         Bytes().s16(u"00B2010C00").i32(1000)},
        {"IRFIDMifareCardComm", kName, kToken, 8, textual,
         [](H &h) {
             return R{0, h.IRFIDMifareCardComm(0x30, "04", 100)};
         },
         Bytes().i32(0x30).s16(u"04").i32(100)},
        {"IRFIDSearchCardWithoutPowerOn", kName, kToken, 9, status,
         [](H &h) { return R{h.IRFIDSearchCardWithoutPowerOn(100)}; }, Bytes().i32(100)},
        {"IRFIDCardPowerOn", kName, kToken, 10, textual,
         [](H &h) {
             return R{0, h.IRFIDCardPowerOn(100)};
         },
         Bytes().i32(100)},
        {"IRFIDCardPowerOff", kName, kToken, 11, status,
         [](H &h) { return R{h.IRFIDCardPowerOff(0)}; }, Bytes().i32(0)},
        {"IRFIDFelicaSearchPowerOn", kName, kToken, 12, textual,
         [](H &h) {
             return R{0, h.IRFIDFelicaSearchPowerOn(100)};
         },
         Bytes().i32(100)},
        {"IRFIDFelicaAPDUComm", kName, kToken, 13, textual,
         [](H &h) {
             return R{0, h.IRFIDFelicaAPDUComm("1006", 100)};
         },
         Bytes().s16(u"1006").i32(100)},
    };
    return ops;
}
