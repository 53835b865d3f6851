// One AT command round trip through x_at_send_command ("AT" answered "OK" by the simulated
// modem, echo off) beside a raw write of "AT\r" and a read of the same answer on the same
// pseudo-terminal, in alternating batches; the closing line gives library / raw (target
// <= 1.5). Starts a simulated terminal for itself when run outside one.
#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <pos_sdk/at.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "Console.h"

namespace {

const char kDevice[] = "/dev/chn/4";
const char kAnswer[] = "\r\nOK\r\n";
const int kBatch = 20;

int g_raw = -1;
double g_libraryNs = 0, g_rawNs = 0;

bool libraryRoundTrip() {
    char response[64];
    return x_at_send_command("AT", response, 3) == 0;
}

// The same bytes by hand: the command, then the answer read until it is whole.
bool rawRoundTrip() {
    if (write(g_raw, "AT\r", 3) != 3) return false;
    char buffer[64];
    size_t have = 0;
    const size_t want = sizeof kAnswer - 1;
    while (have < want) {
        ssize_t n = read(g_raw, buffer + have, sizeof buffer - have);
        if (n <= 0) return false;
        have += size_t(n);
    }
    return memcmp(buffer, kAnswer, want) == 0;
}

template <typename Call>
double batchNs(Call call, bool *ok) {
    auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < kBatch; ++i) *ok = call() && *ok;
    std::chrono::duration<double, std::nano> spent = std::chrono::steady_clock::now() - start;
    return spent.count() / kBatch;
}

double median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v.empty() ? 0 : v[v.size() / 2];
}

void AtRoundTrip(benchmark::State &state) {
    std::vector<double> library, raw;
    bool ok = true;
    for (auto _ : state) {
        library.push_back(batchNs(libraryRoundTrip, &ok));
        raw.push_back(batchNs(rawRoundTrip, &ok));
    }
    if (!ok) state.SkipWithError("a round trip failed");
    g_libraryNs = median(library);
    g_rawNs = median(raw);
    state.counters["at_us"] = g_libraryNs / 1000;
    state.counters["raw_us"] = g_rawNs / 1000;
    state.counters["ratio"] = g_libraryNs / g_rawNs;
}
BENCHMARK(AtRoundTrip)->Iterations(200)->Unit(benchmark::kMicrosecond);

// Runs this program again on a simulated terminal of its own.
int runOnTerminal(int argc, char **argv) {
    char self[4096];
    ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
    if (n <= 0) return 1;
    self[n] = '\0';
    std::vector<char *> args = {const_cast<char *>(POS_SIM), const_cast<char *>("run"),
                                const_cast<char *>("--"), self};
    for (int i = 1; i < argc; ++i) args.push_back(argv[i]);
    args.push_back(nullptr);
    execv(POS_SIM, args.data());
    perror("bench_at: pos-sim");
    return 1;
}

}  // namespace

int main(int argc, char **argv) {
    if (!harness::underSimulator()) return runOnTerminal(argc, argv);
    benchmark::Initialize(&argc, argv);
    char response[64];
    if (x_at_open() != 0 || x_at_send_command("ATE0", response, 3) != 0) {
        fprintf(stderr, "bench_at: the modem does not answer on %s\n", kDevice);
        return 1;
    }
    g_raw = open(kDevice, O_RDWR | O_NOCTTY);
    if (g_raw < 0) {
        perror("bench_at: /dev/chn/4");
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    printf("AT round trip %.1f us, raw write/read %.1f us, ratio %.2f (target <= 1.5)\n",
           g_libraryNs / 1000, g_rawNs / 1000, g_libraryNs / g_rawNs);
    close(g_raw);
    benchmark::Shutdown();
    return 0;
}
