// The cellular API on a simulated terminal: login and its rounds, the status reads and their
// bands, identities, DNS and type bounds, the module claim and the auto-connect bits, with the
// network service's state set through the console.
#include <gtest/gtest.h>

#include <pos_sdk/log.h>
#include <pos_sdk/network.h>
#include <pos_sdk/os_time.h>

#include <chrono>
#include <cstring>
#include <string>
#include <thread>

#include "Console.h"
#include "NetworkCtl.h"

namespace {

using Clock = std::chrono::steady_clock;

nlohmann::json network() {
    return harness::state("network");
}

int countOf(const std::string &text, const std::string &what) {
    int n = 0;
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++n;
    return n;
}

long long msSince(Clock::time_point start) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
}

class Cellular : public ::testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(harness::underSimulator()) << "run under pos-sim run --"; }
};

TEST_F(Cellular, LoginBringsUpTheAddressAfterTheServicesDelay) {
    ASSERT_TRUE(ctl({"set", "login_delay_ms=700", "address=10.1.2.3"}));
    ASSERT_EQ(OsWlInit(nullptr), 0);
    EXPECT_EQ(OsWlCheck(), 0);
    testing::internal::CaptureStderr();
    const long long before = get_sys_tick();
    EXPECT_EQ(OsWlLogin("cmnet", nullptr, "secret", 1, 5000), 0);
    const long long after = get_sys_tick();
    std::string log = testing::internal::GetCapturedStderr();
    // Both start times are whole ticks of the login's span, on 32-bit targets too.
    for (const char *mark : {"login start time=", "login start2 time="}) {
        size_t at = log.find(mark);
        ASSERT_NE(at, std::string::npos) << log;
        long long logged = std::stoll(log.substr(at + strlen(mark)));
        EXPECT_GE(logged, before) << mark;
        EXPECT_LE(logged, after) << mark;
    }
    EXPECT_EQ(countOf(log, "INetWirelessConnect ret 0"), 1) << log;
    EXPECT_GE(countOf(log, "INetGetNetworkIP [-1] []"), 1) << log;  // still connecting
    EXPECT_EQ(countOf(log, "INetGetNetworkIP [0] [10.1.2.3]"), 1) << log;

    char address[64] = {0};
    EXPECT_EQ(OsWlGetNetworkIp(address), 0);
    EXPECT_STREQ(address, "10.1.2.3");
    EXPECT_EQ(network()["link"], "up");

    EXPECT_EQ(OsWlLogout(), 0);
    EXPECT_EQ(network()["link"], "down");
    ASSERT_TRUE(ctl({"fault", "fail", "1", "-4"}));
    EXPECT_EQ(OsWlLogout(), 2);  // refused
}

TEST_F(Cellular, LoginTimesOutAfterItsRounds) {
    EXPECT_EQ(OsWlLogin("cmnet", "", "", 0, 0), -1003);
    ASSERT_TRUE(ctl({"set", "login_fails=true"}));
    testing::internal::CaptureStderr();
    Clock::time_point start = Clock::now();
    EXPECT_EQ(OsWlLogin("cmnet", "", "", 0, 1200), -3510);
    long long took = msSince(start);
    std::string log = testing::internal::GetCapturedStderr();
    // Rounds at 0, 500 and 1000 ms, each followed by its 500 ms sleep.
    EXPECT_EQ(countOf(log, "INetGetNetworkIP ["), 3) << log;
    EXPECT_GE(took, 1500);
    EXPECT_EQ(countOf(log, "INetWirelessConnect end"), 1);
    EXPECT_EQ(network()["link"], "connecting");  // left as it is

    // No SIM: the service refuses the connect request at once.
    ASSERT_TRUE(ctl({"set", "sim=absent", "link=down"}));
    testing::internal::CaptureStderr();
    EXPECT_EQ(OsWlLogin("cmnet", "", "", 0, 5000), -3510);
    log = testing::internal::GetCapturedStderr();
    EXPECT_EQ(countOf(log, "INetWirelessConnect ret -1"), 1) << log;
    EXPECT_EQ(countOf(log, "INetGetNetworkIP"), 0) << log;
}

