#include "Checks.h"

#include <cstdio>

namespace selftest {

bool Checks::check(const std::string &what, bool passed, const std::string &detail) {
    if (passed) {
        ++mPassed;
        printf("[ OK ] %s\n", what.c_str());
    } else {
        ++mFailed;
        printf("[FAIL] %s%s%s\n", what.c_str(), detail.empty() ? "" : ": ", detail.c_str());
    }
    // The output is usually piped into a file next to the simulator's own logs; keep the
    // lines in order with whatever the library prints.
    fflush(stdout);
    return passed;
}

void Checks::unavailable(const std::string &section) {
    printf("== %s\n[ -- ] not available on this build\n", section.c_str());
    fflush(stdout);
}

void Checks::section(const std::string &title) {
    printf("== %s\n", title.c_str());
    fflush(stdout);
}

bool Checks::summary() const {
    printf("== summary: %d passed, %d failed\n", mPassed, mFailed);
    fflush(stdout);
    return mFailed == 0;
}

std::string hex(const unsigned char *data, int len) {
    static const char digits[] = "0123456789ABCDEF";
    std::string text;
    for (int i = 0; i < len; ++i) {
        text += digits[data[i] >> 4];
        text += digits[data[i] & 0x0f];
    }
    return text;
}

std::vector<unsigned char> bytes(const char *text) {
    auto digit = [](char c) { return c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10; };
    std::vector<unsigned char> out;
    for (size_t i = 0; text[i] != 0 && text[i + 1] != 0; i += 2) {
        out.push_back(static_cast<unsigned char>(digit(text[i]) << 4 | digit(text[i + 1])));
    }
    return out;
}

std::string got(long long value) {
    return "got " + std::to_string(value);
}

}  // namespace selftest
