// Client of the terminal's privileged local servers: one short-lived stream connection per
// request, a fixed-size request record and a 4-byte (or text) answer; plus the
// child-application block through which a launched application hands its exit code back.
#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>

#include "PkgWire.h"
#include "pos_sdk/log.h"
#include "pos_sdk/pkg.h"

using namespace pkgwire;

namespace {

// The list head's count is trusted only this far: a garbage head must not make us
// allocate gigabytes or wait for millions of entries.
constexpr int32_t kMaxListEntries = 4096;

const char *socketPathFor(int server) {
    switch (server) {
        case PKG_SERVER_BSERVER:
            return kBserverSocket;
        case PKG_SERVER_UPGRADE:
            return kUpgradeSocket;
        case PKG_SERVER_INITCMD:
            return kInitCmdSocket;
        default:
            return kPackageSocket;
    }
}

int64_t monotonicMs() {
    timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return int64_t(ts.tv_sec) * 1000 + ts.tv_nsec / 1000000;
}

// The caller's time-out in whole seconds, 0 meaning none, spread over every wait of one
// request so that a server trickling bytes cannot stretch the call beyond it.
class Deadline {
  public:
    explicit Deadline(int timeoutSec)
        : unlimited_(timeoutSec == 0), end_(monotonicMs() + int64_t(timeoutSec) * 1000) {}
    int remainingMs() const {
        if (unlimited_) return -1;
        int64_t left = end_ - monotonicMs();
        if (left > INT32_MAX) return INT32_MAX;  // poll takes an int; a month is plenty
        return left > 0 ? int(left) : 0;
    }

  private:
    bool unlimited_;
    int64_t end_;
};

enum WaitResult { kReadable, kTimedOut, kWaitFailed };

// poll rather than select: select cannot watch a descriptor at or above FD_SETSIZE, which
// a busy application can easily hold.
WaitResult waitReadable(int fd, const Deadline &deadline) {
    for (;;) {
        pollfd p = {fd, POLLIN, 0};
        int n = poll(&p, 1, deadline.remainingMs());
        if (n > 0) return kReadable;
        if (n == 0) return kTimedOut;
        if (errno != EINTR) return kWaitFailed;
    }
}

// Receives up to LEN bytes, stopping early when the peer closes, fails or the deadline
// passes. Returns the number of bytes received.
size_t recvUpTo(int fd, void *buf, size_t len, const Deadline &deadline) {
    auto *p = static_cast<char *>(buf);
    size_t got = 0;
    while (got < len) {
        if (waitReadable(fd, deadline) != kReadable) break;
        ssize_t n = recv(fd, p + got, len - got, 0);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) break;
        got += size_t(n);
    }
    return got;
}

bool sendAll(int fd, const void *buf, size_t len) {
    auto *p = static_cast<const char *>(buf);
    while (len > 0) {
        // MSG_NOSIGNAL: a server that went away must not kill the application with SIGPIPE.
        ssize_t n = send(fd, p, len, MSG_NOSIGNAL);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        p += n;
        len -= size_t(n);
    }
    return true;
}

sockaddr_un addressOf(const char *path) {
    sockaddr_un addr;
    memset(&addr, 0, sizeof addr);
    addr.sun_family = AF_UNIX;
    copyField(addr.sun_path, sizeof addr.sun_path, path);
    return addr;
}

int connectOnce(int fd, const sockaddr_un &addr) {
    for (;;) {
        int rc = connect(fd, reinterpret_cast<const sockaddr *>(&addr), sizeof addr);
        if (rc == 0 || errno != EINTR) return rc;
    }
}

int newStreamSocket() {
    return socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
}

// 31 attempts 200 ms apart: the servers may still be starting when an application boots.
int connectWithRetries(int fd, const char *path) {
    const sockaddr_un addr = addressOf(path);
    int left = 30;
    for (;;) {
        if (connectOnce(fd, addr) == 0) {
            Log_Err("[%s][%d]:connect success.\r\n", "PkgAppManagementCmd", __LINE__);
            return 0;
        }
        usleep(200000);
        if (left-- == 0) break;
    }
    Log_Err("[%s][%d]:connect failed cnt=%d.\r\n", "PkgAppManagementCmd", __LINE__, left);
    return -1;
}

