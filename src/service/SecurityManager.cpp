// The Security service: descriptor and proxy. Its transactions come with its protocol.
#include "pos_sdk/service/ISecurityManager.h"

#include "ServiceBinding.h"

namespace android {

POS_IMPLEMENT_SERVICE_INTERFACE(SecurityManager, "com.kivo.manager.ISecurityManager")

BpSecurityManager::BpSecurityManager(const sp<IBinder> &impl)
    : BpInterface<ISecurityManager>(impl) {}

}  // namespace android
