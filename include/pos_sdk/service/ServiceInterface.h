// Common declarations of the fourteen service interfaces: each interface class carries its
// interface descriptor (the token written first in every request) and asInterface().
#ifndef POS_SDK_SERVICE_SERVICE_INTERFACE_H
#define POS_SDK_SERVICE_SERVICE_INTERFACE_H

#include <binder/IBinder.h>
#include <binder/IInterface.h>
#include <utils/String16.h>

#include "../pos_export.h"

// Declares the descriptor, asInterface() and getInterfaceDescriptor() of interface I<NAME>.
#define POS_DECLARE_SERVICE_INTERFACE(NAME)                                                  \
  public:                                                                                    \
    static const ::android::String16 descriptor;                                             \
    static ::android::sp<I##NAME> asInterface(const ::android::sp<::android::IBinder> &obj); \
    I##NAME();                                                                               \
    virtual ~I##NAME();                                                                      \
    virtual const ::android::String16 &getInterfaceDescriptor() const;

#endif
