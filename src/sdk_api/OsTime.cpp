// Time, ticks, timers and sleep. Everything but setting the clock runs in the caller's process;
// the clock belongs to the system service, which keeps the microcontroller's real-time clock.
#include "pos_sdk/os_time.h"

#include <sys/sysinfo.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#include "pos_sdk/os_status.h"
#include "pos_sdk/service/BpTransferHub.h"

namespace {

BpTransferHub *const hub = BpTransferHub::getInstance();

// The clock as the read path first takes it: a 16-bit year and five 8-bit fields.
struct PackedTime {
    uint16_t year;
    uint8_t month, day, hour, minute, second;
};

}  // namespace

extern "C" {

POS_API int64_t get_sys_tick(void) {
    struct timeval now;
    gettimeofday(&now, nullptr);
    return static_cast<int64_t>(now.tv_sec) * 1000 + now.tv_usec / 1000;
}

POS_API void OsGetTime(SYS_TIME_T *out) {
    if (out == nullptr) return;
    time_t now = time(nullptr);
    struct tm *local = localtime(&now);
    if (local == nullptr) return;
    PackedTime t = {
        static_cast<uint16_t>(local->tm_year + 1900), static_cast<uint8_t>(local->tm_mon + 1),
        static_cast<uint8_t>(local->tm_mday),         static_cast<uint8_t>(local->tm_hour),
        static_cast<uint8_t>(local->tm_min),          static_cast<uint8_t>(local->tm_sec)};
    out->Year = t.year;
    out->Month = t.month;
    out->Day = t.day;
    out->Hour = t.hour;
    out->Minute = t.minute;
    out->Second = t.second;
}

POS_API int OsSetTime(const SYS_TIME_T *time) {
    if (time == nullptr) return OS_ERR_BAD_ARGUMENT;
    // The service judges the date; a refusal reads like a missing argument.
    int result = hub->ISystemSetMCURTCTime(time->Year, time->Month, time->Day, time->Hour,
                                           time->Minute, time->Second);
    return result != 0 ? OS_ERR_BAD_ARGUMENT : 0;
}

POS_API int OsTimerSet(OS_TIMER_T *timer, unsigned int ms) {
    int64_t tick = get_sys_tick();
    if (timer == nullptr || ms == 0) return OS_ERR_BAD_ARGUMENT;
    timer->Start = tick;
    timer->Stop = tick + static_cast<int64_t>(ms);
    timer->TimeLeft = 0;
    return 0;
}

POS_API int OsTimerCheck(OS_TIMER_T *timer) {
    if (timer == nullptr) return OS_ERR_BAD_ARGUMENT;
    timer->TimeLeft = timer->Stop - get_sys_tick();
    if (timer->TimeLeft < 0) timer->TimeLeft = 0;
    // The low 32 bits, taken without the implementation-defined narrowing of a large value.
    return static_cast<int>(static_cast<uint32_t>(static_cast<uint64_t>(timer->TimeLeft)));
}

POS_API int OsSleep(unsigned int ms) {
    if (ms >= 1000) {
        sleep(ms / 1000);
        // The remainder goes to usleep as microseconds: long sleeps end up to a millisecond
        // short of their sub-second part. Kept for compatibility.
        return usleep(ms % 1000);
    }
    return usleep(static_cast<useconds_t>(ms) * 1000);
}

POS_API unsigned int OsGetTickCount(void) {
    struct sysinfo info;
    if (sysinfo(&info) != 0) return static_cast<unsigned int>(-1);
    return static_cast<unsigned int>(static_cast<unsigned long>(info.uptime) * 1000);
}

}  // extern "C"
