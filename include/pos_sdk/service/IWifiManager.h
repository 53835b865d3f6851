// Interface and proxy of the WifiManager service. Its operations are added with its
// protocol; until then the class carries what the hub needs to hold and bind it.
#ifndef POS_SDK_SERVICE_IWIFIMANAGER_H
#define POS_SDK_SERVICE_IWIFIMANAGER_H

#include "ServiceInterface.h"

namespace android {

class POS_API IWifiManager : public IInterface {
    POS_DECLARE_SERVICE_INTERFACE(WifiManager)
};

class POS_API BpWifiManager : public BpInterface<IWifiManager> {
  public:
    explicit BpWifiManager(const sp<IBinder> &impl);
};

}  // namespace android

#endif
