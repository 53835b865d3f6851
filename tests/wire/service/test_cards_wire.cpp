// Raw request bytes and reply decoding of every transaction of the three card reader services:
// the IC card and contactless services send their text as String16, the magnetic stripe
// service as C strings; every text answer arrives as a String16 with no status before it.
#include <gtest/gtest.h>

#include <pos_sdk/service/IICCardManager.h>
#include <pos_sdk/service/IMagcardManager.h>
#include <pos_sdk/service/IRFIDManager.h>

#include "WireRecorder.h"

using namespace android;

namespace {

class ICCardWire : public WireTest<IICCardManager> {
  protected:
    ICCardWire() : WireTest("com.kivo.device.manager.IICCardManager") {}
};

class MagcardWire : public WireTest<IMagcardManager> {
  protected:
    MagcardWire() : WireTest("com.kivo.device.manager.IMagcardManager") {}
};

class RFIDWire : public WireTest<IRFIDManager> {
  protected:
    RFIDWire() : WireTest("com.kivo.device.manager.IRFIDManager") {}
};

TEST_F(ICCardWire, StatusOperations) {
    service->script(Bytes().i32(-3));
    EXPECT_EQ(proxy->ICCardOpen(0, 1), -3);
    expectRequest(1, Bytes().i32(0).i32(1));
    EXPECT_EQ(proxy->ICCardClose(2), -3);
    expectRequest(2, Bytes().i32(2));
    EXPECT_EQ(proxy->ICCardAsyncCardWorkAttr(1, 2, 3, 4, 5, -6), -3);
    expectRequest(3, Bytes().i32(1).i32(2).i32(3).i32(4).i32(5).i32(-6));
    EXPECT_EQ(proxy->ICCardPowerOff(0, 500), -3);
    expectRequest(5, Bytes().i32(0).i32(500));
    EXPECT_EQ(proxy->ICCardDeckCheck(3, 100), -3);
    expectRequest(7, Bytes().i32(3).i32(100));
}

TEST_F(ICCardWire, TextOperationsSendString16AndReadString16WithoutStatus) {
    service->script(Bytes().s16(u"3B6800000073C84013009000"));
    EXPECT_STREQ(proxy->ICCardPowerOn(0, 3000), "3B6800000073C84013009000");
    expectRequest(4, Bytes().i32(0).i32(3000));

    service->script(Bytes().s16(u"6F0A9000"));
    EXPECT_STREQ(proxy->ICCardAsyncCardComm(0, "00A404000E", 2000), "6F0A9000");
    expectRequest(6, Bytes().i32(0).s16(u"00A404000E").i32(2000));

    service->script(Bytes().s16(u"A2131091"));
    EXPECT_STREQ(proxy->ICCardSyncCardComm(1, 4442, "300004", 100), "A2131091");
    expectRequest(8, Bytes().i32(1).i32(4442).s16(u"300004").i32(100));

    // A null command goes out as the null String16.
    proxy->ICCardAsyncCardComm(0, nullptr, 0);
    expectRequest(6, Bytes().i32(0).i32(-1).i32(0));
}

TEST_F(ICCardWire, EmptyOrCutRepliesGiveEmptyTextNotNull) {
    service->script(Bytes());
    const char *atr = proxy->ICCardPowerOn(0, 0);
    ASSERT_NE(atr, nullptr);
    EXPECT_STREQ(atr, "");
    service->scriptRaw(Bytes());
    const char *answer = proxy->ICCardAsyncCardComm(0, "0084000008", 0);
    ASSERT_NE(answer, nullptr);
    EXPECT_STREQ(answer, "");
    service->script(Bytes().i32(-1));  // the null String16
    answer = proxy->ICCardSyncCardComm(0, 0, "30", 0);
    ASSERT_NE(answer, nullptr);
    EXPECT_STREQ(answer, "");
}

TEST_F(MagcardWire, TracksGoOutAsCStrings) {
    service->script(Bytes().i32(0));
    EXPECT_EQ(proxy->MagcardWrite("%B4000^DOE/J^25121010000?", ";4000=2512?", "", 7), 0);
    expectRequest(5, Bytes().cstr("%B4000^DOE/J^25121010000?").cstr(";4000=2512?").cstr("").i32(7));
}

TEST_F(MagcardWire, StatusOperations) {
    service->script(Bytes().i32(-2));
    EXPECT_EQ(proxy->MagcardOpen(1), -2);
    expectRequest(1, Bytes().i32(1));
    EXPECT_EQ(proxy->MagcardClose(), -2);
    expectRequest(2, Bytes());
    EXPECT_EQ(proxy->MagcardRead(7, 15000), -2);
    expectRequest(3, Bytes().i32(7).i32(15000));
    EXPECT_EQ(proxy->MagcardCancel(), -2);
    expectRequest(7, Bytes());
}

TEST_F(MagcardWire, StatusWritesItsOutputWhateverTheStatus) {
    int state = 0;
    service->script(Bytes().i32(0).i32(1));
    EXPECT_EQ(proxy->MagcardStatus(&state), 0);
    EXPECT_EQ(state, 1);
    expectRequest(6, Bytes());
    service->script(Bytes().i32(-2).i32(5));
    EXPECT_EQ(proxy->MagcardStatus(&state), -2);
    EXPECT_EQ(state, 5);
    service->script(Bytes().i32(-2));  // a reply cut after the status reads the output as 0
    EXPECT_EQ(proxy->MagcardStatus(&state), -2);
    EXPECT_EQ(state, 0);
}

TEST_F(MagcardWire, ReadDataAnswersAString16) {
    service->script(Bytes().s16(u";4761739001010010=25122011143804489?"));
    EXPECT_STREQ(proxy->MagcardReadData(2), ";4761739001010010=25122011143804489?");
    expectRequest(4, Bytes().i32(2));
    service->script(Bytes());
    EXPECT_STREQ(proxy->MagcardReadData(3), "");
}

TEST_F(RFIDWire, StatusOperations) {
    service->script(Bytes().i32(-4));
    EXPECT_EQ(proxy->RFIDOpen(0), -4);
    expectRequest(1, Bytes().i32(0));
    EXPECT_EQ(proxy->RFIDClose(), -4);
    expectRequest(2, Bytes());
    EXPECT_EQ(proxy->RFIDSelectCardType(1, 106), -4);
    expectRequest(3, Bytes().i32(1).i32(106));
    EXPECT_EQ(proxy->RFIDPowerOn(), -4);
    expectRequest(4, Bytes());
    EXPECT_EQ(proxy->RFIDPowerOff(), -4);
    expectRequest(5, Bytes());
    EXPECT_EQ(proxy->RFIDSearchCardWithoutPowerOn(250), -4);
    expectRequest(9, Bytes().i32(250));
    EXPECT_EQ(proxy->RFIDCardPowerOff(0), -4);
    expectRequest(11, Bytes().i32(0));
}

TEST_F(RFIDWire, TextOperations) {
    service->script(Bytes().s16(u"A,04A1B2C3,0004,08"));
    EXPECT_STREQ(proxy->RFIDSearchCard(500), "A,04A1B2C3,0004,08");
    expectRequest(6, Bytes().i32(500));

    service->script(Bytes().s16(u"9000"));
    EXPECT_STREQ(proxy->RFIDAPDUComm("00A4040007", 1000), "9000");
    expectRequest(7, Bytes().s16(u"00A4040007").i32(1000));

    service->script(Bytes().s16(u"00112233445566778899AABBCCDDEEFF"));
    EXPECT_STREQ(proxy->RFIDMifareCardComm(0x30, "04", 100), "00112233445566778899AABBCCDDEEFF");
    expectRequest(8, Bytes().i32(0x30).s16(u"04").i32(100));

    service->script(Bytes().s16(u"0578807002"));
    EXPECT_STREQ(proxy->RFIDCardPowerOn(300), "0578807002");
    expectRequest(10, Bytes().i32(300));

    service->script(Bytes().s16(u"0101020304050607"));
    EXPECT_STREQ(proxy->RFIDFelicaSearchPowerOn(40), "0101020304050607");
    expectRequest(12, Bytes().i32(40));

    service->script(Bytes().s16(u"1007"));
    EXPECT_STREQ(proxy->RFIDFelicaAPDUComm("1006", 60), "1007");
    expectRequest(13, Bytes().s16(u"1006").i32(60));

    service->script(Bytes());
    const char *empty = proxy->RFIDAPDUComm("00", 0);
    ASSERT_NE(empty, nullptr);
    EXPECT_STREQ(empty, "");
}

}  // namespace
