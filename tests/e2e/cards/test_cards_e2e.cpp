// Reading simulated cards through the hub while the test handles the cards at the console:
// IC cards powered on and spoken to in APDUs, magnetic cards swiped and read, contactless
// cards tapped, activated, read as MIFARE Classic and FeliCa cards, and a reader service that
// dies mid-session and comes back.
#include <gtest/gtest.h>

#include <pos_sdk/service/BpTransferHub.h>

#include <string>

#include "Console.h"

namespace {

const char kSelectVisa[] = "00A4040007A000000003101000";
const char kReadRecord11[] = "00B2010C00";

bool startsWith(const char *text, const std::string &prefix) {
    return text != nullptr && std::string(text).compare(0, prefix.size(), prefix) == 0;
}

class Cards : public ::testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(harness::underSimulator()) << "run under pos-sim run --"; }

    void console(const std::vector<std::string> &words) {
        possim::ctl::Answer answer = harness::ctl(words);
        ASSERT_TRUE(answer.ok) << answer.text;
    }

    // The IC card reader open with the EMV test card inserted and powered on.
    void poweredContactCard() {
        console({"iccard", "event", "insert", "file=emv-contact"});
        ASSERT_EQ(hub.IICCardOpen(0, 0), 0);
        ASSERT_STREQ(hub.IICCardPowerOn(0, 3000), "3B6800000073C84013009000");
    }

    // The contactless reader open, its field on, the contactless test card in it.
    void contactlessCardInField(const char *file = "contactless") {
        console({"rfid", "event", "tap", std::string("file=") + file});
        ASSERT_EQ(hub.IRFIDOpen(0), 0);
        ASSERT_EQ(hub.IRFIDPowerOn(), 0);
    }

    BpTransferHub hub;
};

TEST_F(Cards, ContactCardPowersOnAndAnswersItsApduTable) {
    EXPECT_EQ(hub.IICCardDeckCheck(0, 0), -2);  // not open yet
    ASSERT_EQ(hub.IICCardOpen(0, 0), 0);
    EXPECT_EQ(hub.IICCardDeckCheck(0, 0), -3);
    EXPECT_STREQ(hub.IICCardPowerOn(0, 1000), "ERROR -3 no card in the slot");

    poweredContactCard();
    EXPECT_EQ(hub.IICCardDeckCheck(0, 0), 0);
    EXPECT_EQ(hub.IICCardDeckCheck(1, 0), -3);  // the SAM slots are empty
    EXPECT_EQ(hub.IICCardAsyncCardWorkAttr(0, 2, 0, 1, 9600, 1000), 0);
    EXPECT_EQ(hub.IICCardAsyncCardWorkAttr(0, 9, 0, 1, 9600, 1000), -1);

    // SELECT of the payment application with and without Le (the row ends in a wildcard).
    const char *fci = hub.IICCardAsyncCardComm(0, kSelectVisa, 2000);
    EXPECT_TRUE(startsWith(fci, "6F2A8407A0000000031010")) << fci;
    EXPECT_TRUE(std::string(fci).size() > 4 &&
                std::string(fci).substr(std::string(fci).size() - 4) == "9000");
    EXPECT_STREQ(hub.IICCardAsyncCardComm(0, "00 a4 04 00 07 a0 00 00 00 03 10 10", 2000), fci);
    EXPECT_STREQ(hub.IICCardAsyncCardComm(0, "00A4040007A000000004101000", 2000), "6A82");
    EXPECT_TRUE(startsWith(hub.IICCardAsyncCardComm(0, kReadRecord11, 2000), "70"));
    EXPECT_STREQ(hub.IICCardAsyncCardComm(0, "00B2050C00", 2000), "6A83");
    EXPECT_STREQ(hub.IICCardAsyncCardComm(0, "00CA9F1300", 2000), "6D00");  // default status
    EXPECT_EQ(harness::state("iccard")["last_command"], "00CA9F1300");

    EXPECT_EQ(hub.IICCardPowerOff(0, 0), 0);
    EXPECT_STREQ(hub.IICCardAsyncCardComm(0, kReadRecord11, 2000),
                 "ERROR -4 the card is not powered on");
}

