// The simulated terminal's sandbox: private mount, PID and user namespaces whose root is a
// fresh tmpfs holding read-only bind mounts of the host's top-level directories and private
// mounts of everything the terminal's library touches by fixed path: /tmp, /dev/shm,
// /customer/kivo, /dev/chn/4 and the board's /sys files. The command and the
// terminal's processes run in a further user namespace created once the tree is built, so
// they cannot make a host directory writable again. Nothing made inside reaches the host,
// except in the output directory and the directories named writable.
#ifndef POS_SIM_SANDBOX_H
#define POS_SIM_SANDBOX_H

#include <functional>
#include <string>
#include <vector>

namespace possim {

struct SandboxOptions {
    // Host directory bound writable at the same path inside; created if missing. Empty: none.
    std::string outDir;
    // Further host directories bound writable at the same path inside (pos-sim's --rw).
    std::vector<std::string> writableDirs;
    // Host directories that must stay visible (read-only) at the same path inside although a
    // private mount covers them (a build tree under the host's /tmp, say): pos-sim's --keep.
    // runInSandbox adds what the run itself needs: the working directory, pos-sim's own
    // directory, the command's and those of LD_LIBRARY_PATH.
    std::vector<std::string> keepDirs;
    // How long the services may take to become ready.
    int readyTimeoutMs = 10000;
};

// Runs inside the sandbox in a process of its own: starts the terminal's services, calls
// READY once they serve, and returns when SIGTERM arrives (it is blocked for the caller, so
// sigwait can take it). Its result is its exit status.
using ServicesMain = std::function<int(const std::function<void()> &ready)>;

// Whether DIR (absolute) may be bound into the sandbox as its output directory (or another
// host directory): not one that holds a private place. False with ERROR otherwise. Check
// before creating it on the host.
bool outputDirUsable(const std::string &dir, std::string &error);

// Builds a sandbox, starts SERVICES in it, runs COMMAND (a program and its arguments,
// searched in PATH) and tears everything down when the command ends. Returns the command's
// exit status (128 + signal when killed); 125 when the sandbox cannot be built (the reason
// is on stderr), or -1 with ERROR when the caller's arguments are unusable.
int runInSandbox(const SandboxOptions &options, const ServicesMain &services,
                 const std::vector<std::string> &command, std::string &error);

}  // namespace possim

#endif
