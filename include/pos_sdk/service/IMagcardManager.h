// Interface and proxy of the MagcardManager service. Its operations are added with its
// protocol; until then the class carries what the hub needs to hold and bind it.
#ifndef POS_SDK_SERVICE_IMAGCARDMANAGER_H
#define POS_SDK_SERVICE_IMAGCARDMANAGER_H

#include "ServiceInterface.h"

namespace android {

class POS_API IMagcardManager : public IInterface {
    POS_DECLARE_SERVICE_INTERFACE(MagcardManager)
};

class POS_API BpMagcardManager : public BpInterface<IMagcardManager> {
  public:
    explicit BpMagcardManager(const sp<IBinder> &impl);
};

}  // namespace android

#endif
