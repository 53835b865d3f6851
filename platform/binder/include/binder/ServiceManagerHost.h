// Host-only helpers: where the binder sockets live, the service manager itself, and waits for
// start-up. Not part of the device's libbinder; only host programs and tests use them.
#ifndef ANDROID_BINDER_SERVICEMANAGERHOST_H
#define ANDROID_BINDER_SERVICEMANAGERHOST_H

#include <string>

#include <binder/IServiceManager.h>

namespace android {

// The directory of the service-manager socket and of the services' sockets: the environment
// variable POS_BINDER_DIR when set, else "/tmp/.binder".
std::string binderDirectory();
// binderDirectory() + "/servicemanager".
std::string serviceManagerSocketPath();

// Runs the service manager on socketPath (null: serviceManagerSocketPath()), creating the
// directory when missing. Blocks serving; returns only when it cannot listen.
status_t runServiceManager(const char *socketPath);
// Same, but returns once the socket listens and serves on a background thread.
status_t startServiceManager(const char *socketPath);

// Waits until a service manager answers (true) or timeoutMs passes (false).
bool waitForServiceManager(int timeoutMs);
// Waits until name is registered and answers; null after timeoutMs.
sp<IBinder> waitForService(const String16 &name, int timeoutMs);

// A service manager that lives in this process (no sockets): for setDefaultServiceManager()
// in tests. getService returns exactly the binder that was added.
sp<IServiceManager> createInProcessServiceManager();

}  // namespace android

#endif
