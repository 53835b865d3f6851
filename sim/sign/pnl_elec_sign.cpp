// pnl_elec_sign: the terminal's signature pad application, as the simulator runs it.
//   pnl_elec_sign TEXT V1 V2 V3 WIDTH HEIGHT V6 RATIO
// Draws the strokes the UI library left for it (one line "X,Y X,Y ... ; X,Y ...", in pad
// coordinates; "crash" and "none" make it fail) into a WIDTH x HEIGHT image, and leaves the
// transfer record: the image scaled by RATIO first (the whole image when RATIO is 0), then
// the whole image, each as a 24-bit BMP.
#include <unistd.h>

#include <panelui/panelui.h>
#include <panelui/sign_files.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Stroke = std::vector<std::pair<int, int>>;

struct Image {
    int w, h;
    std::vector<uint8_t> ink;  // 1 where the pen went
    Image(int width, int height) : w(width), h(height), ink(size_t(width) * height, 0) {}
    void dot(int x, int y) {
        for (int dy = -1; dy <= 1; ++dy)
            for (int dx = -1; dx <= 1; ++dx) {
                int px = x + dx, py = y + dy;
                if (px >= 0 && py >= 0 && px < w && py < h) ink[size_t(py) * w + px] = 1;
            }
    }
    void line(int x1, int y1, int x2, int y2) {
        int steps = std::max(std::abs(x2 - x1), std::abs(y2 - y1));
        for (int i = 0; i <= steps; ++i) {
            double t = steps ? double(i) / steps : 0;
            dot(int(std::lround(x1 + (x2 - x1) * t)), int(std::lround(y1 + (y2 - y1) * t)));
        }
    }
};

std::vector<Stroke> parseStrokes(const std::string &text) {
    std::vector<Stroke> strokes(1);
    std::istringstream words(text);
    std::string word;
    while (words >> word) {
        if (word == ";") {
            strokes.emplace_back();
            continue;
        }
        int x, y;
        if (sscanf(word.c_str(), "%d,%d", &x, &y) == 2) strokes.back().emplace_back(x, y);
    }
    return strokes;
}

void put16(std::vector<uint8_t> &b, size_t at, uint32_t v) {
    b[at] = uint8_t(v), b[at + 1] = uint8_t(v >> 8);
}
void put32(std::vector<uint8_t> &b, size_t at, uint32_t v) {
    put16(b, at, v & 0xffff), put16(b, at + 2, v >> 16);
}

// A bottom-up 24-bit BMP of the image scaled by SCALE: black ink on white.
std::vector<uint8_t> bmp(const Image &img, double scale) {
    int w = std::max(1, int(img.w * scale)), h = std::max(1, int(img.h * scale));
    size_t rowBytes = (size_t(w) * 3 + 3) & ~size_t(3);
    std::vector<uint8_t> b(54 + rowBytes * h, 0xff);
    std::fill(b.begin(), b.begin() + 54, 0);
    b[0] = 'B', b[1] = 'M';
    put32(b, 2, uint32_t(b.size()));
    put32(b, 10, 54);
    put32(b, 14, 40);
    put32(b, 18, uint32_t(w));
    put32(b, 22, uint32_t(h));
    put16(b, 26, 1);
    put16(b, 28, 24);
    put32(b, 34, uint32_t(rowBytes * h));
    for (int y = 0; y < h; ++y) {
        uint8_t *row = &b[54 + rowBytes * size_t(h - 1 - y)];
        for (int x = 0; x < w; ++x) {
            int sx = std::min(img.w - 1, int(x / scale)), sy = std::min(img.h - 1, int(y / scale));
            if (img.ink[size_t(sy) * img.w + sx]) row[x * 3] = row[x * 3 + 1] = row[x * 3 + 2] = 0;
        }
    }
    return b;
}

void place(int32_t &length, uint8_t *area, const std::vector<uint8_t> &image) {
    size_t n = std::min(image.size(), size_t(PNL_SIGN_IMAGE_BYTES));
    memcpy(area, image.data(), n);
    length = int32_t(n);
}

}  // namespace

int main(int argc, char **argv) {
    {
        std::ofstream pid(panelui::kSignPidFile, std::ios::trunc);
        pid << getpid() << "\n";
    }
    std::string strokesText;
    std::getline(std::ifstream(panelui::kSignStrokesFile), strokesText);
    if (strokesText == "crash") abort();
    if (strokesText == "none") return 1;

    int width = argc > 5 ? atoi(argv[5]) : 0, height = argc > 6 ? atoi(argv[6]) : 0;
    double ratio = argc > 8 ? atof(argv[8]) : 0.0;
    if (width <= 0 || width > 300) width = 300;
    if (height <= 0 || height > 150) height = 150;
    if (!(ratio > 0.0 && ratio <= 1.0)) ratio = 1.0;

    Image img(width, height);
    for (const Stroke &s : parseStrokes(strokesText)) {
        for (size_t i = 0; i < s.size(); ++i) {
            const auto &a = s[i], &b = i + 1 < s.size() ? s[i + 1] : s[i];
            img.line(a.first, a.second, b.first, b.second);
        }
    }
    auto record = std::make_unique<PnlElecSignTransData>();
    memset(record.get(), 0, sizeof *record);
    record->status = '0';
    place(record->length1, record->image1, bmp(img, ratio));
    place(record->length2, record->image2, bmp(img, 1.0));

    std::string partial = std::string(panelui::kSignResultFile) + ".part";
    FILE *f = fopen(partial.c_str(), "wb");
    if (f == nullptr) return 1;
    bool written = fwrite(record.get(), sizeof *record, 1, f) == 1;
    written = fclose(f) == 0 && written;
    // Whole or not at all: the UI library takes the record the moment it appears.
    return written && rename(partial.c_str(), panelui::kSignResultFile) == 0 ? 0 : 1;
}
