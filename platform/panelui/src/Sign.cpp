// The signature pad's hand-over: the strokes for the signature application go in a file
// before it starts, its transfer record comes back in another.
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <panelui/panelui.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <thread>

#include "Input.h"
#include "Panel.h"
#include <panelui/sign_files.h>

using namespace panelui;

namespace {

std::unique_ptr<Surface> g_savedScreen;

// The application has ended without leaving a record.
bool signerGone() {
    std::ifstream in(kSignPidFile);
    pid_t pid = 0;
    return (in >> pid) && pid > 0 && kill(pid, 0) != 0;
}

int waitLimitMs() {
    const char *text = getenv("POS_PANELUI_SIGN_TIMEOUT_MS");
    int ms = text ? atoi(text) : 0;
    return ms > 0 ? ms : 30000;
}

PnlElecSignTransData *readRecord() {
    FILE *f = fopen(kSignResultFile, "rb");
    if (f == nullptr) return nullptr;
    auto *record = static_cast<PnlElecSignTransData *>(calloc(1, sizeof(PnlElecSignTransData)));
    size_t n = record ? fread(record, 1, sizeof *record, f) : 0;
    fclose(f);
    if (record != nullptr && n != sizeof *record) {
        free(record);  // a record cut short is no record
        return nullptr;
    }
    return record;
}

}  // namespace

extern "C" {

int PnlBeforeElecSignScreenSave(void) {
    g_savedScreen = std::make_unique<Surface>(panel().main);
    mkdir(kSignDir, 0755);
    unlink(kSignResultFile);
    unlink(kSignPidFile);
    InputEvent e;
    std::ofstream strokes(kSignStrokesFile, std::ios::trunc);
    if (inputQueue().takeSign(e)) strokes << e.strokes << "\n";
    return 0;
}

PnlElecSignTransData *PnlGetElecSignTransData(void) {
    setView("sign");
    auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(waitLimitMs());
    PnlElecSignTransData *record = nullptr;
    while (std::chrono::steady_clock::now() < deadline) {
        if (access(kSignResultFile, R_OK) == 0) {
            record = readRecord();
            break;
        }
        if (signerGone()) break;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    setView("none");
    if (g_savedScreen) {
        panel().main = *g_savedScreen;
        g_savedScreen.reset();
        refresh();
    }
    return record;
}

void PnlReleaseElecSignTransData(PnlElecSignTransData *record) {
    free(record);
}

}  // extern "C"
