// What the system-information, upgrade and USB-serial units share: the requests they send
// the privileged local servers, and the small waits of their polling loops.
#ifndef POS_SDK_API_OS_REQUESTS_H
#define POS_SDK_API_OS_REQUESTS_H

#include <time.h>
#include <unistd.h>

#include <cstdint>

#include "pos_sdk/pkg.h"

namespace osreq {

// A shell command line run with root rights by the init command server. Its text answer is
// only logged: the result is 0 once any answer arrives.
inline int runPrivileged(const char *command) {
    return PkgAppManagementCmd(PKG_SERVER_INITCMD, 5, PKG_CMD_SHELL, command);
}

// Another request to the init command server, waiting for its answer without a limit.
inline int initCommand(int code, const char *text) {
    return PkgAppManagementCmd(PKG_SERVER_INITCMD, 0, code, text);
}

inline void sleepMs(int ms) {
    usleep(static_cast<useconds_t>(ms) * 1000);
}

// Milliseconds of a clock that setting the terminal's time does not move, so that a wait
// is neither stretched nor cut short by a clock change.
inline int64_t tickMs() {
    timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return int64_t(ts.tv_sec) * 1000 + ts.tv_nsec / 1000000;
}

}  // namespace osreq

#endif
