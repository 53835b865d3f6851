// The Wi-Fi API on a simulated terminal: scan entries from the service's records and the
// scan's rounds, joining with exactly the password length given, the status, the signal
// bands at their edges and raw commands within the caller's buffer.
#include <gtest/gtest.h>

#include <pos_sdk/network.h>
#include <pos_sdk/wifi.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "Console.h"

namespace {

using Clock = std::chrono::steady_clock;

bool wifiCtl(std::vector<std::string> words) {
    words.insert(words.begin(), "wifi");
    possim::ctl::Answer answer = harness::ctl(words);
    EXPECT_TRUE(answer.ok) << answer.text;
    return answer.ok;
}

// Names are decoded with the shell's "echo -e", as the terminal's shell has it; a host whose
// /bin/sh echoes "-e" itself (dash) cannot decode them.
bool shellEchoDecodes() {
    FILE *p = popen("echo -e -n \"\\x41\"", "r");
    if (p == nullptr) return false;
    char out[16] = {0};
    size_t n = fread(out, 1, sizeof out - 1, p);
    pclose(p);
    return n == 1 && out[0] == 'A';
}

WIFI_CONNECT_T request(const char *ssid, int security, const char *password, int length) {
    WIFI_CONNECT_T r;
    memset(&r, 0, sizeof r);
    strcpy(r.ssid, ssid);
    r.security = security;
    memcpy(r.password, password, strlen(password));
    r.password_len = length;
    return r;
}

class Wifi : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(harness::underSimulator()) << "run under pos-sim run --";
        ASSERT_TRUE(wifiCtl({"event", "add_network", "ssid=Cafe", "bssid=aa:00:00:00:00:01",
                             "level=-48", "password=secret12"}));
        ASSERT_TRUE(wifiCtl({"event", "add_network", "ssid=Tkip", "bssid=aa:00:00:00:00:02",
                             "level=-70", "flags=[WPA-PSK-TKIP]", "password=tkiptkip"}));
        ASSERT_TRUE(
            wifiCtl({"event", "add_network", "ssid=Open", "bssid=aa:00:00:00:00:03", "level=-90"}));
    }
};

TEST_F(Wifi, ScanEntriesCarryTheRecordsFieldsAndSecurityCodes) {
    ASSERT_TRUE(wifiCtl({"set", "scan_empty_rounds=2"}));  // the loop asks again every 500 ms
    WIFI_SCAN_ENTRY_T *entries = nullptr;
    Clock::time_point start = Clock::now();
    ASSERT_EQ(OsWifiScan(&entries), 3);
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(900));
    ASSERT_NE(entries, nullptr);
    const struct {
        const char *bssid;
        int level, security, cipher;
    } expected[] = {{"aa:00:00:00:00:01", -48, 5, 16},
                    {"aa:00:00:00:00:02", -70, 5, 32},
                    {"aa:00:00:00:00:03", -90, 1, 0}};
    for (int i = 0; i < 3; ++i) {
        SCOPED_TRACE(i);
        EXPECT_STREQ(entries[i].bssid, expected[i].bssid);
        EXPECT_EQ(entries[i].level, expected[i].level);
        EXPECT_EQ(entries[i].security, expected[i].security);
        EXPECT_EQ(entries[i].cipher, expected[i].cipher);
        EXPECT_EQ(std::string(entries[i].reserved, 8), std::string(8, '\0'));
    }
    free(entries);
    EXPECT_EQ(OsWifiScan(nullptr), -1003);
}

TEST_F(Wifi, NamesAreDecodedAndOneDecodingToNothingIsDropped) {
    if (!shellEchoDecodes()) GTEST_SKIP() << "/bin/sh's echo does not take -e";
    // "\c" ends echo's output at once: that name decodes to nothing.
    ASSERT_TRUE(wifiCtl({"event", "remove_network", "ssid=Tkip"}));
    ASSERT_TRUE(wifiCtl({"event", "add_network", "ssid=\\c", "bssid=aa:00:00:00:00:04"}));
    ASSERT_TRUE(
        wifiCtl({"event", "add_network", "ssid=Caf\xc3\xa9 $(x) `y`", "bssid=aa:00:00:00:00:05"}));
    WIFI_SCAN_ENTRY_T *entries = nullptr;
    testing::internal::CaptureStderr();
    ASSERT_EQ(OsWifiScan(&entries), 3);
    std::string log = testing::internal::GetCapturedStderr();
    EXPECT_NE(log.find("wifi name exception"), std::string::npos) << log;
    EXPECT_NE(log.find("wifi num  [3]"), std::string::npos) << log;
    EXPECT_STREQ(entries[0].ssid, "Cafe");
    EXPECT_STREQ(entries[1].ssid, "Open");
    EXPECT_STREQ(entries[2].ssid, "Caf\xc3\xa9 $(x) `y`");  // echoed, never run
    EXPECT_STREQ(entries[3].ssid, "");                      // the array keeps its size
    free(entries);

    WIFI_CONNECT_T cafe = request("Cafe", 5, "secret12", 8);
    ASSERT_EQ(OsWifiConnect(&cafe, 1), 0);
    char ssid[64] = {0}, state[64] = {0}, address[64] = {0};
    int value = 0;
    ASSERT_EQ(OsGetWifiStatus(ssid, state, address, &value), 0);
    EXPECT_STREQ(ssid, "Cafe");
    EXPECT_STREQ(state, "COMPLETED");
    EXPECT_STREQ(address, "192.168.1.100");
    EXPECT_EQ(value, -48);
}

