// Interface and proxy of the Qd36nManager service. Its operations are added with its
// protocol; until then the class carries what the hub needs to hold and bind it.
#ifndef POS_SDK_SERVICE_IQD36NMANAGER_H
#define POS_SDK_SERVICE_IQD36NMANAGER_H

#include "ServiceInterface.h"

namespace android {

class POS_API IQd36nManager : public IInterface {
    POS_DECLARE_SERVICE_INTERFACE(Qd36nManager)
};

class POS_API BpQd36nManager : public BpInterface<IQd36nManager> {
  public:
    explicit BpQd36nManager(const sp<IBinder> &impl);
};

}  // namespace android

#endif