TEST_F(Cards, BadCommandsAreRefusedWithAReason) {
    poweredContactCard();
    EXPECT_TRUE(startsWith(hub.IICCardAsyncCardComm(0, "00A4G4", 0), "ERROR -1 command: not hex"));
    EXPECT_TRUE(startsWith(hub.IICCardAsyncCardComm(0, "00A404000", 0), "ERROR -1 command: odd"));
    EXPECT_TRUE(startsWith(hub.IICCardAsyncCardComm(0, "00A4", 0), "ERROR -1 command: an APDU"));
    EXPECT_TRUE(startsWith(hub.IICCardAsyncCardComm(0, std::string(524, 'A').c_str(), 0),
                           "ERROR -1 command: an APDU"));
    EXPECT_TRUE(startsWith(hub.IICCardAsyncCardComm(0, nullptr, 0), "ERROR -1 no command"));
    EXPECT_TRUE(startsWith(hub.IICCardAsyncCardComm(7, kSelectVisa, 0), "ERROR -1"));
    EXPECT_TRUE(startsWith(hub.IICCardAsyncCardComm(0, kSelectVisa, -5), "ERROR -1"));
    EXPECT_EQ(harness::state("iccard")["exchanges"], 0);

    // Unknown or broken card files are refused at the console and change nothing.
    for (const char *file :
         {"file=no-such-card", "file=/etc", "card={\"contact\":{\"atr\":\"3B0\"}}",
          "card={\"contact\":{\"atr\":\"3B00\",\"apdus\":[{\"command\":\"0?\","
          "\"response\":\"9000\"}]}}"}) {
        possim::ctl::Answer answer = harness::ctl({"iccard", "event", "insert", file});
        EXPECT_FALSE(answer.ok) << file;
    }
    possim::ctl::Answer tooLong = harness::ctl(
        {"iccard", "event", "insert",
         "card={\"contact\":{\"atr\":\"3B00\",\"apdus\":[{\"command\":\"00\",\"response\":\"" +
             std::string(2 * 259, 'A') + "\"}]}}"});
    EXPECT_FALSE(tooLong.ok);
    EXPECT_NE(tooLong.text.find("259 bytes, expected 2 to 258"), std::string::npos) << tooLong.text;
    EXPECT_TRUE(startsWith(hub.IICCardAsyncCardComm(0, kReadRecord11, 0), "70"));
}

TEST_F(Cards, CardPulledOutMidSession) {
    poweredContactCard();
    EXPECT_TRUE(startsWith(hub.IICCardAsyncCardComm(0, kSelectVisa, 0), "6F"));
    console({"iccard", "event", "remove"});
    EXPECT_STREQ(hub.IICCardAsyncCardComm(0, kReadRecord11, 0), "ERROR -3 no card in the slot");
    EXPECT_EQ(hub.IICCardDeckCheck(0, 0), -3);
    // Back in, it must be powered on again before it answers.
    console({"iccard", "event", "insert"});
    EXPECT_TRUE(startsWith(hub.IICCardAsyncCardComm(0, kReadRecord11, 0), "ERROR -4"));
    EXPECT_STREQ(hub.IICCardPowerOn(0, 0), "3B6800000073C84013009000");
    EXPECT_TRUE(startsWith(hub.IICCardAsyncCardComm(0, kReadRecord11, 0), "70"));
}

