// The PIN pad service through the hub, on a simulated terminal driven through its console.
#include <gtest/gtest.h>

#include <pos_sdk/crypto.h>
#include <pos_sdk/service/BpTransferHub.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "Console.h"

namespace {

using Data = std::vector<unsigned char>;

Data fromHex(const std::string &hex) {
    Data out;
    for (size_t i = 0; i + 1 < hex.size(); i += 2)
        out.push_back(std::stoi(hex.substr(i, 2), nullptr, 16));
    return out;
}

std::string toHex(const Data &data) {
    static const char kDigits[] = "0123456789ABCDEF";
    std::string out;
    for (unsigned char b : data) out += {kDigits[b >> 4], kDigits[b & 15]};
    return out;
}

// Triple DES ECB with the library's own DES, the oracle for the service's libcrypto.
Data encrypt(const std::string &keyHex, const Data &data, bool forward = true) {
    Data key = fromHex(keyHex), out(data.size());
    (forward ? TripleDes : _TripleDes)(key.data(), int(key.size()), data.data(), int(data.size()),
                                       out.data());
    return out;
}

std::string checkValue(const std::string &keyHex) {
    return toHex(encrypt(keyHex, Data(8, 0))).substr(0, 6);
}

std::string text(const char *answer) {
    return answer != nullptr ? answer : "(null)";
}

// Test keys of odd parity.
const char kMasterKey[] = "0123456789ABCDEFFEDCBA9876543210";
const char kPinKey[] = "89ABCDEF01234567FEDCBA9876543210";

class Pinpad : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(harness::underSimulator()) << "run under pos-sim run --";
        ASSERT_EQ(hub.IPinpadOpen("test"), 0);
    }

    void console(const std::vector<std::string> &words) {
        possim::ctl::Answer answer = harness::ctl(words);
        ASSERT_TRUE(answer.ok) << answer.text;
    }

    BpTransferHub hub;
};

TEST_F(Pinpad, DukptPinBlocksMatchThePublishedVectors) {
    // The initial key of BDK 0123456789ABCDEFFEDCBA9876543210 for KSN FFFF9876543210E00000.
    ASSERT_EQ(hub.IPinpadDUKPTWriteKey("0|0|6AC292FAA1315B4D858AB3A3D7D5933A|FFFF9876543210E00000"),
              0);
    const char *const expected[] = {"0|1B9C1845EB993A7A|FFFF9876543210E00001",
                                    "0|10A01C8D02C69107|FFFF9876543210E00002",
                                    "0|18DC07B94797B466|FFFF9876543210E00003"};
    for (const char *block : expected) {
        EXPECT_EQ(text(hub.IPinpadDUKPTGetPinBlock("0|4012345678909", 30)), "1|0");
        console({"pinpad", "event", "pin", "digits=1234"});
        EXPECT_EQ(text(hub.IPinpadDUKPTGetPinResult()), block);
    }
    EXPECT_EQ(text(hub.IPinpadDUKPTGetKSN(0)), "0|FFFF9876543210E00003");

    // The same device from its base derivation key; its first block is the published one.
    ASSERT_EQ(
        hub.IPinpadDUKPTWriteKey(("1|1|0123456789ABCDEFFEDCBA9876543210|FFFF9876543210E00000|" +
                                  checkValue("6AC292FAA1315B4D858AB3A3D7D5933A"))
                                     .c_str()),
        0);
    EXPECT_EQ(text(hub.IPinpadGetKCV("4|1")),
              "0|" + checkValue("6AC292FAA1315B4D858AB3A3D7D5933A"));
    hub.IPinpadDUKPTGetPinBlock("1|4012345678909", 30);
    console({"pinpad", "event", "pin", "digits=1234"});
    EXPECT_EQ(text(hub.IPinpadDUKPTGetPinResult()), expected[0]);

    // Six counters further on, the tenth transaction key.
    for (int i = 0; i < 6; ++i) ASSERT_EQ(hub.IPinpadDUKPTIncKSN(0), 0);
    EXPECT_EQ(text(hub.IPinpadDUKPTGetKSN(0)), "0|FFFF9876543210E00009");
    hub.IPinpadDUKPTGetPinBlock("0|4012345678909", 30);
    console({"pinpad", "event", "pin", "digits=1234"});
    EXPECT_EQ(text(hub.IPinpadDUKPTGetPinResult()), "0|EDABBA23221833FE|FFFF9876543210E0000A");
}

// The variant for MASK of the published transaction key of counter 1.
std::string counterOneVariant(const char *mask) {
    Data key = fromHex("042666B49184CFA368DE9628D0397BC9"), variant = fromHex(mask);
    for (int i = 0; i < 16; ++i) key[i] ^= variant[i];
    return toHex(key);
}

