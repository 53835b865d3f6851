// The modal views: input lines, amount, password, PIN pad, IP and date input, message and
// edit boxes, lists and the progress bar. Each checks its arguments, converts its texts,
// calls one view of the UI library and translates its result; the translations differ from
// view to view, and applications depend on each as it stands.
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include <panelui/panelui.h>

#include <initializer_list>
#include <memory>

#include "DispInternal.h"
#include "pos_sdk/disp.h"
#include "pos_sdk/log.h"

namespace {

constexpr size_t kTitleBytes = 64;
constexpr size_t kMessageBytes = 201;
constexpr size_t kEditBoxBytes = 513;
constexpr size_t kSlideTextBytes = 33;
constexpr int kMaxMethods = 5;

// The message boxes' button language: 0 Chinese, 1 English.
uint8_t g_msgBoxLanguage = 1;

int uiMethodOf(int sdkCode) {
    switch (sdkCode) {
        case 0x01:
            return 0;
        case 0x02:
            return 3;
        case 0x04:
            return 2;
        case 0x08:
            return 4;
        default:
            return -1;
    }
}

// UI result of the user input views: a positive result is the length of what was typed.
int translateUserInput(int ui, const char *out, unsigned int bufferLength) {
    if (ui == -2) return -3;
    if (ui == -1) return -2;
    if (ui == -3 || ui == 0) return 0;
    if (ui < 0) return -1;
    size_t limit = bufferLength > 0 ? bufferLength - 1 : 0;
    return static_cast<int>(strnlen(out, limit));
}

// -2 → -3, -1 → -2, then the view's own answer for everything else.
int translateCommon(int ui, int otherwise) {
    if (ui == -2) return -3;
    if (ui == -1) return -2;
    return otherwise;
}

// Amount and password: -2 → -1, -1 → -2, -3 → 0, the rest unchanged.
int translateAmount(int ui) {
    if (ui == -2) return -1;
    if (ui == -1) return -2;
    if (ui == -3) return 0;
    return ui;
}

int userInput(int x, int y, int width, int height, unsigned int minLength, unsigned int maxLength,
              const int *methods, int methodCount, unsigned int bufferLength, char *pOutBuffer,
              int timeout, unsigned int style, const char *pszInfo) {
    int ui;
    if (pszInfo != nullptr)
        ui = PnlGetEditInputV2(g_hMdc, x, y, width, height, methods, methodCount, pOutBuffer,
                               bufferLength, minLength, maxLength, timeout, GetShowStyle(style),
                               pszInfo);
    else
        ui = PnlGetEditInput(g_hMdc, x, y, width, height, methods, methodCount, pOutBuffer,
                             bufferLength, minLength, maxLength, timeout, GetShowStyle(style));
    return translateUserInput(ui, pOutBuffer, bufferLength);
}

// The UI method list of an SDK code array: unknown codes skipped; -1 when more codes are
// recognised than the list holds.
int methodsOfArray(const int *codes, int count, int (&methods)[kMaxMethods]) {
    int n = 0;
    for (int i = 0; i < count; ++i) {
        int ui = uiMethodOf(codes[i]);
        if (ui < 0) continue;
        if (n == kMaxMethods) return -1;
        methods[n++] = ui;
    }
    return n;
}

int userInputEx(int x, int y, int width, int height, unsigned int minLength, unsigned int maxLength,
                const int *pInputMethod, int methodCount, unsigned int bufferLength,
                char *pOutBuffer, int timeout, unsigned int style, const char *pszInfo) {
    if (methodCount == 0) return -1;
    int methods[kMaxMethods] = {0};
    int n = methodsOfArray(pInputMethod, methodCount, methods);
    if (n < 0) return -1;
    return userInput(x, y, width, height, minLength, maxLength, methods, n, bufferLength,
                     pOutBuffer, timeout, style, pszInfo);
}

// Both message boxes: button texts by type and language; any other type shows nothing.
int messageBox(const int *rect, const char *title, int boxType, int timeout, unsigned int style,
               const char *fmt, va_list ap) {
    char gbkTitle[kTitleBytes] = {0};
    ConvertUtf8ToGbk(title, gbkTitle, sizeof gbkTitle);
    char message[kMessageBytes] = {0};
    if (fmt != nullptr) vsnprintf(message, kMessageBytes, fmt, ap);
    char gbkMessage[kMessageBytes];
    ConvertUtf8ToGbk(message, gbkMessage, sizeof gbkMessage);

    // Stored in the UI library's own encoding ("确定", "取消   确定" in GBK).
    const char *buttons;
    if (boxType == 1)
        buttons = g_msgBoxLanguage == 0 ? "\xC8\xB7\xB6\xA8" : "OK";
    else if (boxType == 3)
        buttons = g_msgBoxLanguage == 0 ? "\xC8\xA1\xCF\xFB   \xC8\xB7\xB6\xA8" : " CANCEL    OK";
    else
        return -2;
    int ui = rect == nullptr
                 ? PnlMsgBox(gbkTitle, gbkMessage, buttons, boxType, timeout, GetShowStyle(style))
                 : PnlMsgBoxEx(rect[0], rect[1], rect[2], rect[3], gbkTitle, gbkMessage, buttons,
                               boxType, timeout, GetShowStyle(style));
    if (ui == 0) return 0;
    if (ui == -2) return -3;
    return -2;
}

int amountInput(int x, int y, int width, int height, const char *pszCurrencyFlag,
                unsigned int minLength, unsigned int maxLength, int nLenOfBuffer, char *pszAmount,
                int timeout, unsigned int style, bool extended, char *pszExtra) {
    if (nLenOfBuffer < 12 || pszAmount == nullptr || pszCurrencyFlag == nullptr ||
        (extended && pszExtra == nullptr)) {
        Log_Err(
            "error  in input Parameter! nLenOfBuffer=%d, or pszAmount is NULL, or "
            "pszCurrencyFlag is NULL",
            nLenOfBuffer);
        return -1;
    }
    int ui =
        extended
            ? PnlGetAmountInputV2(g_hMdc, x, y, width, height, pszCurrencyFlag, pszAmount, pszExtra,
                                  nLenOfBuffer, minLength, maxLength, timeout, GetShowStyle(style))
            : PnlGetAmountInput(g_hMdc, x, y, width, height, pszCurrencyFlag, pszAmount,
                                nLenOfBuffer, minLength, maxLength, timeout, GetShowStyle(style));
    return translateAmount(ui);
}

enum class ListKind { Single, Double };

// The list and table views after their own checks: convert, show, release, translate.
int listView(ListKind kind, const int *rect, const char *title, bool nullTitleStaysNull,
             char **items, int count, int value1, int initialSelection, int value2, int *selection,
             unsigned int style) {
    if (items == nullptr || selection == nullptr || items[0] == nullptr) return -1;
    char **converted = ConvertList(count, items);
    if (converted == nullptr) return -1;
    char gbkTitle[kTitleBytes] = {0};
    const char *shownTitle = gbkTitle;
    if (title == nullptr && nullTitleStaysNull)
        shownTitle = nullptr;
    else
        ConvertUtf8ToGbk(title, gbkTitle, sizeof gbkTitle);

    unsigned int ui_style = GetShowStyle(style);
    int ui;
    if (kind == ListKind::Single)
        ui = rect ? PnlShowListEx(rect[0], rect[1], rect[2], rect[3], shownTitle, converted, count,
                                  value1, initialSelection, value2, ui_style)
                  : PnlShowList(shownTitle, converted, count, value1, initialSelection, value2,
                                ui_style);
    else
        ui = rect ? PnlShowDoubleListEx(rect[0], rect[1], rect[2], rect[3], shownTitle, converted,
                                        count, value1, initialSelection, value2, ui_style)
                  : PnlShowDoubleList(shownTitle, converted, count, value1, initialSelection,
                                      value2, ui_style);
    Freelist(count, converted);

    if (ui == -2 || ui == -1) {
        *selection = initialSelection;
        return ui == -2 ? -3 : -2;
    }
    if (kind == ListKind::Double && ui < 0) return -1;
    *selection = ui;
    return 0;
}

}  // namespace

