// An 8-bit (UTF-8) string.
#ifndef ANDROID_UTILS_STRING8_H
#define ANDROID_UTILS_STRING8_H

#include <stddef.h>

#include <string>

namespace android {

class String16;

class String8 {
  public:
    String8();
    String8(const String8 &o);
    String8(String8 &&o) noexcept;
    String8(const char *str);
    String8(const char *str, size_t len);
    // Converts UTF-16; an unpaired surrogate becomes U+FFFD.
    explicit String8(const String16 &o);
    String8(const char16_t *str, size_t len);
    ~String8();

    String8 &operator=(const String8 &o);
    String8 &operator=(String8 &&o) noexcept;

    // Always NUL-terminated, never null.
    const char *string() const { return mText.c_str(); }
    const char *c_str() const { return mText.c_str(); }
    size_t size() const { return mText.size(); }
    size_t length() const { return mText.size(); }
    size_t bytes() const { return mText.size(); }
    bool isEmpty() const { return mText.empty(); }

    String8 &append(const char *str);

    bool operator==(const String8 &o) const { return mText == o.mText; }
    bool operator!=(const String8 &o) const { return mText != o.mText; }
    bool operator<(const String8 &o) const { return mText < o.mText; }
    bool operator==(const char *o) const;
    bool operator!=(const char *o) const { return !(*this == o); }

    operator const char *() const { return mText.c_str(); }

  private:
    std::string mText;
};

}  // namespace android

#endif
