// pos-sandbox run [--scenario FILE] [--out DIR] -- COMMAND...
// pos-sandbox shell [--scenario FILE] [--out DIR]
// Runs COMMAND (or an interactive shell) inside a sandboxed terminal with its local servers.
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "sandbox/sandbox.h"
#include "scenario/scenario.h"
#include "servers/local_servers.h"
#include "servers/system_state.h"

namespace {

int usage() {
    fprintf(stderr,
            "usage: pos-sandbox run [--scenario FILE] [--out DIR] -- COMMAND...\n"
            "       pos-sandbox shell [--scenario FILE] [--out DIR]\n");
    return 2;
}

std::string requestLogPath(const std::string &outDir) {
    if (outDir.empty()) return std::string(possim::kStatusDir) + "/requests.log";
    return outDir + "/requests.log";
}

int serveUntilTerm(const possim::Scenario &scenario, const std::string &outDir,
                   const std::function<void()> &ready) {
    std::string logFile = requestLogPath(outDir);
    possim::writeStatus("requests.log", "");  // makes the status directory
    std::ofstream(logFile, std::ios::trunc);
    possim::LocalServers servers(scenario, logFile);
    std::string error;
    if (!servers.start(error)) {
        fprintf(stderr, "pos-sandbox: %s\n", error.c_str());
        return 1;
    }
    ready();
    sigset_t term;
    sigemptyset(&term);
    sigaddset(&term, SIGTERM);
    int sig = 0;
    sigwait(&term, &sig);
    servers.stop();
    return 0;
}

}  // namespace

int main(int argc, char **argv) {
    if (argc < 2) return usage();
    std::string mode = argv[1];
    if (mode != "run" && mode != "shell") return usage();
    std::string scenarioFile, outDir;
    std::vector<std::string> command;
    for (int i = 2; i < argc; ++i) {
        std::string arg = argv[i];
        if (arg == "--scenario" && i + 1 < argc) {
            scenarioFile = argv[++i];
        } else if (arg == "--out" && i + 1 < argc) {
            outDir = argv[++i];
        } else if (arg == "--") {
            command.assign(argv + i + 1, argv + argc);
            break;
        } else {
            return usage();
        }
    }
    if (mode == "shell") {
        const char *shell = getenv("SHELL");
        command = {shell != nullptr && shell[0] != '\0' ? shell : "/bin/sh"};
    }
    if (command.empty()) return usage();

    possim::Scenario scenario = possim::defaultScenario();
    std::string error;
    if (!scenarioFile.empty() && !possim::loadScenario(scenarioFile, scenario, error)) {
        fprintf(stderr, "pos-sandbox: scenario: %s\n", error.c_str());
        return 2;
    }
    if (!outDir.empty()) {
        std::error_code ec;
        std::filesystem::create_directories(outDir, ec);
        char real[4096];
        if (ec || realpath(outDir.c_str(), real) == nullptr) {
            fprintf(stderr, "pos-sandbox: cannot use %s\n", outDir.c_str());
            return 2;
        }
        outDir = real;
    }
    possim::SandboxOptions options;
    options.outDir = outDir;
    int rc = possim::runInSandbox(
        options,
        [&](const std::function<void()> &ready) { return serveUntilTerm(scenario, outDir, ready); },
        command, error);
    if (rc < 0) {
        fprintf(stderr, "pos-sandbox: %s\n", error.c_str());
        return 125;
    }
    return rc;
}
