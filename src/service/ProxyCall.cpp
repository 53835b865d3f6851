#include "ProxyCall.h"

#include <utils/Errors.h>
#include <utils/String8.h>

#include <cstdio>
#include <cstdlib>
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

void writeArg(android::Parcel &data, int value) {
    data.writeInt32(value);
}

void writeArg(android::Parcel &data, Text16 text) {
    if (text.text == nullptr) {
        data.writeString16(nullptr, 0);
        return;
    }
    data.writeString16(android::String16(text.text));
}

void writeArg(android::Parcel &data, CString text) {
    data.writeCString(text.text);  // null goes out as an empty string, keeping the request's shape
}

void writeArg(android::Parcel &data, Bytes bytes) {
    // Without bytes to send (a null buffer or a negative length) the length goes out as 0.
    int length = bytes.data != nullptr && bytes.length > 0 ? bytes.length : 0;
    data.writeInt32(length);
    data.write(bytes.data, static_cast<size_t>(length));
}

void writeRecord(android::Parcel &data, const void *record, size_t size) {
    void *place = data.writeInplace(size);
    if (place == nullptr) return;
    // A null record still goes out whole, as zeros, so the request keeps its size.
    if (record != nullptr) {
        memcpy(place, record, size);
    } else {
        memset(place, 0, size);
    }
}

void readOut(android::Parcel &reply, int *out) {
    int32_t value = reply.readInt32();
    // Output pointers are not checked by the service protocol; skipping a null one keeps a
    // careless caller from crashing while still consuming the field.
    if (out != nullptr) *out = value;
}

void readOut(android::Parcel &reply, CStringOut out) {
    x_readCStringFromParcel(reply, out.buffer);
}

void readOut(android::Parcel &reply, CStringCopy out) {
    const char *text = reply.readCString();
    if (out.buffer == nullptr) return;
    // An absent string is copied as an empty one rather than from a null pointer.
    strcpy(out.buffer, text != nullptr ? text : "");
}

void readRecord(android::Parcel &reply, void *record, size_t size) {
    const void *bytes = reply.readInplace(size);
    if (record == nullptr) return;
    // A record the reply does not hold whole reads as zeros.
    if (bytes != nullptr) {
        memcpy(record, bytes, size);
    } else {
        memset(record, 0, size);
    }
}

const char *keepReplyText(const android::String16 &text) {
    thread_local std::string lastReply;
    android::String8 text8(text);
    lastReply.assign(text8.string(), text8.size());
    return lastReply.c_str();
}

int Reply::statusAndRecords(smartlist_t *list, size_t size) {
    int result = mParcel.readInt32();
    if (result != 0 || list == nullptr) return result;
    int count = mParcel.readInt32();
    // A count the reply cannot hold stops at the reply's end rather than allocating without
    // bound; a last record cut short is appended zero-padded, as a short read leaves it.
    for (int i = 0; i < count && mParcel.dataAvail() > 0; ++i) {
        void *record = malloc(size);
        if (record == nullptr) break;
        size_t whole = mParcel.dataAvail() < size ? mParcel.dataAvail() : size;
        memset(record, 0, size);
        memcpy(record, mParcel.data() + mParcel.dataPosition(), whole);
        mParcel.setDataPosition(mParcel.dataPosition() + whole);
        // Records are padded to 4 bytes like any item; the padding past a short end is skipped.
        mParcel.setDataPosition(mParcel.dataPosition() + (4 - whole % 4) % 4);
        smartlist_add(list, record);
    }
    return result;
}

Reply::Reply(const android::sp<android::IBinder> &remote, uint32_t code,
             const android::Parcel &data, bool reportDeadObject) {
    // A proxy built around no binder at all is as good as one whose service died.
    android::status_t err =
        remote != nullptr ? remote->transact(code, data, &mParcel, 0) : android::DEAD_OBJECT;
    if (err == android::DEAD_OBJECT && reportDeadObject) printf("remote dead object !");
    (void)mParcel.readExceptionCode();
}

}  // namespace pos