POS_API char **ConvertList(int count, char **items) {
    if (count < 0 || items == nullptr) return nullptr;
    char **list = static_cast<char **>(calloc(count > 0 ? count : 1, sizeof(char *)));
    if (list == nullptr) return nullptr;
    for (int i = 0; i < count; ++i) {
        const char *item = items[i] != nullptr ? items[i] : "";
        size_t size = strlen(item) + 1;
        list[i] = static_cast<char *>(malloc(size));
        if (list[i] == nullptr) return nullptr;  // what was allocated is not given back
        ConvertUtf8ToGbk(item, list[i], size);
        list[i][size - 1] = '\0';
    }
    return list;
}

POS_API void Freelist(int count, char **list) {
    if (list == nullptr) return;
    for (int i = 0; i < count; ++i) free(list[i]);
    free(list);
}

POS_API int Disp_nUserInputView(int x, int y, int width, int height, unsigned int minLength,
                                unsigned int maxLength, unsigned int methodMask,
                                unsigned int bufferLength, char *pOutBuffer, int timeout,
                                unsigned int style) {
    DISP_ASSERT(pOutBuffer != nullptr, "pOutBuffer != __null");
    DISP_ASSERT(g_hMdc != 0, "g_hMdc != __null");
    int methods[kMaxMethods] = {0};
    int n = 0;
    for (int bit : {0x01, 0x02, 0x04, 0x08}) {
        if (methodMask & static_cast<unsigned int>(bit)) methods[n++] = uiMethodOf(bit);
    }
    return userInput(x, y, width, height, minLength, maxLength, methods, n, bufferLength,
                     pOutBuffer, timeout, style, nullptr);
}

