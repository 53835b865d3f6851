// pos-sim: the simulated terminal.
//   pos-sim run [--scenario FILE] [--out DIR] -- COMMAND [ARGS...]
//   pos-sim shell [--scenario FILE] [--out DIR]
// Starts the terminal's processes, runs the command against them and tears everything down,
// returning the command's exit status.
//
// Start-up goes in stages, each undone in reverse order on the way out:
//   options -> scenario -> binder directory -> service manager -> services -> command.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "ServiceHost.h"

namespace {

const int kStartTimeoutMs = 10000;

struct Options {
    std::string scenarioPath;
    std::string outDir;
    std::vector<std::string> command;
};

void usage() {
    fprintf(stderr,
            "usage: pos-sim run [--scenario FILE] [--out DIR] -- COMMAND [ARGS...]\n"
            "       pos-sim shell [--scenario FILE] [--out DIR]\n");
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
        } else {
            return false;
        }
    }
    for (++i; i < argc; ++i) opts->command.push_back(argv[i]);
    if (verb == "shell") {
        const char *shell = getenv("SHELL");
        opts->command = {shell != nullptr ? shell : "/bin/sh"};
    }
    return !opts->command.empty();
}

// The scenario's initial state; an absent file means every default.
bool loadScenario(const std::string &path, nlohmann::json *scenario) {
    *scenario = nlohmann::json::object();
    if (path.empty()) return true;
    std::ifstream in(path);
    if (!in) {
        fprintf(stderr, "pos-sim: cannot read scenario %s\n", path.c_str());
        return false;
    }
    try {
        in >> *scenario;
    } catch (const std::exception &e) {
        fprintf(stderr, "pos-sim: bad scenario %s: %s\n", path.c_str(), e.what());
        return false;
    }
    return true;
}

// Everything pos-sim started, so that tear-down can undo it.
struct Terminal {
    std::string binderDir;
    std::vector<pid_t> processes;  // in start order

    ~Terminal() {
        for (auto it = processes.rbegin(); it != processes.rend(); ++it) possim::stopProcess(*it);
        if (!binderDir.empty()) {
            std::error_code ignored;
            std::filesystem::remove_all(binderDir, ignored);
        }
    }
};

// Each run gets its own binder directory, so several terminals can run side by side.
bool makeBinderDirectory(Terminal *t) {
    char pattern[] = "/tmp/pos-sim.XXXXXX";
    if (mkdtemp(pattern) == nullptr) {
        perror("pos-sim: binder directory");
        return false;
    }
    t->binderDir = pattern;
    setenv("POS_BINDER_DIR", pattern, 1);
    return true;
}

bool startProcess(Terminal *t, const std::vector<std::string> &args) {
    pid_t pid = possim::spawnAndWaitReady(possim::serviceProgramPath(), args, kStartTimeoutMs);
    if (pid < 0) {
        fprintf(stderr, "pos-sim: %s did not start\n", args[0].c_str());
        return false;
    }
    t->processes.push_back(pid);
    return true;
}

bool startServices(Terminal *t, const nlohmann::json &scenario) {
    for (const auto &service : possim::simulatedServices()) {
        nlohmann::json section = scenario.value(service.key, nlohmann::json::object());
        if (!startProcess(t, {service.key, "--state", section.dump()})) return false;
    }
    return true;
}

volatile sig_atomic_t g_commandPid = 0;

void forwardSignal(int sig) {
    if (g_commandPid > 0) kill(g_commandPid, sig);
}

// Runs the command in the foreground and returns its exit status (128 + signal if killed).
int runCommand(const std::vector<std::string> &command) {
    pid_t pid = fork();
    if (pid < 0) {
        perror("pos-sim: fork");
        return 1;
    }
    if (pid == 0) {
        signal(SIGINT, SIG_DFL);
        signal(SIGTERM, SIG_DFL);
        std::vector<char *> argv;
        for (const auto &a : command) argv.push_back(const_cast<char *>(a.c_str()));
        argv.push_back(nullptr);
        execvp(argv[0], argv.data());
        fprintf(stderr, "pos-sim: cannot run %s: %s\n", argv[0], strerror(errno));
        _exit(127);
    }
    g_commandPid = pid;
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    g_commandPid = 0;
    if (WIFEXITED(status)) return WEXITSTATUS(status);
    return 128 + WTERMSIG(status);
}

}  // namespace

int main(int argc, char **argv) {
    Options opts;
    if (!parseOptions(argc, argv, &opts)) {
        usage();
        return 2;
    }
    nlohmann::json scenario;
    if (!loadScenario(opts.scenarioPath, &scenario)) return 2;
    if (!opts.outDir.empty()) {
        std::error_code error;
        std::filesystem::create_directories(opts.outDir, error);
    }

    // Interrupting pos-sim interrupts the command; tear-down still runs.
    signal(SIGINT, forwardSignal);
    signal(SIGTERM, forwardSignal);

    Terminal terminal;
    if (!makeBinderDirectory(&terminal)) return 1;
    if (!startProcess(&terminal, {"servicemanager"})) return 1;
    if (!startServices(&terminal, scenario)) return 1;
    return runCommand(opts.command);
}
