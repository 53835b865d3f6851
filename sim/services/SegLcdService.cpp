#include "SegLcdService.h"

#include <pos_sdk/service/ISegLcdManager.h>

#include <nlohmann/json.hpp>

#include <stdexcept>

using android::ISegLcdManager;
using android::Parcel;
using nlohmann::json;

namespace possim {

namespace {

const int kRefused = -1;   // an argument out of range, a text that does not fit
const int kLinkDown = -2;  // the display does not answer
const int kFonts = 3;
const size_t kMaxVersion = 63;

std::string blankLine() {
    return std::string(SegLcdService::kColumns, ' ');
}

}  // namespace

SegLcdService::SegLcdService(const json &section) : SimService("com.torva.binder.ISegLcdManager") {
    mState.lines.fill(blankLine());
    load(section);
    onStatus(ISegLcdManager::BACKLIGHT, [this](const Parcel &request, ReplyFields &) {
        if (!mState.connected) return kLinkDown;
        int mode = request.readInt32();
        int level = request.readInt32();
        if (mode < 0 || mode > 2 || level < 0 || level > 100) return kRefused;
        mState.backlightMode = mode;
        mState.backlightLevel = level;
        return 0;
    });
    onStatus(ISegLcdManager::CLOSE_LCD, [this](const Parcel &, ReplyFields &) {
        if (!mState.connected) return kLinkDown;
        mState.open = false;
        return 0;
    });
    onStatus(ISegLcdManager::PING,
             [this](const Parcel &, ReplyFields &) { return mState.connected ? 0 : kLinkDown; });
    onStatus(ISegLcdManager::GET_VERSION, [this](const Parcel &, ReplyFields &out) {
        if (!mState.connected) return kLinkDown;
        out.cstring(mState.version);
        return 0;
    });
    onStatus(ISegLcdManager::SHOW,
             [this](const Parcel &request, ReplyFields &) { return show(request, false); });
    onStatus(ISegLcdManager::SHOW_EX,
             [this](const Parcel &request, ReplyFields &) { return show(request, true); });
    onStatus(ISegLcdManager::RECONNECT, [this](const Parcel &, ReplyFields &) {
        mState.connected = true;
        return 0;
    });
    onStatus(ISegLcdManager::RESET, [this](const Parcel &, ReplyFields &) {
        if (!mState.connected) return kLinkDown;
        State fresh;
        fresh.lines.fill(blankLine());
        fresh.version = mState.version;
        fresh.resets = mState.resets + 1;
        mState = fresh;
        return 0;
    });
}

// Show(line, column, [font,] text, flags): the text replaces the characters from the column on;
// one that would run past the line's end is refused rather than cut.
int SegLcdService::show(const Parcel &request, bool withFont) {
    int line = request.readInt32();
    int column = request.readInt32();
    int font = withFont ? request.readInt32() : 0;
    std::string text = readCString(request);
    int flags = request.readInt32();
    if (!mState.connected) return kLinkDown;
    if (line < 0 || line >= kLines || column < 0 || column >= kColumns || font < 0 ||
        font >= kFonts || text.size() > size_t(kColumns - column)) {
        return kRefused;
    }
    mState.lines[size_t(line)].replace(size_t(column), text.size(), text);
    mState.font = font;
    mState.flags = flags;
    mState.open = true;
    return 0;
}

json SegLcdService::state() const {
    return {{"lines", mState.lines},
            {"font", mState.font},
            {"flags", mState.flags},
            {"open", mState.open},
            {"backlight_mode", mState.backlightMode},
            {"backlight_level", mState.backlightLevel},
            {"connected", mState.connected},
            {"version", mState.version},
            {"resets", mState.resets}};
}

void SegLcdService::load(const json &values) {
    if (!values.is_object()) throw std::invalid_argument("expected an object");
    State s = mState;
    if (values.contains("lines")) {
        const json &lines = values["lines"];
        if (!lines.is_array() || lines.size() != size_t(kLines)) {
            throw std::invalid_argument("lines: expected 2 texts");
        }
        for (size_t i = 0; i < s.lines.size(); ++i) {
            std::string text = textOf(lines[i], "lines");
            if (text.size() > size_t(kColumns)) {
                throw std::invalid_argument("lines: at most 16 characters each");
            }
            s.lines[i] = text + std::string(size_t(kColumns) - text.size(), ' ');
        }
    }
    takeInt(values, "font", s.font);
    takeInt(values, "flags", s.flags);
    takeBool(values, "open", s.open);
    takeInt(values, "backlight_mode", s.backlightMode);
    takeInt(values, "backlight_level", s.backlightLevel);
    takeBool(values, "connected", s.connected);
    takeText(values, "version", s.version);
    takeInt(values, "resets", s.resets);
    // Readers copy the version into 64 bytes.
    if (s.version.size() > kMaxVersion)
        throw std::invalid_argument("version: at most 63 characters");
    if (s.font < 0 || s.font >= kFonts || s.backlightMode < 0 || s.backlightMode > 2 ||
        s.backlightLevel < 0 || s.backlightLevel > 100) {
        throw std::invalid_argument("font 0..2, backlight_mode 0..2, backlight_level 0..100");
    }
    mState = s;
}

// The serial link to the display: lost (every call but Reconnect answers -2) and back.
void SegLcdService::event(const std::string &name, const json &args) {
    if (name == "link_lost") {
        mState.connected = false;
    } else if (name == "link_restored") {
        mState.connected = true;
    } else {
        SimService::event(name, args);
    }
}

}  // namespace possim
