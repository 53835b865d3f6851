/* Wall-clock date and time, the millisecond tick, count-down timers and sleeping. */
#ifndef POS_SDK_OS_TIME_H
#define POS_SDK_OS_TIME_H

#include <stddef.h>
#include <stdint.h>

#include "pos_export.h"

POS_BEGIN_DECLS

/* A date and time: full year, month 1-12, day 1-31, hour 0-23, minute 0-59, second 0-60. */
typedef struct {
    int32_t Year;
    int32_t Month;
    int32_t Day;
    int32_t Hour;
    int32_t Minute;
    int32_t Second;
} SYS_TIME_T;

/* A count-down timer owned by the caller: the tick it was set at, the tick it runs out at,
 * and the milliseconds left at the last check (never below 0). */
typedef struct {
    int64_t Start;
    int64_t Stop;
    int64_t TimeLeft;
} OS_TIMER_T;

/* Milliseconds of wall-clock time since the epoch; jumps when the clock is set. */
POS_API int64_t get_sys_tick(void);

/* The local date and time; a null pointer is ignored. */
POS_API void OsGetTime(SYS_TIME_T *time);
/* Sets the terminal's real-time clock: 0, or -1003 for a null pointer or a refused date. */
POS_API int OsSetTime(const SYS_TIME_T *time);

/* Starts TIMER for MS milliseconds: 0, or -1003 for a null timer or a zero duration. */
POS_API int OsTimerSet(OS_TIMER_T *timer, unsigned int ms);
/* Milliseconds left (0 once the timer ran out), or -1003 for a null timer. */
POS_API int OsTimerCheck(OS_TIMER_T *timer);

/* Sleeps MS milliseconds; from 1000 on, whole seconds plus MS % 1000 microseconds. */
POS_API int OsSleep(unsigned int ms);
/* Milliseconds since boot in steps of 1000, or -1 (as unsigned) on failure. */
POS_API unsigned int OsGetTickCount(void);

POS_END_DECLS

#ifdef __cplusplus
static_assert(sizeof(SYS_TIME_T) == 24 && offsetof(SYS_TIME_T, Second) == 20, "SYS_TIME_T");
static_assert(sizeof(OS_TIMER_T) == 24 && offsetof(OS_TIMER_T, Stop) == 8 &&
                  offsetof(OS_TIMER_T, TimeLeft) == 16,
              "OS_TIMER_T");
#elif defined(__STDC_VERSION__) && __STDC_VERSION__ >= 201112L
_Static_assert(sizeof(SYS_TIME_T) == 24 && offsetof(SYS_TIME_T, Second) == 20, "SYS_TIME_T");
_Static_assert(sizeof(OS_TIMER_T) == 24 && offsetof(OS_TIMER_T, Stop) == 8 &&
                   offsetof(OS_TIMER_T, TimeLeft) == 16,
               "OS_TIMER_T");
#endif

#endif
