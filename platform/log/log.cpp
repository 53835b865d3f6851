// Host platform log: one line per message on standard error, in the platform log's
// brief form "P/TAG(  PID): message".
#include <android/log.h>

#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <string>

namespace {

char priorityLetter(int prio) {
    static const char letters[] = "??VDIWEFS";
    if (prio < 0 || prio >= static_cast<int>(sizeof(letters) - 1)) return '?';
    return letters[prio];
}

}  // namespace

extern "C" int __android_log_vprint(int prio, const char *tag, const char *fmt, va_list ap) {
    char message[1024];
    int n = vsnprintf(message, sizeof message, fmt ? fmt : "", ap);
    if (n < 0) return -1;
    std::string line(message, strnlen(message, sizeof message));
    while (!line.empty() && line.back() == '\n') line.pop_back();

    char head[96];
    snprintf(head, sizeof head, "%c/%.64s(%5d): ", priorityLetter(prio), tag ? tag : "",
             static_cast<int>(getpid()));
    line.insert(0, head);
    line.push_back('\n');
    // One write per message keeps lines of concurrent threads whole.
    ssize_t written = write(STDERR_FILENO, line.data(), line.size());
    return written < 0 ? -1 : static_cast<int>(written);
}

extern "C" int __android_log_print(int prio, const char *tag, const char *fmt, ...) {
    va_list ap;
    va_start(ap, fmt);
    int r = __android_log_vprint(prio, tag, fmt, ap);
    va_end(ap);
    return r;
}
