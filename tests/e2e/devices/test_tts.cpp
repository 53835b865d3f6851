// Speech through the SDK against the simulated speech service: the checks of the C functions,
// the volume scaling, real audio in the files, busy while speaking, and a killed service.
#include <gtest/gtest.h>

#include <pos_sdk/service/BpTransferHub.h>
#include <pos_sdk/tts.h>

#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "Console.h"

namespace {

const char kPrompt[] = "Please insert your card";

class Tts : public ::testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(harness::underSimulator()) << "run under pos-sim run --"; }

    static nlohmann::json lastRequest() { return harness::state("tts")["last_request"]; }
};

std::vector<uint8_t> fileBytes(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), {});
}

uint32_t le(const std::vector<uint8_t> &b, size_t at, int bytes) {
    uint32_t v = 0;
    for (int i = bytes - 1; i >= 0; --i) v = v << 8 | b[at + size_t(i)];
    return v;
}

// Root mean square of 16-bit little-endian samples; speech is well above the hiss of silence.
double rms(const std::vector<uint8_t> &b, size_t from) {
    double sum = 0;
    size_t count = 0;
    for (size_t at = from; at + 1 < b.size(); at += 2, ++count) {
        double s = int16_t(le(b, at, 2));
        sum += s * s;
    }
    return count > 0 ? std::sqrt(sum / double(count)) : 0;
}

// A WAV file of 16-bit mono PCM whose data chunk holds at least MINSECONDS of audible sound.
void expectSpeechWav(const std::string &path, double minSeconds) {
    std::vector<uint8_t> b = fileBytes(path);
    ASSERT_GE(b.size(), 44u) << path;
    EXPECT_EQ(std::string(b.begin(), b.begin() + 4), "RIFF");
    EXPECT_EQ(std::string(b.begin() + 8, b.begin() + 16), "WAVEfmt ");
    EXPECT_EQ(le(b, 4, 4), b.size() - 8);
    EXPECT_EQ(le(b, 20, 2), 1u);   // PCM
    EXPECT_EQ(le(b, 22, 2), 1u);   // mono
    EXPECT_EQ(le(b, 34, 2), 16u);  // bits per sample
    uint32_t rate = le(b, 24, 4);
    EXPECT_GE(rate, 8000u);
    EXPECT_EQ(le(b, 28, 4), rate * 2);
    EXPECT_EQ(std::string(b.begin() + 36, b.begin() + 40), "data");
    EXPECT_EQ(le(b, 40, 4), b.size() - 44);
    EXPECT_GE(double(b.size() - 44) / 2 / rate, minSeconds);
    EXPECT_GT(rms(b, 44), 500.0);
}

TEST_F(Tts, WavAndPcmFilesHoldRealSpeech) {
    char result[TTS_RESULT_SIZE] = "";
    ASSERT_EQ(
        OsTtsTextToWav(kPrompt, int(strlen(kPrompt)), TTS_ENCODING_UTF8, result, sizeof result), 0);
    expectSpeechWav(result, 0.8);
    EXPECT_EQ(lastRequest()["text"], kPrompt);

    // The short forms send 105, 100 and full volume.
    ASSERT_EQ(
        OsTtsTextToPcm(kPrompt, int(strlen(kPrompt)), TTS_ENCODING_UTF8, result, sizeof result), 0);
    nlohmann::json last = lastRequest();
    EXPECT_EQ(last["kind"], "pcm");
    EXPECT_EQ(last["speed"].get<int>() * 1000000 + last["pitch"].get<int>() * 10000 +
                  last["volume"].get<int>(),
              105 * 1000000 + 100 * 10000 + 32768);
    std::vector<uint8_t> pcm = fileBytes(result);
    EXPECT_EQ(pcm.size() % 2, 0u);
    EXPECT_GT(pcm.size(), 22050u);  // more than half a second at the engine's rate
    EXPECT_GT(rms(pcm, 0), 500.0);
    EXPECT_NE(std::string(result).find(".pcm"), std::string::npos);
}

