// fontgen: generates the bitmap fonts from freely licensed fonts (see README.md).
//   fontgen VGA_PSF_GZ MONO_TTF CJK_TTF OUTDIR
// writes OUTDIR/font8x16.inc and OUTDIR/font16x24.inc (the built-in tables, as C initialisers)
// and OUTDIR/HZK12.fnt and OUTDIR/HZK16_24.fnt (the terminal's Chinese font files).
#include <iconv.h>
#include <zlib.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "Rasterise.h"

namespace {

[[noreturn]] void die(const std::string &why) {
    fprintf(stderr, "fontgen: %s\n", why.c_str());
    exit(1);
}

// The character a byte of a single-byte table stands for: ASCII, and the upper half as code
// page 437 (the VGA's own layout); 0 for the control codes, which stay blank.
uint32_t singleByteChar(int byte) {
    if (byte >= 0x20 && byte < 0x7F) return static_cast<uint32_t>(byte);
    if (byte < 0x80) return 0;
    static iconv_t cd = iconv_open("UTF-32LE", "CP437");
    char in = static_cast<char>(byte);
    uint32_t out = 0;
    char *inPtr = &in, *outPtr = reinterpret_cast<char *>(&out);
    size_t inLeft = 1, outLeft = 4;
    if (iconv(cd, &inPtr, &inLeft, &outPtr, &outLeft) == static_cast<size_t>(-1)) return 0;
    return out;
}

// The Unicode character of the GBK code B1 B2, or 0.
uint32_t gbkChar(int b1, int b2) {
    static iconv_t cd = iconv_open("UTF-32LE", "GBK");
    char in[2] = {static_cast<char>(b1), static_cast<char>(b2)};
    uint32_t out = 0;
    char *inPtr = in, *outPtr = reinterpret_cast<char *>(&out);
    size_t inLeft = 2, outLeft = 4;
    if (iconv(cd, &inPtr, &inLeft, &outPtr, &outLeft) == static_cast<size_t>(-1)) return 0;
    return out;
}

// A PC screen font (version 1 or 2) with its Unicode table: 8 pixels wide, 16 high.
struct ScreenFont {
    std::vector<uint8_t> data;
    size_t glyphsAt = 0, glyphBytes = 0, count = 0;
    std::map<uint32_t, size_t> byChar;

    explicit ScreenFont(const char *path) {
        gzFile f = gzopen(path, "rb");
        if (f == nullptr) die(std::string("cannot open ") + path);
        uint8_t buf[65536];
        int n;
        while ((n = gzread(f, buf, sizeof buf)) > 0) data.insert(data.end(), buf, buf + n);
        gzclose(f);
        if (data.size() >= 4 && data[0] == 0x36 && data[1] == 0x04)
            readV1();
        else if (data.size() >= 32 && data[0] == 0x72 && data[1] == 0xb5)
            readV2();
        else
            die(std::string("not a screen font: ") + path);
    }
    uint32_t u32(size_t at) const {
        return data[at] | data[at + 1] << 8 | data[at + 2] << 16 | uint32_t(data[at + 3]) << 24;
    }
    void readV1() {
        count = (data[2] & 1) ? 512 : 256;
        glyphBytes = data[3];
        glyphsAt = 4;
        size_t at = glyphsAt + count * glyphBytes;
        for (size_t g = 0; g < count && at + 1 < data.size();) {
            uint32_t v = data[at] | data[at + 1] << 8;
            at += 2;
            if (v == 0xFFFF)
                ++g;
            else if (v != 0xFFFE)
                byChar.emplace(v, g);
        }
    }
    void readV2() {
        glyphsAt = u32(8);
        count = u32(16);
        glyphBytes = u32(20);
        size_t at = glyphsAt + count * glyphBytes;
        for (size_t g = 0; g < count && at < data.size(); ++g) {
            while (at < data.size() && data[at] != 0xFF && data[at] != 0xFE) {
                uint32_t c = data[at];
                int extra = c >= 0xF0 ? 3 : c >= 0xE0 ? 2 : c >= 0xC0 ? 1 : 0;
                c &= extra ? (0x3F >> extra) : 0x7F;
                for (int i = 0; i < extra && ++at < data.size(); ++i)
                    c = c << 6 | (data[at] & 0x3F);
                ++at;
                byChar.emplace(c, g);
            }
            while (at < data.size() && data[at] != 0xFF) ++at;
            ++at;
        }
    }
    std::vector<uint8_t> glyph(uint32_t c) const {
        auto it = byChar.find(c);
        if (c == 0 || it == byChar.end() || glyphBytes != 16) return std::vector<uint8_t>(16, 0);
        const uint8_t *g = &data[glyphsAt + it->second * glyphBytes];
        return std::vector<uint8_t>(g, g + 16);
    }
};

void writeInclude(const std::string &path, const std::vector<uint8_t> &bytes) {
    std::ofstream out(path);
    for (size_t i = 0; i < bytes.size(); ++i) {
        char hex[8];
        snprintf(hex, sizeof hex, "0x%02x,", bytes[i]);
        out << hex << ((i % 16 == 15) ? "\n" : "");
    }
    if (!out) die("cannot write " + path);
}

void put(std::vector<uint8_t> &file, size_t at, const std::vector<uint8_t> &glyph) {
    if (at + glyph.size() > file.size()) die("glyph outside its area");
    memcpy(&file[at], glyph.data(), glyph.size());
}

// Rows FIRST..LAST of the 94-column grid (trail bytes 0xA1-0xFE) at BASE, row FIRST first.
void writeGrid(std::vector<uint8_t> &file, size_t base, int first, int last, FT_Face face,
               int size) {
    size_t stride = static_cast<size_t>((size + 7) / 8 * size);
    for (int b1 = first; b1 <= last; ++b1) {
        for (int b2 = 0xA1; b2 <= 0xFE; ++b2) {
            uint32_t c = gbkChar(b1, b2);
            if (c == 0) continue;
            size_t index = static_cast<size_t>((b2 - 0xA1) + (b1 - first) * 94);
            put(file, base + index * stride, fontgen::rasterise(face, c, size, size));
        }
    }
}

void writeFile(const std::string &path, const std::vector<uint8_t> &bytes) {
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char *>(bytes.data()),
              static_cast<std::streamsize>(bytes.size()));
    if (!out) die("cannot write " + path);
}

}  // namespace

