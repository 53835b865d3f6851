// The service manager (the registry process behind the well-known socket), the in-process
// registry for tests, and the host's start-up helpers.
#include <binder/ServiceManagerHost.h>

#include <errno.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <time.h>

#include <iterator>
#include <map>
#include <mutex>

#include <binder/BpBinder.h>
#include <binder/IPCThreadState.h>
#include <binder/Parcel.h>

#include "ServiceHost.h"
#include "Transport.h"

namespace android {

namespace {

const char kDefaultBinderDir[] = "/tmp/.binder";

// How long a registered service has to answer before its name may pass to another process.
constexpr int kLivenessTimeoutMs = 1000;

// The process listening on the socket at path (its credentials from when it listened), or -1
// when nobody does.
pid_t listenerPid(const std::string &path) {
    int fd = transport::connectTo(path);
    if (fd < 0) return -1;
    ucred cred{};
    socklen_t len = sizeof cred;
    pid_t pid = getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &cred, &len) == 0 ? cred.pid : -1;
    close(fd);
    return pid;
}

// Whether the service at path answers a ping within the liveness time-out.
bool answersPing(const std::string &path) {
    int fd = transport::connectTo(path);
    if (fd < 0) return false;
    Parcel empty;
    Parcel reply;
    transport::FrameHeader answer{};
    transport::FrameReader reader;
    bool answered = transport::sendFrame(fd, {IBinder::PING_TRANSACTION, 0, 0}, empty) &&
                    reader.next(fd, &answer, &reply, kLivenessTimeoutMs) == OK &&
                    (answer.flags & transport::kReplyRefused) == 0;
    close(fd);
    return answered;
}

// The registry behind the socket: name -> the socket path its service listens on.
class ServiceRegistry : public BBinder {
  public:
    const String16 &getInterfaceDescriptor() const override { return IServiceManager::descriptor; }

  protected:
    status_t onTransact(uint32_t code, const Parcel &data, Parcel *reply, uint32_t flags) override {
        if (code < IServiceManager::GET_SERVICE_TRANSACTION ||
            code > IServiceManager::LIST_SERVICES_TRANSACTION) {
            return BBinder::onTransact(code, data, reply, flags);
        }
        if (!data.enforceInterface(IServiceManager::descriptor)) return PERMISSION_DENIED;
        if (reply == nullptr) return BAD_VALUE;
        switch (code) {
            case IServiceManager::GET_SERVICE_TRANSACTION:
            case IServiceManager::CHECK_SERVICE_TRANSACTION:
                return lookUp(data.readString16(), reply);
            case IServiceManager::ADD_SERVICE_TRANSACTION:
                return add(data, reply);
            default:
                return list(reply);
        }
    }

  private:
    status_t lookUp(const String16 &name, Parcel *reply) {
        std::lock_guard<std::mutex> guard(mLock);
        auto it = mServices.find(name);
        if (it == mServices.end()) return reply->writeInt32(NAME_NOT_FOUND);
        reply->writeInt32(OK);
        return reply->writeCString(it->second.path.c_str());
    }

    // Who may register what: a new socket must be the caller's own (its listener's credentials
    // say whose it is); a name stays with the process that registered it while its service
    // answers, and passes to another only once it does not. Names are never removed otherwise,
    // so no client can take a live service's name away or put itself in its place.
    status_t add(const Parcel &data, Parcel *reply) {
        String16 name = data.readString16();
        const char *path = data.readCString();
        data.readInt32();  // allowIsolated: the host has no isolated processes
        bool newSocket = data.readInt32() != 0;
        if (name.size() == 0 || path == nullptr || *path == '\0') {
            return reply->writeInt32(BAD_VALUE);
        }
        pid_t caller = IPCThreadState::self()->getCallingPid();
        if (newSocket && listenerPid(path) != caller) return reply->writeInt32(PERMISSION_DENIED);
        Registration old;
        bool taken = false;
        {
            std::lock_guard<std::mutex> guard(mLock);
            auto it = mServices.find(name);
            if (it != mServices.end()) {
                old = it->second;
                taken = true;
            }
        }
        if (taken && old.path != path && old.pid != caller && answersPing(old.path)) {
            return reply->writeInt32(ALREADY_EXISTS);
        }
        std::lock_guard<std::mutex> guard(mLock);
        // A socket just opened for a local binder: any name still pointing at that path was
        // left by a dead process whose pid was reused, and must not lead to the newcomer.
        if (newSocket) {
            for (auto it = mServices.begin(); it != mServices.end();) {
                it = it->second.path == path ? mServices.erase(it) : std::next(it);
            }
        }
        mServices[name] = Registration{path, caller};  // a restarted service replaces a dead one
        return reply->writeInt32(OK);
    }

