// Status codes of the platform's IPC and utility libraries. The negative errno values are the
// ones the device's libraries return, so a status read from a reply compares the same.
#ifndef ANDROID_UTILS_ERRORS_H
#define ANDROID_UTILS_ERRORS_H

#include <stdint.h>

namespace android {

typedef int32_t status_t;

enum {
    OK = 0,
    NO_ERROR = OK,
    UNKNOWN_ERROR = (-2147483647 - 1),

    NO_MEMORY = -12,          // -ENOMEM
    INVALID_OPERATION = -38,  // -ENOSYS
    BAD_VALUE = -22,          // -EINVAL
    BAD_TYPE = (UNKNOWN_ERROR + 1),
    NAME_NOT_FOUND = -2,     // -ENOENT
    PERMISSION_DENIED = -1,  // -EPERM
    NO_INIT = -19,           // -ENODEV
    ALREADY_EXISTS = -17,    // -EEXIST
    DEAD_OBJECT = -32,       // -EPIPE
    FAILED_TRANSACTION = (UNKNOWN_ERROR + 2),
    BAD_INDEX = -75,            // -EOVERFLOW
    NOT_ENOUGH_DATA = -61,      // -ENODATA
    WOULD_BLOCK = -11,          // -EWOULDBLOCK
    TIMED_OUT = -110,           // -ETIMEDOUT
    UNKNOWN_TRANSACTION = -74,  // -EBADMSG
};

}  // namespace android

#endif
