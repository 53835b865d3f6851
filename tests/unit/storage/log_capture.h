// Captures what the logger sends to the platform log, so tests can check messages.
#ifndef STORAGE_TEST_LOG_CAPTURE_H
#define STORAGE_TEST_LOG_CAPTURE_H

#include <string>
#include <vector>

struct LoggedLine {
    int priority;  // platform priority: 6 error, 5 warning, 3 debug
    std::string text;
};

// Every message logged since the last clearLog().
const std::vector<LoggedLine> &loggedLines();
void clearLog();
// True when some message reads exactly TEXT.
bool logged(const std::string &text);
bool logged(int priority, const std::string &text);

constexpr int kPrioError = 6;
constexpr int kPrioWarn = 5;
constexpr int kPrioDebug = 3;

#endif
