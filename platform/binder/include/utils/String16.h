// A UTF-16 string, the text type of binder interfaces (descriptors, service names).
#ifndef ANDROID_UTILS_STRING16_H
#define ANDROID_UTILS_STRING16_H

#include <stddef.h>

#include <string>

namespace android {

class String8;

class String16 {
  public:
    String16();
    String16(const String16 &o);
    String16(String16 &&o) noexcept;
    // Converts UTF-8; a byte that does not start a valid sequence becomes U+FFFD.
    String16(const char *utf8);
    String16(const char *utf8, size_t len);
    String16(const char16_t *str);
    String16(const char16_t *str, size_t len);
    explicit String16(const String8 &o);
    ~String16();

    String16 &operator=(const String16 &o);
    String16 &operator=(String16 &&o) noexcept;

    // Always NUL-terminated, never null.
    const char16_t *string() const { return mText.c_str(); }
    const char16_t *c_str() const { return mText.c_str(); }
    // Length in 16-bit code units, without the terminator.
    size_t size() const { return mText.size(); }
    bool empty() const { return mText.empty(); }

    String16 &append(const String16 &o);

    bool operator==(const String16 &o) const { return mText == o.mText; }
    bool operator!=(const String16 &o) const { return mText != o.mText; }
    bool operator<(const String16 &o) const { return mText < o.mText; }
    bool operator==(const char16_t *o) const;
    bool operator!=(const char16_t *o) const { return !(*this == o); }

    operator const char16_t *() const { return mText.c_str(); }

  private:
    std::u16string mText;
};

}  // namespace android

#endif
