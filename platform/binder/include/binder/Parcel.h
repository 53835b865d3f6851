// A Parcel is the byte container of one binder request or reply. Values are laid out exactly as
// on the device: 32-bit little-endian words, every item padded to a multiple of 4 bytes with
// zero bytes, text as C strings or as length-prefixed UTF-16.
//
// Reading never goes past the end: a read that does not fit yields 0, an empty string or null
// and leaves the position where it was; a declared length larger than what remains is refused
// without reading. Reads are const (only the read position moves), as a service receives its
// request as a const Parcel&.
#ifndef ANDROID_BINDER_PARCEL_H
#define ANDROID_BINDER_PARCEL_H

#include <stddef.h>
#include <stdint.h>

#include <utils/Errors.h>
#include <utils/String16.h>
#include <utils/String8.h>

namespace android {

class Parcel {
  public:
    Parcel();
    ~Parcel();

    const uint8_t *data() const { return mData; }
    size_t dataSize() const { return mDataSize; }
    size_t dataAvail() const;
    size_t dataPosition() const { return mDataPos; }
    size_t dataCapacity() const { return mDataCapacity; }

    // Any position may be set; reads beyond the end then simply fail.
    void setDataPosition(size_t pos) const { mDataPos = pos; }
    // Shrinks or zero-extends the contents; the buffer is kept for reuse.
    status_t setDataSize(size_t size);
    status_t setDataCapacity(size_t size);
    // Replaces the contents with a copy of buffer[0..len) and rewinds.
    status_t setData(const uint8_t *buffer, size_t len);
    // Releases the buffer: size, position and capacity become 0.
    void freeData();

    // The interface token: the strict-mode policy word, then the descriptor as a String16.
    // The policy word is 0x00400000 (the device's "penalty gather" bit with no policy set),
    // so a token reads the same as one captured on a terminal.
    status_t writeInterfaceToken(const String16 &interface);
    // Reads the token and checks the descriptor; the position moves past it either way.
    bool enforceInterface(const String16 &interface) const;

    status_t writeInt32(int32_t val);
    status_t writeUint32(uint32_t val);
    status_t writeInt64(int64_t val);
    status_t writeUint64(uint64_t val);
    // Bytes and terminator, padded. A null pointer writes an empty string and reports
    // BAD_VALUE, so the request keeps its shape.
    status_t writeCString(const char *str);
    // Length word, bytes and terminator, padded.
    status_t writeString8(const String8 &str);
    // Length word in 16-bit units, the units and a 16-bit terminator, padded.
    status_t writeString16(const String16 &str);
    // A null str writes the length -1 and nothing else (the null string).
    status_t writeString16(const char16_t *str, size_t len);
    // Raw bytes, padded with zeros.
    status_t write(const void *data, size_t len);
    // Room for len bytes (padding zeroed) at the position, or null when len is absurd.
    void *writeInplace(size_t len);
    // A reply that carries no exception: the exception code 0.
    status_t writeNoException();

    // The reply's exception code; a strict-mode reply header (code -128) is skipped and reads
    // as 0, as on the device.
    int32_t readExceptionCode() const;
    int32_t readInt32() const;
    status_t readInt32(int32_t *pArg) const;
    uint32_t readUint32() const;
    status_t readUint32(uint32_t *pArg) const;
    int64_t readInt64() const;
    status_t readInt64(int64_t *pArg) const;
    uint64_t readUint64() const;
    status_t readUint64(uint64_t *pArg) const;
    // Points into the parcel (valid until it is changed); null when no terminated string fits.
    const char *readCString() const;
    String8 readString8() const;
    // Empty for the null string (whose length word is consumed, as on the device) and for a
    // malformed one (position kept).
    String16 readString16() const;
    // Points into the parcel; null for the null string and a malformed one (then *outLen is 0).
    // The position moves as for readString16().
    const char16_t *readString16Inplace(size_t *outLen) const;
    // Copies len bytes and skips their padding; NOT_ENOUGH_DATA when they do not fit.
    status_t read(void *outData, size_t len) const;
    // Points at the next len bytes and skips them with their padding; null when they do not fit.
    const void *readInplace(size_t len) const;

  private:
    Parcel(const Parcel &) = delete;
    Parcel &operator=(const Parcel &) = delete;

    template <typename T>
    status_t writeAligned(T val);
    template <typename T>
    status_t readAligned(T *pArg) const;
    status_t growTo(size_t capacity);

    uint8_t *mData;
    size_t mDataSize;
    size_t mDataCapacity;
    mutable size_t mDataPos;
};

}  // namespace android

#endif
