// The display family through a UI library that records its calls: text conversion, style and
// pattern flags, range checks, key codes and every view's checks and result translation.
#include <gtest/gtest.h>

#include <panelui/panelui.h>

#include <string>

#include "PanelDouble.h"
#include "pos_sdk/disp.h"
#include "sdk_api/DispInternal.h"

using double_ui::calls;
using double_ui::callsTo;
using double_ui::results;

namespace {

class Disp : public ::testing::Test {
  protected:
    void SetUp() override {
        double_ui::reset();
        Disp_vInit();
        double_ui::reset();
    }
    // The library's log lines of BODY.
    template <typename F>
    std::string logOf(F body) {
        testing::internal::CaptureStderr();
        body();
        return testing::internal::GetCapturedStderr();
    }
};

std::string hex(const std::string &s) {
    std::string out;
    char b[4];
    for (unsigned char c : s) snprintf(b, sizeof b, "%02X", c), out += b;
    return out;
}

TEST_F(Disp, ConvertsUtf8ToGbkAndLogsWhatItCannot) {
    char out[16];
    ConvertUtf8ToGbk("中文A", out, sizeof out);
    EXPECT_EQ(hex(out), "D6D0CEC441");

    // An invalid sequence: what came before it stays, the error is logged in red.
    std::string log = logOf([&] {
        ConvertUtf8ToGbk(
            "ab\xff"
            "cd",
            out, sizeof out);
    });
    EXPECT_STREQ(out, "ab");
    EXPECT_NE(log.find("\033[1;31merrno:EILSEQ(inbuf多字节序无效)"), std::string::npos) << log;

    log = logOf([&] { ConvertUtf8ToGbk("abcdefgh", out, 4); });
    EXPECT_EQ(std::string(out, 4), "abcd");
    EXPECT_NE(log.find("errno:E2BIG(outbuf空间不够)"), std::string::npos) << log;

    strcpy(out, "kept");
    ConvertUtf8ToGbk(nullptr, out, sizeof out);
    EXPECT_STREQ(out, "kept");
}

TEST_F(Disp, StyleWordMapsToTheUiBits) {
    struct {
        unsigned in, out;
    } cases[] = {{0x00, 0},    {0x02, 1},    {0x04, 2},    {0x06, 3}, {0x08, 0x04}, {0x10, 0x04},
                 {0x20, 0x08}, {0x40, 0x08}, {0x80, 0x10}, {0x01, 0}, {0xff, 0x1f}, {0x100, 0}};
    for (const auto &c : cases) EXPECT_EQ(GetShowStyle(c.in), c.out) << std::hex << c.in;
}

TEST_F(Disp, RangeTestsAreInclusiveAtBothEnds) {
    EXPECT_TRUE(_is_in_range_x(0) && _is_in_range_x(800) && !_is_in_range_x(801) &&
                !_is_in_range_x(-1));
    EXPECT_TRUE(_is_in_range_y(1280) && !_is_in_range_y(1281));
    EXPECT_TRUE(_is_in_range_line(5) && !_is_in_range_line(6) && !_is_in_range_line(-1));
    int a = 1, b = 1, c = 1, d = 1;
    Disp_vGetUserDisplayRange(&a, &b, &c, &d);
    EXPECT_EQ(a + b * 10 + c * 100 + d * 1000, 800 * 10 + 1280 * 1000);
    EXPECT_DEATH(Disp_vGetUserDisplayRange(&a, nullptr, &c, &d), "pnEndX != __null");
}

TEST_F(Disp, InitialisationTakesTheHandlesAndWhiteBackground) {
    Disp_vInitEx(7);
    ASSERT_GE(calls.size(), 2u);
    EXPECT_EQ(calls[0].op, "PnlInitAndSetStateBar");
    EXPECT_EQ(calls[0].values[0], 1);
    EXPECT_EQ(calls[1].op, "PnlLmSetBackColor");
    EXPECT_EQ(calls[1].values[0], 0xffffff);
    EXPECT_EQ(g_hMdc * 100 + g_hBdc * 10 + g_hTipdc, 11 * 100 + 12 * 10 + 13);
}

TEST_F(Disp, LinesOutOfRangeAreLoggedAndNotDrawn) {
    std::string log = logOf([] {
        Disp_vShowStr(6, 0, 0, "x");
        Disp_vClearLine(255);
        Disp_vShowStrAtEx(9, 0, "x");
    });
    EXPECT_TRUE(calls.empty());
    EXPECT_NE(log.find("line range error(0-5), but input=6"), std::string::npos) << log;
    EXPECT_NE(log.find("line range error, input=255"), std::string::npos) << log;
    EXPECT_NE(log.find("line range error, input=9"), std::string::npos) << log;
}

TEST_F(Disp, LineTextIsCutAt62CharactersAndEmptyLinesDiffer) {
    Disp_vShowStr(1, 0, 0, "%s", std::string(100, 'x').c_str());
    ASSERT_EQ(callsTo("PnlLmShowString").size(), 1u);
    EXPECT_EQ(calls.back().texts[0], std::string(62, 'x'));

    double_ui::reset();
    Disp_vShowStr(1, 0, 0, "%s", "");
    EXPECT_TRUE(calls.empty());
    Disp_vShowStrAt(1, 99, "%s", "");
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].texts[0], "");
    EXPECT_EQ(calls[0].values[1], 0);
}

