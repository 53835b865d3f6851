// Per-thread binder state.
#ifndef ANDROID_BINDER_IPCTHREADSTATE_H
#define ANDROID_BINDER_IPCTHREADSTATE_H

#include <sys/types.h>

#include <utils/Errors.h>

namespace android {

class IPCThreadState {
  public:
    static IPCThreadState *self();

    // Serves incoming calls on the calling thread; does not return.
    void joinThreadPool(bool isMain = true);
    // Nothing is ever queued on the host; kept for the interface.
    void flushCommands();

    // The process that sent the call being served (this process outside a call).
    pid_t getCallingPid() const { return mCallingPid; }
    uid_t getCallingUid() const { return mCallingUid; }

    // Used by the host transport while it serves a call.
    void setCallingIdentity(pid_t pid, uid_t uid) {
        mCallingPid = pid;
        mCallingUid = uid;
    }

  private:
    IPCThreadState();

    pid_t mCallingPid;
    uid_t mCallingUid;
};

}  // namespace android

#endif
