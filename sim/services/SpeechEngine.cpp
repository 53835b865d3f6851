#include "SpeechEngine.h"

#include <espeak-ng/espeak_ng.h>
#include <espeak-ng/speak_lib.h>
#include <iconv.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <cstdio>
#include <cstring>
#include <mutex>

namespace possim {

namespace {

std::mutex gEngineLock;  // espeak-ng keeps one engine per process
int gSampleRate = 0;     // 0 until the engine is up
Audio *gTarget = nullptr;
const std::atomic<bool> *gStop = nullptr;

int collectSamples(short *samples, int count, espeak_EVENT *) {
    if (samples != nullptr && count > 0)
        gTarget->samples.insert(gTarget->samples.end(), samples, samples + count);
    return gStop != nullptr && gStop->load() ? 1 : 0;  // 1 ends the render
}

// Converts with iconv; false on bytes that are not text in FROM.
bool convert(const char *from, const std::string &in, std::string &out) {
    iconv_t cd = iconv_open("UTF-8", from);
    if (cd == (iconv_t)-1) return false;
    std::string result;
    char *src = const_cast<char *>(in.data());
    size_t left = in.size();
    char buffer[1024];
    bool ok = true;
    while (left > 0) {
        char *dst = buffer;
        size_t room = sizeof buffer;
        size_t done = iconv(cd, &src, &left, &dst, &room);
        result.append(buffer, size_t(dst - buffer));
        if (done == size_t(-1) && errno != E2BIG) {
            ok = false;  // an invalid or incomplete sequence
            break;
        }
    }
    iconv_close(cd);
    if (ok) out = result;
    return ok;
}

// The next code point of UTF-8 text at *AT (already known to be valid).
uint32_t nextCodePoint(const std::string &text, size_t *at) {
    unsigned char c = static_cast<unsigned char>(text[(*at)++]);
    int extra = c >= 0xf0 ? 3 : c >= 0xe0 ? 2 : c >= 0xc0 ? 1 : 0;
    uint32_t cp = extra == 0 ? c : c & (0x3f >> extra);
    for (; extra > 0 && *at < text.size(); --extra) cp = cp << 6 | (text[(*at)++] & 0x3f);
    return cp;
}

bool holdsChinese(const std::string &utf8) {
    for (size_t at = 0; at < utf8.size();) {
        uint32_t cp = nextCodePoint(utf8, &at);
        if ((cp >= 0x4e00 && cp <= 0x9fff) || (cp >= 0x3400 && cp <= 0x4dbf)) return true;
    }
    return false;
}

int clamp(int value, int low, int high) {
    return value < low ? low : value > high ? high : value;
}

void putLe(std::string &out, uint32_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) out += char((value >> (8 * i)) & 0xff);
}

bool writeFile(const std::string &path, const std::string &head, const Audio &audio) {
    FILE *f = fopen(path.c_str(), "wb");
    if (f == nullptr) return false;
    bool ok = fwrite(head.data(), 1, head.size(), f) == head.size();
    // Samples are written little-endian, as the host (x86, ARM) keeps them.
    size_t count = audio.samples.size();
    ok = ok && fwrite(audio.samples.data(), sizeof(int16_t), count, f) == count;
    return fclose(f) == 0 && ok;
}

}  // namespace

bool textToUtf8(const std::string &text, int encoding, std::string &utf8) {
    switch (encoding) {
        case int(TextEncoding::kUtf8):
            return convert("UTF-8", text, utf8);  // checks the bytes on the way
        case int(TextEncoding::kGbk):
            return convert("GBK", text, utf8);
        case int(TextEncoding::kUtf16Le):
            return text.size() % 2 == 0 && convert("UTF-16LE", text, utf8);
        default:
            return false;
    }
}

bool startSpeechEngine(const std::string &runtimeDir, std::string &error) {
    std::lock_guard<std::mutex> lock(gEngineLock);
    if (gSampleRate > 0) return true;
    std::error_code ignored;  // without it the sound server's client only complains
    std::filesystem::create_directories(runtimeDir, ignored);
    setenv("XDG_RUNTIME_DIR", runtimeDir.c_str(), 0);
    espeak_ng_InitializePath(nullptr);
    if (espeak_ng_Initialize(nullptr) != ENS_OK ||
        espeak_ng_InitializeOutput(ENOUTPUT_MODE_SYNCHRONOUS, 0, nullptr) != ENS_OK) {
        error = "espeak-ng cannot start (is espeak-ng-data installed?)";
        return false;
    }
    espeak_SetSynthCallback(collectSamples);
    gSampleRate = espeak_ng_GetSampleRate();
    atexit([] { espeak_Terminate(); });  // its tables go back before the process ends
    return true;
}

bool renderSpeech(const std::string &utf8, const SpeechSettings &settings, Audio &audio,
                  std::string &error, const std::atomic<bool> *stop) {
    std::lock_guard<std::mutex> lock(gEngineLock);
    if (gSampleRate <= 0) {
        error = "the speech engine has not started";
        return false;
    }
    if (espeak_SetVoiceByName(holdsChinese(utf8) ? "cmn" : "en") != EE_OK) {
        error = "espeak-ng has no voice for the text";
        return false;
    }
    espeak_SetParameter(espeakRATE,
                        clamp(espeakRATE_NORMAL * settings.speedPercent / 100, espeakRATE_MINIMUM,
                              espeakRATE_MAXIMUM),
                        0);
    espeak_SetParameter(espeakPITCH, clamp(50 * settings.pitchPercent / 100, 0, 100), 0);
    // The engine's 100 is its normal loudness: full scale maps there.
    espeak_SetParameter(espeakVOLUME, int(int64_t(settings.volume) * 100 / 32768), 0);
    audio.sampleRate = gSampleRate;
    audio.samples.clear();
    gTarget = &audio;
    gStop = stop;
    espeak_ERROR result = espeak_Synth(utf8.c_str(), utf8.size() + 1, 0, POS_CHARACTER, 0,
                                       espeakCHARS_UTF8, nullptr, nullptr);
    gTarget = nullptr;
    gStop = nullptr;
    if (result != EE_OK) {
        error = "espeak-ng could not render the text";
        return false;
    }
    return true;
}

bool writeWav(const std::string &path, const Audio &audio) {
    uint32_t dataBytes = uint32_t(audio.samples.size() * sizeof(int16_t));
    std::string head = "RIFF";
    putLe(head, 36 + dataBytes, 4);
    head += "WAVEfmt ";
    putLe(head, 16, 4);  // format chunk size
    putLe(head, 1, 2);   // PCM
    putLe(head, 1, 2);   // mono
    putLe(head, uint32_t(audio.sampleRate), 4);
    putLe(head, uint32_t(audio.sampleRate) * 2, 4);  // bytes per second
    putLe(head, 2, 2);                               // bytes per frame
    putLe(head, 16, 2);                              // bits per sample
    head += "data";
    putLe(head, dataBytes, 4);
    return writeFile(path, head, audio);
}

bool writePcm(const std::string &path, const Audio &audio) {
    return writeFile(path, std::string(), audio);
}

}  // namespace possim
