// pos-sim: the simulated terminal.
//   pos-sim run [--scenario FILE] [--out DIR] [--name NAME] [--rw DIR]... [--keep DIR]...
//               [--web [ADDR:]PORT] -- COMMAND [ARGS...]
//   pos-sim shell [--scenario FILE] [--out DIR] [--name NAME] [--rw DIR]... [--keep DIR]...
//               [--web [ADDR:]PORT]
//   pos-sim ctl [--name NAME | --out DIR] SERVICE COMMAND | list
// Builds a sandbox in which every fixed path of the terminal exists privately, starts the
// terminal's processes in it, runs the command against them and tears everything down,
// returning the command's exit status.
//
// Inside the sandbox start-up goes in stages, each undone in reverse order on the way out:
//   shared memory, system state and local servers -> service manager -> services -> command.
// The supervisor of the services answers the control console (`pos-sim ctl`) inside; from the
// host a run is reached by its name, through a socket this process relays into the sandbox.
#include <sys/socket.h>
#include <sys/stat.h>
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

#include "Registry.h"
#include "Supervisor.h"
#include "control/control.h"
#include "sandbox/sandbox.h"
#include "scenario/scenario.h"
#include "servers/local_servers.h"
#include "servers/system_state.h"
#include "web/WebAccess.h"
#include "web/WebServer.h"

namespace {

const int kStartTimeoutMs = 10000;

struct Options {
    std::string scenarioPath;
    std::string outDir;
    std::string name;  // --name: how `pos-sim ctl` reaches the run from the host
    bool shell = false;
    std::vector<std::string> writableDirs;  // --rw: host directories the command may change
    std::vector<std::string> keepDirs;      // --keep: host directories it must see
    std::vector<std::string> command;
    std::string web;  // --web [ADDR:]PORT: serve the terminal's page there
};

void usage(FILE *to) {
    fprintf(to,
            "usage: pos-sim run [--scenario FILE] [--out DIR] [--name NAME] [--rw DIR]... "
            "[--keep DIR]... [--web [ADDR:]PORT] -- COMMAND [ARGS...]\n"
            "       pos-sim shell [--scenario FILE] [--out DIR] [--name NAME] [--rw DIR]... "
            "[--keep DIR]... [--web [ADDR:]PORT]\n"
            "       pos-sim ctl [--name NAME | --out DIR] SERVICE COMMAND | list\n"
            "       pos-sim ctl --help\n");
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
        } else if (strcmp(argv[i], "--name") == 0 && i + 1 < argc) {
            opts->name = argv[++i];
        } else if (strcmp(argv[i], "--rw") == 0 && i + 1 < argc) {
            opts->writableDirs.push_back(argv[++i]);
        } else if (strcmp(argv[i], "--keep") == 0 && i + 1 < argc) {
            opts->keepDirs.push_back(argv[++i]);
        } else if (strcmp(argv[i], "--web") == 0 && i + 1 < argc) {
            opts->web = argv[++i];
        } else {
            return false;
        }
    }
    for (++i; i < argc; ++i) opts->command.push_back(argv[i]);
    if (verb == "shell") {
        opts->shell = true;
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

std::string requestLogPath(const std::string &outDir) {
    if (outDir.empty()) return std::string(possim::kStatusDir) + "/requests.log";
    return outDir + "/requests.log";
}

// The terminal's side of the sandbox: runs until pos-sim tears it down with SIGTERM.
int serveTerminal(const possim::Scenario &scenario, const std::string &outDir, int consoleChannel,
                  const std::function<void()> &ready) {
    std::string logFile = requestLogPath(outDir);
    std::error_code ignored;
    std::filesystem::create_directories(possim::kStatusDir, ignored);
    std::ofstream(logFile, std::ios::trunc);
    // Where services that make files (speech audio) put them; empty without --out.
    possim::writeStatus("out_dir", outDir);

    possim::LocalServers servers(scenario, logFile);
    std::string error;
    if (!servers.start(error)) {
        fprintf(stderr, "pos-sim: %s\n", error.c_str());
        return 1;
    }
    possim::Supervisor binder(scenario.raw);
    if (!binder.start(error) ||
        !binder.serveConsole(possim::ctl::kInsideSocket, consoleChannel, error)) {
        fprintf(stderr, "pos-sim: %s\n", error.c_str());
        return 1;
    }
    ready();

    sigset_t term;
    sigemptyset(&term);
    sigaddset(&term, SIGTERM);
    int sig = 0;
    sigwait(&term, &sig);
    return 0;
}

// Warns about what the scenario holds that nothing reads, and refuses a service section the
// service cannot start from (before any sandbox is built).
bool checkScenario(const possim::Scenario &scenario, const std::string &file) {
    for (const std::string &part : possim::unknownParts(scenario.raw, possim::scenarioKeys())) {
        fprintf(stderr, "pos-sim: warning: scenario %s: %s\n", file.c_str(), part.c_str());
    }
    for (const possim::ServiceEntry &entry : possim::simulatedServices()) {
        try {
            entry.make(scenario.raw.value(entry.section, nlohmann::json::object()));
        } catch (const std::exception &e) {
            fprintf(stderr, "pos-sim: scenario %s: section \"%s\": %s\n", file.c_str(),
                    entry.section, e.what());
            return false;
        }
    }
    return true;
}

// The page shows the run's output files: without --out it gets a directory of its own.
std::string defaultWebOutDir(const std::string &name) {
    const char *cache = getenv("XDG_CACHE_HOME");
    const char *home = getenv("HOME");
    std::string base = cache != nullptr && cache[0] == '/' ? cache
                       : home != nullptr && home[0] == '/' ? std::string(home) + "/.cache"
                                                           : "";
    return base.empty() ? "" : base + "/pos-sim/" + name;
}

// Starts the page on the console of run NAME and tells the person where it is (and writes
// the address, token included, to the output directory's "pos-sim.web", readable by its
// owner only).
bool startWebPage(const Options &opts, possim::web::WebServer &server) {
    possim::web::WebOptions web;
    std::string error;
    if (!possim::web::parseListenAddress(opts.web, web.address, web.port, error)) {
        fprintf(stderr, "pos-sim: %s\n", error.c_str());
        return false;
    }
    std::string dir = possim::ctl::hostSocketDir(error);
    web.console = possim::ctl::hostSocketPath(dir, opts.name);
    web.outDir = opts.outDir;
    if (dir.empty() || !server.start(web, error)) {
        fprintf(stderr, "pos-sim: %s\n", error.c_str());
        return false;
    }
    std::string file = opts.outDir + "/pos-sim.web";
    FILE *out = fopen(file.c_str(), "w");
    if (out != nullptr) {
        fchmod(fileno(out), 0600);
        fprintf(out, "%s\n", server.url().c_str());
        fclose(out);
    }
    fprintf(stderr, "pos-sim: the terminal's page: %s\n", server.url().c_str());
    return true;
}

// With a person at the page, it stays up after the command ends (showing its output) until
// Ctrl-C; a script gets its exit status at once.
void lingerForPage(int status) {
    if (!isatty(STDIN_FILENO)) return;
    fprintf(stderr,
            "pos-sim: the command ended (status %d); the page shows its output until Ctrl-C\n",
            status);
    sigset_t stop;
    sigemptyset(&stop);
    sigaddset(&stop, SIGINT);
    sigaddset(&stop, SIGTERM);
    sigprocmask(SIG_BLOCK, &stop, nullptr);
    int sig = 0;
    sigwait(&stop, &sig);
}

}  // namespace

