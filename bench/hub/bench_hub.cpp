// One hub call round trip (IPowerSysGetBatCap into a power service process, and
// IQd36nGetUsbSw into the companion controller's, which puts the same sizes on the wire)
// beside a raw AF_UNIX request/reply ping-pong of those sizes, with the serving process on the
// caller's core and on the other core. The closing lines give hub / raw for each. Every other
// operation of the services running here is timed as well (HubCall/NAME), but for the speech
// operations that render audio (bench_tts times those).
#include <benchmark/benchmark.h>

#include <pos_sdk/service/BpTransferHub.h>

#include <dirent.h>
#include <sched.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <iterator>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "HubOps.h"
#include "LocalBinder.h"
#include "ServiceHost.h"

namespace {

// What one IPowerSysGetBatCap puts on the socket: a 12-byte frame header with the token of
// "com.torva.binder.IPowerManager" (72 bytes), and back a header with exception, status and
// value (12 bytes). IQd36nGetUsbSw's token ("com.torva.binder.IQd36nManager") and reply have
// the same sizes.
const size_t kRequestBytes = 12 + 72;
const size_t kReplyBytes = 12 + 12;

enum Placement { kSameCore = 0, kOtherCore = 1 };

bool pinTask(pid_t tid, int cpu) {
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(cpu, &set);
    return sched_setaffinity(tid, sizeof set, &set) == 0;
}

// Pins every thread of a process (its serving threads come and go with connections, and new
// ones inherit the mask of the thread that makes them).
void pinProcess(pid_t pid, int cpu) {
    std::string dir = "/proc/" + std::to_string(pid) + "/task";
    if (DIR *d = opendir(dir.c_str())) {
        while (dirent *e = readdir(d)) {
            if (e->d_name[0] != '.') pinTask(atoi(e->d_name), cpu);
        }
        closedir(d);
    }
}

// The services started, with their states (the speech service's files go to a directory of
// the benchmark's own).
const char *const kServices[] = {"power", "system", "cloud", "qd36n", "seglcd", "tts"};
// Operations timed by bench_tts rather than here.
const char *const kRendering[] = {"ITtsTextToSpeech", "ITtsTextToPcm", "ITtsTextToWav"};

struct Peers {
    harness::LocalBinder binder;  // service manager and the services above
    std::string audioDir;
    pid_t echo = -1;  // the raw echo server
    int rawFd = -1;

    void place(Placement placement) {
        pinTask(0, 0);
        for (pid_t pid : binder.pids()) pinProcess(pid, placement == kSameCore ? 0 : 1);
        pinProcess(echo, placement == kSameCore ? 0 : 1);
    }
};

Peers *g_peers = nullptr;
std::map<std::string, std::pair<double, double>> g_ratios;  // call, placement -> hub, raw ns

// The raw server: reads a request of the hub's size, answers with a reply of the hub's size.
[[noreturn]] void echoLoop(int fd) {
    std::vector<char> request(kRequestBytes), reply(kReplyBytes);
    for (;;) {
        size_t got = 0;
        while (got < request.size()) {
            ssize_t n = read(fd, request.data() + got, request.size() - got);
            if (n <= 0) _exit(0);
            got += size_t(n);
        }
        if (write(fd, reply.data(), reply.size()) != ssize_t(reply.size())) _exit(0);
    }
}

bool startPeers(Peers *peers) {
    char dir[] = "/tmp/pos-bench-hub.XXXXXX";
    if (mkdtemp(dir) == nullptr || !peers->binder.startManager()) return false;
    peers->audioDir = dir;
    for (const char *key : kServices) {
        std::string state = std::string(key) == "tts"
                                ? "{\"audio_dir\": \"" + peers->audioDir + "\"}"
                                : std::string("{}");
        if (peers->binder.startService(key, state) < 0) return false;
    }
    int fds[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds) != 0) return false;
    pid_t echo = fork();
    if (echo == 0) {
        close(fds[0]);
        echoLoop(fds[1]);
    }
    close(fds[1]);
    peers->rawFd = fds[0];
    peers->echo = echo;
    return echo > 0;
}

void stopPeers(Peers *peers) {
    if (peers->rawFd >= 0) close(peers->rawFd);
    possim::stopProcess(peers->echo);
    std::error_code ignored;
    if (!peers->audioDir.empty()) std::filesystem::remove_all(peers->audioDir, ignored);
}

const char *placementName(int64_t placement) {
    return placement == kSameCore ? "same core" : "other core";
}

// One hub round trip; false when the service did not answer.
bool hubCall() {
    static const HubOp &op = hubOp("IPowerSysGetBatCap");
    int capacity = op.call(*BpTransferHub::getInstance()).status;
    benchmark::DoNotOptimize(capacity);
    return capacity >= 0 && capacity <= 100;
}

