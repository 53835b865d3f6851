// One hub call round trip (IPowerSysGetBatCap into a power service process) beside a raw
// AF_UNIX request/reply ping-pong of the same sizes, with the serving process on the caller's
// core and on the other core. The closing lines give hub / raw for each placement.
#include <benchmark/benchmark.h>

#include <pos_sdk/service/BpTransferHub.h>

#include <dirent.h>
#include <sched.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "ServiceHost.h"

namespace {

// What one IPowerSysGetBatCap puts on the socket: a 12-byte frame header with the token of
// "com.torva.binder.IPowerManager" (72 bytes), and back a header with exception, status and
// value (12 bytes).
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

struct Peers {
    std::string binderDir;
    std::vector<pid_t> pids;  // service manager, power service, raw echo server
    int rawFd = -1;

    void place(Placement placement) {
        pinTask(0, 0);
        for (pid_t pid : pids) pinProcess(pid, placement == kSameCore ? 0 : 1);
    }
};

Peers *g_peers = nullptr;
std::map<std::string, double> g_nsPerCall;

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
    if (mkdtemp(dir) == nullptr) return false;
    peers->binderDir = dir;
    setenv("POS_BINDER_DIR", dir, 1);
    std::string program = POS_SIM_SERVICE;
    for (const std::vector<std::string> &args :
         {std::vector<std::string>{"servicemanager"}, std::vector<std::string>{"power"}}) {
        pid_t pid = possim::spawnAndWaitReady(program, args, 10000);
        if (pid < 0) return false;
        peers->pids.push_back(pid);
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
    peers->pids.push_back(echo);
    return echo > 0;
}

void stopPeers(Peers *peers) {
    if (peers->rawFd >= 0) close(peers->rawFd);
    for (auto it = peers->pids.rbegin(); it != peers->pids.rend(); ++it) possim::stopProcess(*it);
    std::error_code ignored;
    std::filesystem::remove_all(peers->binderDir, ignored);
}

const char *placementName(int64_t placement) {
    return placement == kSameCore ? "same core" : "other core";
}

// Runs `call` for the benchmark's iterations and records the time per call.
template <typename Call>
void measure(benchmark::State &state, const char *what, Call call) {
    g_peers->place(Placement(state.range(0)));
    call();  // bind / warm up outside the timing
    auto start = std::chrono::steady_clock::now();
    for (auto _ : state) call();
    std::chrono::duration<double, std::nano> spent = std::chrono::steady_clock::now() - start;
    g_nsPerCall[std::string(what) + "/" + placementName(state.range(0))] =
        spent.count() / double(state.iterations());
    state.SetLabel(placementName(state.range(0)));
}

void BM_HubGetBatCap(benchmark::State &state) {
    BpTransferHub *hub = BpTransferHub::getInstance();
    measure(state, "hub", [&] {
        int capacity = hub->IPowerSysGetBatCap();
        if (capacity < 0 || capacity > 100) state.SkipWithError("the service did not answer");
        benchmark::DoNotOptimize(capacity);
    });
}

void BM_RawUnixPingPong(benchmark::State &state) {
    std::vector<char> request(kRequestBytes, 1), reply(kReplyBytes);
    int fd = g_peers->rawFd;
    measure(state, "raw", [&] {
        if (write(fd, request.data(), request.size()) != ssize_t(request.size())) {
            state.SkipWithError("echo server gone");
            return;
        }
        size_t got = 0;
        while (got < reply.size()) {
            ssize_t n = read(fd, reply.data() + got, reply.size() - got);
            if (n <= 0) {
                state.SkipWithError("echo server gone");
                return;
            }
            got += size_t(n);
        }
    });
}

BENCHMARK(BM_RawUnixPingPong)->Arg(kSameCore)->Arg(kOtherCore)->UseRealTime();
BENCHMARK(BM_HubGetBatCap)->Arg(kSameCore)->Arg(kOtherCore)->UseRealTime();

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
    benchmark::RunSpecifiedBenchmarks();
    stopPeers(&peers);

    for (const char *placement : {"same core", "other core"}) {
        double hub = g_nsPerCall[std::string("hub/") + placement];
        double raw = g_nsPerCall[std::string("raw/") + placement];
        if (hub > 0 && raw > 0) {
            printf("%-10s hub %.1f us, raw AF_UNIX %.1f us, ratio %.2f (target <= 1.5)\n",
                   placement, hub / 1000, raw / 1000, hub / raw);
        }
    }
    benchmark::Shutdown();
    return 0;
}