TEST_F(Cellular, WithAutoConnectLoginOnlyWaitsForRegistration) {
    ASSERT_TRUE(ctl({"set", "auto_connect=1", "registered=false"}));
    // A connect request would meet this failure; with auto-connect none is sent.
    ASSERT_TRUE(ctl({"fault", "fail", "1", "-9"}));
    std::thread registers([] {
        std::this_thread::sleep_for(std::chrono::milliseconds(700));
        harness::ctl({"network", "set", "registered=true"});
    });
    testing::internal::CaptureStderr();
    int result = OsWlLogin("cmnet", "", "", 0, 4000);
    std::string log = testing::internal::GetCapturedStderr();
    registers.join();
    EXPECT_EQ(result, 0) << log;
    EXPECT_EQ(countOf(log, "OsWlGetAutoConnectStatus status 1"), 1) << log;
    EXPECT_GE(countOf(log, "OsWlCheck ret -3307"), 1) << log;
    EXPECT_EQ(countOf(log, "INetWirelessConnect"), 0) << log;
    EXPECT_NE(harness::ctl({"network", "fault", "clear"}).text.find("1"), std::string::npos);
    EXPECT_EQ(network()["link"], "up");
}

TEST_F(Cellular, SimAndRegistrationStates) {
    int ready = -1;
    EXPECT_EQ(OsWlGetSimStatus(nullptr), -1003);
    EXPECT_EQ(OsWlGetSimStatus(&ready), 0);
    EXPECT_EQ(ready, 1);
    ASSERT_TRUE(ctl({"set", "registered=false"}));
    EXPECT_EQ(OsWlCheck(), -3307);
    int type = -1;
    EXPECT_EQ(OsWLGetNetworkType(&type), 0);
    EXPECT_EQ(type, 0);  // no network
    ASSERT_TRUE(ctl({"set", "sim=locked", "registered=true"}));
    EXPECT_EQ(OsWlGetSimStatus(&ready), 0);
    EXPECT_EQ(ready, 0);
    EXPECT_EQ(OsWlCheck(), -3509);
    EXPECT_EQ(OsWlInit(nullptr), -3509);  // the service says locked too
    EXPECT_EQ(OsWlInitEx(nullptr, 0, nullptr, 0), -3509);
    ASSERT_TRUE(ctl({"set", "sim=ready", "network_mode=7"}));
    EXPECT_EQ(OsWLGetNetworkType(&type), 0);
    EXPECT_EQ(type, 7);
}

TEST_F(Cellular, SignalBandsAtTheirBoundaries) {
    const int cases[][2] = {{3, 0},  {4, 1},  {5, 1},  {6, 2},  {9, 2},  {10, 3},
                            {14, 3}, {15, 4}, {19, 4}, {20, 5}, {31, 5}, {99, 0}};
    for (const auto &c : cases) {
        ASSERT_TRUE(ctl({"set", "signal=" + std::to_string(c[0])}));
        EXPECT_EQ(OsWlGetSignal(), c[1]) << "signal " << c[0];
        EXPECT_EQ(OsWlGetSignalStrength(), c[0]);
    }
    ASSERT_TRUE(ctl({"fault", "fail", "1"}));
    EXPECT_EQ(OsWlGetSignalStrength(), -1);
}

TEST_F(Cellular, RadioQualityNeedsThreeFields) {
    int rsrp = 0, rsrq = 0, sinr = -1;
    ASSERT_TRUE(ctl({"set", "radio_sqi=-95,-10,12"}));
    EXPECT_EQ(OsWLGetRadioSQI(&rsrp, &rsrq, &sinr), 0);
    EXPECT_EQ(rsrp * 10000 + rsrq * 100 + sinr, -95 * 10000 - 10 * 100 + 12);
    ASSERT_TRUE(ctl({"set", "radio_sqi=-95,-10"}));
    EXPECT_EQ(OsWLGetRadioSQI(&rsrp, &rsrq, &sinr), -3505);
    ASSERT_TRUE(ctl({"set", "radio_sqi=-90,-11,"}));  // the trailing comma adds an empty field
    EXPECT_EQ(OsWLGetRadioSQI(&rsrp, &rsrq, &sinr), 0);
    EXPECT_EQ(rsrp, -90);
    EXPECT_EQ(sinr, 0);
    EXPECT_EQ(OsWLGetRadioSQI(&rsrp, nullptr, &sinr), -1003);
}

TEST_F(Cellular, IdentitiesAndTheIccidLength) {
    char out[64] = {0};
    EXPECT_EQ(OsWlGetImei(nullptr), -1003);
    EXPECT_EQ(OsWlGetImei(out), 0);
    EXPECT_STREQ(out, "869012040123456");
    memset(out, 0, sizeof out);
    EXPECT_EQ(OsWlGetIccid(out), 0);
    EXPECT_STREQ(out, "89860012345678901234");

    ASSERT_TRUE(ctl({"set", "iccid=8986001234567890123"}));  // 19 characters
    memset(out, 0, sizeof out);
    EXPECT_EQ(OsWlGetIccid(out), -1016);
    EXPECT_STREQ(out, "");
    // Longer identities are cut to the 31 characters the caller's buffer is promised.
    ASSERT_TRUE(ctl({"set", "imei=0123456789012345678901234567890123456789"}));
    memset(out, 'x', sizeof out);
    EXPECT_EQ(OsWlGetImei(out), 0);
    EXPECT_EQ(std::string(out, 32), std::string("0123456789012345678901234567890") + "x");

    ASSERT_TRUE(ctl({"set", "sim=absent"}));
    EXPECT_EQ(OsWlGetImsi(out), -1007);
    EXPECT_EQ(OsWlGetIccid(out), -1007);
}