// The same for the companion controller.
bool qd36nCall() {
    static const HubOp &op = hubOp("IQd36nGetUsbSw");
    int status = op.call(*BpTransferHub::getInstance()).status;
    benchmark::DoNotOptimize(status);
    return status == 0;
}

// One raw round trip of the hub's sizes; false when the echo server is gone.
bool rawCall() {
    static char request[kRequestBytes], reply[kReplyBytes];
    int fd = g_peers->rawFd;
    if (write(fd, request, sizeof request) != ssize_t(sizeof request)) return false;
    size_t got = 0;
    while (got < sizeof reply) {
        ssize_t n = read(fd, reply + got, sizeof reply - got);
        if (n <= 0) return false;
        got += size_t(n);
    }
    return true;
}

template <bool (*Call)()>
void BM_RoundTrip(benchmark::State &state) {
    g_peers->place(Placement(state.range(0)));
    Call();  // bind and warm up outside the timing
    for (auto _ : state) {
        if (!Call()) state.SkipWithError("the peer did not answer");
    }
    state.SetLabel(placementName(state.range(0)));
}

// Nanoseconds per call over a batch of `calls`.
template <bool (*Call)()>
double timeBatch(int calls) {
    auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < calls; ++i) Call();
    std::chrono::duration<double, std::nano> spent = std::chrono::steady_clock::now() - start;
    return spent.count() / calls;
}

double median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

// Hub and raw batches taken in turns, so load from other processes on the machine hits both
// alike; the medians of the batches give the ratio.
template <bool (*HubCall)()>
void BM_HubOverRaw(benchmark::State &state, const char *call) {
    g_peers->place(Placement(state.range(0)));
    HubCall();
    const int kBatch = 50;
    std::vector<double> hub, raw;
    for (auto _ : state) {
        hub.push_back(timeBatch<HubCall>(kBatch));
        raw.push_back(timeBatch<rawCall>(kBatch));
    }
    double hubNs = median(hub), rawNs = median(raw);
    state.counters["hub_us"] = hubNs / 1000;
    state.counters["raw_us"] = rawNs / 1000;
    state.counters["ratio"] = hubNs / rawNs;
    state.SetLabel(placementName(state.range(0)));
    g_ratios[std::string(call) + ", " + placementName(state.range(0))] = {hubNs, rawNs};
}

BENCHMARK_TEMPLATE(BM_RoundTrip, rawCall)
    ->Name("RawUnixPingPong")
    ->Arg(kSameCore)
    ->Arg(kOtherCore)
    ->UseRealTime();
BENCHMARK_TEMPLATE(BM_RoundTrip, hubCall)
    ->Name("HubGetBatCap")
    ->Arg(kSameCore)
    ->Arg(kOtherCore)
    ->UseRealTime();

// Hub over raw for the power service's call and the companion controller's.
void registerRatios() {
    benchmark::RegisterBenchmark("HubOverRaw", BM_HubOverRaw<hubCall>, "IPowerSysGetBatCap")
        ->Arg(kSameCore)
        ->Arg(kOtherCore)
        ->UseRealTime();
    benchmark::RegisterBenchmark("Qd36nHubOverRaw", BM_HubOverRaw<qd36nCall>, "IQd36nGetUsbSw")
        ->Arg(kSameCore)
        ->Arg(kOtherCore)
        ->UseRealTime();
}

// Every operation of the services running here, one round trip each.
void registerHubCalls() {
    for (const HubOp &op : allHubOps()) {
        if (std::find(std::begin(kRendering), std::end(kRendering), std::string(op.name)) !=
            std::end(kRendering)) {
            continue;
        }
        benchmark::RegisterBenchmark(("HubCall/" + std::string(op.name)).c_str(),
                                     [&op](benchmark::State &state) {
                                         BpTransferHub &hub = *BpTransferHub::getInstance();
                                         for (auto _ : state) {
                                             benchmark::DoNotOptimize(op.call(hub));
                                         }
                                     })
            ->UseRealTime();
    }
}

}  // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    Peers peers;
    if (!startPeers(&peers)) {
        fprintf(stderr, "bench_hub: cannot start the service processes\n");
        stopPeers(&peers);
        return 1;
    }
    g_peers = &peers;
    registerRatios();
    registerHubCalls();
    benchmark::RunSpecifiedBenchmarks();
    stopPeers(&peers);

    for (const auto &[placement, times] : g_ratios) {
        printf("%-30s hub %.1f us, raw AF_UNIX %.1f us, ratio %.2f (target <= 1.1)\n",
               placement.c_str(), times.first / 1000, times.second / 1000,
               times.first / times.second);
    }
    benchmark::Shutdown();
    return 0;
}
