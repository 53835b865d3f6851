// BBinder: the local (service-side) binder object. BpRefBase: the base of interface proxies.
#ifndef ANDROID_BINDER_BINDER_H
#define ANDROID_BINDER_BINDER_H

#include <binder/IBinder.h>

namespace android {

class BBinder : public IBinder {
  public:
    BBinder();

    const String16 &getInterfaceDescriptor() const override;
    // A local object lives as long as the process.
    bool isBinderAlive() const override;
    status_t pingBinder() override;
    // Rewinds data, answers the ping and interface queries itself and hands every other code
    // to onTransact; rewinds the reply for the caller.
    status_t transact(uint32_t code, const Parcel &data, Parcel *reply,
                      uint32_t flags = 0) override;
    BBinder *localBinder() override;

  protected:
    ~BBinder() override;

    // The service's dispatcher; the default knows no transaction.
    virtual status_t onTransact(uint32_t code, const Parcel &data, Parcel *reply,
                                uint32_t flags = 0);
};

class BpRefBase : public virtual RefBase {
  protected:
    explicit BpRefBase(const sp<IBinder> &o);
    ~BpRefBase() override;

    IBinder *remote() const { return mRemote.get(); }

  private:
    BpRefBase(const BpRefBase &) = delete;
    BpRefBase &operator=(const BpRefBase &) = delete;

    sp<IBinder> mRemote;
};

}  // namespace android

#endif
