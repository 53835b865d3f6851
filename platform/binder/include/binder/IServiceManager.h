// The service manager: the registry of services by name.
#ifndef ANDROID_BINDER_ISERVICEMANAGER_H
#define ANDROID_BINDER_ISERVICEMANAGER_H

#include <vector>

#include <binder/IInterface.h>

namespace android {

class IServiceManager : public IInterface {
  public:
    DECLARE_META_INTERFACE(ServiceManager)

    // The host service manager never waits for a missing service, so getService and
    // checkService are the same: null when nothing is registered under the name or the
    // registered service no longer answers.
    virtual sp<IBinder> getService(const String16 &name) const = 0;
    virtual sp<IBinder> checkService(const String16 &name) const = 0;
    // A local BBinder starts listening on its own socket in the binder directory and is
    // served once the thread pool runs; a name already taken is taken over.
    virtual status_t addService(const String16 &name, const sp<IBinder> &service,
                                bool allowIsolated = false) = 0;
    virtual std::vector<String16> listServices() = 0;

    enum {
        GET_SERVICE_TRANSACTION = IBinder::FIRST_CALL_TRANSACTION,
        CHECK_SERVICE_TRANSACTION,
        ADD_SERVICE_TRANSACTION,
        LIST_SERVICES_TRANSACTION,
    };
};

// The process's service manager: the one installed with setDefaultServiceManager(), else a
// proxy to the service-manager socket; null when there is no binder context (no socket, or
// nobody listening on it).
sp<IServiceManager> defaultServiceManager();
// Installs sm in place of the socket (tests use an in-process one); null goes back to the
// socket.
void setDefaultServiceManager(const sp<IServiceManager> &sm);

}  // namespace android

#endif
