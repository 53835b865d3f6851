// Ciphers, digests and random numbers against published known answers.
#include <pos_sdk/crypto.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "Sections.h"

namespace selftest {
namespace {

using Bytes = std::vector<unsigned char>;

bool same(const Bytes &expected, const unsigned char *actual) {
    return memcmp(expected.data(), actual, expected.size()) == 0;
}

// Checks that OUT (as long as EXPECTED) holds EXPECTED, naming what came back otherwise.
void checkBytes(Checks &checks, const std::string &what, const Bytes &expected,
                const unsigned char *out) {
    checks.check(what, same(expected, out),
                 "got " + hex(out, static_cast<int>(expected.size())) + ", expected " +
                     hex(expected.data(), static_cast<int>(expected.size())));
}

void testDes(Checks &checks) {
    unsigned char out[24] = {0};
    // The variable-plaintext known answer with a key of only parity bits.
    Bytes key = bytes("0101010101010101");
    Bytes plain = bytes("8000000000000000");
    Bytes cipher = bytes("95F8A5E5DD31D900");
    DES(key.data(), plain.data(), out);
    checkBytes(checks, "DES variable-plaintext answer", cipher, out);
    _DES(key.data(), cipher.data(), out);
    checkBytes(checks, "DES decrypts it back", plain, out);

    key = bytes("133457799BBCDFF1");
    DES(key.data(), bytes("0123456789ABCDEF").data(), out);
    checkBytes(checks, "DES with key 133457799BBCDFF1", bytes("85E813540F0AB405"), out);

    // The three-key example: "The qufck brown fox jump", three blocks.
    Bytes keys = bytes("0123456789ABCDEF23456789ABCDEF01456789ABCDEF0123");
    const unsigned char *text = reinterpret_cast<const unsigned char *>("The qufck brown fox jump");
    Bytes expected = bytes("A826FD8CE53B855FCCE21C8112256FE668D5C05DD9B6B900");
    int status = TripleDes(keys.data(), 24, text, 24, out);
    checks.check("triple DES, three keys, three blocks", status == 0 && same(expected, out),
                 "status " + std::to_string(status) + ", got " + hex(out, 24));
    unsigned char back[24] = {0};
    status = _TripleDes(keys.data(), 24, expected.data(), 24, back);
    checks.check("triple DES decrypts it back", status == 0 && memcmp(back, text, 24) == 0,
                 "status " + std::to_string(status) + ", got " + hex(back, 24));

    // A 16-byte key is K1 K2 K1, so it must agree with the 24-byte key spelled out.
    Bytes twoKeys(keys.begin(), keys.begin() + 16);
    Bytes spelledOut = twoKeys;
    spelledOut.insert(spelledOut.end(), keys.begin(), keys.begin() + 8);
    unsigned char viaTwo[8], viaThree[8];
    TripleDes(twoKeys.data(), 16, text, 8, viaTwo);
    TripleDes(spelledOut.data(), 24, text, 8, viaThree);
    checks.check("two-key triple DES equals K1 K2 K1", memcmp(viaTwo, viaThree, 8) == 0,
                 hex(viaTwo, 8) + " against " + hex(viaThree, 8));

    unsigned char untouched[8] = {0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA};
    status = TripleDes(keys.data(), 12, text, 8, untouched);
    checks.check("triple DES refuses a 12-byte key and writes nothing",
                 status == -1 && untouched[0] == 0xAA && untouched[7] == 0xAA, got(status));

    OsDES(plain.data(), out, bytes("0101010101010101").data(), 8, 1);
    checkBytes(checks, "OsDES encrypts like DES", cipher, out);
}

void testAes(Checks &checks) {
    Bytes plain = bytes("00112233445566778899AABBCCDDEEFF");
    const Bytes key = bytes("000102030405060708090A0B0C0D0E0F101112131415161718191A1B1C1D1E1F");
    struct Vector {
        int keyLen;
        const char *cipher;
    } vectors[] = {
        {16, "69C4E0D86A7B0430D8CDB78070B4C55A"},
        {24, "DDA97CA4864CDFE06EAF70A0EC0D7191"},
        {32, "8EA2B7CA516745BFEAFC49904B496089"},
    };
    for (const Vector &v : vectors) {
        std::string bits = std::to_string(v.keyLen * 8);
        unsigned char out[16] = {0}, back[16] = {0};
        int status = aes_encrypt2(key.data(), v.keyLen, out, plain.data());
        checks.check("AES-" + bits + " known answer", status == 0 && same(bytes(v.cipher), out),
                     "status " + std::to_string(status) + ", got " + hex(out, 16));
        status = aes_decrypt2(key.data(), v.keyLen, back, out);
        checkBytes(checks, "AES-" + bits + " decrypts it back", plain, back);
        memset(out, 0, sizeof out);
        OsAES(plain.data(), out, key.data(), v.keyLen, 1);
        checkBytes(checks, "OsAES AES-" + bits + " agrees", bytes(v.cipher), out);
    }
}

void testDigests(Checks &checks) {
    const unsigned char *abc = reinterpret_cast<const unsigned char *>("abc");
    unsigned char digest[64] = {0};
    int status = SHA1Calc(abc, 3, digest);
    checks.check("SHA-1 of \"abc\"",
                 status == 1 && same(bytes("A9993E364706816ABA3E25717850C26C9CD0D89D"), digest),
                 "status " + std::to_string(status) + ", got " + hex(digest, 20));
    Bytes sha256 = bytes("BA7816BF8F01CFEA414140DE5DAE2223B00361A396177A9CB410FF61F20015AD");
    status = SHA256Calc(abc, 3, digest);
    checks.check("SHA-256 of \"abc\"", status == 1 && same(sha256, digest),
                 "status " + std::to_string(status) + ", got " + hex(digest, 32));
    memset(digest, 0, sizeof digest);
    OsSHA(OS_SHA256, abc, 3, digest);
    checkBytes(checks, "OsSHA SHA-256 of \"abc\"", sha256, digest);
}

void testRandom(Checks &checks) {
    unsigned char first[32] = {0}, second[32] = {0}, zero[32] = {0};
    OsGetRandom(first, sizeof first);
    OsGetRandom(second, sizeof second);
    // Two equal or all-zero 32-byte draws from a working source are out of the question.
    checks.check("OsGetRandom gives two different, non-zero draws",
                 memcmp(first, second, 32) != 0 && memcmp(first, zero, 32) != 0,
                 hex(first, 32) + " and " + hex(second, 32));
    // More than a call may ask for: nothing is written, even with room for it.
    std::vector<unsigned char> large(1025, 0x5A);
    OsGetRandom(large.data(), static_cast<int>(large.size()));
    bool untouched =
        std::all_of(large.begin(), large.end(), [](unsigned char b) { return b == 0x5A; });
    checks.check("OsGetRandom refuses 1025 bytes", untouched);
}

}  // namespace

void testAlgorithms(Checks &checks, const Expectations &) {
    testDes(checks);
    testAes(checks);
    testDigests(checks);
    testRandom(checks);
}

}  // namespace selftest