TEST_F(Cellular, DnsAddressesWithinTheirBounds) {
    char out[32];
    EXPECT_EQ(OsSetDNSAddr(0, "1.1.1.1"), 0);               // 7 characters, the shortest
    EXPECT_EQ(OsSetDNSAddr(1, "1.1.1.1234567890"), -1003);  // 16
    EXPECT_EQ(OsSetDNSAddr(2, "8.8.8.8"), -1003);
    EXPECT_EQ(OsSetDNSAddr(0, nullptr), -1003);
    EXPECT_EQ(OsSetDNSAddr(1, "999.1.1.1"), -1);  // the service judges the address
    EXPECT_EQ(OsGetDNSAddr(0, out, sizeof out), 0);
    EXPECT_STREQ(out, "1.1.1.1");
    EXPECT_EQ(OsGetDNSAddr(0, out, 7), -1003);
    EXPECT_EQ(OsGetDNSAddr(0, out, 8), 0);
    EXPECT_STREQ(out, "1.1.1.1");
    EXPECT_EQ(OsGetDNSAddr(1, out, 8), 0);  // "8.8.8.8" and its terminator fill 8 bytes
    EXPECT_STREQ(out, "8.8.8.8");
    ASSERT_TRUE(ctl({"set", "dns=[\"1.1.1.1\",\"114.114.114.114\"]"}));
    EXPECT_EQ(OsGetDNSAddr(1, out, 15), -1003);
    EXPECT_EQ(OsGetDNSAddr(1, out, 16), 0);
    EXPECT_STREQ(out, "114.114.114.114");

    EXPECT_EQ(OsGetCurDNSAddr(out, sizeof out), -1);  // no link, no server in use
    ASSERT_TRUE(ctl({"event", "link_up"}));
    EXPECT_EQ(OsGetCurDNSAddr(out, sizeof out), 0);
    EXPECT_STREQ(out, "1.1.1.1");
}

TEST_F(Cellular, NetworkTypeAndEsmCountRefusals) {
    int value = -1;
    EXPECT_EQ(OsSetPreferredNetworkType(2), -1003);
    EXPECT_EQ(OsSetPreferredNetworkType(1), 0);
    EXPECT_EQ(OsGetPreferredNetworkType(&value), 0);
    EXPECT_EQ(value, 1);
    ASSERT_TRUE(ctl({"fault", "fail", "2"}));
    EXPECT_EQ(OsSetPreferredNetworkType(0), -1015);
    EXPECT_EQ(OsGetPreferredNetworkType(&value), -1015);
    EXPECT_EQ(OsSetEsmFailTimes(6), -1003);
    EXPECT_EQ(OsSetEsmFailTimes(5), 0);
    EXPECT_EQ(OsGetEsmFailTimes(&value), 0);
    EXPECT_EQ(value, 5);
    EXPECT_EQ(OsGetEsmFailTimes(nullptr), -1003);
}

TEST_F(Cellular, ModuleClaimAndUnsupportedCalls) {
    EXPECT_EQ(OsWlSwitchPower(1), -1006);
    EXPECT_EQ(OsWlLock(), 0);
    EXPECT_EQ(OsWlLock(), 0);
    EXPECT_EQ(OsWlSwitchPower(1), 0);
    OsWlUnLock();
    EXPECT_EQ(OsWlSwitchPower(0), -1006);
    EXPECT_EQ(OsWlSwitchSleep(1), -1015);
    EXPECT_EQ(OsWlSelSim(1), -1015);
    EXPECT_EQ(OsWlLoginEx("", "", "", "", 0, 0, 0, 0), -1015);
    EXPECT_EQ(OsWLModulePowerDown(), 0);
    EXPECT_EQ(OsWLModulePowerOn(), 0);
}

