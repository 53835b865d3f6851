#include <binder/BpBinder.h>
#include <binder/Parcel.h>

#include <unistd.h>

#include "Transport.h"

namespace android {

sp<BpBinder> BpBinder::connect(const std::string &socketPath) {
    int fd = transport::connectTo(socketPath);
    if (fd < 0) return nullptr;
    return sp<BpBinder>(new BpBinder(fd, socketPath));
}

BpBinder::BpBinder(int fd, const std::string &socketPath)
    : mFd(fd),
      mSocketPath(socketPath),
      mAlive(true),
      mReader(new transport::FrameReader),
      mDescriptorFetched(false) {}

BpBinder::~BpBinder() {
    close(mFd);
}

BpBinder *BpBinder::remoteBinder() {
    return this;
}

bool BpBinder::isBinderAlive() const {
    return mAlive.load(std::memory_order_acquire);
}

bool BpBinder::probeAlive() {
    if (isBinderAlive() && transport::peerHungUp(mFd)) markDead();
    return isBinderAlive();
}

void BpBinder::markDead() {
    mAlive.store(false, std::memory_order_release);
}

status_t BpBinder::pingBinder() {
    Parcel data;
    Parcel reply;
    return transact(PING_TRANSACTION, data, &reply);
}

const String16 &BpBinder::getInterfaceDescriptor() const {
    std::lock_guard<std::mutex> guard(mDescriptorLock);
    if (!mDescriptorFetched) {
        Parcel data;
        Parcel reply;
        if (const_cast<BpBinder *>(this)->transact(INTERFACE_TRANSACTION, data, &reply) == OK) {
            mDescriptor = reply.readString16();
            mDescriptorFetched = true;
        }
    }
    return mDescriptor;
}

status_t BpBinder::transact(uint32_t code, const Parcel &data, Parcel *reply, uint32_t flags) {
    if (data.dataSize() > transport::kMaxFrameBytes) return BAD_VALUE;
    std::lock_guard<std::mutex> guard(mLock);
    status_t err = transactLocked(code, data, reply, flags);
    if (err == DEAD_OBJECT && reply != nullptr) reply->setDataSize(0);  // read as empty
    return err;
}

status_t BpBinder::transactLocked(uint32_t code, const Parcel &data, Parcel *reply,
                                  uint32_t flags) {
    if (!isBinderAlive()) return DEAD_OBJECT;
    transport::FrameHeader request{code, flags, static_cast<uint32_t>(data.dataSize())};
    if (!transport::sendFrame(mFd, request, data)) {
        markDead();
        return DEAD_OBJECT;
    }
    if (flags & FLAG_ONEWAY) return OK;

    Parcel discarded;
    transport::FrameHeader answer;
    if (mReader->next(mFd, &answer, reply != nullptr ? reply : &discarded) != OK) {
        // Closed, failed, or a frame no service would send: the stream cannot be trusted.
        markDead();
        return DEAD_OBJECT;
    }
    return static_cast<status_t>(answer.word);
}

}  // namespace android