TEST_F(Cards, MemoryCardIsReadAndWrittenWithSynchronousCommands) {
    console({"iccard", "event", "insert",
             "card={\"contact\":{\"atr\":\"A2131091\",\"memory\":\"00112233445566778899\"}}"});
    ASSERT_EQ(hub.IICCardOpen(0, 0), 0);
    ASSERT_STREQ(hub.IICCardPowerOn(0, 0), "A2131091");
    EXPECT_STREQ(hub.IICCardSyncCardComm(0, 1, "30000203", 0), "223344");
    EXPECT_STREQ(hub.IICCardSyncCardComm(0, 1, "380008ABCD", 0), "ABCD");
    EXPECT_STREQ(hub.IICCardSyncCardComm(0, 1, "30000804", 0),
                 "ERROR -1 beyond the card's 10 bytes");
    EXPECT_STREQ(hub.IICCardSyncCardComm(0, 1, "30000802", 0), "ABCD");
    EXPECT_TRUE(startsWith(hub.IICCardSyncCardComm(0, 1, "31000001", 0), "ERROR -1"));
    EXPECT_EQ(harness::state("iccard")["card"]["contact"]["memory"], "0011223344556677ABCD");
    // A processor card has no memory to address.
    poweredContactCard();
    EXPECT_TRUE(startsWith(hub.IICCardSyncCardComm(0, 1, "30000001", 0), "ERROR -5"));
}

TEST_F(Cards, SwipedTracksAreReadTrackByTrack) {
    int swiped = -1;
    EXPECT_EQ(hub.IMagcardStatus(&swiped), -2);  // not open: the value is still written
    EXPECT_EQ(swiped, 0);
    ASSERT_EQ(hub.IMagcardOpen(0), 0);
    EXPECT_EQ(hub.IMagcardRead(7, 0), -7);
    EXPECT_STREQ(hub.IMagcardReadData(2), "ERROR -7 nothing has been read");

    console({"magcard", "event", "swipe", "file=magstripe"});
    EXPECT_EQ(hub.IMagcardStatus(&swiped), 0);
    EXPECT_EQ(swiped, 1);
    EXPECT_EQ(hub.IMagcardRead(3, 15000), 0);  // tracks 1 and 2
    EXPECT_STREQ(hub.IMagcardReadData(1),
                 "%B5413330089010012^CARDHOLDER/TEST^2712101123456789000000?");
    EXPECT_STREQ(hub.IMagcardReadData(2), ";5413330089010012=27121011234567890?");
    EXPECT_STREQ(hub.IMagcardReadData(3), "");  // not asked for
    EXPECT_TRUE(startsWith(hub.IMagcardReadData(4), "ERROR -1"));
    EXPECT_EQ(hub.IMagcardStatus(&swiped), 0);
    EXPECT_EQ(swiped, 0);  // the swipe was taken
    EXPECT_EQ(hub.IMagcardRead(7, 0), -7);

    // Writing puts tracks onto the card last swiped; a track of wrong characters writes nothing.
    EXPECT_EQ(hub.IMagcardWrite("", ";1234567890=2512?", "", 0), 0);
    EXPECT_EQ(hub.IMagcardWrite("", ";12AB?", "", 0), -1);
    console({"magcard", "event", "swipe"});
    EXPECT_EQ(hub.IMagcardRead(2, 0), 0);
    EXPECT_STREQ(hub.IMagcardReadData(2), ";1234567890=2512?");

    console({"magcard", "event", "swipe"});
    EXPECT_EQ(hub.IMagcardCancel(), 0);
    EXPECT_EQ(hub.IMagcardRead(7, 0), -7);
    EXPECT_FALSE(harness::ctl({"magcard", "event", "swipe", "file=felica"}).ok);
}

