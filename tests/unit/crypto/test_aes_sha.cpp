// AES against FIPS 197 and libcrypto, the SHA family on the standard messages, and the
// argument rules of OsAES, OsSHA and OsGetRandom.
#include <openssl/aes.h>

#include <gtest/gtest.h>

#include <cstring>

#include "CryptoTestUtil.h"
#include "pos_sdk/crypto.h"

namespace {

Bytes referenceAes(const Bytes &key, const Bytes &in, bool encrypt) {
    AES_KEY ks;
    Bytes out(16);
    if (encrypt) {
        AES_set_encrypt_key(key.data(), int(8 * key.size()), &ks);
        AES_encrypt(in.data(), out.data(), &ks);
    } else {
        AES_set_decrypt_key(key.data(), int(8 * key.size()), &ks);
        AES_decrypt(in.data(), out.data(), &ks);
    }
    return out;
}

}  // namespace

TEST(Aes, Fips197AppendixC) {
    const Bytes plain = fromHex("00112233445566778899aabbccddeeff");
    struct Case {
        const char *key, *cipher;
    } cases[] = {
        {"000102030405060708090a0b0c0d0e0f", "69c4e0d86a7b0430d8cdb78070b4c55a"},
        {"000102030405060708090a0b0c0d0e0f1011121314151617", "dda97ca4864cdfe06eaf70a0ec0d7191"},
        {"000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f",
         "8ea2b7ca516745bfeafc49904b496089"},
    };
    for (const auto &c : cases) {
        Bytes key = fromHex(c.key), out(16), back(16);
        ASSERT_EQ(aes_encrypt2(key.data(), int(key.size()), out.data(), plain.data()), 0);
        EXPECT_EQ(toHex(out), c.cipher);
        ASSERT_EQ(aes_decrypt2(key.data(), int(key.size()), back.data(), out.data()), 0);
        EXPECT_EQ(back, plain);

        // The same through a context, in place.
        aes_ctx cx;
        ASSERT_EQ(aes_set_key(&cx, key.data(), int(key.size())), 0);
        EXPECT_EQ(cx.key_length, key.size());
        Bytes block = plain;
        aes_encrypt(&cx, block.data(), block.data());
        EXPECT_EQ(toHex(block), c.cipher);
        aes_decrypt(&cx, block.data(), block.data());
        EXPECT_EQ(block, plain);
    }
}

TEST(Aes, MatchesLibcryptoOnRandomKeysAndBlocks) {
    for (int i = 0; i < 3000; ++i) {
        Bytes key = randomBytes(16 + 8 * (i % 3)), in = randomBytes(16), out(16);
        bool encrypt = (i / 3) % 2 == 0;
        (encrypt ? aes_encrypt2 : aes_decrypt2)(key.data(), int(key.size()), out.data(), in.data());
        ASSERT_EQ(out, referenceAes(key, in, encrypt)) << toHex(key) << " " << toHex(in);
    }
}

TEST(Aes, BadKeyLengthsAndModesWriteNothing) {
    Bytes key = randomBytes(32), in = randomBytes(16), out(16, 0x5C);
    for (int badLen : {0, 8, 20, 31, 40, -16}) {
        EXPECT_EQ(aes_encrypt2(key.data(), badLen, out.data(), in.data()), -1) << badLen;
        EXPECT_EQ(aes_decrypt2(key.data(), badLen, out.data(), in.data()), -1) << badLen;
    }
    aes_ctx cx;
    std::memset(&cx, 0x33, sizeof cx);
    EXPECT_EQ(aes_set_key(&cx, key.data(), 20), -1);
    aes_ctx untouched;
    std::memset(&untouched, 0x33, sizeof untouched);
    EXPECT_EQ(std::memcmp(&cx, &untouched, sizeof cx), 0) << "context unchanged";
    aes_encrypt(&cx, out.data(), in.data());  // a context without a valid key is ignored

    loggedMessages().clear();
    OsAES(in.data(), out.data(), key.data(), 20, 1);
    OsAES(in.data(), out.data(), key.data(), 16, 2);
    OsAES(nullptr, out.data(), key.data(), 16, 1);
    EXPECT_EQ(out, Bytes(16, 0x5C));
    EXPECT_TRUE(loggedMessages().empty());

    OsAES(in.data(), out.data(), key.data(), 24, 1);
    EXPECT_EQ(out, referenceAes(Bytes(key.begin(), key.begin() + 24), in, true));
    OsAES(in.data(), out.data(), key.data(), 24, 0);
    EXPECT_EQ(out, referenceAes(Bytes(key.begin(), key.begin() + 24), in, false));
}

