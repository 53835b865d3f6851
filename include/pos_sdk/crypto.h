/* Cryptography: DES and triple DES, multi-precision integers with raw RSA, AES, the SHA
 * family, and the Os* algorithm entry points.
 *
 * Byte strings are big-endian; blocks are ECB, one block at a time, without padding.
 * The DES key schedule K is process-wide state without a lock: callers that run DES from
 * several threads serialise their own use. The AES tables are built once, on first use. */
#ifndef POS_SDK_CRYPTO_H
#define POS_SDK_CRYPTO_H

#include <stdint.h>

#include "pos_export.h"

POS_BEGIN_DECLS

/* ---- DES and triple DES --------------------------------------------------------------
 * Keys and blocks are 8 bytes; the first byte holds bits 1-8 of the standard's numbering,
 * most significant bit first. Key parity bits are ignored.
 * The support routines work on "bit-bytes": one bit per byte, values 0 or 1. */

/* Round keys of the last key scheduled, as bit-bytes: rows 1-16 are rounds 1-16, row 0 is
 * unused. Every DES step rebuilds it; after a triple-DES call it holds the last step's key. */
POS_API extern unsigned char K[17][48];

/* Encrypts (DES) or decrypts (_DES) one 8-byte block with an 8-byte key. */
POS_API void DES(const unsigned char *key, const unsigned char *in, unsigned char *out);
POS_API void _DES(const unsigned char *key, const unsigned char *in, unsigned char *out);

/* ECB triple DES over floor(inLen / 8) blocks (one block when inLen < 8; a full 8-byte
 * block is still read and written). Bytes past the last full block are ignored.
 * keyLen 8: single DES; 16: K1 K2 K1; 24: K1 K2 K3 (encrypt-decrypt-encrypt).
 * Returns 0, or -1 for a key length other than 8, 16 or 24 (or a null pointer), in which
 * case nothing is written. */
POS_API int TripleDes(const unsigned char *key, int keyLen, const unsigned char *in, int inLen,
                      unsigned char *out);
POS_API int _TripleDes(const unsigned char *key, int keyLen, const unsigned char *in, int inLen,
                       unsigned char *out);

/* 8 bytes -> 64 bit-bytes: out[8*i + j] is bit (7 - j) of in[i]. */
POS_API void expand0(const unsigned char *in, unsigned char *out);
/* 64 bit-bytes -> 8 bytes; the inverse of expand0. */
POS_API void compress0(const unsigned char *in, unsigned char *out);
/* 64 bit-bytes -> 16 characters, one per group of four bits: '0' + value. Values 10 to 15
 * come out as ':' to '?' (not hexadecimal letters). No terminating zero is written. */
POS_API void compress016(const unsigned char *in, char *out);
/* Fills K rows 1-16 from 64 key bit-bytes. */
POS_API void setkeystar(const unsigned char *keyBits);
/* Rotates 28 bit-bytes left: out[i] = in[(i + count) mod 28]. */
POS_API void LS(const unsigned char *in, unsigned char *out, int count);
/* Applies PC-2 to the halves C (28 bit-bytes) and D (28) and writes 48 bit-bytes. */
POS_API void son(const unsigned char *c, const unsigned char *d, unsigned char *roundKey);
/* Expands an 8-byte block and applies IP: l gets bits 1-32, r bits 33-64 (bit-bytes). */
POS_API void ip(const unsigned char *block, unsigned char *l, unsigned char *r);
/* Concatenates first (32 bit-bytes) and second (32) and applies the inverse of IP into
 * 64 bit-bytes. */
POS_API void _ip(unsigned char *out, const unsigned char *first, const unsigned char *second);
/* One Feistel round with row `round` (1-16) of K: newL = r, newR = l ^ f(r, K[round]).
 * Rounds outside 1-16 do nothing. */
POS_API void F(int round, const unsigned char *l, const unsigned char *r, unsigned char *newL,
               unsigned char *newR);
/* The eight S-box substitutions: 48 bit-bytes in, 32 bit-bytes out. */
POS_API void s_box(const unsigned char *in, unsigned char *out);
/* Copies count bytes from src + srcOffset to dst + dstOffset. */
POS_API void memcpydata(unsigned char *dst, int dstOffset, const unsigned char *src, int srcOffset,
                        int count);

/* ---- Multi-precision integers ---------------------------------------------------------
 * Numbers are arrays of 32-bit digits, least significant digit first, with a digit count.
 * Routines that need scratch space accept at most NN_MAX_DIGITS digits (NN_Div's dividend
 * up to twice that) and leave their outputs untouched when given more. Outputs may alias
 * inputs unless noted. */
typedef uint32_t NN_DIGIT;
#define NN_MAX_DIGITS 65 /* a 2048-bit modulus and a spare digit */

/* a (digits) <- big-endian byte string b of len bytes; high-order bytes that do not fit are
 * ignored. */
