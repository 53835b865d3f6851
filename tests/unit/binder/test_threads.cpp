// The binder from many threads at once, on both sides of the socket in one process: lookups
// that race to create the same proxy, calls sharing proxies, and proxies dropped while other
// threads still call through their own references. Also built with ThreadSanitizer.
#include <binder/BpBinder.h>
#include <binder/IServiceManager.h>
#include <binder/Parcel.h>
#include <binder/ProcessState.h>
#include <binder/ServiceManagerHost.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "echo_service.h"

using namespace android;

namespace {

constexpr int kStartTimeoutMs = 5000;

bool echoOnce(const sp<IBinder> &binder, int32_t n) {
    Parcel data;
    Parcel reply;
    data.writeInterfaceToken(String16(echo::kEchoDescriptor));
    data.writeInt32(n);
    data.writeString16(String16("t"));
    if (binder->transact(echo::ECHO, data, &reply) != OK) return false;
    reply.readExceptionCode();
    return reply.readInt32() == n + 1 && reply.readString16() == String16("t");
}

// One service manager and one echo service for the whole program, served by its own pool.
class BinderThreads : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        char pattern[] = "/tmp/binder-threads-XXXXXX";
        ASSERT_NE(nullptr, mkdtemp(pattern));
        setenv("POS_BINDER_DIR", pattern, 1);
        ASSERT_EQ(OK, startServiceManager(nullptr));
        ASSERT_TRUE(waitForServiceManager(kStartTimeoutMs));
        ASSERT_EQ(OK, defaultServiceManager()->addService(String16("echo"), new echo::EchoService));
        ProcessState::self()->startThreadPool();
    }

    // Runs body(thread, round) on `threads` threads at once, `rounds` times each.
    template <typename Body>
    static int race(int threads, int rounds, Body body) {
        std::atomic<int> failures{0};
        std::atomic<int> ready{0};
        std::vector<std::thread> pool;
        for (int t = 0; t < threads; ++t) {
            pool.emplace_back([&, t] {
                ++ready;
                while (ready.load() < threads) std::this_thread::yield();
                for (int r = 0; r < rounds; ++r) {
                    if (!body(t, r)) ++failures;
                }
            });
        }
        for (std::thread &th : pool) th.join();
        return failures.load();
    }
};

}  // namespace

TEST_F(BinderThreads, RacingLookupsShareOneLiveProxy) {
    for (int threads : {2, 8}) {
        std::vector<BpBinder *> seen(threads, nullptr);
        sp<IBinder> keep = defaultServiceManager()->getService(String16("echo"));
        ASSERT_NE(nullptr, keep);
        EXPECT_EQ(0, race(threads, 50, [&](int t, int r) {
                      sp<IBinder> binder = defaultServiceManager()->getService(String16("echo"));
                      if (binder == nullptr) return false;
                      seen[t] = binder->remoteBinder();
                      return echoOnce(binder, t * 1000 + r);
                  }));
        // While one reference is held, every lookup finds that same proxy.
        for (BpBinder *b : seen) EXPECT_EQ(keep->remoteBinder(), b);
    }
}

TEST_F(BinderThreads, CallsOnOneProxyFromManyThreads) {
    sp<IBinder> shared = defaultServiceManager()->getService(String16("echo"));
    ASSERT_NE(nullptr, shared);
    EXPECT_EQ(0, race(8, 200, [&](int t, int r) { return echoOnce(shared, t * 100000 + r); }));
    EXPECT_TRUE(shared->isBinderAlive());
    EXPECT_EQ(OK, shared->pingBinder());
}

TEST_F(BinderThreads, ProxiesDroppedWhileOthersStillCall) {
    // Every thread takes its own reference, calls, and lets go, so proxies die and are made
    // again while other threads are in the middle of calls through them.
    EXPECT_EQ(0, race(8, 100, [&](int t, int r) {
                  sp<IBinder> mine = defaultServiceManager()->getService(String16("echo"));
                  bool ok = mine != nullptr && echoOnce(mine, t + r);
                  mine.clear();
                  return ok;
              }));
}
