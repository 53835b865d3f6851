// The host platform log writes one brief-form line per message to standard error.
#include <android/log.h>

#include <gtest/gtest.h>

#include <unistd.h>

#include <string>

namespace {

std::string captureStderr(void (*emit)()) {
    int pipefd[2];
    if (pipe(pipefd) != 0) return "";
    int saved = dup(STDERR_FILENO);
    dup2(pipefd[1], STDERR_FILENO);
    close(pipefd[1]);
    emit();
    dup2(saved, STDERR_FILENO);
    close(saved);
    std::string out;
    char buf[512];
    ssize_t n;
    while ((n = read(pipefd[0], buf, sizeof buf)) > 0) out.append(buf, n);
    close(pipefd[0]);
    return out;
}

}  // namespace

TEST(PlatformLog, BriefFormOneLinePerMessage) {
    std::string out = captureStderr([] {
        __android_log_print(ANDROID_LOG_DEBUG, "TAG", "hello %d\n", 5);
        __android_log_print(ANDROID_LOG_ERROR, "POS_SDK", "no newline");
        __android_log_print(ANDROID_LOG_WARN, "T", "two\n\n");
    });
    char pid[16];
    snprintf(pid, sizeof pid, "%5d", static_cast<int>(getpid()));
    std::string p(pid);
    EXPECT_EQ(out,
              "D/TAG(" + p + "): hello 5\nE/POS_SDK(" + p + "): no newline\nW/T(" + p + "): two\n");
}
