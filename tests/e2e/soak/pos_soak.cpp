// Soak: several application processes, each with several threads, make mixed SDK calls (hub,
// record database, package server) against the simulated terminal while the simulated services
// are killed and restarted through the console. Afterwards every process must re-bind every
// service, hold as many descriptors and threads as before its threads started, and the
// database must hold every record whose append was acknowledged.
//
//   pos-sim run -- pos_soak [--seconds N] [--processes N] [--threads N]
//
// Prints one summary table; exit status 0 when nothing was lost or leaked.
#include <dirent.h>
#include <poll.h>
#include <pos_sdk/app.h>
#include <pos_sdk/db.h>
#include <pos_sdk/service/BpTransferHub.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "Console.h"

namespace {

using Clock = std::chrono::steady_clock;

const char *const kDbDir = "/customer/kivo/soak";
const char *const kAppId = "soak";
const char *const kTable = "soak_records";
const int kRecordLen = 32;

struct Options {
    int seconds = 10;
    int processes = 3;
    int threads = 4;
};

// What one application process reports to the soak through a pipe.
struct ProcessReport {
    long calls = 0;
    long failedCalls = 0;  // refused while a service was down: expected, counted
    long acknowledged = 0;
    int descriptorsBefore = 0, descriptorsAfter = 0;
    int threadsBefore = 0, threadsAfter = 0;
    bool reboundAll = false;
};

int countThreads() {
    DIR *d = opendir("/proc/self/task");
    if (d == nullptr) return -1;
    int n = 0;
    while (dirent *e = readdir(d)) {
        if (e->d_name[0] != '.') ++n;
    }
    closedir(d);
    return n;
}

// The descriptors that would be leaks: every one but the binder's connections, whose pools
// grow to the number of threads calling at once and stay (bounded) for the next calls; with
// DEAD_PEERS, also every connection whose peer has gone (a dead service's connection kept).
int countLeakableDescriptors(bool deadPeers) {
    DIR *d = opendir("/proc/self/fd");
    if (d == nullptr) return -1;
    int n = 0;
    while (dirent *e = readdir(d)) {
        if (e->d_name[0] == '.') continue;
        int fd = atoi(e->d_name);
        if (fd == dirfd(d)) continue;
        char target[64] = {};
        std::string link = std::string("/proc/self/fd/") + e->d_name;
        if (readlink(link.c_str(), target, sizeof target - 1) < 0) continue;
        if (strncmp(target, "socket:", 7) != 0) {
            ++n;
            continue;
        }
        pollfd p{fd, POLLRDHUP, 0};
        if (deadPeers && poll(&p, 1, 0) == 1 && (p.revents & (POLLHUP | POLLRDHUP | POLLERR)) != 0)
            ++n;
    }
    closedir(d);
    return n;
}

std::string recordKey(int process, int thread, long sequence) {
    char key[kRecordLen];
    snprintf(key, sizeof key, "p%02dt%02ds%08ld", process, thread, sequence);
    return key;
}

std::string ackFile(int process, int thread) {
    return std::string(kDbDir) + "/acks-" + std::to_string(process) + "-" + std::to_string(thread);
}

bool sane(int capacity, const char *clock) {
    return capacity >= 0 && capacity <= 100 && clock != nullptr && strlen(clock) == 14;
}

// The mixed calls of one thread until the deadline; acknowledged keys go to its file.
void workLoop(int process, int thread, Clock::time_point deadline, std::atomic<long> &calls,
              std::atomic<long> &failed, std::atomic<long> &acknowledged) {
    BpTransferHub *hub = BpTransferHub::getInstance();
    void *table = DB_hOpen(kTable, kRecordLen);
    FILE *acks = fopen(ackFile(process, thread).c_str(), "w");
    long sequence = 0;
    for (long i = 0; Clock::now() < deadline; ++i) {
        bool ok = true;
        switch (i % 4) {
            case 0: {
                int capacity = hub->IPowerSysGetBatCap();
                ok = capacity >= 0 && capacity <= 100;
                break;
            }
            case 1: {
                const char *clock = hub->ISystemGetMCURTCTime();
                ok = clock != nullptr && strlen(clock) == 14;
                break;
            }
            case 2: {
                std::string key = recordKey(process, thread, sequence++);
                char data[kRecordLen] = {};
                memcpy(data, key.data(), key.size());
                ok = table != nullptr &&
                     DB_nAppendRecByKey(table, key.c_str(), data, kRecordLen) >= 0;
                if (ok && acks != nullptr) {
                    fprintf(acks, "%s\n", key.c_str());
                    fflush(acks);
                    ++acknowledged;
                }
                break;
            }
            default: {
                OsAppInfoRecord apps[4];
                ok = OsGetAppInfo(apps, 4) >= 0;
                break;
            }
        }
        ++calls;
        if (!ok) ++failed;
    }
    if (acks != nullptr) fclose(acks);
    if (table != nullptr) DB_vClose(table);
}

// After the storm every service answers again within a few seconds.
bool waitForRebinding() {
    BpTransferHub *hub = BpTransferHub::getInstance();
    Clock::time_point until = Clock::now() + std::chrono::seconds(10);
    while (Clock::now() < until) {
        if (sane(hub->IPowerSysGetBatCap(), hub->ISystemGetMCURTCTime())) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return false;
}

ProcessReport runProcess(int process, const Options &opts, Clock::time_point deadline) {
    ProcessReport report;
    // Callers serialise the first use of the hub; after it, threads share the bound proxies.
    BpTransferHub *hub = BpTransferHub::getInstance();
    sane(hub->IPowerSysGetBatCap(), hub->ISystemGetMCURTCTime());
    if (DB_bInitBySysService(kDbDir, kAppId) != 0) return report;
    void *table = DB_hOpen(kTable, kRecordLen);  // created once, before the threads race
    if (table != nullptr) DB_vClose(table);

    // The storm may already have killed a service: its connection is counted only after.
    report.descriptorsBefore = countLeakableDescriptors(false);
    report.threadsBefore = countThreads();
    std::atomic<long> calls{0}, failed{0}, acknowledged{0};
    std::vector<std::thread> pool;
    for (int t = 0; t < opts.threads; ++t) {
        pool.emplace_back(workLoop, process, t, deadline, std::ref(calls), std::ref(failed),
                          std::ref(acknowledged));
    }
    for (std::thread &th : pool) th.join();
    report.reboundAll = waitForRebinding();
    report.calls = calls;
    report.failedCalls = failed;
    report.acknowledged = acknowledged;
    report.descriptorsAfter = countLeakableDescriptors(true);
    report.threadsAfter = countThreads();
    DB_vUnInit();
    return report;
}

std::vector<std::string> runningServices() {
    std::vector<std::string> keys;
    std::istringstream lines(harness::ctl({"list"}).text);
    std::string line;
    while (std::getline(lines, line)) {
        if (line.find("\trunning") != std::string::npos)
            keys.push_back(line.substr(0, line.find('\t')));
    }
    return keys;
}

// Kills a random service, lets the applications meet it dead, restarts it; until the deadline.
int storm(Clock::time_point deadline, const std::vector<std::string> &services) {
    std::mt19937 random(12345);
    int restarts = 0;
    while (Clock::now() < deadline && !services.empty()) {
        const std::string &victim = services[random() % services.size()];
        harness::ctl({victim, "kill"});
        std::this_thread::sleep_for(std::chrono::milliseconds(50 + random() % 200));
        if (harness::ctl({victim, "restart"}).ok) ++restarts;
        std::this_thread::sleep_for(std::chrono::milliseconds(100 + random() % 200));
    }
    return restarts;
}

// Every acknowledged key, read back from the database after all applications have ended.
long countLostRecords(const Options &opts, long *checked) {
    long lost = 0;
    *checked = 0;
    if (DB_bInitBySysService(kDbDir, kAppId) != 0) return -1;
    void *table = DB_hOpen(kTable, kRecordLen);
    for (int p = 0; p < opts.processes; ++p) {
        for (int t = 0; t < opts.threads; ++t) {
            FILE *acks = fopen(ackFile(p, t).c_str(), "r");
            char key[64];
            while (acks != nullptr && fgets(key, sizeof key, acks) != nullptr) {
                key[strcspn(key, "\n")] = '\0';
                char data[kRecordLen];
                ++*checked;
                if (table == nullptr || DB_nReadRecByKey(table, key, kRecordLen, data) < 0 ||
                    strncmp(data, key, kRecordLen) != 0) {
                    ++lost;
                }
            }
            if (acks != nullptr) fclose(acks);
        }
    }
    if (table != nullptr) DB_vClose(table);
    DB_vUnInit();
    return lost;
}

bool parseOptions(int argc, char **argv, Options &opts) {
    for (int i = 1; i + 1 < argc; i += 2) {
        int value = atoi(argv[i + 1]);
        if (value <= 0) return false;
        if (strcmp(argv[i], "--seconds") == 0)
            opts.seconds = value;
        else if (strcmp(argv[i], "--processes") == 0)
            opts.processes = value;
        else if (strcmp(argv[i], "--threads") == 0)
            opts.threads = value;
        else
            return false;
    }
    return argc % 2 == 1;
}

}  // namespace

int main(int argc, char **argv) {
    Options opts;
    if (!parseOptions(argc, argv, opts)) {
        fprintf(stderr, "usage: pos_soak [--seconds N] [--processes N] [--threads N]\n");
        return 2;
    }
    if (!harness::underSimulator()) {
        fprintf(stderr, "pos_soak: run it under pos-sim (pos-sim run -- pos_soak)\n");
        return 2;
    }
    std::vector<std::string> services = runningServices();
    Clock::time_point deadline = Clock::now() + std::chrono::seconds(opts.seconds);

    std::vector<pid_t> children;
    std::vector<int> pipes;
    for (int p = 0; p < opts.processes; ++p) {
        int fds[2];
        if (pipe(fds) != 0) return 1;
        pid_t pid = fork();
        if (pid == 0) {
            close(fds[0]);
            ProcessReport report = runProcess(p, opts, deadline);
            ssize_t written = write(fds[1], &report, sizeof report);
            _exit(written == static_cast<ssize_t>(sizeof report) ? 0 : 1);
        }
        close(fds[1]);
        children.push_back(pid);
        pipes.push_back(fds[0]);
    }

    int restarts = storm(deadline, services);
    for (const std::string &service : services) harness::ctl({service, "restart"});

    long calls = 0, failed = 0, acknowledged = 0;
    int leakedDescriptors = 0, leakedThreads = 0, notRebound = 0;
    for (size_t i = 0; i < children.size(); ++i) {
        ProcessReport report;
        bool read = ::read(pipes[i], &report, sizeof report) == sizeof report;
        close(pipes[i]);
        int status = 0;
        waitpid(children[i], &status, 0);
        if (!read || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
            ++notRebound;
            continue;
        }
        calls += report.calls;
        failed += report.failedCalls;
        acknowledged += report.acknowledged;
        leakedDescriptors += report.descriptorsAfter - report.descriptorsBefore;
        leakedThreads += report.threadsAfter - report.threadsBefore;
        if (!report.reboundAll) ++notRebound;
    }
    long checked = 0;
    long lost = countLostRecords(opts, &checked);

    printf("%-28s %ld\n", "calls", calls);
    printf("%-28s %ld\n", "calls refused (service down)", failed);
    printf("%-28s %d\n", "service restarts", restarts);
    printf("%-28s %ld\n", "records acknowledged", acknowledged);
    printf("%-28s %ld of %ld\n", "records lost", lost, checked);
    printf("%-28s %d\n", "descriptors leaked", leakedDescriptors);
    printf("%-28s %d\n", "threads leaked", leakedThreads);
    printf("%-28s %d of %d\n", "processes not re-bound", notRebound, opts.processes);
    bool good = lost == 0 && checked == acknowledged && acknowledged > 0 &&
                leakedDescriptors == 0 && leakedThreads == 0 && notRebound == 0 && restarts > 0;
    printf("soak %s\n", good ? "passed" : "FAILED");
    return good ? 0 : 1;
}