TEST_F(Disp, StylesAndPatternsSetTheirFlags) {
    struct {
        int style, pattern;
        long long flags;
    } cases[] = {{2, 0, 0x04}, {3, 1, 0x88}, {4, 2, 0x102}, {9, 0, 0}};
    for (const auto &c : cases) {
        double_ui::reset();
        Disp_vShowStr(2, static_cast<uint8_t>(c.style), static_cast<uint8_t>(c.pattern), "t");
        ASSERT_EQ(calls.size(), 1u) << c.style;
        EXPECT_EQ(calls[0].values[1], c.flags) << c.style;
    }
    double_ui::reset();
    std::string log = logOf([] { Disp_vShowStrAtEx(0, 3, "t"); });
    EXPECT_NE(log.find("error nPattern =3"), std::string::npos);
    ASSERT_EQ(callsTo("PnlLmShowStringEx").size(), 1u);
    EXPECT_EQ(callsTo("PnlLmShowStringEx")[0].values[1], 0);

    double_ui::reset();
    Disp_vClearLine(5);
    EXPECT_EQ(calls[0].values[1], 0x40);
}

TEST_F(Disp, StyleOneColoursTheLineAndRestoresTheColours) {
    results["PnlLmSetBackColor"] = 0x123456;
    results["PnlLmSetTextColor"] = 0x654321;
    Disp_vShowStr(0, 1, 0, "t");
    std::vector<std::pair<std::string, long long>> seen;
    for (const auto &c : calls) seen.emplace_back(c.op, c.values.empty() ? 0 : c.values[0]);
    std::vector<std::pair<std::string, long long>> want = {{"PnlLmSetBackColor", 0x2e2bff},
                                                           {"PnlLmSetTextColor", 0xffffff},
                                                           {"PnlLmShowString", 0},
                                                           {"PnlLmSetBackColor", 0x123456},
                                                           {"PnlLmSetTextColor", 0x654321}};
    EXPECT_EQ(seen, want);
}

TEST_F(Disp, PersianLinesGoUnconverted) {
    Disp_vShowPersianStr(3, 1, "%s", "é");
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(hex(calls[0].texts[0]), "C3A9");
    EXPECT_EQ(calls[0].values[1], 0x80);
}

