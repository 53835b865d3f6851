// Where a character's glyph lies in the font files, from its lead byte B1 and trail byte B2.
#pragma once

#include <sys/types.h>

off_t cnFontOffset12(unsigned char b1, unsigned char b2);
off_t cnFontOffset16(unsigned char b1, unsigned char b2);
off_t cnFontOffset24(unsigned char b1, unsigned char b2);
