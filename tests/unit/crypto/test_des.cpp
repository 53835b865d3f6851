// DES and triple DES: published vectors, libcrypto as the reference for random keys and
// blocks, the textbook bit-per-byte routines against the word engine, and the block and key
// length rules.
#include <openssl/des.h>

#include <gtest/gtest.h>

#include <cstring>

#include "CryptoTestUtil.h"
#include "pos_sdk/crypto.h"

namespace {

Bytes des(const Bytes &key, const Bytes &in, bool encrypt) {
    Bytes out(8);
    (encrypt ? DES : _DES)(key.data(), in.data(), out.data());
    return out;
}

Bytes tripleDes(const Bytes &key, const Bytes &in, bool encrypt) {
    Bytes out(in.size());
    int rc = (encrypt ? TripleDes : _TripleDes)(key.data(), int(key.size()), in.data(),
                                                int(in.size()), out.data());
    EXPECT_EQ(rc, 0);
    return out;
}

// libcrypto's ECB triple DES over whole blocks; a single key is K1 = K2 = K3.
Bytes referenceTripleDes(const Bytes &key, const Bytes &in, bool encrypt) {
    DES_key_schedule ks[3];
    for (int i = 0; i < 3; ++i) {
        size_t offset = key.size() == 8 ? 0 : key.size() == 16 ? (i == 2 ? 0 : 8 * i) : 8 * i;
        DES_cblock block;
        std::memcpy(block, key.data() + offset, 8);
        DES_set_key_unchecked(&block, &ks[i]);
    }
    Bytes out(in.size());
    for (size_t n = 0; n + 8 <= in.size(); n += 8) {
        DES_cblock src, dst;
        std::memcpy(src, in.data() + n, 8);
        DES_ecb3_encrypt(&src, &dst, &ks[0], &ks[1], &ks[2], encrypt ? DES_ENCRYPT : DES_DECRYPT);
        std::memcpy(out.data() + n, dst, 8);
    }
    return out;
}

// One block through the exported bit-per-byte routines, the way a textbook DES is written.
Bytes textbookDes(const Bytes &key, const Bytes &in, bool encrypt) {
    unsigned char keyBits[64], l[32], r[32], bits[64];
    expand0(key.data(), keyBits);
    setkeystar(keyBits);
    ip(in.data(), l, r);
    for (int i = 1; i <= 16; ++i) F(encrypt ? i : 17 - i, l, r, l, r);
    _ip(bits, r, l);
    Bytes out(8);
    compress0(bits, out.data());
    return out;
}

Bytes scheduleOf(const Bytes &key) {
    unsigned char keyBits[64];
    expand0(key.data(), keyBits);
    setkeystar(keyBits);
    return Bytes(&K[1][0], &K[1][0] + 16 * 48);
}

Bytes currentK() {
    return Bytes(&K[1][0], &K[1][0] + 16 * 48);
}

}  // namespace

TEST(Des, PublishedVectors) {
    struct Case {
        const char *key, *plain, *cipher;
    } cases[] = {
        {"133457799bbcdff1", "0123456789abcdef", "85e813540f0ab405"},
        {"0123456789abcdef", "4e6f772069732074", "3fa40e8a984d4815"},
        {"0101010101010101", "8000000000000000", "95f8a5e5dd31d900"},
    };
    for (const auto &c : cases) {
        Bytes key = fromHex(c.key);
        EXPECT_EQ(toHex(des(key, fromHex(c.plain), true)), c.cipher) << c.key;
        EXPECT_EQ(toHex(des(key, fromHex(c.cipher), false)), c.plain) << c.key;
    }

    // Three-key triple DES over three blocks in one call.
    Bytes key = fromHex("0123456789abcdef23456789abcdef01456789abcdef0123");
    Bytes plain = fromHex(
        "5468652071756663"
        "6b2062726f776e20"
        "666f78206a756d70");
    const char *cipher =
        "a826fd8ce53b855f"
        "cce21c8112256fe6"
        "68d5c05dd9b6b900";
    EXPECT_EQ(toHex(tripleDes(key, plain, true)), cipher);
    EXPECT_EQ(tripleDes(key, fromHex(cipher), false), plain);
}

TEST(Des, MatchesLibcryptoOnRandomKeysAndBlocks) {
    for (int i = 0; i < 3000; ++i) {
        const size_t keyLen = 8 * (1 + i % 3);
        Bytes key = randomBytes(keyLen);
        Bytes in = randomBytes(8 * (1 + i % 4));
        bool encrypt = (i / 3) % 2 == 0;
        ASSERT_EQ(tripleDes(key, in, encrypt), referenceTripleDes(key, in, encrypt))
            << "key " << toHex(key) << " in " << toHex(in) << (encrypt ? " enc" : " dec");
        Bytes block(in.begin(), in.begin() + 8);
        ASSERT_EQ(des(key, block, encrypt),
                  referenceTripleDes(Bytes(key.begin(), key.begin() + 8), block, encrypt));
    }
}