TEST_F(Disp, LinesPickTheirOperationByShape) {
    results["PnlGetDCPenColor"] = 0xabcdef;
    Disp_vDrawLineAt(5, 10, 5, 2, 3, 2);   // vertical, upwards
    Disp_vDrawLineAt(0, 7, 800, 7, 4, 7);  // horizontal, unknown colour
    Disp_vDrawLineAt(0, 0, 10, 10, 9, -1);
    auto vert = callsTo("PnlDrawVert"), horz = callsTo("PnlDrawHorz"),
         line = callsTo("PnlDrawLine");
    ASSERT_EQ(vert.size() + horz.size() + line.size(), 3u);
    EXPECT_EQ(vert[0].values, (std::vector<long long>{11, 5, 10, -8, 3}));
    EXPECT_EQ(horz[0].values, (std::vector<long long>{11, 0, 7, 800, 4}));
    EXPECT_EQ(line[0].values, (std::vector<long long>{11, 0, 0, 10, 10}));
    auto pens = callsTo("PnlSetDCPenColor");
    ASSERT_EQ(pens.size(), 6u);
    EXPECT_EQ(pens[0].values[1], 0x00f7de);
    EXPECT_EQ(pens[2].values[1], 0);  // index 7: black
    EXPECT_EQ(pens[4].values[1], 0);  // negative: black
    EXPECT_EQ(pens[5].values[1], 0xabcdef);
    EXPECT_EQ(callsTo("PnlReFreshScreen").size(), 3u);

    double_ui::reset();
    std::string log = logOf([] { Disp_vDrawLineAt(0, 0, 801, 0, 1, 0); });
    EXPECT_TRUE(calls.empty());
    EXPECT_NE(log.find("X range error, begin=0, end=0"), std::string::npos) << log;
}

TEST_F(Disp, ImagesAreCheckedAndUseTheMagentaKey) {
    unsigned char pixels[12] = {0};
    std::string log = logOf([&] { Disp_vShowImage(pixels, 12, POINT_T{0, 1281}, 2, 2); });
    EXPECT_TRUE(calls.empty());
    EXPECT_NE(log.find("====Disp_vShowImage========="), std::string::npos);
    EXPECT_NE(log.find("X range error"), std::string::npos);
    Disp_vShowImage(pixels, 0, POINT_T{800, 1280}, 2, 2);
    ASSERT_EQ(callsTo("PnlPutDIB").size(), 1u);
    EXPECT_EQ(calls[0].values, (std::vector<long long>{11, 800, 1280, 2, 2, 0xff00ff, 4, 0}));
    EXPECT_DEATH(Disp_vShowImage(nullptr, 0, POINT_T{0, 0}, 1, 1), "pcBmpData != __null");
}

TEST_F(Disp, TextBoxesConvertAndCountTheConvertedBytes) {
    Disp_vDrawTextA(1, 2, 3, 4, "中文", 6, 2);
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].values, (std::vector<long long>{11, 1, 2, 3, 4, 4, 0x100}));
    Disp_vDrawTextA(1, 2, 3, 4, "x", 0, 1);
    Disp_vDrawTextA(1, 2, 3, 4, nullptr, 5, 1);
    EXPECT_EQ(calls.size(), 1u);
}

TEST_F(Disp, FontNumbersAndKeyCodesMap) {
    for (int font : {1, 2, 3, 4, 5, 0}) Disp_vSetSysFont(font);
    std::vector<long long> codes;
    for (const auto &c : calls) codes.push_back(c.values[0]);
    EXPECT_EQ(codes, (std::vector<long long>{2, 1, 2, 0, 3, 2}));
    results["PnlSetSysFont2"] = -1;
    EXPECT_NE(logOf([] { Disp_vSetSysFont(1); }).find("PnlSetSysFont2 fail"), std::string::npos);

    struct {
        int ui, sdk;
    } keys[] = {{269, 0}, {278, 9}, {279, 14}, {284, 19}, {268, -1}, {285, -1}, {-2, -1}};
    for (const auto &k : keys) {
        results["PnlGetKey"] = k.ui;
        EXPECT_EQ(Disp_GetKey(100), k.sdk) << k.ui;
    }
    int x = 0, y = 0;
    EXPECT_EQ(Disp_GetTouchPadAxis(&x, nullptr, 1), -1);
    results["PnlGetKeyAndTouchPad"] = 1;
    EXPECT_EQ(Disp_GetTouchPadAxis(&x, &y, 1), 1);
    EXPECT_EQ(x * 100 + y, 10 * 100 + 20);
}

TEST_F(Disp, StatusBarIsSetAgainUnlessTheStateConfirmsIt) {
    // No settings block in a unit test: the read fails and the state is set a second time.
    std::string log = logOf([] { Disp_vSetStatusBarStatus(1); });
    EXPECT_EQ(callsTo("PnlStateBarSetDrawState").size(), 2u);
    EXPECT_NE(log.find("KV_GET_STATEBAR_DRAW_STATE = "), std::string::npos);
}

// ---- views ----

