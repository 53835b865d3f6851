#include "log_capture.h"

#include <stdarg.h>
#include <stdio.h>

#include <mutex>

namespace {
std::mutex g_mutex;
std::vector<LoggedLine> g_lines;
}  // namespace

// Replaces the platform log for the test binary: the executable's definition wins.
extern "C" int __android_log_vprint(int prio, const char *, const char *fmt, va_list ap) {
    char text[2048];
    vsnprintf(text, sizeof text, fmt, ap);
    std::lock_guard<std::mutex> lock(g_mutex);
    g_lines.push_back({prio, text});
    return 0;
}

const std::vector<LoggedLine> &loggedLines() { return g_lines; }

void clearLog() {
    std::lock_guard<std::mutex> lock(g_mutex);
    g_lines.clear();
}

bool logged(const std::string &text) {
    std::lock_guard<std::mutex> lock(g_mutex);
    for (const auto &line : g_lines) {
        if (line.text == text) return true;
    }
    return false;
}

bool logged(int priority, const std::string &text) {
    std::lock_guard<std::mutex> lock(g_mutex);
    for (const auto &line : g_lines) {
        if (line.text == text && line.priority == priority) return true;
    }
    return false;
}
