// Raw request bytes and reply decoding of every Wi-Fi service transaction.
#include <gtest/gtest.h>

#include <pos_sdk/service/IWifiManager.h>

#include <cstring>

#include "WireRecorder.h"

using namespace android;

namespace {

class WifiWire : public WireTest<IWifiManager> {
  protected:
    WifiWire() : WireTest("com.torva.binder.IWifiManager") {}
};

// A 540-byte scan record as the service writes it.
std::vector<uint8_t> scanRecord(const char *bssid, int level, const char *flags, const char *ssid) {
    std::vector<uint8_t> r(540, 0);
    memcpy(r.data(), bssid, strlen(bssid));
    for (int i = 0; i < 4; ++i) r[24 + i] = uint8_t(uint32_t(level) >> (8 * i));
    memcpy(r.data() + 28, flags, strlen(flags));
    memcpy(r.data() + 284, ssid, strlen(ssid));
    return r;
}

TEST_F(WifiWire, ArgumentlessCallsSendTheTokenAlone) {
    struct Call {
        uint32_t code;
        int (IWifiManager::*op)();
    };
    const Call calls[] = {{1, &IWifiManager::WifiOpen},
                          {2, &IWifiManager::WifiClose},
                          {5, &IWifiManager::WifiDisconnect},
                          {10, &IWifiManager::WifiReconnect}};
    for (const Call &c : calls) {
        SCOPED_TRACE(c.code);
        service->script(Bytes().i32(-int(c.code)));
        EXPECT_EQ((proxy.get()->*c.op)(), -int(c.code));
        expectRequest(c.code, Bytes());
    }
    service->script(Bytes().i32(0));
    EXPECT_EQ(proxy->WifiEnable(1), 0);
    expectRequest(8, Bytes().i32(1));
}

TEST_F(WifiWire, ConfigGoesOutAsExactly196RawBytes) {
    WifiConfig config;
    memset(&config, 0, sizeof config);
    strcpy(config.ssid, "Cafe");
    memcpy(config.password, "0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef",
           64);  // all 64 bytes, no terminator
    config.mode = 1;
    std::vector<uint8_t> raw(196, 0);
    memcpy(raw.data(), "Cafe", 4);
    memcpy(raw.data() + 128, "0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef",
           64);
    raw[192] = 1;

    service->script(Bytes().i32(0));
    EXPECT_EQ(proxy->WifiConnect(&config, 7), 0);
    expectRequest(4, Bytes().raw(raw).i32(7));

    service->script(Bytes().i32(-3));
    EXPECT_EQ(proxy->WifiSaveConfig(&config), -3);
    expectRequest(9, Bytes().raw(raw));
}

TEST_F(WifiWire, ScanAppendsEachRecordToWhatTheListHolds) {
    smartlist_t *list = smartlist_new();
    smartlist_add(list, malloc(1));  // already there: kept
    service->script(Bytes()
                        .i32(0)
                        .i32(2)
                        .raw(scanRecord("aa:bb:cc:dd:ee:01", -48, "[WPA2-PSK-CCMP][ESS]", "One"))
                        .raw(scanRecord("aa:bb:cc:dd:ee:02", -90, "[ESS]", "\\xe5\\x92\\x96")));
    EXPECT_EQ(proxy->WifiScan(list), 0);
    expectRequest(3, Bytes());
    ASSERT_EQ(list->num_used, 3);
    const auto *first = static_cast<const WifiScanRecord *>(list->list[1]);
    const auto *second = static_cast<const WifiScanRecord *>(list->list[2]);
    EXPECT_STREQ(first->bssid, "aa:bb:cc:dd:ee:01");
    EXPECT_EQ(first->level, -48);
    EXPECT_STREQ(first->flags, "[WPA2-PSK-CCMP][ESS]");
    EXPECT_STREQ(first->ssid, "One");
    EXPECT_EQ(second->level, -90);
    EXPECT_STREQ(second->ssid, "\\xe5\\x92\\x96");
    smartlist_free(list);
}

TEST_F(WifiWire, ScanRepliesThatAreRefusedShortOrOverstatedStayInBounds) {
    smartlist_t *list = smartlist_new();
    // A refusal carries no count: nothing appended, the status returned.
    service->script(Bytes().i32(-5).i32(1).raw(scanRecord("x", 1, "", "y")));
    EXPECT_EQ(proxy->WifiScan(list), -5);
    EXPECT_EQ(list->num_used, 0);

    // An empty reply (a dead service) reads as status 0 and count 0.
    service->scriptRaw(Bytes());
    EXPECT_EQ(proxy->WifiScan(list), 0);
    EXPECT_EQ(list->num_used, 0);

    // A count of a million over one whole record and 30 bytes of a second: two records, the
    // second zero-padded after what arrived.
    std::vector<uint8_t> partial = scanRecord("aa:bb", -60, "[ESS]", "Short");
    partial.resize(30);
    service->script(
        Bytes().i32(0).i32(1000000).raw(scanRecord("aa:aa", -50, "[ESS]", "Whole")).raw(partial));
    EXPECT_EQ(proxy->WifiScan(list), 0);
    ASSERT_EQ(list->num_used, 2);
    const auto *cut = static_cast<const WifiScanRecord *>(list->list[1]);
    EXPECT_STREQ(cut->bssid, "aa:bb");
    EXPECT_EQ(cut->level, -60);
    EXPECT_EQ(cut->flags[0], '[');
    EXPECT_EQ(cut->flags[2], '\0');  // bytes 30 on were not in the reply
    EXPECT_EQ(cut->ssid[0], '\0');

    // A negative count appends nothing.
    service->script(Bytes().i32(0).i32(-1).raw(scanRecord("x", 1, "", "y")));
    EXPECT_EQ(proxy->WifiScan(list), 0);
    EXPECT_EQ(list->num_used, 2);
    smartlist_free(list);
}

TEST_F(WifiWire, StatusTextsAndRawCommands) {
    char ssid[64] = "old", state[32] = "old", address[16] = "old";
    int value = 0;
    service->script(Bytes().i32(0).cstr("Cafe").cstr("COMPLETED").cstr("10.0.0.7").i32(-52));
    EXPECT_EQ(proxy->WifiCheckStatus(ssid, state, address, &value), 0);
    expectRequest(6, Bytes());
    EXPECT_STREQ(ssid, "Cafe");
    EXPECT_STREQ(state, "COMPLETED");
    EXPECT_STREQ(address, "10.0.0.7");
    EXPECT_EQ(value, -52);

    // Texts the reply lacks come back empty.
    service->script(Bytes().i32(-1));
    EXPECT_EQ(proxy->WifiCheckStatus(ssid, state, address, &value), -1);
    EXPECT_STREQ(ssid, "");
    EXPECT_STREQ(address, "");

    char command[] = "SCAN_RESULTS";
    char reply[64] = "";
    service->script(Bytes().i32(0).cstr("bssid / frequency\n"));
    EXPECT_EQ(proxy->WifiSendCmd(command, reply, 512), 0);
    expectRequest(7, Bytes().cstr("SCAN_RESULTS").i32(512));
    EXPECT_STREQ(reply, "bssid / frequency\n");
}

}  // namespace
