// Helpers shared by the service proxies: sending one request and reading reply fields.
#ifndef POS_SERVICE_PARCEL_UTIL_H
#define POS_SERVICE_PARCEL_UTIL_H

#include <binder/IBinder.h>
#include <binder/Parcel.h>
#include <utils/String16.h>

#include <cstdint>

#include "pos_sdk/pos_export.h"

// Reads one C string from `reply` into `dst` (no length limit: the caller sizes `dst` for the
// service's answer). Returns `dst`, or null with `dst` emptied when the reply holds none.
POS_API char *x_readCStringFromParcel(android::Parcel &reply, char *dst);

namespace pos {

// Performs one two-way transaction and leaves `reply` positioned after its exception code.
// A dead service is reported on standard output and the (empty) reply is read as usual.
void sendRequest(android::IBinder *remote, uint32_t code, const android::Parcel &data,
                 android::Parcel &reply);

// Keeps `text` in the calling thread's reply buffer, so the returned pointer outlives the
// call that read it (until the thread's next text reply).
const char *keepReplyText(const android::String16 &text);

// Writes 8-bit text as a String16 field; null text goes out as a null String16.
void writeText16(android::Parcel &data, const char *text);

// Reads one int32 output field into `out` when the caller gave somewhere to put it.
void readIntOutput(android::Parcel &reply, int *out);

}  // namespace pos

#endif