int main(int argc, char **argv) {
    if (argc >= 2 && strcmp(argv[1], "ctl") == 0) {
        return possim::ctl::ctlMain(std::vector<std::string>(argv + 2, argv + argc));
    }
    if (argc == 2 && (strcmp(argv[1], "--help") == 0 || strcmp(argv[1], "-h") == 0)) {
        usage(stdout);
        return 0;
    }
    Options opts;
    if (!parseOptions(argc, argv, &opts)) {
        usage(stderr);
        return 2;
    }
    possim::Scenario scenario = possim::defaultScenario();
    std::string error;
    if (!opts.scenarioPath.empty() && !possim::loadScenario(opts.scenarioPath, scenario, error)) {
        fprintf(stderr, "pos-sim: scenario %s: %s\n", opts.scenarioPath.c_str(), error.c_str());
        return 2;
    }
    if (!checkScenario(scenario, opts.scenarioPath)) return 2;
    if (opts.name.empty()) opts.name = "run-" + std::to_string(getpid());
    if (!opts.web.empty() && opts.outDir.empty()) opts.outDir = defaultWebOutDir(opts.name);
    if (!prepareOutDir(&opts.outDir)) return 2;
    // Inside the sandbox the binder lives at its default place in the private /tmp.
    unsetenv("POS_BINDER_DIR");

    // The console from the host: a channel into the sandbox, made before it is.
    int channel[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, channel) != 0) {
        perror("pos-sim: socketpair");
        return 125;
    }
    possim::ctl::HostRelay relay;
    if (!relay.start(opts.name, opts.outDir, channel[0], error)) {
        fprintf(stderr, "pos-sim: %s\n", error.c_str());
        return 2;
    }
    possim::web::WebServer page;
    if (!opts.web.empty() && !startWebPage(opts, page)) return 2;
    if (opts.shell) {
        fprintf(stderr, "pos-sim: this terminal is run %s (pos-sim ctl --name %s ...)\n",
                opts.name.c_str(), opts.name.c_str());
    }

    possim::SandboxOptions sandbox;
    sandbox.outDir = opts.outDir;
    sandbox.writableDirs = opts.writableDirs;
    sandbox.keepDirs = opts.keepDirs;
    sandbox.readyTimeoutMs = 3 * kStartTimeoutMs;
    int status = possim::runInSandbox(
        sandbox,
        [&](const std::function<void()> &ready) {
            close(channel[0]);
            return serveTerminal(scenario, opts.outDir, channel[1], ready);
        },
        opts.command, error);
    if (status < 0) {
        fprintf(stderr, "pos-sim: %s\n", error.c_str());
        return 125;
    }
    if (!opts.web.empty()) lingerForPage(status);
    return status;
}
