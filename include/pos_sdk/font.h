/* Bitmap fonts: built-in single-byte glyphs in two sizes and Chinese glyphs read on demand
 * from the terminal's font files. Every glyph comes back in a new buffer (free it with
 * free()) whose first byte is the number of bitmap bytes that follow: rows top to bottom,
 * the most significant bit leftmost, a set bit is ink. */
#ifndef POS_SDK_FONT_H
#define POS_SDK_FONT_H

#include "pos_export.h"

POS_BEGIN_DECLS

/* 256 glyphs each, indexed by the byte value: 8x16 (16 bytes a glyph), 16x24 (48 bytes, two
 * bytes a row, left byte first). */
POS_API extern const unsigned char FontSystem8x16[4096];
POS_API extern const unsigned char FontSystem16x24[12288];

/* Opens the font file for SIZE: 12 "/customer/kivo/fonts/HZK12.fnt", 16 or 24
 * "/customer/kivo/fonts/HZK16_24.fnt". freeCnFont closes it again. */
POS_API void loadCnFont(int size);
POS_API void freeCnFont(int size);

/* 49 bytes (48, then the 16x24 glyph) for SIZE 24, else 17 bytes (16, then the 8x16 glyph). */
POS_API unsigned char *getEnWordData(unsigned char ch, int size);
/* The glyph of the GB2312/GBK character B1 B2: 32 bytes at 12 and 16 pixels, 72 at 24; null
 * for any other size or a font that is not open. */
POS_API unsigned char *getCnWordData(unsigned char b1, unsigned char b2, int size);
POS_API unsigned char *read_cn_font_12(unsigned char b1, unsigned char b2);
POS_API unsigned char *read_cn_font_16(unsigned char b1, unsigned char b2);
POS_API unsigned char *read_cn_font_24(unsigned char b1, unsigned char b2);

POS_END_DECLS

#endif
