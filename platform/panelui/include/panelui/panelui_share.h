// The simulated terminal's display service and the host UI library in an application's
// process: the binder interface between them and the frame they share. Host-only; not part
// of the terminal's library.
//
// At initialisation the UI library looks the service up (it is absent outside a simulated
// terminal, and the library then runs on its own). ATTACH names the shared frame file; the
// library copies every composited frame into it and keeps the frame counter and the view
// that is up in its header, so a refresh costs no binder call. The service reads frames from
// the file for screenshots; the library polls TAKE_INPUT for the console's input while a view
// or a key read waits.
#ifndef PANELUI_PANELUI_SHARE_H
#define PANELUI_PANELUI_SHARE_H

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace panelui {

constexpr const char *kDisplayServiceName = "PosSimDisplayService";
constexpr const char *kDisplayDescriptor = "pos.sim.IDisplay";

enum DisplayCode : uint32_t {
    // Request: the caller's process id. Reply: status 0, then the shared frame file's path as
    // a C string (empty when the service shares no frame).
    DISPLAY_ATTACH = 1,
    // Reply: status 0 and one event, or status 1 when none is queued. The event: kind (0 key,
    // 1 touch, 2 typed byte, 3 signature strokes), key code, x, y, byte, then the strokes as
    // a C string.
    DISPLAY_TAKE_INPUT = 2,
};

enum SharedInputKind : int32_t { kInputKey = 0, kInputTouch = 1, kInputChar = 2, kInputSign = 3 };

constexpr uint32_t kSharedFrameMagic = 0x464c4e50;  // "PNLF"
constexpr int kSharedFrameWidth = 800;
constexpr int kSharedFrameHeight = 1320;

static_assert(std::atomic<uint32_t>::is_always_lock_free, "shared between processes");

// The frame file: this header, then width x height pixels 0xRRGGBB, row by row. The writer
// makes SEQUENCE odd while it changes the pixels, view or PNG path, so a reader takes a copy
// that began and ended on the same even sequence.
struct SharedFrame {
    uint32_t magic;
    uint32_t width, height;
    std::atomic<uint32_t> sequence;
    std::atomic<uint32_t> frames;  // frames composited by the application
    std::atomic<int32_t> pid;      // the application drawing, 0 before one attached
    char view[16];                 // the view that is up ("none", "amount", ...)
    char png[256];                 // the last frame the library wrote as PNG itself, or empty
};

constexpr size_t kSharedFrameBytes =
    sizeof(SharedFrame) +
    sizeof(uint32_t) * static_cast<size_t>(kSharedFrameWidth) * kSharedFrameHeight;

// The pixels after the header.
inline uint32_t *sharedPixels(SharedFrame *frame) {
    return reinterpret_cast<uint32_t *>(reinterpret_cast<char *>(frame) + sizeof(SharedFrame));
}

}  // namespace panelui

#endif
