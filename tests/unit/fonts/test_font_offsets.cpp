// Where the font readers look for each kind of code, and the built-in glyphs.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "pos_sdk/font.h"
#include "support/FontOffsets.h"

namespace {

TEST(FontOffsets, SixteenPixelSymbolsAndMainTable) {
    EXPECT_EQ(cnFontOffset16(0xB0, 0xA1), 31616);
    EXPECT_EQ(cnFontOffset16(0xA1, 0xA1), 512);
    EXPECT_EQ(cnFontOffset16(0xA1, 0xC0), 32608);  // past 0xBF: the main table
    EXPECT_EQ(cnFontOffset16(0xA3, 0xBF), (30 + 2 * 94) * 32 + 512);
    EXPECT_EQ(cnFontOffset16(0xF7, 0xFE), (93 + 71 * 94) * 32 + 31616);
    EXPECT_EQ(cnFontOffset16(0x81, 0x40), 31616);
    EXPECT_EQ(cnFontOffset16(0xA0, 0xFE), (0xBE + 31 * 190) * 32 + 31616);
    EXPECT_EQ(cnFontOffset16(0xAA, 0xA0), 0x60 * 32 + 31616);
    EXPECT_EQ(cnFontOffset16(0xA9, 0x41), (1 + 96) * 32 + 31616);
    EXPECT_EQ(cnFontOffset16(0xA1, 0x40), 512);  // no rule, but still the symbol area
    EXPECT_EQ(cnFontOffset16(0x20, 0x20), 31616);
}

TEST(FontOffsets, TwentyFourPixelRowsCountFromB0) {
    EXPECT_EQ(cnFontOffset24(0xB0, 0xA1), 309104);
    EXPECT_EQ(cnFontOffset24(0xA1, 0xA1), 248192);
    EXPECT_EQ(cnFontOffset24(0xA2, 0x40), (0x40 - 0xA1 + 94) * 72 + 248192);  // below the base
    EXPECT_EQ(cnFontOffset24(0xA4, 0xA1), (0xA4 - 0xB0) * 94 * 72 + 309104);
    EXPECT_EQ(cnFontOffset24(0xA1, 0xC0), (0x1F - 15 * 94) * 72 + 309104);
    EXPECT_EQ(cnFontOffset24(0x81, 0x41), 72 + 309104);
    EXPECT_EQ(cnFontOffset24(0x20, 0x20), 309104);
}

TEST(FontOffsets, TwelvePixelsIsOneGridFromA1) {
    EXPECT_EQ(cnFontOffset12(0xB0, 0xA1), 33840);
    EXPECT_EQ(cnFontOffset12(0xA1, 0xA1), 0);
    EXPECT_EQ(cnFontOffset12(0x81, 0x41), 24);
    EXPECT_EQ(cnFontOffset12(0xFE, 0xA0), (0x60 + 84 * 96) * 24);
    EXPECT_EQ(cnFontOffset12(0xA8, 0x40), 0);  // the 16-pixel rule for A8/A9 is not used here
    EXPECT_EQ(cnFontOffset12(0x20, 0x20), 0);
}

TEST(Fonts, BuiltInGlyphsComeWithTheirCount) {
    unsigned char *a = getEnWordData(0x41, 16);
    ASSERT_EQ(a[0], 16);
    const unsigned char capitalA[16] = {0x00, 0x00, 0x10, 0x38, 0x6C, 0xC6, 0xC6, 0xFE,
                                        0xC6, 0xC6, 0xC6, 0xC6, 0x00, 0x00, 0x00, 0x00};
    EXPECT_EQ(0, memcmp(a + 1, capitalA, 16));
    free(a);
    unsigned char *big = getEnWordData(0x41, 24);
    ASSERT_EQ(big[0], 48);
    EXPECT_EQ(0, memcmp(big + 1, &FontSystem16x24[0x41 * 48], 48));
    int ink = 0;
    for (int i = 1; i <= 48; ++i) ink += __builtin_popcount(big[i]);
    EXPECT_GT(ink, 40);  // a drawn letter, not a blank cell
    free(big);
    EXPECT_EQ(getCnWordData(0xB0, 0xA1, 20), nullptr);
}

TEST(Fonts, AFontNeverLoadedReadsBlankAfterSixTries) {
    testing::internal::CaptureStderr();
    unsigned char *g = getCnWordData(0xB0, 0xA1, 16);
    std::string log = testing::internal::GetCapturedStderr();
    ASSERT_NE(g, nullptr);
    EXPECT_EQ(g[0], 32);
    for (int i = 1; i <= 32; ++i) EXPECT_EQ(g[i], 0);
    free(g);
    for (int left : {4, 3, 2, 1, 0}) {
        std::string line = "font_16 pread failed , retry = " + std::to_string(left);
        EXPECT_NE(log.find(line), std::string::npos) << line;
    }
    EXPECT_EQ(log.find("retry = 5"), std::string::npos);
}

}  // namespace
