// The Cloud service: descriptor and proxy. Its transactions come with its protocol.
#include "pos_sdk/service/ICloudManager.h"

#include "ServiceBinding.h"

namespace android {

POS_IMPLEMENT_SERVICE_INTERFACE(CloudManager, "com.cloud.test.ICloudManager")

BpCloudManager::BpCloudManager(const sp<IBinder> &impl) : BpInterface<ICloudManager>(impl) {}

}  // namespace android
