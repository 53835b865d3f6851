// The serving side of the host transport: the listening sockets of this process's services and
// the threads that accept connections and serve calls on them.
#ifndef POS_BINDER_SERVICEHOST_H
#define POS_BINDER_SERVICEHOST_H

#include <string>

#include <binder/Binder.h>
#include <binder/IServiceManager.h>

namespace android {
namespace host {

// Listens for binder on a new socket in the binder directory; the path goes to *socketPath.
status_t listenForService(const sp<BBinder> &binder, std::string *socketPath);
// Listens for binder on the given socket path.
status_t listenAt(const std::string &socketPath, const sp<BBinder> &binder);

// defaultServiceManager() without the one-line report of a missing one: for start-up waits.
sp<IServiceManager> serviceManagerWithoutReport();

// Starts accepting in the background (once per process).
void startServing();
// Accepts on the calling thread, or blocks for good if another thread already accepts.
[[noreturn]] void joinServing();

}  // namespace host
}  // namespace android

#endif
