/* Application information, launch, install and the system-wide custom settings. */
#ifndef POS_SDK_APP_H
#define POS_SDK_APP_H

#include "pos_export.h"

POS_BEGIN_DECLS

/* Texts are copied without a terminator: pass records cleared to zero. */
typedef struct OsAppInfoRecord {
    char appId[64];
    char appName[64];
    char description[224]; /* filled only by OsGetAppInfoByAppid */
    char version[32];      /* "V<major>.<minor>.<patch>-<build>" */
} OsAppInfoRecord;

typedef struct OsAppOptRecord {
    char appId[64];
    char version[32];
} OsAppOptRecord;

/* Fills up to MAX records from the installed applications and returns how many were
 * filled; 0 when the list cannot be had; -1003 for MAX below 1 or a null LIST. */
POS_API int OsGetAppInfo(OsAppInfoRecord *list, int max);

/* As OsGetAppInfo with the short record, but a list failure gives -1003. */
POS_API int OsGetOptInfo(OsAppOptRecord *list, int max);

/* Describes one application. 0; -1003 null pointer; -1002 unknown or no server. */
POS_API int OsGetAppInfoByAppid(const char *appId, OsAppInfoRecord *out);

/* Starts an application without arguments (further arguments are ignored).
 * 0; -1003 null or empty name; -1002 refused or no server. */
POS_API int OsRunApp(const char *appName, ...);

/* Starts an application with ARGC arguments of 32 bytes each (at most 12 are passed). */
POS_API int OsRunAppEx(const char *appName, int argc, const char (*argv)[32]);

/* Installs the package file PATH; TYPE must be 1 or 5. The first argument is unused.
 * 0; -1003 null or empty path or refused; -1015 other type. */
POS_API int OsInstallFile(int reserved, const char *path, int type);

/* Uninstalls APPID; TYPE must be 1 (checked first). 0; -1015; -1003 null or empty id or
 * refused. */
POS_API int OsUninstallFile(const char *appId, int type);

/* Stores VALUE under KEY in the system-wide custom settings (texts are cut to 32
 * characters). 0; -1 table full, null text or mapping failure; -2 block missing;
 * -3 block cannot be sized. */
POS_API int kivosetcustom(const char *key, const char *value);

/* Copies the value stored under KEY into VALUE (at most 33 bytes with the terminator).
 * 0; -1 not found, null pointer or mapping failure; -2 block missing; -3 cannot size. */
POS_API int kivogetcustom(const char *key, char *value);

POS_END_DECLS

#endif