POS_API int Disp_nUserInputViewEx(int x, int y, int width, int height, unsigned int minLength,
                                  unsigned int maxLength, const int *pInputMethod, int methodCount,
                                  unsigned int bufferLength, char *pOutBuffer, int timeout,
                                  unsigned int style) {
    DISP_ASSERT(pOutBuffer != nullptr, "pOutBuffer != __null");
    DISP_ASSERT(pInputMethod != nullptr, "pInputMethod != __null");
    DISP_ASSERT(g_hMdc != 0, "g_hMdc != __null");
    return userInputEx(x, y, width, height, minLength, maxLength, pInputMethod, methodCount,
                       bufferLength, pOutBuffer, timeout, style, nullptr);
}

POS_API int Disp_nUserInputViewExEx(int x, int y, int width, int height, unsigned int minLength,
                                    unsigned int maxLength, const int *pInputMethod,
                                    int methodCount, unsigned int bufferLength, char *pOutBuffer,
                                    int timeout, unsigned int style, const char *pszInfo) {
    DISP_ASSERT(pszInfo != nullptr, "pszInfo != __null");
    DISP_ASSERT(pOutBuffer != nullptr, "pOutBuffer != __null");
    DISP_ASSERT(pInputMethod != nullptr, "pInputMethod != __null");
    DISP_ASSERT(g_hMdc != 0, "g_hMdc != __null");
    return userInputEx(x, y, width, height, minLength, maxLength, pInputMethod, methodCount,
                       bufferLength, pOutBuffer, timeout, style, pszInfo);
}

POS_API int Disp_nMessageBox(const char *title, int boxType, int timeout, unsigned int style,
                             const char *fmt, ...) {
    va_list ap;
    va_start(ap, fmt);
    int rc = messageBox(nullptr, title, boxType, timeout, style, fmt, ap);
    va_end(ap);
    return rc;
}

POS_API int Disp_nMessageBoxEx(int x, int y, int width, int height, const char *title, int boxType,
                               int timeout, unsigned int style, const char *fmt, ...) {
    const int rect[4] = {x, y, width, height};
    va_list ap;
    va_start(ap, fmt);
    int rc = messageBox(rect, title, boxType, timeout, style, fmt, ap);
    va_end(ap);
    return rc;
}

POS_API void Disp_nSetMsgBoxLanguage(uint8_t language) {
    if (language > 1) {
        Log_Warn("Set Msg Box Language ERROR, input = %d", language);
        language = 1;
    }
    g_msgBoxLanguage = language;
}

