// Display text and drawing, keys and touch, the status bar: each call checks its arguments,
// converts its text to GBK and hands it to the UI library.
#include <errno.h>
#include <stddef.h>
#include <iconv.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <panelui/panelui.h>

#include <memory>

#include "DispInternal.h"
#include "pos_sdk/app.h"
#include "pos_sdk/disp.h"
#include "pos_sdk/log.h"
#include "pos_sdk/os_time.h"
#include "pos_sdk/sysinfo.h"

static_assert(sizeof(POINT_T) == 8 && offsetof(POINT_T, y) == 4, "POINT_T layout");
static_assert(offsetof(DISP_DATE_T, month) == 4 && offsetof(DISP_DATE_T, year) == 8 &&
                  sizeof(DISP_DATE_T) == 12,
              "date record layout");
static_assert(offsetof(DISP_SLIDE_ITEM_T, state) == 33 && sizeof(DISP_SLIDE_ITEM_T) == 34,
              "slide item stride");
static_assert(offsetof(DISP_PINPAD_LAYOUT_T, value1) == 20 &&
                  offsetof(DISP_PINPAD_LAYOUT_T, value3) == 28 &&
                  offsetof(DISP_PINPAD_LAYOUT_T, area) == 32 &&
                  offsetof(DISP_PINPAD_LAYOUT_T, pointer1) == 96 &&
                  offsetof(DISP_PINPAD_LAYOUT_T, pointer2) == 96 + sizeof(void *) &&
                  sizeof(DISP_PINPAD_LAYOUT_T) == 96 + 2 * sizeof(void *),
              "PIN pad layout record");

POS_API int32_t g_hMdc = 0;
POS_API int32_t g_hBdc = 0;
POS_API int32_t g_hTipdc = 0;

namespace {

constexpr int kScreenWidth = 800;
constexpr int kScreenHeight = 1280;
constexpr int kLastLine = 5;

// Cleared by initialisation; nothing reads it yet.
unsigned char g_moduleState[48];

constexpr uint32_t kLineColours[] = {0x000000, 0xffffff, 0x00f7de, 0xff0000};

constexpr const char *kRed = "\033[1;31m";
constexpr const char *kReset = "\033[0m";

unsigned int patternFlags(int pattern) {
    if (pattern == 1) return PNL_TEXT_UNDERLINE;
    if (pattern == 2) return PNL_TEXT_FRAME;
    return 0;
}

// The pattern of the line calls: an unknown one is reported and the line drawn without it.
unsigned int checkedPatternFlags(int pattern) {
    if (pattern != 0 && pattern != 1 && pattern != 2) Log_Warn("error nPattern =%d", pattern);
    return patternFlags(pattern);
}

// Formats into the 64-byte line buffer with a limit of 63: at most 62 characters survive.
void formatLine(char (&out)[kLineBufferBytes], const char *fmt, va_list ap) {
    memset(out, 0, sizeof out);
    if (fmt != nullptr) vsnprintf(out, sizeof out - 1, fmt, ap);
}

using LineOperation = int (*)(int, const char *, unsigned int);

void showFormattedLine(LineOperation show, uint8_t line, unsigned int flags, const char *fmt,
                       va_list ap) {
    char text[kLineBufferBytes];
    formatLine(text, fmt, ap);
    char gbk[kLineBufferBytes];
    ConvertUtf8ToGbk(text, gbk, sizeof gbk);
    show(line, gbk, flags);
}

void initCommon() {
    g_hMdc = PnlGetMainDC();
    g_hBdc = PnlGetStateBarDC();
    g_hTipdc = PnlGetTipDC();
    PnlLmSetBackColor(0xffffff);
    memset(g_moduleState, 0, sizeof g_moduleState);
}

// The status-bar state the UI library publishes as a system parameter. The value is read
// into a buffer as large as a stored value can be, so no copy can overrun it.
int readStatusBarState(char (&value)[33]) {
    memset(value, 0, sizeof value);
    return OsGetSysParam("KV_STATEBAR_DRAW_STATE", value);
}

}  // namespace

