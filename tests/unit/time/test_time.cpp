// Timers, sleeping and the clock: the arithmetic on the millisecond tick, the sleep split at
// one second, and a clock setting the system service refuses.
#include <gtest/gtest.h>

#include <pos_sdk/os_time.h>
#include <pos_sdk/service/BpTransferHub.h>

#include <chrono>
#include <ctime>
#include <string>

#include "LocalBinder.h"

namespace {

using Clock = std::chrono::steady_clock;

long long elapsedMs(Clock::time_point since) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - since).count();
}

TEST(Timer, CountsDownOnTheTickAndNeverBelowZero) {
    OS_TIMER_T t = {1, 2, 3};
    EXPECT_EQ(OsTimerSet(&t, 0), -1003);
    EXPECT_EQ(t.Start + t.Stop + t.TimeLeft, 6);  // left alone
    EXPECT_EQ(OsTimerSet(nullptr, 10), -1003);
    EXPECT_EQ(OsTimerCheck(nullptr), -1003);

    int64_t before = get_sys_tick();
    ASSERT_EQ(OsTimerSet(&t, 500), 0);
    EXPECT_GE(t.Start, before);
    EXPECT_LE(t.Start, get_sys_tick());
    EXPECT_EQ(t.Stop - t.Start, 500);
    EXPECT_EQ(t.TimeLeft, 0);
    int left = OsTimerCheck(&t);
    EXPECT_GT(left, 0);
    EXPECT_LE(left, 500);
    EXPECT_EQ(t.TimeLeft, left);

    OsSleep(600);
    EXPECT_EQ(OsTimerCheck(&t), 0);
    EXPECT_EQ(t.TimeLeft, 0);
}

TEST(Timer, FullUnsignedDurationsAreAddedInSixtyFourBits) {
    OS_TIMER_T t;
    ASSERT_EQ(OsTimerSet(&t, 0xFFFFFFFFu), 0);
    EXPECT_EQ(t.Stop - t.Start, 4294967295LL);
    // More than 2^31 ms left: the check answers the low 32 bits of the 64-bit figure.
    int left = OsTimerCheck(&t);
    EXPECT_EQ(static_cast<uint32_t>(left), static_cast<uint32_t>(t.TimeLeft));
    EXPECT_GT(t.TimeLeft, 4294960000LL);
}

TEST(Sleep, LongSleepsTakeWholeSecondsAndMicrosecondsOfTheRest) {
    Clock::time_point start = Clock::now();
    EXPECT_EQ(OsSleep(1500), 0);
    long long ms = elapsedMs(start);
    EXPECT_GE(ms, 1000);
    EXPECT_LT(ms, 1400);  // the 500 is taken as microseconds

    start = Clock::now();
    EXPECT_EQ(OsSleep(999), 0);
    EXPECT_GE(elapsedMs(start), 999);
    EXPECT_EQ(OsSleep(0), 0);
}

TEST(Clock, TickCountIsInWholeSecondsAndTheDateIsLocal) {
    unsigned int ticks = OsGetTickCount();
    EXPECT_NE(ticks, static_cast<unsigned int>(-1));
    EXPECT_EQ(ticks % 1000, 0u);

    OsGetTime(nullptr);  // ignored
    SYS_TIME_T now;
    time_t before = time(nullptr);
    OsGetTime(&now);
    struct tm local;
    localtime_r(&before, &local);
    EXPECT_EQ(now.Year, local.tm_year + 1900);
    EXPECT_EQ(now.Month, local.tm_mon + 1);
    EXPECT_EQ(now.Day, local.tm_mday);
    EXPECT_EQ(now.Hour * 60 + now.Minute, local.tm_hour * 60 + local.tm_min);
    EXPECT_LE(now.Second - local.tm_sec, 1);

    int64_t tick = get_sys_tick();
    EXPECT_LE(std::llabs(tick / 1000 - static_cast<int64_t>(time(nullptr))), 1);
}

TEST(Clock, SettingTheClockGoesToTheSystemServiceWhichJudgesTheDate) {
    harness::LocalBinder binder;
    SYS_TIME_T date = {2027, 2, 28, 23, 59, 0};
    EXPECT_EQ(OsSetTime(&date), -1003);  // no service manager: refused like a bad date
    ASSERT_TRUE(binder.startManager());
    ASSERT_GT(binder.startService("system"), 0);

    EXPECT_EQ(OsSetTime(nullptr), -1003);
    EXPECT_EQ(OsSetTime(&date), 0);
    // The fields reached the service in record order: its clock now reads that minute.
    const char *clock = BpTransferHub::getInstance()->ISystemGetMCURTCTime();
    ASSERT_NE(clock, nullptr);
    EXPECT_EQ(std::string(clock).substr(0, 12), "202702282359");
    SYS_TIME_T leap = {2027, 2, 29, 12, 0, 0};  // no such day
    EXPECT_EQ(OsSetTime(&leap), -1003);
    SYS_TIME_T hour = {2028, 1, 1, 24, 0, 0};
    EXPECT_EQ(OsSetTime(&hour), -1003);
}

}  // namespace
