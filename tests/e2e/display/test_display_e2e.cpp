// The display end to end: the library draws through the host UI library inside the simulator,
// and the frames are decoded from PNG and checked pixel by pixel where it matters.
#include <gtest/gtest.h>

#include <panelui/panelui.h>
#include <panelui/panelui_host.h>

#include <climits>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "PngFrame.h"
#include "Rasterise.h"
#include "pos_sdk/disp.h"
#include "pos_sdk/font.h"

namespace {

constexpr int kTop = PNL_HOST_STATUS_BAR_HEIGHT;  // the main surface starts below the bar
constexpr int kLineHeight = 1280 / 6;

// The frame as a person would see it: written as PNG by the UI library, read back here.
Frame screenshot() {
    const char *path = "/tmp/display-test.png";
    EXPECT_EQ(PnlHostWritePng(path), 0);
    Frame f = readPng(path);
    EXPECT_EQ(f.width, PNL_HOST_FRAME_WIDTH);
    return f;
}

// Whether the 8-pixel-wide cell at X, Y holds exactly the 8x16 glyph of CH, black on white.
::testing::AssertionResult showsLetter(const Frame &f, int x, int y, unsigned char ch) {
    for (int r = 0; r < 16; ++r) {
        for (int c = 0; c < 8; ++c) {
            bool ink = FontSystem8x16[ch * 16 + r] & (0x80 >> c);
            uint32_t want = ink ? 0x000000 : 0xffffff;
            if (f.at(x + c, y + r) != want)
                return ::testing::AssertionFailure()
                       << "pixel " << x + c << "," << y + r << " of '" << ch << "' is " << std::hex
                       << f.at(x + c, y + r);
        }
    }
    return ::testing::AssertionSuccess();
}

bool blankCell(const Frame &f, int x, int y, int w, int h, uint32_t background) {
    for (int r = 0; r < h; ++r)
        for (int c = 0; c < w; ++c)
            if (f.at(x + c, y + r) != background) return false;
    return true;
}

std::string capture(const std::function<void()> &body) {
    testing::internal::CaptureStderr();
    body();
    return testing::internal::GetCapturedStderr();
}

class Display : public ::testing::Test {
  protected:
    void SetUp() override {
        PnlHostClearInput();
        Disp_vInit();
        Disp_vSetSysFont(2);  // 16-pixel text: 8 x 16 letters
        Disp_vClearPort();
    }
    void script(const std::string &lines) {
        const char *path = "/tmp/display-input.txt";
        std::ofstream(path) << lines;
        ASSERT_EQ(PnlHostLoadInputScript(path), 0);
    }
};

TEST_F(Display, ATextLineAppearsInItsBand) {
    Disp_vShowStrAt(1, 0, "AB");
    Disp_vLightOff();  // refreshes
    Frame f = screenshot();
    ASSERT_EQ(f.width, 800);
    ASSERT_EQ(f.height, 1320);
    int y = kTop + kLineHeight + (kLineHeight - 16) / 2;
    EXPECT_TRUE(showsLetter(f, 0, y, 'A'));
    EXPECT_TRUE(showsLetter(f, 8, y, 'B'));
    EXPECT_TRUE(blankCell(f, 16, y, 8, 16, 0xffffff));
    EXPECT_TRUE(blankCell(f, 0, kTop + 2 * kLineHeight, 800, 16, 0xffffff));
}

TEST_F(Display, AnOverLongLineShowsSixtyTwoCharacters) {
    Disp_vShowStrAt(0, 0, "%s", std::string(100, 'W').c_str());
    Disp_vLightOff();
    Frame f = screenshot();
    int y = kTop + (kLineHeight - 16) / 2;
    EXPECT_TRUE(showsLetter(f, 61 * 8, y, 'W'));
    EXPECT_TRUE(blankCell(f, 62 * 8, y, 8, 16, 0xffffff));
}

TEST_F(Display, OutOfRangeDrawsNothingAndLogsTheWarnings) {
    Disp_vLightOff();
    uint32_t frames = PnlHostFrameCounter();
    Frame before = screenshot();
    unsigned char pixels[12] = {0};
    std::string log = capture([&] {
        Disp_vShowStr(6, 0, 0, "x");
        Disp_vDrawLineAt(0, 0, 801, 0, 4, 3);
        Disp_vShowImage(pixels, 12, POINT_T{0, 1281}, 2, 2);
        Disp_vShowImage(pixels, 12, POINT_T{-1, 0}, 2, 2);
    });
    EXPECT_NE(log.find("line range error(0-5), but input=6"), std::string::npos) << log;
    EXPECT_NE(log.find("X range error, begin=0, end=0"), std::string::npos) << log;
    EXPECT_NE(log.find("X range error\n"), std::string::npos) << log;
    Disp_vLightOff();
    EXPECT_EQ(screenshot().pixels, before.pixels);
    EXPECT_GT(PnlHostFrameCounter(), frames);
}

TEST_F(Display, DrawingIsClippedToTheSurface) {
    // A rectangle hanging off three edges, a line whose ends are far outside, a text box past
    // the bottom: all land inside the surface and nothing else changes.
    Disp_vDrawRectWithColor(-100000, 1200, 200000, 100000, 0x00ff00);
    Disp_vDrawLineAt(0, INT_MIN, 800, INT_MAX, 1, 3);
    Disp_vDrawTextA(700, 1270, 900, 2000, "XYZ", 3, 0);
    Disp_vLightOff();
    Frame f = screenshot();
    EXPECT_EQ(f.at(0, kTop + 1279), 0x00ff00u);
    EXPECT_EQ(f.at(799, kTop + 1200), 0x00ff00u);
    EXPECT_EQ(f.at(400, kTop + 640), 0xff0000u);  // the line crosses the middle
    EXPECT_EQ(f.at(0, kTop + 1199), 0xffffffu);
}

TEST_F(Display, KeyColourPixelsOfAnImageStayTransparent) {
    Disp_vDrawRectWithColor(100, 100, 10, 10, 0x123456);
    // 3 x 1: blue, magenta (the key), white.
    unsigned char image[9] = {0, 0, 255, 255, 0, 255, 255, 255, 255};
    Disp_vShowImage(image, sizeof image, POINT_T{100, 100}, 3, 1);
    Frame f = screenshot();  // Disp_vShowImage refreshed
    EXPECT_EQ(f.at(100, kTop + 100), 0x0000ffu);
    EXPECT_EQ(f.at(101, kTop + 100), 0x123456u);
    EXPECT_EQ(f.at(102, kTop + 100), 0xffffffu);
    EXPECT_EQ(f.at(101, kTop + 101), 0x123456u);
}

TEST_F(Display, AScriptedSessionReturnsTheTypedTextAndCodes) {
    script(
        "text 1234\nkey ENTER\n"           // user input
        "key CANCEL\n"                     // user input cancelled
        "text 1250\nkey ENTER\n"           // amount
        "key ENTER\n"                      // message box
        "key DOWN\nkey ENTER\n"            // list
        "text 99\nkey CLEAR\nkey ENTER\n"  // password: "9"
        "key 7\n");                        // a key
    char out[32] = {0};
    EXPECT_EQ(Disp_nUserInputView(0, 0, 800, 400, 1, 10, 1, sizeof out, out, 30, 0), 4);
    EXPECT_STREQ(out, "1234");
    EXPECT_EQ(Disp_nUserInputView(0, 0, 800, 400, 1, 10, 1, sizeof out, out, 30, 0), -2);
    char amount[16] = {0};
    EXPECT_EQ(Disp_nShowAmountInputView(0, 0, 800, 400, "EUR", 1, 9, sizeof amount, amount, 30, 0),
              0);
    EXPECT_STREQ(amount, "1250");
    EXPECT_EQ(Disp_nMessageBox("Title", 3, 30, 0, "Pay %d?", 5), 0);
    char a[] = "one", b[] = "two", c[] = "three";
    char *items[] = {a, b, c};
    int selection = -1;
    EXPECT_EQ(Disp_nShowListViewEx("Pick", items, 3, 0, 0, 30, &selection, 0), 0);
    EXPECT_EQ(selection, 1);
    char pwd[16] = {0};
    EXPECT_EQ(Disp_nShowPasswdInputView(0, 0, 800, 400, 1, 8, sizeof pwd, pwd, 30, 0), 0);
    EXPECT_STREQ(pwd, "9");
    EXPECT_EQ(Disp_GetKey(100), 7);
    // The script has run out: on a simulated terminal the console may still type, so a view
    // waits for its time-out.
    EXPECT_EQ(Disp_nMessageBox("Title", 1, 1, 0, "again"), -3);
    EXPECT_EQ(Disp_GetKey(100), -1);
    EXPECT_STREQ(PnlHostCurrentView(), "none");
}

TEST_F(Display, AViewIsDrawnWhileItRuns) {
    PnlHostInjectText("42");
    PnlHostInjectKey(PNL_KEY_ENTER);
    char out[8];
    uint32_t frames = PnlHostFrameCounter();
    ASSERT_EQ(Disp_nUserInputView(100, 100, 600, 400, 1, 4, 1, sizeof out, out, 30, 0), 2);
    EXPECT_GE(PnlHostFrameCounter(), frames + 3);  // drawn, and redrawn for each digit
    Frame f = screenshot();
    EXPECT_EQ(f.at(110, kTop + 110), 0x2e2bffu);  // the title bar
}

// The glyph the library reads for GBK B1 B2 matches the source font's glyph of CODEPOINT.
void expectGlyph(FT_Face face, unsigned char b1, unsigned char b2, uint32_t codepoint, int size) {
    std::vector<uint8_t> want = fontgen::rasterise(face, codepoint, size, size);
    unsigned char *got = getCnWordData(b1, b2, size);
    ASSERT_NE(got, nullptr);
    EXPECT_EQ(got[0], size == 24 ? 72 : 32);
    EXPECT_EQ(std::vector<uint8_t>(got + 1, got + 1 + want.size()), want)
        << std::hex << int(b1) << " " << int(b2) << " at " << std::dec << size;
    int ink = 0;
    for (uint8_t byte : want) ink += __builtin_popcount(byte);
    EXPECT_GT(ink, 1) << "the source glyph is blank";
    free(got);
}

TEST(FontFiles, SymbolRowsAndMainTablesReadTheirGlyphs) {
    FT_Library ft;
    FT_Face face;
    ASSERT_EQ(FT_Init_FreeType(&ft), 0);
    ASSERT_EQ(FT_New_Face(ft, POS_FONT_CJK, 0, &face), 0);
    loadCnFont(16);
    loadCnFont(12);
    for (int size : {12, 16, 24}) {
        expectGlyph(face, 0xB0, 0xA1, 0x554A, size);  // 啊, the first character
        expectGlyph(face, 0xD6, 0xD0, 0x4E2D, size);  // 中
        expectGlyph(face, 0xF7, 0xFE, 0x9F44, size);  // 齄, the last
        expectGlyph(face, 0xA1, 0xA2, 0x3001, size);  // 、 in the symbol rows
        expectGlyph(face, 0xA3, 0xB1, 0xFF11, size);  // full-width 1
    }
    freeCnFont(12);
    freeCnFont(16);
    FT_Done_Face(face);
    FT_Done_FreeType(ft);
}

TEST_F(Display, TheSignaturePadReturnsTheDrawnImage) {
    script("sign 10,10 200,10 ; 10,100 200,100\n");
    static unsigned char out[PNL_SIGN_IMAGE_BYTES];
    int length = 0;
    ASSERT_EQ(Disp_nElecSign(out, &length, "Sign here", 0, 0, 0, 300, 150, 0), 0);
    ASSERT_EQ(length, 54 + 900 * 150);
    ASSERT_EQ(memcmp(out, "BM", 2), 0);
    // Bottom-up rows of 900 bytes: row 10 from the top holds ink at x 100, row 50 none.
    auto pixel = [&](int x, int y) { return out[54 + (149 - y) * 900 + x * 3]; };
    EXPECT_EQ(pixel(100, 10), 0);
    EXPECT_EQ(pixel(100, 50), 255);
    EXPECT_EQ(pixel(250, 10), 255);

    script("sign 0,0 299,149\n");
    ASSERT_EQ(Disp_nElecSignEx(out, &length, nullptr, 0, 0, 0, 300, 150, 0, 0.5f), 0);
    EXPECT_EQ(length, 54 + 452 * 75);  // the scaled image: 150 x 75, rows padded to 452 bytes

    script("sign crash\n");
    std::string log =
        capture([&] { EXPECT_EQ(Disp_nElecSign(out, &length, "t", 0, 0, 0, 300, 150, 0), -1); });
    EXPECT_NE(log.find("signRet == NULL"), std::string::npos) << log;
}

}  // namespace
