// DES and triple DES on 32-bit halves with precomputed permutation and S-box tables.
//
// The halves stay rotated right by one bit between the initial and final permutation: then
// each six-bit group of the expansion E lies at a fixed offset of either the half or the
// half rotated by four more bits, and E costs two rotations instead of a permutation.
#include "crypto/Des.h"

#include <cstring>
#include <utility>

#include "crypto/DesTables.h"
#include "pos_sdk/crypto.h"

namespace pos::des {
namespace {

constexpr uint32_t rotr32(uint32_t v, int n) {
    return (v >> n) | (v << ((32 - n) & 31));
}
constexpr uint32_t rotl28(uint32_t v, int n) {
    return ((v << n) | (v >> (28 - n))) & 0xFFFFFFF;
}

// Bit n (1-based, counted from the most significant) of a value `width` bits wide.
constexpr uint64_t bitAt(uint64_t v, int width, uint32_t n) {
    return (v >> (width - n)) & 1;
}

constexpr uint64_t permute(uint64_t in, int inWidth, const uint32_t *table, int outWidth) {
    uint64_t out = 0;
    for (int k = 0; k < outWidth; ++k) out = (out << 1) | bitAt(in, inWidth, table[k]);
    return out;
}

constexpr uint64_t rotateHalves(uint64_t lr) {
    return (uint64_t{rotr32(uint32_t(lr >> 32), 1)} << 32) | rotr32(uint32_t(lr), 1);
}
constexpr uint64_t unrotateHalves(uint64_t lr) {
    return (uint64_t{rotr32(uint32_t(lr >> 32), 31)} << 32) | rotr32(uint32_t(lr), 31);
}

// A 48-bit round key as the two words XORed into the (rotated) half and the half rotated by
// four: groups 1, 3, 5, 7 go to the first word and 8, 2, 4, 6 to the second, each at bit
// offsets 26, 18, 10 and 2.
constexpr uint64_t splitRoundKey(uint64_t natural) {
    uint64_t g[8] = {};
    for (int j = 0; j < 8; ++j) g[j] = (natural >> (42 - 6 * j)) & 63;
    uint64_t a = g[0] << 26 | g[2] << 18 | g[4] << 10 | g[6] << 2;
    uint64_t b = g[7] << 26 | g[1] << 18 | g[3] << 10 | g[5] << 2;
    return a << 32 | b;
}

struct Tables {
    uint64_t ip[8][256];    // initial permutation by input byte, halves rotated
    uint64_t fp[8][256];    // final permutation by byte of the rotated halves
    uint32_t sp[8][64];     // S-box then P, rotated like the halves
    uint64_t pc1[8][256];   // PC-1 by key byte: C in bits 55-28, D in bits 27-0
    uint64_t pc2c[4][128];  // PC-2 of a seven-bit chunk of C, as split round-key words
    uint64_t pc2d[4][128];  // the same for D
    uint8_t bits6[64][8];   // a six-bit group as bit-bytes, padded to eight bytes
};

constexpr Tables buildTables() {
    Tables t{};
    for (int i = 0; i < 8; ++i) {
        for (uint64_t v = 0; v < 256; ++v) {
            uint64_t in = v << (56 - 8 * i);
            t.ip[i][v] = rotateHalves(permute(in, 64, kInitialPerm, 64));
            t.fp[i][v] = permute(unrotateHalves(in), 64, kFinalPerm, 64);
            t.pc1[i][v] =
                permute(in, 64, kPermChoice1C, 28) << 28 | permute(in, 64, kPermChoice1D, 28);
        }
    }
    for (int box = 0; box < 8; ++box) {
        for (uint32_t x = 0; x < 64; ++x) {
            uint64_t s = uint64_t{sBoxLookup(box, x)} << (28 - 4 * box);
            t.sp[box][x] = rotr32(uint32_t(permute(s, 32, kPermutation, 32)), 1);
        }
    }
    for (int c = 0; c < 4; ++c) {
        for (uint64_t v = 0; v < 128; ++v) {
            t.pc2c[c][v] = splitRoundKey(permute(v << (49 - 7 * c), 56, kPermChoice2, 48));
            t.pc2d[c][v] = splitRoundKey(permute(v << (21 - 7 * c), 56, kPermChoice2, 48));
        }
    }
    for (int g = 0; g < 64; ++g) {
        for (int i = 0; i < 6; ++i) t.bits6[g][i] = uint8_t((g >> (5 - i)) & 1);
    }
    return t;
}

constexpr Tables kTables = buildTables();

inline uint32_t feistel(uint32_t r, uint32_t ka, uint32_t kb) {
    const auto &sp = kTables.sp;
    uint32_t u = r ^ ka;
    uint32_t t = rotr32(r, 4) ^ kb;
    return sp[0][u >> 26] ^ sp[2][(u >> 18) & 63] ^ sp[4][(u >> 10) & 63] ^ sp[6][(u >> 2) & 63] ^
           sp[7][t >> 26] ^ sp[1][(t >> 18) & 63] ^ sp[3][(t >> 10) & 63] ^ sp[5][(t >> 2) & 63];
}

// Sixteen rounds followed by the swap of the halves that precedes the final permutation.
// Chained DES steps pass the halves on directly: the final permutation of one step and
// the initial permutation of the next cancel out.
void encryptRounds(uint32_t &l, uint32_t &r, const Schedule &ks) {
#pragma GCC unroll 8
    for (int i = 0; i < 16; i += 2) {
        l ^= feistel(r, ks.a[i], ks.b[i]);
        r ^= feistel(l, ks.a[i + 1], ks.b[i + 1]);
    }
    std::swap(l, r);
}

void decryptRounds(uint32_t &l, uint32_t &r, const Schedule &ks) {
#pragma GCC unroll 8
    for (int i = 15; i > 0; i -= 2) {
        l ^= feistel(r, ks.a[i], ks.b[i]);
        r ^= feistel(l, ks.a[i - 1], ks.b[i - 1]);
    }
    std::swap(l, r);
}

void loadBlock(const unsigned char *in, uint32_t &l, uint32_t &r) {
    uint64_t x = 0;
    for (int i = 0; i < 8; ++i) x |= kTables.ip[i][in[i]];
    l = uint32_t(x >> 32);
    r = uint32_t(x);
}

void storeBlock(uint32_t l, uint32_t r, unsigned char *out) {
    uint64_t lr = uint64_t{l} << 32 | r;
    uint64_t y = 0;
    for (int i = 0; i < 8; ++i) y |= kTables.fp[i][(lr >> (56 - 8 * i)) & 0xFF];
    for (int i = 0; i < 8; ++i) out[i] = uint8_t(y >> (56 - 8 * i));
}

enum class Direction { kEncrypt, kDecrypt };

void singleDes(const unsigned char *key, const unsigned char *in, unsigned char *out,
               Direction dir) {
    if (key == nullptr || in == nullptr || out == nullptr) return;
    Schedule ks;
    makeSchedule(key, ks);
    storeSchedule(ks);
    uint32_t l, r;
    loadBlock(in, l, r);
    if (dir == Direction::kEncrypt) {
        encryptRounds(l, r, ks);
    } else {
        decryptRounds(l, r, ks);
    }
    storeBlock(l, r, out);
}

int tripleDes(const unsigned char *key, int keyLen, const unsigned char *in, int inLen,
              unsigned char *out, Direction dir) {
    // A null pointer is refused like a bad key length rather than dereferenced.
    if (key == nullptr || in == nullptr || out == nullptr) return -1;
    if (keyLen != 8 && keyLen != 16 && keyLen != 24) return -1;

    Schedule k1, k2, k3;
    makeSchedule(key, k1);
    if (keyLen >= 16) makeSchedule(key + 8, k2);
    if (keyLen == 24) makeSchedule(key + 16, k3);
    const Schedule &third = keyLen == 24 ? k3 : k1;

    // Short input still makes one full block; bytes past the last full block are ignored
    // (no padding), as callers of this SDK have always seen.
    int blocks = inLen < 8 ? 1 : inLen / 8;
    for (int n = 0; n < blocks; ++n) {
        uint32_t l, r;
        loadBlock(in + 8 * n, l, r);
        if (keyLen == 8) {
            if (dir == Direction::kEncrypt)
                encryptRounds(l, r, k1);
            else
                decryptRounds(l, r, k1);
        } else if (dir == Direction::kEncrypt) {
            encryptRounds(l, r, k1);
            decryptRounds(l, r, k2);
            encryptRounds(l, r, third);
        } else {
            decryptRounds(l, r, third);
            encryptRounds(l, r, k2);
            decryptRounds(l, r, k1);
        }
        storeBlock(l, r, out + 8 * n);
    }

    // K holds the schedule of the last single-DES step.
    bool lastIsThird = keyLen != 8 && dir == Direction::kEncrypt;
    storeSchedule(lastIsThird ? third : k1);
    return 0;
}

}  // namespace

void makeSchedule(const unsigned char *key, Schedule &ks) {
    uint64_t cd = 0;
    for (int i = 0; i < 8; ++i) cd |= kTables.pc1[i][key[i]];
    uint32_t c = uint32_t(cd >> 28);
    uint32_t d = uint32_t(cd) & 0xFFFFFFF;
    // Fully unrolled, every rotation has a constant count.
#pragma GCC unroll 16
    for (int round = 0; round < 16; ++round) {
        c = rotl28(c, int(kShifts[round]));
        d = rotl28(d, int(kShifts[round]));
        uint64_t k = kTables.pc2c[0][c >> 21] | kTables.pc2c[1][(c >> 14) & 127] |
                     kTables.pc2c[2][(c >> 7) & 127] | kTables.pc2c[3][c & 127] |
                     kTables.pc2d[0][d >> 21] | kTables.pc2d[1][(d >> 14) & 127] |
                     kTables.pc2d[2][(d >> 7) & 127] | kTables.pc2d[3][d & 127];
        ks.a[round] = uint32_t(k >> 32);
        ks.b[round] = uint32_t(k);
    }
}

void storeSchedule(const Schedule &ks) {
    // Each six-bit group goes out as one eight-byte store; the two spare bytes are
    // overwritten by the next group (or the next row's first group), so only the very
    // last group of K needs an exact six-byte copy.
    unsigned char *out = &K[1][0];
    for (int round = 0; round < 16; ++round, out += 48) {
        const uint32_t a = ks.a[round];
        const uint32_t b = ks.b[round];
        const uint32_t groups[8] = {a >> 26,        (b >> 18) & 63, (a >> 18) & 63, (b >> 10) & 63,
                                    (a >> 10) & 63, (b >> 2) & 63,  (a >> 2) & 63,  b >> 26};
        for (int j = 0; j < 7; ++j) std::memcpy(out + 6 * j, kTables.bits6[groups[j]], 8);
        std::memcpy(out + 42, kTables.bits6[groups[7]], round == 15 ? 6 : 8);
    }
}

}  // namespace pos::des

using pos::des::Direction;

extern "C" {

POS_API void DES(const unsigned char *key, const unsigned char *in, unsigned char *out) {
    pos::des::singleDes(key, in, out, Direction::kEncrypt);
}

POS_API void _DES(const unsigned char *key, const unsigned char *in, unsigned char *out) {
    pos::des::singleDes(key, in, out, Direction::kDecrypt);
}

POS_API int TripleDes(const unsigned char *key, int keyLen, const unsigned char *in, int inLen,
                      unsigned char *out) {
    return pos::des::tripleDes(key, keyLen, in, inLen, out, Direction::kEncrypt);
}

POS_API int _TripleDes(const unsigned char *key, int keyLen, const unsigned char *in, int inLen,
                       unsigned char *out) {
    return pos::des::tripleDes(key, keyLen, in, inLen, out, Direction::kDecrypt);
}

}  // extern "C"