POS_API void NN_Decode(NN_DIGIT *a, unsigned int digits, const unsigned char *b, unsigned int len);
/* Big-endian byte string a of len bytes <- b (digits). */
POS_API void NN_Encode(unsigned char *a, unsigned int len, const NN_DIGIT *b, unsigned int digits);
POS_API void NN_Assign(NN_DIGIT *a, const NN_DIGIT *b, unsigned int digits);
POS_API void NN_AssignZero(NN_DIGIT *a, unsigned int digits);
/* a <- 2^b; nothing is set when b does not fit in `digits`. */
POS_API void NN_Assign2Exp(NN_DIGIT *a, unsigned int b, unsigned int digits);
/* a <- b + c, returning the carry; a <- b - c, returning the borrow. */
POS_API NN_DIGIT NN_Add(NN_DIGIT *a, const NN_DIGIT *b, const NN_DIGIT *c, unsigned int digits);
POS_API NN_DIGIT NN_Sub(NN_DIGIT *a, const NN_DIGIT *b, const NN_DIGIT *c, unsigned int digits);
/* a (2 * digits) <- b * c. */
POS_API void NN_Mult(NN_DIGIT *a, const NN_DIGIT *b, const NN_DIGIT *c, unsigned int digits);
/* a <- b << c and a <- b >> c (c < 32), returning the bits shifted out. */
POS_API NN_DIGIT NN_LShift(NN_DIGIT *a, const NN_DIGIT *b, unsigned int c, unsigned int digits);
POS_API NN_DIGIT NN_RShift(NN_DIGIT *a, const NN_DIGIT *b, unsigned int c, unsigned int digits);
/* a (cDigits) <- c div d, b (dDigits) <- c mod d. Nothing is written when d is zero. */
POS_API void NN_Div(NN_DIGIT *a, NN_DIGIT *b, const NN_DIGIT *c, unsigned int cDigits,
                    const NN_DIGIT *d, unsigned int dDigits);
/* a (cDigits) <- b mod c. */
POS_API void NN_Mod(NN_DIGIT *a, const NN_DIGIT *b, unsigned int bDigits, const NN_DIGIT *c,
                    unsigned int cDigits);
/* a <- b * c mod d. */
POS_API void NN_ModMult(NN_DIGIT *a, const NN_DIGIT *b, const NN_DIGIT *c, const NN_DIGIT *d,
                        unsigned int digits);
/* a (dDigits) <- b^c mod d; b has dDigits, c has cDigits. */
POS_API void NN_ModExp(NN_DIGIT *a, const NN_DIGIT *b, const NN_DIGIT *c, unsigned int cDigits,
                       const NN_DIGIT *d, unsigned int dDigits);
/* a <- b^-1 mod c, assuming gcd(b, c) = 1. */
POS_API void NN_ModInv(NN_DIGIT *a, const NN_DIGIT *b, const NN_DIGIT *c, unsigned int digits);
/* a <- gcd(b, c). */
POS_API void NN_Gcd(NN_DIGIT *a, const NN_DIGIT *b, const NN_DIGIT *c, unsigned int digits);
/* Sign of a - b: -1, 0 or 1. */
POS_API int NN_Cmp(const NN_DIGIT *a, const NN_DIGIT *b, unsigned int digits);
/* 1 when a is zero, else 0. */
POS_API int NN_Zero(const NN_DIGIT *a, unsigned int digits);
/* Significant bits and significant digits of a. */
POS_API unsigned int NN_Bits(const NN_DIGIT *a, unsigned int digits);
POS_API unsigned int NN_Digits(const NN_DIGIT *a, unsigned int digits);
/* a[2] <- b * c. */
POS_API void NN_DigitMult(NN_DIGIT a[2], NN_DIGIT b, NN_DIGIT c);
/* *a <- b[2] / c, the quotient cut to one digit; all ones when c is zero. */
POS_API void NN_DigitDiv(NN_DIGIT *a, const NN_DIGIT b[2], NN_DIGIT c);

/* ---- RSA over the multi-precision routines ------------------------------------------- */
#define RSA_MAX_MODULUS_BITS 2048
#define RSA_MAX_MODULUS_LEN 256

/* Result codes of RSAPublicEncrypt and RSAPublicDecrypt. */
#define RE_DATA 0x0401 /* input value not smaller than the modulus */
#define RE_LEN 0x0406  /* length error */

/* Public key: modulus length in bits, then modulus and exponent, big-endian, right-aligned. */
typedef struct R_RSA_PUBLIC_KEY {
    unsigned int bits;
    unsigned char modulus[RSA_MAX_MODULUS_LEN];
    unsigned char exponent[RSA_MAX_MODULUS_LEN];
} R_RSA_PUBLIC_KEY;

/* Pads the input as 00 02 80..80 00 input (a constant filler, so equal inputs give equal
 * outputs) to the modulus length k and applies the public key. Needs inLen + 11 <= k.
 * Writes k bytes and sets *outLen to k. Returns 0, RE_DATA or RE_LEN; the output is
 * untouched on failure. */
POS_API int RSAPublicEncrypt(unsigned char *out, unsigned int *outLen, const unsigned char *in,
                             unsigned int inLen, const R_RSA_PUBLIC_KEY *key);
