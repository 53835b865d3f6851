// The simulated cards: APDU table matching, MIFARE Classic access conditions, and what a card
// file may hold.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "CardFile.h"

using nlohmann::json;
using possim::ByteString;
using possim::MifareRight;

namespace {

ByteString hex(const std::string &text) {
    ByteString bytes;
    std::string error;
    EXPECT_TRUE(possim::parseHex(text, bytes, error)) << text;
    return bytes;
}

std::string answer(const possim::ApduTable &table, const std::string &command) {
    return possim::toHex(table.answer(hex(command)));
}

TEST(CardFile, FirstMatchingRowAnswersWithWildcardsAndTheDefaultOtherwise) {
    possim::Card card = possim::cardFromJson(json::parse(R"({"contact": {
        "atr": "3B00", "default_sw": "6E00",
        "apdus": [
            {"command": "00B2010C00", "response": "01 9000"},
            {"command": "00B2 ?? 0C *", "response": "029000"},
            {"command": "00B2 *", "response": "6A83"},
            {"command": "80CA ???? 00", "response": "9000"}]}})"));
    const possim::ApduTable &table = card.contact.apdus;
    EXPECT_EQ(answer(table, "00B2010C00"), "019000");
    EXPECT_EQ(answer(table, "00B2020C00"), "029000");
    EXPECT_EQ(answer(table, "00B2020C"), "029000");  // "*" takes no bytes as well
    EXPECT_EQ(answer(table, "00B2021400"), "6A83");
    EXPECT_EQ(answer(table, "00B2"), "6A83");
    EXPECT_EQ(answer(table, "80CA9F3600"), "9000");
    EXPECT_EQ(answer(table, "80CA9F36"), "6E00");      // too short for the pattern
    EXPECT_EQ(answer(table, "80CA9F360000"), "6E00");  // too long without "*"
    EXPECT_EQ(answer(table, "00A4040000"), "6E00");
}

TEST(CardFile, HexText) {
    ByteString bytes;
    std::string error;
    EXPECT_TRUE(possim::parseHex(" 0a Bc\t9F ", bytes, error));
    EXPECT_EQ(possim::toHex(bytes), "0ABC9F");
    EXPECT_FALSE(possim::parseHex("0AB", bytes, error));
    EXPECT_EQ(error, "odd number of hexadecimal digits");
    EXPECT_FALSE(possim::parseHex("0x0A", bytes, error));
    EXPECT_EQ(error, "not hexadecimal");
}

TEST(CardFile, MifareAccessConditions) {
    const ByteString transport = hex("FF078069");    // data 000, trailer 001
    const ByteString readAwriteB = hex("78778869");  // data 100, trailer 011
    const ByteString valueBlocks = hex("08778F69");  // data 110, trailer 011
    const ByteString brokenCopy = hex("FF078169");

    EXPECT_TRUE(possim::mifareAccessValid(transport));
    EXPECT_TRUE(possim::mifareAccessValid(readAwriteB));
    EXPECT_TRUE(possim::mifareAccessValid(valueBlocks));
    EXPECT_FALSE(possim::mifareAccessValid(brokenCopy));
    EXPECT_FALSE(possim::mifareAllows(brokenCopy, 0, 'A', MifareRight::Read));

    // Transport: key A does everything, key B is readable and therefore no key at all.
    EXPECT_TRUE(possim::mifareAllows(transport, 1, 'A', MifareRight::Write));
    EXPECT_TRUE(possim::mifareAllows(transport, 3, 'A', MifareRight::WriteAccess));
    EXPECT_TRUE(possim::mifareAllows(transport, 3, 'A', MifareRight::ReadKeyB));
    EXPECT_FALSE(possim::mifareAllows(transport, 1, 'B', MifareRight::Read));

    EXPECT_TRUE(possim::mifareAllows(readAwriteB, 0, 'A', MifareRight::Read));
    EXPECT_FALSE(possim::mifareAllows(readAwriteB, 0, 'A', MifareRight::Write));
    EXPECT_TRUE(possim::mifareAllows(readAwriteB, 2, 'B', MifareRight::Write));
    EXPECT_FALSE(possim::mifareAllows(readAwriteB, 2, 'B', MifareRight::Increment));
    EXPECT_FALSE(possim::mifareAllows(readAwriteB, 3, 'A', MifareRight::WriteKeyA));
    EXPECT_TRUE(possim::mifareAllows(readAwriteB, 3, 'B', MifareRight::WriteAccess));
    EXPECT_FALSE(possim::mifareAllows(readAwriteB, 3, 'B', MifareRight::ReadKeyB));

    // 110 on data blocks: increment with key B only, decrement with either.
    EXPECT_TRUE(possim::mifareAllows(valueBlocks, 1, 'B', MifareRight::Increment));
    EXPECT_FALSE(possim::mifareAllows(valueBlocks, 1, 'A', MifareRight::Increment));
    EXPECT_TRUE(possim::mifareAllows(valueBlocks, 1, 'A', MifareRight::Decrement));
    EXPECT_FALSE(possim::mifareAllows(valueBlocks, 3, 'B', MifareRight::Increment));
}

TEST(CardFile, RefusedCardsNameTheField) {
    const std::vector<std::pair<const char *, const char *>> refused = {
        {R"({})", "a card needs"},
        {R"({"contact": {"atr": "3B"}})", "contact.atr: 1 bytes, expected 2 to 33"},
        {R"({"contact": {"atr": "3B00", "apdus": [{"command": "00A", "response": "9000"}]}})",
         "contact.apdus[0].command: odd number of digits"},
        {R"({"contact": {"atr": "3B00", "apdus": [{"command": "00", "response": "90"}]}})",
         "contact.apdus[0].response: 1 bytes"},
        {R"({"contact": {"atr": "3B00", "default_sw": "900"}})", "contact.default_sw: odd"},
        {R"({"magstripe": {"track2": ";12AB?"}})", "magstripe.track2: a character"},
        {R"({"magstripe": {"track1": 5}})", "magstripe.track1: expected text"},
        {R"({"contactless": {"uid": "0102030405"}})", "contactless.uid: 4, 7 or 10 bytes"},
        {R"({"contactless": {"uid": "01020304", "mifare": [{"key_a": "FFFFFFFFFFFF",
            "key_b": "FFFFFFFFFFFF", "access": "FF078169", "blocks": ["", "", ""]}]}})",
         "contactless.mifare[0].access: the inverted bits disagree"},
        {R"({"contactless": {"type": "F"}})", "a type F card needs"},
        {R"({"contactless": {"type": "F", "felica": {"idm": "0102030405060708",
            "services": {"09": []}}}})",
         "contactless.felica.services.09: a service code"},
    };
    for (const auto &[text, reason] : refused) {
        try {
            possim::cardFromJson(json::parse(text));
            ADD_FAILURE() << "taken: " << text;
        } catch (const std::invalid_argument &e) {
            EXPECT_NE(std::string(e.what()).find(reason), std::string::npos) << e.what();
        }
    }
}

TEST(CardFile, ShippedCardsReadAndWriteBackUnchanged) {
    for (const char *name : {"emv-contact", "contactless", "magstripe", "felica"}) {
        SCOPED_TRACE(name);
        json first = possim::cardToJson(
            possim::readCard(json(std::string(POS_SIM_CARDS) + "/" + name + ".json")));
        EXPECT_EQ(possim::cardToJson(possim::cardFromJson(first)), first);
    }
    EXPECT_THROW(possim::readCard(json("no-such-card")), std::invalid_argument);
}

}  // namespace
