// Interface and proxy of the TtsManager service. Its operations are added with its
// protocol; until then the class carries what the hub needs to hold and bind it.
#ifndef POS_SDK_SERVICE_ITTSMANAGER_H
#define POS_SDK_SERVICE_ITTSMANAGER_H

#include "ServiceInterface.h"

namespace android {

class POS_API ITtsManager : public IInterface {
    POS_DECLARE_SERVICE_INTERFACE(TtsManager)
};

class POS_API BpTtsManager : public BpInterface<ITtsManager> {
  public:
    explicit BpTtsManager(const sp<IBinder> &impl);
};

}  // namespace android

#endif
