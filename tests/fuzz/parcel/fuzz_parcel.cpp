// The host Parcel's reads over arbitrary bytes. The first byte says how many of the bytes after
// it are a script of operations; the rest is the parcel. Every operation is checked against
// the promise a reader relies on: a read stays inside the parcel, and a read that fails
// leaves the position where it was.
#include <binder/Parcel.h>
#include <utils/String16.h>
#include <utils/String8.h>

#include <cstring>
#include <vector>

#include "FuzzCheck.h"

using android::NO_ERROR;
using android::Parcel;
using android::String16;
using android::String8;

namespace {

struct Bounds {
    const uint8_t *begin;
    const uint8_t *end;

    bool contains(const void *p, size_t len) const {
        auto *at = static_cast<const uint8_t *>(p);
        return at >= begin && at <= end && len <= size_t(end - at);
    }
};

Bounds boundsOf(const Parcel &p) {
    return {p.data(), p.data() + p.dataSize()};
}

void checkCString(const Parcel &p) {
    size_t before = p.dataPosition();
    const char *text = p.readCString();
    if (text == nullptr) {
        FUZZ_CHECK(p.dataPosition() == before);
        return;
    }
    FUZZ_CHECK(boundsOf(p).contains(text, strlen(text) + 1));
    FUZZ_CHECK(p.dataPosition() > before && p.dataPosition() <= p.dataSize());
}

void checkString16Inplace(const Parcel &p) {
    size_t len = 12345;
    const char16_t *units = p.readString16Inplace(&len);
    if (units == nullptr) {
        FUZZ_CHECK(len == 0);
        return;
    }
    FUZZ_CHECK(boundsOf(p).contains(units, (len + 1) * sizeof(char16_t)));
    FUZZ_CHECK(units[len] == u'\0');
}

// The proxies hand text on as UTF-8 and send caller text as UTF-16. Whatever arrives, the
// converted text is well formed, so converting it back and forth again changes nothing.
void checkConversions(const String16 &text) {
    String8 utf8(text);
    FUZZ_CHECK(String8(String16(utf8)) == utf8);
}

void checkString16(const Parcel &p) {
    checkConversions(p.readString16());
}

void checkUtf8(const Parcel &p) {
    auto *bytes = reinterpret_cast<const char *>(p.data());
    String16 text(bytes, p.dataSize());
    checkConversions(text);
    FUZZ_CHECK(String16(String8(text)) == text);
}

void checkString8(const Parcel &p) {
    size_t before = p.dataPosition();
    String8 text = p.readString8();
    if (text.isEmpty()) return;
    FUZZ_CHECK(p.dataPosition() > before && p.dataPosition() <= p.dataSize());
}

void checkRead(const Parcel &p, size_t len) {
    size_t before = p.dataPosition();
    std::vector<uint8_t> out(len + 1, 0xAA);
    if (p.read(out.data(), len) == NO_ERROR) {
        if (len == 0) return;
        FUZZ_CHECK(boundsOf(p).contains(p.data() + before, len));
        FUZZ_CHECK(memcmp(out.data(), p.data() + before, len) == 0);
    } else {
        FUZZ_CHECK(p.dataPosition() == before);
    }
    FUZZ_CHECK(out[len] == 0xAA);  // never a byte more than asked for
}

void checkInplace(const Parcel &p, size_t len) {
    size_t before = p.dataPosition();
    const void *item = p.readInplace(len);
    if (item == nullptr) {
        FUZZ_CHECK(p.dataPosition() == before);
        return;
    }
    FUZZ_CHECK(item == p.data() + before);
    FUZZ_CHECK(boundsOf(p).contains(item, len));
}

void checkInt32(const Parcel &p) {
    size_t before = p.dataPosition();
    int32_t value = 0;
    if (p.readInt32(&value) == NO_ERROR) {
        FUZZ_CHECK(p.dataPosition() == before + 4);
    } else {
        FUZZ_CHECK(p.dataPosition() == before);
    }
}

void checkInt64(const Parcel &p) {
    size_t before = p.dataPosition();
    int64_t value = 0;
    if (p.readInt64(&value) != NO_ERROR) FUZZ_CHECK(p.dataPosition() == before);
}

// Moves the position somewhere odd: near the start, near the end, past it, or far past it.
void setPosition(const Parcel &p, uint8_t arg) {
    size_t size = p.dataSize();
    switch (arg & 3) {
        case 0:
            p.setDataPosition(arg >> 2);
            break;
        case 1:
            p.setDataPosition(size >= (arg >> 2) ? size - (arg >> 2) : 0);
            break;
        case 2:
            p.setDataPosition(size + (arg >> 2));
            break;
        default:
            p.setDataPosition(SIZE_MAX - (arg >> 2));
            break;
    }
}

void runOperation(Parcel &p, uint8_t op) {
    uint8_t arg = op >> 4;
    switch (op & 0x0f) {
        case 0:
            checkInt32(p);
            break;
        case 1:
            checkInt64(p);
            break;
        case 2:
            checkCString(p);
            break;
        case 3:
            checkString16(p);
            break;
        case 4:
            checkString16Inplace(p);
            break;
        case 5:
            checkString8(p);
            break;
        case 6:
            checkRead(p, size_t(arg) * 3);
            break;
        case 7:
            checkInplace(p, size_t(arg) * 5);
            break;
        case 8: {
            bool inside = p.dataPosition() <= p.dataSize();
            (void)p.readExceptionCode();
            // A reply header's size word may not carry the position out of the parcel.
            if (inside) FUZZ_CHECK(p.dataPosition() <= p.dataSize());
            break;
        }
        case 9:
            (void)p.enforceInterface(String16("com.kivo.manager.ISystemManager"));
            break;
        case 10:
            setPosition(p, op);
            break;
        case 11:
            // Absurd lengths are refused without touching memory.
            FUZZ_CHECK(p.readInplace(SIZE_MAX - arg) == nullptr);
            FUZZ_CHECK(p.read(nullptr, SIZE_MAX - arg) != NO_ERROR);
            break;
        case 12:
            p.setDataSize(p.dataSize() > arg ? p.dataSize() - arg : 0);
            FUZZ_CHECK(p.dataPosition() <= p.dataSize());
            break;
        case 13:
            checkUtf8(p);
            break;
        default:
            (void)p.readUint32();
            (void)p.readUint64();
            break;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0) return 0;
    size_t scriptLen = data[0] < size - 1 ? data[0] : size - 1;
    const uint8_t *script = data + 1;
    const uint8_t *body = script + scriptLen;
    size_t bodyLen = size - 1 - scriptLen;

    Parcel p;
    p.setData(body, bodyLen);
    // With no script, read the parcel the way a proxy reads a reply.
    if (scriptLen == 0) {
        (void)p.readExceptionCode();
        checkString16(p);
        checkInt32(p);
        checkCString(p);
        return 0;
    }
    for (size_t i = 0; i < scriptLen; ++i) runOperation(p, script[i]);
    return 0;
}
