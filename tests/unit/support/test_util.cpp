// Conversions, execute_cmd, the bit array, the smp_* helpers and the int queue.
#include "pos_sdk/util.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>

namespace {

const unsigned char *bytes(const char *s) {
    return reinterpret_cast<const unsigned char *>(s);
}

}  // namespace

TEST(Conversions, HexBothWaysWithTheirReturnCodes) {
    const unsigned char in[] = {0x0A, 0xF1};
    unsigned char text[5];
    memset(text, '#', sizeof text);
    EXPECT_EQ(ByteToStr(in, 2, text), 4);
    EXPECT_EQ(std::string(reinterpret_cast<char *>(text), 5), "0AF1#");  // no terminator

    unsigned char out[3] = {0xEE, 0xEE, 0xEE};
    EXPECT_EQ(StrToByte(bytes("0aF1B"), 5, out), 2);  // the odd last character is ignored
    EXPECT_EQ(out[0], 0x0A);
    EXPECT_EQ(out[1], 0xF1);
    EXPECT_EQ(out[2], 0xEE);
    EXPECT_EQ(StrToByte(bytes("G1"), 2, out), 1);  // 'G' (0x47) counts its low four bits
    EXPECT_EQ(out[0], 0x71);

    unsigned char all[256], hex[512], back[256];
    for (int i = 0; i < 256; ++i) all[i] = static_cast<unsigned char>(i);
    ASSERT_EQ(ByteToStr(all, 256, hex), 512);
    ASSERT_EQ(StrToByte(hex, 512, back), 256);
    EXPECT_EQ(memcmp(all, back, 256), 0);
}

TEST(Conversions, FixedWidthIntegers) {
    const char be[] = {0x01, 0x02, 0x03, 0x04};
    const char high[] = {'\xFF', '\xFF', '\xFF', '\xFE'};
    int v = 0;
    EXPECT_EQ(Byte4ToIntBE(be, 4, &v), 0);
    EXPECT_EQ(v, 0x01020304);
    EXPECT_EQ(Byte4ToIntLE(be, 4, &v), 0);
    EXPECT_EQ(v, 0x04030201);
    EXPECT_EQ(Byte4ToIntBE(high, 4, &v), 0);
    EXPECT_EQ(v, -2);
    EXPECT_EQ(Byte2ToIntBE(high + 2, 2, &v), 0);  // zero-extended, never sign-extended
    EXPECT_EQ(v, 0xFFFE);
    EXPECT_EQ(Byte2ToIntLE(high + 2, 2, &v), 0);
    EXPECT_EQ(v, 0xFEFF);

    v = 12345;
    EXPECT_EQ(Byte4ToIntBE(be, 3, &v), 2);
    EXPECT_EQ(Byte4ToIntLE(nullptr, 4, &v), 2);
    EXPECT_EQ(Byte2ToIntBE(be, 1, &v), 2);
    EXPECT_EQ(Byte2ToIntLE(be, 2, nullptr), 2);
    EXPECT_EQ(v, 12345) << "a refused call leaves the output alone";
}

TEST(ExecuteCmd, CapturesOutputWithinItsLimits) {
    char out[2048] = "keep";
    EXPECT_EQ(execute_cmd("true", out), 0);
    EXPECT_STREQ(out, "keep");
    EXPECT_EQ(execute_cmd("printf 'a\\nb\\n'; exit 3", out), 0);  // exit status ignored
    EXPECT_STREQ(out, "keepa\nb\n");

    // Reading stops once 1025 characters are held: here after the 11th 100-byte line.
    out[0] = '\0';
    EXPECT_EQ(execute_cmd("for i in $(seq 40); do printf '%099d\\n' $i; done", out), 0);
    EXPECT_EQ(strlen(out), 1100u);
    // One 3000-byte line arrives in 1023-byte pieces: two pieces reach the limit.
    out[0] = '\0';
    EXPECT_EQ(execute_cmd("printf '%03000d' 0", out), 0);
    EXPECT_EQ(strlen(out), 2046u);

    // The longest command that fits the 1024-byte copy runs; one byte more is refused.
    std::string cmd = "printf ok" + std::string(1023 - 9, ' ');
    out[0] = '\0';
    EXPECT_EQ(execute_cmd(cmd.c_str(), out), 0);
    EXPECT_STREQ(out, "ok");
    EXPECT_EQ(execute_cmd((cmd + " ").c_str(), out), -1);
    EXPECT_STREQ(out, "ok");
}

