// Test helpers: a scratch directory per test and a capture of the logger's messages.
// Include from exactly one source file per test binary: it replaces the platform log.
#ifndef STORAGE_TEST_H
#define STORAGE_TEST_H

#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>

#include <filesystem>
#include <mutex>
#include <string>
#include <vector>

constexpr int kPrioError = 6;
constexpr int kPrioWarn = 5;
constexpr int kPrioDebug = 3;

struct LoggedLine {
    int priority;
    std::string text;
};
inline std::vector<LoggedLine> g_logged;
inline std::mutex g_loggedMutex;

// The executable's definition wins over the platform library's.
extern "C" int __android_log_vprint(int prio, const char *, const char *fmt, va_list ap) {
    char text[2048];
    vsnprintf(text, sizeof text, fmt, ap);
    std::lock_guard<std::mutex> lock(g_loggedMutex);
    g_logged.push_back({prio, text});
    return 0;
}

inline int countLogged(int priority, const std::string &text) {
    int count = 0;
    for (const auto &line : g_logged) count += line.priority == priority && line.text == text;
    return count;
}
inline bool logged(int priority, const std::string &text) {
    return countLogged(priority, text) > 0;
}

class TempDir {
  public:
    TempDir() {
        char pattern[] = "/tmp/pos_storage_XXXXXX";
        path_ = mkdtemp(pattern) != nullptr ? pattern : "";
    }
    ~TempDir() {
        std::error_code ignored;
        if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
    }
    const std::string &path() const { return path_; }
    std::string file(const std::string &name) const { return path_ + "/" + name; }

  private:
    std::string path_;
};

#endif
