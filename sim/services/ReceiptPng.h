// Receipts as images: the printed dots of one receipt written to a PNG file (8-bit grey,
// black dots on white paper) and read back.
#ifndef POS_SIM_RECEIPT_PNG_H
#define POS_SIM_RECEIPT_PNG_H

#include <cstdint>
#include <string>
#include <vector>

namespace possim {

// A strip of paper WIDTH dots wide: one byte per dot, row after row, non-zero for black.
struct Dots {
    int width = 0;
    std::vector<uint8_t> dots;
    int height() const { return width > 0 ? int(dots.size() / size_t(width)) : 0; }
};

// Writes DOTS to PATH; false with ERROR when it cannot (an empty strip is refused too).
bool writeReceiptPng(const std::string &path, const Dots &paper, std::string &error);
// Reads a PNG written by writeReceiptPng (any 8-bit grey PNG): dots darker than mid-grey are
// black. False with ERROR for a file that is not such an image.
bool readReceiptPng(const std::string &path, Dots &paper, std::string &error);

}  // namespace possim

#endif