POS_API int Disp_nShowEditBox(int x, int y, int width, int height, int value, unsigned int style,
                              const char *fmt, ...) {
    if (x < 0 || y < 0 || width < 0 || height < 0) return -1;
    char text[kEditBoxBytes] = {0};
    va_list ap;
    va_start(ap, fmt);
    if (fmt != nullptr) vsnprintf(text, sizeof text, fmt, ap);
    va_end(ap);
    char gbk[kEditBoxBytes];
    ConvertUtf8ToGbk(text, gbk, sizeof gbk);
    int ui = PnlShowEditBox(g_hMdc, x, y, width, height, gbk, value, GetShowStyle(style));
    return translateCommon(ui, 0);
}

POS_API int Disp_nShowEditBoxEx(int x, int y, int width, int height, int value, unsigned int style,
                                const char *text) {
    if (text == nullptr) return -1;
    size_t size = strlen(text) + 1;
    std::unique_ptr<char[]> gbk(new char[size]);
    ConvertUtf8ToGbk(text, gbk.get(), size);
    gbk[size - 1] = '\0';
    int ui = PnlShowEditBox(g_hMdc, x, y, width, height, gbk.get(), value, GetShowStyle(style));
    return translateCommon(ui, 0);
}

POS_API int Disp_nShowAmountInputView(int x, int y, int width, int height,
                                      const char *pszCurrencyFlag, unsigned int minLength,
                                      unsigned int maxLength, int nLenOfBuffer, char *pszAmount,
                                      int timeout, unsigned int style) {
    return amountInput(x, y, width, height, pszCurrencyFlag, minLength, maxLength, nLenOfBuffer,
                       pszAmount, timeout, style, false, nullptr);
}

POS_API int Disp_nShowAmountInputViewEx(int x, int y, int width, int height,
                                        const char *pszCurrencyFlag, unsigned int minLength,
                                        unsigned int maxLength, int nLenOfBuffer, char *pszAmount,
                                        int timeout, unsigned int style, char *pszExtra) {
    return amountInput(x, y, width, height, pszCurrencyFlag, minLength, maxLength, nLenOfBuffer,
                       pszAmount, timeout, style, true, pszExtra);
}

POS_API int Disp_nShowPasswdInputView(int x, int y, int width, int height, unsigned int minLength,
                                      unsigned int maxLength, unsigned int bufferLength,
                                      char *buffer, int timeout, unsigned int style) {
    if (buffer == nullptr) return -1;
    int ui = PnlGetPwdInput(g_hMdc, x, y, width, height, buffer, bufferLength, minLength, maxLength,
                            timeout, GetShowStyle(style));
    // -2 gives -1 here, unlike the other views' -3: kept for the applications that test it.
    return translateAmount(ui);
}

POS_API int Disp_nShowPINPADInputView(int x, int y, int width, int height,
                                      DISP_PINPAD_LAYOUT_T *layout, int length, int value,
                                      void *pointer) {
    if (x < 0 || y < 0 || width < 0 || height < 0 || length < 8 || layout == nullptr ||
        pointer == nullptr)
        return -1;
    int ui = PnlGetPinInput(g_hMdc, x, y, width, height, layout, layout->value1, layout->value2,
                            layout->value3, layout->area, layout->pointer1, layout->pointer2, value,
                            pointer);
    if (ui == -4 || ui == -3) return -1;
    return translateCommon(ui, ui);
}

POS_API int Disp_nShowIPInputLine(int x, int y, int width, int height, unsigned int minLength,
                                  unsigned int maxLength, unsigned int bufferLength, char *buffer,
                                  int timeout, unsigned int style) {
    if (x < 0 || y < 0 || width < 0 || height < 0 || buffer == nullptr ||
        static_cast<int>(minLength) > static_cast<int>(maxLength) || bufferLength < 16)
        return -1;
    int ui = PnlGetIPInput(g_hMdc, x, y, width, height, buffer, bufferLength, minLength, maxLength,
                           timeout, GetShowStyle(style));
    if (ui == -3) return 0;
    return translateCommon(ui, ui);
}

