// Interface and proxy of the ICCardManager service. Its operations are added with its
// protocol; until then the class carries what the hub needs to hold and bind it.
#ifndef POS_SDK_SERVICE_IICCARDMANAGER_H
#define POS_SDK_SERVICE_IICCARDMANAGER_H

#include "ServiceInterface.h"

namespace android {

class POS_API IICCardManager : public IInterface {
    POS_DECLARE_SERVICE_INTERFACE(ICCardManager)
};

class POS_API BpICCardManager : public BpInterface<IICCardManager> {
  public:
    explicit BpICCardManager(const sp<IBinder> &impl);
};

}  // namespace android

#endif
