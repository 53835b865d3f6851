// Firmware upgrade and the privileged file commands: each is a request to one of the local
// servers; this unit builds the requests, sequences them and maps the answers.
#include <stdio.h>
#include <string.h>

#include "OsRequests.h"
#include "pos_sdk/os_status.h"
#include "pos_sdk/sysinfo.h"
#include "pos_sdk/upgrade.h"

namespace {

constexpr int kApplyAttempts = 3;
constexpr int kApplyRetryMs = 500;
constexpr size_t kPathCommandBytes = 256;
constexpr size_t kChmodCommandBytes = 128;

// The staging copy command of image KIND, or null for a kind that has none.
const char *stagingFormat(int kind) {
    switch (kind) {
        case OS_SE_APPLICATION:
            return "cp %s /customer/kivo/mcudir/se_fota_application.KVG";
        case OS_SE_DTB:
            return "cp %s /customer/kivo/mcudir/se_fota_dtb_pro.KVG";
        case OS_SE_FIRMWARE:
            return "cp %s /customer/kivo/mcudir/se_fota_firmware.KVG";
        default:
            return nullptr;
    }
}

// Runs a privileged command; 0 when the server answered, -1007 otherwise. A command that
// would not fit its buffer is refused whole rather than run cut short.
template <size_t N>
int runCommand(char (&command)[N], int written) {
    if (written < 0 || size_t(written) >= N) return OS_ERR_SERVICE_FAILED;
    return osreq::runPrivileged(command) == 0 ? 0 : OS_ERR_SERVICE_FAILED;
}

// Sends the apply-all request until it is taken (an answer above 0), at most three times.
int applyStaged() {
    int reply = 0;
    for (int attempt = 1; attempt <= kApplyAttempts; ++attempt) {
        reply = PkgAppManagementCmd(PKG_SERVER_BSERVER, 0, PKG_CMD_UPGRADE, "all");
        if (reply > 0) break;
        if (attempt < kApplyAttempts) osreq::sleepMs(kApplyRetryMs);
    }
    return reply;
}

// Answers the upgrade server gives when it has taken the file after all.
bool takenDespiteCode(int reply) {
    return reply == -1002 || reply == -1004 || reply == -1005;
}

}  // namespace

extern "C" {

POS_API int SetSEUpgradeMsgBoxStatus(int on) {
    char key[] = "KVSEUPGRADEMSGBOXDONTSHOW";
    return OsSetSysParam(key, on != 0 ? "1" : "0");
}

POS_API int OsFirmwareUpgrade(const char *path, int kind) {
    const char *format = stagingFormat(kind);
    if (format == nullptr || path == nullptr || path[0] == '\0') return OS_ERR_BAD_ARGUMENT;
    char command[kPathCommandBytes] = {};
    int written = snprintf(command, sizeof command, format, path);
    if (runCommand(command, written) != 0) return OS_ERR_STAGING;

    SetSEUpgradeMsgBoxStatus(1);
    int reply = applyStaged();
    SetSEUpgradeMsgBoxStatus(0);
    return reply < 1 ? OS_ERR_NOT_SUPPORTED : 0;
}

POS_API int OsUpgradeFile(const char *path, int (*callback)(int result, int phase)) {
    if (path == nullptr || callback == nullptr) return -1;
    int reply = PkgAppManagementCmd(PKG_SERVER_UPGRADE, 0, PKG_CMD_UPGRADE_FILE, path);
    if (reply < 1 && !takenDespiteCode(reply)) {
        callback(reply, OS_UPGRADE_FAILED);
        return reply;
    }
    // The terminal goes down to finish the upgrade when the application agrees.
    if (callback(reply, OS_UPGRADE_ACCEPTED) > 0) osreq::runPrivileged("reboot");
    return reply;
}

POS_API int OsDownLoadAndUpgradeFile(void) {
    return PkgAppManagementCmd(PKG_SERVER_UPGRADE, 0, PKG_CMD_UPGRADE, "");
}

POS_API int OsCmdCopyFile(const char *source, const char *destination) {
    if (source == nullptr || destination == nullptr) return OS_ERR_BAD_ARGUMENT;
    char command[kPathCommandBytes] = {};
    return runCommand(command, snprintf(command, sizeof command, "cp -rf %s %s", source,
                                        destination));
}

POS_API int OsCmdDeletFile(const char *path) {
    if (path == nullptr) return OS_ERR_BAD_ARGUMENT;
    char command[kPathCommandBytes] = {};
    return runCommand(command, snprintf(command, sizeof command, "rm -rf %s", path));
}

POS_API int OsCmdMoveFile(const char *source, const char *destination) {
    if (source == nullptr || destination == nullptr) return OS_ERR_BAD_ARGUMENT;
    char command[kPathCommandBytes] = {};
    return runCommand(command,
                      snprintf(command, sizeof command, "mv %s %s", source, destination));
}

POS_API int OsCmdDirChmod(const char *path, int mode) {
    // Nothing is checked here: a null path goes out as the text "(null)", which no file
    // is named, rather than crash.
    char command[kChmodCommandBytes] = {};
    return runCommand(command, snprintf(command, sizeof command, "chmod -R %d %s", mode,
                                        path != nullptr ? path : "(null)"));
}

}  // extern "C"
