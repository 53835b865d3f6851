// Several threads of a fresh process calling the hub at once (run under pos-sim). The hub takes
// no lock, so callers serialise its first use (the binding of each service); after that the
// bound proxies and the binder underneath must answer every thread correctly.
#include <gtest/gtest.h>

#include <pos_sdk/service/BpTransferHub.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <thread>
#include <vector>

namespace {

// In a child process, so that every round binds afresh: the first use of each service is made
// once, then THREADS threads start together and each reads the battery and the clock a few
// times. Exit status 0 when every answer was sane.
int firstUseInChild(int threads) {
    pid_t pid = fork();
    if (pid != 0) return pid;
    // The steps callers serialise: the hub and the binding of each service used below.
    BpTransferHub *hub = BpTransferHub::getInstance();
    if (hub->IPowerSysGetBatCap() < 0 || hub->ISystemGetMCURTCTime() == nullptr) _exit(2);
    std::atomic<int> ready{0};
    std::atomic<int> bad{0};
    std::vector<std::thread> pool;
    for (int t = 0; t < threads; ++t) {
        pool.emplace_back([&] {
            ++ready;
            while (ready.load() < threads) std::this_thread::yield();
            for (int i = 0; i < 20; ++i) {
                int capacity = hub->IPowerSysGetBatCap();
                const char *clock = hub->ISystemGetMCURTCTime();
                if (capacity < 0 || capacity > 100 || clock == nullptr || strlen(clock) != 14)
                    ++bad;
            }
        });
    }
    for (std::thread &th : pool) th.join();
    _exit(bad.load() == 0 ? 0 : 1);
}

}  // namespace

TEST(HubThreads, ConcurrentCallsAfterFirstUseNeitherCrashNorMisanswer) {
    for (int threads : {2, 8}) {
        for (int round = 0; round < 10; ++round) {
            pid_t child = firstUseInChild(threads);
            ASSERT_GT(child, 0);
            int status = 0;
            ASSERT_EQ(child, waitpid(child, &status, 0));
            ASSERT_TRUE(WIFEXITED(status)) << threads << " threads, round " << round
                                           << ": killed by signal " << WTERMSIG(status);
            EXPECT_EQ(0, WEXITSTATUS(status)) << threads << " threads, round " << round;
        }
    }
}
