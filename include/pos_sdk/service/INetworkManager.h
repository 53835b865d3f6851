// Interface and proxy of the NetworkManager service. Its operations are added with its
// protocol; until then the class carries what the hub needs to hold and bind it.
#ifndef POS_SDK_SERVICE_INETWORKMANAGER_H
#define POS_SDK_SERVICE_INETWORKMANAGER_H

#include "ServiceInterface.h"

namespace android {

class POS_API INetworkManager : public IInterface {
    POS_DECLARE_SERVICE_INTERFACE(NetworkManager)
};

class POS_API BpNetworkManager : public BpInterface<INetworkManager> {
  public:
    explicit BpNetworkManager(const sp<IBinder> &impl);
};

}  // namespace android

#endif
