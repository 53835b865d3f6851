// Raw request bytes and reply decoding of every security service transaction.
#include <gtest/gtest.h>

#include <pos_sdk/service/ISecurityManager.h>

#include "WireRecorder.h"

using namespace android;

namespace {

class SecurityWire : public WireTest<ISecurityManager> {
  protected:
    SecurityWire() : WireTest("com.kivo.manager.ISecurityManager") {}
};

TEST_F(SecurityWire, ClearOperationsSendTheLengthBeforeTheText) {
    char text[] = "9F3A";
    service->script(Bytes().i32(0));
    EXPECT_EQ(proxy->SecurityClearAntiTamperState(1, text, 4), 0);
    expectRequest(3, Bytes().i32(1).i32(4).s16(u"9F3A"));

    service->script(Bytes().i32(-9));
    EXPECT_EQ(proxy->SecurityClearSerialNumber(2, text, 4), -9);
    expectRequest(4, Bytes().i32(2).i32(4).s16(u"9F3A"));
}

TEST_F(SecurityWire, OnlyTheAntiTamperClearRefusesBadArgumentsWithoutSending) {
    char text[] = "9F3A";
    service->script(Bytes().i32(0));
    EXPECT_EQ(proxy->SecurityClearAntiTamperState(1, nullptr, 4), -2);
    EXPECT_EQ(proxy->SecurityClearAntiTamperState(1, text, 0), -2);
    EXPECT_EQ(proxy->SecurityClearAntiTamperState(1, text, -1), -2);
    EXPECT_EQ(service->calls, 0);

    // The serial-number clear sends the same arguments: a null text as the null String16.
    EXPECT_EQ(proxy->SecurityClearSerialNumber(1, nullptr, 0), 0);
    expectRequest(4, Bytes().i32(1).i32(0).i32(-1));
    EXPECT_EQ(service->calls, 1);
}

TEST_F(SecurityWire, TextOperationsReadAString16AndNoStatus) {
    struct Case {
        uint32_t code;
        std::function<const char *()> call;
        Bytes request;
    };
    ISecurityManager *p = proxy.get();
    const Case cases[] = {
        {1, [p] { return p->SecurityGetRandom(8); }, Bytes().i32(8)},
        {6, [p] { return p->SecurityGetParam(3); }, Bytes().i32(3)},
        {7, [p] { return p->SecurityGetEncCID(); }, Bytes()},
        {8, [p] { return p->SecurityGetOSEncCID(); }, Bytes()},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.code);
        service->script(Bytes().s16(u"0A1B2C"));
        EXPECT_STREQ(c.call(), "0A1B2C");
        expectRequest(c.code, c.request);
    }
}

TEST_F(SecurityWire, StateParametersAndPublicKey) {
    int state = 0;
    service->script(Bytes().i32(0).i32(3));
    EXPECT_EQ(proxy->SecurityGetAntiTamperState(&state), 0);
    expectRequest(2, Bytes());
    EXPECT_EQ(state, 3);

    char value[] = "on";
    service->script(Bytes().i32(-1));
    EXPECT_EQ(proxy->SecuritySetParam(5, value), -1);
    expectRequest(5, Bytes().i32(5).s16(u"on"));

    service->script(Bytes().i32(0));
    EXPECT_EQ(proxy->SecurityClearOSPubKey(), 0);
    expectRequest(9, Bytes());
}

}  // namespace
