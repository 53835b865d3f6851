// The client side of the service manager, and the choice of the process's service manager.
// Wire of the service-manager calls (after the interface token):
//   GET/CHECK: name (String16)  -> status int32, then the service's socket path (C string)
//   ADD: name, socket path (C string), allowIsolated int32, new-socket int32  -> status int32
//   LIST: nothing  -> count int32, then count names (String16)
#include <binder/BpBinder.h>
#include <binder/IServiceManager.h>
#include <binder/Parcel.h>

#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <mutex>

#include <binder/ServiceManagerHost.h>

#include "ServiceHost.h"

namespace android {

class BpServiceManager : public BpInterface<IServiceManager> {
  public:
    explicit BpServiceManager(const sp<IBinder> &impl) : BpInterface<IServiceManager>(impl) {}

    sp<IBinder> getService(const String16 &name) const override { return checkService(name); }

    sp<IBinder> checkService(const String16 &name) const override {
        Parcel data;
        Parcel reply;
        data.writeInterfaceToken(IServiceManager::descriptor);
        data.writeString16(name);
        if (remote()->transact(CHECK_SERVICE_TRANSACTION, data, &reply) != OK) return nullptr;
        if (reply.readInt32() != OK) return nullptr;
        const char *path = reply.readCString();
        if (path == nullptr) return nullptr;
        // A registration left by a service that died finds nobody listening: null.
        return BpBinder::connect(path);
    }

    status_t addService(const String16 &name, const sp<IBinder> &service,
                        bool allowIsolated) override {
        if (service == nullptr) return BAD_VALUE;
        std::string path;
        bool newSocket = false;
        if (BBinder *local = service->localBinder()) {
            newSocket = true;
            status_t err = host::listenForService(local, &path);
            if (err != OK) return err;
        } else if (BpBinder *proxy = service->remoteBinder()) {
            path = proxy->socketPath();  // re-publishing another process's service
        } else {
            return BAD_TYPE;
        }
        Parcel data;
        Parcel reply;
        data.writeInterfaceToken(IServiceManager::descriptor);
        data.writeString16(name);
        data.writeCString(path.c_str());
        data.writeInt32(allowIsolated ? 1 : 0);
        data.writeInt32(newSocket ? 1 : 0);
        status_t err = remote()->transact(ADD_SERVICE_TRANSACTION, data, &reply);
        return err == OK ? reply.readInt32() : err;
    }

    std::vector<String16> listServices() override {
        Parcel data;
        Parcel reply;
        std::vector<String16> names;
        data.writeInterfaceToken(IServiceManager::descriptor);
        if (remote()->transact(LIST_SERVICES_TRANSACTION, data, &reply) != OK) return names;
        int32_t count = reply.readInt32();
        // Bounded by what the reply holds, whatever count claims: a name that cannot be read
        // does not move the position, so it ends the list.
        for (int32_t i = 0; i < count; ++i) {
            size_t before = reply.dataPosition();
            String16 name = reply.readString16();
            if (reply.dataPosition() == before) break;
            names.push_back(name);
        }
        return names;
    }
};

IMPLEMENT_META_INTERFACE(ServiceManager, "android.os.IServiceManager")

namespace {

struct DefaultManager {
    std::mutex lock;
    sp<IServiceManager> installed;  // setDefaultServiceManager() wins over the socket
    sp<IServiceManager> overSocket;
    sp<BpBinder> socketBinder;
    pid_t owner = 0;  // the process that opened socketBinder
};

DefaultManager &defaults() {
    static DefaultManager *d = [] {
        pthread_atfork([] { defaults().lock.lock(); }, [] { defaults().lock.unlock(); },
                       [] { defaults().lock.unlock(); });
        return new DefaultManager;  // never destroyed, see the acceptor
    }();
    return *d;
}

// Outside any simulated terminal a program finds no service manager; it is told so once,
// since every service call would otherwise just fail with a code.
void reportMissingServiceManager(const std::string &path) {
    static std::atomic<bool> reported{false};
    if (reported.exchange(true)) return;
    fprintf(stderr,
            "binder: no service manager at %s; run the program on the simulated terminal: "
            "pos-sim run -- PROGRAM\n",
            path.c_str());
}

sp<IServiceManager> managerOverSocket(bool reportMissing) {
    DefaultManager &d = defaults();
    std::lock_guard<std::mutex> guard(d.lock);
    if (d.installed != nullptr) return d.installed;

    // The directory may change between calls (tests), and the service manager may have
    // restarted: reuse the connection only while both still hold.
    // A forked child must not share its parent's connection: replies would go astray.
    std::string path = serviceManagerSocketPath();
    if (d.socketBinder != nullptr && d.owner == getpid() && d.socketBinder->socketPath() == path &&
        d.socketBinder->probeAlive()) {
        return d.overSocket;
    }
    d.overSocket.clear();
    d.socketBinder = BpBinder::connect(path);
    if (d.socketBinder == nullptr) {
        if (reportMissing) reportMissingServiceManager(path);
        return nullptr;
    }
    d.owner = getpid();
    d.overSocket = interface_cast<IServiceManager>(d.socketBinder);
    return d.overSocket;
}

}  // namespace

sp<IServiceManager> defaultServiceManager() {
    return managerOverSocket(true);
}

namespace host {

sp<IServiceManager> serviceManagerWithoutReport() {
    return managerOverSocket(false);
}

}  // namespace host

void setDefaultServiceManager(const sp<IServiceManager> &sm) {
    DefaultManager &d = defaults();
    std::lock_guard<std::mutex> guard(d.lock);
    d.installed = sm;
}

}  // namespace android
