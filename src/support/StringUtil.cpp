// Byte and text conversions, the shell-command runner and the smp_* string helpers.
#include "pos_sdk/util.h"

#include <cctype>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/time.h>

namespace {

// The hex digit a character stands for; any other character gives its low four bits,
// kept for compatibility with callers that rely on digits working that way.
unsigned char nibbleOf(unsigned char c) {
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return c & 0x0F;
}

uint32_t byteAt(const char *in, int i) {
    return static_cast<unsigned char>(in[i]);  // plain char may be signed
}

// Largest command execute_cmd accepts, with its terminator: the size of its copy buffer.
constexpr size_t kCommandBufferSize = 1024;
constexpr size_t kLineBufferSize = 1024;
// Reading stops once the captured text reaches this length.
constexpr size_t kOutputStopLength = 1025;

}  // namespace

extern "C" POS_API int ByteToStr(const unsigned char *in, int len, unsigned char *out) {
    static const char kDigits[] = "0123456789ABCDEF";
    // Nothing to convert for bad pointers or lengths; a length whose double overflows an
    // int cannot describe a real buffer either.
    if (in == nullptr || out == nullptr || len <= 0 || len > INT_MAX / 2) return 0;
    for (int i = 0; i < len; ++i) {
        out[2 * i] = kDigits[in[i] >> 4];
        out[2 * i + 1] = kDigits[in[i] & 0x0F];
    }
    return len * 2;
}

extern "C" POS_API int StrToByte(const unsigned char *in, int len, unsigned char *out) {
    // Bad pointers or fewer than two characters make no byte; a negative length counts as none.
    if (in == nullptr || out == nullptr || len < 2) return 0;
    int pairs = len / 2;  // an odd last character is ignored
    for (int i = 0; i < pairs; ++i) {
        out[i] = static_cast<unsigned char>(nibbleOf(in[2 * i]) << 4 | nibbleOf(in[2 * i + 1]));
    }
    return pairs;
}

extern "C" POS_API int Byte4ToIntBE(const char *in, int len, int *out) {
    if (in == nullptr || out == nullptr || len < 4) return 2;
    uint32_t v = byteAt(in, 0) << 24 | byteAt(in, 1) << 16 | byteAt(in, 2) << 8 | byteAt(in, 3);
    *out = static_cast<int>(v);
    return 0;
}

extern "C" POS_API int Byte4ToIntLE(const char *in, int len, int *out) {
    if (in == nullptr || out == nullptr || len < 4) return 2;
    uint32_t v = byteAt(in, 3) << 24 | byteAt(in, 2) << 16 | byteAt(in, 1) << 8 | byteAt(in, 0);
    *out = static_cast<int>(v);
    return 0;
}

extern "C" POS_API int Byte2ToIntBE(const char *in, int len, int *out) {
    if (in == nullptr || out == nullptr || len < 2) return 2;
    *out = static_cast<int>(byteAt(in, 0) << 8 | byteAt(in, 1));
    return 0;
}

extern "C" POS_API int Byte2ToIntLE(const char *in, int len, int *out) {
    if (in == nullptr || out == nullptr || len < 2) return 2;
    *out = static_cast<int>(byteAt(in, 1) << 8 | byteAt(in, 0));
    return 0;
}

extern "C" POS_API int execute_cmd(const char *cmd, char *out) {
    if (cmd == nullptr || out == nullptr) return -1;
    // A command that does not fit the copy buffer is refused: copying it would overflow,
    // and running a cut-down command line could do something else entirely.
    char command[kCommandBufferSize];
    size_t cmdLen = strnlen(cmd, sizeof command);
    if (cmdLen >= sizeof command) return -1;
    memcpy(command, cmd, cmdLen + 1);

    FILE *fp = popen(command, "r");
    if (fp == nullptr) {
        printf("popen %s error\n", command);
        return -1;
    }
    // Appends with strcat onto whatever the caller put in OUT, as callers expect; the
    // length check before each read bounds OUT to 1024 characters plus one line.
    char line[kLineBufferSize];
    while (strlen(out) < kOutputStopLength && fgets(line, sizeof line, fp) != nullptr) {
        strcat(out, line);
    }
    pclose(fp);  // the command's exit status is not examined
    return 0;
}

extern "C" POS_API char *smp_strndup(const char *s, size_t n) {
    if (s == nullptr) return nullptr;
    size_t len = strnlen(s, n);
    char *copy = static_cast<char *>(malloc(len + 1));
    if (copy == nullptr) return nullptr;
    memcpy(copy, s, len);
    copy[len] = '\0';
    return copy;
}

extern "C" POS_API char *smp_strdup(const char *s) {
    return smp_strndup(s, SIZE_MAX);
}

extern "C" POS_API size_t smp_strlcpy(char *dst, const char *src, size_t size) {
    if (src == nullptr) {
        if (dst != nullptr && size > 0) dst[0] = '\0';
        return 0;
    }
    size_t srcLen = strlen(src);
    if (dst != nullptr && size > 0) {
        size_t n = srcLen < size - 1 ? srcLen : size - 1;
        memcpy(dst, src, n);
        dst[n] = '\0';
    }
    return srcLen;
}

extern "C" POS_API char *smp_strstrip(char *s) {
    if (s == nullptr) return nullptr;
    size_t start = 0;
    while (s[start] != '\0' && isspace(static_cast<unsigned char>(s[start]))) ++start;
    size_t end = start + strlen(s + start);
    while (end > start && isspace(static_cast<unsigned char>(s[end - 1]))) --end;
    memmove(s, s + start, end - start);
    s[end - start] = '\0';
    return s;
}

extern "C" POS_API int smp_vsnprintf(char *buf, size_t size, const char *fmt, va_list ap) {
    if (buf == nullptr || size == 0) return -1;
    if (fmt == nullptr) {
        buf[0] = '\0';
        return -1;
    }
    int n = vsnprintf(buf, size, fmt, ap);
    buf[size - 1] = '\0';  // terminated even if the C library left the text open
    if (n < 0) {
        buf[0] = '\0';
        return -1;
    }
    return static_cast<size_t>(n) < size ? n : -1;
}

extern "C" POS_API int smp_snprintf(char *buf, size_t size, const char *fmt, ...) {
    va_list ap;
    va_start(ap, fmt);
    int n = smp_vsnprintf(buf, size, fmt, ap);
    va_end(ap);
    return n;
}

extern "C" POS_API int smp_gettimeofday(struct timeval *tv) {
    if (tv == nullptr) return -1;
    return gettimeofday(tv, nullptr) == 0 ? 0 : -1;
}

extern "C" POS_API int smp_sunday_search(const unsigned char *text, int text_len,
                                         const unsigned char *pattern, int pattern_len) {
    if (text == nullptr || pattern == nullptr || text_len < 0 || pattern_len < 0) return -1;
    if (pattern_len == 0) return 0;
    if (pattern_len > text_len) return -1;

    // How far to move when the byte just past the window is c: line the last occurrence
    // of c in the pattern up with it, or jump past it if the pattern has no c.
    int64_t shift[256];
    for (int64_t &s : shift) s = pattern_len + 1;
    for (int i = 0; i < pattern_len; ++i) shift[pattern[i]] = pattern_len - i;

    const int64_t last = static_cast<int64_t>(text_len) - pattern_len;
    for (int64_t pos = 0; pos <= last;) {
        if (memcmp(text + pos, pattern, pattern_len) == 0) return static_cast<int>(pos);
        if (pos == last) break;  // no byte past the window to look at
        pos += shift[text[pos + pattern_len]];
    }
    return -1;
}