// Receives the answer of one command: text for the shell command, else a 32-bit result.
int receiveCommandAnswer(int fd, int cmd, const Deadline &deadline) {
    if (cmd == PKG_CMD_SHELL) {
        char text[kShellAnswerMax + 1] = {0};
        ssize_t n;
        do {
            n = recv(fd, text, kShellAnswerMax, 0);
        } while (n < 0 && errno == EINTR);
        // A server that closes without a word has not run the command.
        if (n <= 0) {
            Log_Debug("%s->:recv timeout.\n", "PkgAppManagementCmd");
            return -2;
        }
        Log_Err("[%s]:cmdRet=%s.\r\n", "PkgAppManagementCmd", text);
        return 0;
    }
    int32_t answer = 0;
    if (recvUpTo(fd, &answer, sizeof answer, deadline) != sizeof answer) {
        Log_Debug("%s->:recv timeout.\n", "PkgAppManagementCmd");
        return -2;
    }
    return answer;
}

// The 516-byte command request: code, then TEXT cut to the field (null reads as empty).
bool sendCommandRequest(int fd, int cmd, const char *text) {
    CommandRequest request;
    memset(&request, 0, sizeof request);
    request.code = cmd;
    copyField(request.text, sizeof request.text, text);
    return sendAll(fd, &request, sizeof request);
}

// Shared by the start, info and list requests: one connect attempt, then the request.
// Returns the connected descriptor or -1.
int connectPackageServer() {
    int fd = newStreamSocket();
    if (fd < 0) return -1;
    if (connectOnce(fd, addressOf(kPackageSocket)) != 0) {
        int saved = errno;
        close(fd);
        errno = saved;
        return -1;
    }
    return fd;
}

// 0 once the answer can be read, -2 time-out, -3 wait failure.
int waitForAnswer(int fd, int timeoutSec, const Deadline &deadline) {
    // A negative time-out is what select refuses with EINVAL.
    if (timeoutSec < 0) return -3;
    switch (waitReadable(fd, deadline)) {
        case kWaitFailed:
            return -3;
        case kTimedOut:
            return -2;
        default:
            return 0;
    }
}

int awaitCommandAnswer(int fd, int timeoutSec, int cmd) {
    Deadline deadline(timeoutSec);
    int rc = waitForAnswer(fd, timeoutSec, deadline);
    return rc != 0 ? rc : receiveCommandAnswer(fd, cmd, deadline);
}

void copyInfoRecord(PkgAppInfoRecord *out, const PkgAppInfoRecord &in) {
    copyField(out->kind, sizeof out->kind, in.kind);
    out->flags = in.flags;
    copyField(out->vendor, sizeof out->vendor, in.vendor);
    copyField(out->appId, sizeof out->appId, in.appId);
    out->verMajor = in.verMajor;
    out->verMinor = in.verMinor;
    out->verPatch = in.verPatch;
    out->verBuild = in.verBuild;
    out->sizeKb = in.sizeKb;
    copyField(out->executable, sizeof out->executable, in.executable);
    copyField(out->icon, sizeof out->icon, in.icon);
    copyField(out->signer, sizeof out->signer, in.signer);
    out->installTime = in.installTime;
    out->state = in.state;
    copyField(out->description, sizeof out->description, in.description);
    copyField(out->category, sizeof out->category, in.category);
    out->reserved1 = in.reserved1;
    out->reserved2 = in.reserved2;
    copyField(out->name, sizeof out->name, in.name);
}

void copyListEntry(PkgAppListEntry *out, const PkgAppListEntry &in) {
    copyField(out->appId, sizeof out->appId, in.appId);
    out->verMajor = in.verMajor;
    out->verMinor = in.verMinor;
    out->verPatch = in.verPatch;
    out->verBuild = in.verBuild;
    copyField(out->category, sizeof out->category, in.category);
    out->state = in.state;
    copyField(out->name, sizeof out->name, in.name);
}

int requestAppInfo(int fd, int timeoutSec, const char *appId, PkgAppInfoRecord *out) {
    if (!sendCommandRequest(fd, PKG_CMD_APP_INFO, appId)) return -1;

    Deadline deadline(timeoutSec);
    int rc = waitForAnswer(fd, timeoutSec, deadline);
    if (rc == -3) Log_Err("CLIENT->:select called encounterd errors. %m\n");
    if (rc != 0) return rc;

    InfoAnswerHead head;
    if (recvUpTo(fd, &head, sizeof head, deadline) != sizeof head) {
        Log_Err("PkgRequestList_Head failed !");
        return -9;
    }
    if (head.status != 0) return head.status;

    PkgAppInfoRecord record;
    memset(&record, 0, sizeof record);
    if (recvUpTo(fd, &record, sizeof record, deadline) != sizeof record) return -2;
    copyInfoRecord(out, record);
    return 0;
}