[[noreturn]] void dispAssertFailed(const char *text, int line, const char *function) {
    fprintf(stderr, "%s: %d: %s: Assertion `%s' failed.\n", "sdk_api/Disp", line, function, text);
    abort();
}

void ConvertUtf8ToGbk(const char *in, char *out, size_t outSize) {
    if (in == nullptr || out == nullptr) return;
    size_t inLeft = strlen(in) + 1;  // the terminator is converted too
    iconv_t cd = iconv_open("gbk", "utf-8");
    if (cd == reinterpret_cast<iconv_t>(-1)) {
        Log_Err("%siconv_open error!!!\n%s", kRed, kReset);
        return;
    }
    memset(out, 0, outSize);
    char *inPtr = const_cast<char *>(in);
    char *outPtr = out;
    size_t outLeft = outSize;
    if (iconv(cd, &inPtr, &inLeft, &outPtr, &outLeft) == static_cast<size_t>(-1)) {
        switch (errno) {
            case E2BIG:
                Log_Err("%serrno:E2BIG(outbuf空间不够)\n%s", kRed, kReset);
                break;
            case EINVAL:
                Log_Err("%serrno:EINVAL(有残余的字节未转换)\n%s", kRed, kReset);
                break;
            case EILSEQ:
                Log_Err("%serrno:EILSEQ(inbuf多字节序无效)\n%s", kRed, kReset);
                break;
            default:
                break;
        }
    }
    iconv_close(cd);
}

POS_API int _is_in_range_x(int32_t x) {
    return x >= 0 && x <= kScreenWidth;
}

POS_API int _is_in_range_y(int32_t y) {
    return y >= 0 && y <= kScreenHeight;
}

POS_API int _is_in_range_line(int32_t line) {
    return line >= 0 && line <= kLastLine;
}

POS_API unsigned int GetShowStyle(unsigned int style) {
    unsigned int result;
    if (style & 0x04)
        result = (style & 0x02) ? 3 : 2;
    else
        result = (style & 0x02) ? 1 : 0;
    if (style & (0x10 | 0x08)) result |= 0x04;
    if (style & (0x40 | 0x20)) result |= 0x08;
    if (style & 0x80) result |= 0x10;
    return result;
}

POS_API void Disp_vInit(void) {
    PnlInit();
    initCommon();
}

POS_API void Disp_vInitEx(int showStatusBar) {
    PnlInitAndSetStateBar(showStatusBar != 0 ? 1 : 0);
    initCommon();
}

POS_API void Disp_vGetUserDisplayRange(int *pnStartX, int *pnEndX, int *pnStartY, int *pnEndY) {
    DISP_ASSERT(pnStartX != nullptr, "pnStartX != __null");
    DISP_ASSERT(pnEndX != nullptr, "pnEndX != __null");
    DISP_ASSERT(pnStartY != nullptr, "pnStartY != __null");
    DISP_ASSERT(pnEndY != nullptr, "pnEndY != __null");
    *pnStartX = 0;
    *pnEndX = kScreenWidth;
    *pnStartY = 0;
    *pnEndY = kScreenHeight;
}

namespace {

// The line test of the line-text calls, with the warning they log for a line off the screen.
bool lineAccepted(uint8_t line) {
    if (_is_in_range_line(line)) return true;
    Log_Warn("line range error, input=%d", line);
    return false;
}

}  // namespace

POS_API void Disp_vShowStr(uint8_t line, uint8_t style, uint8_t pattern, const char *fmt, ...) {
    if (!_is_in_range_line(line)) {
        Log_Warn("line range error(0-5), but input=%d", line);
        return;
    }
    char text[kLineBufferBytes];
    va_list ap;
    va_start(ap, fmt);
    formatLine(text, fmt, ap);
    va_end(ap);
    if (text[0] == '\0') return;

    unsigned int flags = 0;
    uint32_t savedBack = 0, savedText = 0;
    switch (style) {
        case 1:
            savedBack = PnlLmSetBackColor(0x2e2bff);
            savedText = PnlLmSetTextColor(0xffffff);
            break;
        case 2:
            flags |= 0x04;
            break;
        case 3:
            flags |= 0x08;
            break;
        case 4:
            flags |= 0x02;
            break;
        default:
            break;
    }
    flags |= checkedPatternFlags(pattern);
    char gbk[kLineBufferBytes];
    ConvertUtf8ToGbk(text, gbk, sizeof gbk);
    PnlLmShowString(line, gbk, flags);
    if (style == 1) {
        PnlLmSetBackColor(savedBack);
        PnlLmSetTextColor(savedText);
    }
}

