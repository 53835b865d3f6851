#include "Surface.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace panelui {

Rect clipRect(long long x, long long y, long long w, long long h, const Rect &limit) {
    if (w <= 0 || h <= 0) return Rect{};
    long long x1 = std::max<long long>(x, limit.x);
    long long y1 = std::max<long long>(y, limit.y);
    long long x2 = std::min<long long>(x + w, static_cast<long long>(limit.x) + limit.w);
    long long y2 = std::min<long long>(y + h, static_cast<long long>(limit.y) + limit.h);
    if (x2 <= x1 || y2 <= y1) return Rect{};
    return Rect{static_cast<int>(x1), static_cast<int>(y1), static_cast<int>(x2 - x1),
                static_cast<int>(y2 - y1)};
}

Surface::Surface(int width, int height, uint32_t background)
    : width_(width),
      height_(height),
      background_(background),
      pixels_(static_cast<size_t>(width) * height, background) {}

void Surface::ink(const Rect &r) {
    if (r.empty()) return;
    if (inked.empty()) {
        inked = r;
        return;
    }
    int x1 = std::min(inked.x, r.x), y1 = std::min(inked.y, r.y);
    int x2 = std::max(inked.x + inked.w, r.x + r.w), y2 = std::max(inked.y + inked.h, r.y + r.h);
    inked = Rect{x1, y1, x2 - x1, y2 - y1};
}

void Surface::fill(long long x, long long y, long long w, long long h, uint32_t colour) {
    Rect r = clipRect(x, y, w, h, bounds());
    for (int j = r.y; j < r.y + r.h; ++j) std::fill_n(row(j) + r.x, r.w, colour);
    if (colour == background_ && r.x == 0 && r.y == 0 && r.w == width_ && r.h == height_)
        inked = Rect{};
    else
        ink(r);
}

void Surface::put(long long x, long long y, uint32_t colour) {
    if (x < 0 || y < 0 || x >= width_ || y >= height_) return;
    row(static_cast<int>(y))[x] = colour;
    ink(Rect{static_cast<int>(x), static_cast<int>(y), 1, 1});
}

namespace {

// Cohen-Sutherland: the part of the segment inside [0, W) x [0, H), in doubles so that far
// away end points cost nothing to walk.
bool clipSegment(double &x1, double &y1, double &x2, double &y2, double w, double h) {
    auto code = [&](double x, double y) {
        int c = 0;
        if (x < 0) c |= 1;
        if (x > w - 1) c |= 2;
        if (y < 0) c |= 4;
        if (y > h - 1) c |= 8;
        return c;
    };
    int c1 = code(x1, y1), c2 = code(x2, y2);
    for (int guard = 0; guard < 8; ++guard) {
        if ((c1 | c2) == 0) return true;
        if (c1 & c2) return false;
        int c = c1 ? c1 : c2;
        double x, y;
        if (c & 8) {
            x = x1 + (x2 - x1) * (h - 1 - y1) / (y2 - y1);
            y = h - 1;
        } else if (c & 4) {
            x = x1 + (x2 - x1) * (0 - y1) / (y2 - y1);
            y = 0;
        } else if (c & 2) {
            y = y1 + (y2 - y1) * (w - 1 - x1) / (x2 - x1);
            x = w - 1;
        } else {
            y = y1 + (y2 - y1) * (0 - x1) / (x2 - x1);
            x = 0;
        }
        if (c == c1) {
            x1 = x, y1 = y, c1 = code(x1, y1);
        } else {
            x2 = x, y2 = y, c2 = code(x2, y2);
        }
    }
    return false;
}

}  // namespace

void Surface::line(long long x1, long long y1, long long x2, long long y2, uint32_t colour) {
    double fx1 = double(x1), fy1 = double(y1), fx2 = double(x2), fy2 = double(y2);
    if (!clipSegment(fx1, fy1, fx2, fy2, width_, height_)) return;
    long long ax = std::llround(fx1), ay = std::llround(fy1);
    long long bx = std::llround(fx2), by = std::llround(fy2);
    long long dx = std::llabs(bx - ax), dy = -std::llabs(by - ay);
    int sx = ax < bx ? 1 : -1, sy = ay < by ? 1 : -1;
    long long err = dx + dy;
    for (;;) {
        put(ax, ay, colour);
        if (ax == bx && ay == by) break;
        long long e2 = 2 * err;
        if (e2 >= dy) err += dy, ax += sx;
        if (e2 <= dx) err += dx, ay += sy;
    }
}

void Surface::blitRgb(const unsigned char *data, long long x, long long y, long long w, long long h,
                      uint32_t key) {
    Rect r = clipRect(x, y, w, h, bounds());
    if (data == nullptr || r.empty()) return;
    for (int j = r.y; j < r.y + r.h; ++j) {
        const unsigned char *src = data + ((j - y) * w + (r.x - x)) * 3;
        uint32_t *dst = row(j) + r.x;
        for (int i = 0; i < r.w; ++i, src += 3) {
            uint32_t p = uint32_t(src[0]) << 16 | uint32_t(src[1]) << 8 | src[2];
            if (p != key) dst[i] = p;
        }
    }
    ink(r);
}

void Surface::glyph(const unsigned char *bits, int w, int h, int rowBytes, long long x, long long y,
                    uint32_t colour, const Rect &clip) {
    Rect r = clipRect(x, y, w, h, clipRect(clip.x, clip.y, clip.w, clip.h, bounds()));
    for (int j = r.y; j < r.y + r.h; ++j) {
        const unsigned char *src = bits + (j - y) * rowBytes;
        uint32_t *dst = row(j);
        for (int i = r.x; i < r.x + r.w; ++i) {
            long long c = i - x;
            if (src[c / 8] & (0x80 >> (c % 8))) dst[i] = colour;
        }
    }
    ink(r);
}

}  // namespace panelui
