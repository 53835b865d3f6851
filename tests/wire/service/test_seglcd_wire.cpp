// Raw request bytes and reply decoding of every segment LCD transaction.
#include <gtest/gtest.h>

#include <pos_sdk/service/ISegLcdManager.h>

#include <functional>

#include "WireRecorder.h"

using namespace android;

namespace {

class SegLcdWire : public WireTest<ISegLcdManager> {
  protected:
    SegLcdWire() : WireTest("com.torva.binder.ISegLcdManager") {}
};

TEST_F(SegLcdWire, PlainRequestsReturnTheStatus) {
    struct Call {
        uint32_t code;
        std::function<int()> call;
        Bytes fields;
    };
    ISegLcdManager *p = proxy.get();
    const Call calls[] = {
        {1, [p] { return p->Backlight(1, 80); }, Bytes().i32(1).i32(80)},
        {2, [p] { return p->CloseLcd(); }, Bytes()},
        {3, [p] { return p->Ping(); }, Bytes()},
        {7, [p] { return p->Reconnect(); }, Bytes()},
        {8, [p] { return p->Reset(); }, Bytes()},
    };
    for (const Call &c : calls) {
        SCOPED_TRACE(c.code);
        service->script(Bytes().i32(100 + int(c.code)));
        EXPECT_EQ(c.call(), 100 + int(c.code));
        expectRequest(c.code, c.fields);
    }
}

TEST_F(SegLcdWire, TheTwoShowOverloadsAreDistinctTransactions) {
    service->script(Bytes().i32(0));
    EXPECT_EQ(proxy->Show(1, 2, "12.50", 3), 0);
    expectRequest(5, Bytes().i32(1).i32(2).cstr("12.50").i32(3));

    service->script(Bytes().i32(-1));
    EXPECT_EQ(proxy->Show(1, 2, 9, "TOTAL", 3), -1);
    expectRequest(6, Bytes().i32(1).i32(2).i32(9).cstr("TOTAL").i32(3));

    // A text that fills its words exactly still gets a whole word for its terminator.
    proxy->Show(0, 0, "ABCD", 0);
    expectRequest(5, Bytes().i32(0).i32(0).raw({'A', 'B', 'C', 'D', 0, 0, 0, 0}).i32(0));
}

TEST_F(SegLcdWire, VersionIsCopiedAfterTheStatus) {
    char version[64] = "stale";
    service->script(Bytes().i32(0).cstr("SEG-2.1"));
    EXPECT_EQ(proxy->GetVersion(version), 0);
    EXPECT_STREQ(version, "SEG-2.1");
    expectRequest(4, Bytes());

    // A reply without the string leaves an empty one.
    service->script(Bytes().i32(-3));
    EXPECT_EQ(proxy->GetVersion(version), -3);
    EXPECT_STREQ(version, "");
}

}  // namespace
