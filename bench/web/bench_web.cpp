// Frame latency of the terminal's page: from the application's refresh (Disp_vClearPort, a
// clear and a refresh) to the frame's event arriving at a page following the stream, beside the
// refresh itself. The UI library writes each frame as the page's run has it do
// (POS_PANELUI_PNG=latest: screen.png replaced in the output directory).
#include <benchmark/benchmark.h>

#include <httplib.h>
#include <pos_sdk/disp.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <filesystem>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "web/WebServer.h"

namespace {

using Clock = std::chrono::steady_clock;

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

// The UI library reads its environment once, at the first initialisation: every frame of this
// process goes to DIR/screen.png.
void initDisplayInto(const std::string &dir) {
    static bool done = false;
    if (done) return;
    done = true;
    setenv("POS_PANELUI_PNG", "latest", 1);
    setenv("POS_PANELUI_OUT", dir.c_str(), 1);
    Disp_vInit();
}

// One output directory for the process, shared by both benchmarks.
Page &page() {
    static Page p;
    return p;
}

void BM_Refresh(benchmark::State &state) {
    initDisplayInto(page().dir);
    for (auto _ : state) Disp_vClearPort();
}
BENCHMARK(BM_Refresh)->Unit(benchmark::kMillisecond);

void BM_RefreshToPage(benchmark::State &state) {
    Page &p = page();
    if (p.port == 0) {
        state.SkipWithError("the page's server did not start");
        return;
    }
    initDisplayInto(p.dir);
    Follower follower(p.port, p.token);
    follower.waitFor("screen.png");  // what the page gets on arrival
    std::vector<double> latencies;
    for (auto _ : state) {
        auto start = Clock::now();
        Disp_vClearPort();
        if (!follower.waitFor("screen.png")) {
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
BENCHMARK(BM_RefreshToPage)->Unit(benchmark::kMillisecond)->Iterations(200);

}  // namespace

BENCHMARK_MAIN();
