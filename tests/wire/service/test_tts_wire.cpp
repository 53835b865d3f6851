// Raw request bytes and reply decoding of every speech service transaction.
#include <gtest/gtest.h>

#include <pos_sdk/service/ITtsManager.h>

#include "WireRecorder.h"

using namespace android;

namespace {

class TtsWire : public WireTest<ITtsManager> {
  protected:
    TtsWire() : WireTest("com.torva.binder.ITtsManager") {}
};

TEST_F(TtsWire, TextGoesOutAsItsLengthAndExactlyThatManyRawBytes) {
    // Only the first three bytes are sent: the text need not be terminated where it ends.
    unsigned char text[] = {'a', 'b', 'c', 'd', 'e'};
    service->script(Bytes().i32(0));
    EXPECT_EQ(proxy->TextToSpeech(3, text, 1, 105, 100, 16384, 7), 0);
    expectRequest(4,
                  Bytes().i32(3).raw({'a', 'b', 'c'}).i32(1).i32(105).i32(100).i32(16384).i32(7));

    // Bytes of any encoding pass untouched (GBK for "你好", a zero byte inside).
    unsigned char gbk[] = {0xc4, 0xe3, 0x00, 0xba, 0xc3};
    proxy->TextToSpeech(5, gbk, 1, 1, 2, 3, 0);
    expectRequest(
        4, Bytes().i32(5).raw({0xc4, 0xe3, 0x00, 0xba, 0xc3}).i32(1).i32(1).i32(2).i32(3).i32(0));

    // Length 0 sends the length and no bytes at all.
    proxy->TextToSpeech(0, text, 0, 1, 2, 3, 4);
    expectRequest(4, Bytes().i32(0).i32(0).i32(1).i32(2).i32(3).i32(4));
}

TEST_F(TtsWire, WavAndPcmAnswerTheStatusAndAPath) {
    unsigned char text[] = "hello";
    char result[260] = "stale";
    service->script(Bytes().i32(0).cstr("/out/tts/0001.wav"));
    EXPECT_EQ(proxy->TextToWav(5, text, 0, 105, 100, 32768, result), 0);
    EXPECT_STREQ(result, "/out/tts/0001.wav");
    expectRequest(
        3, Bytes().i32(5).raw({'h', 'e', 'l', 'l', 'o'}).i32(0).i32(105).i32(100).i32(32768));

    service->script(Bytes().i32(-2).cstr("/out/tts/0002.pcm"));
    EXPECT_EQ(proxy->TextToPcm(4, text, 2, 50, 60, 70, result), -2);
    EXPECT_STREQ(result, "/out/tts/0002.pcm");
    expectRequest(5, Bytes().i32(4).raw({'h', 'e', 'l', 'l'}).i32(2).i32(50).i32(60).i32(70));

    service->script(Bytes().i32(-1));  // no path at all: an empty one
    EXPECT_EQ(proxy->TextToWav(1, text, 0, 0, 0, 0, result), -1);
    EXPECT_STREQ(result, "");
}

TEST_F(TtsWire, StopAndBusy) {
    service->script(Bytes().i32(1));
    EXPECT_EQ(proxy->IsBusy(), 1);
    expectRequest(7, Bytes());
    service->script(Bytes().i32(0));
    EXPECT_EQ(proxy->StopSpeech(3), 0);
    expectRequest(6, Bytes().i32(3));
}

}  // namespace
