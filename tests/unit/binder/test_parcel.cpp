// Parcel: the byte layout against hand-written golden arrays, round trips of every item type,
// and reads of truncated or hostile parcels.
#include <binder/Parcel.h>
#include <gtest/gtest.h>
#include <stdint.h>
#include <string.h>

#include <vector>

#include <utils/String16.h>
#include <utils/String8.h>

using android::BAD_VALUE;
using android::NOT_ENOUGH_DATA;
using android::OK;
using android::Parcel;
using android::String16;
using android::String8;
using Bytes = std::vector<uint8_t>;

namespace {

Bytes contents(const Parcel &p) {
    return Bytes(p.data(), p.data() + p.dataSize());
}

void load(Parcel &p, const Bytes &bytes) {
    ASSERT_EQ(OK, p.setData(bytes.data(), bytes.size()));
}

}  // namespace

TEST(ParcelLayout, NumbersAreLittleEndianWords) {
    Parcel p;
    p.writeInt32(0x01020304);
    p.writeInt32(-2);
    p.writeNoException();
    p.writeInt64(0x1122334455667788LL);
    EXPECT_EQ((Bytes{0x04, 0x03, 0x02, 0x01, 0xfe, 0xff, 0xff, 0xff, 0,    0,
                     0,    0,    0x88, 0x77, 0x66, 0x55, 0x44, 0x33, 0x22, 0x11}),
              contents(p));
}

TEST(ParcelLayout, CStringsAndRawBytesArePaddedWithZeros) {
    Parcel p;
    p.writeCString("abc");   // exactly one word with its terminator
    p.writeCString("abcd");  // terminator spills into a second word
    p.writeCString("");
    const uint8_t raw[5] = {1, 2, 3, 4, 5};
    p.write(raw, sizeof raw);
    p.write(raw, 0);
    EXPECT_EQ((Bytes{'a', 'b', 'c', 0, 'a', 'b', 'c', 'd', 0, 0, 0, 0,
                     0,   0,   0,   0, 1,   2,   3,   4,   5, 0, 0, 0}),
              contents(p));
}

TEST(ParcelLayout, PaddingIsZeroEvenInAReusedBuffer) {
    Parcel p;
    const Bytes dirty(32, 0xff);
    p.write(dirty.data(), dirty.size());
    p.setDataSize(0);
    p.writeCString("a");
    p.writeString16(String16("x"));
    EXPECT_EQ((Bytes{'a', 0, 0, 0, 1, 0, 0, 0, 'x', 0, 0, 0}), contents(p));
}

TEST(ParcelLayout, String16HasLengthUnitsTerminatorAndPadding) {
    Parcel p;
    p.writeString16(String16("hi"));   // 4 bytes of units + 2 of terminator, padded to 8
    p.writeString16(String16("abc"));  // 6 + 2: no padding needed
    p.writeString16(String16(""));     // the empty string still carries its terminator
    p.writeString16(nullptr, 0);       // the null string is only the length -1
    EXPECT_EQ((Bytes{2,   0, 0,   0, 'h', 0, 'i', 0, 0, 0, 0, 0, 3, 0, 0,    0,    'a',  0,
                     'b', 0, 'c', 0, 0,   0, 0,   0, 0, 0, 0, 0, 0, 0, 0xff, 0xff, 0xff, 0xff}),
              contents(p));
}

TEST(ParcelLayout, InterfaceTokenIsPolicyWordThenDescriptor) {
    Parcel p;
    p.writeInterfaceToken(String16("a.IB"));
    EXPECT_EQ(
        (Bytes{0x00, 0x00, 0x40, 0x00, 4, 0, 0, 0, 'a', 0, '.', 0, 'I', 0, 'B', 0, 0, 0, 0, 0}),
        contents(p));
}

TEST(ParcelLayout, NonAsciiTextBecomesUtf16) {
    Parcel p;
    p.writeString16(String16("\xc3\xa9"));          // U+00E9, two UTF-8 bytes
    p.writeString16(String16("\xe4\xb8\xad"));      // U+4E2D, three UTF-8 bytes
    p.writeString16(String16("\xf0\x9f\x98\x80"));  // U+1F600: a surrogate pair
    EXPECT_EQ((Bytes{1, 0, 0, 0, 0xe9, 0x00, 0,    0,    1,    0,    0, 0, 0x2d, 0x4e,
                     0, 0, 2, 0, 0,    0,    0x3d, 0xd8, 0x00, 0xde, 0, 0, 0,    0}),
              contents(p));
}