TEST_F(Disp, InputMethodsBecomeTheUiList) {
    char out[16];
    int codes[] = {16, 2};
    Disp_nUserInputViewEx(0, 0, 100, 100, 1, 8, codes, 2, sizeof out, out, 30, 0x06);
    auto c = callsTo("PnlGetEditInput");
    ASSERT_EQ(c.size(), 1u);
    EXPECT_EQ(c[0].values[5], 1);
    EXPECT_EQ(c[0].values.back(), 3);
    EXPECT_EQ(c[0].values[10], 3);  // style 0x06 → 3

    EXPECT_EQ(Disp_nUserInputViewEx(0, 0, 1, 1, 1, 8, codes, 0, sizeof out, out, 30, 0), -1);
    int six[] = {1, 2, 4, 8, 1, 2};
    EXPECT_EQ(Disp_nUserInputViewEx(0, 0, 1, 1, 1, 8, six, 6, sizeof out, out, 30, 0), -1);

    double_ui::reset();
    Disp_nUserInputView(0, 0, 1, 1, 0, 8, 0x0f, sizeof out, out, 0, 0);
    c = callsTo("PnlGetEditInput");
    EXPECT_EQ(std::vector<long long>(c[0].values.end() - 4, c[0].values.end()),
              (std::vector<long long>{0, 3, 2, 4}));

    double_ui::reset();
    Disp_nUserInputViewExEx(0, 0, 1, 1, 0, 8, codes, 2, sizeof out, out, 0, 0, "info");
    EXPECT_EQ(callsTo("PnlGetEditInputV2")[0].texts.back(), "info");
    EXPECT_DEATH(Disp_nUserInputView(0, 0, 1, 1, 0, 8, 1, 4, nullptr, 0, 0),
                 "pOutBuffer != __null");
}

TEST_F(Disp, UserInputCountsTheTextWithinTheBuffer) {
    char out[16] = {0};
    double_ui::typed = "12345678";
    results["PnlGetEditInput"] = 5;
    EXPECT_EQ(Disp_nUserInputView(0, 0, 1, 1, 0, 8, 1, 16, out, 0, 0), 8);
    EXPECT_EQ(Disp_nUserInputView(0, 0, 1, 1, 0, 8, 1, 4, out, 0, 0), 3);
}

// Each view's answer for the UI results -4, -3, -2, -1, 0 and 7.
struct Translation {
    const char *op;
    std::function<int()> call;
    std::vector<int> expected;
};

TEST_F(Disp, EveryViewTranslatesTheUiResultItsOwnWay) {
    static char buffer[32];
    static DISP_PINPAD_LAYOUT_T layout;
    static DISP_DATE_T date;
    static DISP_SLIDE_ITEM_T slides[1] = {{"one", 0}};
    static int marker;
    const std::vector<Translation> views = {
        {"PnlGetEditInput",
         [] { return Disp_nUserInputView(0, 0, 1, 1, 0, 8, 1, 1, buffer, 0, 0); },
         {-1, 0, -3, -2, 0, 0}},
        {"PnlMsgBox", [] { return Disp_nMessageBox("t", 1, 0, 0, "m"); }, {-2, -2, -3, -2, 0, -2}},
        {"PnlShowEditBox",
         [] { return Disp_nShowEditBox(0, 0, 1, 1, 0, 0, "m"); },
         {0, 0, -3, -2, 0, 0}},
        {"PnlGetAmountInput",
         [] { return Disp_nShowAmountInputView(0, 0, 1, 1, "$", 0, 8, 12, buffer, 0, 0); },
         {-4, 0, -1, -2, 0, 7}},
        {"PnlGetPwdInput",
         [] { return Disp_nShowPasswdInputView(0, 0, 1, 1, 0, 8, 8, buffer, 0, 0); },
         {-4, 0, -1, -2, 0, 7}},
        {"PnlGetPinInput",
         [] { return Disp_nShowPINPADInputView(0, 0, 1, 1, &layout, 8, 0, &marker); },
         {-1, -1, -3, -2, 0, 7}},
        {"PnlGetIPInput",
         [] { return Disp_nShowIPInputLine(0, 0, 1, 1, 0, 15, 16, buffer, 0, 0); },
         {-4, 0, -3, -2, 0, 7}},
        {"PnlSetData", [] { return Disp_nShowDateInputView(&date, 0); }, {-1, -1, -3, -2, 0, -1}},
        {"PnlShowListWithSlideButtonEx",
         [] { return Disp_nShowListWithSlideButtonEx(0, 0, 1, 1, "t", slides, 1, nullptr, 0); },
         {0, -3, -3, -2, 0, 0}},
        {"PnlShowProgressBar",
         [] { return Disp_nShowProgressBar(0, 0, 1, 2, "p", 3); },
         {0, 0, -3, -2, 0, 0}},
    };
    const int ui[] = {-4, -3, -2, -1, 0, 7};
    for (const auto &v : views) {
        for (size_t i = 0; i < 6; ++i) {
            results[v.op] = ui[i];
            testing::internal::CaptureStderr();
            int got = v.call();
            testing::internal::GetCapturedStderr();
            EXPECT_EQ(got, v.expected[i]) << v.op << " with UI result " << ui[i];
        }
    }
}

