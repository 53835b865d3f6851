// The base of every binder object, local (BBinder) or remote (BpBinder).
#ifndef ANDROID_BINDER_IBINDER_H
#define ANDROID_BINDER_IBINDER_H

#include <stdint.h>

#include <utils/Errors.h>
#include <utils/RefBase.h>
#include <utils/String16.h>

namespace android {

class BBinder;
class BpBinder;
class IInterface;
class Parcel;

class IBinder : public virtual RefBase {
  public:
    enum {
        FIRST_CALL_TRANSACTION = 0x00000001,
        LAST_CALL_TRANSACTION = 0x00ffffff,
        PING_TRANSACTION = ('_' << 24) | ('P' << 16) | ('N' << 8) | 'G',
        INTERFACE_TRANSACTION = ('_' << 24) | ('N' << 16) | ('T' << 8) | 'F',
        // A one-way call does not wait for (and gets no) reply.
        FLAG_ONEWAY = 0x00000001,
    };

    IBinder();

    virtual sp<IInterface> queryLocalInterface(const String16 &descriptor);
    virtual const String16 &getInterfaceDescriptor() const = 0;
    virtual bool isBinderAlive() const = 0;
    virtual status_t pingBinder() = 0;
    virtual status_t transact(uint32_t code, const Parcel &data, Parcel *reply,
                              uint32_t flags = 0) = 0;

    virtual BBinder *localBinder();
    virtual BpBinder *remoteBinder();

  protected:
    virtual ~IBinder();

  private:
    IBinder(const IBinder &) = delete;
    IBinder &operator=(const IBinder &) = delete;
};

}  // namespace android

#endif
