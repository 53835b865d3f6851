// RSA: a fresh key pair through both raw entry points and the padded public operation.
#include <pos_sdk/crypto.h>

#include <cstring>
#include <string>

#include "Sections.h"

namespace selftest {
namespace {

const int kModulusLen = 128;  // 1024 bits: quick to generate, large enough to mean something
const unsigned char kPublicExponent[3] = {0x01, 0x00, 0x01};

struct KeyPair {
    unsigned char modulus[kModulusLen];
    unsigned char privateExp[kModulusLen];
};

// A private exponent shorter than the modulus comes out left-aligned with zero bytes after
// it, which no longer names the key; a trailing zero byte may mean that, so such a key is
// generated again instead (a real trailing zero is as rare and costs only another key).
bool generate(Checks &checks, KeyPair &key) {
    unsigned char unused[kModulusLen];
    int status = 0;
    for (int attempt = 0; attempt < 8; ++attempt) {
        status = OsRSAKeyGen(key.modulus, key.privateExp, kModulusLen, unused);
        if (status != 0) break;
        if (key.privateExp[kModulusLen - 1] != 0) {
            return checks.check("OsRSAKeyGen makes a 1024-bit key", (key.modulus[0] & 0x80) != 0,
                                "modulus " + hex(key.modulus, 8) + "...");
        }
    }
    return checks.check("OsRSAKeyGen makes a 1024-bit key", false, got(status));
}

// A message below the modulus: random bytes behind a zero byte.
void makeMessage(unsigned char *message) {
    OsGetRandom(message, kModulusLen);
    message[0] = 0;
}

void testRawRoundTrips(Checks &checks, const KeyPair &key, const unsigned char *message) {
    unsigned char cipher[kModulusLen] = {0}, back[kModulusLen] = {0};
    int encrypted = OsRSA(key.modulus, kModulusLen, kPublicExponent, sizeof kPublicExponent,
                          message, cipher, 1);
    int decrypted = OsRSA(key.modulus, kModulusLen, key.privateExp, kModulusLen, cipher, back, 0);
    checks.check("OsRSA public encrypt, private decrypt",
                 encrypted == 0 && decrypted == 0 && memcmp(message, back, kModulusLen) == 0 &&
                     memcmp(message, cipher, kModulusLen) != 0,
                 "statuses " + std::to_string(encrypted) + ", " + std::to_string(decrypted) +
                     ", got " + hex(back, 16) + "...");

    unsigned char signature[kModulusLen] = {0};
    memset(back, 0, sizeof back);
    int signedStatus =
        OsRSA(key.modulus, kModulusLen, key.privateExp, kModulusLen, message, signature, 1);
    int verified = OsRSA(key.modulus, kModulusLen, kPublicExponent, sizeof kPublicExponent,
                         signature, back, 0);
    checks.check("OsRSA private encrypt, public decrypt",
                 signedStatus == 0 && verified == 0 && memcmp(message, back, kModulusLen) == 0,
                 "statuses " + std::to_string(signedStatus) + ", " + std::to_string(verified));

    int status = OsRSA(key.modulus, 100, kPublicExponent, 3, message, cipher, 1);
    checks.check("OsRSA refuses a 100-byte modulus", status == -1003, got(status));
}

R_RSA_PUBLIC_KEY publicKey(const KeyPair &key) {
    R_RSA_PUBLIC_KEY pub;
    memset(&pub, 0, sizeof pub);
    pub.bits = kModulusLen * 8;
    // Both numbers are right-aligned in their fields.
    memcpy(pub.modulus + RSA_MAX_MODULUS_LEN - kModulusLen, key.modulus, kModulusLen);
    memcpy(pub.exponent + RSA_MAX_MODULUS_LEN - sizeof kPublicExponent, kPublicExponent,
           sizeof kPublicExponent);
    return pub;
}

void testPaddedPublicKey(Checks &checks, const KeyPair &key, const unsigned char *message) {
    R_RSA_PUBLIC_KEY pub = publicKey(key);
    const unsigned char text[] = "self-test";
    const unsigned int textLen = sizeof text - 1;
    unsigned char cipher[RSA_MAX_MODULUS_LEN] = {0}, block[kModulusLen] = {0};
    unsigned int outLen = 0;
    int status = RSAPublicEncrypt(cipher, &outLen, text, textLen, &pub);
    int opened = OsRSA(key.modulus, kModulusLen, key.privateExp, kModulusLen, cipher, block, 0);
    // The block is 00 02, a constant 0x80 filler, 00, then the text.
    bool padded = block[0] == 0x00 && block[1] == 0x02 &&
                  block[kModulusLen - textLen - 1] == 0x00 && block[2] == 0x80 &&
                  memcmp(block + kModulusLen - textLen, text, textLen) == 0;
    checks.check("RSAPublicEncrypt opens with the private key to 00 02 80..80 00 text",
                 status == 0 && outLen == kModulusLen && opened == 0 && padded,
                 "status " + std::to_string(status) + ", length " + std::to_string(outLen) +
                     ", block " + hex(block, 16) + "...");

    unsigned char signature[kModulusLen] = {0}, raw[RSA_MAX_MODULUS_LEN] = {0};
    OsRSA(key.modulus, kModulusLen, key.privateExp, kModulusLen, message, signature, 1);
    status = RSAPublicDecrypt(raw, &outLen, signature, kModulusLen, &pub);
    checks.check("RSAPublicDecrypt recovers a private-key block",
                 status == 0 && outLen == kModulusLen && memcmp(raw, message, kModulusLen) == 0,
                 "status " + std::to_string(status) + ", length " + std::to_string(outLen));

    unsigned char tooLong[kModulusLen] = {0};
    status = RSAPublicEncrypt(cipher, &outLen, tooLong, kModulusLen - 10, &pub);
    checks.check("RSAPublicEncrypt refuses text without room for padding", status == RE_LEN,
                 got(status));
}

}  // namespace

void testRsa(Checks &checks, const Expectations &) {
    KeyPair key;
    if (!generate(checks, key)) return;
    unsigned char message[kModulusLen];
    makeMessage(message);
    testRawRoundTrips(checks, key, message);
    testPaddedPublicKey(checks, key, message);
}

}  // namespace selftest
