// The ICCard service: descriptor and proxy. Its transactions come with its protocol.
#include "pos_sdk/service/IICCardManager.h"

#include "ServiceBinding.h"

namespace android {

POS_IMPLEMENT_SERVICE_INTERFACE(ICCardManager, "com.kivo.device.manager.IICCardManager")

BpICCardManager::BpICCardManager(const sp<IBinder> &impl) : BpInterface<IICCardManager>(impl) {}

}  // namespace android
