/* Firmware upgrade, upgrade packages and the privileged file commands. Every operation is a
 * request to one of the terminal's privileged local servers. */
#ifndef POS_SDK_UPGRADE_H
#define POS_SDK_UPGRADE_H

#include "pos_export.h"

POS_BEGIN_DECLS

/* Secure-element image kinds of OsFirmwareUpgrade. */
enum {
    OS_SE_APPLICATION = 1, /* staged as "se_fota_application.KVG" */
    OS_SE_DTB = 2,         /* staged as "se_fota_dtb_pro.KVG" */
    OS_SE_FIRMWARE = 3,    /* staged as "se_fota_firmware.KVG" */
};

/* Phases of the OsUpgradeFile callback. */
enum {
    OS_UPGRADE_FAILED = 0,   /* the upgrade was refused; the callback's result is ignored */
    OS_UPGRADE_ACCEPTED = 1, /* the upgrade was taken; a result above 0 reboots the terminal */
};

/* Stages the secure-element image at PATH as KIND (1-3) and has it applied (up to three
 * attempts, 500 ms apart); the system's upgrade message box stays hidden meanwhile.
 * 0; -1003 bad kind or null or empty path; -1001 the image could not be staged; -1015 it
 * was not applied. The staged copy stays in place. */
POS_API int OsFirmwareUpgrade(const char *path, int kind);

/* Hides (ON non-zero) or allows the system's upgrade message box. OsSetSysParam's result. */
POS_API int SetSEUpgradeMsgBoxStatus(int on);

/* Installs the upgrade file at PATH and reports to CALLBACK(result, phase). Returns the
 * server's answer: above 0 taken; -1002, -1004 and -1005 are reported as taken as well.
 * -1 for a null argument. */
POS_API int OsUpgradeFile(const char *path, int (*callback)(int result, int phase));

/* Asks the upgrade server to download and apply an upgrade; its answer. */
POS_API int OsDownLoadAndUpgradeFile(void);

/* Privileged file commands. Paths go to the shell as given (plain paths, no blanks or
 * shell characters) and a command is at most 255 characters. 0; -1003 null argument;
 * -1007 the command could not be run. */
POS_API int OsCmdCopyFile(const char *source, const char *destination); /* recursive */
POS_API int OsCmdDeletFile(const char *path);                            /* recursive */
POS_API int OsCmdMoveFile(const char *source, const char *destination);
/* Changes the mode of PATH recursively; MODE reads as octal digits written in decimal
 * (755 for rwxr-xr-x). 0; -1007. */
POS_API int OsCmdDirChmod(const char *path, int mode);

POS_END_DECLS

#endif
