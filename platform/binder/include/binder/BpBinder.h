// BpBinder: the client's handle on a binder in another process. On the host it owns AF_UNIX
// stream connections to the socket the service listens on: one at first, more while several
// threads call at once (up to a small limit), as the device's binder serves calls from several
// threads of a process side by side.
#ifndef ANDROID_BINDER_BPBINDER_H
#define ANDROID_BINDER_BPBINDER_H

#include <sys/types.h>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <binder/IBinder.h>

namespace android {

class BpBinder : public IBinder {
  public:
    // The binder of the service listening at socketPath. As the device keeps one proxy per
    // remote object, a process gets the same BpBinder for a path while it is alive, and a new
    // one (with a new connection) once that one is dead. Null when nobody listens there.
    static sp<BpBinder> connect(const std::string &socketPath);

    // Asks the service for its descriptor once and keeps it (empty when it cannot answer).
    const String16 &getInterfaceDescriptor() const override;
    // False once a transaction has found a connection broken. As on the device, where the
    // death notice arrives with the next transaction, a peer that dies between calls is only
    // noticed by the next call, which returns DEAD_OBJECT.
    bool isBinderAlive() const override;
    status_t pingBinder() override;
    // One frame out, one frame back (none for FLAG_ONEWAY). DEAD_OBJECT when the connection
    // is or becomes broken (or the service refused it); otherwise the service's status. Safe
    // to call from several threads at once.
    status_t transact(uint32_t code, const Parcel &data, Parcel *reply,
                      uint32_t flags = 0) override;
    BpBinder *remoteBinder() override;

    // Host only: the socket this binder is connected to.
    const std::string &socketPath() const { return mSocketPath; }
    // Host only: asks the kernel (without blocking) whether the peer has hung up, and marks
    // the binder dead if so. For callers that want to notice a death before the next call.
    bool probeAlive();

  protected:
    ~BpBinder() override;

  private:
    struct Connection;

    BpBinder(std::unique_ptr<Connection> first, const std::string &socketPath);
    std::unique_ptr<Connection> acquire();
    void giveBack(std::unique_ptr<Connection> connection);
    void dropConnection();
    status_t exchange(Connection &connection, uint32_t code, const Parcel &data, Parcel *reply,
                      uint32_t flags);
    void markDead();

    const std::string mSocketPath;
    std::atomic<bool> mAlive;
    std::mutex mLock;
    std::condition_variable mIdleChanged;
    std::vector<std::unique_ptr<Connection>> mIdle;  // connected, not in use
    size_t mOpen;                                    // idle and in use
    pid_t mOwner;  // the process whose connections these are (a forked child opens its own)
    mutable std::mutex mDescriptorLock;
    mutable bool mDescriptorFetched;
    mutable String16 mDescriptor;
};

}  // namespace android

#endif
