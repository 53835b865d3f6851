// Time to a finished WAV file for a 20-word prompt: through the SDK (OsTtsTextToWav, the hub,
// binder, the speech service process rendering with espeak-ng and writing the file) beside
// espeak-ng rendering the same text in this process and writing the same file. The closing
// line gives SDK / direct.
#include <benchmark/benchmark.h>

#include <pos_sdk/tts.h>

#include <stdlib.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "LocalBinder.h"
#include "SpeechEngine.h"

namespace {

// Twenty words.
const char kPrompt[] =
    "Please insert or tap your card, then enter your PIN and press the green key to confirm "
    "this payment.";

std::string g_dir;  // where both write their files
double g_sdkMs = 0, g_directMs = 0;

bool sdkWav() {
    char path[TTS_RESULT_SIZE];
    return OsTtsTextToWav(kPrompt, int(strlen(kPrompt)), TTS_ENCODING_UTF8, path, sizeof path) == 0;
}

// The same settings the SDK's short form sends: speed 105 %, pitch 100 %, full volume.
bool directWav() {
    possim::SpeechSettings settings;
    settings.speedPercent = 105;
    possim::Audio audio;
    std::string error;
    return possim::renderSpeech(kPrompt, settings, audio, error) &&
           possim::writeWav(g_dir + "/direct.wav", audio);
}

template <bool (*Make)()>
void BM_Wav(benchmark::State &state) {
    Make();  // warm up outside the timing
    for (auto _ : state) {
        if (!Make()) state.SkipWithError("no WAV was made");
    }
}

double msPerWav(bool (*make)(), int count) {
    auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < count; ++i) make();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
               .count() /
           count;
}

// SDK and direct batches in turns, so the load of other processes hits both alike.
void BM_SdkOverDirect(benchmark::State &state) {
    std::vector<double> sdk, direct;
    for (auto _ : state) {
        sdk.push_back(msPerWav(sdkWav, 3));
        direct.push_back(msPerWav(directWav, 3));
    }
    std::sort(sdk.begin(), sdk.end());
    std::sort(direct.begin(), direct.end());
    g_sdkMs = sdk[sdk.size() / 2];
    g_directMs = direct[direct.size() / 2];
    state.counters["sdk_ms"] = g_sdkMs;
    state.counters["direct_ms"] = g_directMs;
    state.counters["ratio"] = g_sdkMs / g_directMs;
}

BENCHMARK_TEMPLATE(BM_Wav, directWav)->Name("DirectEspeakWav")->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_Wav, sdkWav)->Name("SdkTextToWav")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SdkOverDirect)->Name("SdkOverDirect")->Iterations(15)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    char dir[] = "/tmp/pos-bench-tts.XXXXXX";
    if (mkdtemp(dir) == nullptr) return 1;
    g_dir = dir;
    int status = 1;
    {
        harness::LocalBinder binder;
        std::string error;
        std::string state = "{\"audio_dir\": \"" + g_dir + "\"}";
        if (!binder.startManager() || binder.startService("tts", state) < 0 ||
            !possim::startSpeechEngine(g_dir + "/.engine", error)) {
            fprintf(stderr, "bench_tts: cannot start the speech service or engine %s\n",
                    error.c_str());
        } else {
            benchmark::RunSpecifiedBenchmarks();
            printf(
                "20-word prompt to WAV: SDK %.1f ms, espeak-ng directly %.1f ms, ratio %.2f "
                "(target <= 1.2)\n",
                g_sdkMs, g_directMs, g_sdkMs / g_directMs);
            status = 0;
        }
    }
    std::error_code ignored;
    std::filesystem::remove_all(g_dir, ignored);
    benchmark::Shutdown();
    return status;
}
