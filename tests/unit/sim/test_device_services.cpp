// The simulated printer, Wi-Fi and security services driven through the SDK's proxies in
// this process: what a receipt image holds, the printer's refusals, networks joined with their
// passwords and the supplicant's answers, and the security processor's clear operations.
#include <gtest/gtest.h>

#include <pos_sdk/service/ISecurityManager.h>
#include <pos_sdk/service/IThermalManager.h>
#include <pos_sdk/service/IWifiManager.h>

#include <nlohmann/json.hpp>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include "ReceiptPng.h"
#include "Registry.h"

using namespace android;
using nlohmann::json;

namespace {

sp<possim::SimService> makeService(const char *key, const json &section) {
    return possim::findService(key)->make(section);
}

json control(const sp<possim::SimService> &service, const json &command) {
    int status = -1;
    json answer = json::parse(service->control(command.dump(), &status));
    EXPECT_EQ(status, 0) << answer;
    return answer;
}

json event(const sp<possim::SimService> &service, const std::string &name, const json &args) {
    return control(service, {{"command", "event"}, {"name", name}, {"args", args}});
}

// ---- printer ----

class Printer : public ::testing::Test {
  protected:
    void SetUp() override {
        dir = std::filesystem::temp_directory_path() /
              ("receipts-" + std::to_string(getpid()) + "-" +
               ::testing::UnitTest::GetInstance()->current_test_info()->name());
        service = makeService("printer", {{"receipt_dir", dir.string()}, {"width", 64}});
        printer = new BpThermalManager(service);
        ASSERT_EQ(printer->ThermalOpen(0), 0);
    }
    void TearDown() override { std::filesystem::remove_all(dir); }

    possim::Dots receipt(int number) {
        char name[32];
        snprintf(name, sizeof name, "receipt-%04d.png", number);
        possim::Dots dots;
        std::string error;
        EXPECT_TRUE(possim::readReceiptPng((dir / name).string(), dots, error)) << error;
        return dots;
    }

