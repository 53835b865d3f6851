// The simulated terminal's speech engine: text in one of the encodings the speech service
// accepts, converted to UTF-8, rendered by espeak-ng to 16-bit mono samples, and written as a
// WAV or raw PCM file. espeak-ng is one engine per process: renders are serialised here.
#ifndef POS_SIM_SPEECH_ENGINE_H
#define POS_SIM_SPEECH_ENGINE_H

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

namespace possim {

// The encodings of the text bytes, by the number the protocol carries.
enum class TextEncoding { kUtf8 = 0, kGbk = 1, kUtf16Le = 2 };

// TEXT in ENCODING (0, 1 or 2) as UTF-8; false when the number is not an encoding or the bytes
// are not valid text in it.
bool textToUtf8(const std::string &text, int encoding, std::string &utf8);

struct SpeechSettings {
    int speedPercent = 100;  // of the engine's normal rate
    int pitchPercent = 100;  // of the engine's normal pitch
    int volume = 32768;      // 0 .. 32768 (full)
};

struct Audio {
    int sampleRate = 0;
    std::vector<int16_t> samples;  // mono

    int durationMs() const {
        return sampleRate > 0 ? int(int64_t(samples.size()) * 1000 / sampleRate) : 0;
    }
};

// Starts the engine (once per process). espeak-ng probes the audio devices even when it only
// renders, and the sound server's client makes a runtime directory on the way: RUNTIMEDIR
// (made if missing) is where it goes, instead of the home directory, which the sandbox keeps
// read-only. False with ERROR when the engine cannot run.
bool startSpeechEngine(const std::string &runtimeDir, std::string &error);

// Renders UTF8 with the Mandarin voice when it holds Chinese characters, else the English one.
// STOP, when given, is polled while rendering: raised, the render ends early with what it has.
// False with ERROR when the engine has not started or cannot render.
bool renderSpeech(const std::string &utf8, const SpeechSettings &settings, Audio &audio,
                  std::string &error, const std::atomic<bool> *stop = nullptr);

// The audio as a RIFF/WAVE file of 16-bit little-endian PCM, or as the bare samples.
bool writeWav(const std::string &path, const Audio &audio);
bool writePcm(const std::string &path, const Audio &audio);

}  // namespace possim

#endif