TEST_F(Pinpad, DukptMacsAndDataUseTheTransactionOfTheLastPinBlock) {
    ASSERT_EQ(hub.IPinpadDUKPTWriteKey("0|0|6AC292FAA1315B4D858AB3A3D7D5933A|FFFF9876543210E00000"),
              0);
    hub.IPinpadDUKPTGetPinBlock("0|4012345678909", 30);
    console({"pinpad", "event", "pin", "digits=1234"});
    ASSERT_EQ(text(hub.IPinpadDUKPTGetPinResult()), "0|1B9C1845EB993A7A|FFFF9876543210E00001");

    // X9.19 under the MAC variant: single DES CBC under its left half, then the last block
    // decrypted under the right half and encrypted under the left.
    std::string macKey = counterOneVariant("000000000000FF00000000000000FF00");
    Data message = fromHex("4E6F77206973207468652074696D6520666F7220616C6C20"), chain(8, 0);
    for (size_t at = 0; at < message.size(); at += 8) {
        for (int i = 0; i < 8; ++i) chain[i] ^= message[at + i];
        chain = encrypt(macKey.substr(0, 16), chain);
    }
    chain = encrypt(macKey.substr(16), chain, false);
    chain = encrypt(macKey.substr(0, 16), chain);
    EXPECT_EQ(text(hub.IPinpadDUKPTGetMac("0|1|4E6F77206973207468652074696D6520666F7220616C6C20")),
              "0|" + toHex(chain) + "|FFFF9876543210E00001");

    // The data variant made one-way: each half encrypted under the variant itself.
    std::string variant = counterOneVariant("0000000000FF00000000000000FF0000");
    std::string dataKey = toHex(encrypt(variant, fromHex(variant)));
    EXPECT_EQ(
        text(hub.IPinpadDUKPTGetDes("0|0|0011223344556677")),
        "0|" + toHex(encrypt(dataKey, fromHex("0011223344556677"))) + "|FFFF9876543210E00001");
    EXPECT_EQ(text(hub.IPinpadDUKPTGetDes("0|0|00112233")), "-14|data must be whole 8-byte blocks");
}

TEST_F(Pinpad, MasterAndSessionKeysGiveTheFormatZeroPinBlockAndMacs) {
    EXPECT_EQ(text(hub.IPinpadPushMasterKey((std::string("1|") + kMasterKey).c_str())),
              "0|" + checkValue(kMasterKey));
    // The PIN key travels encrypted under the master key, with its check value.
    std::string wrapped = toHex(encrypt(kMasterKey, fromHex(kPinKey)));
    EXPECT_EQ(
        text(hub.IPinpadPushWorkKey(("1|1|2|" + wrapped + "|" + checkValue(kPinKey)).c_str())),
        "0|" + checkValue(kPinKey));

    EXPECT_EQ(text(hub.IPinpadStartInput("2|4012345678909", 30)), "1|0");
    console({"pinpad", "event", "key", "digits=12"});
    console({"pinpad", "event", "key", "digits=39"});
    console({"pinpad", "event", "backspace"});
    console({"pinpad", "event", "key", "digits=4"});
    EXPECT_EQ(text(hub.IPinpadGetPinResult()), "1|4");
    EXPECT_EQ(harness::state("pinpad")["entry"]["digits"], 4);
    console({"pinpad", "event", "enter"});
    // Format 0 by hand: 0, length 4, PIN 1234, F padding; XOR 0000 and the twelve PAN digits
    // left of the check digit.
    Data pinField = fromHex("041234FFFFFFFFFF"), panField = fromHex("0000401234567890"), block(8);
    for (int i = 0; i < 8; ++i) block[i] = pinField[i] ^ panField[i];
    ASSERT_EQ(toHex(block), "041274EDCBA9876F");
    EXPECT_EQ(text(hub.IPinpadGetPinResult()), "0|" + toHex(encrypt(kPinKey, block)));

    // MACs of "Now is the time for all ": X9.9 (one DES key twice) and X9.19.
    const std::string data = "|4E6F77206973207468652074696D6520666F7220616C6C20";
    ASSERT_EQ(hub.IPinpadLoadKey("2|3|0123456789ABCDEF0123456789ABCDEF"), 0);
    EXPECT_EQ(text(hub.IPinpadMacCal(("3|1" + data).c_str())), "0|70A30640CC76DD8B");
    ASSERT_EQ(hub.IPinpadLoadKey("2|4|0123456789ABCDEFFEDCBA9876543210"), 0);
    EXPECT_EQ(text(hub.IPinpadMacCal(("4|1" + data).c_str())), "0|A1C72E74EA3FA9B6");
    EXPECT_EQ(text(hub.IPinpadMacCalIn(("4|1" + data + "|A1C72E74").c_str())),
              "0|A1C72E74EA3FA9B6");
    EXPECT_EQ(text(hub.IPinpadMacCalIn(("4|1" + data + "|A1C72E75").c_str())),
              "-15|MAC does not match");
    // ISO 9797-1 algorithm 1 with triple DES: the last block of CBC.
    Data plain = fromHex(data.substr(1)), chain(8, 0);
    for (size_t at = 0; at < plain.size(); at += 8) {
        for (int i = 0; i < 8; ++i) chain[i] ^= plain[at + i];
        chain = encrypt("0123456789ABCDEFFEDCBA9876543210", chain);
    }
    EXPECT_EQ(text(hub.IPinpadMacCal(("4|2" + data).c_str())), "0|" + toHex(chain));

    ASSERT_EQ(hub.IPinpadLoadKey((std::string("3|7|") + kPinKey).c_str()), 0);
    EXPECT_EQ(text(hub.IPinpadDataDeal("7|0|0011223344556677")),
              "0|" + toHex(encrypt(kPinKey, fromHex("0011223344556677"))));
    EXPECT_EQ(text(hub.IPinpadDataDeal("7|1|0011223344556677")),
              "0|" + toHex(encrypt(kPinKey, fromHex("0011223344556677"), false)));
    EXPECT_EQ(text(hub.IPinpadGetKeyState(3, 7)), "0|1");
    EXPECT_EQ(text(hub.IPinpadGetKeyState(3, 8)), "0|0");
}