TEST(BitArray, SetClearExpandWithinBounds) {
    bitarray_t *ba = bitarray_init_zero(40);
    ASSERT_NE(ba, nullptr);
    for (unsigned bit : {0u, 31u, 32u, 39u}) EXPECT_EQ(bitarray_set(ba, bit), 0);
    EXPECT_EQ(bitarray_clear(ba, 31), 0);
    EXPECT_EQ(bitarray_set(ba, 40), -1);
    ASSERT_EQ(bitarray_expand(ba, 200), 0);
    EXPECT_EQ(bitarray_expand(ba, 10), 0);  // never shrinks
    EXPECT_EQ(bitarray_set(ba, 199), 0);
    for (unsigned bit = 0; bit < 201; ++bit) {
        bool expected = bit == 0 || bit == 32 || bit == 39 || bit == 199;
        EXPECT_EQ(bitarray_is_set(ba, bit), expected) << bit;
    }
    bitarray_free(ba);
}

TEST(StringHelpers, CopyStripFormatAndSearch) {
    char buf[6];
    EXPECT_EQ(smp_strlcpy(buf, "terminal", sizeof buf), 8u);
    EXPECT_STREQ(buf, "termi");
    char padded[] = " \t amount 12 \r\n";
    EXPECT_EQ(smp_strstrip(padded), padded);
    EXPECT_STREQ(padded, "amount 12");
    EXPECT_EQ(smp_snprintf(buf, sizeof buf, "%d", 12345), 5);
    EXPECT_EQ(smp_snprintf(buf, sizeof buf, "%d", 123456), -1);
    EXPECT_STREQ(buf, "12345");

    EXPECT_EQ(smp_sunday_search(bytes("a\0b\0c"), 5, bytes("b\0c"), 3), 2);
    EXPECT_EQ(smp_sunday_search(bytes("ab"), 2, bytes("abc"), 3), -1);
    // Small alphabets give many partial matches and shifts of every size.
    std::mt19937 rng(7);
    for (int round = 0; round < 2000; ++round) {
        std::vector<unsigned char> text(rng() % 40), pattern(1 + rng() % 4);
        for (auto &c : text) c = static_cast<unsigned char>(rng() % 3);
        for (auto &c : pattern) c = static_cast<unsigned char>(rng() % 3);
        auto it = std::search(text.begin(), text.end(), pattern.begin(), pattern.end());
        int expected = it == text.end() ? -1 : static_cast<int>(it - text.begin());
        ASSERT_EQ(smp_sunday_search(text.data(), static_cast<int>(text.size()), pattern.data(),
                                    static_cast<int>(pattern.size())),
                  expected);
    }
}

TEST(Queue, FifoAcrossTheRingWithLimits) {
    queue_t q;
    ASSERT_EQ(initQueue(&q, 3), 0);
    for (int v : {1, 2, 3}) EXPECT_EQ(enQueue(&q, v), 0);
    EXPECT_TRUE(isFullQueue(&q));
    EXPECT_EQ(enQueue(&q, 4), -1);
    int v = 0;
    EXPECT_EQ(deQueue(&q, &v), 0);
    EXPECT_EQ(v, 1);
    EXPECT_EQ(enQueue(&q, 4), 0);  // wraps around into the freed slot
    testing::internal::CaptureStdout();
    printQueue(&q);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "[2 3 4]\n");

    clearQueue(&q);
    v = 99;
    EXPECT_EQ(deQueue(&q, &v), -1);
    EXPECT_EQ(v, 99);
    destroyQueue(&q);
    EXPECT_EQ(enQueue(&q, 6), -1);
}
