// The process-wide logger: platform log, standard output and an append-only file.
#include "pos_sdk/log.h"

#include <android/log.h>

#include <stdio.h>
#include <string.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

namespace {

// Output mask bits.
constexpr int kSinkStdout = 1;
constexpr int kSinkFile = 2;
constexpr int kSinkPlatform = 4;

constexpr int kTagMax = 32;
constexpr int kPathSize = 256;

int g_outputMask = kSinkPlatform;
int g_levelThreshold = LOG_LEVEL_DEBUG;
char g_tag[kTagMax + 1];
char g_logPath[kPathSize];
char g_backupPath[kPathSize];  // computed by Log_Init and kept; nothing rotates the file

int platformPriority(int level) {
    switch (level) {
        case LOG_LEVEL_ERROR:
            return ANDROID_LOG_ERROR;
        case LOG_LEVEL_WARN:
            return ANDROID_LOG_WARN;
        case LOG_LEVEL_DEBUG:
            return ANDROID_LOG_DEBUG;
        default:
            return ANDROID_LOG_INFO;
    }
}

int applicationToInternalLevel(int appLevel) {
    switch (appLevel) {
        case 0:
            return LOG_LEVEL_DEBUG;
        case 1:
            return LOG_LEVEL_INFO;
        case 2:
            return LOG_LEVEL_WARN;
        default:
            return LOG_LEVEL_ERROR;
    }
}

void formatLocalTime(char *out, size_t size) {
    time_t now = time(nullptr);
    struct tm local;
    localtime_r(&now, &local);
    strftime(out, size, "%Y-%m-%d %H:%M:%S", &local);
}

void logAt(int level, const char *fmt, ...) __attribute__((format(printf, 2, 3)));
void logAt(int level, const char *fmt, ...) {
    va_list ap;
    va_start(ap, fmt);
    logprintf(level, fmt, ap);
    va_end(ap);
}

}  // namespace