TEST_F(Wifi, ConnectSendsExactlyThePasswordLengthAndTheStatusFollowsTheLink) {
    WIFI_CONNECT_T shortOne = request("Cafe", 5, "secret12", 7);
    WIFI_CONNECT_T longOne = request("Cafe", 5, "secret12tail", 8);
    WIFI_CONNECT_T open = request("Cafe", 0, "secret12", 8);  // not WPA: no password sent
    char ssid[256] = {0}, state[64] = {0};
    int value = 0;
    EXPECT_EQ(OsWifiConnect(&shortOne, 1), -4);
    EXPECT_EQ(OsWifiConnect(&open, 1), -4);
    EXPECT_EQ(OsWifiCheck(ssid, state, &value), -1012);
    EXPECT_EQ(OsWifiConnect(&longOne, 3), 0);
    EXPECT_EQ(harness::state("wifi")["last_connect_arg"], 3);
    EXPECT_EQ(OsWifiCheck(ssid, state, &value), 0);
    EXPECT_STREQ(state, "COMPLETED");
    EXPECT_EQ(value, -48);

    EXPECT_EQ(OsWifiConnect(nullptr, 1), -1003);
    EXPECT_EQ(OsWifiConnect(&longOne, 0), -1003);
    EXPECT_EQ(OsWifiCheck(nullptr, state, &value), -1003);
    EXPECT_EQ(OsGetWifiStatus(ssid, state, nullptr, &value), -1003);

    EXPECT_EQ(OsWifiDisconnect(), 0);
    EXPECT_EQ(OsWifiCheck(ssid, state, &value), -1012);
    // Rejoining waits for auto-connect.
    ASSERT_EQ(OsWifiSetAutoConnectStatus(0), 0);
    EXPECT_EQ(OsWifiReconnect(), -2);
    EXPECT_EQ(harness::state("wifi")["connected"], "");
    ASSERT_EQ(OsWifiSetAutoConnectStatus(1), 0);
    EXPECT_EQ(OsWifiReconnect(), 0);
    EXPECT_EQ(harness::state("wifi")["connected"], "Cafe");
    EXPECT_EQ(OsWifiWpsConnect(WPS_MODE_PBC, nullptr), -1015);
}

TEST_F(Wifi, SignalLevelBandsAtTheirEdges) {
    EXPECT_EQ(OsGetWifiSignalStrength(), 0);  // nothing joined
    WIFI_CONNECT_T open = request("Open", 0, "", 0);
    ASSERT_EQ(OsWifiConnect(&open, 1), 0);
    const struct {
        const char *rssi;
        int level;
    } bands[] = {{"-30", 4}, {"-55", 4}, {"-56", 3},  {"-70", 3}, {"-71", 2},
                 {"-85", 2}, {"-86", 1}, {"-100", 1}, {"-101", 0}};
    for (const auto &b : bands) {
        SCOPED_TRACE(b.rssi);
        ASSERT_TRUE(wifiCtl({"event", "signal", "ssid=Open", std::string("level=") + b.rssi}));
        EXPECT_EQ(OsGetWifiSignalStrength(), b.level);
    }
}

TEST_F(Wifi, RawCommandsStayWithinTheCallersBuffer) {
    char *ping[] = {const_cast<char *>("PING"), const_cast<char *>("NOPE")};
    std::string out(4096, '\0');
    // Too small a buffer is refused before anything is sent: the pending failure stays.
    ASSERT_TRUE(wifiCtl({"fault", "fail", "1", "-5"}));
    EXPECT_EQ(OsWifiCmd(ping, 2, &out[0], 2047), -1003);
    EXPECT_EQ(OsWifiCmd(ping, 2, &out[0], 2048), -1003);  // the failure, taken now
    EXPECT_EQ(out[0], '\0');
    EXPECT_EQ(OsWifiCmd(ping, 2, &out[0], 2048), 0);
    EXPECT_EQ(std::string(out.c_str()), "PONG\nFAIL\n");
    EXPECT_EQ(OsWifiCmd(nullptr, 1, &out[0], 2048), -1003);
    EXPECT_EQ(OsWifiCmd(ping, 0, &out[0], 2048), -1003);

    // Answers of about 460 bytes: four fit 2048, the fifth would not and is not appended.
    for (int i = 0; i < 4; ++i) {
        std::string name = std::string(30, 'N') + "-" + std::to_string(i);
        ASSERT_TRUE(wifiCtl({"event", "add_network", "ssid=" + name,
                             "bssid=bb:00:00:00:00:0" + std::to_string(i)}));
    }
    char *results[8];
    for (char *&c : results) c = const_cast<char *>("SCAN_RESULTS");
    char one[512] = {0};
    ASSERT_EQ(OsWifiCmd(results, 1, one, 2048), 0);
    size_t each = strlen(one);
    ASSERT_GT(each, 2048u / 8);
    std::string big(2048 + 1, '\0');
    testing::internal::CaptureStderr();
    EXPECT_EQ(OsWifiCmd(results, 8, &big[0], 2048), -1003);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("outBuf size overflow"),
              std::string::npos);
    EXPECT_EQ(strlen(big.c_str()), (2048 / each) * each);
}

TEST_F(Wifi, AScanWithNothingInRangeGivesUpAfterTenSeconds) {
    for (const char *name : {"Cafe", "Tkip", "Open"})
        ASSERT_TRUE(wifiCtl({"event", "remove_network", std::string("ssid=") + name}));
    WIFI_SCAN_ENTRY_T *entries = reinterpret_cast<WIFI_SCAN_ENTRY_T *>(&entries);
    Clock::time_point start = Clock::now();
    EXPECT_EQ(OsWifiScan(&entries), 0);
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(9900));
    EXPECT_EQ(entries, nullptr);
}

}  // namespace