TEST_F(Cards, TappedCardIsSelectedActivatedAndSpokenTo) {
    ASSERT_EQ(hub.IRFIDOpen(0), 0);
    EXPECT_STREQ(hub.IRFIDSearchCard(100), "ERROR -4 the RF field is off");
    ASSERT_EQ(hub.IRFIDPowerOn(), 0);
    EXPECT_STREQ(hub.IRFIDSearchCard(100), "ERROR -3 no card in the field");
    EXPECT_EQ(hub.IRFIDSearchCardWithoutPowerOn(100), -3);

    contactlessCardInField();
    EXPECT_EQ(hub.IRFIDSearchCardWithoutPowerOn(100), 0);
    EXPECT_STREQ(hub.IRFIDSearchCard(100), "A,A1B2C3D4,0004,28");
    EXPECT_TRUE(
        startsWith(hub.IRFIDAPDUComm("00A404000E325041592E5359532E444446303100", 0), "ERROR -4"));
    EXPECT_STREQ(hub.IRFIDCardPowerOn(100), "0578807002");
    const char *ppse = hub.IRFIDAPDUComm("00A404000E325041592E5359532E444446303100", 1000);
    EXPECT_TRUE(startsWith(ppse, "6F")) << ppse;
    EXPECT_STREQ(hub.IRFIDAPDUComm("00B2051C00", 1000), "6A83");
    EXPECT_TRUE(startsWith(hub.IRFIDAPDUComm("00B2", 1000), "ERROR -1"));

    // Type B wanted: the type A card is not seen.
    EXPECT_EQ(hub.IRFIDSelectCardType(2, 106), 0);
    EXPECT_STREQ(hub.IRFIDSearchCard(100), "ERROR -3 no card in the field");
    EXPECT_EQ(hub.IRFIDSelectCardType(2, 100), -1);
    EXPECT_EQ(hub.IRFIDSelectCardType(0, 106), 0);

    console({"rfid", "event", "remove"});
    EXPECT_STREQ(hub.IRFIDAPDUComm("00B2011C00", 0), "ERROR -3 no card in the field");
}

TEST_F(Cards, MifareSectorsOpenOnlyToTheRightKey) {
    contactlessCardInField();
    ASSERT_STREQ(hub.IRFIDSearchCard(100), "A,A1B2C3D4,0004,28");
    EXPECT_STREQ(hub.IRFIDMifareCardComm(0x30, "04", 0), "ERROR -6 sector not authenticated");

    // Sector 1: key A reads, key B reads and writes (access bits 78 77 88).
    EXPECT_STREQ(hub.IRFIDMifareCardComm(0x60, "04A0B0C0D0E0F0", 0), "OK");
    EXPECT_STREQ(hub.IRFIDMifareCardComm(0x30, "04", 0), "4C4F59414C5459203030303031323300");
    EXPECT_STREQ(hub.IRFIDMifareCardComm(0x30, "00", 0), "ERROR -6 sector not authenticated");
    EXPECT_STREQ(hub.IRFIDMifareCardComm(0xA0,
                                         "05"
                                         "11111111111111111111111111111111",
                                         0),
                 "ERROR -6 the access bits refuse writing");
    // The trailer hides key A always and key B where it is a key.
    EXPECT_STREQ(hub.IRFIDMifareCardComm(0x30, "07", 0), "00000000000078778869000000000000");

    EXPECT_STREQ(hub.IRFIDMifareCardComm(0x61, "04B0B1B2B3B4B5", 0), "OK");
    EXPECT_STREQ(hub.IRFIDMifareCardComm(0xA0,
                                         "05"
                                         "11111111111111111111111111111111",
                                         0),
                 "OK");
    EXPECT_STREQ(hub.IRFIDMifareCardComm(0x30, "05", 0), "11111111111111111111111111111111");

    // A wrong key fails and halts the card: it has to be selected again.
    EXPECT_STREQ(hub.IRFIDMifareCardComm(0x60, "04FFFFFFFFFFFF", 0),
                 "ERROR -6 authentication failed");
    EXPECT_TRUE(startsWith(hub.IRFIDMifareCardComm(0x30, "05", 0), "ERROR -4"));
    ASSERT_STREQ(hub.IRFIDSearchCard(100), "A,A1B2C3D4,0004,28");
    EXPECT_STREQ(hub.IRFIDMifareCardComm(0x30, "05", 0), "ERROR -6 sector not authenticated");

    // Sector 0 in transport configuration: key A reads everything, block 0 stays as made.
    EXPECT_STREQ(hub.IRFIDMifareCardComm(0x60, "00A0A1A2A3A4A5", 0), "OK");
    EXPECT_TRUE(startsWith(hub.IRFIDMifareCardComm(0x30, "00", 0), "A1B2C3D4"));
    EXPECT_TRUE(startsWith(hub.IRFIDMifareCardComm(0xA0,
                                                   "00"
                                                   "11111111111111111111111111111111",
                                                   0),
                           "ERROR -6"));
    EXPECT_TRUE(startsWith(hub.IRFIDMifareCardComm(0x30, "40", 0), "ERROR -1 no block"));
    EXPECT_TRUE(startsWith(hub.IRFIDMifareCardComm(0x30, "0", 0), "ERROR -1 data: odd"));
    EXPECT_TRUE(startsWith(hub.IRFIDMifareCardComm(0x99, "01", 0), "ERROR -5"));
    EXPECT_EQ(harness::state("rfid")["card"]["contactless"]["mifare"][1]["blocks"][1],
              "11111111111111111111111111111111");
}

