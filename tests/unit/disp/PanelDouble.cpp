#include "PanelDouble.h"

#include <panelui/panelui.h>

#include <cstring>

namespace double_ui {

std::vector<Call> calls;
std::map<std::string, int> results;
std::string typed;
int slideState = 0;

void reset() {
    calls.clear();
    results.clear();
    typed.clear();
    slideState = 0;
}

std::vector<Call> callsTo(const std::string &op) {
    std::vector<Call> found;
    for (const Call &c : calls) {
        if (c.op == op) found.push_back(c);
    }
    return found;
}

namespace {

int record(const char *op, std::vector<long long> values, std::vector<std::string> texts = {}) {
    calls.push_back(Call{op, std::move(values), std::move(texts)});
    return results[op];
}

std::string str(const char *s) {
    return s ? s : "(null)";
}

void fill(char *out, size_t size) {
    if (out == nullptr || size == 0) return;
    size_t n = std::min(typed.size(), size - 1);
    memcpy(out, typed.data(), n);
    out[n] = '\0';
}

}  // namespace

}  // namespace double_ui

using double_ui::record;
using double_ui::str;

extern "C" {

int PnlInit(void) {
    return record("PnlInit", {});
}
int PnlInitAndSetStateBar(int show) {
    return record("PnlInitAndSetStateBar", {show});
}
int32_t PnlGetMainDC(void) {
    return 11;
}
int32_t PnlGetStateBarDC(void) {
    return 12;
}
int32_t PnlGetTipDC(void) {
    return 13;
}
uint32_t PnlLmSetBackColor(uint32_t c) {
    return static_cast<uint32_t>(record("PnlLmSetBackColor", {c}));
}
uint32_t PnlLmSetTextColor(uint32_t c) {
    return static_cast<uint32_t>(record("PnlLmSetTextColor", {c}));
}
int PnlLmShowString(int line, const char *t, unsigned f) {
    return record("PnlLmShowString", {line, f}, {str(t)});
}
int PnlLmShowStringEx(int line, const char *t, unsigned f) {
    return record("PnlLmShowStringEx", {line, f}, {str(t)});
}
int PnlLineShowTextPersian(int line, const char *t, unsigned f) {
    return record("PnlLineShowTextPersian", {line, f}, {str(t)});
}
int PnlDrawTextA(int32_t h, int x1, int y1, int x2, int y2, const char *t, int n, unsigned f) {
    return record("PnlDrawTextA", {h, x1, y1, x2, y2, n, f}, {str(t)});
}
int PnlDrawMainInterface(const void *, const char *t) {
    return record("PnlDrawMainInterface", {}, {str(t)});
}
int PnlPutDIB(int32_t h, const unsigned char *, int x, int y, int w, int ht, uint32_t key, int fmt,
              int r) {
    return record("PnlPutDIB", {h, x, y, w, ht, key, fmt, r});
}
int PnlDrawHorz(int32_t h, int x, int y, int l, int w) {
    return record("PnlDrawHorz", {h, x, y, l, w});
}
int PnlDrawVert(int32_t h, int x, int y, int l, int w) {
    return record("PnlDrawVert", {h, x, y, l, w});
}
int PnlDrawLine(int32_t h, int x1, int y1, int x2, int y2) {
    return record("PnlDrawLine", {h, x1, y1, x2, y2});
}
uint32_t PnlGetDCPenColor(int32_t h) {
    return static_cast<uint32_t>(record("PnlGetDCPenColor", {h}));
}
uint32_t PnlSetDCPenColor(int32_t h, uint32_t c) {
    return static_cast<uint32_t>(record("PnlSetDCPenColor", {h, c}));
}
int PnlDrawRectWithColor(int32_t h, int a, int b, int c, int d, int e) {
    return record("PnlDrawRectWithColor", {h, a, b, c, d, e});
}
int PnlClearDC(int32_t h) {
    return record("PnlClearDC", {h});
}
int PnlClearDCArea(int32_t h, int a, int b, int c, int d) {
    return record("PnlClearDCArea", {h, a, b, c, d});
}
int PnlSetDCHideMode(int32_t h, int m) {
    return record("PnlSetDCHideMode", {h, m});
}
int PnlReFreshScreen(void) {
    return record("PnlReFreshScreen", {});
}
int PnlSetSysFont2(int code) {
    return record("PnlSetSysFont2", {code});
}
int PnlGetKey(int t) {
    return record("PnlGetKey", {t});
}
int PnlGetKeyAndTouchPad(int *key, int *x, int *y, int t) {
    *key = 5, *x = 10, *y = 20;
    return record("PnlGetKeyAndTouchPad", {t});
}
int PnlLinuxGetKey(int a, int b) {
    return record("PnlLinuxGetKey", {a, b});
}
int PnlLinuxGetTouchPad(int a, int b) {
    return record("PnlLinuxGetTouchPad", {a, b});
}
int PnlReleasKey(void) {
    return record("PnlReleasKey", {});
}
int PnlStateBarSetDrawState(int s) {
    return record("PnlStateBarSetDrawState", {s});
}
int PnlRegisterPauseCallBack(void (*)(void), int r) {
    return record("PnlRegisterPauseCallBack", {r});
}
int PnlRegisterResumeCallBack(void (*)(void), int r) {
    return record("PnlRegisterResumeCallBack", {r});
}

int PnlGetEditInput(int32_t h, int x, int y, int w, int ht, const int *m, int n, char *out,
                    unsigned len, unsigned mn, unsigned mx, int t, unsigned s) {
    std::vector<long long> v{h, x, y, w, ht, n, len, mn, mx, t, s};
    for (int i = 0; i < n; ++i) v.push_back(m[i]);
    double_ui::fill(out, len);
    return record("PnlGetEditInput", v);
}
int PnlGetEditInputV2(int32_t h, int x, int y, int w, int ht, const int *m, int n, char *out,
                      unsigned len, unsigned mn, unsigned mx, int t, unsigned s, const char *info) {
    PnlGetEditInput(h, x, y, w, ht, m, n, out, len, mn, mx, t, s);
    double_ui::calls.back().op = "PnlGetEditInputV2";
    double_ui::calls.back().texts.push_back(str(info));
    return double_ui::results["PnlGetEditInputV2"];
}
int PnlMsgBox(const char *ti, const char *m, const char *b, int type, int t, unsigned s) {
    return record("PnlMsgBox", {type, t, s}, {str(ti), str(m), str(b)});
}
int PnlMsgBoxEx(int x, int y, int w, int h, const char *ti, const char *m, const char *b, int type,
                int t, unsigned s) {
    return record("PnlMsgBoxEx", {x, y, w, h, type, t, s}, {str(ti), str(m), str(b)});
}
int PnlShowEditBox(int32_t h, int x, int y, int w, int ht, const char *t, int v, unsigned s) {
    return record("PnlShowEditBox", {h, x, y, w, ht, v, s}, {str(t)});
}
int PnlGetAmountInput(int32_t h, int x, int y, int w, int ht, const char *c, char *a, int len,
                      unsigned mn, unsigned mx, int t, unsigned s) {
    double_ui::fill(a, static_cast<size_t>(len));
    return record("PnlGetAmountInput", {h, x, y, w, ht, len, mn, mx, t, s}, {str(c)});
}
int PnlGetAmountInputV2(int32_t h, int x, int y, int w, int ht, const char *c, char *a, char *,
                        int len, unsigned mn, unsigned mx, int t, unsigned s) {
    return record("PnlGetAmountInputV2", {h, x, y, w, ht, len, mn, mx, t, s}, {str(c), str(a)});
}
int PnlGetPwdInput(int32_t h, int x, int y, int w, int ht, char *b, unsigned len, unsigned mn,
                   unsigned mx, int t, unsigned s) {
    double_ui::fill(b, len);
    return record("PnlGetPwdInput", {h, x, y, w, ht, len, mn, mx, t, s});
}
int PnlGetPinInput(int32_t h, int x, int y, int w, int ht, const void *, int32_t v1, int32_t v2,
                   int32_t v3, const uint8_t *, void *, void *, int v, void *) {
    return record("PnlGetPinInput", {h, x, y, w, ht, v1, v2, v3, v});
}
int PnlGetIPInput(int32_t h, int x, int y, int w, int ht, char *, unsigned len, unsigned mn,
                  unsigned mx, int t, unsigned s) {
    return record("PnlGetIPInput", {h, x, y, w, ht, len, mn, mx, t, s});
}
int PnlSetData(struct tm *t, int v) {
    t->tm_year = 2031, t->tm_mon = 12, t->tm_mday = 24, t->tm_hour = 23, t->tm_min = 59,
    t->tm_sec = 58;
    return record("PnlSetData", {v});
}
static int list(const char *op, const char *ti, char **items, int count, std::vector<long long> v) {
    std::vector<std::string> texts{str(ti)};
    for (int i = 0; i < count; ++i) texts.push_back(str(items[i]));
    return record(op, v, texts);
}
int PnlShowListEx(int x, int y, int w, int h, const char *ti, char **it, int n, int a, int i, int b,
                  unsigned s) {
    return list("PnlShowListEx", ti, it, n, {x, y, w, h, n, a, i, b, s});
}
int PnlShowDoubleListEx(int x, int y, int w, int h, const char *ti, char **it, int n, int a, int i,
                        int b, unsigned s) {
    return list("PnlShowDoubleListEx", ti, it, n, {x, y, w, h, n, a, i, b, s});
}
int PnlShowList(const char *ti, char **it, int n, int a, int i, int b, unsigned s) {
    return list("PnlShowList", ti, it, n, {n, a, i, b, s});
}
int PnlShowDoubleList(const char *ti, char **it, int n, int a, int i, int b, unsigned s) {
    return list("PnlShowDoubleList", ti, it, n, {n, a, i, b, s});
}
int PnlShowListWithSlideButtonEx(int x, int y, int w, int h, const char *ti, PnlSlideItem *items,
                                 int n, void *, int v, int flags) {
    std::vector<std::string> texts{str(ti)};
    std::vector<long long> values{x, y, w, h, n, v, flags};
    for (int i = 0; i < n; ++i) {
        texts.push_back(str(items[i].text));
        values.push_back(items[i].state);
        items[i].state = double_ui::slideState;
    }
    return record("PnlShowListWithSlideButtonEx", values, texts);
}
int PnlShowProgressBar(int x, int y, int a, int b, int c, const char *t) {
    return record("PnlShowProgressBar", {x, y, a, b, c}, {str(t)});
}
int PnlBeforeElecSignScreenSave(void) {
    return record("PnlBeforeElecSignScreenSave", {});
}
PnlElecSignTransData *PnlGetElecSignTransData(void) {
    record("PnlGetElecSignTransData", {});
    return nullptr;
}
void PnlReleaseElecSignTransData(PnlElecSignTransData *) {
    record("PnlReleaseElecSignTransData", {});
}

}  // extern "C"