    std::filesystem::path dir;
    sp<possim::SimService> service;
    sp<IThermalManager> printer;
};

TEST_F(Printer, TestPatternLandsDotForDotInTheReceiptImage) {
    // 12 dots wide, 3 rows: row 0 all black, row 1 alternate dots from the left one, row 2
    // only the last dot. Two bytes a row, leftmost dot in the high bit.
    const char pattern[] =
        "FFF0"
        "AAA0"
        "0010";
    ASSERT_EQ(printer->ThermalPrintBmp(pattern, 5, 12, 3, 0, 2), 0);  // at x 5, 2 rows after
    ASSERT_EQ(printer->ThermalPrintBmp("80", 0, 1, 1, 2, 0), 0);      // one dot, right-aligned
    ASSERT_EQ(printer->ThermalPrintBmp("C0", 0, 2, 1, 1, 0), 0);      // two dots, centred
    EXPECT_EQ(printer->ThermalStatus(1), 7);
    ASSERT_EQ(printer->ThermalFeedPaper(3, 1), 0);
    EXPECT_EQ(printer->ThermalStatus(1), 0);

    possim::Dots paper = receipt(1);
    ASSERT_EQ(paper.width, 64);
    ASSERT_EQ(paper.height(), 10);
    auto black = [&](int x, int y) {
        if (y < 3) {
            int dot = x - 5;
            if (dot < 0 || dot >= 12) return false;
            return y == 0 || (y == 1 && dot % 2 == 0) || (y == 2 && dot == 11);
        }
        if (y == 5) return x == 63;
        if (y == 6) return x == 31 || x == 32;
        return false;  // the gap and the feed are blank paper
    };
    for (int y = 0; y < paper.height(); ++y)
        for (int x = 0; x < paper.width; ++x)
            ASSERT_EQ(paper.dots[size_t(y * 64 + x)] != 0, black(x, y)) << x << "," << y;

    // Closing cuts the next receipt into a file of its own.
    ASSERT_EQ(printer->ThermalPrintBmp("FF", 0, 8, 1, 0, 0), 0);
    ASSERT_EQ(printer->ThermalClose(), 0);
    EXPECT_EQ(receipt(2).height(), 1);
    EXPECT_EQ(control(service, {{"command", "state"}})["receipts"], 2);
}

TEST_F(Printer, BadBitmapsAndConditionsAreRefusedWithNothingPrinted) {
    struct Bad {
        const char *text;
        int x, width, height, align, gap;
    };
    const Bad bad[] = {
        {"FF", 0, 8, 2, 0, 0},     // text for one row of two
        {"FFF", 0, 8, 1, 0, 0},    // odd digit count
        {"GG", 0, 8, 1, 0, 0},     // not hex
        {nullptr, 0, 8, 1, 0, 0},  // no text
        {"FF", 60, 8, 1, 0, 0},    // past the paper's edge
        {"FF", -1, 8, 1, 0, 0},    // before it
        {"", 0, 0, 0, 0, 0},       // nothing to print
        {"FF", 0, 8, 1, 3, 0},     // unknown alignment
        {"FF", 0, 8, 1, 0, -1},    // negative gap
    };
    for (const Bad &b : bad) {
        SCOPED_TRACE(b.text ? b.text : "(null)");
        EXPECT_EQ(printer->ThermalPrintBmp(b.text, b.x, b.width, b.height, b.align, b.gap), -1);
    }
    EXPECT_EQ(printer->ThermalStatus(1), 0);
    EXPECT_EQ(printer->ThermalSetDensity(9, 1), -1);
    EXPECT_EQ(printer->ThermalSetDensity(8, 4), 0);

    // Paper for 4 rows: a bitmap of 3 rows and a gap of 2 does not fit and runs the paper out.
    control(service, {{"command", "set"}, {"values", {{"paper_left", 4}}}});
    EXPECT_EQ(printer->ThermalPrintBmp("FFFFFF", 0, 8, 3, 0, 2), -3);
    EXPECT_EQ(printer->ThermalStatus(0), -3);
    EXPECT_EQ(printer->ThermalFeedPaper(1, 0), -3);
    EXPECT_EQ(printer->ThermalStatus(1), 0);
    event(service, "paper_loaded", {{"dots", "100"}});
    EXPECT_EQ(printer->ThermalPrintBmp("FFFFFF", 0, 8, 3, 0, 2), 0);
    EXPECT_EQ(printer->ThermalStatus(2), 95);

    event(service, "overheat", json::object());
    EXPECT_EQ(printer->ThermalPrintBmp("FF", 0, 8, 1, 0, 0), -4);
    event(service, "cool_down", json::object());
    EXPECT_EQ(printer->ThermalClose(), 0);
    EXPECT_EQ(printer->ThermalPrintBmp("FF", 0, 8, 1, 0, 0), -2);
}

TEST_F(Printer, BlackLabelStopsThePaperAtTheNextLabel) {
    EXPECT_EQ(printer->ThermalFindBlackLabel(1000), -5);  // plain paper
    control(service, {{"command", "set"}, {"values", {{"black_label_pitch", 40}}}});
    ASSERT_EQ(printer->ThermalPrintBmp("FF", 0, 8, 1, 0, 9), 0);  // 10 dots on
    EXPECT_EQ(printer->ThermalFindBlackLabel(29), -5);            // 30 dots away
    EXPECT_EQ(printer->ThermalFindBlackLabel(30), 0);
    EXPECT_EQ(receipt(1).height(), 40);
    EXPECT_EQ(control(service, {{"command", "state"}})["position"], 40);
}

// ---- Wi-Fi ----

class Wifi : public ::testing::Test {
  protected:
    sp<possim::SimService> service = makeService(
        "wifi", {{"networks",
                  {{{"ssid", "Caf\xc3\xa9 \"Bar\""},
                    {"bssid", "aa:00:00:00:00:01"},
                    {"level", -48},
                    {"password", "secret12"}},
                   {{"ssid", "Open"}, {"bssid", "aa:00:00:00:00:02"}, {"level", -80}}}}});
    sp<IWifiManager> wifi = new BpWifiManager(service);

