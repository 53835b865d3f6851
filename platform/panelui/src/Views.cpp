// The modal views: each draws a plain dialog (title, fields, buttons) on the main surface and
// runs on the input queue until it is confirmed, cancelled or timed out.
#include <arpa/inet.h>

#include <panelui/panelui.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "Input.h"
#include "Panel.h"

using namespace panelui;

namespace {

constexpr uint32_t kTitleBack = 0x2e2bff, kFieldBack = 0xf0f0f0, kSelected = 0xc8d8ff;
constexpr int kRowHeight = 40;
const Rect kFullScreen{40, 240, 720, 800};

// Marks the view that is up for as long as it runs.
class ViewScope {
  public:
    explicit ViewScope(const char *name) { setView(name); }
    ~ViewScope() { setView("none"); }
};

// The rectangle of a view: the caller's clipped to the screen, or the full-screen one.
Rect viewRect(int x, int y, int w, int h) {
    Rect r = clipRect(x, y, w, h, panel().main.bounds());
    return (r.w < 200 || r.h < 160) ? kFullScreen : r;
}

int waitMs(int timeoutSeconds) {
    return timeoutSeconds <= 0 ? 0 : std::min(timeoutSeconds, 86400) * 1000;
}

void text(const Rect &r, int x, int y, const std::string &s, uint32_t colour = kBlack) {
    drawText(panel().main, s.c_str(), s.size(), r.x + x, r.y + y, colour, FontSize::Small, r);
}

void frameDialog(const Rect &r, const char *title) {
    Surface &m = panel().main;
    m.fill(r.x, r.y, r.w, r.h, kWhite);
    m.fill(r.x, r.y, r.w, kRowHeight, kTitleBack);
    m.fill(r.x, r.y + r.h - 2, r.w, 2, kBlack);
    m.fill(r.x, r.y, 2, r.h, kBlack);
    m.fill(r.x + r.w - 2, r.y, 2, r.h, kBlack);
    if (title != nullptr) text(r, 12, 12, title, kWhite);
}

// The buttons' row along the bottom: Cancel on the left, OK on the right.
Rect cancelButton(const Rect &r) {
    return Rect{r.x + 12, r.y + r.h - 56, 160, 44};
}
Rect okButton(const Rect &r) {
    return Rect{r.x + r.w - 172, r.y + r.h - 56, 160, 44};
}

bool inside(const Rect &b, int x, int y) {
    return x >= b.x && y >= b.y && x < b.x + b.w && y < b.y + b.h;
}

void drawButton(const Rect &b, const char *label) {
    Surface &m = panel().main;
    m.fill(b.x, b.y, b.w, b.h, kFieldBack);
    m.fill(b.x, b.y + b.h - 2, b.w, 2, kBlack);
    int w = textWidth(label, strlen(label), FontSize::Small);
    drawText(m, label, strlen(label), b.x + (b.w - w) / 2, b.y + 14, kBlack, FontSize::Small, b);
}

void drawButtons(const Rect &r, bool withCancel) {
    if (withCancel) drawButton(cancelButton(r), "CANCEL");
    drawButton(okButton(r), "OK");
}

// One field line below the title: a label and the value in a box.
void drawField(const Rect &r, int row, const std::string &label, const std::string &value) {
    Surface &m = panel().main;
    int y = r.y + kRowHeight + 16 + row * (kRowHeight + 24);
    m.fill(r.x + 10, y, r.w - 20, kRowHeight + 20, kWhite);
    if (!label.empty()) text(Rect{r.x, y, r.w, 20}, 12, 0, label);
    m.fill(r.x + 12, y + 18, r.w - 24, kRowHeight, kFieldBack);
    text(Rect{r.x, y + 18, r.w, kRowHeight}, 20, 12, value);
}

// Wrapped text lines from the top of the dialog's body.
void drawParagraph(const Rect &r, int top, const char *s) {
    size_t n = strlen(s);
    int y = r.y + top;
    for (size_t at = 0; at < n && y + 16 < r.y + r.h - 60;) {
        const char *nl = static_cast<const char *>(memchr(s + at, '\n', n - at));
        size_t lineEnd = nl ? static_cast<size_t>(nl - s) : n;
        size_t fit = fitText(s + at, lineEnd - at, r.w - 24, FontSize::Small);
        drawText(panel().main, s + at, fit, r.x + 12, y, kBlack, FontSize::Small, r);
        at += fit;
        if (at == lineEnd && nl) ++at;
        if (fit == 0 && !nl) break;
        y += 22;
    }
}

// What an edit loop does with the text typed so far.
struct EditRules {
    unsigned minLength = 0;
    unsigned maxLength = 32;
    std::function<bool(char)> accepts = [](char) { return true; };
    std::function<std::string(const std::string &)> shown = [](const std::string &s) { return s; };
    std::function<bool(const std::string &)> valid = [](const std::string &) { return true; };
};

// Runs one input field: digits and typed characters append, CLEAR takes one back, ENTER
// confirms a valid text of at least the minimum length, CANCEL or the Cancel button cancels.
int editLoop(const Rect &r, int row, const std::string &label, std::string &value,
             const EditRules &rules, int timeoutSeconds) {
    auto redraw = [&] {
        drawField(r, row, label, rules.shown(value));
        refresh();
    };
    redraw();
    InputEvent e;
    while (inputQueue().wait(e, waitMs(timeoutSeconds))) {
        char c = 0;
        if (e.type == InputEvent::Type::Char) c = e.ch;
        if (e.type == InputEvent::Type::Key && e.key >= PNL_KEY_0 && e.key <= PNL_KEY_9)
            c = static_cast<char>('0' + e.key - PNL_KEY_0);
        bool confirm = e.type == InputEvent::Type::Key && e.key == PNL_KEY_ENTER;
        bool cancel = e.type == InputEvent::Type::Key && e.key == PNL_KEY_CANCEL;
        if (e.type == InputEvent::Type::Touch) {
            int ty = e.y;
            confirm = inside(okButton(r), e.x, ty);
            cancel = inside(cancelButton(r), e.x, ty);
        }
        if (cancel) return PNL_CANCELLED;
        if (confirm) {
            if (value.size() >= rules.minLength && rules.valid(value))
                return value.empty() ? PNL_EMPTY : PNL_OK;
            continue;
        }
        if (e.type == InputEvent::Type::Key && e.key == PNL_KEY_CLEAR && !value.empty()) {
            value.pop_back();
            redraw();
        } else if (c != 0 && value.size() < rules.maxLength && rules.accepts(c)) {
            value.push_back(c);
            redraw();
        }
    }
    return PNL_TIMEOUT;
}

// Copies TEXT into OUT of OUTLENGTH bytes, always terminated.
void copyOut(char *out, size_t outLength, const std::string &text) {
    if (out == nullptr || outLength == 0) return;
    size_t n = std::min(text.size(), outLength - 1);
    memcpy(out, text.data(), n);
    out[n] = '\0';
}

unsigned boundedMax(unsigned maxLength, size_t room) {
    if (room == 0) return 0;
    return static_cast<unsigned>(std::min<size_t>(maxLength, room - 1));
}

int textInput(const char *view, int x, int y, int w, int h, const char *info, char *out,
              unsigned outLength, unsigned minLength, unsigned maxLength, int timeout) {
    if (out == nullptr || outLength == 0) return PNL_CANCELLED;
    ViewScope scope(view);
    Rect r = viewRect(x, y, w, h);
    frameDialog(r, "INPUT");
    if (info != nullptr) drawParagraph(r, kRowHeight + 100, info);
    drawButtons(r, true);
    std::string value;
    EditRules rules;
    rules.minLength = minLength;
    rules.maxLength = boundedMax(maxLength, outLength);
    int rc = editLoop(r, 0, "", value, rules, timeout);
    if (rc == PNL_OK || rc == PNL_EMPTY) copyOut(out, outLength, value);
    return rc == PNL_OK ? static_cast<int>(value.size()) : rc;
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

int amountInput(int x, int y, int w, int h, const char *currency, char *amount, int length,
                unsigned minLength, unsigned maxLength, int timeout) {
    if (amount == nullptr || length <= 0) return PNL_CANCELLED;
    ViewScope scope("amount");
    Rect r = viewRect(x, y, w, h);
    frameDialog(r, "AMOUNT");
    drawButtons(r, true);
    std::string cur = currency ? currency : "";
    EditRules rules;
    rules.minLength = minLength;
    rules.maxLength = boundedMax(std::min(maxLength, 12u), static_cast<size_t>(length));
    rules.accepts = [](char c) { return isDigit(c); };
    // The digits are minor units: "1234" shows as 12.34.
    rules.shown = [cur](const std::string &d) {
        std::string digits = std::string(d.size() < 3 ? 3 - d.size() : 0, '0') + d;
        return cur + " " + digits.substr(0, digits.size() - 2) + "." +
               digits.substr(digits.size() - 2);
    };
    std::string value;
    int rc = editLoop(r, 0, "", value, rules, timeout);
    if (rc == PNL_OK || rc == PNL_EMPTY) copyOut(amount, static_cast<size_t>(length), value);
    return rc == PNL_EMPTY ? PNL_OK : rc;
}

int runButtons(const Rect &r, bool twoButtons, int timeout) {
    InputEvent e;
    while (inputQueue().wait(e, waitMs(timeout))) {
        if (e.type == InputEvent::Type::Key && e.key == PNL_KEY_ENTER) return PNL_OK;
        if (e.type == InputEvent::Type::Key && e.key == PNL_KEY_CANCEL) return PNL_CANCELLED;
        if (e.type == InputEvent::Type::Touch) {
            if (inside(okButton(r), e.x, e.y)) return PNL_OK;
            if (twoButtons && inside(cancelButton(r), e.x, e.y)) return PNL_CANCELLED;
        }
    }
    return PNL_TIMEOUT;
}

int messageBox(const Rect &r, const char *title, const char *message, const char *buttons, int type,
               int timeout) {
    ViewScope scope("msgbox");
    frameDialog(r, title);
    if (message != nullptr) drawParagraph(r, kRowHeight + 24, message);
    drawButtons(r, type == 3);
    if (buttons != nullptr) drawParagraph(r, r.h - 90, buttons);
    refresh();
    return runButtons(r, type == 3, timeout);
}

// A list of ROWS rows: UP and DOWN move, ENTER or a touch chooses, a digit chooses its row.
int listLoop(const char *view, const Rect &r, const char *title, int rows, int initial,
             const std::function<std::string(int)> &rowText, int timeout) {
    ViewScope scope(view);
    int visible = std::max(1, (r.h - kRowHeight - 20) / kRowHeight);
    int selected = (initial >= 0 && initial < rows) ? initial : 0;
    auto redraw = [&] {
        frameDialog(r, title);
        int first = std::max(0, std::min(selected - visible + 1, rows - visible));
        for (int i = first; i < rows && i < first + visible; ++i) {
            int y = r.y + kRowHeight + 10 + (i - first) * kRowHeight;
            if (i == selected) panel().main.fill(r.x + 4, y, r.w - 8, kRowHeight, kSelected);
            char number[16];
            snprintf(number, sizeof number, "%d. ", i + 1);
            text(Rect{r.x, y, r.w, kRowHeight}, 12, 12, number + rowText(i));
        }
        refresh();
        return first;
    };
    int first = redraw();
    InputEvent e;
    while (inputQueue().wait(e, waitMs(timeout))) {
        if (e.type == InputEvent::Type::Key) {
            if (e.key == PNL_KEY_ENTER && rows > 0) return selected;
            if (e.key == PNL_KEY_CANCEL) return PNL_CANCELLED;
            if (e.key == PNL_KEY_UP && selected > 0) --selected;
            if (e.key == PNL_KEY_DOWN && selected + 1 < rows) ++selected;
            int digit = e.key - PNL_KEY_0;
            if (digit >= 1 && digit <= 9 && digit <= rows) return digit - 1;
            first = redraw();
        } else if (e.type == InputEvent::Type::Touch) {
            int row = first + (e.y - (r.y + kRowHeight + 10)) / kRowHeight;
            if (inside(r, e.x, e.y) && e.y >= r.y + kRowHeight + 10 && row < rows) return row;
        }
    }
    return PNL_TIMEOUT;
}

std::string itemText(char **items, int i) {
    return (items != nullptr && items[i] != nullptr) ? items[i] : "";
}

int singleList(const Rect &r, const char *title, char **items, int count, int initial,
               int timeout) {
    if (items == nullptr || count < 0) return PNL_CANCELLED;
    return listLoop(
        "list", r, title, count, initial, [items](int i) { return itemText(items, i); }, timeout);
}

// Two columns: the items hold each row's left and right texts in turn.
int doubleList(const Rect &r, const char *title, char **items, int count, int initial,
               int timeout) {
    if (items == nullptr || count < 0) return PNL_CANCELLED;
    return listLoop(
        "table", r, title, count / 2, initial,
        [items](int i) {
            std::string left = itemText(items, 2 * i);
            left.resize(std::max<size_t>(left.size(), 24), ' ');
            return left + itemText(items, 2 * i + 1);
        },
        timeout);
}

}  // namespace

extern "C" {

int PnlGetEditInput(int32_t, int x, int y, int width, int height, const int *, int, char *out,
                    unsigned int outLength, unsigned int minLength, unsigned int maxLength,
                    int timeout, unsigned int) {
    return textInput("input", x, y, width, height, nullptr, out, outLength, minLength, maxLength,
                     timeout);
}

int PnlGetEditInputV2(int32_t, int x, int y, int width, int height, const int *, int, char *out,
                      unsigned int outLength, unsigned int minLength, unsigned int maxLength,
                      int timeout, unsigned int, const char *info) {
    return textInput("input", x, y, width, height, info, out, outLength, minLength, maxLength,
                     timeout);
}

int PnlMsgBox(const char *title, const char *message, const char *buttons, int type, int timeout,
              unsigned int) {
    return messageBox(Rect{100, 440, 600, 400}, title, message, buttons, type, timeout);
}

int PnlMsgBoxEx(int x, int y, int width, int height, const char *title, const char *message,
                const char *buttons, int type, int timeout, unsigned int) {
    return messageBox(viewRect(x, y, width, height), title, message, buttons, type, timeout);
}

int PnlShowEditBox(int32_t, int x, int y, int width, int height, const char *text, int value,
                   unsigned int) {
    ViewScope scope("editbox");
    Rect r = viewRect(x, y, width, height);
    frameDialog(r, nullptr);
    if (text != nullptr) drawParagraph(r, kRowHeight + 12, text);
    drawButtons(r, true);
    refresh();
    return runButtons(r, true, value);
}

int PnlGetAmountInput(int32_t, int x, int y, int width, int height, const char *currency,
                      char *amount, int length, unsigned int minLength, unsigned int maxLength,
                      int timeout, unsigned int) {
    return amountInput(x, y, width, height, currency, amount, length, minLength, maxLength,
                       timeout);
}

int PnlGetAmountInputV2(int32_t, int x, int y, int width, int height, const char *currency,
                        char *amount, char *, int length, unsigned int minLength,
                        unsigned int maxLength, int timeout, unsigned int) {
    return amountInput(x, y, width, height, currency, amount, length, minLength, maxLength,
                       timeout);
}

int PnlGetPwdInput(int32_t, int x, int y, int width, int height, char *buffer, unsigned int length,
                   unsigned int minLength, unsigned int maxLength, int timeout, unsigned int) {
    if (buffer == nullptr || length == 0) return PNL_CANCELLED;
    ViewScope scope("password");
    Rect r = viewRect(x, y, width, height);
    frameDialog(r, "PASSWORD");
    drawButtons(r, true);
    EditRules rules;
    rules.minLength = minLength;
    rules.maxLength = boundedMax(maxLength, length);
    rules.shown = [](const std::string &s) { return std::string(s.size(), '*'); };
    std::string value;
    int rc = editLoop(r, 0, "", value, rules, timeout);
    if (rc == PNL_OK || rc == PNL_EMPTY) copyOut(buffer, length, value);
    return rc == PNL_EMPTY ? PNL_OK : rc;
}

int PnlGetPinInput(int32_t, int x, int y, int width, int height, const void *, int32_t, int32_t,
                   int32_t, const uint8_t *, void *, void *, int timeout, void *) {
    ViewScope scope("pin");
    Rect r = viewRect(x, y, width, height);
    frameDialog(r, "PIN");
    drawButtons(r, true);
    // The PIN itself goes to the PIN pad, never back to the application.
    EditRules rules;
    rules.maxLength = 12;
    rules.accepts = [](char c) { return isDigit(c); };
    rules.shown = [](const std::string &s) { return std::string(s.size(), '*'); };
    std::string pin;
    int rc = editLoop(r, 0, "", pin, rules, timeout);
    return rc == PNL_EMPTY ? PNL_OK : rc;
}

int PnlGetIPInput(int32_t, int x, int y, int width, int height, char *buffer, unsigned int length,
                  unsigned int minLength, unsigned int maxLength, int timeout, unsigned int) {
    if (buffer == nullptr || length == 0) return PNL_CANCELLED;
    ViewScope scope("ip");
    Rect r = viewRect(x, y, width, height);
    frameDialog(r, "IP ADDRESS");
    drawButtons(r, true);
    EditRules rules;
    rules.minLength = minLength;
    rules.maxLength = boundedMax(std::min(maxLength, 15u), length);
    rules.accepts = [](char c) { return isDigit(c) || c == '.'; };
    rules.valid = [](const std::string &s) {
        in_addr a;
        return s.empty() || inet_pton(AF_INET, s.c_str(), &a) == 1;
    };
    std::string value;
    int rc = editLoop(r, 0, "", value, rules, timeout);
    if (rc == PNL_OK || rc == PNL_EMPTY) copyOut(buffer, length, value);
    return rc == PNL_EMPTY ? PNL_OK : rc;
}

int PnlSetData(struct tm *t, int timeout) {
    if (t == nullptr) return PNL_CANCELLED;
    ViewScope scope("date");
    Rect r = kFullScreen;
    frameDialog(r, "DATE AND TIME");
    char now[32];
    snprintf(now, sizeof now, "%04d-%02d-%02d %02d:%02d:%02d", t->tm_year, t->tm_mon, t->tm_mday,
             t->tm_hour, t->tm_min, t->tm_sec);
    drawParagraph(r, kRowHeight + 200, now);
    drawButtons(r, true);
    EditRules rules;
    rules.maxLength = 14;
    rules.accepts = [](char c) { return isDigit(c); };
    // YYYYMMDDhhmmss, checked field by field.
    rules.valid = [](const std::string &s) {
        if (s.empty()) return true;
        if (s.size() != 14) return false;
        int v[6];
        sscanf(s.c_str(), "%4d%2d%2d%2d%2d%2d", &v[0], &v[1], &v[2], &v[3], &v[4], &v[5]);
        return v[0] >= 1970 && v[1] >= 1 && v[1] <= 12 && v[2] >= 1 && v[2] <= 31 && v[3] <= 23 &&
               v[4] <= 59 && v[5] <= 59;
    };
    std::string value;
    int rc = editLoop(r, 0, "YYYYMMDDhhmmss", value, rules, timeout);
    if (rc == PNL_OK) {
        sscanf(value.c_str(), "%4d%2d%2d%2d%2d%2d", &t->tm_year, &t->tm_mon, &t->tm_mday,
               &t->tm_hour, &t->tm_min, &t->tm_sec);
    }
    return rc == PNL_EMPTY ? PNL_OK : rc;
}

int PnlShowListEx(int x, int y, int width, int height, const char *title, char **items, int count,
                  int, int initial, int timeout, unsigned int) {
    return singleList(viewRect(x, y, width, height), title, items, count, initial, timeout);
}

int PnlShowDoubleListEx(int x, int y, int width, int height, const char *title, char **items,
                        int count, int, int initial, int timeout, unsigned int) {
    return doubleList(viewRect(x, y, width, height), title, items, count, initial, timeout);
}

int PnlShowList(const char *title, char **items, int count, int, int initial, int timeout,
                unsigned int) {
    return singleList(kFullScreen, title, items, count, initial, timeout);
}

int PnlShowDoubleList(const char *title, char **items, int count, int, int initial, int timeout,
                      unsigned int) {
    return doubleList(kFullScreen, title, items, count, initial, timeout);
}

int PnlShowListWithSlideButtonEx(int x, int y, int width, int height, const char *title,
                                 PnlSlideItem *items, int count, void *, int timeout, int) {
    if (items == nullptr || count < 1) return PNL_CANCELLED;
    ViewScope scope("slidelist");
    Rect r = viewRect(x, y, width, height);
    auto redraw = [&] {
        frameDialog(r, title);
        for (int i = 0; i < count && kRowHeight * (i + 2) < r.h - 60; ++i) {
            int ry = r.y + kRowHeight + 10 + i * kRowHeight;
            std::string row = std::to_string(i + 1) + ". " + (items[i].text ? items[i].text : "");
            text(Rect{r.x, ry, r.w, kRowHeight}, 12, 12, row);
            text(Rect{r.x, ry, r.w, kRowHeight}, r.w - 80, 12, items[i].state ? "[ON]" : "[OFF]");
        }
        drawButtons(r, true);
        refresh();
    };
    redraw();
    InputEvent e;
    while (inputQueue().wait(e, waitMs(timeout))) {
        if (e.type == InputEvent::Type::Key) {
            if (e.key == PNL_KEY_ENTER) return PNL_OK;
            if (e.key == PNL_KEY_CANCEL) return PNL_CANCELLED;
            int digit = e.key - PNL_KEY_0;
            if (digit >= 1 && digit <= 9 && digit <= count) {
                items[digit - 1].state = !items[digit - 1].state;
                redraw();
            }
        } else if (e.type == InputEvent::Type::Touch) {
            if (inside(okButton(r), e.x, e.y)) return PNL_OK;
            if (inside(cancelButton(r), e.x, e.y)) return PNL_CANCELLED;
            int row = (e.y - (r.y + kRowHeight + 10)) / kRowHeight;
            if (inside(r, e.x, e.y) && e.y >= r.y + kRowHeight + 10 && row < count) {
                items[row].state = !items[row].state;
                redraw();
            }
        }
    }
    return PNL_TIMEOUT;
}

int PnlShowProgressBar(int x, int y, int value1, int value2, int, const char *caption) {
    Surface &m = panel().main;
    Rect r = clipRect(x, y, 600, 80, m.bounds());
    if (r.empty()) return PNL_CANCELLED;
    m.fill(r.x, r.y, r.w, r.h, kWhite);
    if (caption != nullptr) text(r, 0, 0, caption);
    long long done = value2 > 0 ? std::clamp<long long>(value1, 0, value2) : 0;
    m.fill(r.x, r.y + 30, r.w, 30, kFieldBack);
    if (value2 > 0) m.fill(r.x, r.y + 30, r.w * done / value2, 30, kTitleBack);
    refresh();
    return PNL_OK;
}

}  // extern "C"
