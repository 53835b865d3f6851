// The simulated terminal's sandbox: a private mount and PID namespace (and a user namespace
// when not root) whose root is a fresh tmpfs holding bind mounts of the host's top-level
// directories and private mounts of everything the terminal's library touches by fixed
// path: /tmp, /dev/shm, /customer/kivo, /dev/chn/4, /dev/ttyGS0 and the board's /sys files.
// Nothing made inside is visible on the host, except in the output directory.
#ifndef POS_SIM_SANDBOX_H
#define POS_SIM_SANDBOX_H

#include <functional>
#include <string>
#include <vector>

namespace possim {

struct SandboxOptions {
    // Host directory bind-mounted at the same path inside; created if missing. Empty: none.
    std::string outDir;
    // Host directories that must stay visible at the same path inside although a private
    // mount covers them (a build tree under the host's /tmp, say). Filled by runInSandbox
    // with what the run itself needs: the working directory, pos-sim's own directory and
    // the command's.
    std::vector<std::string> keepDirs;
    // How long the services may take to become ready.
    int readyTimeoutMs = 10000;
};

// Runs inside the sandbox in a process of its own: starts the terminal's services, calls
// READY once they serve, and returns when SIGTERM arrives (it is blocked for the caller, so
// sigwait can take it). Its result is its exit status.
using ServicesMain = std::function<int(const std::function<void()> &ready)>;

// Whether DIR (absolute) may be bound into the sandbox as its output directory: not one that
// holds a private place. False with ERROR otherwise. Check before creating it on the host.
bool outputDirUsable(const std::string &dir, std::string &error);

// Builds a sandbox, starts SERVICES in it, runs COMMAND (a program and its arguments,
// searched in PATH) and tears everything down when the command ends. Returns the command's
// exit status (128 + signal when killed); 125 when the sandbox cannot be built (the reason
// is on stderr), or -1 with ERROR when the caller's arguments are unusable.
int runInSandbox(const SandboxOptions &options, const ServicesMain &services,
                 const std::vector<std::string> &command, std::string &error);

}  // namespace possim

#endif