POS_API void Disp_vShowStrAt(uint8_t line, uint8_t /*unused*/, const char *fmt, ...) {
    if (!lineAccepted(line)) return;
    va_list ap;
    va_start(ap, fmt);
    showFormattedLine(PnlLmShowString, line, 0, fmt, ap);
    va_end(ap);
}

POS_API void Disp_vShowStrAtEx(uint8_t line, uint8_t pattern, const char *fmt, ...) {
    if (!lineAccepted(line)) return;
    unsigned int flags = checkedPatternFlags(pattern);
    va_list ap;
    va_start(ap, fmt);
    showFormattedLine(PnlLmShowStringEx, line, flags, fmt, ap);
    va_end(ap);
}

POS_API void Disp_vShowPersianStr(uint8_t line, uint8_t pattern, const char *fmt, ...) {
    if (!lineAccepted(line)) return;
    unsigned int flags = checkedPatternFlags(pattern);
    char text[kLineBufferBytes];
    va_list ap;
    va_start(ap, fmt);
    formatLine(text, fmt, ap);
    va_end(ap);
    PnlLineShowTextPersian(line, text, flags);  // right-to-left text goes unconverted
}

POS_API void Disp_vClearLine(uint8_t line) {
    if (!lineAccepted(line)) return;
    PnlLmShowString(line, "", PNL_TEXT_CLEAR_LINE);
}

POS_API void Disp_vClearPort(void) {
    PnlClearDC(g_hMdc);
    PnlReFreshScreen();
}

POS_API void Disp_vCleanArea(int x, int y, int width, int height) {
    PnlClearDCArea(g_hMdc, x, y, width, height);
}

POS_API void Disp_vDrawLineAt(int x1, int y1, int x2, int y2, int width, int colourIndex) {
    if (!_is_in_range_x(x1) || !_is_in_range_x(x2)) {
        // The second value printed is y1: applications' log parsers know it so.
        Log_Warn("X range error, begin=%d, end=%d", x1, y1);
        return;
    }
    uint32_t savedPen = PnlGetDCPenColor(g_hMdc);
    // A negative index is treated as black, like any index past the table.
    bool known = colourIndex >= 0 && colourIndex <= 3;
    PnlSetDCPenColor(g_hMdc, known ? kLineColours[colourIndex] : 0x000000);
    if (x1 == x2)
        PnlDrawVert(g_hMdc, x1, y1, y2 - y1, width);
    else if (y1 == y2)
        PnlDrawHorz(g_hMdc, x1, y1, x2 - x1, width);
    else
        PnlDrawLine(g_hMdc, x1, y1, x2, y2);
    PnlReFreshScreen();
    PnlSetDCPenColor(g_hMdc, savedPen);
}

POS_API void Disp_vDrawRectWithColor(int x, int y, int width, int height, int colour) {
    PnlDrawRectWithColor(g_hMdc, x, y, width, height, colour);
}

POS_API void Disp_vDrawTextA(int x1, int y1, int x2, int y2, const char *text, int length,
                             unsigned int pattern) {
    if (text == nullptr || length < 1) return;
    unsigned int flags = patternFlags(static_cast<int>(pattern));
    std::unique_ptr<char[]> gbk(new char[static_cast<size_t>(length) + 1]);
    ConvertUtf8ToGbk(text, gbk.get(), static_cast<size_t>(length) + 1);
    // The buffer is zero-filled first; its last byte stays the terminator.
    gbk[length] = '\0';
    PnlDrawTextA(g_hMdc, x1, y1, x2, y2, gbk.get(), static_cast<int>(strlen(gbk.get())), flags);
}