POS_API int Disp_nShowDateInputView(DISP_DATE_T *date, int value) {
    if (date == nullptr) return -1;
    time_t now = time(nullptr);
    struct tm t;
    localtime_r(&now, &t);
    t.tm_year += 1900;
    t.tm_mon += 1;
    int ui = PnlSetData(&t, value);
    if (ui != 0) return translateCommon(ui, -1);
    date->second = static_cast<uint8_t>(t.tm_sec);
    date->minute = static_cast<uint8_t>(t.tm_min);
    date->hour = static_cast<uint8_t>(t.tm_hour);
    date->day = static_cast<uint8_t>(t.tm_mday);
    date->month = static_cast<uint8_t>(t.tm_mon);
    date->year = t.tm_year;
    return 0;
}

POS_API int Disp_nShowListView(int x, int y, int width, int height, const char *title, char **items,
                               int count, int value1, int initialSelection, int value2,
                               int *selection, unsigned int style) {
    if (x < 0 || y < 0) return -1;
    const int rect[4] = {x, y, width, height};
    return listView(ListKind::Single, rect, title, false, items, count, value1, initialSelection,
                    value2, selection, style);
}

POS_API int Disp_nShowListViewEx(const char *title, char **items, int count, int value1,
                                 int initialSelection, int value2, int *selection,
                                 unsigned int style) {
    return listView(ListKind::Single, nullptr, title, false, items, count, value1, initialSelection,
                    value2, selection, style);
}

POS_API int Disp_nShowTableView(int x, int y, int width, int height, const char *title,
                                char **items, int count, int value1, int initialSelection,
                                int value2, int *selection, unsigned int style) {
    if (x < 0 || y < 0) return -1;
    const int rect[4] = {x, y, width, height};
    return listView(ListKind::Double, rect, title, false, items, count, value1, initialSelection,
                    value2, selection, style);
}

POS_API int Disp_nShowTableViewEx(const char *title, char **items, int count, int value1,
                                  int initialSelection, int value2, int *selection,
                                  unsigned int style) {
    return listView(ListKind::Double, nullptr, title, true, items, count, value1, initialSelection,
                    value2, selection, style);
}

POS_API int Disp_nShowListWithSlideButtonEx(int x, int y, int width, int height, const char *title,
                                            DISP_SLIDE_ITEM_T *items, int count, void *pointer,
                                            int value) {
    if (x < 0 || y < 0 || count < 1 || items == nullptr) return -1;
    std::unique_ptr<char[][kSlideTextBytes]> texts(new char[count][kSlideTextBytes]);
    std::unique_ptr<PnlSlideItem[]> pairs(new PnlSlideItem[count]);
    for (int i = 0; i < count; ++i) {
        // The caller's text field is 33 bytes; an unterminated one is cut there.
        char text[kSlideTextBytes];
        memcpy(text, items[i].text, sizeof text);
        text[sizeof text - 1] = '\0';
        ConvertUtf8ToGbk(text, texts[i], kSlideTextBytes);
        texts[i][kSlideTextBytes - 1] = '\0';
        pairs[i].text = texts[i];
        pairs[i].state = items[i].state;
    }
    char gbkTitle[kTitleBytes] = {0};
    const char *shownTitle = nullptr;
    if (title != nullptr && title[0] != '\0') {
        ConvertUtf8ToGbk(title, gbkTitle, sizeof gbkTitle);
        shownTitle = gbkTitle;
    }
    int ui = PnlShowListWithSlideButtonEx(x, y, width, height, shownTitle, pairs.get(), count,
                                          pointer, value, 17);
    Log_Err("PnlShowListWithSlideButtonEx = %d", ui);
    if (ui == -2 || ui == -3) return -3;
    if (ui == -1) return -2;
    for (int i = 0; i < count; ++i) items[i].state = static_cast<uint8_t>(pairs[i].state);
    return 0;
}

POS_API int Disp_nShowProgressBar(int x, int y, int value1, int value2, const char *text,
                                  int value3) {
    if (x < 0 || y < 0 || text == nullptr) return -1;
    int ui = PnlShowProgressBar(x, y, value1, value2, value3, text);
    return translateCommon(ui, 0);
}
