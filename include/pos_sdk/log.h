/* Logging: one process-wide logger with a platform-log, standard-output and file sink. */
#ifndef POS_SDK_LOG_H
#define POS_SDK_LOG_H

#include <stdarg.h>
#include <stdio.h>

#include "pos_export.h"

POS_BEGIN_DECLS

/* Internal levels: a message is emitted when its level is at or below the threshold. */
enum {
    LOG_LEVEL_ERROR = 1,
    LOG_LEVEL_WARN = 2,
    LOG_LEVEL_INFO = 3,
    LOG_LEVEL_DEBUG = 4,
};

/* Sets the log file to DIR "/SDK_LOG" and resets the output mask and threshold to 4.
 * The two integers are accepted and ignored. */
POS_API void Log_Init(const char *dir, int reserved1, int reserved2);

/* printf-style messages at debug, information, warning and error level; the caller
 * supplies the line end. */
POS_API void Log_Debug(const char *fmt, ...) __attribute__((format(printf, 1, 2)));
POS_API void Log_Info(const char *fmt, ...) __attribute__((format(printf, 1, 2)));
POS_API void Log_Warn(const char *fmt, ...) __attribute__((format(printf, 1, 2)));
POS_API void Log_Err(const char *fmt, ...) __attribute__((format(printf, 1, 2)));

/* Logs "----TIME:TEXT----" (or "----TIME----" without text) at information level. */
POS_API void Log_Ptime(const char *text);

/* Titled hex dump of LEN bytes at debug level, sixteen bytes a row. */
POS_API void dumpBytes(const char *title, const unsigned char *data, int len);

/* The core: emits one message at LEVEL to every enabled sink. */
POS_API void logprintf(int level, const char *fmt, va_list ap);

/* Sets the tag to the first min(LEN, 32) bytes of NAME; null or LEN < 1 is ignored. */
POS_API void setLogTagName(const unsigned char *name, int len);
/* The current tag, or "POS_SDK" while none is set. The buffer belongs to the logger. */
POS_API const char *getLogTagName(void);
/* "E", "W", "I" or "D"; any unknown level reads "I". */
POS_API const char *LogLevelToString(int level);
/* Writes one log-file record ("TIME L/TAG (PID:p TID:t):message") to FP. */
POS_API int LogFileVPrintf(int level, FILE *fp, const char *fmt, va_list ap);

/* Application entry points. Application levels run the other way: 0 debug, 1 information,
 * 2 warning, 3 (and anything else) error. Both return 0. */
POS_API void OsLogSetTag(const char *tag);
POS_API int OsLog(int level, const char *fmt, ...) __attribute__((format(printf, 2, 3)));
POS_API int OsLogPrinf(int level, const char *fmt, va_list ap);

POS_END_DECLS

#endif
