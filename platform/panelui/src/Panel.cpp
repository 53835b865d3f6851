// The UI library's surfaces, line mode, drawing, keys and the frame.
#include "Panel.h"

#include <panelui/panelui.h>
#include <panelui/panelui_host.h>
#include <png.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <vector>

#include "Input.h"
#include "SimLink.h"

namespace panelui {

Panel &panel() {
    static Panel p;
    return p;
}

Surface *surfaceOf(int32_t hdc) {
    Panel &p = panel();
    switch (hdc) {
        case kMainDC:
            return &p.main;
        case kStatusBarDC:
            return &p.statusBar;
        case kTipDC:
            return &p.tip;
        default:
            return nullptr;
    }
}

void drawStatusBar() {
    Panel &p = panel();
    p.statusBar.clear();
    time_t now = time(nullptr);
    struct tm t;
    localtime_r(&now, &t);
    char clock[8];
    snprintf(clock, sizeof clock, "%02d:%02d", t.tm_hour, t.tm_min);
    drawText(p.statusBar, clock, strlen(clock), kWidth - 56, 12, kWhite, FontSize::Small,
             p.statusBar.bounds());
}

namespace {

// The tip layer covers the main surface where it has been drawn on and is not transparent.
void composite() {
    Panel &p = panel();
    Surface &f = p.frame;
    for (int y = 0; y < kStatusBarHeight; ++y) {
        if (p.statusBar.hidden)
            std::fill_n(f.row(y), kWidth, kBlack);
        else
            memcpy(f.row(y), p.statusBar.row(y), kWidth * sizeof(uint32_t));
    }
    if (!p.main.hidden)
        memcpy(f.row(kStatusBarHeight), p.main.row(0),
               sizeof(uint32_t) * kWidth * static_cast<size_t>(kHeight));
    else
        f.fill(0, kStatusBarHeight, kWidth, kHeight, kBlack);
    const Rect &ink = p.tip.inked;
    if (p.tip.hidden || ink.empty()) return;
    for (int y = ink.y; y < ink.y + ink.h; ++y) {
        const uint32_t *src = p.tip.row(y) + ink.x;
        uint32_t *dst = f.row(y + kStatusBarHeight) + ink.x;
        for (int x = 0; x < ink.w; ++x) {
            if (src[x] != kTransparent) dst[x] = src[x];
        }
    }
}

}  // namespace

// Rows of WIDTH pixels 0xRRGGBB as an RGB PNG; 0, or -1 when the file cannot be written.
int encodePng(const uint32_t *pixels, int width, int height, const char *path) {
    FILE *out = fopen(path, "wb");
    if (out == nullptr) return -1;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    std::vector<uint8_t> row(static_cast<size_t>(width) * 3);
    volatile bool written = false;  // read after a libpng error jumps back
    if (png != nullptr && info != nullptr && setjmp(png_jmpbuf(png)) == 0) {
        png_init_io(png, out);
        // Screens are flat colours: fast filtering and compression are enough.
        png_set_compression_level(png, 1);
        png_set_filter(png, 0, PNG_FILTER_SUB);
        png_set_IHDR(png, info, width, height, 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                     PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        png_write_info(png, info);
        for (int y = 0; y < height; ++y) {
            const uint32_t *src = pixels + static_cast<size_t>(y) * width;
            for (int x = 0; x < width; ++x) {
                row[x * 3] = uint8_t(src[x] >> 16);
                row[x * 3 + 1] = uint8_t(src[x] >> 8);
                row[x * 3 + 2] = uint8_t(src[x]);
            }
            png_write_row(png, row.data());
        }
        png_write_end(png, nullptr);
        written = true;
    }
    png_destroy_write_struct(&png, &info);
    return fclose(out) == 0 && written ? 0 : -1;
}

namespace {

// The frame as DIR/screen.png, written beside it under a hidden name and renamed over it, so
// that a reader (the terminal's page) never sees half a frame; PATH gets the file's path.
bool replaceLatestPng(const std::string &dir, char *path, size_t size) {
    Panel &p = panel();
    char hidden[4096];
    snprintf(hidden, sizeof hidden, "%s/.screen-%d.png", dir.c_str(), static_cast<int>(getpid()));
    snprintf(path, size, "%s/screen.png", dir.c_str());
    if (encodePng(p.frame.row(0), p.frame.width(), p.frame.height(), hidden) != 0) {
        unlink(hidden);
        return false;
    }
    return rename(hidden, path) == 0;
}

}  // namespace

void setView(const char *name) {
    Panel &p = panel();
    std::lock_guard<std::mutex> lock(p.frameMutex);
    p.view = name;
    publishView(name);
}

void refresh() {
    Panel &p = panel();
    std::lock_guard<std::mutex> lock(p.frameMutex);
    composite();
    uint32_t n = ++p.frames;
    char path[4096];
    bool png = false;
    if (p.pngEveryFrame && !p.outDir.empty()) {
        snprintf(path, sizeof path, "%s/frame-%06u.png", p.outDir.c_str(), n);
        png = encodePng(p.frame.row(0), p.frame.width(), p.frame.height(), path) == 0;
    } else if (p.pngLatest && !p.outDir.empty()) {
        png = replaceLatestPng(p.outDir, path, sizeof path);
    }
    publishFrame(p.frame, n, png ? path : nullptr);
}

int writeFramePng(const char *path) {
    Panel &p = panel();
    std::lock_guard<std::mutex> lock(p.frameMutex);
    return encodePng(p.frame.row(0), p.frame.width(), p.frame.height(), path);
}

}  // namespace panelui

using namespace panelui;

namespace {

void initialise(bool statusBar) {
    Panel &p = panel();
    openFonts();
    p.main.clear();
    p.tip.clear();
    p.tip.hidden = true;
    p.statusBar.hidden = !statusBar;
    p.lineBack = kWhite;
    p.lineText = kBlack;
    if (!p.initialised) {
        p.initialised = true;
        if (const char *dir = getenv("POS_PANELUI_OUT")) p.outDir = dir;
        const char *every = getenv("POS_PANELUI_PNG");
        p.pngEveryFrame = every != nullptr && strcmp(every, "every") == 0;
        p.pngLatest = every != nullptr && strcmp(every, "latest") == 0;
        if (const char *script = getenv("POS_PANELUI_INPUT")) PnlHostLoadInputScript(script);
        // After the script: its events come first, then the console's.
        linkToSimulator();
    }
    drawStatusBar();
    refresh();
}

// Line mode: each line is a band of the main surface, redrawn whole.
int showLine(int line, const char *text, unsigned int flags, bool rightToLeft) {
    if (line < 0 || line >= kLines) return -1;
    Panel &p = panel();
    uint32_t back = p.lineBack, ink = p.lineText;
    if (flags & PNL_TEXT_INVERSE) std::swap(back, ink);
    int top = line * kLineHeight;
    p.main.fill(0, top, kWidth, kLineHeight, (flags & PNL_TEXT_CLEAR_LINE) ? p.lineBack : back);
    if ((flags & PNL_TEXT_CLEAR_LINE) || text == nullptr) return 0;
    size_t n = fitText(text, strlen(text), kWidth, p.font);
    int w = textWidth(text, n, p.font);
    int x = 0;
    if (rightToLeft || (flags & PNL_TEXT_RIGHT))
        x = kWidth - w;
    else if (flags & PNL_TEXT_CENTRE)
        x = (kWidth - w) / 2;
    int h = fontHeight(p.font);
    int y = top + (kLineHeight - h) / 2;
    Rect band{0, top, kWidth, kLineHeight};
    drawText(p.main, text, n, x, y, ink, p.font, band);
    if (flags & PNL_TEXT_UNDERLINE) p.main.fill(x, y + h + 2, w, 2, ink);
    if (flags & PNL_TEXT_FRAME) {
        p.main.fill(x - 4, y - 4, w + 8, 1, ink);
        p.main.fill(x - 4, y + h + 3, w + 8, 1, ink);
        p.main.fill(x - 4, y - 4, 1, h + 8, ink);
        p.main.fill(x + w + 3, y - 4, 1, h + 8, ink);
    }
    return 0;
}

}  // namespace

extern "C" {

int PnlInit(void) {
    initialise(true);
    return 0;
}

int PnlInitAndSetStateBar(int show) {
    initialise(show != 0);
    return 0;
}

int32_t PnlGetMainDC(void) {
    return kMainDC;
}
int32_t PnlGetStateBarDC(void) {
    return kStatusBarDC;
}
int32_t PnlGetTipDC(void) {
    return kTipDC;
}

uint32_t PnlLmSetBackColor(uint32_t colour) {
    uint32_t old = panel().lineBack;
    panel().lineBack = colour & 0xffffff;
    return old;
}

uint32_t PnlLmSetTextColor(uint32_t colour) {
    uint32_t old = panel().lineText;
    panel().lineText = colour & 0xffffff;
    return old;
}

int PnlLmShowString(int line, const char *text, unsigned int flags) {
    return showLine(line, text, flags, false);
}

int PnlLmShowStringEx(int line, const char *text, unsigned int flags) {
    return showLine(line, text, flags, false);
}

int PnlLineShowTextPersian(int line, const char *text, unsigned int flags) {
    return showLine(line, text, flags, true);
}

int PnlDrawTextA(int32_t hdc, int x1, int y1, int x2, int y2, const char *text, int length,
                 unsigned int flags) {
    Surface *s = surfaceOf(hdc);
    if (s == nullptr || text == nullptr || length < 1) return -1;
    Panel &p = panel();
    Rect box = clipRect(x1, y1, static_cast<long long>(x2) - x1, static_cast<long long>(y2) - y1,
                        s->bounds());
    if (box.empty()) return -1;
    size_t n = strnlen(text, static_cast<size_t>(length));
    int h = fontHeight(p.font);
    long long y = box.y;
    // Wrapped at the box's width, clipped at its bottom.
    for (size_t at = 0; at < n && y < box.y + box.h;) {
        size_t fit = fitText(text + at, n - at, box.w, p.font);
        if (fit == 0) break;
        int w = drawText(*s, text + at, fit, box.x, y, p.lineText, p.font, box);
        if (flags & PNL_TEXT_UNDERLINE) s->fill(box.x, y + h, w, 1, p.lineText);
        at += fit;
        y += h + 4;
    }
    return 0;
}

int PnlDrawMainInterface(const void *logo, const char *text) {
    Panel &p = panel();
    p.main.clear();
    // The logo record is the device's own format; the host marks where it goes.
    if (logo != nullptr) {
        p.main.fill(300, 400, 200, 2, kBlack);
        p.main.fill(300, 598, 200, 2, kBlack);
        p.main.fill(300, 400, 2, 200, kBlack);
        p.main.fill(498, 400, 2, 200, kBlack);
    }
    if (text != nullptr) {
        size_t n = fitText(text, strlen(text), kWidth, FontSize::Large);
        int w = textWidth(text, n, FontSize::Large);
        drawText(p.main, text, n, (kWidth - w) / 2, 680, kBlack, FontSize::Large, p.main.bounds());
    }
    refresh();
    return 0;
}

int PnlPutDIB(int32_t hdc, const unsigned char *data, int x, int y, int width, int height,
              uint32_t keyColour, int format, int /*reserved*/) {
    Surface *s = surfaceOf(hdc);
    // Larger than any panel is a corrupt header, not an image.
    if (s == nullptr || data == nullptr || format != PNL_DIB_RGB888 || width <= 0 || height <= 0 ||
        width > 4096 || height > 4096)
        return -1;
    s->blitRgb(data, x, y, width, height, keyColour);
    return 0;
}

namespace {

// A line of LENGTH dots (negative draws towards 0; both ends included) and WIDTH (at least 1)
// across, along x or along y, in the pen's colour.
int drawLine(int32_t hdc, int x, int y, int length, int width, bool horizontal) {
    Surface *s = surfaceOf(hdc);
    if (s == nullptr) return -1;
    long long start = horizontal ? x : y;
    long long from = length < 0 ? start + length : start;
    long long along = std::llabs(static_cast<long long>(length)) + 1;
    long long across = width < 1 ? 1 : width;
    if (horizontal)
        s->fill(from, y, along, across, s->pen);
    else
        s->fill(x, from, across, along, s->pen);
    return 0;
}

}  // namespace

int PnlDrawHorz(int32_t hdc, int x, int y, int length, int width) {
    return drawLine(hdc, x, y, length, width, true);
}

int PnlDrawVert(int32_t hdc, int x, int y, int length, int width) {
    return drawLine(hdc, x, y, length, width, false);
}

int PnlDrawLine(int32_t hdc, int x1, int y1, int x2, int y2) {
    Surface *s = surfaceOf(hdc);
    if (s == nullptr) return -1;
    s->line(x1, y1, x2, y2, s->pen);
    return 0;
}

uint32_t PnlGetDCPenColor(int32_t hdc) {
    Surface *s = surfaceOf(hdc);
    return s ? s->pen : 0;
}

uint32_t PnlSetDCPenColor(int32_t hdc, uint32_t colour) {
    Surface *s = surfaceOf(hdc);
    if (s == nullptr) return 0;
    uint32_t old = s->pen;
    s->pen = colour & 0xffffff;
    return old;
}

int PnlDrawRectWithColor(int32_t hdc, int x, int y, int width, int height, int colour) {
    Surface *s = surfaceOf(hdc);
    if (s == nullptr) return -1;
    s->fill(x, y, width, height, static_cast<uint32_t>(colour) & 0xffffff);
    return 0;
}

int PnlClearDC(int32_t hdc) {
    Surface *s = surfaceOf(hdc);
    if (s == nullptr) return -1;
    s->clear();
    return 0;
}

int PnlClearDCArea(int32_t hdc, int x, int y, int width, int height) {
    Surface *s = surfaceOf(hdc);
    if (s == nullptr) return -1;
    s->clearArea(x, y, width, height);
    return 0;
}

int PnlSetDCHideMode(int32_t hdc, int hide) {
    Surface *s = surfaceOf(hdc);
    if (s == nullptr) return -1;
    s->hidden = hide != 0;
    return 0;
}

int PnlReFreshScreen(void) {
    refresh();
    return 0;
}

int PnlSetSysFont2(int code) {
    if (code < 0 || code > 3) return -1;
    panel().font = code <= 1 ? FontSize::Small : FontSize::Large;
    return 0;
}

int PnlGetKey(int timeout) {
    InputEvent e;
    while (inputQueue().wait(e, timeout)) {
        if (e.type == InputEvent::Type::Key) return e.key;
        if (e.type == InputEvent::Type::Char && e.ch >= '0' && e.ch <= '9')
            return PNL_KEY_0 + (e.ch - '0');
    }
    return PNL_TIMEOUT;
}

int PnlGetKeyAndTouchPad(int *key, int *x, int *y, int timeout) {
    InputEvent e;
    while (inputQueue().wait(e, timeout)) {
        if (e.type == InputEvent::Type::Touch) {
            if (x) *x = e.x;
            if (y) *y = e.y;
            return 1;
        }
        if (e.type == InputEvent::Type::Key) {
            if (key) *key = e.key;
            return 0;
        }
    }
    return PNL_TIMEOUT;
}

// Raw input devices do not exist on the host.
int PnlLinuxGetKey(int, int) {
    return -1;
}
int PnlLinuxGetTouchPad(int, int) {
    return -1;
}
int PnlReleasKey(void) {
    return 0;
}

int PnlStateBarSetDrawState(int show) {
    Panel &p = panel();
    p.statusBar.hidden = show == 0;
    if (show) drawStatusBar();
    refresh();
    return 0;
}

int PnlRegisterPauseCallBack(void (*callback)(void), int) {
    panel().pauseCallback = callback;
    return 0;
}

int PnlRegisterResumeCallBack(void (*callback)(void), int) {
    panel().resumeCallback = callback;
    return 0;
}

// ---- host operations ----

void PnlHostInjectKey(int key) {
    InputEvent e;
    e.type = InputEvent::Type::Key;
    e.key = key;
    inputQueue().push(e);
}

void PnlHostInjectTouch(int x, int y) {
    InputEvent e;
    e.type = InputEvent::Type::Touch;
    e.x = x;
    e.y = y;
    inputQueue().push(e);
}

void PnlHostInjectText(const char *text) {
    if (text != nullptr) inputQueue().pushText(text);
}

int PnlHostLoadInputScript(const char *path) {
    if (path == nullptr) return -1;
    auto source = openInputScript(path);
    if (!source) {
        fprintf(stderr, "panelui: cannot read the input script %s\n", path);
        return -1;
    }
    inputQueue().addSource(std::move(source));
    return 0;
}

void PnlHostClearInput(void) {
    inputQueue().clear();
}

uint32_t PnlHostFrameCounter(void) {
    return panel().frames.load();
}

int32_t PnlHostFramePixel(int x, int y) {
    Panel &p = panel();
    std::lock_guard<std::mutex> lock(p.frameMutex);
    if (x < 0 || y < 0 || x >= p.frame.width() || y >= p.frame.height()) return -1;
    return static_cast<int32_t>(p.frame.row(y)[x]);
}

int PnlHostWritePng(const char *path) {
    return path == nullptr ? -1 : writeFramePng(path);
}

const char *PnlHostCurrentView(void) {
    return panel().view;
}

int PnlHostEncodePng(const uint32_t *pixels, int width, int height, const char *path) {
    if (pixels == nullptr || path == nullptr || width <= 0 || height <= 0) return -1;
    return encodePng(pixels, width, height, path);
}

int PnlHostKeyCode(const char *name) {
    return name != nullptr ? keyCodeOf(name) : 0;
}

}  // extern "C"