TEST_F(Tts, ChineseTextInGbkAndUtf16) {
    const char gbk[] = "\xc7\xeb\xb2\xe5\xbf\xa8";  // 请插卡 in GBK
    char result[TTS_RESULT_SIZE] = "";
    ASSERT_EQ(OsTtsTextToWav(gbk, 6, TTS_ENCODING_GBK, result, sizeof result), 0);
    expectSpeechWav(result, 0.3);
    EXPECT_EQ(lastRequest()["text"], "\xe8\xaf\xb7\xe6\x8f\x92\xe5\x8d\xa1");

    const char utf16[] = "\xf7\x8b\xd2\x63\x61\x53";  // 请插卡 in UTF-16LE
    ASSERT_EQ(OsTtsTextToWav(utf16, 6, TTS_ENCODING_UTF16LE, result, sizeof result), 0);
    EXPECT_EQ(lastRequest()["text"], "\xe8\xaf\xb7\xe6\x8f\x92\xe5\x8d\xa1");

    // Bytes that are not text in the encoding named are the service's to refuse.
    EXPECT_EQ(OsTtsTextToWav("\xff\xfe", 2, TTS_ENCODING_UTF8, result, sizeof result), -2);
}

TEST_F(Tts, ResultBufferMustHoldAPath) {
    char result[TTS_RESULT_SIZE] = "";
    for (int size : {0, 1, 259, -5}) {
        EXPECT_EQ(OsTtsTextToWav(kPrompt, 5, TTS_ENCODING_UTF8, result, size), OS_ERR_BAD_ARGUMENT)
            << size;
        EXPECT_EQ(OsTtsTextToPcm(kPrompt, 5, TTS_ENCODING_UTF8, result, size), OS_ERR_BAD_ARGUMENT)
            << size;
    }
    EXPECT_EQ(OsTtsTextToWav(kPrompt, 5, TTS_ENCODING_UTF8, nullptr, 260), OS_ERR_BAD_ARGUMENT);
    EXPECT_EQ(OsTtsTextToWav(nullptr, 5, TTS_ENCODING_UTF8, result, 260), OS_ERR_BAD_ARGUMENT);
    EXPECT_EQ(OsTtsTextToWav(kPrompt, 0, TTS_ENCODING_UTF8, result, 260), OS_ERR_BAD_ARGUMENT);
    EXPECT_EQ(OsTtsTextToPcmFull(kPrompt, 5, TTS_ENCODING(3), 105, 100, 32768, result, 260),
              OS_ERR_BAD_ARGUMENT);
    EXPECT_EQ(harness::state("tts")["files"], 0);  // none of them reached the service
    EXPECT_EQ(OsTtsTextToWav(kPrompt, 5, TTS_ENCODING_UTF8, result, 260), 0);
}

