#include "ThermalService.h"

#include <pos_sdk/service/IThermalManager.h>

#include <nlohmann/json.hpp>

#include <cstring>
#include <filesystem>

#include "servers/system_state.h"

using android::IThermalManager;
using android::Parcel;
using nlohmann::json;

namespace possim {

namespace {

// Statuses of every printer operation.
const int kBadArgument = -1;
const int kNotOpen = -2;
const int kPaperOut = -3;
const int kOverheated = -4;
const int kNoBlackLabel = -5;

const int kMaxWidth = 2048;         // dots across the widest paper taken
const int kMaxBitmapRows = 4096;    // rows of one printed bitmap
const int kMaxFeed = 4096;          // dots of one feed or gap
const int kMaxReceiptRows = 32768;  // a receipt this long is cut by itself

bool within(int value, int low, int high) {
    return value >= low && value <= high;
}

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

}  // namespace

ThermalService::ThermalService(const json &section)
    : SimService("com.kivo.device.manager.IThermalPrinterManager") {
    load(section);
    onStatus(IThermalManager::OPEN, [this](const Parcel &, ReplyFields &) {
        mState.open = true;
        return 0;
    });
    onStatus(IThermalManager::CLOSE, [this](const Parcel &, ReplyFields &) {
        cut();
        mState.open = false;
        return 0;
    });
    onStatus(IThermalManager::PRINT_BMP,
             [this](const Parcel &request, ReplyFields &) { return print(request); });
    onStatus(IThermalManager::FEED_PAPER,
             [this](const Parcel &request, ReplyFields &) { return feed(request); });
    onStatus(IThermalManager::FIND_BLACK_LABEL,
             [this](const Parcel &request, ReplyFields &) { return findBlackLabel(request); });
    onStatus(IThermalManager::SET_DENSITY, [this](const Parcel &request, ReplyFields &) {
        int density = request.readInt32(), speed = request.readInt32();
        if (!within(density, 1, 8) || !within(speed, 1, 4)) return kBadArgument;
        mState.density = density;
        mState.speed = speed;
        return 0;
    });
    onStatus(IThermalManager::STATUS,
             [this](const Parcel &request, ReplyFields &) { return status(request); });
}

// A printer stopped with paper in it still hands the receipt over.
ThermalService::~ThermalService() {
    cut();
}

int ThermalService::readiness() const {
    if (!mState.open) return kNotOpen;
    if (mState.paperOut) return kPaperOut;
    if (mState.overheated) return kOverheated;
    return 0;
}

bool ThermalService::takePaper(int dots) {
    if (mState.paperLeft < 0) return true;
    if (dots > mState.paperLeft) {
        mState.paperLeft = 0;
        mState.paperOut = true;
        return false;
    }
    mState.paperLeft -= dots;
    return true;
}

void ThermalService::addBlankRows(int rows) {
    if (rows <= 0) return;
    mReceipt.width = mState.width;
    mReceipt.dots.resize(mReceipt.dots.size() + size_t(rows) * size_t(mState.width), 0);
    mState.position += rows;
    if (mReceipt.height() >= kMaxReceiptRows) cut();
}

// Request: the bitmap as text, then x, width, height, align, gap (see sim/README.md).
int ThermalService::print(const Parcel &request) {
    std::string text;
    bool present = readText16(request, &text);
    int x = request.readInt32(), width = request.readInt32(), height = request.readInt32();
    int align = request.readInt32(), gap = request.readInt32();
    int ready = readiness();
    if (ready != 0) return ready;
    if (!present || !within(width, 1, mState.width) || !within(height, 1, kMaxBitmapRows) ||
        !within(align, 0, 2) || !within(gap, 0, kMaxFeed)) {
        return kBadArgument;
    }
    size_t rowBytes = size_t(width + 7) / 8;
    if (text.size() != 2 * rowBytes * size_t(height)) return kBadArgument;
    int left = align == 1 ? (mState.width - width) / 2 : align == 2 ? mState.width - width : x;
    if (!within(left, 0, mState.width - width)) return kBadArgument;
    for (char c : text) {
        if (hexDigit(c) < 0) return kBadArgument;
    }
    if (!takePaper(height + gap)) return kPaperOut;

    mReceipt.width = mState.width;
    size_t top = mReceipt.dots.size();
    mReceipt.dots.resize(top + size_t(height) * size_t(mState.width), 0);
    for (int y = 0; y < height; ++y) {
        uint8_t *row = mReceipt.dots.data() + top + size_t(y) * size_t(mState.width) + left;
        const char *hex = text.data() + 2 * rowBytes * size_t(y);
        for (int dot = 0; dot < width; ++dot) {
            int byte = hexDigit(hex[2 * (dot / 8)]) << 4 | hexDigit(hex[2 * (dot / 8) + 1]);
            row[dot] = (byte >> (7 - dot % 8)) & 1;  // the leftmost dot is the high bit
        }
    }
    mState.position += height;
    addBlankRows(gap);
    return 0;
}

// Request: dots to feed, then whether to cut the receipt off after them (non-zero).
int ThermalService::feed(const Parcel &request) {
    int dots = request.readInt32(), cutAfter = request.readInt32();
    int ready = readiness();
    if (ready != 0) return ready;
    if (!within(dots, 0, kMaxFeed)) return kBadArgument;
    if (!takePaper(dots)) return kPaperOut;
    addBlankRows(dots);
    if (cutAfter != 0) cut();
    return 0;
}

// Request: the most dots to feed looking for the label. The paper stops at the label and the
// receipt before it is cut off.
int ThermalService::findBlackLabel(const Parcel &request) {
    int most = request.readInt32();
    int ready = readiness();
    if (ready != 0) return ready;
    if (most < 0) return kBadArgument;
    if (mState.blackLabelPitch <= 0) return kNoBlackLabel;
    int distance = (mState.blackLabelPitch - mState.position % mState.blackLabelPitch) %
                   mState.blackLabelPitch;
    if (distance > most) return kNoBlackLabel;
    if (!takePaper(distance)) return kPaperOut;
    addBlankRows(distance);
    cut();
    return 0;
}

// Selector 0: the printer's condition (0 ready, else the status a print would get);
// 1: rows on the receipt not yet cut; 2: dots of paper left (-1 endless).
int ThermalService::status(const Parcel &request) const {
    switch (request.readInt32()) {
        case 0:
            return readiness();
        case 1:
            return mReceipt.height();
        case 2:
            return mState.paperLeft;
        default:
            return kBadArgument;
    }
}

std::string ThermalService::receiptDir() const {
    if (!mState.receiptDir.empty()) return mState.receiptDir;
    std::string out = readStatus("out_dir");
    return (out.empty() ? std::string(kStatusDir) : out) + "/receipts";
}

void ThermalService::cut() {
    if (mReceipt.height() == 0) return;
    // Built only to be looked at (scenario checks, fuzzing) with nowhere named to write to: the
    // paper is torn off and dropped rather than written into the host's /tmp.
    if (!mStarted && mState.receiptDir.empty()) {
        mReceipt = Dots();
        return;
    }
    std::string dir = receiptDir();
    std::error_code ignored;  // a directory that cannot be made fails the write that follows
    std::filesystem::create_directories(dir, ignored);
    char name[32];
    snprintf(name, sizeof name, "/receipt-%04d.png", mState.receipts + 1);
    std::string error;
    if (writeReceiptPng(dir + name, mReceipt, error)) {
        ++mState.receipts;
        mState.lastReceipt = dir + name;
        mState.lastError.clear();
    } else {
        mState.lastError = error;
    }
    mReceipt = Dots();
}

json ThermalService::state() const {
    return {{"open", mState.open},
            {"width", mState.width},
            {"density", mState.density},
            {"speed", mState.speed},
            {"paper_out", mState.paperOut},
            {"overheated", mState.overheated},
            {"paper_left", mState.paperLeft},
            {"black_label_pitch", mState.blackLabelPitch},
            {"position", mState.position},
            {"receipts", mState.receipts},
            {"receipt_dir", mState.receiptDir},
            {"last_receipt", mState.lastReceipt},
            {"last_error", mState.lastError}};
}

void ThermalService::load(const json &values) {
    if (!values.is_object()) throw std::invalid_argument("expected an object");
    State s = mState;
    takeBool(values, "open", s.open);
    takeInt(values, "width", s.width);
    takeInt(values, "density", s.density);
    takeInt(values, "speed", s.speed);
    takeBool(values, "paper_out", s.paperOut);
    takeBool(values, "overheated", s.overheated);
    takeInt(values, "paper_left", s.paperLeft);
    takeInt(values, "black_label_pitch", s.blackLabelPitch);
    takeInt(values, "position", s.position);
    takeInt(values, "receipts", s.receipts);
    takeText(values, "receipt_dir", s.receiptDir);
    takeText(values, "last_receipt", s.lastReceipt);
    takeText(values, "last_error", s.lastError);
    if (!within(s.width, 8, kMaxWidth)) throw std::invalid_argument("width: 8 to 2048 dots");
    if (!within(s.density, 1, 8)) throw std::invalid_argument("density: 1 to 8");
    if (!within(s.speed, 1, 4)) throw std::invalid_argument("speed: 1 to 4");
    if (s.paperLeft < -1) throw std::invalid_argument("paper_left: -1 (endless) or more");
    if (s.blackLabelPitch < 0 || s.position < 0 || s.receipts < 0)
        throw std::invalid_argument("black_label_pitch, position, receipts: 0 or more");
    // A new paper width starts a new receipt: one image has one width.
    if (s.width != mState.width && mReceipt.height() > 0) cut();
    // Paper put in clears paper-out.
    if (values.contains("paper_left") && s.paperLeft != 0 && !values.contains("paper_out"))
        s.paperOut = false;
    mState = s;
}

// paper_loaded [dots=N]: a new roll (N dots long, endless without); cool_down: the head is cool.
void ThermalService::event(const std::string &name, const json &args) {
    if (name == "paper_loaded") {
        int dots = intArg(args, "dots", -1);
        if (dots == 0 || dots < -1) throw std::invalid_argument("dots: more than 0");
        mState.paperLeft = dots;
        mState.paperOut = false;
        mState.position = 0;
    } else if (name == "paper_out") {
        mState.paperLeft = 0;
        mState.paperOut = true;
    } else if (name == "overheat") {
        mState.overheated = true;
    } else if (name == "cool_down") {
        mState.overheated = false;
    } else {
        SimService::event(name, args);
    }
}

}  // namespace possim
