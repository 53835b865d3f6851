// Helpers shared by the cryptography tests: hex text, seeded random bytes, and a capture of
// everything the logger sends to the platform log.
#ifndef POS_TESTS_CRYPTO_TEST_UTIL_H
#define POS_TESTS_CRYPTO_TEST_UTIL_H

#include <cstdarg>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

using Bytes = std::vector<unsigned char>;

inline Bytes fromHex(const std::string &hex) {
    Bytes out;
    for (size_t i = 0; i + 1 < hex.size(); i += 2) {
        out.push_back(static_cast<unsigned char>(std::stoi(hex.substr(i, 2), nullptr, 16)));
    }
    return out;
}

inline std::string toHex(const unsigned char *p, size_t n) {
    static const char digits[] = "0123456789abcdef";
    std::string s;
    for (size_t i = 0; i < n; ++i) {
        s += digits[p[i] >> 4];
        s += digits[p[i] & 15];
    }
    return s;
}
inline std::string toHex(const Bytes &b) {
    return toHex(b.data(), b.size());
}

// Deterministic so a failure reproduces.
inline std::mt19937 &rng() {
    static std::mt19937 gen(20240131);
    return gen;
}

inline Bytes randomBytes(size_t n) {
    Bytes b(n);
    for (auto &x : b) x = static_cast<unsigned char>(rng()());
    return b;
}

// Every message logged through the platform sink since the last clear. The sink below
// replaces the platform log, so include this header in one source file per test binary.
inline std::vector<std::string> &loggedMessages() {
    static std::vector<std::string> messages;
    return messages;
}

extern "C" int __android_log_vprint(int, const char *, const char *fmt, va_list ap) {
    char text[1024];
    vsnprintf(text, sizeof text, fmt, ap);
    loggedMessages().push_back(text);
    return 0;
}

#endif
