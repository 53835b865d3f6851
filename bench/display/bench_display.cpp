// The host UI library's refresh (status bar, main surface and tip layer composited into the
// frame) beside a cold memcpy of one frame, timed alternately in the same iterations; a text
// line of 62 characters; PNG encoding of a frame.
//
// Reported: ours_us and memcpy_us (medians) and ratio (median of refresh / memcpy).
#include <benchmark/benchmark.h>

#include <panelui/panelui.h>
#include <panelui/panelui_host.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
constexpr size_t kFrameBytes = size_t(PNL_HOST_FRAME_WIDTH) * PNL_HOST_FRAME_HEIGHT * 4;
// More frames than any cache holds, copied in turn, so every copy reads from memory.
constexpr int kColdFrames = 12;

double median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v.empty() ? 0 : v[v.size() / 2];
}

double microseconds(Clock::duration d) {
    return std::chrono::duration<double, std::micro>(d).count();
}

void setUpScreen() {
    PnlInit();
    PnlLmShowString(2, "Refresh benchmark", 0);
    // Something on the tip layer, shown, so the composite has all three surfaces to do.
    PnlSetDCPenColor(PnlGetTipDC(), 0xff0000);
    PnlDrawRectWithColor(PnlGetTipDC(), 300, 600, 200, 80, 0x00ff00);
    PnlSetDCHideMode(PnlGetTipDC(), 0);
}

void BM_RefreshBesideMemcpy(benchmark::State &state) {
    setUpScreen();
    std::vector<std::vector<char>> sources(kColdFrames, std::vector<char>(kFrameBytes, 1));
    std::vector<char> target(kFrameBytes);
    std::vector<double> ours, copy, ratio;
    int turn = 0;
    for (auto _ : state) {
        auto t0 = Clock::now();
        PnlReFreshScreen();
        auto t1 = Clock::now();
        memcpy(target.data(), sources[turn++ % kColdFrames].data(), kFrameBytes);
        benchmark::DoNotOptimize(target.data());
        auto t2 = Clock::now();
        ours.push_back(microseconds(t1 - t0));
        copy.push_back(microseconds(t2 - t1));
        ratio.push_back(ours.back() / copy.back());
    }
    state.counters["ours_us"] = median(ours);
    state.counters["memcpy_us"] = median(copy);
    state.counters["ratio"] = median(ratio);
}
BENCHMARK(BM_RefreshBesideMemcpy)->Iterations(200)->UseRealTime();

void BM_TextLine62(benchmark::State &state) {
    PnlInit();
    PnlSetSysFont2(state.range(0));
    std::string line;
    for (int i = 0; i < 62; ++i) line.push_back(char('A' + i % 26));
    std::vector<double> us;
    for (auto _ : state) {
        auto t0 = Clock::now();
        PnlLmShowString(3, line.c_str(), 0);
        us.push_back(microseconds(Clock::now() - t0));
    }
    state.counters["line_us"] = median(us);
}
BENCHMARK(BM_TextLine62)->Arg(1)->Arg(2)->Iterations(2000)->UseRealTime();

void BM_PngOfAFrame(benchmark::State &state) {
    setUpScreen();
    PnlReFreshScreen();
    std::vector<double> us;
    for (auto _ : state) {
        auto t0 = Clock::now();
        PnlHostWritePng("/tmp/bench_display.png");
        us.push_back(microseconds(Clock::now() - t0));
    }
    state.counters["png_ms"] = median(us) / 1000;
}
BENCHMARK(BM_PngOfAFrame)->Iterations(20)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