TEST_F(Cards, MifareValueBlocksCountUpAndDownThroughTheTransferBuffer) {
    contactlessCardInField();
    ASSERT_STREQ(hub.IRFIDSearchCard(100), "A,A1B2C3D4,0004,28");
    // Sector 2 keeps a value of 100 in block 8: key B increments, either key decrements.
    ASSERT_STREQ(hub.IRFIDMifareCardComm(0x60, "08FFFFFFFFFFFF", 0), "OK");
    EXPECT_STREQ(hub.IRFIDMifareCardComm(0xC1, "080A000000", 0),
                 "ERROR -6 the access bits refuse it");
    EXPECT_STREQ(hub.IRFIDMifareCardComm(0xB0, "08", 0), "ERROR -1 nothing to transfer");
    EXPECT_STREQ(hub.IRFIDMifareCardComm(0xC0, "0819000000", 0), "OK");  // 100 - 25
    EXPECT_STREQ(hub.IRFIDMifareCardComm(0xB0, "08", 0), "OK");
    EXPECT_STREQ(hub.IRFIDMifareCardComm(0x30, "08", 0), "4B000000B4FFFFFF4B00000008F708F7");

    ASSERT_STREQ(hub.IRFIDMifareCardComm(0x61, "08B0B1B2B3B4B5", 0), "OK");
    EXPECT_STREQ(hub.IRFIDMifareCardComm(0xC1, "08E8030000", 0), "OK");  // + 1000
    EXPECT_STREQ(hub.IRFIDMifareCardComm(0xB0, "09", 0), "OK");          // into the next block
    EXPECT_STREQ(hub.IRFIDMifareCardComm(0x30, "09", 0), "33040000CCFBFFFF3304000008F708F7");
    EXPECT_STREQ(hub.IRFIDMifareCardComm(0x30, "08", 0), "4B000000B4FFFFFF4B00000008F708F7");
    // Restore copies a value unchanged; a block that is no value block is refused.
    EXPECT_STREQ(hub.IRFIDMifareCardComm(0xC2, "09", 0), "OK");
    EXPECT_STREQ(hub.IRFIDMifareCardComm(0xB0, "0A", 0), "OK");
    EXPECT_STREQ(hub.IRFIDMifareCardComm(0x30, "0A", 0), "33040000CCFBFFFF3304000008F708F7");
    EXPECT_STREQ(hub.IRFIDMifareCardComm(0xA0,
                                         "0A"
                                         "00000000000000000000000000000000",
                                         0),
                 "OK");
    EXPECT_STREQ(hub.IRFIDMifareCardComm(0xC0, "0A01000000", 0), "ERROR -1 not a value block");
    EXPECT_STREQ(hub.IRFIDMifareCardComm(0xC1, "08FFFFFF7F", 0), "ERROR -1 overflow");
}