TEST_F(Pinpad, PinEntryIsCancelledTimesOutAndTakesTheTerminalsKeys) {
    ASSERT_EQ(hub.IPinpadLoadKey((std::string("1|0|") + kPinKey).c_str()), 0);
    EXPECT_EQ(text(hub.IPinpadGetPinResult()), "-10|no PIN entry");

    hub.IPinpadStartInput("0|4012345678909", 30);
    EXPECT_EQ(text(hub.IPinpadStartInput("0|4012345678909", 30)),
              "-9|a PIN entry is already waiting");
    console({"pinpad", "event", "key", "digits=12"});
    console({"pinpad", "event", "cancel"});
    EXPECT_EQ(text(hub.IPinpadGetPinResult()), "-11|cancelled");
    EXPECT_EQ(text(hub.IPinpadDUKPTGetPinResult()), "-10|no PIN entry");
    EXPECT_FALSE(harness::ctl({"pinpad", "event", "enter"}).ok);  // nothing waits any more

    hub.IPinpadStartInput("0|4012345678909", 1);
    auto started = std::chrono::steady_clock::now();
    EXPECT_EQ(text(hub.IPinpadGetPinResult()), "1|0");
    std::this_thread::sleep_until(started + std::chrono::milliseconds(1100));
    EXPECT_EQ(text(hub.IPinpadGetPinResult()), "-12|timed out");
    EXPECT_EQ(harness::state("pinpad")["entry"]["state"], "timed out");

    // The application's own keys: clear, too short an enter, cancel.
    hub.IPinpadStartInput("0|4012345678909", 30);
    console({"pinpad", "event", "key", "digits=987"});
    EXPECT_EQ(hub.IPinpadCtrlKeyResponse(2), 0);
    EXPECT_EQ(text(hub.IPinpadGetPinResult()), "1|0");
    console({"pinpad", "event", "key", "digits=123"});
    EXPECT_EQ(hub.IPinpadCtrlKeyResponse(1), -14);  // three digits: still waiting
    EXPECT_EQ(hub.IPinpadCtrlKeyResponse(7), -1);
    EXPECT_EQ(hub.IPinpadCtrlKeyResponse(0), 0);
    EXPECT_EQ(text(hub.IPinpadGetPinResult()), "-11|cancelled");
    EXPECT_EQ(hub.IPinpadCtrlKeyResponse(1), -10);

    // Scripted entries of the scenario, in turn.
    console({"pinpad", "set", R"(scripted_pins=["1234","cancel"])"});
    EXPECT_EQ(text(hub.IPinpadStartInput("0|4012345678909", 30)).substr(0, 2), "0|");
    EXPECT_EQ(text(hub.IPinpadStartInput("0|4012345678909", 30)), "-11|cancelled");

    console({"pinpad", "set", "card_present=false"});
    EXPECT_EQ(text(hub.IPinpadStartInput("0|4012345678909", 30)), "-13|no card");
    ASSERT_EQ(hub.IPinpadClose(), 0);
    EXPECT_EQ(text(hub.IPinpadStartInput("0|4012345678909", 30)), "-8|PIN pad not open");
}

