// AES on 32-bit columns with round tables built at run time from GF(2^8) logarithms.
//
// A column is a little-endian word: row 0 in the low byte. Each round of the cipher is
// four lookups per column in tables that fold SubBytes, ShiftRows and MixColumns together;
// decryption runs the equivalent inverse cipher on a schedule passed through InvMixColumns.
#include <atomic>
#include <cstring>
#include <mutex>

#include "pos_sdk/crypto.h"

namespace {

struct AesTables {
    uint32_t fwd[4][256];      // encryption round: S-box then MixColumns, per row
    uint32_t fwdLast[4][256];  // last encryption round: S-box only, per row
    uint32_t inv[4][256];      // decryption round: inverse S-box then InvMixColumns
    uint32_t invLast[4][256];  // last decryption round: inverse S-box only
    uint8_t sbox[256];
    uint32_t rcon[10];
};

AesTables tables;
std::once_flag tablesOnce;
std::atomic<bool> tablesReady{false};

constexpr uint32_t rotl(uint32_t v, int n) {
    return (v << n) | (v >> (32 - n));
}
constexpr uint8_t rotl8(uint8_t v, int n) {
    return uint8_t((v << n) | (v >> (8 - n)));
}

void buildTables() {
    // Powers of the generator 3 and their logarithms.
    uint8_t pow[256], log[256] = {};
    uint8_t x = 1;
    for (int i = 0; i < 255; ++i) {
        pow[i] = x;
        log[x] = static_cast<uint8_t>(i);
        x ^= static_cast<uint8_t>((x << 1) ^ ((x & 0x80) ? 0x1B : 0));  // x *= 3
    }
    pow[255] = pow[0];
    auto mul = [&](uint8_t a, uint8_t b) -> uint32_t {
        return (a && b) ? pow[(log[a] + log[b]) % 255] : 0;
    };

    uint8_t invSbox[256];
    for (int i = 0; i < 256; ++i) {
        uint8_t inverse = i ? pow[255 - log[i]] : 0;
        uint8_t s = static_cast<uint8_t>(inverse ^ rotl8(inverse, 1) ^ rotl8(inverse, 2) ^
                                         rotl8(inverse, 3) ^ rotl8(inverse, 4) ^ 0x63);
        tables.sbox[i] = s;
        invSbox[s] = static_cast<uint8_t>(i);
    }
    for (int i = 0; i < 256; ++i) {
        uint8_t s = tables.sbox[i];
        uint8_t v = invSbox[i];
        uint32_t f = mul(s, 2) | uint32_t{s} << 8 | uint32_t{s} << 16 | mul(s, 3) << 24;
        uint32_t g = mul(v, 14) | mul(v, 9) << 8 | mul(v, 13) << 16 | mul(v, 11) << 24;
        for (int row = 0; row < 4; ++row) {
            tables.fwd[row][i] = row ? rotl(f, 8 * row) : f;
            tables.inv[row][i] = row ? rotl(g, 8 * row) : g;
            tables.fwdLast[row][i] = uint32_t{s} << (8 * row);
            tables.invLast[row][i] = uint32_t{v} << (8 * row);
        }
    }
    uint8_t r = 1;
    for (auto &c : tables.rcon) {
        c = r;
        r = static_cast<uint8_t>((r << 1) ^ ((r & 0x80) ? 0x1B : 0));
    }
    tablesReady.store(true, std::memory_order_release);
}

// The tables are built once per process; concurrent first users wait for the one build
// rather than racing on the globals.
inline void ensureTables() {
    if (!tablesReady.load(std::memory_order_acquire)) std::call_once(tablesOnce, buildTables);
}

inline uint32_t load32(const unsigned char *p) {
    return uint32_t{p[0]} | uint32_t{p[1]} << 8 | uint32_t{p[2]} << 16 | uint32_t{p[3]} << 24;
}
inline void store32(unsigned char *p, uint32_t v) {
    p[0] = uint8_t(v);
    p[1] = uint8_t(v >> 8);
    p[2] = uint8_t(v >> 16);
    p[3] = uint8_t(v >> 24);
}

bool validKeyLength(int len) {
    return len == 16 || len == 24 || len == 32;
}
int roundsFor(uint32_t keyLen) {
    return int(keyLen) / 4 + 6;
}

inline uint32_t subWord(uint32_t w) {
    const uint8_t *s = tables.sbox;
    return uint32_t{s[w & 0xFF]} | uint32_t{s[(w >> 8) & 0xFF]} << 8 |
           uint32_t{s[(w >> 16) & 0xFF]} << 16 | uint32_t{s[w >> 24]} << 24;
}

void expandEncryptKey(uint32_t *w, const unsigned char *key, int keyLen) {
    const int nk = keyLen / 4;
    const int total = 4 * (roundsFor(uint32_t(keyLen)) + 1);
    for (int i = 0; i < nk; ++i) w[i] = load32(key + 4 * i);
    for (int i = nk; i < total; ++i) {
        uint32_t t = w[i - 1];
        if (i % nk == 0) {
            t = subWord(rotl(t, 24)) ^ tables.rcon[i / nk - 1];  // RotWord, SubWord, Rcon
        } else if (nk == 8 && i % nk == 4) {
            t = subWord(t);
        }
        w[i] = w[i - nk] ^ t;
    }
}

inline uint32_t invMixColumn(uint32_t w) {
    const uint8_t *s = tables.sbox;  // inv[] starts with the inverse S-box; undo it
    return tables.inv[0][s[w & 0xFF]] ^ tables.inv[1][s[(w >> 8) & 0xFF]] ^
           tables.inv[2][s[(w >> 16) & 0xFF]] ^ tables.inv[3][s[w >> 24]];
}

// The decryption schedule: round keys in reverse order, the inner ones through
// InvMixColumns.
void expandDecryptKey(uint32_t *dk, const uint32_t *ek, int rounds) {
    for (int i = 0; i < 4; ++i) {
        dk[i] = ek[4 * rounds + i];
        dk[4 * rounds + i] = ek[i];
    }
    for (int r = 1; r < rounds; ++r) {
        for (int i = 0; i < 4; ++i) dk[4 * r + i] = invMixColumn(ek[4 * (rounds - r) + i]);
    }
}

void encryptBlock(const uint32_t *rk, int rounds, unsigned char *out, const unsigned char *in) {
    const auto &T = tables.fwd;
    uint32_t s0 = load32(in) ^ rk[0], s1 = load32(in + 4) ^ rk[1];
    uint32_t s2 = load32(in + 8) ^ rk[2], s3 = load32(in + 12) ^ rk[3];
    for (int r = 1; r < rounds; ++r) {
        rk += 4;
        uint32_t t0 = T[0][s0 & 0xFF] ^ T[1][(s1 >> 8) & 0xFF] ^ T[2][(s2 >> 16) & 0xFF] ^
                      T[3][s3 >> 24] ^ rk[0];
        uint32_t t1 = T[0][s1 & 0xFF] ^ T[1][(s2 >> 8) & 0xFF] ^ T[2][(s3 >> 16) & 0xFF] ^
                      T[3][s0 >> 24] ^ rk[1];
        uint32_t t2 = T[0][s2 & 0xFF] ^ T[1][(s3 >> 8) & 0xFF] ^ T[2][(s0 >> 16) & 0xFF] ^
                      T[3][s1 >> 24] ^ rk[2];
        uint32_t t3 = T[0][s3 & 0xFF] ^ T[1][(s0 >> 8) & 0xFF] ^ T[2][(s1 >> 16) & 0xFF] ^
                      T[3][s2 >> 24] ^ rk[3];
        s0 = t0, s1 = t1, s2 = t2, s3 = t3;
    }
    rk += 4;
    const auto &L = tables.fwdLast;
    store32(out, L[0][s0 & 0xFF] ^ L[1][(s1 >> 8) & 0xFF] ^ L[2][(s2 >> 16) & 0xFF] ^
                     L[3][s3 >> 24] ^ rk[0]);
    store32(out + 4, L[0][s1 & 0xFF] ^ L[1][(s2 >> 8) & 0xFF] ^ L[2][(s3 >> 16) & 0xFF] ^
                         L[3][s0 >> 24] ^ rk[1]);
    store32(out + 8, L[0][s2 & 0xFF] ^ L[1][(s3 >> 8) & 0xFF] ^ L[2][(s0 >> 16) & 0xFF] ^
                         L[3][s1 >> 24] ^ rk[2]);
    store32(out + 12, L[0][s3 & 0xFF] ^ L[1][(s0 >> 8) & 0xFF] ^ L[2][(s1 >> 16) & 0xFF] ^
                          L[3][s2 >> 24] ^ rk[3]);
}

void decryptBlock(const uint32_t *rk, int rounds, unsigned char *out, const unsigned char *in) {
    const auto &T = tables.inv;
    uint32_t s0 = load32(in) ^ rk[0], s1 = load32(in + 4) ^ rk[1];
    uint32_t s2 = load32(in + 8) ^ rk[2], s3 = load32(in + 12) ^ rk[3];
    for (int r = 1; r < rounds; ++r) {
        rk += 4;
        uint32_t t0 = T[0][s0 & 0xFF] ^ T[1][(s3 >> 8) & 0xFF] ^ T[2][(s2 >> 16) & 0xFF] ^
                      T[3][s1 >> 24] ^ rk[0];
        uint32_t t1 = T[0][s1 & 0xFF] ^ T[1][(s0 >> 8) & 0xFF] ^ T[2][(s3 >> 16) & 0xFF] ^
                      T[3][s2 >> 24] ^ rk[1];
        uint32_t t2 = T[0][s2 & 0xFF] ^ T[1][(s1 >> 8) & 0xFF] ^ T[2][(s0 >> 16) & 0xFF] ^
                      T[3][s3 >> 24] ^ rk[2];
        uint32_t t3 = T[0][s3 & 0xFF] ^ T[1][(s2 >> 8) & 0xFF] ^ T[2][(s1 >> 16) & 0xFF] ^
                      T[3][s0 >> 24] ^ rk[3];
        s0 = t0, s1 = t1, s2 = t2, s3 = t3;
    }
    rk += 4;
    const auto &L = tables.invLast;
    store32(out, L[0][s0 & 0xFF] ^ L[1][(s3 >> 8) & 0xFF] ^ L[2][(s2 >> 16) & 0xFF] ^
                     L[3][s1 >> 24] ^ rk[0]);
    store32(out + 4, L[0][s1 & 0xFF] ^ L[1][(s0 >> 8) & 0xFF] ^ L[2][(s3 >> 16) & 0xFF] ^
                         L[3][s2 >> 24] ^ rk[1]);
    store32(out + 8, L[0][s2 & 0xFF] ^ L[1][(s1 >> 8) & 0xFF] ^ L[2][(s0 >> 16) & 0xFF] ^
                         L[3][s3 >> 24] ^ rk[2]);
    store32(out + 12, L[0][s3 & 0xFF] ^ L[1][(s2 >> 8) & 0xFF] ^ L[2][(s1 >> 16) & 0xFF] ^
                          L[3][s0 >> 24] ^ rk[3]);
}

bool validContext(const aes_ctx *cx) {
    return cx != nullptr && validKeyLength(int(cx->key_length));
}

}  // namespace

