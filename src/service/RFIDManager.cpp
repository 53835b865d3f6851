// The RFID service: descriptor and proxy. Its transactions come with its protocol.
#include "pos_sdk/service/IRFIDManager.h"

#include "ServiceBinding.h"

namespace android {

POS_IMPLEMENT_SERVICE_INTERFACE(RFIDManager, "com.kivo.device.manager.IRFIDManager")

BpRFIDManager::BpRFIDManager(const sp<IBinder> &impl) : BpInterface<IRFIDManager>(impl) {}

}  // namespace android
