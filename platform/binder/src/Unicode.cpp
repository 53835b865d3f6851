#include "Unicode.h"

#include <stdint.h>

namespace android {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool isContinuation(unsigned char c) {
    return (c & 0xC0) == 0x80;
}

// Decodes one UTF-8 sequence at src[i]; returns the code point and advances i. A malformed
// sequence yields U+FFFD and consumes only its first byte.
char32_t decodeUtf8(const unsigned char *src, size_t len, size_t &i) {
    unsigned char lead = src[i];
    size_t extra;
    char32_t cp;
    char32_t min;
    if (lead < 0x80) {
        ++i;
        return lead;
    } else if ((lead & 0xE0) == 0xC0) {
        extra = 1, cp = lead & 0x1F, min = 0x80;
    } else if ((lead & 0xF0) == 0xE0) {
        extra = 2, cp = lead & 0x0F, min = 0x800;
    } else if ((lead & 0xF8) == 0xF0) {
        extra = 3, cp = lead & 0x07, min = 0x10000;
    } else {
        ++i;
        return kReplacement;
    }
    if (len - i <= extra) {
        ++i;
        return kReplacement;
    }
    for (size_t k = 1; k <= extra; ++k) {
        if (!isContinuation(src[i + k])) {
            ++i;
            return kReplacement;
        }
        cp = (cp << 6) | (src[i + k] & 0x3F);
    }
    if (cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
        ++i;
        return kReplacement;
    }
    i += extra + 1;
    return cp;
}

void appendUtf8(std::string &out, char32_t cp) {
    if (cp < 0x80) {
        out.push_back(static_cast<char>(cp));
    } else if (cp < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else if (cp < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    }
}

bool isHighSurrogate(char16_t u) {
    return u >= 0xD800 && u <= 0xDBFF;
}
bool isLowSurrogate(char16_t u) {
    return u >= 0xDC00 && u <= 0xDFFF;
}

}  // namespace

std::u16string utf8ToUtf16(const char *src, size_t len) {
    std::u16string out;
    out.reserve(len);
    const unsigned char *bytes = reinterpret_cast<const unsigned char *>(src);
    size_t i = 0;
    while (i < len) {
        char32_t cp = decodeUtf8(bytes, len, i);
        if (cp < 0x10000) {
            out.push_back(static_cast<char16_t>(cp));
        } else {
            cp -= 0x10000;
            out.push_back(static_cast<char16_t>(0xD800 + (cp >> 10)));
            out.push_back(static_cast<char16_t>(0xDC00 + (cp & 0x3FF)));
        }
    }
    return out;
}

std::string utf16ToUtf8(const char16_t *src, size_t len) {
    std::string out;
    out.reserve(len);
    for (size_t i = 0; i < len; ++i) {
        char16_t u = src[i];
        if (isHighSurrogate(u) && i + 1 < len && isLowSurrogate(src[i + 1])) {
            char32_t cp =
                0x10000 + ((char32_t(u) - 0xD800) << 10) + (char32_t(src[i + 1]) - 0xDC00);
            appendUtf8(out, cp);
            ++i;
        } else if (isHighSurrogate(u) || isLowSurrogate(u)) {
            appendUtf8(out, kReplacement);
        } else {
            appendUtf8(out, u);
        }
    }
    return out;
}

}  // namespace android
