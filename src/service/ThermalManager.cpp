// The Thermal service: descriptor and proxy. Its transactions come with its protocol.
#include "pos_sdk/service/IThermalManager.h"

#include "ServiceBinding.h"

namespace android {

POS_IMPLEMENT_SERVICE_INTERFACE(ThermalManager, "com.kivo.device.manager.IThermalPrinterManager")

BpThermalManager::BpThermalManager(const sp<IBinder> &impl) : BpInterface<IThermalManager>(impl) {}

}  // namespace android
