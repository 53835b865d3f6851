/* Package server client: requests to the terminal's privileged local servers (install,
 * uninstall, start, describe and list applications, shell command lines, USB serial,
 * upgrades) and the child-application block shared by a launched application and its
 * parent. Every call opens its own socket or mapping and closes it before returning. */
#ifndef POS_SDK_PKG_H
#define POS_SDK_PKG_H

#include "pos_export.h"

POS_BEGIN_DECLS

/* Server selectors of PkgAppManagementCmd; any other value reaches the package server. */
enum {
    PKG_SERVER_PACKAGE = 0, /* "/tmp/kv_pkg_server_socket" */
    PKG_SERVER_BSERVER = 1, /* "/tmp/kivo_bserver_socket": firmware upgrade */
    PKG_SERVER_UPGRADE = 2, /* "/tmp/kivo_upgrade_socket": file upgrade */
    PKG_SERVER_INITCMD = 4, /* "/tmp/kv_init_servers_cmd_sock": shell, USB serial, test step */
};

/* Command codes understood by the servers. */
enum {
    PKG_CMD_INSTALL = 0x101,
    PKG_CMD_UNINSTALL = 0x102,
    PKG_CMD_START = 0x103,
    PKG_CMD_APP_INFO = 0x105,
    PKG_CMD_APP_LIST = 0x106,
    PKG_CMD_USB_SERIAL_START = 0x107,
    PKG_CMD_USB_SERIAL_STOP = 0x108,
    PKG_CMD_SET_TEST_STEP = 0x123,
    PKG_CMD_GET_TEST_STEP = 0x321,
    PKG_CMD_COMM_MODULE_SERIAL = 0x333,
    PKG_CMD_SHELL = 0x999,
    PKG_CMD_UPGRADE = 0x1000,
    PKG_CMD_UPGRADE_FILE = 0x1001,
};

/* One application as the package server describes it (552 bytes, packed). Texts are
 * terminated within their field. */
typedef struct __attribute__((packed)) PkgAppInfoRecord {
    char kind[9];    /* package kind, "app" */
    int flags;       /* server-defined flags */
    char vendor[33]; /* vendor name */
    char appId[33];  /* application id */
    int verMajor;    /* version: major, minor, patch, build */
    int verMinor;
    int verPatch;
    int verBuild;
    int sizeKb;           /* installed size in KiB */
    char executable[33];  /* executable, relative to the application directory */
    char icon[33];        /* icon file */
    char signer[33];      /* signer of the package */
    int installTime;      /* seconds since the epoch */
    int state;            /* 0 installed, 1 running */
    char description[65]; /* short description, handed on by OsGetAppInfoByAppid */
    char category[17];    /* category text */
    int reserved1;
    int reserved2;
    char name[256]; /* application name */
} PkgAppInfoRecord;

/* One entry of the application list (326 bytes, packed). */
typedef struct __attribute__((packed)) PkgAppListEntry {
    char appId[33];
    int verMajor;
    int verMinor;
    int verPatch;
    int verBuild;
    char category[17];
    int state;
    char name[256];
} PkgAppListEntry;

/* Sends CMD with TEXT to the server chosen by SERVER and returns its 4-byte answer (0 for
 * PKG_CMD_SHELL once its text answer arrives). Connecting is tried 31 times, 200 ms apart.
 * TIMEOUTSEC 0 waits for the answer without limit. TEXT longer than 511 characters is cut;
 * null reads as empty. -1 connect or send failure, -2 time-out, no answer or a short one,
 * -3 wait failure. */
POS_API int PkgAppManagementCmd(int server, int timeoutSec, int cmd, const char *text);

/* Asks the package server to start APPNAME with ARGC arguments of ARGV (at most 12 are
 * sent; each is cut to 31 characters). Returns the server's answer, -9 connect failure,
 * -1 send failure, -2 time-out or no answer, -3 wait failure. */
POS_API int PkgAppStartCmd(int timeoutSec, const char *appName, int argc, const char (*argv)[32]);

/* Describes APPID into OUT. 0 and a filled OUT; the server's non-zero status; -1 connect
 * or send failure or a null OUT; -2 time-out or a short record; -3 wait failure; -9 no
 * answer head. */
POS_API int PkgGetAppInfo(int timeoutSec, const char *appId, PkgAppInfoRecord *out);

/* Lists the installed applications. *LIST is set to null first; on success it holds
 * *COUNT entries allocated by the library (release with PkgFreeAppList), null when the
 * count is 0. Results as PkgGetAppInfo, -1 also for an allocation failure or null
 * pointers, -9 also for a count the server could not mean (negative or above 4096). */
POS_API int PkgGetAppList(int timeoutSec, PkgAppListEntry **list, int *count);

/* Releases a list from PkgGetAppList; null is accepted. Returns 0. */
POS_API int PkgFreeAppList(void *list);

/* Writes an environment pair into slot SLOT (1 to 23) of the child-application block.
 * Texts are cut to 31 characters. 0; -2 slot out of range or null text; -1 block missing
 * or unmappable. */
POS_API int PkgAppSetEnv(int slot, const char *name, const char *value);

/* Slot 1 to 23: copies the slot's name and value (up to 32 bytes each, terminated) into
 * NAME and VALUE. Slot 0: NAME must be the child application's name; waits while the
 * child runs, then copies its exit-code text into VALUE. 0; -2 bad slot, null pointer or
 * not our child; -1 block missing or unmappable. */
POS_API int PkgAppGetEnv(int slot, char *name, char *value);

/* Ends a child application: stores CODE for the parent in slot 0 under NAME, marks it
 * idle and exits the process with CODE. Returns -1 only when the block cannot be used. */
POS_API int PkgGetExitCode(int code, const char *name);

POS_END_DECLS

#endif