extern "C" {

POS_API void gen_tabs(void) {
    ensureTables();
}

POS_API int aes_set_key(aes_ctx *cx, const unsigned char *key, int keyLen) {
    if (cx == nullptr || key == nullptr || !validKeyLength(keyLen)) return -1;
    ensureTables();
    cx->key_length = uint32_t(keyLen);
    expandEncryptKey(cx->enc_key, key, keyLen);
    expandDecryptKey(cx->dec_key, cx->enc_key, roundsFor(cx->key_length));
    return 0;
}

POS_API void aes_encrypt(const aes_ctx *cx, unsigned char *out, const unsigned char *in) {
    if (!validContext(cx) || out == nullptr || in == nullptr) return;
    ensureTables();
    encryptBlock(cx->enc_key, roundsFor(cx->key_length), out, in);
}

POS_API void aes_decrypt(const aes_ctx *cx, unsigned char *out, const unsigned char *in) {
    if (!validContext(cx) || out == nullptr || in == nullptr) return;
    ensureTables();
    decryptBlock(cx->dec_key, roundsFor(cx->key_length), out, in);
}

// The one-call forms expand only the schedule they use: their context never leaves the
// call, so the other half would be wasted work.
POS_API int aes_encrypt2(const unsigned char *key, int keyLen, unsigned char *out,
                         const unsigned char *in) {
    if (key == nullptr || out == nullptr || in == nullptr || !validKeyLength(keyLen)) return -1;
    ensureTables();
    uint32_t ek[AES_MAX_SCHEDULE_WORDS];
    expandEncryptKey(ek, key, keyLen);
    encryptBlock(ek, roundsFor(uint32_t(keyLen)), out, in);
    std::memset(ek, 0, sizeof ek);
    return 0;
}

POS_API int aes_decrypt2(const unsigned char *key, int keyLen, unsigned char *out,
                         const unsigned char *in) {
    if (key == nullptr || out == nullptr || in == nullptr || !validKeyLength(keyLen)) return -1;
    ensureTables();
    uint32_t ek[AES_MAX_SCHEDULE_WORDS], dk[AES_MAX_SCHEDULE_WORDS];
    const int rounds = roundsFor(uint32_t(keyLen));
    expandEncryptKey(ek, key, keyLen);
    expandDecryptKey(dk, ek, rounds);
    decryptBlock(dk, rounds, out, in);
    std::memset(ek, 0, sizeof ek);
    std::memset(dk, 0, sizeof dk);
    return 0;
}

}  // extern "C"
