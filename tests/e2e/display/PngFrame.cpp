#include "PngFrame.h"

#include <png.h>

#include <cstdio>

Frame readPng(const std::string &path) {
    Frame f;
    FILE *in = fopen(path.c_str(), "rb");
    if (in == nullptr) return f;
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    if (setjmp(png_jmpbuf(png)) == 0) {
        png_init_io(png, in);
        png_read_info(png, info);
        if (png_get_color_type(png, info) == PNG_COLOR_TYPE_RGB &&
            png_get_bit_depth(png, info) == 8) {
            f.width = int(png_get_image_width(png, info));
            f.height = int(png_get_image_height(png, info));
            std::vector<uint8_t> row(size_t(f.width) * 3);
            for (int y = 0; y < f.height; ++y) {
                png_read_row(png, row.data(), nullptr);
                for (int x = 0; x < f.width; ++x)
                    f.pixels.push_back(uint32_t(row[x * 3]) << 16 | uint32_t(row[x * 3 + 1]) << 8 |
                                       row[x * 3 + 2]);
            }
        }
    } else {
        f = Frame();
    }
    png_destroy_read_struct(&png, &info, nullptr);
    fclose(in);
    return f;
}
