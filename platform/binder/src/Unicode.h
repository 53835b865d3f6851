// UTF-8 <-> UTF-16 conversion for String8 and String16.
#ifndef POS_BINDER_UNICODE_H
#define POS_BINDER_UNICODE_H

#include <stddef.h>

#include <string>

namespace android {

// Malformed input (a bad lead byte, a missing or bad continuation byte, an overlong form, a
// surrogate or a value above U+10FFFF) becomes U+FFFD, one per offending byte, so any byte
// string converts without loss of the valid text around it.
std::u16string utf8ToUtf16(const char *src, size_t len);
// An unpaired surrogate becomes U+FFFD.
std::string utf16ToUtf8(const char16_t *src, size_t len);

}  // namespace android

#endif