extern "C" {

POS_API void Log_Init(const char *dir, int, int) {
    // The directory is cut to the path buffer rather than overrunning it.
    snprintf(g_logPath, sizeof g_logPath, "%s/%s", dir ? dir : "", "SDK_LOG");
    // ".bak" is cut too when the path fills the buffer.
    size_t used = strnlen(g_logPath, sizeof g_logPath);
    memcpy(g_backupPath, g_logPath, used);
    snprintf(g_backupPath + used, sizeof g_backupPath - used, ".bak");
    g_outputMask = kSinkPlatform;
    g_levelThreshold = LOG_LEVEL_DEBUG;
}

POS_API void setLogTagName(const unsigned char *name, int len) {
    if (name == nullptr || len < 1) return;
    memset(g_tag, 0, sizeof g_tag);
    memcpy(g_tag, name, len < kTagMax ? len : kTagMax);
}

POS_API const char *getLogTagName(void) {
    return g_tag[0] != 0 ? g_tag : "POS_SDK";
}

POS_API const char *LogLevelToString(int level) {
    switch (level) {
        case LOG_LEVEL_ERROR:
            return "E";
        case LOG_LEVEL_WARN:
            return "W";
        case LOG_LEVEL_DEBUG:
            return "D";
        default:
            return "I";
    }
}

POS_API int LogFileVPrintf(int level, FILE *fp, const char *fmt, va_list ap) {
    if (fp == nullptr || fmt == nullptr) return -1;  // nothing to write, or nowhere to
    char when[80];
    formatLocalTime(when, sizeof when);
    fprintf(fp, "%s ", when);
    fprintf(fp, "%s/%s (PID:%d TID:%d):", LogLevelToString(level), getLogTagName(),
            static_cast<int>(getpid()), static_cast<int>(syscall(SYS_gettid)));
    return vfprintf(fp, fmt, ap);
}

POS_API void logprintf(int level, const char *fmt, va_list ap) {
    if (g_levelThreshold == 0 || g_outputMask == 0 || level > g_levelThreshold) return;
    if (fmt == nullptr) return;  // no sink may be handed a null format
    // Each sink consumes its own copy so one argument list serves all three.
    if (g_outputMask & kSinkPlatform) {
        va_list copy;
        va_copy(copy, ap);
        __android_log_vprint(platformPriority(level), getLogTagName(), fmt, copy);
        va_end(copy);
    }
    if (g_outputMask & kSinkStdout) {
        va_list copy;
        va_copy(copy, ap);
        vprintf(fmt, copy);
        va_end(copy);
    }
    if (g_logPath[0] != 0 && (g_outputMask & kSinkFile)) {
        FILE *fp = fopen(g_logPath, "a+");
        if (fp != nullptr) {
            va_list copy;
            va_copy(copy, ap);
            LogFileVPrintf(level, fp, fmt, copy);
            va_end(copy);
            fclose(fp);
        }
    }
}

#define POS_DEFINE_LEVEL_LOGGER(name, level)  \
    POS_API void name(const char *fmt, ...) { \
        va_list ap;                           \
        va_start(ap, fmt);                    \
        logprintf(level, fmt, ap);            \
        va_end(ap);                           \
    }
POS_DEFINE_LEVEL_LOGGER(Log_Debug, LOG_LEVEL_DEBUG)
POS_DEFINE_LEVEL_LOGGER(Log_Info, LOG_LEVEL_INFO)
POS_DEFINE_LEVEL_LOGGER(Log_Warn, LOG_LEVEL_WARN)
POS_DEFINE_LEVEL_LOGGER(Log_Err, LOG_LEVEL_ERROR)
#undef POS_DEFINE_LEVEL_LOGGER

POS_API void Log_Ptime(const char *text) {
    char when[80];
    formatLocalTime(when, sizeof when);
    if (text != nullptr && text[0] != 0)
        logAt(LOG_LEVEL_INFO, "----%s:%s----\n", when, text);
    else
        logAt(LOG_LEVEL_INFO, "----%s----\n", when);
}

POS_API void dumpBytes(const char *title, const unsigned char *data, int len) {
    logAt(LOG_LEVEL_DEBUG, "%s len%d:\n", title ? title : "", len);
    if (data == nullptr || len < 0) return;  // nothing to dump; never read through null

    // Round up to whole rows in 64 bits, so len + 15 cannot overflow (a long is 32 bits on
    // 32-bit terminals).
    long long rounded = (static_cast<long long>(len) + 15) / 16 * 16;
    char line[200] = {0};
    char column[101] = {0};
    for (long long i = 0; i < rounded; ++i) {
        size_t used = strlen(line);
        if (i % 16 == 0) snprintf(line + used, sizeof line - used, "%04lld:", i);
        used = strlen(line);
        size_t columnUsed = strlen(column);
        if (i < len) {
            snprintf(line + used, sizeof line - used, "0x%02X ", data[i]);
            // A zero byte adds nothing to the column and other bytes go out raw.
            snprintf(column + columnUsed, sizeof column - columnUsed, "%c", data[i]);
        } else {
            snprintf(line + used, sizeof line - used, "0x__ ");
            snprintf(column + columnUsed, sizeof column - columnUsed, " ");
        }
        if (i % 16 == 15) {
            used = strlen(line);
            snprintf(line + used, sizeof line - used, "|%s", column);
            logAt(LOG_LEVEL_DEBUG, "%s\n", line);
            memset(line, 0, sizeof line);
            memset(column, 0, sizeof column);
        }
    }
}

POS_API void OsLogSetTag(const char *tag) {
    if (tag == nullptr || tag[0] == 0) return;
    setLogTagName(reinterpret_cast<const unsigned char *>(tag), static_cast<int>(strlen(tag)));
}

POS_API int OsLog(int level, const char *fmt, ...) {
    va_list ap;
    va_start(ap, fmt);
    logprintf(applicationToInternalLevel(level), fmt, ap);
    va_end(ap);
    return 0;
}

POS_API int OsLogPrinf(int level, const char *fmt, va_list ap) {
    logprintf(applicationToInternalLevel(level), fmt, ap);
    return 0;
}

}  // extern "C"