TEST_F(Cards, FelicaBlocksAreReadAndWrittenWithoutEncryption) {
    contactlessCardInField("felica");
    EXPECT_STREQ(hub.IRFIDSearchCard(100), "ERROR -3 no card in the field");  // A or B only
    EXPECT_STREQ(hub.IRFIDFelicaSearchPowerOn(100), "012E4CDE2A1B3C4D0120220427674EFF");
    const std::string idm = "012E4CDE2A1B3C4D";
    // Read blocks 1 of service 090F (its code low byte first).
    EXPECT_STREQ(hub.IRFIDFelicaAPDUComm(("1006" + idm + "010F09018001").c_str(), 0),
                 ("1D07" + idm +
                  "000001"
                  "1112131415161718191A1B1C1D1E1F20")
                     .c_str());
    // Service 090F is read-only; 1009 takes writes.
    EXPECT_STREQ(
        hub.IRFIDFelicaAPDUComm(("2008" + idm + "010F09018000" + std::string(32, 'A')).c_str(), 0),
        ("0C09" + idm + "01A9").c_str());
    EXPECT_STREQ(hub.IRFIDFelicaAPDUComm(("2008" + idm +
                                          "01091001800"
                                          "2" +
                                          std::string(32, 'B'))
                                             .c_str(),
                                         0),
                 ("0C09" + idm + "0000").c_str());
    EXPECT_STREQ(hub.IRFIDFelicaAPDUComm(("1006" + idm + "010910018002").c_str(), 0),
                 ("1D07" + idm + "000001" + std::string(32, 'B')).c_str());
    EXPECT_STREQ(hub.IRFIDFelicaAPDUComm(("1006" + idm + "010910018009").c_str(), 0),
                 ("0C07" + idm + "01A8").c_str());
    EXPECT_STREQ(hub.IRFIDFelicaAPDUComm("0600FFFF0100", 0),
                 ("1401" + idm + "0120220427674EFF0003").c_str());
    EXPECT_STREQ(
        hub.IRFIDFelicaAPDUComm(("1006" + std::string(16, '0') + "010910018002").c_str(), 0),
        "ERROR -3 no card in the field");
    EXPECT_TRUE(startsWith(hub.IRFIDFelicaAPDUComm("0506", 0), "ERROR -1 frame"));
    // A read that ends right after the IDm lacks its service count.
    EXPECT_STREQ(hub.IRFIDFelicaAPDUComm(("0A06" + idm).c_str(), 0),
                 ("0C07" + idm + "01A1").c_str());
}

TEST_F(Cards, KilledReaderGivesTheDeadServiceResultsThenComesBack) {
    poweredContactCard();
    ASSERT_TRUE(startsWith(hub.IICCardAsyncCardComm(0, kSelectVisa, 0), "6F"));
    console({"iccard", "kill"});

    // The call that meets the dead connection reads an empty reply: empty text, status 0. The
    // next finds no service: text operations answer null, the others the binding code.
    testing::internal::CaptureStdout();
    const char *answer = hub.IICCardAsyncCardComm(0, kReadRecord11, 0);
    ASSERT_NE(answer, nullptr);
    EXPECT_STREQ(answer, "");
    EXPECT_EQ(hub.IICCardAsyncCardComm(0, kReadRecord11, 0), nullptr);
    EXPECT_EQ(hub.IICCardDeckCheck(0, 0), POS_HUB_SERVICE_NOT_FOUND);
    EXPECT_EQ(
        testing::internal::GetCapturedStdout(),
        "remote dead object !Service com.kivo.device.manager.IICCardManager is  not alive \n");

    // The restarted reader has the card still in, open and powered, and binds on the next call.
    console({"iccard", "restart"});
    EXPECT_TRUE(startsWith(hub.IICCardAsyncCardComm(0, kReadRecord11, 0), "70"));
    EXPECT_EQ(hub.IICCardDeckCheck(0, 0), 0);
}

}  // namespace
