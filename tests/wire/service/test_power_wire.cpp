// Raw request bytes and reply decoding of every power service transaction.
#include <gtest/gtest.h>

#include <pos_sdk/service/IPowerManager.h>

#include <functional>

#include "WireRecorder.h"

using namespace android;

namespace {

class PowerWire : public WireTest<IPowerManager> {
  protected:
    PowerWire() : WireTest("com.torva.binder.IPowerManager") {}
};

TEST_F(PowerWire, WholeRequestByteForByte) {
    service->script(Bytes().i32(0));
    proxy->SysSetLCDBrightness(0x11223344);
    // clang-format off
    const std::vector<uint8_t> expected = {
        0x00, 0x00, 0x40, 0x00,  // strict-mode policy
        0x1e, 0x00, 0x00, 0x00,  // 30 UTF-16 units
        'c', 0, 'o', 0, 'm', 0, '.', 0, 't', 0, 'o', 0, 'r', 0, 'v', 0, 'a', 0, '.', 0,
        'b', 0, 'i', 0, 'n', 0, 'd', 0, 'e', 0, 'r', 0, '.', 0,
        'I', 0, 'P', 0, 'o', 0, 'w', 0, 'e', 0, 'r', 0,
        'M', 0, 'a', 0, 'n', 0, 'a', 0, 'g', 0, 'e', 0, 'r', 0,
        0x00, 0x00, 0x00, 0x00,  // terminator and padding
        0x44, 0x33, 0x22, 0x11,  // the level
    };
    // clang-format on
    EXPECT_EQ(service->code, 2u);
    EXPECT_EQ(service->request, expected);
}

TEST_F(PowerWire, SettersSendOneIntAndReturnTheStatus) {
    struct Setter {
        uint32_t code;
        std::function<int(int)> call;
    };
    IPowerManager *p = proxy.get();
    const Setter setters[] = {
        {2, [p](int v) { return p->SysSetLCDBrightness(v); }},
        {7, [p](int v) { return p->SysSetSleepTime(v); }},
        {9, [p](int v) { return p->SysAllowEnterSleep(v); }},
        {11, [p](int v) { return p->SysSetDeepSleepTime(v); }},
        {13, [p](int v) { return p->SysSetSleepShutdownTime(v); }},
    };
    int value = 100;
    for (const Setter &s : setters) {
        SCOPED_TRACE(s.code);
        service->script(Bytes().i32(-int(s.code)));
        EXPECT_EQ(s.call(++value), -int(s.code));
        expectRequest(s.code, Bytes().i32(value));
    }
}

TEST_F(PowerWire, GettersSendNothingAndStoreTheirOutputWhateverTheStatus) {
    struct Getter {
        uint32_t code;
        std::function<int(int *)> call;
    };
    IPowerManager *p = proxy.get();
    const Getter getters[] = {
        {1, [p](int *v) { return p->SysGetLCDBrightness(v); }},
        {3, [p](int *v) { return p->SysGetBatCap(v); }},
        {4, [p](int *v) { return p->SysGetBatVol(v); }},
        {5, [p](int *v) { return p->SysGetChgStat(v); }},
        {8, [p](int *v) { return p->SysGetSleepTime(v); }},
        {10, [p](int *v) { return p->SysGetAllowEnterSleep(v); }},
        {12, [p](int *v) { return p->SysGetDeepSleepTime(v); }},
        {14, [p](int *v) { return p->SysGetSleepShutdownTime(v); }},
    };
    for (const Getter &g : getters) {
        SCOPED_TRACE(g.code);
        int out = 0;
        service->script(Bytes().i32(0).i32(int(g.code) * 10));
        EXPECT_EQ(g.call(&out), 0);
        EXPECT_EQ(out, int(g.code) * 10);
        expectRequest(g.code, Bytes());

        service->script(Bytes().i32(-1).i32(int(g.code) * 100));
        EXPECT_EQ(g.call(&out), -1);
        EXPECT_EQ(out, int(g.code) * 100);
    }
}

TEST_F(PowerWire, BatteryInformationSharesCodeFiveWithTheChargeState) {
    service->script(Bytes().i32(0).i32(2).i32(85).i32(4012));
    int a = 0, b = 0, c = 0;
    EXPECT_EQ(proxy->SysGetBatteryInfo(&a, &b, &c), 0);
    expectRequest(5, Bytes());
    EXPECT_EQ(a, 2);
    EXPECT_EQ(b, 85);
    EXPECT_EQ(c, 4012);

    // The same reply read by the charge-state call: one value after the status.
    int state = 0;
    EXPECT_EQ(proxy->SysGetChgStat(&state), 0);
    expectRequest(5, Bytes());
    EXPECT_EQ(state, 2);
}

TEST_F(PowerWire, NullOutputPointersAreSkipped) {
    service->script(Bytes().i32(4).i32(1).i32(2).i32(3));
    int c = 0;
    EXPECT_EQ(proxy->SysGetBatteryInfo(nullptr, nullptr, &c), 4);
    EXPECT_EQ(c, 3);
    EXPECT_EQ(proxy->SysGetBatCap(nullptr), 4);
}

}  // namespace
