// Hexadecimal and number text from outside: StrToByte, ByteToStr, the Byte*ToInt readers and
// SQL_AddStrDec. Every buffer is exactly as large as the call may use, so a byte written or
// read beyond it is caught, and the results are compared with straightforward references.
#include <pos_sdk/sql.h>
#include <pos_sdk/util.h>

#include <climits>
#include <cstring>
#include <vector>

#include "FuzzCheck.h"

namespace {

int hexValue(unsigned char c) {
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return c & 0x0F;  // anything else contributes its low four bits
}

void checkStrToByte(const std::vector<unsigned char> &text) {
    int len = int(text.size());
    std::vector<unsigned char> out(text.size() / 2 + 1, 0xA5);
    int made = StrToByte(text.data(), len, out.data());
    FUZZ_CHECK(made == (len >= 2 ? len / 2 : 0));
    for (int i = 0; i < made; ++i) {
        FUZZ_CHECK(out[i] == (hexValue(text[2 * i]) << 4 | hexValue(text[2 * i + 1])));
    }
    FUZZ_CHECK(out[made] == 0xA5);  // nothing past the last pair
}

void checkHexRoundTrip(const std::vector<unsigned char> &bytes) {
    int len = int(bytes.size());
    std::vector<unsigned char> hex(bytes.size() * 2 + 1, 0);
    int written = ByteToStr(bytes.data(), len, hex.data());
    FUZZ_CHECK(written == 2 * len);
    for (int i = 0; i < written; ++i) {
        bool upperHex = (hex[i] >= '0' && hex[i] <= '9') || (hex[i] >= 'A' && hex[i] <= 'F');
        FUZZ_CHECK(upperHex);
    }
    FUZZ_CHECK(hex[written] == 0);  // no terminator is written
    if (len == 0) return;
    std::vector<unsigned char> back(bytes.size());
    FUZZ_CHECK(StrToByte(hex.data(), written, back.data()) == len);
    FUZZ_CHECK(back == bytes);
}

void checkIntReaders(const std::vector<unsigned char> &bytes) {
    auto *in = reinterpret_cast<const char *>(bytes.data());
    int len = int(bytes.size());
    const int kUntouched = 0x5A5A5A5A;
    int be = kUntouched, le = kUntouched;
    int rcBe = Byte4ToIntBE(in, len, &be);
    int rcLe = Byte4ToIntLE(in, len, &le);
    if (len < 4) {
        FUZZ_CHECK(rcBe == 2 && rcLe == 2 && be == kUntouched && le == kUntouched);
    } else {
        FUZZ_CHECK(rcBe == 0 && rcLe == 0);
        uint32_t expectBe = uint32_t(bytes[0]) << 24 | uint32_t(bytes[1]) << 16 |
                            uint32_t(bytes[2]) << 8 | bytes[3];
        uint32_t expectLe = uint32_t(bytes[3]) << 24 | uint32_t(bytes[2]) << 16 |
                            uint32_t(bytes[1]) << 8 | bytes[0];
        FUZZ_CHECK(uint32_t(be) == expectBe && uint32_t(le) == expectLe);
    }
    int be2 = kUntouched, le2 = kUntouched;
    int rcBe2 = Byte2ToIntBE(in, len, &be2);
    int rcLe2 = Byte2ToIntLE(in, len, &le2);
    if (len < 2) {
        FUZZ_CHECK(rcBe2 == 2 && rcLe2 == 2 && be2 == kUntouched && le2 == kUntouched);
    } else {
        FUZZ_CHECK(rcBe2 == 0 && rcLe2 == 0);
        FUZZ_CHECK(be2 == (bytes[0] << 8 | bytes[1]) && le2 == (bytes[1] << 8 | bytes[0]));
    }
}

bool allDigits(const char *s, size_t n) {
    for (size_t i = 0; i < n; ++i) {
        if (s[i] < '0' || s[i] > '9') return false;
    }
    return true;
}

// Any text converts without trouble; plain decimals of up to nine digits read as themselves,
// and behind a first character above '9' as their negative.
void checkAddStrDec(const std::vector<unsigned char> &bytes) {
    std::vector<char> text(bytes.begin(), bytes.end());
    text.push_back('\0');
    int value = SQL_AddStrDec(text.data());
    size_t len = strlen(text.data());
    if (len == 0) {
        FUZZ_CHECK(value == 0);
    } else if (len <= 9 && allDigits(text.data(), len)) {
        FUZZ_CHECK(value == int(strtol(text.data(), nullptr, 10)));
    } else if (len >= 2 && len <= 10 && uint8_t(text[0]) > '9' &&
               allDigits(text.data() + 1, len - 1)) {
        FUZZ_CHECK(value == -int(strtol(text.data() + 1, nullptr, 10)));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size > INT_MAX / 2) return 0;
    std::vector<unsigned char> bytes(data, data + size);
    checkStrToByte(bytes);
    checkHexRoundTrip(bytes);
    checkIntReaders(bytes);
    checkAddStrDec(bytes);
    return 0;
}
