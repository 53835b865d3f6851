#include "ServiceHost.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdio>
#include <thread>

namespace possim {

namespace {

// Runs in the child between fork and exec, so it allocates nothing: the parent may have other
// threads, and a lock one of them held at the fork stays held in the child.
[[noreturn]] void execChild(const char *program, char *const *argv) {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    // The caller may block signals (SIGTERM, to sigwait for it); a service must not.
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    execv(program, argv);
    static const char kFailed[] = "pos-sim: cannot run pos-sim-service\n";
    (void)!write(STDERR_FILENO, kFailed, sizeof kFailed - 1);
    _exit(127);
}

// True when the child wrote its ready byte within timeoutMs; false on EOF or time-out.
bool waitReady(int fd, int timeoutMs) {
    struct pollfd pfd = {fd, POLLIN, 0};
    int n;
    do {
        n = poll(&pfd, 1, timeoutMs);
    } while (n < 0 && errno == EINTR);
    char byte;
    return n == 1 && read(fd, &byte, 1) == 1;
}

}  // namespace

pid_t spawnAndWaitReady(const std::string &program, const std::vector<std::string> &args,
                        int timeoutMs) {
    int fds[2];
    if (pipe2(fds, O_CLOEXEC) != 0) return -1;
    std::vector<std::string> words{program};
    words.insert(words.end(), args.begin(), args.end());
    words.push_back("--ready-fd");
    words.push_back(std::to_string(fds[1]));
    std::vector<char *> argv;
    for (std::string &word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    pid_t pid = fork();
    if (pid == 0) {
        close(fds[0]);
        fcntl(fds[1], F_SETFD, 0);  // the write end survives exec
        execChild(program.c_str(), argv.data());
    }
    close(fds[1]);
    bool ready = pid > 0 && waitReady(fds[0], timeoutMs);
    close(fds[0]);
    if (pid > 0 && !ready) {
        stopProcess(pid, 0);
        return -1;
    }
    return pid;
}

void stopProcess(pid_t pid, int graceMs) {
    if (pid <= 0) return;
    kill(pid, SIGTERM);
    auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(graceMs);
    while (std::chrono::steady_clock::now() < deadline) {
        if (waitpid(pid, nullptr, WNOHANG) == pid) return;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
}

std::string serviceProgramPath() {
    char self[PATH_MAX];
    ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
    if (n <= 0) return "pos-sim-service";
    std::string path(self, static_cast<size_t>(n));
    return path.substr(0, path.rfind('/') + 1) + "pos-sim-service";
}

}  // namespace possim
