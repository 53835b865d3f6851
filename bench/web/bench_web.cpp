// Frame latency of the terminal's page: from the moment a frame is written to the output
// directory to its event arriving at a page following the stream, beside the write itself (a
// whole frame as PNG, as the screen's refresh writes it).
#include <benchmark/benchmark.h>

#include <httplib.h>
#include <png.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "web/WebServer.h"

namespace {

using Clock = std::chrono::steady_clock;

const int kWidth = 800;
const int kHeight = 1320;  // the status bar above the main surface

// A frame as the screen's refresh writes it: RGB, fastest compression.
void writeFrame(const std::string &path, uint8_t shade) {
    FILE *out = fopen(path.c_str(), "wb");
    if (out == nullptr) return;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    if (setjmp(png_jmpbuf(png)) == 0) {
        png_init_io(png, out);
        png_set_compression_level(png, 1);
        png_set_filter(png, 0, PNG_FILTER_SUB);
        png_set_IHDR(png, info, kWidth, kHeight, 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                     PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        png_write_info(png, info);
        std::vector<uint8_t> row(kWidth * 3);
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth * 3; ++x) row[x] = static_cast<uint8_t>(shade + x * y / 97);
            png_write_row(png, row.data());
        }
        png_write_end(png, nullptr);
    }
    png_destroy_write_struct(&png, &info);
    fclose(out);
}

// A page following the stream: notes when each frame's event arrives.
class Follower {
  public:
    explicit Follower(int port, const std::string &token)
        : mClient("127.0.0.1", port), mToken(token) {
        mThread = std::thread([this] {
            mClient.Get(("/api/events?token=" + mToken).c_str(),
                        [this](const char *data, size_t n) {
                            std::lock_guard<std::mutex> lock(mMutex);
                            mText.append(data, n);
                            mChanged.notify_all();
                            return !mStop;
                        });
        });
    }
    ~Follower() {
        {
            std::lock_guard<std::mutex> lock(mMutex);
            mStop = true;
        }
        mClient.stop();
        mThread.join();
    }
    // Waits for NAME's event; false after 5 s.
    bool waitFor(const std::string &name) {
        std::unique_lock<std::mutex> lock(mMutex);
        bool seen = mChanged.wait_for(lock, std::chrono::seconds(5), [&] {
            return mText.find("\"" + name + "\"") != std::string::npos;
        });
        mText.clear();
        return seen;
    }

  private:
    httplib::Client mClient;
    std::string mToken;
    std::mutex mMutex;
    std::condition_variable mChanged;
    std::string mText;
    bool mStop = false;
    std::thread mThread;
};

struct Page {
    std::string dir;
    possim::web::WebServer server;
    int port = 0;
    std::string token;

    Page() {
        char path[] = "/tmp/pos-bench-web.XXXXXX";
        dir = mkdtemp(path);
        possim::web::WebOptions options;
        options.outDir = dir;
        options.console = dir + "/no-console";  // no terminal: the files alone
        std::string error;
        if (!server.start(options, error)) return;
        port = std::stoi(server.url().substr(server.url().rfind(':') + 1));
        token = server.url().substr(server.url().find("token=") + 6);
    }
    ~Page() { std::filesystem::remove_all(dir); }
};

void BM_FrameWrite(benchmark::State &state) {
    char path[] = "/tmp/pos-bench-frame.XXXXXX";
    std::string dir = mkdtemp(path);
    uint8_t shade = 0;
    for (auto _ : state) writeFrame(dir + "/frame.png", shade++);
    std::filesystem::remove_all(dir);
}
BENCHMARK(BM_FrameWrite)->Unit(benchmark::kMillisecond);

void BM_FrameToPage(benchmark::State &state) {
    Page page;
    if (page.port == 0) {
        state.SkipWithError("the page's server did not start");
        return;
    }
    Follower follower(page.port, page.token);
    std::vector<double> latencies;
    int n = 0;
    for (auto _ : state) {
        char name[32];
        snprintf(name, sizeof name, "frame-%06d.png", ++n);
        auto start = Clock::now();
        writeFrame(page.dir + "/" + name, static_cast<uint8_t>(n));
        if (!follower.waitFor(name)) {
            state.SkipWithError("a frame never reached the page");
            return;
        }
        latencies.push_back(
            std::chrono::duration<double, std::milli>(Clock::now() - start).count());
    }
    std::sort(latencies.begin(), latencies.end());
    if (latencies.empty()) return;
    state.counters["median_ms"] = latencies[latencies.size() / 2];
    state.counters["p99_ms"] =
        latencies[std::min(latencies.size() - 1, latencies.size() * 99 / 100)];
}
BENCHMARK(BM_FrameToPage)->Unit(benchmark::kMillisecond)->Iterations(200);

}  // namespace

BENCHMARK_MAIN();