TEST_F(Tts, SpokenVolumeIsScaledToFullScale) {
    const std::pair<int, int> scaled[] = {{50, 16384}, {100, 32768}, {0, 0}, {1, 327}};
    for (auto [volume, sent] : scaled) {
        ASSERT_EQ(OsTtsTextToSpeech("ok", 2, TTS_ENCODING_UTF8, 105, 100, volume, 0), 0);
        EXPECT_EQ(lastRequest()["volume"], sent) << volume;
    }
    // The file forms send their volume unscaled, and leave the range to the service.
    char result[TTS_RESULT_SIZE];
    ASSERT_EQ(OsTtsTextToWavFull("ok", 2, TTS_ENCODING_UTF8, 105, 100, 50, result, 260), 0);
    EXPECT_EQ(lastRequest()["volume"], 50);
    EXPECT_EQ(OsTtsTextToWavFull("ok", 2, TTS_ENCODING_UTF8, 105, 100, 40000, result, 260), -1);
    EXPECT_EQ(OsTtsTextToWavFull("ok", 2, TTS_ENCODING_UTF8, 10, 100, 100, result, 260), -1);

    ASSERT_TRUE(harness::ctl({"tts", "fault", "fail", "1", "-9"}).ok);
    EXPECT_EQ(OsTtsTextToSpeech("ok", 2, TTS_ENCODING_UTF8, 105, 100, 101, 0), OS_ERR_BAD_ARGUMENT);
    EXPECT_EQ(OsTtsTextToSpeech("ok", 2, TTS_ENCODING_UTF8, 105, 100, -1, 0), OS_ERR_BAD_ARGUMENT);
    EXPECT_EQ(OsTtsTextToSpeech("ok", 2, TTS_ENCODING(3), 105, 100, 50, 0), OS_ERR_BAD_ARGUMENT);
    EXPECT_EQ(OsTtsTextToSpeech("ok", 0, TTS_ENCODING_UTF8, 105, 100, 50, 0), OS_ERR_BAD_ARGUMENT);
    EXPECT_EQ(OsTtsTextToSpeech(nullptr, 2, TTS_ENCODING_UTF8, 105, 100, 50, 0),
              OS_ERR_BAD_ARGUMENT);
    EXPECT_EQ(OsTtsStopSpeech(-1), OS_ERR_BAD_ARGUMENT);
    EXPECT_EQ(OsTtsStopSpeech(0), -9);  // the first call to reach the service
}

TEST_F(Tts, BusyWhileSpeakingUntilStoppedOrDone) {
    const std::string longText =
        "Thank you for shopping with us today. Your payment has been approved. Please take your "
        "card and your receipt, and have a pleasant afternoon.";
    ASSERT_EQ(OsTtsTextToSpeech(longText.c_str(), int(longText.size()), TTS_ENCODING_UTF8, 105, 100,
                                80, 0),
              0);
    EXPECT_EQ(OsTtsIsBusy(), 1);
    nlohmann::json state = harness::state("tts");
    EXPECT_EQ(state["busy"], true);
    EXPECT_EQ(state["speaking"], longText);
    EXPECT_EQ(OsTtsStopSpeech(0), 0);
    EXPECT_EQ(OsTtsIsBusy(), 0);
    state = harness::state("tts");
    EXPECT_EQ(state["interrupted"], 1);
    EXPECT_EQ(state["spoken"], 0);

    // A short prompt plays to its end by itself; what was played is in its file.
    ASSERT_EQ(OsTtsTextToSpeech("yes", 3, TTS_ENCODING_UTF8, 200, 100, 100, 0), 0);
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (OsTtsIsBusy() == 1 && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    EXPECT_EQ(OsTtsIsBusy(), 0);
    state = harness::state("tts");
    EXPECT_EQ(state["spoken"], 1);
    expectSpeechWav(state["last_request"]["file"].get<std::string>(), 0.1);

    // Busy set from the console holds until stopped there.
    ASSERT_TRUE(harness::ctl({"tts", "set", "busy=true"}).ok);
    EXPECT_EQ(OsTtsIsBusy(), 1);
    ASSERT_TRUE(harness::ctl({"tts", "event", "stop"}).ok);
    EXPECT_EQ(OsTtsIsBusy(), 0);
}

TEST_F(Tts, KilledServiceIsReboundAfterARestart) {
    ASSERT_EQ(OsTtsIsBusy(), 0);
    ASSERT_TRUE(harness::ctl({"tts", "kill"}).ok);
    char result[TTS_RESULT_SIZE] = "stale";
    EXPECT_EQ(OsTtsTextToWav("ok", 2, TTS_ENCODING_UTF8, result, sizeof result), 0);
    EXPECT_STREQ(result, "");  // the empty reply of a dead service
    EXPECT_EQ(OsTtsIsBusy(), POS_HUB_SERVICE_NOT_FOUND);
    ASSERT_TRUE(harness::ctl({"tts", "restart"}).ok);
    EXPECT_EQ(OsTtsTextToWav("ok", 2, TTS_ENCODING_UTF8, result, sizeof result), 0);
    expectSpeechWav(result, 0.1);
}

}  // namespace
