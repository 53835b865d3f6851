// Application information, launch, install and uninstall over the package server, and the
// custom settings kept in the system-wide shared block.
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

#include "PkgWire.h"
#include "pos_sdk/app.h"
#include "pos_sdk/log.h"
#include "pos_sdk/os_status.h"
#include "pos_sdk/pkg.h"

using namespace pkgwire;

namespace {

constexpr int kPackageTimeoutSec = 5;
constexpr int kInstallTimeoutSec = 10;

// Copies the text of a server field into a record field by its length, without a
// terminator: the records are handed out cleared, and a full field uses every byte.
void copyText(char *dst, size_t dstSize, const char *src, size_t srcSize) {
    size_t n = strnlen(src, srcSize);
    memcpy(dst, src, n < dstSize ? n : dstSize);
}

// The version text of a list entry or an info record, which name their fields alike.
template <typename ServerRecord>
void formatVersion(char (&out)[33], const ServerRecord &app) {
    snprintf(out, sizeof out, "V%d.%d.%d-%d", app.verMajor, app.verMinor, app.verPatch,
             app.verBuild);
}

void logApp(const char *id, const char *name, const char *version) {
    Log_Debug("App ID：%s  \n", id);
    Log_Debug("App Name：%s  \n", name);
    Log_Debug("App Ver：%s  \n", version);
}

// Terminated copy of a server text field, for logging.
template <size_t N>
void terminated(char (&out)[N], const char *src, size_t srcSize) {
    size_t n = strnlen(src, srcSize);
    if (n >= N) n = N - 1;
    memcpy(out, src, n);
    out[n] = '\0';
}

// Fills id, name and version (the description is the caller's business) and logs them.
template <typename ServerRecord>
void fillAppInfo(OsAppInfoRecord *rec, const ServerRecord &app) {
    char version[33];
    formatVersion(version, app);
    copyText(rec->appId, sizeof rec->appId, app.appId, sizeof app.appId);
    copyText(rec->appName, sizeof rec->appName, app.name, sizeof app.name);
    copyText(rec->version, sizeof rec->version, version, sizeof version);

    char id[sizeof app.appId + 1];
    char name[sizeof rec->appName + 1];
    terminated(id, app.appId, sizeof app.appId);
    terminated(name, app.name, sizeof app.name);
    logApp(id, name, version);
}

void fillOptInfo(OsAppOptRecord *rec, const PkgAppListEntry &e) {
    char version[33];
    formatVersion(version, e);
    copyText(rec->appId, sizeof rec->appId, e.appId, sizeof e.appId);
    copyText(rec->version, sizeof rec->version, version, sizeof version);
}

// Fetches the installed list; on failure logs and returns the client's result.
int loadAppList(PkgAppListEntry **list, int *count) {
    *count = 0;
    int rc = PkgGetAppList(kPackageTimeoutSec, list, count);
    if (rc != 0) Log_Err("load app list error =%d !", rc);
    return rc;
}

bool isEmpty(const char *text) {
    return text == nullptr || text[0] == '\0';
}

int startApp(const char *appName, int argc, const char (*argv)[32]) {
    if (isEmpty(appName)) return OS_ERR_BAD_ARGUMENT;
    return PkgAppStartCmd(kPackageTimeoutSec, appName, argc, argv) == 0 ? 0 : OS_ERR_PKG_SERVER;
}

// The custom-settings table of "/KVSYSTEMSHMKEY", mapped for the length of one call.
class SystemBlockMapping {
  public:
    // WHO prefixes the perror messages ("kvsetcutom" or "kvgetcutom").
    explicit SystemBlockMapping(const char *who) {
        fd_ = shm_open(kSystemBlockName, O_RDWR, 0777);
        if (fd_ < 0) {
            report(who, ": KVSYSTEMSHMKEY creat failed");
            status_ = -2;
            return;
        }
        if (ftruncate(fd_, kSystemBlockSize) != 0) {
            report(who, ": ftruncate failed");
            status_ = -3;
            return;
        }
        void *p = mmap(nullptr, kSystemBlockSize, PROT_READ | PROT_WRITE, MAP_SHARED, fd_, 0);
        if (p == MAP_FAILED) {
            status_ = -1;
            return;
        }
        base_ = static_cast<char *>(p);
        status_ = 0;
    }
    ~SystemBlockMapping() {
        if (base_ != nullptr) munmap(base_, kSystemBlockSize);
        if (fd_ >= 0) close(fd_);
    }
    SystemBlockMapping(const SystemBlockMapping &) = delete;
    SystemBlockMapping &operator=(const SystemBlockMapping &) = delete;

    int status() const { return status_; }
    CustomEntry &entry(int i) {
        return reinterpret_cast<CustomEntry *>(base_ + kCustomTableOffset)[i];
    }

  private:
    static void report(const char *who, const char *what) {
        char message[64];
        snprintf(message, sizeof message, "%s%s", who, what);
        perror(message);
    }

