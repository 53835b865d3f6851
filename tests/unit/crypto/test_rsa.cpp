// RSA: the multi-precision public-key functions and the libcrypto-backed Os* calls, checked
// against libcrypto's raw operations.
#include <openssl/bn.h>
#include <openssl/rsa.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>

#include "CryptoTestUtil.h"
#include "pos_sdk/crypto.h"

namespace {

// One generated key per size, shared by the tests of this binary.
struct KeyCache {
    std::map<int, RSA *> keys;
    ~KeyCache() {
        for (auto &entry : keys) RSA_free(entry.second);
    }
};

RSA *testKey(int bits) {
    static KeyCache cache;
    RSA *&key = cache.keys[bits];
    if (key == nullptr) {
        key = RSA_new();
        BIGNUM *e = BN_new();
        BN_set_word(e, 65537);
        EXPECT_EQ(RSA_generate_key_ex(key, bits, e, nullptr), 1);
        BN_free(e);
    }
    return key;
}

Bytes modulusOf(RSA *rsa) {
    Bytes n(RSA_size(rsa));
    BN_bn2binpad(RSA_get0_n(rsa), n.data(), int(n.size()));
    return n;
}

R_RSA_PUBLIC_KEY publicRecord(RSA *rsa, const BIGNUM *e) {
    R_RSA_PUBLIC_KEY key{};
    key.bits = unsigned(RSA_bits(rsa));
    BN_bn2binpad(RSA_get0_n(rsa), key.modulus, sizeof key.modulus);
    BN_bn2binpad(e, key.exponent, sizeof key.exponent);
    return key;
}

// A random value below the modulus, as many bytes as the modulus.
Bytes randomBelow(const Bytes &modulus) {
    Bytes m = randomBytes(modulus.size());
    m[0] = static_cast<unsigned char>(m[0] % modulus[0]);
    return m;
}

}  // namespace

TEST(RsaPublic, RawBlocksMatchLibcrypto) {
    BN_CTX *ctx = BN_CTX_new();
    for (int bits : {512, 1024, 2048}) {
        RSA *rsa = testKey(bits);
        Bytes n = modulusOf(rsa);
        for (int i = 0; i < 40; ++i) {
            // The record's exponent is used as given: 65537, 3, or a random large one.
            BIGNUM *e = BN_new();
            if (i % 3 == 0) BN_set_word(e, 65537);
            if (i % 3 == 1) BN_set_word(e, 3);
            if (i % 3 == 2) BN_rand(e, bits / 2, BN_RAND_TOP_ANY, BN_RAND_BOTTOM_ANY);
            R_RSA_PUBLIC_KEY key = publicRecord(rsa, e);

            Bytes in = randomBelow(n);
            Bytes out(n.size());
            unsigned outLen = 0;
            ASSERT_EQ(RSAPublicDecrypt(out.data(), &outLen, in.data(), unsigned(in.size()), &key),
                      0);
            ASSERT_EQ(outLen, n.size());

            BIGNUM *m = BN_bin2bn(in.data(), int(in.size()), nullptr), *r = BN_new();
            BN_mod_exp(r, m, e, RSA_get0_n(rsa), ctx);
            Bytes expected(n.size());
            BN_bn2binpad(r, expected.data(), int(expected.size()));
            ASSERT_EQ(out, expected) << bits << " bits, case " << i;
            BN_free(m);
            BN_free(r);
            BN_free(e);
        }
    }
    BN_CTX_free(ctx);
}

TEST(RsaPublic, EncryptBuildsTheConstantFillerBlock) {
    RSA *rsa = testKey(1024);
    BIGNUM *e = BN_new();
    BN_set_word(e, 65537);
    R_RSA_PUBLIC_KEY key = publicRecord(rsa, e);
    BN_free(e);

    Bytes message = randomBytes(117);
    Bytes out(128), again(128);
    unsigned outLen = 0, againLen = 0;
    ASSERT_EQ(RSAPublicEncrypt(out.data(), &outLen, message.data(), 117, &key), 0);
    ASSERT_EQ(outLen, 128u);
    ASSERT_EQ(RSAPublicEncrypt(again.data(), &againLen, message.data(), 117, &key), 0);
    EXPECT_EQ(out, again) << "the filler is constant, so equal inputs give equal outputs";

    // The private key opens it to 00 02, eight 0x80 filler bytes, 00, the message.
    Bytes block(128);
    ASSERT_EQ(RSA_private_decrypt(128, out.data(), block.data(), rsa, RSA_NO_PADDING), 128);
    Bytes expected(128, 0x80);
    expected[0] = 0x00;
    expected[1] = 0x02;
    expected[10] = 0x00;
    std::copy(message.begin(), message.end(), expected.begin() + 11);
    EXPECT_EQ(block, expected);

    // A shorter message gets a longer filler.
    ASSERT_EQ(RSAPublicEncrypt(out.data(), &outLen, message.data(), 5, &key), 0);
    ASSERT_EQ(RSA_private_decrypt(128, out.data(), block.data(), rsa, RSA_NO_PADDING), 128);
    EXPECT_EQ(Bytes(block.begin() + 2, block.begin() + 122), Bytes(120, 0x80));
    EXPECT_EQ(block[122], 0x00);

    // 118 bytes do not fit; nothing is written.
    Bytes untouched(128, 0x5C);
    unsigned untouchedLen = 77;
    EXPECT_EQ(RSAPublicEncrypt(untouched.data(), &untouchedLen, message.data(), 118, &key), RE_LEN);
    EXPECT_EQ(untouched, Bytes(128, 0x5C));
    EXPECT_EQ(untouchedLen, 77u);
}

