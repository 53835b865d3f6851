// RSA public-key operations on the multi-precision routines.
#include <cstddef>
#include <cstring>

#include "pos_sdk/crypto.h"

static_assert(offsetof(R_RSA_PUBLIC_KEY, bits) == 0, "public key layout");
static_assert(offsetof(R_RSA_PUBLIC_KEY, modulus) == 4, "public key layout");
static_assert(offsetof(R_RSA_PUBLIC_KEY, exponent) == 260, "public key layout");
static_assert(sizeof(R_RSA_PUBLIC_KEY) == 516, "public key layout");

namespace {

// Modulus length in bytes, or 0 when the key claims more bits than the record can hold
// (checked here so a bad record cannot make us write past a 256-byte block).
unsigned modulusBytes(const R_RSA_PUBLIC_KEY &key) {
    if (key.bits == 0 || key.bits > RSA_MAX_MODULUS_BITS) return 0;
    return (key.bits + 7) / 8;
}

// out <- in^e mod n, as many bytes as the modulus.
int rawPublic(unsigned char *out, unsigned int *outLen, const unsigned char *in, unsigned int inLen,
              const R_RSA_PUBLIC_KEY &key) {
    NN_DIGIT c[NN_MAX_DIGITS], e[NN_MAX_DIGITS], m[NN_MAX_DIGITS], n[NN_MAX_DIGITS];
    NN_Decode(m, NN_MAX_DIGITS, in, inLen);
    NN_Decode(n, NN_MAX_DIGITS, key.modulus, RSA_MAX_MODULUS_LEN);
    NN_Decode(e, NN_MAX_DIGITS, key.exponent, RSA_MAX_MODULUS_LEN);
    const unsigned nDigits = NN_Digits(n, NN_MAX_DIGITS);
    const unsigned eDigits = NN_Digits(e, NN_MAX_DIGITS);

    int status = 0;
    if (NN_Cmp(m, n, nDigits) >= 0) {
        status = RE_DATA;
    } else {
        *outLen = modulusBytes(key);
        NN_ModExp(c, m, e, eDigits, n, nDigits);
        NN_Encode(out, *outLen, c, nDigits);
    }

    std::memset(c, 0, sizeof c);
    std::memset(m, 0, sizeof m);
    return status;
}

}  // namespace

extern "C" {

POS_API int RSAPublicEncrypt(unsigned char *out, unsigned int *outLen, const unsigned char *in,
                             unsigned int inLen, const R_RSA_PUBLIC_KEY *key) {
    if (out == nullptr || outLen == nullptr || in == nullptr || key == nullptr) return RE_LEN;
    const unsigned k = modulusBytes(*key);
    if (k < 11 || inLen > k - 11) return RE_LEN;

    // 00 02 filler 00 data. The filler is a constant 0x80, not random, so equal inputs give
    // equal outputs; kept for compatibility with the hosts these terminals talk to.
    unsigned char block[RSA_MAX_MODULUS_LEN];
    const unsigned fillerEnd = k - inLen - 1;
    block[0] = 0x00;
    block[1] = 0x02;
    std::memset(block + 2, 0x80, fillerEnd - 2);
    block[fillerEnd] = 0x00;
    std::memcpy(block + fillerEnd + 1, in, inLen);

    int status = rawPublic(out, outLen, block, k, *key);
    std::memset(block, 0, sizeof block);
    return status;
}

POS_API int RSAPublicDecrypt(unsigned char *out, unsigned int *outLen, const unsigned char *in,
                             unsigned int inLen, const R_RSA_PUBLIC_KEY *key) {
    if (out == nullptr || outLen == nullptr || in == nullptr || key == nullptr) return RE_LEN;
    const unsigned k = modulusBytes(*key);
    if (k == 0 || inLen > k) return RE_LEN;

    unsigned char block[RSA_MAX_MODULUS_LEN];
    unsigned int blockLen = 0;
    int status = rawPublic(block, &blockLen, in, inLen, *key);
    if (status == 0 && blockLen != k) status = RE_LEN;
    if (status == 0) {
        // The whole raw block goes back: no padding is checked or removed, as callers of
        // this SDK expect.
        std::memcpy(out, block, k);
        *outLen = k;
    }
    std::memset(block, 0, sizeof block);
    return status;
}

}  // extern "C"