TEST_F(Disp, ViewsRefuseBadArgumentsWithoutDrawing) {
    char buf[32];
    DISP_PINPAD_LAYOUT_T layout{};
    DISP_SLIDE_ITEM_T slide[1] = {{"a", 0}};
    int marker = 0;
    std::string log = logOf([&] {
        EXPECT_EQ(Disp_nShowAmountInputView(0, 0, 1, 1, "$", 0, 8, 11, buf, 0, 0), -1);
        EXPECT_EQ(Disp_nShowAmountInputViewEx(0, 0, 1, 1, "$", 0, 8, 12, buf, 0, 0, nullptr), -1);
    });
    EXPECT_NE(log.find("error  in input Parameter! nLenOfBuffer=11, or pszAmount is NULL"),
              std::string::npos);
    EXPECT_EQ(Disp_nShowIPInputLine(0, 0, 1, 1, 16, 15, 16, buf, 0, 0), -1);
    EXPECT_EQ(Disp_nShowIPInputLine(0, 0, 1, 1, 0, 15, 15, buf, 0, 0), -1);
    EXPECT_EQ(Disp_nShowPINPADInputView(0, 0, 1, 1, &layout, 7, 0, &marker), -1);
    EXPECT_EQ(Disp_nShowPINPADInputView(0, -1, 1, 1, &layout, 8, 0, &marker), -1);
    EXPECT_EQ(Disp_nShowEditBox(0, 0, -1, 1, 0, 0, "x"), -1);
    EXPECT_EQ(Disp_nShowEditBoxEx(-5, 0, 1, 1, 0, 0, nullptr), -1);
    EXPECT_EQ(Disp_nShowPasswdInputView(0, 0, 1, 1, 0, 8, 8, nullptr, 0, 0), -1);
    EXPECT_EQ(Disp_nShowDateInputView(nullptr, 0), -1);
    EXPECT_EQ(Disp_nShowListWithSlideButtonEx(0, 0, 1, 1, "t", slide, 0, nullptr, 0), -1);
    EXPECT_EQ(Disp_nShowProgressBar(0, 0, 1, 2, nullptr, 3), -1);
    EXPECT_EQ(Disp_nMessageBox("t", 2, 0, 0, "m"), -2);
    EXPECT_TRUE(calls.empty());
}

TEST_F(Disp, MessageBoxButtonsFollowTheLanguage) {
    Disp_nMessageBox("标题", 3, 5, 0x80, "n=%d", 42);
    auto c = callsTo("PnlMsgBox");
    ASSERT_EQ(c.size(), 1u);
    EXPECT_EQ(c[0].texts, (std::vector<std::string>{"\xB1\xEA\xCC\xE2", "n=42", " CANCEL    OK"}));
    EXPECT_EQ(c[0].values, (std::vector<long long>{3, 5, 0x10}));
    Disp_nSetMsgBoxLanguage(0);
    Disp_nMessageBoxEx(1, 2, 3, 4, "t", 1, 0, 0, "m");
    EXPECT_EQ(hex(callsTo("PnlMsgBoxEx")[0].texts[2]), "C8B7B6A8");  // 确定
    std::string log = logOf([] { Disp_nSetMsgBoxLanguage(2); });
    EXPECT_NE(log.find("Set Msg Box Language ERROR, input = 2"), std::string::npos);
    Disp_nMessageBox("t", 1, 0, 0, "m");
    EXPECT_EQ(callsTo("PnlMsgBox").back().texts[2], "OK");
}