/* Applies the public key to the input (at most k bytes) and returns the whole raw k-byte
 * block; no padding is checked or removed. Returns 0, RE_DATA or RE_LEN. */
POS_API int RSAPublicDecrypt(unsigned char *out, unsigned int *outLen, const unsigned char *in,
                             unsigned int inLen, const R_RSA_PUBLIC_KEY *key);

/* ---- AES ------------------------------------------------------------------------------
 * Blocks are 16 bytes; keys 16, 24 or 32. Key-schedule words are loaded from the key in
 * little-endian order. */
#define AES_MAX_SCHEDULE_WORDS 60

typedef struct aes_ctx {
    uint32_t key_length; /* in bytes, as given to aes_set_key */
    uint32_t enc_key[AES_MAX_SCHEDULE_WORDS];
    uint32_t dec_key[AES_MAX_SCHEDULE_WORDS];
} aes_ctx;

/* Builds the process-wide AES tables; the other AES calls do it on first use. */
POS_API void gen_tabs(void);
/* Returns 0, or -1 (context unchanged) when keyLen is not 16, 24 or 32. */
POS_API int aes_set_key(aes_ctx *cx, const unsigned char *key, int keyLen);
/* One block each; output first, then input. */
POS_API void aes_encrypt(const aes_ctx *cx, unsigned char *out, const unsigned char *in);
POS_API void aes_decrypt(const aes_ctx *cx, unsigned char *out, const unsigned char *in);
/* Sets the key and ciphers exactly one block (no chaining despite the name). Returns 0, or
 * -1 for a bad key length (or a null pointer) with nothing written. */
POS_API int aes_encrypt2(const unsigned char *key, int keyLen, unsigned char *out,
                         const unsigned char *in);
POS_API int aes_decrypt2(const unsigned char *key, int keyLen, unsigned char *out,
                         const unsigned char *in);

/* ---- SHA family ------------------------------------------------------------------------
 * Digest of len bytes into 20, 28, 32, 48 or 64 bytes. Return 1 on success, 0 on failure
 * (a null pointer or a negative length; the digest is then untouched). */
POS_API int SHA1Calc(const unsigned char *data, int len, unsigned char *digest);
POS_API int SHA224Calc(const unsigned char *data, int len, unsigned char *digest);
POS_API int SHA256Calc(const unsigned char *data, int len, unsigned char *digest);
POS_API int SHA384Calc(const unsigned char *data, int len, unsigned char *digest);
POS_API int SHA512Calc(const unsigned char *data, int len, unsigned char *digest);

/* ---- Device-API entry points ----------------------------------------------------------- */

/* One 8-byte block of triple DES: mode 1 encrypts, 0 decrypts; keyLen 8, 16 or 24. Bad
 * arguments and other modes are ignored silently. */
POS_API void OsDES(const unsigned char *in, unsigned char *out, const unsigned char *key,
                   int keyLen, int mode);

/* Raw RSA (no padding) through libcrypto on exactly modulusLen bytes (64, 128, 256 or 512).
 * exponentLen equal to modulusLen: the exponent is a private exponent d (e = 65537);
 * otherwise the key is public and e is always 65537, whatever the exponent bytes hold.
 * mode 1 encrypts, anything else decrypts. Returns 0, -1 (operation failed) or -1003. */
POS_API int OsRSA(const unsigned char *modulus, int modulusLen, const unsigned char *exponent,
                  int exponentLen, const unsigned char *in, unsigned char *out, int mode);

/* Generates a key pair with e = 65537 and a modulus of len bytes (64, 128, 256 or 512).
 * Writes len bytes of modulus and len bytes of private exponent; a private exponent
 * shorter than the modulus comes out left-aligned, followed by zero bytes. publicExp must
 * be non-null but nothing is written through it. Returns 0, -1003 or -2402. */
POS_API int OsRSAKeyGen(unsigned char *modulus, unsigned char *privateExp, int len,
                        unsigned char *publicExp);

/* One 16-byte AES block: mode 1 encrypts, 0 decrypts; keyLen 16, 24 or 32. Bad arguments
 * and other modes are ignored silently. */
POS_API void OsAES(const unsigned char *in, unsigned char *out, const unsigned char *key,
                   int keyLen, int mode);

/* Digest types of OsSHA. */
enum {
    OS_SHA1 = 1,
    OS_SHA224 = 2,
    OS_SHA256 = 3,
    OS_SHA384 = 4,
    OS_SHA512 = 5,
};
/* Digest of len (>= 1) bytes by type; any bad argument leaves the digest untouched. */
POS_API void OsSHA(int type, const unsigned char *data, int len, unsigned char *digest);

/* Fills len (0 to 1024) bytes with random bytes from the kernel's secure source; should
 * that source fail, the bytes are zeroed rather than left as they were. A null buffer or a
 * length outside 0 to 1024 logs "params Err" at error level and writes nothing. */
POS_API void OsGetRandom(unsigned char *buf, int len);

POS_END_DECLS

#endif