TEST_F(Pinpad, BadInputGetsACodeAndAReason) {
    EXPECT_EQ(hub.IPinpadLoadKey("0|1|0123456789ABCDEF"), -3);                  // 8 bytes
    EXPECT_EQ(hub.IPinpadLoadKey("0|1|1123456789ABCDEFFEDCBA9876543210"), -4);  // parity
    EXPECT_EQ(hub.IPinpadLoadKey("0|1|0123456789ABCDEFFEDCBA987654321"), -2);   // odd hex
    EXPECT_EQ(hub.IPinpadLoadKey("0|1|0123456789ABCDEFFEDCBA98765432G0"), -2);
    EXPECT_EQ(hub.IPinpadLoadKey("0|100|0123456789ABCDEFFEDCBA9876543210"), -6);
    EXPECT_EQ(hub.IPinpadLoadKey("0|1|0123456789ABCDEFFEDCBA9876543210|000000"), -7);
    EXPECT_EQ(hub.IPinpadLoadKey("nonsense"), -1);
    EXPECT_EQ(hub.IPinpadLoadKey(nullptr), -1);
    EXPECT_EQ(text(hub.IPinpadGetKCV("0|1")), "-5|no key at index 1");
    EXPECT_EQ(text(hub.IPinpadPushWorkKey("5|1|1|00")), "-5|no key at index 5");
    EXPECT_EQ(text(hub.IPinpadGetKeyState(9, 0)), "-1|key type must be 0 to 4");
    EXPECT_EQ(text(hub.IPinpadGetRandom(0)), "-14|length must be 1 to 256");
    EXPECT_EQ(hub.IPinpadDUKPTIncKSN(3), -5);
    EXPECT_EQ(hub.IPinpadDUKPTWriteKey("0|0|6AC292FAA1315B4D858AB3A3D7D5933A|FFFF98765432"), -14);
    EXPECT_EQ(hub.IPinpadInit("2|20"), -1);

    ASSERT_EQ(hub.IPinpadLoadKey((std::string("3|0|") + kPinKey).c_str()), 0);
    EXPECT_EQ(text(hub.IPinpadDataDeal("0|0|00112233")), "-14|data must be whole 8-byte blocks");
    EXPECT_EQ(text(hub.IPinpadDataDeal("0|9|0011223344556677")), "-17|mode must be 0 to 3");
    ASSERT_EQ(hub.IPinpadLoadKey((std::string("1|0|") + kPinKey).c_str()), 0);
    EXPECT_EQ(text(hub.IPinpadStartInput("0|40123", 30)), "-1|PAN: 13 to 19 digits");
    EXPECT_EQ(text(hub.IPinpadStartInput("0|4012345678909", 0)), "-1|time-out must be 1 to 300 s");

    // The service took all that and still answers.
    std::string random = text(hub.IPinpadGetRandom(8));
    EXPECT_EQ(random.size(), 2u + 16u) << random;
    EXPECT_EQ(text(hub.IPinpadGetSecVer()), "0|KV-SIM-PINPAD V1.0.0");
}

TEST_F(Pinpad, TheKeyStoreOutlivesARestartAndShowsNoKeyValues) {
    ASSERT_EQ(hub.IPinpadLoadKey((std::string("0|3|") + kMasterKey).c_str()), 0);
    ASSERT_EQ(hub.IPinpadDUKPTWriteKey("2|0|6AC292FAA1315B4D858AB3A3D7D5933A|FFFF9876543210E00000"),
              0);
    ASSERT_EQ(hub.IPinpadDUKPTIncKSN(2), 0);
    std::string shown = harness::ctl({"pinpad", "state"}).text;
    EXPECT_EQ(shown.find(kMasterKey), std::string::npos) << shown;
    EXPECT_EQ(shown.find("6AC292FA"), std::string::npos) << shown;
    EXPECT_NE(shown.find(checkValue(kMasterKey)), std::string::npos) << shown;

    console({"pinpad", "kill"});
    console({"pinpad", "restart"});
    testing::internal::CaptureStdout();
    hub.IPinpadGetSecVer();  // meets the dead proxy
    testing::internal::GetCapturedStdout();
    ASSERT_EQ(hub.IPinpadOpen("again"), 0);
    EXPECT_EQ(text(hub.IPinpadGetKCV("0|3")), "0|" + checkValue(kMasterKey));
    EXPECT_EQ(text(hub.IPinpadDUKPTGetKSN(2)), "0|FFFF9876543210E00001");
    hub.IPinpadDUKPTGetPinBlock("2|4012345678909", 30);
    console({"pinpad", "event", "pin", "digits=1234"});
    EXPECT_EQ(text(hub.IPinpadDUKPTGetPinResult()), "0|10A01C8D02C69107|FFFF9876543210E00002");

    ASSERT_EQ(hub.IPinpadEraseAllKeys(), 0);
    console({"pinpad", "restart"});
    testing::internal::CaptureStdout();
    hub.IPinpadGetSecVer();
    testing::internal::GetCapturedStdout();
    hub.IPinpadOpen("again");
    EXPECT_EQ(text(hub.IPinpadGetKeyState(0, 3)), "0|0");
}

}  // namespace
