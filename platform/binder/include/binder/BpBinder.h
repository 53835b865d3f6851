// BpBinder: the client's handle on a binder in another process. On the host it owns one
// AF_UNIX stream connection to the socket the service listens on; calls on one BpBinder from
// several threads take turns on that connection.
#ifndef ANDROID_BINDER_BPBINDER_H
#define ANDROID_BINDER_BPBINDER_H

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

#include <binder/IBinder.h>

namespace android {

namespace transport {
class FrameReader;
}

class BpBinder : public IBinder {
  public:
    // Connects to a service socket; null when nobody listens there.
    static sp<BpBinder> connect(const std::string &socketPath);

    // Asks the service for its descriptor once and keeps it (empty when it cannot answer).
    const String16 &getInterfaceDescriptor() const override;
    // False once a transaction has found the connection broken. As on the device, where the
    // death notice arrives with the next transaction, a peer that dies between calls is only
    // noticed by the next call, which returns DEAD_OBJECT.
    bool isBinderAlive() const override;
    status_t pingBinder() override;
    // One frame out, one frame back (none for FLAG_ONEWAY). DEAD_OBJECT when the connection
    // is or becomes broken; otherwise the service's status.
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
    BpBinder(int fd, const std::string &socketPath);
    status_t transactLocked(uint32_t code, const Parcel &data, Parcel *reply, uint32_t flags);
    void markDead();

    int mFd;
    const std::string mSocketPath;
    std::atomic<bool> mAlive;
    std::mutex mLock;  // one call at a time on the connection
    std::unique_ptr<transport::FrameReader> mReader;
    mutable std::mutex mDescriptorLock;
    mutable bool mDescriptorFetched;
    mutable String16 mDescriptor;
};

}  // namespace android

#endif
