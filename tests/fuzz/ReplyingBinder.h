// A service in another process, as fuzz targets need it: every request gets the same reply,
// the fuzz bytes.
#ifndef POS_TESTS_FUZZ_REPLYING_BINDER_H
#define POS_TESTS_FUZZ_REPLYING_BINDER_H

#include <binder/IBinder.h>
#include <binder/Parcel.h>

#include <cstddef>
#include <cstdint>
#include <vector>

class ReplyingBinder : public android::IBinder {
  public:
    ReplyingBinder(const uint8_t *data, size_t size) : mReply(data, data + size) {}

    const android::String16 &getInterfaceDescriptor() const override { return mDescriptor; }
    bool isBinderAlive() const override { return true; }
    android::status_t pingBinder() override { return android::NO_ERROR; }
    android::status_t transact(uint32_t, const android::Parcel &, android::Parcel *reply,
                               uint32_t) override {
        reply->setData(mReply.data(), mReply.size());
        return android::NO_ERROR;
    }

  private:
    std::vector<uint8_t> mReply;
    android::String16 mDescriptor;
};

#endif
