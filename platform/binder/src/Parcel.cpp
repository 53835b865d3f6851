#include <binder/Parcel.h>

#include <stdlib.h>
#include <string.h>

#include <string>

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__,
              "parcel words are little-endian; a big-endian host needs byte swapping here");

namespace android {

namespace {

// Written first in every interface token: STRICT_MODE_PENALTY_GATHER with no policy bits,
// as the device writes it.
constexpr int32_t kStrictModePolicyWord = 0x00400000;

// The length word of the null String16.
constexpr int32_t kNullString16 = -1;

// The exception code a reply gives when a strict-mode header follows it.
constexpr int32_t kExHasReplyHeader = -128;

// The device refuses any single item or parcel above this size; so do we.
constexpr size_t kMaxParcelBytes = 0x7fffffff;

// Items are padded to 4 bytes. Callers keep len <= kMaxParcelBytes, so this cannot overflow.
size_t padSize(size_t len) {
    return (len + 3) & ~size_t(3);
}

}  // namespace

Parcel::Parcel() : mData(nullptr), mDataSize(0), mDataCapacity(0), mDataPos(0) {}

Parcel::~Parcel() {
    free(mData);
}

size_t Parcel::dataAvail() const {
    return mDataPos < mDataSize ? mDataSize - mDataPos : 0;
}

status_t Parcel::growTo(size_t capacity) {
    if (capacity <= mDataCapacity) return OK;
    if (capacity > kMaxParcelBytes) return NO_MEMORY;
    size_t grown = mDataCapacity < kMaxParcelBytes / 2 ? mDataCapacity * 2 : kMaxParcelBytes;
    size_t newCapacity = capacity > grown ? capacity : grown;
    if (newCapacity < 64) newCapacity = 64;
    uint8_t *data = static_cast<uint8_t *>(realloc(mData, newCapacity));
    if (data == nullptr) return NO_MEMORY;
    mData = data;
    mDataCapacity = newCapacity;
    return OK;
}

status_t Parcel::setDataSize(size_t size) {
    status_t err = growTo(size);
    if (err != OK) return err;
    if (size > mDataSize) memset(mData + mDataSize, 0, size - mDataSize);
    mDataSize = size;
    if (mDataPos > size) mDataPos = size;
    return OK;
}

status_t Parcel::setDataCapacity(size_t size) {
    return growTo(size);
}

status_t Parcel::setData(const uint8_t *buffer, size_t len) {
    if (buffer == nullptr && len > 0) return BAD_VALUE;
    status_t err = growTo(len);
    if (err != OK) return err;
    if (len > 0) memcpy(mData, buffer, len);
    mDataSize = len;
    mDataPos = 0;
    return OK;
}

void Parcel::freeData() {
    free(mData);
    mData = nullptr;
    mDataSize = mDataCapacity = mDataPos = 0;
}

// ---- writing

void *Parcel::writeInplace(size_t len) {
    if (len > kMaxParcelBytes) return nullptr;
    size_t padded = padSize(len);
    if (mDataPos > kMaxParcelBytes - padded) return nullptr;
    size_t end = mDataPos + padded;
    if (growTo(end) != OK) return nullptr;
    // A position set beyond the end leaves a gap; fill it rather than send stale bytes.
    if (mDataPos > mDataSize) memset(mData + mDataSize, 0, mDataPos - mDataSize);
    uint8_t *item = mData + mDataPos;
    if (padded > len) memset(item + len, 0, padded - len);
    mDataPos = end;
    if (end > mDataSize) mDataSize = end;
    return item;
}

template <typename T>
status_t Parcel::writeAligned(T val) {
    void *item = writeInplace(sizeof(T));
    if (item == nullptr) return NO_MEMORY;
    memcpy(item, &val, sizeof(T));
    return OK;
}

status_t Parcel::writeInt32(int32_t val) {
    return writeAligned(val);
}
status_t Parcel::writeUint32(uint32_t val) {
    return writeAligned(val);
}
status_t Parcel::writeInt64(int64_t val) {
    return writeAligned(val);
}
status_t Parcel::writeUint64(uint64_t val) {
    return writeAligned(val);
}
status_t Parcel::writeNoException() {
    return writeInt32(0);
}

status_t Parcel::write(const void *data, size_t len) {
    if (data == nullptr && len > 0) return BAD_VALUE;
    void *item = writeInplace(len);
    if (item == nullptr) return NO_MEMORY;
    if (len > 0) memcpy(item, data, len);
    return OK;
}

status_t Parcel::writeCString(const char *str) {
    if (str == nullptr) {
        write("", 1);
        return BAD_VALUE;
    }
    return write(str, strlen(str) + 1);
}

status_t Parcel::writeString8(const String8 &str) {
    if (str.size() >= kMaxParcelBytes) return BAD_VALUE;
    status_t err = writeInt32(static_cast<int32_t>(str.size()));
    if (err != OK) return err;
    return write(str.string(), str.size() + 1);
}

status_t Parcel::writeString16(const String16 &str) {
    return writeString16(str.string(), str.size());
}

status_t Parcel::writeString16(const char16_t *str, size_t len) {
    if (str == nullptr) return writeInt32(-1);
    if (len >= kMaxParcelBytes / sizeof(char16_t)) return BAD_VALUE;
    status_t err = writeInt32(static_cast<int32_t>(len));
    if (err != OK) return err;
    size_t bytes = len * sizeof(char16_t);
    uint8_t *item = static_cast<uint8_t *>(writeInplace(bytes + sizeof(char16_t)));
    if (item == nullptr) return NO_MEMORY;
    if (bytes > 0) memcpy(item, str, bytes);
    memset(item + bytes, 0, sizeof(char16_t));
    return OK;
}

status_t Parcel::writeInterfaceToken(const String16 &interface) {
    status_t err = writeInt32(kStrictModePolicyWord);
    if (err != OK) return err;
    return writeString16(interface);
}

// ---- reading

template <typename T>
status_t Parcel::readAligned(T *pArg) const {
    if (dataAvail() < sizeof(T)) return NOT_ENOUGH_DATA;
    memcpy(pArg, mData + mDataPos, sizeof(T));
    mDataPos += sizeof(T);
    return OK;
}

status_t Parcel::readInt32(int32_t *pArg) const {
    return readAligned(pArg);
}
status_t Parcel::readUint32(uint32_t *pArg) const {
    return readAligned(pArg);
}
status_t Parcel::readInt64(int64_t *pArg) const {
    return readAligned(pArg);
}
status_t Parcel::readUint64(uint64_t *pArg) const {
    return readAligned(pArg);
}

int32_t Parcel::readInt32() const {
    int32_t v = 0;
    readAligned(&v);
    return v;
}

uint32_t Parcel::readUint32() const {
    uint32_t v = 0;
    readAligned(&v);
    return v;
}

int64_t Parcel::readInt64() const {
    int64_t v = 0;
    readAligned(&v);
    return v;
}

uint64_t Parcel::readUint64() const {
    uint64_t v = 0;
    readAligned(&v);
    return v;
}

int32_t Parcel::readExceptionCode() const {
    int32_t code = readInt32();
    if (code != kExHasReplyHeader) return code;
    // A Java service that gathered strict-mode violations puts a header before the reply;
    // its size word counts from itself. Native readers skip it and see no exception.
    size_t headerStart = mDataPos;
    int32_t headerSize = readInt32();
    if (headerSize < 0 || size_t(headerSize) > mDataSize - headerStart) {
        mDataPos = mDataSize;  // a header that does not fit leaves nothing to read
    } else {
        mDataPos = headerStart + size_t(headerSize);
    }
    return 0;
}

const void *Parcel::readInplace(size_t len) const {
    if (len > kMaxParcelBytes) return nullptr;
    size_t padded = padSize(len);
    // Past the end even zero bytes do not fit: the pointer would lie outside the buffer.
    if (mDataPos > mDataSize || dataAvail() < padded) return nullptr;
    const uint8_t *item = mData + mDataPos;
    mDataPos += padded;
    return item;
}

status_t Parcel::read(void *outData, size_t len) const {
    if (len > kMaxParcelBytes) return BAD_VALUE;
    if (len == 0) return OK;
    const void *item = readInplace(len);
    if (item == nullptr) return NOT_ENOUGH_DATA;
    memcpy(outData, item, len);
    return OK;
}

const char *Parcel::readCString() const {
    size_t avail = dataAvail();
    if (avail == 0) return nullptr;
    const char *str = reinterpret_cast<const char *>(mData + mDataPos);
    size_t len = strnlen(str, avail);
    if (len == avail) return nullptr;  // no terminator before the end
    // The padding of the last string may be missing; never step past the end.
    size_t step = padSize(len + 1);
    mDataPos += step < avail ? step : avail;
    return str;
}

String8 Parcel::readString8() const {
    size_t start = mDataPos;
    int32_t len = 0;
    if (readInt32(&len) == OK && len >= 0) {
        const char *str = static_cast<const char *>(readInplace(size_t(len) + 1));
        if (str != nullptr && str[len] == '\0') return String8(str, size_t(len));
    }
    mDataPos = start;
    return String8();
}

// Finds a well-formed String16 at the position and moves past it. False for the null string
// (length -1, which is consumed like any other value so the fields after it stay in step), and
// false with the position kept when the length is otherwise negative, larger than what
// remains, or the terminator is missing.
static bool locateString16(const Parcel &p, const uint8_t **units, size_t *len) {
    size_t start = p.dataPosition();
    int32_t declared = 0;
    if (p.readInt32(&declared) != OK) return false;  // nothing read, nothing moved
    if (declared == kNullString16) return false;
    if (declared >= 0 && declared < 0x7fffffff / 2) {
        size_t count = static_cast<size_t>(declared);
        const uint8_t *item =
            static_cast<const uint8_t *>(p.readInplace((count + 1) * sizeof(char16_t)));
        if (item != nullptr) {
            char16_t terminator;
            memcpy(&terminator, item + count * sizeof(char16_t), sizeof terminator);
            if (terminator == 0) {
                *units = item;
                *len = count;
                return true;
            }
        }
    }
    p.setDataPosition(start);
    return false;
}

String16 Parcel::readString16() const {
    const uint8_t *units = nullptr;
    size_t len = 0;
    if (!locateString16(*this, &units, &len)) return String16();
    // Copied unit by unit: the position, and so the units, need not be 2-byte aligned.
    std::u16string text(len, u'\0');
    if (len > 0) memcpy(&text[0], units, len * sizeof(char16_t));
    return String16(text.data(), text.size());
}

const char16_t *Parcel::readString16Inplace(size_t *outLen) const {
    *outLen = 0;
    size_t start = mDataPos;
    const uint8_t *units = nullptr;
    size_t len = 0;
    if (!locateString16(*this, &units, &len)) return nullptr;
    if (reinterpret_cast<uintptr_t>(units) % alignof(char16_t) != 0) {
        mDataPos = start;  // only reachable after an odd setDataPosition()
        return nullptr;
    }
    *outLen = len;
    return reinterpret_cast<const char16_t *>(units);
}

bool Parcel::enforceInterface(const String16 &interface) const {
    readInt32();  // the caller's strict-mode policy; the host has none to apply
    return readString16() == interface;
}

}  // namespace android
