// Raw request bytes and reply decoding of every companion microcontroller transaction.
#include <gtest/gtest.h>

#include <pos_sdk/service/IQd36nManager.h>

#include <functional>

#include "WireRecorder.h"

using namespace android;

namespace {

class Qd36nWire : public WireTest<IQd36nManager> {
  protected:
    Qd36nWire() : WireTest("com.torva.binder.IQd36nManager") {}
};

TEST_F(Qd36nWire, IntegerRequestsReturnTheStatus) {
    struct Call {
        uint32_t code;
        std::function<int()> call;
        Bytes fields;
    };
    IQd36nManager *p = proxy.get();
    const Call calls[] = {
        {1, [p] { return p->CtrlEx(7, -2); }, Bytes().i32(7).i32(-2)},
        {2, [p] { return p->LedRed(1); }, Bytes().i32(1)},
        {3, [p] { return p->LedGreen(0); }, Bytes().i32(0)},
        {4, [p] { return p->LedBlue(0x01020304); }, Bytes().i32(0x01020304)},
        {6, [p] { return p->ResetSE(); }, Bytes()},
        {7, [p] { return p->SetUsbSw(2); }, Bytes().i32(2)},
    };
    for (const Call &c : calls) {
        SCOPED_TRACE(c.code);
        service->script(Bytes().i32(-int(c.code)));
        EXPECT_EQ(c.call(), -int(c.code));
        expectRequest(c.code, c.fields);
    }
}

TEST_F(Qd36nWire, DateTimeGoesOutAsACString) {
    service->script(Bytes().i32(0));
    char text[] = "202601020304.05";
    EXPECT_EQ(proxy->SetDatetime(text), 0);
    // 15 characters and the terminator: exactly four words, no padding.
    expectRequest(5, Bytes().raw({'2', '0', '2', '6', '0', '1', '0', '2', '0', '3', '0', '4', '.',
                                  '0', '5', 0}));
}

TEST_F(Qd36nWire, UsbSwitchIsWrittenWhateverTheStatus) {
    int position = -1;
    service->script(Bytes().i32(0).i32(1));
    EXPECT_EQ(proxy->GetUsbSw(&position), 0);
    EXPECT_EQ(position, 1);
    expectRequest(8, Bytes());
    service->script(Bytes().i32(-5).i32(2));
    EXPECT_EQ(proxy->GetUsbSw(&position), -5);
    EXPECT_EQ(position, 2);
}

}  // namespace
