// The Network service: descriptor and proxy. Its transactions come with its protocol.
#include "pos_sdk/service/INetworkManager.h"

#include "ServiceBinding.h"

namespace android {

POS_IMPLEMENT_SERVICE_INTERFACE(NetworkManager, "com.torva.binder.INetworkManager")

BpNetworkManager::BpNetworkManager(const sp<IBinder> &impl) : BpInterface<INetworkManager>(impl) {}

}  // namespace android
