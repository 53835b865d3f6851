// Bitmap fonts: the built-in single-byte tables and the Chinese glyphs of the font files, one
// positioned read per glyph and no cache.
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "FontOffsets.h"
#include "pos_sdk/font.h"
#include "pos_sdk/log.h"

// Generated at build time from the fonts named in tools/fontgen/README.md (exported by the
// declarations in font.h).
extern "C" const unsigned char FontSystem8x16[4096] = {
#include "font8x16.inc"
};
extern "C" const unsigned char FontSystem16x24[12288] = {
#include "font16x24.inc"
};

namespace {

const char kFont12Path[] = "/customer/kivo/fonts/HZK12.fnt";
const char kFont16_24Path[] = "/customer/kivo/fonts/HZK16_24.fnt";

// -1 until loaded; freeCnFont leaves the closed number in place.
int g_handle_font12 = -1;
int g_handle_font16_24 = -1;

constexpr off_t kSymbols16 = 512;
constexpr off_t kMain16 = 31616;
constexpr off_t kSymbols24 = 248192;
constexpr off_t kMain24 = 309104;
constexpr int kReadAttempts = 6;

bool in(unsigned char v, unsigned lo, unsigned hi) {
    return v >= lo && v <= hi;
}

// The symbol rows 0xA1-0xA3 with a trail byte 0x40-0xBF come from the symbol area.
bool symbolArea(unsigned char b1, unsigned char b2) {
    return in(b1, 0xA1, 0xA3) && in(b2, 0x40, 0xBF);
}

// The GBK extension rules shared by the 16- and 24-pixel files: the glyph index, or -1.
long gbkExtensionIndex(unsigned char b1, unsigned char b2) {
    if (in(b1, 0x81, 0xA0) && in(b2, 0x40, 0xFE)) return (b2 - 0x40) + (b1 - 0x81) * 190L;
    if (in(b1, 0xAA, 0xFE) && in(b2, 0x40, 0xA0)) return (b2 - 0x40) + (b1 - 0xAA) * 96L;
    if (in(b1, 0xA8, 0xA9) && in(b2, 0x40, 0xA0)) return (b2 - 0x40) + (b1 - 0xA8) * 96L;
    return -1;
}

using LogFn = void (*)(const char *, ...);

// Reads COUNT bytes at OFFSET into a new buffer after its count byte; up to six reads, a
// short read accepted as it stands, a blank glyph after the last failure.
unsigned char *readGlyph(int fd, off_t offset, unsigned char count, const char *name,
                         LogFn logFailure) {
    unsigned char *glyph = static_cast<unsigned char *>(calloc(1, count + 1u));
    glyph[0] = count;
    for (int attempt = 1; attempt <= kReadAttempts; ++attempt) {
        if (pread(fd, glyph + 1, count, offset) != -1) break;
        int retriesLeft = kReadAttempts - attempt;
        if (retriesLeft == 0) break;
        logFailure("%s pread failed , retry = %d\n", name, retriesLeft - 1);
        memset(glyph, 0, count + 1u);
        glyph[0] = count;
    }
    return glyph;
}

}  // namespace

off_t cnFontOffset16(unsigned char b1, unsigned char b2) {
    long index = 0;
    if (in(b1, 0xA1, 0xA9) && in(b2, 0xA1, 0xFE))
        index = (b2 - 0xA1) + (b1 - 0xA1) * 94L;
    else if (in(b1, 0xB0, 0xF7) && in(b2, 0xA1, 0xFE))
        index = (b2 - 0xA1) + (b1 - 0xB0) * 94L;
    else if (long ext = gbkExtensionIndex(b1, b2); ext >= 0)
        index = ext;
    return index * 32 + (symbolArea(b1, b2) ? kSymbols16 : kMain16);
}

off_t cnFontOffset24(unsigned char b1, unsigned char b2) {
    if (symbolArea(b1, b2)) return ((b2 - 0xA1) + (b1 - 0xA1) * 94L) * 72 + kSymbols24;
    long index = 0;
    // Both grid rules count rows from 0xB0, the symbol rows too: that is where the file's
    // readers have always looked.
    if ((in(b1, 0xA1, 0xA9) || in(b1, 0xB0, 0xF7)) && in(b2, 0xA1, 0xFE))
        index = (b2 - 0xA1) + (b1 - 0xB0) * 94L;
    else if (long ext = gbkExtensionIndex(b1, b2); ext >= 0)
        index = ext;
    return index * 72 + kMain24;
}

off_t cnFontOffset12(unsigned char b1, unsigned char b2) {
    long index = 0;
    if ((in(b1, 0xA1, 0xA9) || in(b1, 0xB0, 0xF7)) && in(b2, 0xA1, 0xFE))
        index = (b2 - 0xA1) + (b1 - 0xA1) * 94L;
    else if (in(b1, 0x81, 0xA0) && in(b2, 0x40, 0xFE))
        index = (b2 - 0x40) + (b1 - 0x81) * 190L;
    else if (in(b1, 0xAA, 0xFE) && in(b2, 0x40, 0xA0))
        index = (b2 - 0x40) + (b1 - 0xAA) * 96L;
    return index * 24;
}

POS_API void loadCnFont(int size) {
    const char *path;
    int *handle;
    if (size == 12) {
        path = kFont12Path;
        handle = &g_handle_font12;
    } else if (size == 16 || size == 24) {
        path = kFont16_24Path;
        handle = &g_handle_font16_24;
    } else {
        return;
    }
    int fd = open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        Log_Info("Open font file[%s] failed!", path);
        return;
    }
    *handle = fd;
}

POS_API void freeCnFont(int size) {
    int handle;
    if (size == 12)
        handle = g_handle_font12;
    else if (size == 16 || size == 24)
        handle = g_handle_font16_24;
    else
        return;
    if (handle != 0) close(handle);
}

POS_API unsigned char *getEnWordData(unsigned char ch, int size) {
    bool large = size == 24;
    unsigned char count = large ? 48 : 16;
    unsigned char *glyph = static_cast<unsigned char *>(malloc(count + 1u));
    glyph[0] = count;
    memcpy(glyph + 1, large ? &FontSystem16x24[ch * 48] : &FontSystem8x16[ch * 16], count);
    return glyph;
}

POS_API unsigned char *getCnWordData(unsigned char b1, unsigned char b2, int size) {
    // Non-zero, not "loaded": a font never loaded (-1) passes and reads as blank glyphs.
    if ((size == 16 || size == 24) && g_handle_font16_24 != 0)
        return size == 16 ? read_cn_font_16(b1, b2) : read_cn_font_24(b1, b2);
    if (size == 12 && g_handle_font12 != 0) return read_cn_font_12(b1, b2);
    return nullptr;
}

POS_API unsigned char *read_cn_font_12(unsigned char b1, unsigned char b2) {
    // 32 bytes at a stride of 24: the glyph and the start of the next one.
    return readGlyph(g_handle_font12, cnFontOffset12(b1, b2), 32, "font_12", Log_Info);
}

POS_API unsigned char *read_cn_font_16(unsigned char b1, unsigned char b2) {
    return readGlyph(g_handle_font16_24, cnFontOffset16(b1, b2), 32, "font_16", Log_Err);
}

POS_API unsigned char *read_cn_font_24(unsigned char b1, unsigned char b2) {
    return readGlyph(g_handle_font16_24, cnFontOffset24(b1, b2), 72, "font_24", Log_Err);
}
