// The pieces every service interface shares: casting a binder to an interface and binding a
// hub member by registered service name.
#ifndef POS_SERVICE_SERVICE_BINDING_H
#define POS_SERVICE_SERVICE_BINDING_H

#include <binder/IServiceManager.h>
#include <utils/String8.h>

#include <cstdio>

#include "pos_sdk/service/BpTransferHub.h"

namespace pos {

// asInterface() of interface I with proxy class Bp.
template <typename I, typename Bp>
android::sp<I> castToInterface(const android::sp<android::IBinder> &obj) {
    if (obj == nullptr) return nullptr;
    android::sp<android::IInterface> local = obj->queryLocalInterface(I::descriptor);
    if (local != nullptr) return static_cast<I *>(local.get());
    // An object in our own process that names another interface cannot serve this one; its
    // descriptor is known without a call, so refuse it here. A remote binder is trusted by
    // the name it was registered under.
    if (obj->localBinder() != nullptr && !(obj->getInterfaceDescriptor() == I::descriptor)) {
        return nullptr;
    }
    return new Bp(obj);
}

// The binding routine shared by all services: keeps a live proxy, else looks the service up
// by `name` and stores what it finds (also nothing).
template <typename I>
int bindService(android::sp<I> &service, const char *name) {
    if (service != nullptr) {
        android::sp<android::IBinder> binder = android::IInterface::asBinder(service);
        if (binder != nullptr && binder->isBinderAlive()) return 0;
        // Two blanks before "not": the line is matched by tools, kept for compatibility.
        printf("Service %s is  not alive \n",
               android::String8(service->getInterfaceDescriptor()).string());
    }
    android::sp<android::IServiceManager> manager = android::defaultServiceManager();
    if (manager == nullptr) return POS_HUB_NO_SERVICE_MANAGER;
    service = android::interface_cast<I>(manager->getService(android::String16(name)));
    return service == nullptr ? POS_HUB_SERVICE_NOT_FOUND : 0;
}

}  // namespace pos

// Defines the members declared by POS_DECLARE_SERVICE_INTERFACE(NAME).
#define POS_IMPLEMENT_SERVICE_INTERFACE(NAME, DESCRIPTOR)                                       \
    const ::android::String16 I##NAME::descriptor(DESCRIPTOR);                                  \
    ::android::sp<I##NAME> I##NAME::asInterface(const ::android::sp<::android::IBinder> &obj) { \
        return ::pos::castToInterface<I##NAME, Bp##NAME>(obj);                                  \
    }                                                                                           \
    I##NAME::I##NAME() {}                                                                       \
    I##NAME::~I##NAME() {}                                                                      \
    const ::android::String16 &I##NAME::getInterfaceDescriptor() const {                        \
        return descriptor;                                                                      \
    }

#endif