TEST_F(Disp, ListsConvertTheirItemsAndKeepOrSetTheSelection) {
    char a[] = "甲", b[] = "b";
    char *items[] = {a, b};
    int selection = 9;
    results["PnlShowListEx"] = -2;
    EXPECT_EQ(Disp_nShowListView(0, 0, 1, 1, "t", items, 2, 0, 1, 0, &selection, 0), -3);
    EXPECT_EQ(selection, 1);
    EXPECT_EQ(hex(callsTo("PnlShowListEx")[0].texts[1]), "BCD7");
    results["PnlShowList"] = -7;
    EXPECT_EQ(Disp_nShowListViewEx("t", items, 2, 0, 1, 0, &selection, 0), 0);
    EXPECT_EQ(selection, -7);

    selection = 9;
    results["PnlShowDoubleListEx"] = -5;
    EXPECT_EQ(Disp_nShowTableView(0, 0, 1, 1, "t", items, 2, 0, 1, 0, &selection, 0), -1);
    EXPECT_EQ(selection, 9);
    results["PnlShowDoubleList"] = -1;
    EXPECT_EQ(Disp_nShowTableViewEx(nullptr, items, 2, 0, 1, 0, &selection, 0), -2);
    EXPECT_EQ(selection, 1);
    EXPECT_EQ(callsTo("PnlShowDoubleList")[0].texts[0], "(null)");

    EXPECT_EQ(Disp_nShowListView(-1, 0, 1, 1, "t", items, 2, 0, 1, 0, &selection, 0), -1);
    char *none[] = {nullptr};
    EXPECT_EQ(Disp_nShowListViewEx("t", none, 1, 0, 0, 0, &selection, 0), -1);
}

TEST_F(Disp, SlideListHandsPairsAndCopiesTheStatesBack) {
    DISP_SLIDE_ITEM_T items[2] = {{"开", 1}, {"b", 0}};
    double_ui::slideState = 0x102;  // only the low byte comes back
    std::string log = logOf([&] {
        EXPECT_EQ(Disp_nShowListWithSlideButtonEx(0, 0, 10, 10, "", items, 2, nullptr, 4), 0);
    });
    auto c = callsTo("PnlShowListWithSlideButtonEx");
    ASSERT_EQ(c.size(), 1u);
    EXPECT_EQ(c[0].texts[0], "(null)");
    EXPECT_EQ(hex(c[0].texts[1]), "BFAA");
    EXPECT_EQ(c[0].values[6], 17);
    EXPECT_EQ(c[0].values[7], 1);
    EXPECT_EQ(items[0].state + items[1].state, 4);
    EXPECT_NE(log.find("PnlShowListWithSlideButtonEx = 0"), std::string::npos);
}

TEST_F(Disp, DateInputCopiesTheEditedTime) {
    DISP_DATE_T d{};
    ASSERT_EQ(Disp_nShowDateInputView(&d, 0), 0);
    EXPECT_EQ((std::vector<int>{d.year, d.month, d.day, d.hour, d.minute, d.second}),
              (std::vector<int>{2031, 12, 24, 23, 59, 58}));
}

TEST_F(Disp, SignatureArgumentsAreCheckedFirst) {
    unsigned char out[16];
    int len = 0;
    EXPECT_EQ(Disp_nElecSign(out, &len, "t", 0, 0, 0, 301, 150, 0), -1);
    EXPECT_EQ(Disp_nElecSign(out, &len, "t", -1, 0, 0, 300, 150, 0), -1);
    std::string log =
        logOf([&] { EXPECT_EQ(Disp_nElecSignEx(out, &len, "t", 0, 0, 0, 300, 150, 0, 1.5f), -1); });
    EXPECT_NE(log.find("params check err"), std::string::npos);
    EXPECT_EQ(Disp_nElecSign(nullptr, &len, "t", 0, 0, 0, 300, 150, 0), -1);
    EXPECT_TRUE(calls.empty());
}

}  // namespace
