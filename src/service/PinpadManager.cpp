// The Pinpad service: descriptor and proxy. Its transactions come with its protocol.
#include "pos_sdk/service/IPinpadManager.h"

#include "ServiceBinding.h"

namespace android {

POS_IMPLEMENT_SERVICE_INTERFACE(PinpadManager, "com.kivo.device.manager.IPinpadManager")

BpPinpadManager::BpPinpadManager(const sp<IBinder> &impl) : BpInterface<IPinpadManager>(impl) {}

}  // namespace android