POS_API void Disp_vShowImage(unsigned char *pcBmpData, unsigned int /*dataLength*/, POINT_T point,
                             unsigned int width, unsigned int height) {
    DISP_ASSERT(pcBmpData != nullptr, "pcBmpData != __null");
    Log_Warn("====Disp_vShowImage=========");
    if (!_is_in_range_x(point.x) || !_is_in_range_y(point.y)) {
        Log_Warn("X range error");
        return;
    }
    PnlPutDIB(g_hMdc, pcBmpData, point.x, point.y, static_cast<int>(width),
              static_cast<int>(height), 0xff00ff, PNL_DIB_RGB888, 0);
    PnlReFreshScreen();
}

POS_API void Disp_vShowLogoView(const unsigned char *logo, const char *text) {
    if (logo == nullptr) return;
    if (text == nullptr) {
        PnlDrawMainInterface(logo, nullptr);
        return;
    }
    size_t size = strlen(text) + 1;
    std::unique_ptr<char[]> gbk(new char[size]);
    ConvertUtf8ToGbk(text, gbk.get(), size);
    gbk[size - 1] = '\0';
    PnlDrawMainInterface(logo, gbk.get());
}

POS_API void Disp_vSetSysFont(int font) {
    int code;
    switch (font) {
        case 1:
            code = 2;
            break;
        case 2:
            code = 1;
            break;
        case 4:
            code = 0;
            break;
        case 5:
            code = 3;
            break;
        default:
            code = 2;
            break;
    }
    if (PnlSetSysFont2(code) == -1) Log_Err("PnlSetSysFont2 fail");
}

POS_API void Disp_vLightOn(void) {
    PnlSetDCHideMode(g_hTipdc, 0);
    PnlReFreshScreen();
}

POS_API void Disp_vLightOff(void) {
    PnlSetDCHideMode(g_hTipdc, 1);
    PnlReFreshScreen();
}

POS_API void Disp_vSetStatusBarStatus(int on) {
    PnlStateBarSetDrawState(on != 0 ? 1 : 0);
    OsSleep(10);  // the UI library publishes the state shortly after the call
    char value[33];
    int rc = readStatusBarState(value);
    value[4] = '\0';  // the state is a short number; read as the terminal's 4-byte buffer
    Log_Err("KV_GET_STATEBAR_DRAW_STATE = %s", value);
    // Compared with the argument as passed: any value but 0 or 1 always sets again.
    if (rc != 0 || atoi(value) != on) PnlStateBarSetDrawState(on != 0 ? 1 : 0);
}

POS_API int Disp_GetKey(int timeout) {
    int key = PnlGetKey(timeout);
    if (key >= PNL_KEY_0 && key <= PNL_KEY_9) return key - PNL_KEY_0;
    if (key >= PNL_KEY_CANCEL && key <= PNL_KEY_MENU) return key - PNL_KEY_CANCEL + 14;
    return -1;
}

POS_API int Disp_GetTouchPadAxis(int *x, int *y, int timeout) {
    if (x == nullptr || y == nullptr) return -1;
    int key = 0;  // a key pressed instead of a touch is not reported
    return PnlGetKeyAndTouchPad(&key, x, y, timeout);
}

POS_API int Disp_GetKeyLinux(int a, int b) {
    return PnlLinuxGetKey(a, b);
}

POS_API int Disp_GetTouchPadLinux(int a, int b) {
    return PnlLinuxGetTouchPad(a, b);
}

POS_API int Disp_ReleasKey(void) {
    return PnlReleasKey();
}

POS_API void Disp_vRegisterPauseCallBack(void (*callback)(void)) {
    if (callback != nullptr) PnlRegisterPauseCallBack(callback, 0);
}

POS_API void Disp_vRegisterResumeCallBack(void (*callback)(void)) {
    if (callback != nullptr) PnlRegisterResumeCallBack(callback, 0);
}
