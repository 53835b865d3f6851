// The Qd36n service: descriptor and proxy. Its transactions come with its protocol.
#include "pos_sdk/service/IQd36nManager.h"

#include "ServiceBinding.h"

namespace android {

POS_IMPLEMENT_SERVICE_INTERFACE(Qd36nManager, "com.torva.binder.IQd36nManager")

BpQd36nManager::BpQd36nManager(const sp<IBinder> &impl) : BpInterface<IQd36nManager>(impl) {}

}  // namespace android
