// pos-sim: the simulated terminal.
//   pos-sim run [--scenario FILE] [--out DIR] [--rw DIR]... [--keep DIR]... -- COMMAND [ARGS...]
//   pos-sim shell [--scenario FILE] [--out DIR] [--rw DIR]... [--keep DIR]...
// Builds a sandbox in which every fixed path of the terminal exists privately, starts the
// terminal's processes in it, runs the command against them and tears everything down,
// returning the command's exit status.
//
// Inside the sandbox start-up goes in stages, each undone in reverse order on the way out:
//   shared memory, system state and local servers -> service manager -> services -> command.
#include <pthread.h>
#include <signal.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "ServiceHost.h"
#include "sandbox/sandbox.h"
#include "scenario/scenario.h"
#include "servers/local_servers.h"
#include "servers/system_state.h"

namespace {

const int kStartTimeoutMs = 10000;

struct Options {
    std::string scenarioPath;
    std::string outDir;
    std::vector<std::string> writableDirs;  // --rw: host directories the command may change
    std::vector<std::string> keepDirs;      // --keep: host directories it must see
    std::vector<std::string> command;
};

void usage() {
    fprintf(stderr,
            "usage: pos-sim run [--scenario FILE] [--out DIR] [--rw DIR]... [--keep DIR]... -- "
            "COMMAND [ARGS...]\n"
            "       pos-sim shell [--scenario FILE] [--out DIR] [--rw DIR]... [--keep DIR]...\n");
}

// The shell finds pos-pkg (built beside pos-sim) to call the local servers by hand.
void addOwnDirectoryToPath() {
    std::error_code error;
    std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error) return;
    const char *path = getenv("PATH");
    std::string value =
        self.parent_path().string() + (path != nullptr ? ":" + std::string(path) : "");
    setenv("PATH", value.c_str(), 1);
}

bool parseOptions(int argc, char **argv, Options *opts) {
    if (argc < 2) return false;
    std::string verb = argv[1];
    if (verb != "run" && verb != "shell") return false;
    int i = 2;
    for (; i < argc && strcmp(argv[i], "--") != 0; ++i) {
        if (strcmp(argv[i], "--scenario") == 0 && i + 1 < argc) {
            opts->scenarioPath = argv[++i];
        } else if (strcmp(argv[i], "--out") == 0 && i + 1 < argc) {
            opts->outDir = argv[++i];
        } else if (strcmp(argv[i], "--rw") == 0 && i + 1 < argc) {
            opts->writableDirs.push_back(argv[++i]);
        } else if (strcmp(argv[i], "--keep") == 0 && i + 1 < argc) {
            opts->keepDirs.push_back(argv[++i]);
        } else {
            return false;
        }
    }
    for (++i; i < argc; ++i) opts->command.push_back(argv[i]);
    if (verb == "shell") {
        const char *shell = getenv("SHELL");
        opts->command = {shell != nullptr && shell[0] != '\0' ? shell : "/bin/sh"};
        addOwnDirectoryToPath();
    }
    return !opts->command.empty();
}

// The output directory as an absolute path (it is mounted at the same path inside).
bool prepareOutDir(std::string *dir) {
    if (dir->empty()) return true;
    std::string refused;
    std::string absolute = std::filesystem::absolute(*dir).lexically_normal().string();
    if (!possim::outputDirUsable(absolute, refused)) {
        fprintf(stderr, "pos-sim: %s\n", refused.c_str());
        return false;
    }
    std::error_code error;
    std::filesystem::create_directories(*dir, error);
    std::filesystem::path real = std::filesystem::canonical(*dir, error);
    if (error) {
        fprintf(stderr, "pos-sim: cannot use %s: %s\n", dir->c_str(), error.message().c_str());
        return false;
    }
    *dir = real.string();
    return true;
}

// The binder processes pos-sim started, so that tear-down can undo them.
struct BinderProcesses {
    std::vector<pid_t> pids;  // in start order

    ~BinderProcesses() {
        for (auto it = pids.rbegin(); it != pids.rend(); ++it) possim::stopProcess(*it);
    }
};

bool startProcess(BinderProcesses *t, const std::vector<std::string> &args) {
    pid_t pid = possim::spawnAndWaitReady(possim::serviceProgramPath(), args, kStartTimeoutMs);
    if (pid < 0) {
        fprintf(stderr, "pos-sim: %s did not start\n", args[0].c_str());
        return false;
    }
    t->pids.push_back(pid);
    return true;
}

bool startBinderServices(BinderProcesses *t, const nlohmann::json &scenario) {
    // The sandbox blocks SIGTERM for us; the service processes must keep it, or stopping
    // them would wait out the grace period.
    sigset_t term;
    sigemptyset(&term);
    sigaddset(&term, SIGTERM);
    pthread_sigmask(SIG_UNBLOCK, &term, nullptr);
    bool ok = startProcess(t, {"servicemanager"});
    for (const auto &service : possim::simulatedServices()) {
        if (!ok) break;
        nlohmann::json section = scenario.value(service.key, nlohmann::json::object());
        ok = startProcess(t, {service.key, "--state", section.dump()});
    }
    pthread_sigmask(SIG_BLOCK, &term, nullptr);
    return ok;
}

std::string requestLogPath(const std::string &outDir) {
    if (outDir.empty()) return std::string(possim::kStatusDir) + "/requests.log";
    return outDir + "/requests.log";
}

// The terminal's side of the sandbox: runs until pos-sim tears it down with SIGTERM.
int serveTerminal(const possim::Scenario &scenario, const std::string &outDir,
                  const std::function<void()> &ready) {
    std::string logFile = requestLogPath(outDir);
    std::error_code ignored;
    std::filesystem::create_directories(possim::kStatusDir, ignored);
    std::ofstream(logFile, std::ios::trunc);

    possim::LocalServers servers(scenario, logFile);
    std::string error;
    if (!servers.start(error)) {
        fprintf(stderr, "pos-sim: %s\n", error.c_str());
        return 1;
    }
    BinderProcesses binder;
    if (!startBinderServices(&binder, scenario.raw)) return 1;
    ready();

    sigset_t term;
    sigemptyset(&term);
    sigaddset(&term, SIGTERM);
    int sig = 0;
    sigwait(&term, &sig);
    return 0;
}

}  // namespace

int main(int argc, char **argv) {
    Options opts;
    if (!parseOptions(argc, argv, &opts)) {
        usage();
        return 2;
    }
    possim::Scenario scenario = possim::defaultScenario();
    std::string error;
    if (!opts.scenarioPath.empty() && !possim::loadScenario(opts.scenarioPath, scenario, error)) {
        fprintf(stderr, "pos-sim: scenario %s: %s\n", opts.scenarioPath.c_str(), error.c_str());
        return 2;
    }
    if (!prepareOutDir(&opts.outDir)) return 2;
    // Inside the sandbox the binder lives at its default place in the private /tmp.
    unsetenv("POS_BINDER_DIR");

    possim::SandboxOptions sandbox;
    sandbox.outDir = opts.outDir;
    sandbox.writableDirs = opts.writableDirs;
    sandbox.keepDirs = opts.keepDirs;
    sandbox.readyTimeoutMs = 3 * kStartTimeoutMs;
    int status = possim::runInSandbox(
        sandbox,
        [&](const std::function<void()> &ready) {
            return serveTerminal(scenario, opts.outDir, ready);
        },
        opts.command, error);
    if (status < 0) {
        fprintf(stderr, "pos-sim: %s\n", error.c_str());
        return 125;
    }
    return status;
}
