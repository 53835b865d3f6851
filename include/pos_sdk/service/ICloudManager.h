// Interface and proxy of the CloudManager service. Its operations are added with its
// protocol; until then the class carries what the hub needs to hold and bind it.
#ifndef POS_SDK_SERVICE_ICLOUDMANAGER_H
#define POS_SDK_SERVICE_ICLOUDMANAGER_H

#include "ServiceInterface.h"

namespace android {

class POS_API ICloudManager : public IInterface {
    POS_DECLARE_SERVICE_INTERFACE(CloudManager)
};

class POS_API BpCloudManager : public BpInterface<ICloudManager> {
  public:
    explicit BpCloudManager(const sp<IBinder> &impl);
};

}  // namespace android

#endif
