// The one way a proxy operation talks to its service: write the interface token and the
// arguments, make one two-way transaction with flags 0, read the exception code, then read
// the reply in the shape the protocol gives it:
//
//   return pos::call(this, IPowerManager::SET_LCD_BRIGHTNESS, level).status();
//   return pos::call(this, IPowerManager::GET_BATTERY_INFO).status(first, second, third);
//   return pos::call(this, ISystemManager::GET_DEV_INFO, record).text();
//
// Arguments are written by their type, in order:
//   int (and enumerations)   writeInt32
//   pos::text16(s)           8-bit text as a String16 (null text: the null String16)
//   pos::cstring(s)          a C string
//   pos::bytes(p, n)         the length word n, then n raw bytes
//   pos::record(p)           the raw bytes of the fixed record *p (zeros for a null p)
// A bare char pointer does not compile: every protocol fixes which text form it uses.
//
// Outputs are read by their type, in order, after the status (status()) or after the text
// (text()); a reply that ends early reads as 0 and empty text:
//   int*                     readInt32 (a null pointer skips the value, the field is consumed)
//   pos::cstringOut(buf)     x_readCStringFromParcel (an absent string empties buf)
//   pos::cstringCopy(buf)    readCString copied into buf (an absent string empties buf)
//   pos::recordOut(p)        the raw bytes of *p
// A list of raw records (the Wi-Fi scan) is read by statusAndRecords(list, size).
//
// A dead service prints "remote dead object !" and the empty reply is read as usual; the
// proxies of a few services print nothing (specialise ReportsDeadObject in their unit).
// A protocol shape missing here is added here, once, not written out in a proxy.
#ifndef POS_SERVICE_PROXY_CALL_H
#define POS_SERVICE_PROXY_CALL_H

#include <binder/IBinder.h>
#include <binder/IInterface.h>
#include <binder/Parcel.h>
#include <utils/String16.h>

#include <cstdint>
#include <type_traits>

#include "pos_sdk/pos_export.h"
#include "pos_sdk/smartlist.h"

// Reads one C string from `reply` into `dst` (no length limit: the caller sizes `dst` for the
// service's answer). Returns `dst`, or null with `dst` emptied when the reply holds none.
POS_API char *x_readCStringFromParcel(android::Parcel &reply, char *dst);

namespace pos {

// Whether the proxy of interface I prints "remote dead object !" on a dead service.
template <typename I>
struct ReportsDeadObject : std::true_type {};

// Argument forms.
struct Text16 {
    const char *text;
};
struct CString {
    const char *text;
};
struct Bytes {
    const void *data;
    int length;
};
template <typename T>
struct Record {
    const T *record;
};
inline Text16 text16(const char *text) {
    return {text};
}
inline CString cstring(const char *text) {
    return {text};
}
inline Bytes bytes(const void *data, int length) {
    return {data, length};
}
template <typename T>
Record<T> record(const T *record) {
    return {record};
}

void writeArg(android::Parcel &data, int value);
void writeArg(android::Parcel &data, Text16 text);
void writeArg(android::Parcel &data, CString text);
void writeArg(android::Parcel &data, Bytes bytes);
void writeArg(android::Parcel &data, const char *text) = delete;  // say text16() or cstring()
void writeRecord(android::Parcel &data, const void *record, size_t size);
template <typename T>
void writeArg(android::Parcel &data, Record<T> r) {
    writeRecord(data, r.record, sizeof(T));
}

// Output forms.
struct CStringOut {
    char *buffer;
};
struct CStringCopy {
    char *buffer;
};
template <typename T>
struct RecordOut {
    T *record;
};
inline CStringOut cstringOut(char *buffer) {
    return {buffer};
}
inline CStringCopy cstringCopy(char *buffer) {
    return {buffer};
}
template <typename T>
RecordOut<T> recordOut(T *record) {
    return {record};
}

void readOut(android::Parcel &reply, int *out);
void readOut(android::Parcel &reply, CStringOut out);
void readOut(android::Parcel &reply, CStringCopy out);
void readRecord(android::Parcel &reply, void *record, size_t size);
template <typename T>
void readOut(android::Parcel &reply, RecordOut<T> out) {
    readRecord(reply, out.record, sizeof(T));
}

// Keeps `text` in the calling thread's reply buffer, so the returned pointer outlives the
// call that read it (until the thread's next text reply).
const char *keepReplyText(const android::String16 &text);

// The reply of one transaction, positioned after its exception code (read and ignored: it
// carries nothing the callers act on).
class Reply {
  public:
    Reply(const android::sp<android::IBinder> &remote, uint32_t code, const android::Parcel &data,
          bool reportDeadObject);

    // The status, then the outputs in order; the status is returned.
    template <typename... Out>
    int status(Out... outputs) {
        int result = mParcel.readInt32();
        (readOut(mParcel, outputs), ...);
        return result;
    }
    // A String16 converted to 8-bit text, then the outputs in order; the text is returned.
    template <typename... Out>
    const char *text(Out... outputs) {
        const char *result = keepReplyText(mParcel.readString16());
        (readOut(mParcel, outputs), ...);
        return result;
    }
    // Nothing after the exception code.
    void none() {}
    // The status, then, when it is 0, a count and that many raw records of SIZE bytes, each
    // copied into a malloc'ed block appended to LIST (which keeps what it held); the status
    // is returned.
    int statusAndRecords(smartlist_t *list, size_t size);

  private:
    android::Parcel mParcel;
};

// One transaction of the proxy `proxy` (a Bp class of interface I): the token of I, then
// `args` in order.
template <typename I, typename... Args>
Reply call(android::BpInterface<I> *proxy, uint32_t code, const Args &...args) {
    android::Parcel data;
    data.writeInterfaceToken(I::descriptor);
    (writeArg(data, args), ...);
    return Reply(android::IInterface::asBinder(proxy), code, data, ReportsDeadObject<I>::value);
}

}  // namespace pos

#endif