TEST(RsaPublic, DecryptRejectsLongInputAndValuesNotBelowTheModulus) {
    RSA *rsa = testKey(1024);
    BIGNUM *e = BN_new();
    BN_set_word(e, 65537);
    R_RSA_PUBLIC_KEY key = publicRecord(rsa, e);
    BN_free(e);
    Bytes n = modulusOf(rsa);

    Bytes out(129, 0x5C);
    unsigned outLen = 77;
    EXPECT_EQ(RSAPublicDecrypt(out.data(), &outLen, n.data(), 128, &key), RE_DATA);
    Bytes longer(129, 0);
    EXPECT_EQ(RSAPublicDecrypt(out.data(), &outLen, longer.data(), 129, &key), RE_LEN);
    EXPECT_EQ(out, Bytes(129, 0x5C));
    EXPECT_EQ(outLen, 77u);

    // A record claiming more bits than it can hold is a length error, not an overrun.
    key.bits = 4096;
    EXPECT_EQ(RSAPublicDecrypt(out.data(), &outLen, n.data(), 16, &key), RE_LEN);
    EXPECT_EQ(RSAPublicEncrypt(out.data(), &outLen, n.data(), 16, &key), RE_LEN);
}

TEST(OsRsa, PublicAndPrivateOperationsMatchLibcrypto) {
    RSA *rsa = testKey(1024);
    Bytes n = modulusOf(rsa);
    Bytes d(128);
    BN_bn2binpad(RSA_get0_d(rsa), d.data(), 128);

    for (int i = 0; i < 20; ++i) {
        Bytes in = randomBelow(n), out(128), expected(128);
        // The public exponent is always 65537, whatever the three bytes hold.
        Bytes junkExponent = randomBytes(3);
        ASSERT_EQ(OsRSA(n.data(), 128, junkExponent.data(), 3, in.data(), out.data(), 1), 0);
        RSA_public_encrypt(128, in.data(), expected.data(), rsa, RSA_NO_PADDING);
        ASSERT_EQ(out, expected);
        ASSERT_EQ(OsRSA(n.data(), 128, junkExponent.data(), 3, in.data(), out.data(), 0), 0);
        ASSERT_EQ(out, expected);

        // An exponent as long as the modulus is the private exponent.
        ASSERT_EQ(OsRSA(n.data(), 128, d.data(), 128, in.data(), out.data(), 1), 0);
        RSA_private_encrypt(128, in.data(), expected.data(), rsa, RSA_NO_PADDING);
        ASSERT_EQ(out, expected);
        ASSERT_EQ(OsRSA(n.data(), 128, d.data(), 128, in.data(), out.data(), 0), 0);
        ASSERT_EQ(out, expected);
    }

    Bytes buf(128);
    EXPECT_EQ(OsRSA(n.data(), 128, d.data(), 128, n.data(), buf.data(), 1), -1)
        << "input not below the modulus";
    EXPECT_EQ(OsRSA(n.data(), 100, d.data(), 100, buf.data(), buf.data(), 1), -1003);
    EXPECT_EQ(OsRSA(n.data(), 128, nullptr, 3, buf.data(), buf.data(), 1), -1003);
    EXPECT_EQ(OsRSA(n.data(), 128, d.data(), 3, buf.data(), nullptr, 1), -1003);
}

TEST(OsRsa, KeyGenerationGivesAWorkingPair) {
    for (int len : {64, 128}) {
        Bytes n(len + 4, 0xEE), d(len + 4, 0xEE);
        unsigned char third = 0x5C;
        ASSERT_EQ(OsRSAKeyGen(n.data(), d.data(), len, &third), 0);
        EXPECT_EQ(third, 0x5C) << "nothing is written through the third pointer";
        EXPECT_EQ(Bytes(n.begin() + len, n.end()), Bytes(4, 0xEE));
        EXPECT_EQ(Bytes(d.begin() + len, d.end()), Bytes(4, 0xEE));
        EXPECT_GE(n[0], 0x80) << "a full-length modulus";

        // Private then public operation gives the message back. A private exponent shorter
        // than the modulus comes out left-aligned and cannot be used as it stands; its last
        // byte is then zero, so such a (rare) key is not round-tripped.
        if (d[len - 1] == 0) continue;
        Bytes message = randomBelow(Bytes(n.begin(), n.begin() + len));
        Bytes signature(len), recovered(len);
        ASSERT_EQ(OsRSA(n.data(), len, d.data(), len, message.data(), signature.data(), 1), 0);
        ASSERT_EQ(OsRSA(n.data(), len, d.data(), 3, signature.data(), recovered.data(), 0), 0);
        EXPECT_EQ(recovered, message);
    }
    unsigned char n[64], d[64], third;
    EXPECT_EQ(OsRSAKeyGen(n, d, 64, nullptr), -1003);
    EXPECT_EQ(OsRSAKeyGen(n, d, 100, &third), -1003);
}