TEST(Sha, StandardMessages) {
    const std::string abc = "abc";
    const std::string two = "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq";
    auto run = [](int (*fn)(const unsigned char *, int, unsigned char *), size_t size,
                  const std::string &msg) {
        Bytes digest(size);
        EXPECT_EQ(
            fn(reinterpret_cast<const unsigned char *>(msg.data()), int(msg.size()), digest.data()),
            1);
        return toHex(digest);
    };
    EXPECT_EQ(run(SHA1Calc, 20, abc), "a9993e364706816aba3e25717850c26c9cd0d89d");
    EXPECT_EQ(run(SHA1Calc, 20, two), "84983e441c3bd26ebaae4aa1f95129e5e54670f1");
    EXPECT_EQ(run(SHA224Calc, 28, abc), "23097d223405d8228642a477bda255b32aadbce4bda0b3f7e36c9da7");
    EXPECT_EQ(run(SHA256Calc, 32, abc),
              "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(run(SHA256Calc, 32, two),
              "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
    EXPECT_EQ(run(SHA256Calc, 32, ""),
              "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(run(SHA384Calc, 48, abc),
              "cb00753f45a35e8bb5a03d699ac65007272c32ab0eded1631a8b605a43ff5bed"
              "8086072ba1e7cc2358baeca134c825a7");
    EXPECT_EQ(run(SHA512Calc, 64, abc),
              "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a"
              "2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2a9ac94fa54ca49f");

    Bytes digest(32, 0x5C);
    EXPECT_EQ(SHA256Calc(digest.data(), -1, digest.data()), 0);
    EXPECT_EQ(digest, Bytes(32, 0x5C));
}

TEST(Sha, OsShaSelectsByTypeAndIgnoresEmptyInput) {
    const Bytes data = randomBytes(100);
    int (*const byType[])(const unsigned char *, int, unsigned char *) = {
        SHA1Calc, SHA224Calc, SHA256Calc, SHA384Calc, SHA512Calc};
    const size_t sizes[] = {20, 28, 32, 48, 64};
    for (int type = 1; type <= 5; ++type) {
        Bytes viaOs(64, 0), direct(64, 0);
        OsSHA(type, data.data(), 100, viaOs.data());
        byType[type - 1](data.data(), 100, direct.data());
        EXPECT_EQ(viaOs, direct) << type;
        EXPECT_NE(viaOs, Bytes(64, 0));
        EXPECT_EQ(Bytes(viaOs.begin() + long(sizes[type - 1]), viaOs.end()),
                  Bytes(64 - sizes[type - 1], 0));
    }
    Bytes untouched(64, 0x5C);
    OsSHA(6, data.data(), 100, untouched.data());
    OsSHA(0, data.data(), 100, untouched.data());
    OsSHA(3, data.data(), 0, untouched.data());
    OsSHA(3, nullptr, 100, untouched.data());
    EXPECT_EQ(untouched, Bytes(64, 0x5C));
}

TEST(Random, ChecksArgumentsAndFillsTheBuffer) {
    loggedMessages().clear();
    Bytes buf(1025, 0x5C);
    OsGetRandom(buf.data(), 1025);
    OsGetRandom(buf.data(), -1);
    OsGetRandom(nullptr, 16);
    EXPECT_EQ(buf, Bytes(1025, 0x5C));
    ASSERT_EQ(loggedMessages().size(), 3u);
    EXPECT_EQ(loggedMessages()[0], "params Err");

    loggedMessages().clear();
    OsGetRandom(buf.data(), 0);
    EXPECT_EQ(buf, Bytes(1025, 0x5C));
    Bytes first(16, 0x5C), second(16, 0x5C);
    OsGetRandom(first.data(), 16);
    OsGetRandom(second.data(), 16);
    EXPECT_NE(first, Bytes(16, 0x5C)) << "the buffer receives fresh bytes";
    EXPECT_NE(first, second);
    OsGetRandom(buf.data(), 1024);
    EXPECT_EQ(buf[1024], 0x5C);
    EXPECT_TRUE(loggedMessages().empty());
}