int main(int argc, char **argv) {
    if (argc != 5) die("usage: fontgen VGA_PSF_GZ MONO_TTF CJK_TTF OUTDIR");
    const std::string out = argv[4];
    ScreenFont vga(argv[1]);
    FT_Library ft;
    FT_Face mono, cjk;
    if (FT_Init_FreeType(&ft) != 0) die("FreeType");
    if (FT_New_Face(ft, argv[2], 0, &mono) != 0) die(std::string("cannot open ") + argv[2]);
    if (FT_New_Face(ft, argv[3], 0, &cjk) != 0) die(std::string("cannot open ") + argv[3]);

    std::vector<uint8_t> small, large;
    for (int b = 0; b < 256; ++b) {
        uint32_t c = singleByteChar(b);
        std::vector<uint8_t> g = vga.glyph(c);
        small.insert(small.end(), g.begin(), g.end());
        g = c ? fontgen::rasterise(mono, c, 16, 24) : std::vector<uint8_t>(48, 0);
        large.insert(large.end(), g.begin(), g.end());
    }
    writeInclude(out + "/font8x16.inc", small);
    writeInclude(out + "/font16x24.inc", large);

    // 12 pixels: one grid from row 0xA1 to 0xF7, 24 bytes a glyph, gaps included.
    std::vector<uint8_t> hzk12(static_cast<size_t>((0xF7 - 0xA1 + 1) * 94 * 24), 0);
    writeGrid(hzk12, 0, 0xA1, 0xF7, cjk, 12);
    writeFile(out + "/HZK12.fnt", hzk12);

    // 16 and 24 pixels: the symbol rows 0xA1-0xA9 and the characters of rows 0xB0-0xF7 of
    // each size, at the offsets the readers address.
    std::vector<uint8_t> hzk(309104 + 72 * 94 * 72, 0);
    const char header[] = "HZK16_24: 16 and 24 pixel glyphs of WenQuanYi Micro Hei";
    memcpy(hzk.data(), header, sizeof header);
    writeGrid(hzk, 512, 0xA1, 0xA9, cjk, 16);
    writeGrid(hzk, 31616, 0xB0, 0xF7, cjk, 16);
    writeGrid(hzk, 248192, 0xA1, 0xA9, cjk, 24);
    writeGrid(hzk, 309104, 0xB0, 0xF7, cjk, 24);
    writeFile(out + "/HZK16_24.fnt", hzk);

    FT_Done_Face(mono);
    FT_Done_Face(cjk);
    FT_Done_FreeType(ft);
    return 0;
}