int receiveListEntries(int fd, int32_t count, const Deadline &deadline, PkgAppListEntry **list) {
    auto *entries = static_cast<PkgAppListEntry *>(calloc(size_t(count), sizeof(PkgAppListEntry)));
    if (entries == nullptr) return -1;
    for (int32_t i = 0; i < count; ++i) {
        PkgAppListEntry entry;
        memset(&entry, 0, sizeof entry);
        if (recvUpTo(fd, &entry, sizeof entry, deadline) != sizeof entry) {
            // Kept anyway, as the terminal's library does: a short entry reads as empty fields.
            Log_Debug("++3CLIENT->:received bad data!!! %m \r\n");
        }
        copyListEntry(&entries[i], entry);
    }
    *list = entries;
    return 0;
}

int requestAppList(int fd, int timeoutSec, PkgAppListEntry **list, int *count) {
    if (!sendCommandRequest(fd, PKG_CMD_APP_LIST, "AppList")) return -1;

    Deadline deadline(timeoutSec);
    int rc = waitForAnswer(fd, timeoutSec, deadline);
    if (rc == -3) Log_Err("++3CLIENT->:select called encounterd errors. %m\r\n");
    if (rc != 0) return rc;

    ListAnswerHead head;
    if (recvUpTo(fd, &head, sizeof head, deadline) != sizeof head || head.count < 0 ||
        head.count > kMaxListEntries) {
        Log_Err("PkgRequestList_Head failed !");
        return -9;
    }
    *count = head.count;
    if (head.status != 0) return head.status;
    if (head.count == 0) return 0;
    return receiveListEntries(fd, head.count, deadline, list);
}

// The child-application block, mapped for the length of one call.
class ChildBlockMapping {
  public:
    ChildBlockMapping() {
        fd_ = shm_open(kChildBlockName, O_RDWR, 0777);
        if (fd_ < 0) {
            perror("CTPKGSHMKEY creat fail");
            return;
        }
        if (ftruncate(fd_, sizeof(ChildBlock)) != 0) {
            perror("ctultimate ftruncate: daile");
            return;
        }
        void *p = mmap(nullptr, sizeof(ChildBlock), PROT_READ | PROT_WRITE, MAP_SHARED, fd_, 0);
        if (p != MAP_FAILED) block_ = static_cast<ChildBlock *>(p);
    }
    ~ChildBlockMapping() {
        if (block_ != nullptr) munmap(block_, sizeof(ChildBlock));
        if (fd_ >= 0) close(fd_);
    }
    ChildBlockMapping(const ChildBlockMapping &) = delete;
    ChildBlockMapping &operator=(const ChildBlockMapping &) = delete;

    ChildBlock *block() const { return block_; }

  private:
    int fd_ = -1;
    ChildBlock *block_ = nullptr;
};

// Copies a field of the shared block into BUF (SIZE bytes, terminated). The volatile read
// makes each call see what the other process wrote since the last one.
void readSharedField(char *buf, size_t size, const char *field, size_t fieldSize) {
    const volatile char *src = field;
    size_t n = 0;
    while (n + 1 < size && n < fieldSize && src[n] != '\0') {
        buf[n] = src[n];
        ++n;
    }
    buf[n] = '\0';
}

bool childIsBusy(const ChildSlot &slot) {
    char state[sizeof slot.state + 1];
    readSharedField(state, sizeof state, slot.state, sizeof slot.state);
    return strstr(state, "busy") != nullptr;
}

int collectExitCode(ChildSlot &slot, const char *name, char *value) {
    char owner[sizeof slot.name + 1];
    readSharedField(owner, sizeof owner, slot.name, sizeof slot.name);
    // The slot holds what fits of the name (31 characters): a longer name is compared by
    // that much, or its parent could never collect the code.
    char wanted[sizeof slot.name];
    copyField(wanted, sizeof wanted, name);
    if (strcmp(owner, wanted) != 0) {
        printf("ERROR,not my child app\r\n");
        return -2;
    }
    while (childIsBusy(slot)) {
        Log_Debug("The child app runing.\r\n");
        usleep(100000);
    }
    // Pairs with the child's release: "idle" seen means its exit code is visible too.
    std::atomic_thread_fence(std::memory_order_acquire);
    readSharedField(value, sizeof slot.value, slot.value, sizeof slot.value);
    return 0;
}

}  // namespace