    WifiConfig config(const char *ssid, const char *password) {
        WifiConfig c;
        memset(&c, 0, sizeof c);
        strcpy(c.ssid, ssid);
        if (password) strncpy(c.password, password, sizeof c.password);
        c.mode = password ? WIFI_CONFIG_SECURED : WIFI_CONFIG_OPEN;
        return c;
    }
    std::string command(const char *text, int size = 512) {
        char reply[4096] = "";
        EXPECT_EQ(wifi->WifiSendCmd(const_cast<char *>(text), reply, size), 0);
        return reply;
    }
};

TEST_F(Wifi, ScanGivesEscapedNamesAndJoiningChecksThePassword) {
    smartlist_t *list = smartlist_new();
    ASSERT_EQ(wifi->WifiScan(list), 0);
    ASSERT_EQ(list->num_used, 2);
    auto *first = static_cast<WifiScanRecord *>(list->list[0]);
    EXPECT_STREQ(first->ssid, "Caf\\xc3\\xa9 \\\"Bar\\\"");
    EXPECT_STREQ(first->bssid, "aa:00:00:00:00:01");
    EXPECT_EQ(first->level, -48);
    EXPECT_STREQ(first->flags, "[WPA2-PSK-CCMP][ESS]");
    EXPECT_STREQ(static_cast<WifiScanRecord *>(list->list[1])->flags, "[ESS]");
    smartlist_free(list);

    char ssid[256], state[64], address[64];
    int level = 0;
    WifiConfig wrong = config("Caf\xc3\xa9 \"Bar\"", "secret13");
    WifiConfig open = config("Caf\xc3\xa9 \"Bar\"", nullptr);
    WifiConfig right = config("Caf\xc3\xa9 \"Bar\"", "secret12");
    WifiConfig absent = config("Elsewhere", nullptr);
    EXPECT_EQ(wifi->WifiConnect(&wrong, 1), -4);
    EXPECT_EQ(wifi->WifiConnect(&open, 1), -4);
    EXPECT_EQ(wifi->WifiConnect(&absent, 1), -3);
    EXPECT_EQ(wifi->WifiCheckStatus(ssid, state, address, &level), 0);
    EXPECT_STREQ(state, "DISCONNECTED");
    EXPECT_STREQ(address, "");

    EXPECT_EQ(wifi->WifiConnect(&right, 5), 0);
    EXPECT_EQ(wifi->WifiCheckStatus(ssid, state, address, &level), 0);
    EXPECT_STREQ(ssid, "Caf\\xc3\\xa9 \\\"Bar\\\"");
    EXPECT_STREQ(state, "COMPLETED");
    EXPECT_STREQ(address, "192.168.1.100");
    EXPECT_EQ(level, -48);

    // Leaving and coming back to the same network.
    EXPECT_EQ(wifi->WifiDisconnect(), 0);
    EXPECT_EQ(wifi->WifiReconnect(), 0);
    EXPECT_EQ(control(service, {{"command", "state"}})["connected"], "Caf\xc3\xa9 \"Bar\"");
    WifiConfig openNet = config("Open", nullptr);
    EXPECT_EQ(wifi->WifiConnect(&openNet, 1), 0);

    // A radio switched off neither scans nor joins.
    EXPECT_EQ(wifi->WifiClose(), 0);
    list = smartlist_new();
    EXPECT_EQ(wifi->WifiScan(list), -2);
    EXPECT_EQ(list->num_used, 0);
    smartlist_free(list);
    EXPECT_EQ(wifi->WifiConnect(&openNet, 1), -2);
}

TEST_F(Wifi, RawCommandsAnswerLikeASupplicantAndTheConsoleMovesNetworks) {
    EXPECT_EQ(command("PING"), "PONG\n");
    EXPECT_EQ(command("REASSOCIATE"), "FAIL\n");
    EXPECT_EQ(command("STATUS"), "wpa_state=DISCONNECTED\naddress=02:00:00:00:01:00\n");
    EXPECT_EQ(command("SCAN_RESULTS"),
              "bssid / frequency / signal level / flags / ssid\n"
              "aa:00:00:00:00:01\t2437\t-48\t[WPA2-PSK-CCMP][ESS]\tCaf\\xc3\\xa9 \\\"Bar\\\"\n"
              "aa:00:00:00:00:02\t2437\t-80\t[ESS]\tOpen\n");
    EXPECT_EQ(command("PING", 3), "PO");  // cut to the caller's size

    event(service, "add_network",
          {{"ssid", "Shop"}, {"bssid", "aa:00:00:00:00:03"}, {"level", "-60"}});
    WifiConfig shop = config("Shop", nullptr);
    ASSERT_EQ(wifi->WifiConnect(&shop, 1), 0);
    event(service, "signal", {{"ssid", "Shop"}, {"level", "-91"}});
    EXPECT_EQ(command("STATUS"),
              "bssid=aa:00:00:00:00:03\nfreq=2437\nssid=Shop\nid=0\nmode=station\n"
              "wpa_state=COMPLETED\nip_address=192.168.1.100\naddress=02:00:00:00:01:00\n");
    EXPECT_EQ(command("LIST_NETWORKS"),
              "network id / ssid / bssid / flags\n0\tShop\tany\t[CURRENT]\n");
    // The joined network going out of range drops the link.
    event(service, "remove_network", {{"ssid", "Shop"}});
    EXPECT_EQ(control(service, {{"command", "state"}})["connected"], "");

    int status = 0;
    json refused = json::parse(service->control(json({{"command", "event"},
                                                      {"name", "add_network"},
                                                      {"args", {{"ssid", std::string(33, 'x')}}}})
                                                    .dump(),
                                                &status));
    EXPECT_EQ(status, -1) << refused;
}

// ---- security ----

TEST(Security, RandomClearsAndParameters) {
    sp<possim::SimService> service = makeService("security", {{"anti_tamper", 5}});
    sp<ISecurityManager> security = new BpSecurityManager(service);

    std::string a = security->SecurityGetRandom(16), b = security->SecurityGetRandom(16);
    EXPECT_EQ(a.size(), 32u);
    EXPECT_EQ(a.find_first_not_of("0123456789ABCDEF"), std::string::npos);
    EXPECT_NE(a, b);
    EXPECT_STREQ(security->SecurityGetRandom(0), "");

    int state = 0;
    EXPECT_EQ(security->SecurityGetAntiTamperState(&state), 0);
    EXPECT_EQ(state, 5);
    char wrong[] = "12345678", right[] = "00000000";
    EXPECT_EQ(security->SecurityClearAntiTamperState(0, wrong, 8), -3);
    EXPECT_EQ(security->SecurityClearAntiTamperState(0, right, 7), -1);  // length not the text's
    EXPECT_EQ(security->SecurityGetAntiTamperState(&state), 0);
    EXPECT_EQ(state, 5);
    EXPECT_EQ(security->SecurityClearAntiTamperState(0, right, 8), 0);
    EXPECT_EQ(security->SecurityGetAntiTamperState(&state), 0);
    EXPECT_EQ(state, 0);
    EXPECT_EQ(security->SecurityClearSerialNumber(0, nullptr, 0), -1);
    EXPECT_EQ(security->SecurityClearSerialNumber(0, right, 8), 0);
    EXPECT_EQ(control(service, {{"command", "state"}})["serial_number"], "");

    event(service, "tamper", {{"bits", "2"}});
    EXPECT_EQ(security->SecurityGetAntiTamperState(&state), 0);
    EXPECT_EQ(state, 2);

    char value[] = "on";
    EXPECT_EQ(security->SecuritySetParam(7, value), 0);
    EXPECT_EQ(security->SecuritySetParam(256, value), -1);
    EXPECT_STREQ(security->SecurityGetParam(7), "on");
    EXPECT_STREQ(security->SecurityGetParam(8), "");
    EXPECT_EQ(control(service, {{"command", "state"}})["params"], json({{"7", "on"}}));
    EXPECT_STRNE(security->SecurityGetEncCID(), "");
    EXPECT_EQ(security->SecurityClearOSPubKey(), 0);
    EXPECT_EQ(control(service, {{"command", "state"}})["os_pub_key"], false);
}

}  // namespace
