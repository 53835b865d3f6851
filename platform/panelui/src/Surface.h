// A drawing surface of 0xRRGGBB pixels. Every operation clips to the surface: nothing is ever
// written outside it, whatever the coordinates.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace panelui {

struct Rect {
    int x = 0, y = 0, w = 0, h = 0;
    bool empty() const { return w <= 0 || h <= 0; }
};

// The part of the rectangle (X, Y, W, H), given in any int values, inside LIMIT.
Rect clipRect(long long x, long long y, long long w, long long h, const Rect &limit);

class Surface {
  public:
    Surface(int width, int height, uint32_t background);

    int width() const { return width_; }
    int height() const { return height_; }
    Rect bounds() const { return Rect{0, 0, width_, height_}; }
    uint32_t *row(int y) { return &pixels_[static_cast<size_t>(y) * width_]; }
    const uint32_t *row(int y) const { return &pixels_[static_cast<size_t>(y) * width_]; }

    void fill(long long x, long long y, long long w, long long h, uint32_t colour);
    void clear() { fill(0, 0, width_, height_, background_); }
    void clearArea(long long x, long long y, long long w, long long h) {
        fill(x, y, w, h, background_);
    }
    void put(long long x, long long y, uint32_t colour);
    // A line of any slope, one pixel wide, clipped before it is walked.
    void line(long long x1, long long y1, long long x2, long long y2, uint32_t colour);
    // W x H pixels of three bytes each (R, G, B); pixels of KEY are left as they are.
    void blitRgb(const unsigned char *data, long long x, long long y, long long w, long long h,
                 uint32_t key);
    // A glyph bitmap (rows top to bottom, ROWBYTES a row, MSB leftmost) in COLOUR, scaled.
    void glyph(const unsigned char *bits, int w, int h, int rowBytes, long long x, long long y,
               uint32_t colour, const Rect &clip);

    uint32_t pen = 0x000000;
    bool hidden = false;
    // The area drawn on since the last clear: a layer over others composites only this.
    Rect inked;

  private:
    void ink(const Rect &r);

    int width_, height_;
    uint32_t background_;
    std::vector<uint32_t> pixels_;
};

}  // namespace panelui