TEST(Strings, Utf8AndUtf16ConvertBothWays) {
    const char *text = "K\xc3\xa9y \xe4\xb8\xad \xf0\x9f\x98\x80!";
    String16 wide(text);
    EXPECT_EQ(9u, wide.size());  // K é y ␠ 中 ␠ (2 units) !
    EXPECT_STREQ(text, String8(wide).string());
    EXPECT_EQ(strlen(text), String8(wide).size());
    EXPECT_TRUE(String16(String8(text)) == wide);

    // Malformed input degrades to U+FFFD instead of failing the whole string.
    EXPECT_STREQ(
        "a\xef\xbf\xbd"
        "b",
        String8(String16("a\xff"
                         "b"))
            .string());
    EXPECT_STREQ("a\xef\xbf\xbd\xef\xbf\xbd", String8(String16("a\xe4\xb8")).string());  // cut
    EXPECT_STREQ("\xef\xbf\xbd\xef\xbf\xbd", String8(String16("\xc0\xaf")).string());    // overlong
    const char16_t lone[] = {u'x', 0xd800, u'y'};
    EXPECT_STREQ("x\xef\xbf\xbdy", String8(String16(lone, 3)).string());
    EXPECT_EQ(0u, String16(static_cast<const char *>(nullptr)).size());
}

TEST(ParcelRoundTrip, EveryItemTypeReadsBackInOrder) {
    Parcel p;
    const uint8_t raw[7] = {9, 8, 7, 6, 5, 4, 3};
    p.writeInterfaceToken(String16("com.test.IThing"));
    p.writeInt32(-123456);
    p.writeUint32(0xdeadbeef);
    p.writeInt64(-5);
    p.writeUint64(0xfedcba9876543210ULL);
    p.writeCString("card");
    p.writeString8(String8("eight"));
    p.writeString16(String16("sixteen \xe4\xb8\xad"));
    p.writeString16(nullptr, 0);
    p.writeString16(String16());
    p.write(raw, sizeof raw);
    p.writeInt32(42);
    EXPECT_EQ(0u, p.dataSize() % 4);

    p.setDataPosition(0);
    EXPECT_TRUE(p.enforceInterface(String16("com.test.IThing")));
    EXPECT_EQ(-123456, p.readInt32());
    EXPECT_EQ(0xdeadbeefu, p.readUint32());
    EXPECT_EQ(-5, p.readInt64());
    EXPECT_EQ(0xfedcba9876543210ULL, p.readUint64());
    EXPECT_STREQ("card", p.readCString());
    EXPECT_STREQ("eight", p.readString8().string());
    EXPECT_STREQ("sixteen \xe4\xb8\xad", String8(p.readString16()).string());
    size_t len = 99;
    EXPECT_EQ(nullptr, p.readString16Inplace(&len));  // the null string, consumed
    EXPECT_EQ(0u, len);
    EXPECT_NE(nullptr, p.readString16Inplace(&len));
    EXPECT_EQ(0u, len);
    uint8_t back[7] = {};
    EXPECT_EQ(OK, p.read(back, sizeof back));
    EXPECT_EQ(0, memcmp(raw, back, sizeof raw));
    EXPECT_EQ(42, p.readInt32());
    EXPECT_EQ(p.dataSize(), p.dataPosition());
    EXPECT_EQ(0u, p.dataAvail());

    p.setDataPosition(0);
    EXPECT_FALSE(p.enforceInterface(String16("com.test.IOther")));
}

TEST(ParcelReply, ExceptionCodeSkipsAStrictModeHeader) {
    Parcel p;
    // No exception: the status follows at once.
    load(p, Bytes{0, 0, 0, 0, 7, 0, 0, 0});
    EXPECT_EQ(0, p.readExceptionCode());
    EXPECT_EQ(7, p.readInt32());
    // Code -128 and a header of 12 bytes counted from its size word: skipped, no exception.
    load(p, Bytes{0x80, 0xff, 0xff, 0xff, 12, 0, 0, 0, 1, 0, 0, 0, 9, 9, 9, 9, 7, 0, 0, 0});
    EXPECT_EQ(0, p.readExceptionCode());
    EXPECT_EQ(7, p.readInt32());
    // Any other code is handed back and the reply goes on after it.
    load(p, Bytes{0xfd, 0xff, 0xff, 0xff, 7, 0, 0, 0});
    EXPECT_EQ(-3, p.readExceptionCode());
    EXPECT_EQ(7, p.readInt32());
    // A header that claims more than the reply holds, or a negative size: nothing left.
    for (const Bytes &bad : {Bytes{0x80, 0xff, 0xff, 0xff, 0x40, 0, 0, 0, 7, 0, 0, 0},
                             Bytes{0x80, 0xff, 0xff, 0xff, 0xf8, 0xff, 0xff, 0xff, 7, 0, 0, 0}}) {
        load(p, bad);
        EXPECT_EQ(0, p.readExceptionCode());
        EXPECT_EQ(0, p.readInt32());
    }
}