TEST(Des, TextbookRoutinesAgreeWithTheEngineAndK) {
    for (int i = 0; i < 300; ++i) {
        Bytes key = randomBytes(8), in = randomBytes(8);
        bool encrypt = i % 2 == 0;
        Bytes expected = textbookDes(key, in, encrypt);
        Bytes expectedK = currentK();
        std::memset(K, 0xAA, sizeof K);
        ASSERT_EQ(des(key, in, encrypt), expected);
        ASSERT_EQ(currentK(), expectedK) << "DES leaves the schedule of its key in K";
    }
}

TEST(Des, TripleDesLeavesTheLastStepsScheduleInK) {
    Bytes key = randomBytes(24), in = randomBytes(16);
    Bytes k1(key.begin(), key.begin() + 8), k3(key.begin() + 16, key.end());
    Bytes k1Schedule = scheduleOf(k1), k3Schedule = scheduleOf(k3);

    tripleDes(key, in, true);  // E(K1) D(K2) E(K3)
    EXPECT_EQ(currentK(), k3Schedule);
    tripleDes(key, in, false);  // D(K3) E(K2) D(K1)
    EXPECT_EQ(currentK(), k1Schedule);
    tripleDes(Bytes(key.begin(), key.begin() + 16), in, true);  // E(K1) D(K2) E(K1)
    EXPECT_EQ(currentK(), k1Schedule);
}

TEST(Des, KeyLengthsAndBlockCounts) {
    Bytes key = randomBytes(32), in = randomBytes(24);

    // Bad key lengths: -1, nothing written, K untouched.
    Bytes kBefore = scheduleOf(randomBytes(8));
    for (int badLen : {0, 7, 12, 32, -8}) {
        Bytes out(24, 0x5C);
        EXPECT_EQ(TripleDes(key.data(), badLen, in.data(), 8, out.data()), -1) << badLen;
        EXPECT_EQ(_TripleDes(key.data(), badLen, in.data(), 8, out.data()), -1) << badLen;
        EXPECT_EQ(out, Bytes(24, 0x5C));
    }
    EXPECT_EQ(currentK(), kBefore);
    EXPECT_EQ(TripleDes(nullptr, 8, in.data(), 8, in.data()), -1);

    // 16-byte keys are K1 K2 K1.
    Bytes k16(key.begin(), key.begin() + 16);
    Bytes k24 = k16;
    k24.insert(k24.end(), key.begin(), key.begin() + 8);
    EXPECT_EQ(tripleDes(k16, in, true), tripleDes(k24, in, true));
    EXPECT_EQ(tripleDes(k16, in, false), tripleDes(k24, in, false));

    // Short input still makes one whole block.
    Bytes out(24, 0x5C);
    ASSERT_EQ(TripleDes(k24.data(), 24, in.data(), 4, out.data()), 0);
    EXPECT_EQ(Bytes(out.begin(), out.begin() + 8),
              referenceTripleDes(k24, Bytes(in.begin(), in.begin() + 8), true));
    EXPECT_EQ(Bytes(out.begin() + 8, out.end()), Bytes(16, 0x5C));

    // 20 bytes: two blocks, the last four bytes ignored.
    out.assign(24, 0x5C);
    ASSERT_EQ(_TripleDes(k24.data(), 24, in.data(), 20, out.data()), 0);
    EXPECT_EQ(Bytes(out.begin(), out.begin() + 16),
              referenceTripleDes(k24, Bytes(in.begin(), in.begin() + 16), false));
    EXPECT_EQ(Bytes(out.begin() + 16, out.end()), Bytes(8, 0x5C));
}

TEST(Des, Compress016WritesColonToQuestionMarkForTenToFifteen) {
    // expand0 and compress0 are covered by the textbook round trip above.
    Bytes block = fromHex("0123456789abcdef");
    unsigned char bits[64];
    expand0(block.data(), bits);
    char text[17];
    std::memset(text, '#', sizeof text);
    compress016(bits, text);
    EXPECT_EQ(std::string(text, 17), "0123456789:;<=>?#") << "no terminator is written";
    unsigned char ones[64];
    std::memset(ones, 1, sizeof ones);
    compress016(ones, text);
    EXPECT_EQ(std::string(text, 16), std::string(16, '?'));
}

TEST(Des, OsDesTreatsExactlyOneBlock) {
    Bytes key = randomBytes(16), in = randomBytes(16);
    Bytes out(16, 0x5C);
    OsDES(in.data(), out.data(), key.data(), 16, 1);
    EXPECT_EQ(Bytes(out.begin(), out.begin() + 8),
              referenceTripleDes(key, Bytes(in.begin(), in.begin() + 8), true));
    EXPECT_EQ(Bytes(out.begin() + 8, out.end()), Bytes(8, 0x5C));

    Bytes back(8);
    OsDES(out.data(), back.data(), key.data(), 16, 0);
    EXPECT_EQ(back, Bytes(in.begin(), in.begin() + 8));

    // Unknown modes and bad key lengths do nothing and log nothing.
    loggedMessages().clear();
    Bytes untouched(8, 0x5C);
    OsDES(in.data(), untouched.data(), key.data(), 16, 2);
    OsDES(in.data(), untouched.data(), key.data(), 12, 1);
    OsDES(nullptr, untouched.data(), key.data(), 8, 1);
    EXPECT_EQ(untouched, Bytes(8, 0x5C));
    EXPECT_TRUE(loggedMessages().empty());
}
