// Interface and proxy of the ThermalManager service. Its operations are added with its
// protocol; until then the class carries what the hub needs to hold and bind it.
#ifndef POS_SDK_SERVICE_ITHERMALMANAGER_H
#define POS_SDK_SERVICE_ITHERMALMANAGER_H

#include "ServiceInterface.h"

namespace android {

class POS_API IThermalManager : public IInterface {
    POS_DECLARE_SERVICE_INTERFACE(ThermalManager)
};

class POS_API BpThermalManager : public BpInterface<IThermalManager> {
  public:
    explicit BpThermalManager(const sp<IBinder> &impl);
};

}  // namespace android

#endif
