#include <binder/Binder.h>
#include <binder/IInterface.h>
#include <binder/Parcel.h>

#include <unistd.h>

namespace android {

// ---- IBinder

IBinder::IBinder() = default;
IBinder::~IBinder() = default;

sp<IInterface> IBinder::queryLocalInterface(const String16 & /*descriptor*/) {
    return nullptr;
}
BBinder *IBinder::localBinder() {
    return nullptr;
}
BpBinder *IBinder::remoteBinder() {
    return nullptr;
}

// ---- BBinder

BBinder::BBinder() = default;
BBinder::~BBinder() = default;

const String16 &BBinder::getInterfaceDescriptor() const {
    static const String16 kEmpty;
    return kEmpty;
}

bool BBinder::isBinderAlive() const {
    return true;
}

status_t BBinder::pingBinder() {
    return OK;
}

BBinder *BBinder::localBinder() {
    return this;
}

status_t BBinder::transact(uint32_t code, const Parcel &data, Parcel *reply, uint32_t flags) {
    data.setDataPosition(0);
    status_t err;
    switch (code) {
        case PING_TRANSACTION:
            err = pingBinder();
            break;
        case INTERFACE_TRANSACTION:
            if (reply != nullptr) reply->writeString16(getInterfaceDescriptor());
            err = OK;
            break;
        default:
            err = onTransact(code, data, reply, flags);
            break;
    }
    if (reply != nullptr) reply->setDataPosition(0);
    return err;
}

status_t BBinder::onTransact(uint32_t /*code*/, const Parcel & /*data*/, Parcel * /*reply*/,
                             uint32_t /*flags*/) {
    return UNKNOWN_TRANSACTION;
}

// ---- BpRefBase

BpRefBase::BpRefBase(const sp<IBinder> &o) : mRemote(o) {}
BpRefBase::~BpRefBase() = default;

// ---- IInterface

IInterface::IInterface() = default;
IInterface::~IInterface() = default;

sp<IBinder> IInterface::asBinder(const IInterface *iface) {
    if (iface == nullptr) return nullptr;
    return const_cast<IInterface *>(iface)->onAsBinder();
}

sp<IBinder> IInterface::asBinder(const sp<IInterface> &iface) {
    return asBinder(iface.get());
}

}  // namespace android
