// The Wifi service: descriptor and proxy. Its transactions come with its protocol.
#include "pos_sdk/service/IWifiManager.h"

#include "ServiceBinding.h"

namespace android {

POS_IMPLEMENT_SERVICE_INTERFACE(WifiManager, "com.torva.binder.IWifiManager")

BpWifiManager::BpWifiManager(const sp<IBinder> &impl) : BpInterface<IWifiManager>(impl) {}

}  // namespace android
