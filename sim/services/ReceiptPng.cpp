#include "ReceiptPng.h"

#include <png.h>

#include <cstdio>
#include <memory>

namespace possim {

namespace {

struct FileCloser {
    void operator()(FILE *f) const { fclose(f); }
};
using File = std::unique_ptr<FILE, FileCloser>;

const uint8_t kWhite = 255, kBlack = 0;

}  // namespace

bool writeReceiptPng(const std::string &path, const Dots &paper, std::string &error) {
    if (paper.width <= 0 || paper.height() == 0) {
        error = "nothing printed";
        return false;
    }
    File file(fopen(path.c_str(), "wb"));
    if (!file) {
        error = "cannot write " + path;
        return false;
    }
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    if (info == nullptr) {
        png_destroy_write_struct(&png, nullptr);
        error = "out of memory";
        return false;
    }
    std::vector<uint8_t> row(size_t(paper.width));
    // libpng reports its errors by longjmp; nothing with a destructor is created below.
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        error = "cannot encode " + path;
        return false;
    }
    png_init_io(png, file.get());
    png_set_IHDR(png, info, png_uint_32(paper.width), png_uint_32(paper.height()), 8,
                 PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    // Receipts are mostly blank paper: fast compression is small enough.
    png_set_compression_level(png, 1);
    png_write_info(png, info);
    for (int y = 0; y < paper.height(); ++y) {
        const uint8_t *dots = paper.dots.data() + size_t(y) * size_t(paper.width);
        for (int x = 0; x < paper.width; ++x) row[size_t(x)] = dots[x] ? kBlack : kWhite;
        png_write_row(png, row.data());
    }
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    if (fflush(file.get()) != 0) {
        error = "cannot write " + path;
        return false;
    }
    return true;
}

bool readReceiptPng(const std::string &path, Dots &paper, std::string &error) {
    File file(fopen(path.c_str(), "rb"));
    if (!file) {
        error = "cannot open " + path;
        return false;
    }
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    if (info == nullptr) {
        png_destroy_read_struct(&png, nullptr, nullptr);
        error = "out of memory";
        return false;
    }
    Dots read;
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_read_struct(&png, &info, nullptr);
        error = "not a PNG image: " + path;
        return false;
    }
    png_init_io(png, file.get());
    png_read_info(png, info);
    if (png_get_color_type(png, info) != PNG_COLOR_TYPE_GRAY || png_get_bit_depth(png, info) != 8) {
        png_destroy_read_struct(&png, &info, nullptr);
        error = "not an 8-bit grey image: " + path;
        return false;
    }
    read.width = int(png_get_image_width(png, info));
    size_t height = png_get_image_height(png, info);
    read.dots.resize(size_t(read.width) * height);
    for (size_t y = 0; y < height; ++y) {
        uint8_t *row = read.dots.data() + y * size_t(read.width);
        png_read_row(png, row, nullptr);
        for (int x = 0; x < read.width; ++x) row[x] = row[x] < 128 ? 1 : 0;
    }
    png_destroy_read_struct(&png, &info, nullptr);
    paper = std::move(read);
    return true;
}

}  // namespace possim
