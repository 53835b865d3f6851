// Interface and proxy of the PinpadManager service. Its operations are added with its
// protocol; until then the class carries what the hub needs to hold and bind it.
#ifndef POS_SDK_SERVICE_IPINPADMANAGER_H
#define POS_SDK_SERVICE_IPINPADMANAGER_H

#include "ServiceInterface.h"

namespace android {

class POS_API IPinpadManager : public IInterface {
    POS_DECLARE_SERVICE_INTERFACE(PinpadManager)
};

class POS_API BpPinpadManager : public BpInterface<IPinpadManager> {
  public:
    explicit BpPinpadManager(const sp<IBinder> &impl);
};

}  // namespace android

#endif
