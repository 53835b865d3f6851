#include <utils/String16.h>
#include <utils/String8.h>

#include <string.h>

#include "Unicode.h"

namespace android {

// ---- String16

String16::String16() = default;
String16::String16(const String16 &o) = default;
String16::String16(String16 &&o) noexcept = default;
String16::~String16() = default;
String16 &String16::operator=(const String16 &o) = default;
String16 &String16::operator=(String16 &&o) noexcept = default;

// A null pointer gives the empty string rather than a crash.
String16::String16(const char *utf8) : mText(utf8 ? utf8ToUtf16(utf8, strlen(utf8)) : u"") {}

String16::String16(const char *utf8, size_t len) : mText(utf8 ? utf8ToUtf16(utf8, len) : u"") {}

String16::String16(const char16_t *str) : mText(str ? str : u"") {}

String16::String16(const char16_t *str, size_t len)
    : mText(str ? std::u16string(str, len) : std::u16string()) {}

String16::String16(const String8 &o) : mText(utf8ToUtf16(o.string(), o.size())) {}

String16 &String16::append(const String16 &o) {
    mText += o.mText;
    return *this;
}

bool String16::operator==(const char16_t *o) const {
    return o != nullptr && mText == o;
}

// ---- String8

String8::String8() = default;
String8::String8(const String8 &o) = default;
String8::String8(String8 &&o) noexcept = default;
String8::~String8() = default;
String8 &String8::operator=(const String8 &o) = default;
String8 &String8::operator=(String8 &&o) noexcept = default;

String8::String8(const char *str) : mText(str ? str : "") {}

String8::String8(const char *str, size_t len)
    : mText(str ? std::string(str, len) : std::string()) {}

String8::String8(const String16 &o) : mText(utf16ToUtf8(o.string(), o.size())) {}

String8::String8(const char16_t *str, size_t len)
    : mText(str ? utf16ToUtf8(str, len) : std::string()) {}

String8 &String8::append(const char *str) {
    if (str) mText += str;
    return *this;
}

bool String8::operator==(const char *o) const {
    return o != nullptr && mText == o;
}

}  // namespace android
