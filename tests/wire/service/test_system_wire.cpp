// Raw request bytes and reply decoding of every system service transaction.
#include <gtest/gtest.h>

#include <pos_sdk/service/ISystemManager.h>

#include "WireRecorder.h"

using namespace android;

namespace {

class SystemWire : public WireTest<ISystemManager> {
  protected:
    SystemWire() : WireTest("com.kivo.manager.ISystemManager") {}
};

TEST_F(SystemWire, TextReplies) {
    service->script(Bytes().s16(u"20261122103000"));
    EXPECT_STREQ(proxy->SystemGetMCURTCTime(2), "20261122103000");
    expectRequest(1, Bytes().i32(2));

    service->script(Bytes().s16(u"0000000001040041424344"));
    EXPECT_STREQ(proxy->SystemGetDevInfo(1), "0000000001040041424344");
    expectRequest(7, Bytes().i32(1));

    // The one reply with a field after its text.
    service->script(Bytes().s16(u"5A3C").i32(-9));
    int value = 0;
    EXPECT_STREQ(proxy->SystemGetDebugModeRandom(&value), "5A3C");
    EXPECT_EQ(value, -9);
    expectRequest(9, Bytes());

    // A null text still lets the field after it be read.
    service->script(Bytes().i32(-1).i32(6));
    EXPECT_STREQ(proxy->SystemGetDebugModeRandom(&value), "");
    EXPECT_EQ(value, 6);

    // Non-ASCII text comes back as UTF-8.
    service->script(Bytes().s16(u"caf\u00e9 \u4e2d"));
    EXPECT_STREQ(proxy->SystemGetDevInfo(3), "caf\xc3\xa9 \xe4\xb8\xad");
}

TEST_F(SystemWire, TextOutlivesTheCallUntilTheNextTextReply) {
    service->script(Bytes().s16(u"first"));
    const char *first = proxy->SystemGetDevInfo(2);
    service->script(Bytes().i32(0));
    proxy->SystemSetMCUSleep();  // a call without text leaves it alone
    EXPECT_STREQ(first, "first");
    service->script(Bytes());  // no text at all reads as empty
    EXPECT_STREQ(proxy->SystemGetDevInfo(2), "");
}

TEST_F(SystemWire, IntegerRequests) {
    service->script(Bytes().i32(-7));
    EXPECT_EQ(proxy->SystemSetMCURTCTime(2026, 11, 22, 10, 30, 5, 2), -7);
    expectRequest(2, Bytes().i32(2026).i32(11).i32(22).i32(10).i32(30).i32(5).i32(2));

    service->script(Bytes().i32(3));
    EXPECT_EQ(proxy->SystemSetMCUSleep(), 3);
    expectRequest(3, Bytes());
    EXPECT_EQ(proxy->SystemSetMCUWakeUp(), 3);
    expectRequest(4, Bytes());

    EXPECT_EQ(proxy->SystemCtrlBeeper(2000, 150), 3);
    expectRequest(5, Bytes().i32(2000).i32(150));

    EXPECT_EQ(proxy->SystemCtrlLED(15, 9, -1, 4, 5, 6), 3);
    expectRequest(12, Bytes().i32(15).i32(9).i32(-1).i32(4).i32(5).i32(6));

    EXPECT_EQ(proxy->SystemMCURFIDTest(), 3);
    expectRequest(13, Bytes());
    EXPECT_EQ(proxy->SystemSyncBATState(-2), 3);
    expectRequest(14, Bytes().i32(-2));
    EXPECT_EQ(proxy->SystemSetLPLEDFreq(40), 3);
    expectRequest(15, Bytes().i32(40));
}

TEST_F(SystemWire, KeyToneIsSentAsAnOnOffSwitch) {
    service->script(Bytes().i32(0));
    proxy->SystemCtrlKeytone(5);
    expectRequest(6, Bytes().i32(1));
    proxy->SystemCtrlKeytone(-3);
    expectRequest(6, Bytes().i32(1));
    proxy->SystemCtrlKeytone(0);
    expectRequest(6, Bytes().i32(0));
}

TEST_F(SystemWire, TextArgumentsGoOutAsString16) {
    service->script(Bytes().i32(0));
    char serial[] =
        "SN\xc3\xa9"
        "1";  // UTF-8 in, UTF-16 on the wire
    EXPECT_EQ(proxy->SystemSetDevInfo(1, serial), 0);
    expectRequest(8, Bytes().i32(1).s16(u"SN\u00e91"));

    char answer[] = "ABCD";
    proxy->SystemSetDebugMode(answer, 1);
    expectRequest(10, Bytes().s16(u"ABCD").i32(1));

    // Null text is sent as the null String16 rather than crashing.
    proxy->SystemSetDevInfo(4, nullptr);
    expectRequest(8, Bytes().i32(4).i32(-1));
}

TEST_F(SystemWire, GettersStoreTheirOutputWhateverTheStatus) {
    int out = 0;
    service->script(Bytes().i32(0).i32(7));
    EXPECT_EQ(proxy->SystemGetWakeSource(&out), 0);
    EXPECT_EQ(out, 7);
    expectRequest(11, Bytes());

    service->script(Bytes().i32(-5).i32(12));
    EXPECT_EQ(proxy->SystemGetLPLEDFreq(&out), -5);
    EXPECT_EQ(out, 12);
    expectRequest(16, Bytes());
}

TEST_F(SystemWire, ExceptionCodeIsReadAndIgnored) {
    service->scriptRaw(Bytes().i32(-1).i32(42).i32(8));
    int out = 0;
    EXPECT_EQ(proxy->SystemGetLPLEDFreq(&out), 42);
    EXPECT_EQ(out, 8);
}

TEST_F(SystemWire, ShortRepliesReadAsZeroAndEmpty) {
    service->scriptRaw(Bytes());
    int out = 99;
    EXPECT_EQ(proxy->SystemGetWakeSource(&out), 0);
    EXPECT_EQ(out, 0);
    EXPECT_STREQ(proxy->SystemGetMCURTCTime(2), "");
    // A String16 whose declared length runs past the reply is refused.
    service->scriptRaw(Bytes().i32(0).i32(1000).i32(0x00410041));
    EXPECT_STREQ(proxy->SystemGetDevInfo(1), "");
}

}  // namespace
