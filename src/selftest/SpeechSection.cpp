// Text-to-speech: prompts rendered to WAV files that must hold audible 16-bit speech, and
// speech that keeps the engine busy until stopped.
#include <pos_sdk/tts.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "Sections.h"

namespace selftest {
namespace {

// What a WAV file holds, as far as the check needs it.
struct WavSummary {
    bool pcm16Mono = false;
    int sampleRate = 0;
    double seconds = 0;
    double loudness = 0;  // root mean square of the samples
};

uint32_t littleEndian(const unsigned char *p, int bytes) {
    uint32_t value = 0;
    for (int i = bytes - 1; i >= 0; --i) value = value << 8 | p[i];
    return value;
}

bool summariseWav(const char *path, WavSummary &out) {
    FILE *f = fopen(path, "rb");
    if (f == nullptr) return false;
    unsigned char header[44];
    bool ok = fread(header, 1, sizeof header, f) == sizeof header &&
              memcmp(header, "RIFF", 4) == 0 && memcmp(header + 8, "WAVEfmt ", 8) == 0 &&
              memcmp(header + 36, "data", 4) == 0;
    std::vector<int16_t> samples;
    if (ok) {
        samples.resize(littleEndian(header + 40, 4) / 2);
        ok = fread(samples.data(), 2, samples.size(), f) == samples.size();
    }
    fclose(f);
    if (!ok) return false;
    out.pcm16Mono = littleEndian(header + 20, 2) == 1 && littleEndian(header + 22, 2) == 1 &&
                    littleEndian(header + 34, 2) == 16;
    out.sampleRate = int(littleEndian(header + 24, 4));
    out.seconds = out.sampleRate > 0 ? double(samples.size()) / out.sampleRate : 0;
    double sum = 0;
    for (int16_t s : samples) sum += double(s) * s;
    out.loudness = samples.empty() ? 0 : std::sqrt(sum / double(samples.size()));
    return true;
}

bool checkPrompt(Checks &checks, const char *what, const char *text, int length,
                 TTS_ENCODING encoding) {
    char path[TTS_RESULT_SIZE] = "";
    int status = OsTtsTextToWav(text, length, encoding, path, sizeof path);
    if (!checks.check(std::string(what) + " rendered to " + path, status == 0, got(status))) {
        return false;
    }
    WavSummary wav;
    bool read = summariseWav(path, wav);
    char detail[128];
    snprintf(detail, sizeof detail, "%d Hz, %.2f s, loudness %.0f", wav.sampleRate, wav.seconds,
             wav.loudness);
    return checks.check(std::string(what) + " is audible 16-bit mono speech (" + detail + ")",
                        read && wav.pcm16Mono && wav.seconds > 0.3 && wav.loudness > 500,
                        read ? detail : "not a WAV file");
}

}  // namespace

void testSpeech(Checks &checks, const Expectations &) {
    int busy = OsTtsIsBusy();
    if (!checks.check("speech service reachable", busy == 0 || busy == 1, got(busy))) return;
    const char prompt[] = "Welcome. Please insert, swipe or tap your card.";
    checkPrompt(checks, "English prompt", prompt, int(strlen(prompt)), TTS_ENCODING_UTF8);
    const char gbk[] = "\xc7\xeb\xb2\xe5\xbf\xa8";  // "insert the card" in GBK
    checkPrompt(checks, "Chinese prompt in GBK", gbk, int(strlen(gbk)), TTS_ENCODING_GBK);

    char small[100];
    int status = OsTtsTextToWav(prompt, 5, TTS_ENCODING_UTF8, small, sizeof small);
    checks.check("a 100-byte result buffer refused", status == OS_ERR_BAD_ARGUMENT, got(status));

    status = OsTtsTextToSpeech(prompt, int(strlen(prompt)), TTS_ENCODING_UTF8, 105, 100, 60, 0);
    busy = OsTtsIsBusy();
    checks.check("speaking keeps the engine busy", status == 0 && busy == 1,
                 "status " + std::to_string(status) + ", busy " + std::to_string(busy));
    status = OsTtsStopSpeech(0);
    busy = OsTtsIsBusy();
    checks.check("stopped speech leaves it idle", status == 0 && busy == 0,
                 "status " + std::to_string(status) + ", busy " + std::to_string(busy));
}

}  // namespace selftest
