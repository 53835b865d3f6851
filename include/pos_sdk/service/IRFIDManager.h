// Interface and proxy of the RFIDManager service. Its operations are added with its
// protocol; until then the class carries what the hub needs to hold and bind it.
#ifndef POS_SDK_SERVICE_IRFIDMANAGER_H
#define POS_SDK_SERVICE_IRFIDMANAGER_H

#include "ServiceInterface.h"

namespace android {

class POS_API IRFIDManager : public IInterface {
    POS_DECLARE_SERVICE_INTERFACE(RFIDManager)
};

class POS_API BpRFIDManager : public BpInterface<IRFIDManager> {
  public:
    explicit BpRFIDManager(const sp<IBinder> &impl);
};

}  // namespace android

#endif
