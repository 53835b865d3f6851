// Raw request bytes and reply decoding of every network service transaction.
#include <gtest/gtest.h>

#include <pos_sdk/service/INetworkManager.h>

#include <cstring>
#include <functional>

#include "WireRecorder.h"

using namespace android;

namespace {

class NetworkWire : public WireTest<INetworkManager> {
  protected:
    NetworkWire() : WireTest("com.torva.binder.INetworkManager") {}
};

TEST_F(NetworkWire, ConnectSendsSixCStringsByteForByte) {
    service->script(Bytes().i32(-5));
    char kind[] = "GSM", apn[] = "cmnet", user[] = "", password[] = "pw", auth[] = "3",
         pdp[] = "IP";
    EXPECT_EQ(proxy->WirelessConnect(kind, apn, user, password, auth, pdp), -5);
    // clang-format off
    const std::vector<uint8_t> fields = {
        'G', 'S', 'M', 0,
        'c', 'm', 'n', 'e', 't', 0, 0, 0,
        0, 0, 0, 0,           // an empty string is its terminator, padded
        'p', 'w', 0, 0,
        '3', 0, 0, 0,
        'I', 'P', 0, 0,
    };
    // clang-format on
    expectRequest(11, Bytes().raw(fields));

    service->script(Bytes().i32(0));
    EXPECT_EQ(proxy->SaveApnConfig(kind, apn, user, password, auth, pdp), 0);
    expectRequest(23, Bytes().raw(fields));
}

TEST_F(NetworkWire, IntegerArgumentsAndStatusOnlyCalls) {
    struct Call {
        uint32_t code;
        std::function<int(int)> call;
        bool sendsValue;
    };
    INetworkManager *p = proxy.get();
    const Call calls[] = {
        {1, [p](int) { return p->WifiGoToSleep(); }, false},
        {2, [p](int) { return p->WifiWakeUp(); }, false},
        {15, [p](int v) { return p->SetRadioPower(v); }, true},
        {18, [p](int) { return p->CallHandUpAll(); }, false},
        {20, [p](int v) { return p->WirelessEnable(v); }, true},
        {21, [p](int v) { return p->setAirPlaneMode(v); }, true},
        {22, [p](int v) { return p->setNetAutoConnect(v); }, true},
        {31, [p](int v) { return p->NetSetPreferredNetworkType(v); }, true},
        {33, [p](int v) { return p->NetSetEsmFailTimes(v); }, true},
    };
    int value = 40;
    for (const Call &c : calls) {
        SCOPED_TRACE(c.code);
        service->script(Bytes().i32(-int(c.code)));
        EXPECT_EQ(c.call(++value), -int(c.code));
        expectRequest(c.code, c.sendsValue ? Bytes().i32(value) : Bytes());
    }
}

TEST_F(NetworkWire, IntegerGettersStoreTheirOutputWhateverTheStatus) {
    struct Getter {
        uint32_t code;
        std::function<int(int *)> call;
    };
    INetworkManager *p = proxy.get();
    const Getter getters[] = {
        {6, [p](int *v) { return p->GetSignalStrength(v); }},
        {8, [p](int *v) { return p->GetSimStatus(v); }},
        {10, [p](int *v) { return p->GetWirelesslinkStatus(v); }},
        {30, [p](int *v) { return p->NetGetPreferredNetworkType(v); }},
        {32, [p](int *v) { return p->NetGetEsmFailTimes(v); }},
    };
    for (const Getter &g : getters) {
        SCOPED_TRACE(g.code);
        int out = 0;
        service->script(Bytes().i32(-1).i32(int(g.code) * 10));
        EXPECT_EQ(g.call(&out), -1);
        EXPECT_EQ(out, int(g.code) * 10);
        expectRequest(g.code, Bytes());
    }
}

TEST_F(NetworkWire, TextGettersReadAnAbsentStringAsEmpty) {
    struct Getter {
        uint32_t code;
        std::function<int(char *)> call;
    };
    INetworkManager *p = proxy.get();
    // The operator goes out with code 13 although it is declared after the SIM state.
    const Getter getters[] = {
        {3, [p](char *s) { return p->GetDevIMEI(s); }},
        {4, [p](char *s) { return p->GetDevIMSI(s); }},
        {5, [p](char *s) { return p->GetDevICCID(s); }},
        {7, [p](char *s) { return p->GetDevBasebanVersion(s); }},
        {13, [p](char *s) { return p->GetSimOperator(s); }},
        {27, [p](char *s) { return p->GetCurDNSAddr(s); }},
    };
    for (const Getter &g : getters) {
        SCOPED_TRACE(g.code);
        char out[32];
        service->script(Bytes().i32(7).cstr("text-" + std::to_string(g.code)));
        EXPECT_EQ(g.call(out), 7);
        EXPECT_STREQ(out, ("text-" + std::to_string(g.code)).c_str());
        expectRequest(g.code, Bytes());

        strcpy(out, "stale");
        service->script(Bytes().i32(0));  // the reply ends after the status
        EXPECT_EQ(g.call(out), 0);
        EXPECT_STREQ(out, "");
    }
}

TEST_F(NetworkWire, ArgumentsBeforeOutputs) {
    char address[32] = "x";
    char ppp[] = "ppp0";
    service->script(Bytes().i32(0).cstr("10.64.1.2"));
    EXPECT_EQ(proxy->GetNetworkIP(ppp, address), 0);
    EXPECT_STREQ(address, "10.64.1.2");
    expectRequest(14, Bytes().cstr("ppp0"));

    service->script(Bytes().i32(0).cstr("8.8.4.4"));
    EXPECT_EQ(proxy->GetDNSAddr(address, 1), 0);
    EXPECT_STREQ(address, "8.8.4.4");
    expectRequest(28, Bytes().i32(1));

    char dns[] = "1.1.1.1";
    service->script(Bytes().i32(0));
    EXPECT_EQ(proxy->SetDNSAddr(dns, 0), 0);
    expectRequest(29, Bytes().cstr("1.1.1.1").i32(0));

    char command[] = "AT+CSQ", response[64];
    service->script(Bytes().i32(0).cstr("+CSQ: 20,99\nOK\n"));
    EXPECT_EQ(proxy->SendCustATCmd(command, response), 0);
    EXPECT_STREQ(response, "+CSQ: 20,99\nOK\n");
    expectRequest(26, Bytes().cstr("AT+CSQ"));

    char number[] = "10086", first[] = "1", second[] = "0";
    service->script(Bytes().i32(0));
    EXPECT_EQ(proxy->CallDIAL(number, 2), 0);
    expectRequest(17, Bytes().cstr("10086").i32(2));
    service->script(Bytes().i32(0));
    EXPECT_EQ(proxy->WirelessDisconnect(first, second), 0);
    expectRequest(12, Bytes().cstr("1").cstr("0"));
}

TEST_F(NetworkWire, SetDnsWithoutAddressSendsNothing) {
    EXPECT_EQ(proxy->SetDNSAddr(nullptr, 0), -1);
    EXPECT_EQ(service->calls, 0);
}

TEST_F(NetworkWire, SeveralOutputsInOrder) {
    xstation_info_t station = {9, 9, 9, 9, 9};
    service->script(Bytes().i32(-2).i32(460).i32(0).i32(0x2a3b).i32(0x1c2d3e).i32(-7));
    EXPECT_EQ(proxy->GetDevBaseStation(&station), -2);
    EXPECT_EQ(station.mcc, 460);
    EXPECT_EQ(station.mnc, 0);
    EXPECT_EQ(station.lac, 0x2a3b);
    EXPECT_EQ(station.cell_id, 0x1c2d3e);
    EXPECT_EQ(station.bsic, -7);
    expectRequest(9, Bytes());

    int reg = 0;
    char a[16], b[16];
    service->script(Bytes().i32(0).i32(5).cstr("2A3B").cstr("1C2D3E"));
    EXPECT_EQ(proxy->WirelessGetModuleREG(&reg, a, b), 0);
    EXPECT_EQ(reg, 5);
    EXPECT_STREQ(a, "2A3B");
    EXPECT_STREQ(b, "1C2D3E");
    expectRequest(16, Bytes());

    int dir = 0, state = 0, mode = 0;
    char number[16];
    service->script(Bytes().i32(0).i32(1).i32(2).i32(3).cstr("10086"));
    EXPECT_EQ(proxy->CallGetCurCall(&dir, &state, &mode, number), 0);
    EXPECT_EQ(dir * 100 + state * 10 + mode, 123);
    EXPECT_STREQ(number, "10086");
    expectRequest(19, Bytes());

    char q1[16], q2[16], q3[16] = "stale";
    int q4 = 0;
    service->script(Bytes().i32(0).cstr("FDD LTE").cstr("46000").i32(0));
    EXPECT_EQ(proxy->GetQNetworkInfo(q1, q2, q3, &q4), 0);
    EXPECT_STREQ(q1, "FDD LTE");
    EXPECT_STREQ(q2, "46000");
    // The word 0 reads as an empty string and the reply then ends: the int reads 0.
    EXPECT_STREQ(q3, "");
    EXPECT_EQ(q4, 0);
    expectRequest(25, Bytes());
}

TEST_F(NetworkWire, ApnRecordComesBackInTheOrderItIsSaved) {
    char f[6][32];
    for (auto &field : f) strcpy(field, "stale");
    service->script(Bytes().i32(1).cstr("GSM").cstr("cmnet").cstr("u").cstr("p").cstr("3"));
    EXPECT_EQ(proxy->LoadApnConfig(f[0], f[1], f[2], f[3], f[4], f[5]), 1);
    EXPECT_STREQ(f[0], "GSM");
    EXPECT_STREQ(f[1], "cmnet");
    EXPECT_STREQ(f[2], "u");
    EXPECT_STREQ(f[3], "p");
    EXPECT_STREQ(f[4], "3");
    EXPECT_STREQ(f[5], "");  // absent: empty, never a copy from nowhere
    expectRequest(24, Bytes());
}

}  // namespace
