// A frame read back from a PNG file, as a person looking at a screenshot would see it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct Frame {
    int width = 0, height = 0;
    std::vector<uint32_t> pixels;  // 0xRRGGBB
    uint32_t at(int x, int y) const { return pixels[size_t(y) * width + x]; }
};

// The RGB PNG at PATH; an empty frame when it cannot be read.
Frame readPng(const std::string &path);
