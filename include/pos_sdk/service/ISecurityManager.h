// Interface and proxy of the SecurityManager service. Its operations are added with its
// protocol; until then the class carries what the hub needs to hold and bind it.
#ifndef POS_SDK_SERVICE_ISECURITYMANAGER_H
#define POS_SDK_SERVICE_ISECURITYMANAGER_H

#include "ServiceInterface.h"

namespace android {

class POS_API ISecurityManager : public IInterface {
    POS_DECLARE_SERVICE_INTERFACE(SecurityManager)
};

class POS_API BpSecurityManager : public BpInterface<ISecurityManager> {
  public:
    explicit BpSecurityManager(const sp<IBinder> &impl);
};

}  // namespace android

#endif
