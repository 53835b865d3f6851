// The SegLcd service: descriptor and proxy. Its transactions come with its protocol.
#include "pos_sdk/service/ISegLcdManager.h"

#include "ServiceBinding.h"

namespace android {

POS_IMPLEMENT_SERVICE_INTERFACE(SegLcdManager, "com.torva.binder.ISegLcdManager")

BpSegLcdManager::BpSegLcdManager(const sp<IBinder> &impl) : BpInterface<ISegLcdManager>(impl) {}

}  // namespace android
