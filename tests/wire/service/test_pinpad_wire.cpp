// Raw request bytes and reply decoding of every PIN pad service transaction.
#include <gtest/gtest.h>

#include <pos_sdk/service/IPinpadManager.h>

#include <functional>

#include "WireRecorder.h"

using namespace android;

namespace {

class PinpadWire : public WireTest<IPinpadManager> {
  protected:
    PinpadWire() : WireTest("com.kivo.device.manager.IPinpadManager") {}
};

TEST_F(PinpadWire, TheTextOfARequestGoesOutAsString16ByteForByte) {
    service->script(Bytes().i32(0));
    proxy->PinpadLoadKey("1|A");
    // clang-format off
    const std::vector<uint8_t> expected = {
        0x00, 0x00, 0x40, 0x00,  // strict-mode policy
        0x26, 0x00, 0x00, 0x00,  // 38 UTF-16 units
        'c', 0, 'o', 0, 'm', 0, '.', 0, 'k', 0, 'i', 0, 'v', 0, 'o', 0, '.', 0,
        'd', 0, 'e', 0, 'v', 0, 'i', 0, 'c', 0, 'e', 0, '.', 0,
        'm', 0, 'a', 0, 'n', 0, 'a', 0, 'g', 0, 'e', 0, 'r', 0, '.', 0,
        'I', 0, 'P', 0, 'i', 0, 'n', 0, 'p', 0, 'a', 0, 'd', 0,
        'M', 0, 'a', 0, 'n', 0, 'a', 0, 'g', 0, 'e', 0, 'r', 0,
        0x00, 0x00, 0x00, 0x00,  // terminator and padding
        0x03, 0x00, 0x00, 0x00,  // 3 UTF-16 units, not a C string
        '1', 0, '|', 0, 'A', 0, 0x00, 0x00,
    };
    // clang-format on
    EXPECT_EQ(service->code, 14u);
    EXPECT_EQ(service->request, expected);
}

TEST_F(PinpadWire, StatusOperationsWithText) {
    struct Op {
        uint32_t code;
        std::function<int(const char *)> call;
    };
    IPinpadManager *p = proxy.get();
    const Op ops[] = {
        {1, [p](const char *t) { return p->PinpadOpen(t); }},
        {6, [p](const char *t) { return p->PinpadInit(t); }},
        {14, [p](const char *t) { return p->PinpadLoadKey(t); }},
        {16, [p](const char *t) { return p->PinpadDUKPTWriteKey(t); }},
    };
    for (const Op &op : ops) {
        SCOPED_TRACE(op.code);
        service->script(Bytes().i32(-int(op.code)));
        EXPECT_EQ(op.call("0|\u00e9"), -int(op.code));  // UTF-8 in, UTF-16 on the wire
        expectRequest(op.code, Bytes().s16(u"0|\u00e9"));
        // Null text goes out as the null String16 rather than crashing.
        op.call(nullptr);
        expectRequest(op.code, Bytes().i32(-1));
    }
}

TEST_F(PinpadWire, StatusOperationsWithAnIntOrNothing) {
    service->script(Bytes().i32(-3));
    EXPECT_EQ(proxy->PinpadClose(), -3);
    expectRequest(2, Bytes());
    EXPECT_EQ(proxy->PinpadEraseAllKeys(), -3);
    expectRequest(13, Bytes());
    EXPECT_EQ(proxy->PinpadDUKPTIncKSN(7), -3);
    expectRequest(21, Bytes().i32(7));
    EXPECT_EQ(proxy->PinpadCtrlKeyResponse(-2), -3);
    expectRequest(24, Bytes().i32(-2));
}

TEST_F(PinpadWire, TextOperationsWithText) {
    struct Op {
        uint32_t code;
        std::function<const char *(const char *)> call;
    };
    IPinpadManager *p = proxy.get();
    const Op ops[] = {
        {4, [p](const char *t) { return p->PinpadPushMasterKey(t); }},
        {5, [p](const char *t) { return p->PinpadPushWorkKey(t); }},
        {8, [p](const char *t) { return p->PinpadDataDeal(t); }},
        {9, [p](const char *t) { return p->PinpadMacCal(t); }},
        {10, [p](const char *t) { return p->PinpadMacCalIn(t); }},
        {15, [p](const char *t) { return p->PinpadGetKCV(t); }},
        {18, [p](const char *t) { return p->PinpadDUKPTGetMac(t); }},
        {19, [p](const char *t) { return p->PinpadDUKPTGetDes(t); }},
    };
    for (const Op &op : ops) {
        SCOPED_TRACE(op.code);
        // The reply is the text alone: no status word before it.
        service->script(Bytes().s16(u"0|ABCDEF"));
        EXPECT_STREQ(op.call("1|0123"), "0|ABCDEF");
        expectRequest(op.code, Bytes().s16(u"1|0123"));
    }
}

TEST_F(PinpadWire, TextOperationsWithAnInt) {
    service->script(Bytes().s16(u"0|1"));
    EXPECT_STREQ(proxy->PinpadStartInput("2|4012345678909", 30), "0|1");
    expectRequest(3, Bytes().s16(u"2|4012345678909").i32(30));
    EXPECT_STREQ(proxy->PinpadDUKPTGetPinBlock("0|4012345678909", 45), "0|1");
    expectRequest(17, Bytes().s16(u"0|4012345678909").i32(45));
    EXPECT_STREQ(proxy->PinpadGetKeyState(3, 12), "0|1");
    expectRequest(7, Bytes().i32(3).i32(12));
    EXPECT_STREQ(proxy->PinpadGetRandom(16), "0|1");
    expectRequest(11, Bytes().i32(16));
    EXPECT_STREQ(proxy->PinpadDUKPTGetKSN(9), "0|1");
    expectRequest(20, Bytes().i32(9));
}

TEST_F(PinpadWire, VersionAndResultGettersSendOnlyTheToken) {
    service->script(Bytes().s16(u"0|V1"));
    EXPECT_STREQ(proxy->PinpadGetSecVer(), "0|V1");
    expectRequest(12, Bytes());
    EXPECT_STREQ(proxy->PinpadGetPinResult(), "0|V1");
    expectRequest(22, Bytes());
    EXPECT_STREQ(proxy->PinpadDUKPTGetPinResult(), "0|V1");
    expectRequest(23, Bytes());
}

TEST_F(PinpadWire, ExceptionCodeIgnoredAndShortRepliesReadEmpty) {
    service->scriptRaw(Bytes().i32(-1).s16(u"0|1234"));
    EXPECT_STREQ(proxy->PinpadGetPinResult(), "0|1234");
    service->scriptRaw(Bytes().i32(-1).i32(-8));
    EXPECT_EQ(proxy->PinpadCtrlKeyResponse(1), -8);
    service->scriptRaw(Bytes());
    EXPECT_EQ(proxy->PinpadClose(), 0);
    EXPECT_STREQ(proxy->PinpadGetSecVer(), "");
}

}  // namespace
