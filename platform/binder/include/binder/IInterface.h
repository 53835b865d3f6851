// Typed interfaces over binders: IInterface, the BnInterface (service) and BpInterface
// (proxy) templates, interface_cast and the meta-interface macros.
#ifndef ANDROID_BINDER_IINTERFACE_H
#define ANDROID_BINDER_IINTERFACE_H

#include <binder/Binder.h>

namespace android {

class IInterface : public virtual RefBase {
  public:
    IInterface();
    static sp<IBinder> asBinder(const IInterface *iface);
    static sp<IBinder> asBinder(const sp<IInterface> &iface);

  protected:
    ~IInterface() override;
    virtual IBinder *onAsBinder() = 0;
};

template <typename INTERFACE>
inline sp<INTERFACE> interface_cast(const sp<IBinder> &obj) {
    return INTERFACE::asInterface(obj);
}

// The service side of INTERFACE: implement onTransact and the interface's operations.
template <typename INTERFACE>
class BnInterface : public INTERFACE, public BBinder {
  public:
    sp<IInterface> queryLocalInterface(const String16 &descriptor) override {
        if (descriptor == INTERFACE::descriptor)
            return sp<IInterface>(static_cast<INTERFACE *>(this));
        return nullptr;
    }
    const String16 &getInterfaceDescriptor() const override { return INTERFACE::descriptor; }

  protected:
    IBinder *onAsBinder() override { return this; }
};

// The client side of INTERFACE: each operation marshals into remote()->transact().
template <typename INTERFACE>
class BpInterface : public INTERFACE, public BpRefBase {
  public:
    explicit BpInterface(const sp<IBinder> &remote) : BpRefBase(remote) {}

  protected:
    IBinder *onAsBinder() override { return remote(); }
};

}  // namespace android

// In the class body of I##INTERFACE: the descriptor, asInterface() and the descriptor getter.
#define DECLARE_META_INTERFACE(INTERFACE)                                                         \
  public:                                                                                         \
    static const ::android::String16 descriptor;                                                  \
    static ::android::sp<I##INTERFACE> asInterface(const ::android::sp<::android::IBinder> &obj); \
    virtual const ::android::String16 &getInterfaceDescriptor() const;                            \
    I##INTERFACE();                                                                               \
    ~I##INTERFACE() override;

// In one source file, after Bp##INTERFACE is declared. asInterface returns the local object
// when the binder lives in this process, else wraps the binder in a new Bp##INTERFACE.
#define IMPLEMENT_META_INTERFACE(INTERFACE, NAME)                             \
    const ::android::String16 I##INTERFACE::descriptor(NAME);                 \
    const ::android::String16 &I##INTERFACE::getInterfaceDescriptor() const { \
        return I##INTERFACE::descriptor;                                      \
    }                                                                         \
    ::android::sp<I##INTERFACE> I##INTERFACE::asInterface(                    \
        const ::android::sp<::android::IBinder> &obj) {                       \
        ::android::sp<I##INTERFACE> intr;                                     \
        if (obj != nullptr) {                                                 \
            intr = static_cast<I##INTERFACE *>(                               \
                obj->queryLocalInterface(I##INTERFACE::descriptor).get());    \
            if (intr == nullptr) intr = new Bp##INTERFACE(obj);               \
        }                                                                     \
        return intr;                                                          \
    }                                                                         \
    I##INTERFACE::I##INTERFACE() {}                                           \
    I##INTERFACE::~I##INTERFACE() {}

#endif