    status_t list(Parcel *reply) {
        std::lock_guard<std::mutex> guard(mLock);
        reply->writeInt32(static_cast<int32_t>(mServices.size()));
        for (const auto &entry : mServices) reply->writeString16(entry.first);
        return OK;
    }

    struct Registration {
        std::string path;
        pid_t pid = 0;  // the process that registered the name
    };

    std::mutex mLock;
    std::map<String16, Registration> mServices;
};

// The registry for setDefaultServiceManager(): binders are kept as they are, so a local
// service is called directly.
class InProcessServiceManager : public BnInterface<IServiceManager> {
  public:
    sp<IBinder> getService(const String16 &name) const override { return checkService(name); }

    sp<IBinder> checkService(const String16 &name) const override {
        std::lock_guard<std::mutex> guard(mLock);
        auto it = mServices.find(name);
        return it == mServices.end() ? nullptr : it->second;
    }

    status_t addService(const String16 &name, const sp<IBinder> &service, bool) override {
        if (service == nullptr) return BAD_VALUE;
        std::lock_guard<std::mutex> guard(mLock);
        mServices[name] = service;
        return OK;
    }

    std::vector<String16> listServices() override {
        std::lock_guard<std::mutex> guard(mLock);
        std::vector<String16> names;
        for (const auto &entry : mServices) names.push_back(entry.first);
        return names;
    }

  private:
    mutable std::mutex mLock;
    std::map<String16, sp<IBinder>> mServices;
};

std::string parentDirectory(const std::string &path) {
    size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

status_t listenAsServiceManager(const char *socketPath) {
    std::string path = socketPath ? socketPath : serviceManagerSocketPath();
    std::string dir = parentDirectory(path);
    if (mkdir(dir.c_str(), 0755) < 0 && errno != EEXIST) return -errno;
    return host::listenAt(path, new ServiceRegistry);
}

void sleepMs(int ms) {
    timespec ts{ms / 1000, (ms % 1000) * 1000000L};
    nanosleep(&ts, nullptr);
}

}  // namespace

std::string binderDirectory() {
    const char *dir = getenv("POS_BINDER_DIR");
    return dir && *dir ? dir : kDefaultBinderDir;
}

std::string serviceManagerSocketPath() {
    return binderDirectory() + "/servicemanager";
}

status_t runServiceManager(const char *socketPath) {
    status_t err = listenAsServiceManager(socketPath);
    if (err != OK) return err;
    host::joinServing();
}

status_t startServiceManager(const char *socketPath) {
    status_t err = listenAsServiceManager(socketPath);
    if (err == OK) host::startServing();
    return err;
}

// Start-up waits poll every 10 ms; they run once per process start, not per call.
bool waitForServiceManager(int timeoutMs) {
    for (int waited = 0;; waited += 10) {
        if (host::serviceManagerWithoutReport() != nullptr) return true;
        if (waited >= timeoutMs) return false;
        sleepMs(10);
    }
}

sp<IBinder> waitForService(const String16 &name, int timeoutMs) {
    for (int waited = 0;; waited += 10) {
        sp<IServiceManager> sm = host::serviceManagerWithoutReport();
        sp<IBinder> service = sm != nullptr ? sm->checkService(name) : nullptr;
        if (service != nullptr) return service;
        if (waited >= timeoutMs) return nullptr;
        sleepMs(10);
    }
}

sp<IServiceManager> createInProcessServiceManager() {
    return new InProcessServiceManager;
}

}  // namespace android
