// Interface and proxy of the SegLcdManager service. Its operations are added with its
// protocol; until then the class carries what the hub needs to hold and bind it.
#ifndef POS_SDK_SERVICE_ISEGLCDMANAGER_H
#define POS_SDK_SERVICE_ISEGLCDMANAGER_H

#include "ServiceInterface.h"

namespace android {

class POS_API ISegLcdManager : public IInterface {
    POS_DECLARE_SERVICE_INTERFACE(SegLcdManager)
};

class POS_API BpSegLcdManager : public BpInterface<ISegLcdManager> {
  public:
    explicit BpSegLcdManager(const sp<IBinder> &impl);
};

}  // namespace android

#endif