TEST(ParcelHostile, ReadsPastTheEndYieldZeroEmptyOrNull) {
    Parcel p;
    int32_t v = 7;
    uint8_t buf[4] = {1, 1, 1, 1};
    EXPECT_EQ(0, p.readInt32());
    EXPECT_EQ(NOT_ENOUGH_DATA, p.readInt32(&v));
    EXPECT_EQ(7, v);
    EXPECT_EQ(0, p.readInt64());
    EXPECT_EQ(nullptr, p.readCString());
    EXPECT_EQ(0u, p.readString16().size());
    EXPECT_EQ(0u, p.readString8().size());
    EXPECT_EQ(NOT_ENOUGH_DATA, p.read(buf, sizeof buf));
    EXPECT_EQ(OK, p.read(buf, 0));

    // Two stray bytes are not an int, and the failed read does not move the position.
    load(p, Bytes{0x11, 0x22});
    EXPECT_EQ(0, p.readInt32());
    EXPECT_EQ(0u, p.dataPosition());

    // A word, then a read of more than remains: refused whole, the buffer untouched.
    load(p, Bytes{5, 0, 0, 0});
    EXPECT_EQ(NOT_ENOUGH_DATA, p.read(buf, 8));
    EXPECT_EQ((Bytes{1, 1, 1, 1}), Bytes(buf, buf + 4));
    EXPECT_EQ(BAD_VALUE, p.read(buf, SIZE_MAX));
    EXPECT_EQ(nullptr, p.readInplace(SIZE_MAX));
    EXPECT_EQ(5, p.readInt32());

    // Past the end after an explicit position; a later write fills the gap with zeros.
    p.setDataPosition(1000);
    EXPECT_EQ(0, p.readInt32());
    EXPECT_EQ(nullptr, p.readCString());
    p.setDataPosition(8);
    p.writeInt32(-1);
    EXPECT_EQ((Bytes{5, 0, 0, 0, 0, 0, 0, 0, 0xff, 0xff, 0xff, 0xff}), contents(p));
}

TEST(ParcelHostile, DeclaredLengthsLargerThanTheParcelAreRefused) {
    Parcel p;
    // String16 claiming 1000 units with one word behind it: empty, and the position stays.
    load(p, Bytes{0xe8, 0x03, 0, 0, 'a', 0, 0, 0});
    EXPECT_EQ(0u, p.readString16().size());
    EXPECT_EQ(0u, p.dataPosition());
    EXPECT_EQ(1000, p.readInt32());

    for (const Bytes &bad : {Bytes{0xff, 0xff, 0xff, 0x7f, 'a', 0, 0, 0},  // INT32_MAX units
                             Bytes{0xfb, 0xff, 0xff, 0xff, 'a', 0, 0, 0},  // -5
                             Bytes{1, 0, 0, 0, 'a', 0, 'b', 0},            // no terminator
                             Bytes{2, 0, 0, 0, 'a', 0, 'b', 0}}) {         // no room for it
        load(p, bad);
        size_t len = 1;
        EXPECT_EQ(0u, p.readString16().size());
        EXPECT_EQ(nullptr, p.readString16Inplace(&len));
        EXPECT_EQ(0u, len);
        EXPECT_EQ(0u, p.dataPosition());
    }

    // String8 claiming more bytes than follow.
    load(p, Bytes{0x40, 0, 0, 0, 'a', 'b', 'c', 0});
    EXPECT_EQ(0u, p.readString8().size());
    EXPECT_EQ(0u, p.dataPosition());

    // A C string that runs to the end without a terminator.
    load(p, Bytes{'a', 'b', 'c', 'd'});
    EXPECT_EQ(nullptr, p.readCString());
    // A terminated one whose padding is missing: read, and the position stops at the end.
    load(p, Bytes{'a', 'b', 0});
    EXPECT_STREQ("ab", p.readCString());
    EXPECT_EQ(3u, p.dataPosition());

    // Odd positions (only reachable on purpose) must not turn into misaligned reads.
    load(p, Bytes{0, 1, 0, 0, 0, 1, 0, 0, 0, 'z', 0, 0, 0});
    p.setDataPosition(1);
    EXPECT_EQ(1, p.readInt32());
    EXPECT_STREQ("z", String8(p.readString16()).string());
    p.setDataPosition(1);
    size_t len = 0;
    EXPECT_EQ(nullptr, p.readString16Inplace(&len));
}

TEST(ParcelHostile, NullArgumentsAreRefusedNotFollowed) {
    Parcel p;
    EXPECT_EQ(BAD_VALUE, p.writeCString(nullptr));
    EXPECT_EQ(BAD_VALUE, p.write(nullptr, 4));
    EXPECT_EQ(BAD_VALUE, p.setData(nullptr, 4));
    // The null C string still occupies its field, so the fields after it stay in place.
    EXPECT_EQ((Bytes{0, 0, 0, 0}), contents(p));

    // Absurd sizes and positions fail cleanly instead of wrapping around.
    const uint8_t byte = 1;
    EXPECT_EQ(nullptr, p.writeInplace(SIZE_MAX));
    EXPECT_NE(OK, p.write(&byte, SIZE_MAX - 1));
    p.setDataPosition(SIZE_MAX - 2);
    EXPECT_NE(OK, p.writeInt32(1));
    EXPECT_EQ(0, p.readInt32());
    EXPECT_EQ(4u, p.dataSize());

    p.freeData();
    EXPECT_EQ(0u, p.dataSize());
    EXPECT_EQ(0u, p.dataCapacity());
    EXPECT_EQ(0, p.readInt32());
}
