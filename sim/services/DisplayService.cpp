#include "DisplayService.h"

#include <fcntl.h>
#include <panelui/panelui_host.h>
#include <sys/mman.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include <atomic>
#include <cstring>
#include <stdexcept>
#include <thread>

#include "servers/system_state.h"

using android::Parcel;
using nlohmann::json;
using namespace panelui;

namespace possim {

namespace {

const char kFrameFile[] = "display.frame";
const int kMainWidth = kSharedFrameWidth;
const int kMainHeight = kSharedFrameHeight - PNL_HOST_STATUS_BAR_HEIGHT;
const size_t kMaxQueued = 4096;  // events nobody takes are not kept beyond this
const size_t kMaxText = 256;     // one text event

[[noreturn]] void refuse(const std::string &why) {
    throw std::invalid_argument(why);
}

// An argument as text; numbers and booleans typed on the command line are taken as written.
std::string argText(const json &args, const char *key) {
    auto it = args.find(key);
    if (it == args.end()) return "";
    return it->is_string() ? it->get<std::string>() : it->dump();
}

int argInt(const json &args, const char *key, const char *usage) {
    auto it = args.find(key);
    if (it == args.end() || !it->is_number_integer()) refuse(usage);
    return intOf(*it, key);
}

}  // namespace

DisplayService::DisplayService(const json &section) : SimService(kDisplayDescriptor) {
    load(section);
    onStatus(DISPLAY_ATTACH, [this](const Parcel &, ReplyFields &out) {
        out.cstring(mFrame != nullptr ? mFramePath : "");
        mInput.clear();  // input typed for an application that has gone is not for this one
        return 0;
    });
    onStatus(DISPLAY_TAKE_INPUT, [this](const Parcel &, ReplyFields &out) {
        if (mInput.empty()) return 1;
        const Input &in = mInput.front();
        out.i32(in.kind).i32(in.key).i32(in.x).i32(in.y).i32(in.ch).cstring(in.strokes);
        mInput.pop_front();
        return 0;
    });
}

DisplayService::~DisplayService() {
    if (mFrame != nullptr) munmap(mFrame, kSharedFrameBytes);
}

// The frame file lives in the terminal's status directory; a service run by itself outside
// a simulated terminal shares no frame.
void DisplayService::start() {
    if (!insideTerminal()) return;
    mFramePath = std::string(kStatusDir) + "/" + kFrameFile;
    int fd = open(mFramePath.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) return;
    void *map = MAP_FAILED;
    if (ftruncate(fd, static_cast<off_t>(kSharedFrameBytes)) == 0)
        map = mmap(nullptr, kSharedFrameBytes, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    close(fd);
    if (map == MAP_FAILED) return;
    auto *frame = static_cast<SharedFrame *>(map);  // the file starts zeroed
    frame->width = kSharedFrameWidth;
    frame->height = kSharedFrameHeight;
    strcpy(frame->view, "none");
    std::atomic_thread_fence(std::memory_order_release);
    frame->magic = kSharedFrameMagic;
    mFrame = frame;  // before the service serves: no call can race it
}

bool DisplayService::readHeader(Header &header) const {
    if (mFrame == nullptr) return false;
    for (int attempt = 0; attempt < 1000; ++attempt) {
        uint32_t before = mFrame->sequence.load(std::memory_order_acquire);
        if (before % 2 == 0) {
            Header h;
            h.frames = mFrame->frames.load(std::memory_order_relaxed);
            h.pid = mFrame->pid.load(std::memory_order_relaxed);
            char view[sizeof mFrame->view], png[sizeof mFrame->png];
            memcpy(view, mFrame->view, sizeof view);
            memcpy(png, mFrame->png, sizeof png);
            std::atomic_thread_fence(std::memory_order_acquire);
            if (mFrame->sequence.load(std::memory_order_relaxed) == before) {
                h.view.assign(view, strnlen(view, sizeof view));
                h.png.assign(png, strnlen(png, sizeof png));
                header = h;
                return true;
            }
        }
        std::this_thread::yield();
    }
    return false;
}

bool DisplayService::copyFrame(std::vector<uint32_t> &pixels) const {
    if (mFrame == nullptr) return false;
    pixels.resize(static_cast<size_t>(kSharedFrameWidth) * kSharedFrameHeight);
    // The application may be compositing: a copy that overlapped a frame is taken again.
    for (int attempt = 0; attempt < 100; ++attempt) {
        uint32_t before = mFrame->sequence.load(std::memory_order_acquire);
        if (before % 2 == 0) {
            memcpy(pixels.data(), sharedPixels(mFrame), pixels.size() * sizeof(uint32_t));
            std::atomic_thread_fence(std::memory_order_acquire);
            if (mFrame->sequence.load(std::memory_order_relaxed) == before) return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
}

void DisplayService::needApplication() const {
    Header h;
    if (!readHeader(h) || h.pid == 0) refuse("no application is on the display (no view is up)");
}

json DisplayService::state() const {
    Header h;
    readHeader(h);
    return {{"frames", h.frames}, {"view", h.view},          {"application", h.pid},
            {"frame_png", h.png}, {"queued", mInput.size()}, {"last_screenshot", mLastScreenshot}};
}

// Everything the state shows is the application's doing or the console's: a scenario and
// `set` have nothing to change, only the types are checked.
void DisplayService::load(const json &values) {
    if (!values.is_object()) refuse("expected an object");
    int number = 0;
    std::string text;
    takeInt(values, "frames", number);
    takeInt(values, "application", number);
    takeInt(values, "queued", number);
    takeText(values, "view", text);
    takeText(values, "frame_png", text);
    takeText(values, "last_screenshot", text);
}

void DisplayService::screenshot(const json &args) {
    std::string name = argText(args, "name");
    if (name.empty()) name = "screenshot-" + std::to_string(++mScreenshots) + ".png";
    if (name.find('/') != std::string::npos || name[0] == '.' || name.size() > 128)
        refuse("name: a file name of up to 128 characters, without '/', not starting with '.'");
    needApplication();
    std::vector<uint32_t> pixels;
    if (!copyFrame(pixels)) refuse("the frame is being drawn; try again");
    std::string dir = readStatus("out_dir");
    std::string path = (dir.empty() ? std::string(kStatusDir) : dir) + "/" + name;
    if (PnlHostEncodePng(pixels.data(), kSharedFrameWidth, kSharedFrameHeight, path.c_str()) != 0)
        refuse("cannot write " + path);
    mLastScreenshot = path;
}

void DisplayService::event(const std::string &name, const json &args) {
    Input in;
    if (name == "screenshot") {
        screenshot(args);
        return;
    }
    if (name == "clear") {
        mInput.clear();
        return;
    }
    if (name == "key") {
        std::string key = argText(args, "name");
        in.key = PnlHostKeyCode(key.c_str());
        if (in.key == 0)
            refuse("unknown key \"" + key + "\" (0-9, ENTER, CANCEL, CLEAR, UP, DOWN, MENU)");
        in.kind = kInputKey;
    } else if (name == "touch") {
        const char *usage = "touch needs x=0-799 y=0-1279 (a point of the main screen)";
        in.x = argInt(args, "x", usage);
        in.y = argInt(args, "y", usage);
        if (in.x < 0 || in.x >= kMainWidth || in.y < 0 || in.y >= kMainHeight)
            refuse("touch outside the screen: " + std::to_string(in.x) + "," +
                   std::to_string(in.y) + " (x 0-799, y 0-1279)");
        in.kind = kInputTouch;
    } else if (name == "text") {
        if (!args.contains("value")) refuse("text needs value=TEXT");
        std::string value = argText(args, "value");
        if (value.empty() || value.size() > kMaxText) refuse("text: 1 to 256 bytes");
        needApplication();
        if (mInput.size() + value.size() > kMaxQueued) refuse("input queue full");
        for (char c : value) {
            Input ch;
            ch.kind = kInputChar;
            ch.ch = static_cast<unsigned char>(c);
            mInput.push_back(ch);
        }
        return;
    } else if (name == "sign") {
        in.strokes = argText(args, "strokes");
        if (in.strokes.empty()) refuse("sign needs strokes='X,Y X,Y ...' (or crash, none)");
        in.kind = kInputSign;
    } else {
        SimService::event(name, args);
    }
    needApplication();
    if (mInput.size() >= kMaxQueued) refuse("input queue full");
    mInput.push_back(in);
}

}  // namespace possim
