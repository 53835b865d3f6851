#include "Text.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstring>

namespace panelui {

namespace {

const unsigned char kSmallTable[4096] = {
#include "font8x16.inc"
};
const unsigned char kLargeTable[12288] = {
#include "font16x24.inc"
};

int g_fontFile = -1;

int letterWidth(FontSize s) {
    return s == FontSize::Small ? 8 : 16;
}
int hanziWidth(FontSize s) {
    return s == FontSize::Small ? 16 : 24;
}

// Bytes of the character at TEXT: 2 for a lead byte with a trail byte, else 1.
size_t charBytes(const unsigned char *text, size_t left) {
    return (left >= 2 && text[0] >= 0x81 && text[0] <= 0xFE && text[1] >= 0x40) ? 2 : 1;
}

// The file offset of the glyph of B1 B2: the symbol rows 0xA1-0xA9 and the characters of
// rows 0xB0-0xF7 each have an area per size; -1 for codes the file does not hold.
long hanziOffset(unsigned char b1, unsigned char b2, FontSize s) {
    if (b2 < 0xA1 || b2 > 0xFE) return -1;
    long glyphBytes = s == FontSize::Small ? 32 : 72;
    long column = b2 - 0xA1;
    if (b1 >= 0xA1 && b1 <= 0xA9)
        return (column + (b1 - 0xA1) * 94L) * glyphBytes + (s == FontSize::Small ? 512 : 248192);
    if (b1 >= 0xB0 && b1 <= 0xF7)
        return (column + (b1 - 0xB0) * 94L) * glyphBytes + (s == FontSize::Small ? 31616 : 309104);
    return -1;
}

void drawBox(Surface &surf, long long x, long long y, int w, int h, uint32_t colour,
             const Rect &clip) {
    unsigned char bits[24 * 3];
    int rowBytes = (w + 7) / 8;
    memset(bits, 0, sizeof bits);
    for (int j = 2; j < h - 2; ++j) {
        for (int i = 2; i < w - 2; ++i) {
            if (j == 2 || j == h - 3 || i == 2 || i == w - 3)
                bits[j * rowBytes + i / 8] |= static_cast<unsigned char>(0x80 >> (i % 8));
        }
    }
    surf.glyph(bits, w, h, rowBytes, x, y, colour, clip);
}

}  // namespace

int fontHeight(FontSize size) {
    return size == FontSize::Small ? 16 : 24;
}

void openFonts() {
    if (g_fontFile < 0)
        g_fontFile = open("/customer/kivo/fonts/HZK16_24.fnt", O_RDONLY | O_CLOEXEC);
}

int textWidth(const char *text, size_t n, FontSize size) {
    const unsigned char *t = reinterpret_cast<const unsigned char *>(text);
    int w = 0;
    for (size_t i = 0; i < n && t[i] != 0;) {
        size_t b = charBytes(t + i, n - i);
        w += b == 2 ? hanziWidth(size) : letterWidth(size);
        i += b;
    }
    return w;
}

size_t fitText(const char *text, size_t n, int width, FontSize size) {
    const unsigned char *t = reinterpret_cast<const unsigned char *>(text);
    int w = 0;
    size_t i = 0;
    while (i < n && t[i] != 0) {
        size_t b = charBytes(t + i, n - i);
        int cw = b == 2 ? hanziWidth(size) : letterWidth(size);
        if (w + cw > width) break;
        w += cw;
        i += b;
    }
    return i;
}

int drawText(Surface &s, const char *text, size_t n, long long x, long long y, uint32_t colour,
             FontSize size, const Rect &clip) {
    const unsigned char *t = reinterpret_cast<const unsigned char *>(text);
    int h = fontHeight(size);
    long long startX = x;
    for (size_t i = 0; i < n && t[i] != 0;) {
        size_t b = charBytes(t + i, n - i);
        if (b == 1) {
            int w = letterWidth(size);
            const unsigned char *bits =
                size == FontSize::Small ? &kSmallTable[t[i] * 16] : &kLargeTable[t[i] * 48];
            s.glyph(bits, w, h, (w + 7) / 8, x, y, colour, clip);
            x += w;
        } else {
            int w = hanziWidth(size);
            unsigned char bits[72] = {0};
            long offset = hanziOffset(t[i], t[i + 1], size);
            size_t bytes = static_cast<size_t>((w + 7) / 8 * h);
            if (offset >= 0 && g_fontFile >= 0 &&
                pread(g_fontFile, bits, bytes, offset) == static_cast<ssize_t>(bytes))
                s.glyph(bits, w, h, (w + 7) / 8, x, y, colour, clip);
            else
                drawBox(s, x, y, w, h, colour, clip);
            x += w;
        }
        i += b;
    }
    return static_cast<int>(x - startX);
}

}  // namespace panelui
