// Rasterises one character of an outline font into a cell of the bitmap font format: rows top
// to bottom, ceil(width / 8) bytes a row, the most significant bit leftmost, a set bit ink.
// Shared by the font generator and the tests that check the generated files.
#pragma once

#include <ft2build.h>
#include FT_FREETYPE_H

#include <cstdint>
#include <vector>

namespace fontgen {

// The glyph of CODEPOINT in a WIDTH x HEIGHT cell at HEIGHT pixels, the baseline placed by the
// font's ascender, centred across. Empty cell when the font has no such glyph.
inline std::vector<uint8_t> rasterise(FT_Face face, uint32_t codepoint, int width, int height) {
    int rowBytes = (width + 7) / 8;
    std::vector<uint8_t> cell(static_cast<size_t>(rowBytes * height), 0);
    FT_Set_Pixel_Sizes(face, 0, static_cast<FT_UInt>(height));
    FT_UInt index = FT_Get_Char_Index(face, codepoint);
    if (index == 0) return cell;
    if (FT_Load_Glyph(face, index, FT_LOAD_RENDER | FT_LOAD_TARGET_MONO) != 0) return cell;
    const FT_GlyphSlot slot = face->glyph;
    const FT_Bitmap &bm = slot->bitmap;
    int ascender = static_cast<int>(face->size->metrics.ascender >> 6);
    int descender = static_cast<int>(-(face->size->metrics.descender >> 6));
    // Fonts whose ascender and descender overfill the cell are pulled up to fit.
    int baseline = ascender + descender > height ? height - descender : ascender;
    if (baseline > height) baseline = height;
    int top = baseline - slot->bitmap_top;
    int advance = static_cast<int>(slot->advance.x >> 6);
    int left = slot->bitmap_left + (width - advance) / 2;
    for (unsigned r = 0; r < bm.rows; ++r) {
        int y = top + static_cast<int>(r);
        if (y < 0 || y >= height) continue;
        for (unsigned c = 0; c < bm.width; ++c) {
            int x = left + static_cast<int>(c);
            if (x < 0 || x >= width) continue;
            bool ink = bm.buffer[r * static_cast<unsigned>(bm.pitch) + c / 8] & (0x80 >> (c % 8));
            if (ink) cell[static_cast<size_t>(y * rowBytes + x / 8)] |= uint8_t(0x80 >> (x % 8));
        }
    }
    return cell;
}

}  // namespace fontgen
