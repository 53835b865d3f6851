// Per-process binder state; on the host, the pool of threads that serve incoming calls.
#ifndef ANDROID_BINDER_PROCESSSTATE_H
#define ANDROID_BINDER_PROCESSSTATE_H

#include <stddef.h>

#include <utils/Errors.h>
#include <utils/RefBase.h>

namespace android {

class ProcessState : public virtual RefBase {
  public:
    static sp<ProcessState> self();

    // Starts serving the services this process added, in the background. Each client
    // connection gets its own thread. Calling it again does nothing.
    void startThreadPool();
    // Accepted for compatibility; the host pool grows with the connections.
    status_t setThreadPoolMaxThreadCount(size_t maxThreads);
    void giveThreadPoolName();

  private:
    ProcessState();
    ~ProcessState() override;
};

}  // namespace android

#endif
