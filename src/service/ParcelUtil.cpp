#include "ParcelUtil.h"

#include <utils/Errors.h>
#include <utils/String8.h>

#include <cstdio>
#include <cstring>
#include <string>

char *x_readCStringFromParcel(android::Parcel &reply, char *dst) {
    const char *text = reply.readCString();
    if (dst == nullptr) return nullptr;  // nowhere to copy to: the field is consumed all the same
    if (text == nullptr) {
        dst[0] = '\0';
        return nullptr;
    }
    strcpy(dst, text);
    return dst;
}

namespace pos {

void sendRequest(android::IBinder *remote, uint32_t code, const android::Parcel &data,
                 android::Parcel &reply) {
    // A proxy built around no binder at all is as good as one whose service died.
    android::status_t err =
        remote != nullptr ? remote->transact(code, data, &reply, 0) : android::DEAD_OBJECT;
    if (err == android::DEAD_OBJECT) {
        printf("remote dead object !");
    }
    // The exception code is part of every reply but carries nothing the callers act on.
    (void)reply.readExceptionCode();
}

const char *keepReplyText(const android::String16 &text) {
    thread_local std::string lastReply;
    android::String8 text8(text);
    lastReply.assign(text8.string(), text8.size());
    return lastReply.c_str();
}

void writeText16(android::Parcel &data, const char *text) {
    if (text == nullptr) {
        data.writeString16(nullptr, 0);
        return;
    }
    data.writeString16(android::String16(text));
}

void readIntOutput(android::Parcel &reply, int *out) {
    int32_t value = reply.readInt32();
    // Output pointers are not checked by the service protocol; skipping a null one keeps a
    // careless caller from crashing while still consuming the field.
    if (out != nullptr) *out = value;
}

}  // namespace pos
