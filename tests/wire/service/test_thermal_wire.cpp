// Raw request bytes of every thermal printer service transaction.
#include <gtest/gtest.h>

#include <pos_sdk/service/IThermalManager.h>

#include <functional>

#include "WireRecorder.h"

using namespace android;

namespace {

class ThermalWire : public WireTest<IThermalManager> {
  protected:
    ThermalWire() : WireTest("com.kivo.device.manager.IThermalPrinterManager") {}
};

TEST_F(ThermalWire, PrintSendsTheTextAsString16ThenFiveInts) {
    service->script(Bytes().i32(-3));
    EXPECT_EQ(proxy->ThermalPrintBmp("FF00", 1, 2, 3, 4, 5), -3);
    expectRequest(3, Bytes().s16(u"FF00").i32(1).i32(2).i32(3).i32(4).i32(5));
}

TEST_F(ThermalWire, IntegerCallsSendTheirArgumentsInOrder) {
    struct Case {
        uint32_t code;
        std::function<int()> call;
        Bytes request;
    };
    IThermalManager *p = proxy.get();
    const Case cases[] = {
        {1, [p] { return p->ThermalOpen(9); }, Bytes().i32(9)},
        {2, [p] { return p->ThermalClose(); }, Bytes()},
        {4, [p] { return p->ThermalFeedPaper(48, 1); }, Bytes().i32(48).i32(1)},
        {5, [p] { return p->ThermalFindBlackLabel(600); }, Bytes().i32(600)},
        {6, [p] { return p->ThermalSetDensity(7, -2); }, Bytes().i32(7).i32(-2)},
        {7, [p] { return p->ThermalStatus(0); }, Bytes().i32(0)},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.code);
        service->script(Bytes().i32(int(c.code) * 11));
        EXPECT_EQ(c.call(), int(c.code) * 11);
        expectRequest(c.code, c.request);
    }
}

}  // namespace