    int fd_ = -1;
    char *base_ = nullptr;
    int status_ = -1;
};

bool keyMatches(const CustomEntry &e, const char (&key)[33]) {
    return strncmp(e.key, key, sizeof e.key) == 0;
}

}  // namespace

extern "C" {

POS_API int OsGetAppInfo(OsAppInfoRecord *list, int max) {
    if (max < 1 || list == nullptr) return OS_ERR_BAD_ARGUMENT;
    PkgAppListEntry *entries = nullptr;
    int count = 0;
    if (loadAppList(&entries, &count) != 0) return 0;  // not -1003: differs from OsGetOptInfo
    int filled = count < max ? count : max;
    for (int i = 0; i < filled; ++i) fillAppInfo(&list[i], entries[i]);
    PkgFreeAppList(entries);
    return filled;
}

POS_API int OsGetOptInfo(OsAppOptRecord *list, int max) {
    if (max < 1 || list == nullptr) return OS_ERR_BAD_ARGUMENT;
    PkgAppListEntry *entries = nullptr;
    int count = 0;
    if (loadAppList(&entries, &count) != 0) return OS_ERR_BAD_ARGUMENT;
    int filled = count < max ? count : max;
    for (int i = 0; i < filled; ++i) fillOptInfo(&list[i], entries[i]);
    PkgFreeAppList(entries);
    return filled;
}

POS_API int OsGetAppInfoByAppid(const char *appId, OsAppInfoRecord *out) {
    if (appId == nullptr || out == nullptr) return OS_ERR_BAD_ARGUMENT;
    PkgAppInfoRecord info;
    memset(&info, 0, sizeof info);
    int rc = PkgGetAppInfo(kPackageTimeoutSec, appId, &info);
    if (rc != 0) {
        Log_Err("PkgGetAppInfo error =%d !", rc);
        return OS_ERR_PKG_SERVER;
    }
    copyText(out->description, sizeof out->description, info.description, sizeof info.description);
    fillAppInfo(out, info);
    return 0;
}

POS_API int OsRunApp(const char *appName, ...) {
    return startApp(appName, 0, nullptr);
}

POS_API int OsRunAppEx(const char *appName, int argc, const char (*argv)[32]) {
    return startApp(appName, argc, argv);
}

POS_API int OsInstallFile(int /*reserved*/, const char *path, int type) {
    if (isEmpty(path)) return OS_ERR_BAD_ARGUMENT;
    if (type != 1 && type != 5) return OS_ERR_NOT_SUPPORTED;
    int rc = PkgAppManagementCmd(PKG_SERVER_PACKAGE, kInstallTimeoutSec, PKG_CMD_INSTALL, path);
    return rc == 0 ? 0 : OS_ERR_BAD_ARGUMENT;
}

POS_API int OsUninstallFile(const char *appId, int type) {
    // The type is checked before the pointer, as applications expect.
    if (type != 1) return OS_ERR_NOT_SUPPORTED;
    if (isEmpty(appId)) return OS_ERR_BAD_ARGUMENT;
    int rc = PkgAppManagementCmd(PKG_SERVER_PACKAGE, kPackageTimeoutSec, PKG_CMD_UNINSTALL, appId);
    return rc == 0 ? 0 : OS_ERR_BAD_ARGUMENT;
}

POS_API int kivosetcustom(const char *key, const char *value) {
    SystemBlockMapping block("kvsetcutom");
    if (block.status() != 0) return block.status();
    // An empty key would match every free entry; it names nothing.
    if (isEmpty(key) || value == nullptr) return -1;
    char wanted[33];
    copyField(wanted, sizeof wanted, key);
    // Equality is tested before emptiness at each entry: the first of an existing equal key
    // or a free entry, in index order, takes the value.
    for (int i = kFirstCustomEntry; i < kCustomEntries; ++i) {
        CustomEntry &e = block.entry(i);
        if (keyMatches(e, wanted)) {
            copyField(e.value, sizeof e.value, value);
            return 0;
        }
        if (e.key[0] == '\0') {
            copyField(e.key, sizeof e.key, wanted);
            copyField(e.value, sizeof e.value, value);
            return 0;
        }
    }
    return -1;
}

POS_API int kivogetcustom(const char *key, char *value) {
    SystemBlockMapping block("kvgetcutom");
    if (block.status() != 0) return block.status();
    if (isEmpty(key) || value == nullptr) return -1;
    char wanted[33];
    copyField(wanted, sizeof wanted, key);
    // Free entries are passed over: another writer may have cleared one in the middle.
    for (int i = kFirstCustomEntry; i < kCustomEntries; ++i) {
        const CustomEntry &e = block.entry(i);
        if (keyMatches(e, wanted)) {
            size_t n = strnlen(e.value, sizeof e.value - 1);
            memcpy(value, e.value, n);
            value[n] = '\0';
            return 0;
        }
    }
    return -1;
}

}  // extern "C"
