// The Magcard service: descriptor and proxy. Its transactions come with its protocol.
#include "pos_sdk/service/IMagcardManager.h"

#include "ServiceBinding.h"

namespace android {

POS_IMPLEMENT_SERVICE_INTERFACE(MagcardManager, "com.kivo.device.manager.IMagcardManager")

BpMagcardManager::BpMagcardManager(const sp<IBinder> &impl) : BpInterface<IMagcardManager>(impl) {}

}  // namespace android
