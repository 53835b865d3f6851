// GBK text in the bitmap fonts: single bytes from the built-in tables, Chinese characters
// from the terminal's font file.
#pragma once

#include <cstddef>

#include "Surface.h"

namespace panelui {

enum class FontSize { Small, Large };  // 16 pixels high (8 x 16 letters), 24 (16 x 24)

int fontHeight(FontSize size);
// Opens the font file (a missing one draws Chinese characters as boxes).
void openFonts();
// Width in pixels of the first N bytes of TEXT.
int textWidth(const char *text, size_t n, FontSize size);
// Draws the first N bytes of TEXT with its top left at X, Y, clipped to CLIP; returns the
// width drawn.
int drawText(Surface &s, const char *text, size_t n, long long x, long long y, uint32_t colour,
             FontSize size, const Rect &clip);
// The number of bytes of TEXT (N at most) that fit in WIDTH pixels, whole characters only.
size_t fitText(const char *text, size_t n, int width, FontSize size);

}  // namespace panelui
