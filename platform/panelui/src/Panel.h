// The panel's state: the three surfaces, the line-mode colours, the frame and the view that
// is up. One process-wide instance; the operations are called from the application's UI
// thread, input may arrive from any.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>

#include "Surface.h"
#include "Text.h"

namespace panelui {

constexpr int kWidth = 800;
constexpr int kHeight = 1280;
constexpr int kStatusBarHeight = 40;
constexpr int kLines = 6;
constexpr int kLineHeight = kHeight / kLines;
constexpr uint32_t kWhite = 0xffffff, kBlack = 0x000000, kTransparent = 0x1000000;

enum Handle : int32_t { kMainDC = 1, kStatusBarDC = 2, kTipDC = 3 };

struct Panel {
    Surface main{kWidth, kHeight, kWhite};
    Surface statusBar{kWidth, kStatusBarHeight, 0x303030};
    Surface tip{kWidth, kHeight, kTransparent};
    Surface frame{kWidth, kHeight + kStatusBarHeight, kBlack};

    uint32_t lineBack = kWhite, lineText = kBlack;
    FontSize font = FontSize::Large;
    bool initialised = false;
    std::atomic<uint32_t> frames{0};
    std::string outDir;
    bool pngEveryFrame = false;
    const char *view = "none";
    std::mutex frameMutex;  // the frame against readers on other threads

    void (*pauseCallback)(void) = nullptr;
    void (*resumeCallback)(void) = nullptr;
};

Panel &panel();
// The surface of a handle, or null.
Surface *surfaceOf(int32_t hdc);
// Composites the surfaces into the frame and counts it (PnlReFreshScreen).
void refresh();
// Draws the status bar's contents.
void drawStatusBar();
// The last frame as PNG at PATH; 0, or -1 when it cannot be written.
int writeFramePng(const char *path);
int encodePng(const uint32_t *pixels, int width, int height, const char *path);
// Marks the view that is up ("none" when none is).
void setView(const char *name);

}  // namespace panelui