extern "C" {

POS_API int PkgAppManagementCmd(int server, int timeoutSec, int cmd, const char *text) {
    int fd = newStreamSocket();
    if (fd < 0) return -1;
    if (connectWithRetries(fd, socketPathFor(server)) != 0) {
        close(fd);
        return -1;
    }
    if (!sendCommandRequest(fd, cmd, text)) {
        Log_Err("[%s][%d]:send=%m.\r\n", "PkgAppManagementCmd", __LINE__);
        close(fd);
        return -1;
    }
    int result = awaitCommandAnswer(fd, timeoutSec, cmd);
    close(fd);
    Log_Err("[%s][%d]:Answer=%d.\r\n", "PkgAppManagementCmd", __LINE__, result);
    return result;
}

POS_API int PkgAppStartCmd(int timeoutSec, const char *appName, int argc, const char (*argv)[32]) {
    int fd = connectPackageServer();
    if (fd < 0) {
        Log_Err("CLIENT->:connect failed: %m ");
        return -9;
    }
    StartRequest request;
    memset(&request, 0, sizeof request);
    request.code = PKG_CMD_START;
    copyField(request.appName, sizeof request.appName, appName);
    // The record has room for twelve arguments; more would run past it.
    int sent = (argv == nullptr || argc < 0) ? 0 : (argc > kStartArgSlots ? kStartArgSlots : argc);
    request.argc = sent;
    for (int i = 0; i < sent; ++i) copyField(request.argv[i], kArgSlot, argv[i]);

    int result;
    Deadline deadline(timeoutSec);
    if (!sendAll(fd, &request, sizeof request)) {
        result = -1;
    } else {
        result = waitForAnswer(fd, timeoutSec, deadline);
        if (result == -3) Log_Err("CtPkgAppStartCmd->:select called encounterd errors %m");
        if (result == -2) Log_Err("%s->:select called is timeout.\n", "PkgAppStartCmd");
        if (result == 0) {
            int32_t answer = 0;
            if (recvUpTo(fd, &answer, sizeof answer, deadline) == sizeof answer) {
                result = answer;
            } else {
                Log_Err("%s->:recv timeout.\n", "PkgAppStartCmd");
                result = -2;
            }
        }
    }
    close(fd);
    return result;
}

POS_API int PkgGetAppInfo(int timeoutSec, const char *appId, PkgAppInfoRecord *out) {
    if (out == nullptr) return -1;
    int fd = connectPackageServer();
    if (fd < 0) {
        Log_Err("CLIENT->:connect failed: %m");
        return -1;
    }
    int result = requestAppInfo(fd, timeoutSec, appId, out);
    close(fd);
    return result;
}

POS_API int PkgGetAppList(int timeoutSec, PkgAppListEntry **list, int *count) {
    if (list == nullptr || count == nullptr) return -1;
    *list = nullptr;
    int fd = connectPackageServer();
    if (fd < 0) {
        Log_Err("++3CLIENT->:connect failed: %m");
        return -1;
    }
    int result = requestAppList(fd, timeoutSec, list, count);
    close(fd);
    return result;
}

POS_API int PkgFreeAppList(void *list) {
    free(list);
    return 0;
}

POS_API int PkgAppSetEnv(int slot, const char *name, const char *value) {
    ChildBlockMapping mapping;
    if (mapping.block() == nullptr) return -1;
    if (slot < 1 || slot >= kChildSlots) {
        printf("The area is returnvalue.\r");
        return -2;
    }
    if (name == nullptr || value == nullptr) return -2;
    ChildSlot &s = mapping.block()->slots[slot];
    copyField(s.name, sizeof s.name, name);
    copyField(s.value, sizeof s.value, value);
    printf("Setenv : %s=%s\r\n", s.name, s.value);
    return 0;
}

POS_API int PkgAppGetEnv(int slot, char *name, char *value) {
    ChildBlockMapping mapping;
    if (mapping.block() == nullptr) return -1;
    if (slot < 0 || slot >= kChildSlots || name == nullptr || value == nullptr) return -2;
    ChildSlot &s = mapping.block()->slots[slot];
    if (slot == 0) return collectExitCode(s, name, value);
    readSharedField(name, sizeof s.name, s.name, sizeof s.name);
    readSharedField(value, sizeof s.value, s.value, sizeof s.value);
    return 0;
}

POS_API int PkgGetExitCode(int code, const char *name) {
    printf("EXIT4:%s,%d\r\n", "PkgGetExitCode", __LINE__);
    {
        ChildBlockMapping mapping;
        if (mapping.block() == nullptr) return -1;
        ChildSlot &s = mapping.block()->slots[0];
        char text[16];
        snprintf(text, sizeof text, "%d", code);
        copyField(s.name, sizeof s.name, name);
        copyField(s.value, sizeof s.value, text);
        // The state is the parent's only signal: the code must be in place before "idle".
        std::atomic_thread_fence(std::memory_order_release);
        copyField(s.state, sizeof s.state, "idle");
    }
    exit(code);
}

}  // extern "C"
