// Expected request and reply bytes, written from the protocol tables and independent of
// Parcel: little-endian words, text as UTF-16 units or C strings, each item padded to 4 bytes.
#ifndef POS_TESTS_WIRE_BYTES_H
#define POS_TESTS_WIRE_BYTES_H

#include <cstdint>
#include <string>
#include <vector>

struct Bytes {
    std::vector<uint8_t> b;

    Bytes &i32(int32_t v) {
        for (int shift = 0; shift < 32; shift += 8) b.push_back(uint8_t(uint32_t(v) >> shift));
        return *this;
    }
    // Length in 16-bit units, the units, a 16-bit terminator, zero padding.
    Bytes &s16(const std::u16string &text) {
        i32(int32_t(text.size()));
        for (char16_t unit : text) {
            b.push_back(uint8_t(unit & 0xff));
            b.push_back(uint8_t(unit >> 8));
        }
        b.push_back(0);
        b.push_back(0);
        return pad();
    }
    // The bytes, a terminator, zero padding.
    Bytes &cstr(const std::string &text) {
        b.insert(b.end(), text.begin(), text.end());
        b.push_back(0);
        return pad();
    }
    // The bytes as they are, zero padding.
    Bytes &raw(const std::vector<uint8_t> &bytes) {
        b.insert(b.end(), bytes.begin(), bytes.end());
        return pad();
    }
    Bytes &append(const Bytes &other) {
        b.insert(b.end(), other.b.begin(), other.b.end());
        return *this;
    }

  private:
    Bytes &pad() {
        while (b.size() % 4 != 0) b.push_back(0);
        return *this;
    }
};

// The interface token: the strict-mode policy word the platform writes, then the descriptor.
inline Bytes token(const std::u16string &descriptor) {
    return Bytes().i32(0x00400000).s16(descriptor);
}

// ASCII text as UTF-16 units.
inline std::u16string u16(const std::string &ascii) {
    return std::u16string(ascii.begin(), ascii.end());
}

#endif