TEST_F(Cellular, AutoConnectBitsGoThroughTheService) {
    int on = -1;
    struct Change {
        int before;
        int (*set)(int);
        int on;
        int sent;
    };
    // Clearing masks with eight bits: bits above 7 go with it (259 = 0x103).
    const Change changes[] = {{3, OsWlSetAutoConnectStatus, 0, 2},
                              {3, OsWifiSetAutoConnectStatus, 0, 1},
                              {259, OsWlSetAutoConnectStatus, 0, 2},
                              {0, OsWifiSetAutoConnectStatus, 1, 2}};
    for (const Change &c : changes) {
        ASSERT_TRUE(ctl({"set", "auto_connect=" + std::to_string(c.before)}));
        EXPECT_EQ(c.set(c.on), 0);
        EXPECT_EQ(network()["auto_connect"], c.sent) << c.before << " with " << c.on;
    }
    EXPECT_EQ(OsWifiGetAutoConnectStatus(&on), 0);
    EXPECT_EQ(on, 1);
    EXPECT_EQ(OsWlGetAutoConnectStatus(&on), 0);
    EXPECT_EQ(on, 0);
    ASSERT_TRUE(ctl({"fault", "fail", "1", "-8"}));
    EXPECT_EQ(OsWlSetAutoConnectStatus(2), -1003);  // nothing read or sent: the fault waits
    EXPECT_EQ(OsWlSetAutoConnectStatus(1), -8);
    EXPECT_EQ(OsWlGetAutoConnectStatus(nullptr), -1003);

    int mode = -1;
    EXPECT_EQ(OsSetAirplaneMode(1), 0);
    EXPECT_EQ(OsGetAirplaneMode(&mode), 0);
    EXPECT_EQ(mode, 1);
    EXPECT_EQ(OsWlCheck(), -3307);  // airplane mode drops the registration
    EXPECT_EQ(shm_get_property(nullptr, &mode), -1);
    EXPECT_EQ(shm_set_property("pos.test.value", -123456), 0);
    EXPECT_EQ(shm_get_property("pos.test.value", &mode), 0);
    EXPECT_EQ(mode, -123456);
    EXPECT_NE(shm_get_property("pos.test.missing", &mode), 0);
}

TEST_F(Cellular, OperatorBaseStationApnAndQueries) {
    char name[64] = {0};
    EXPECT_EQ(OsWlGetSimOperator(name), 0);
    EXPECT_STREQ(name, "CHINA MOBILE");
    int f[5] = {0};
    ASSERT_TRUE(ctl({"set", "base_station=[460,1,100,200,7]"}));
    EXPECT_EQ(OsWlGetDevBaseStation(&f[0], &f[1], &f[2], &f[3], &f[4]), 0);
    EXPECT_EQ(f[0] + f[1] + f[2] + f[3] + f[4], 768);
    EXPECT_EQ(f[3], 200);
    EXPECT_EQ(OsWlGetDevBaseStation(&f[0], &f[1], nullptr, &f[3], &f[4]), -1003);

    int reg = 0;
    char lac[32], cell[32];
    EXPECT_EQ(OsWlGetModuleREG(&reg, lac, cell), 0);
    EXPECT_EQ(reg, 1);
    EXPECT_STREQ(cell, "C8");
    char tech[32], code[32];
    EXPECT_EQ(OsWlGetQNetworkInfo(tech, code), 0);
    EXPECT_STREQ(code, "46000");

    EXPECT_EQ(OsSetApnParams("internet.test", nullptr, "pw"), 0);
    EXPECT_EQ(network()["apn"], nlohmann::json({"GSM", "internet.test", "", "pw", "3", "IP"}));
    char apn[64], user[64] = "x", password[64];
    EXPECT_EQ(OsGetApnParams(apn, user, password), 0);
    EXPECT_STREQ(apn, "internet.test");
    EXPECT_STREQ(user, "");
    EXPECT_EQ(OsGetApnParams(apn, nullptr, password), -1003);

    ASSERT_TRUE(ctl({"set", "registered=false"}));
    EXPECT_EQ(OsWlGetDevBaseStation(&f[0], &f[1], &f[2], &f[3], &f[4]), -1);
}

TEST(StrSubstring, SplitsAndPadsATrailingDelimiter) {
    char fields[4][32];
    EXPECT_EQ(StrSubstring("a,bb,ccc", ",", fields, 4), 3);
    EXPECT_STREQ(fields[2], "ccc");
    EXPECT_EQ(StrSubstring("a,", ",", fields, 4), 4);  // every remaining field empty
    EXPECT_STREQ(fields[1], "");
    EXPECT_STREQ(fields[3], "");
    EXPECT_EQ(StrSubstring("a,b,c,d,e", ",", fields, 2), 2);
    EXPECT_STREQ(fields[1], "b");
    std::string longField(40, 'z');
    EXPECT_EQ(StrSubstring((longField + "::y").c_str(), "::", fields, 4), 2);
    EXPECT_EQ(strlen(fields[0]), 31u);
    EXPECT_STREQ(fields[1], "y");
    EXPECT_EQ(StrSubstring("", ",", fields, 4), 0);
    EXPECT_EQ(StrSubstring("abc", "", fields, 4), 0);
}

}  // namespace
