// Several threads of a fresh process making their first hub calls at once (run under
// pos-sim). The hub itself takes no lock, so its pointers may be bound twice; the binder
// underneath must keep every proxy a thread is calling through alive and correct.
#include <gtest/gtest.h>

#include <pos_sdk/service/BpTransferHub.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <thread>
#include <vector>

namespace {

// In a child process, so that every round is a first use: THREADS threads start together and
// each reads the battery and the clock a few times. Exit status 0 when every answer was sane.
int firstUseInChild(int threads) {
    pid_t pid = fork();
    if (pid != 0) return pid;
    BpTransferHub *hub = BpTransferHub::getInstance();  // the one step callers serialise
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

TEST(HubThreads, ConcurrentFirstCallsNeitherCrashNorMisanswer) {
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
