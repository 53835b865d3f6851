// The exported bit-per-byte DES routines and the key schedule K. Every array here holds one
// bit per byte (0 or 1); the routines are the building blocks of a textbook DES and are kept
// for applications that call them directly. DES itself runs on the word engine in Des.cpp.
#include <cstring>

#include "crypto/DesTables.h"
#include "pos_sdk/crypto.h"

using namespace pos::des;

namespace {

// Gathers out[k] = in[table[k] - 1] for a 1-based permutation table.
void select(const unsigned char *in, const uint32_t *table, int count, unsigned char *out) {
    for (int k = 0; k < count; ++k) out[k] = in[table[k] - 1];
}

}  // namespace

extern "C" {

POS_API unsigned char K[17][48];

POS_API void expand0(const unsigned char *in, unsigned char *out) {
    if (in == nullptr || out == nullptr) return;
    for (int i = 0; i < 8; ++i) {
        for (int j = 0; j < 8; ++j) out[8 * i + j] = (in[i] >> (7 - j)) & 1;
    }
}

POS_API void compress0(const unsigned char *in, unsigned char *out) {
    if (in == nullptr || out == nullptr) return;
    for (int i = 0; i < 8; ++i) {
        unsigned value = 0;
        for (int j = 0; j < 8; ++j) value = (value << 1) | (in[8 * i + j] & 1);
        out[i] = static_cast<unsigned char>(value);
    }
}

POS_API void compress016(const unsigned char *in, char *out) {
    if (in == nullptr || out == nullptr) return;
    for (int i = 0; i < 16; ++i) {
        const unsigned char *b = in + 4 * i;
        // '0' + value, so 10-15 read ':' to '?'; kept for compatibility with existing callers.
        out[i] =
            static_cast<char>('0' + 8 * (b[0] & 1) + 4 * (b[1] & 1) + 2 * (b[2] & 1) + (b[3] & 1));
    }
}

POS_API void LS(const unsigned char *in, unsigned char *out, int count) {
    if (in == nullptr || out == nullptr) return;
    int shift = count % 28;
    if (shift < 0) shift += 28;
    unsigned char rotated[28];
    for (int i = 0; i < 28; ++i) rotated[i] = in[(i + shift) % 28];
    std::memcpy(out, rotated, sizeof rotated);
}

POS_API void son(const unsigned char *c, const unsigned char *d, unsigned char *roundKey) {
    if (c == nullptr || d == nullptr || roundKey == nullptr) return;
    unsigned char cd[56];
    std::memcpy(cd, c, 28);
    std::memcpy(cd + 28, d, 28);
    select(cd, kPermChoice2, 48, roundKey);
}

POS_API void setkeystar(const unsigned char *keyBits) {
    if (keyBits == nullptr) return;
    unsigned char c[28], d[28];
    select(keyBits, kPermChoice1C, 28, c);
    select(keyBits, kPermChoice1D, 28, d);
    for (int round = 1; round <= 16; ++round) {
        LS(c, c, int(kShifts[round - 1]));
        LS(d, d, int(kShifts[round - 1]));
        son(c, d, K[round]);
    }
}

POS_API void ip(const unsigned char *block, unsigned char *l, unsigned char *r) {
    if (block == nullptr || l == nullptr || r == nullptr) return;
    unsigned char bits[64], permuted[64];
    expand0(block, bits);
    select(bits, kInitialPerm, 64, permuted);
    std::memcpy(l, permuted, 32);
    std::memcpy(r, permuted + 32, 32);
}

POS_API void _ip(unsigned char *out, const unsigned char *first, const unsigned char *second) {
    if (out == nullptr || first == nullptr || second == nullptr) return;
    unsigned char joined[64];
    std::memcpy(joined, first, 32);
    std::memcpy(joined + 32, second, 32);
    select(joined, kFinalPerm, 64, out);
}

POS_API void s_box(const unsigned char *in, unsigned char *out) {
    if (in == nullptr || out == nullptr) return;
    unsigned char result[32];
    for (int box = 0; box < 8; ++box) {
        const unsigned char *b = in + 6 * box;
        uint32_t six = 0;
        for (int i = 0; i < 6; ++i) six = (six << 1) | (b[i] & 1);
        uint8_t value = sBoxLookup(box, six);
        for (int i = 0; i < 4; ++i) result[4 * box + i] = (value >> (3 - i)) & 1;
    }
    std::memcpy(out, result, sizeof result);
}

POS_API void F(int round, const unsigned char *l, const unsigned char *r, unsigned char *newL,
               unsigned char *newR) {
    // Only rows 1-16 of K are round keys; anything else would read outside the schedule.
    if (round < 1 || round > 16) return;
    if (l == nullptr || r == nullptr || newL == nullptr || newR == nullptr) return;
    unsigned char expanded[48], substituted[32], permuted[32], right[32];
    select(r, kExpansion, 48, expanded);
    for (int k = 0; k < 48; ++k) expanded[k] ^= K[round][k];
    s_box(expanded, substituted);
    select(substituted, kPermutation, 32, permuted);
    for (int k = 0; k < 32; ++k) right[k] = (l[k] ^ permuted[k]) & 1;
    // Copy through locals so the new halves may overwrite the old ones in place.
    unsigned char left[32];
    std::memcpy(left, r, 32);
    std::memcpy(newL, left, 32);
    std::memcpy(newR, right, 32);
}

POS_API void memcpydata(unsigned char *dst, int dstOffset, const unsigned char *src, int srcOffset,
                        int count) {
    if (dst == nullptr || src == nullptr || count <= 0) return;
    std::memmove(dst + dstOffset, src + srcOffset, static_cast<size_t>(count));
}

}  // extern "C"
