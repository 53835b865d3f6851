#include "servers/local_servers.h"

#include <errno.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <filesystem>

#include "servers/init_server.h"
#include "servers/listener.h"
#include "servers/package_server.h"
#include "servers/system_state.h"
#include "servers/upgrade_servers.h"

namespace possim {

namespace {

// A server that stops sooner than this after its start waits as long before the next one, so
// a server that cannot start does not spin.
constexpr long long kRestartPauseMs = 1000;

long long nowMs() {
    timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return ts.tv_sec * 1000LL + ts.tv_nsec / 1000000;
}

sigset_t supervisorSignals() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGCHLD);
    sigaddset(&set, SIGTERM);
    return set;
}

std::string describeEnd(int status) {
    if (WIFSIGNALED(status)) {
        return std::string("killed by signal ") + std::to_string(WTERMSIG(status)) + ", " +
               strsignal(WTERMSIG(status));
    }
    return "exit status " + std::to_string(WEXITSTATUS(status));
}

// Serves LISTENFD with HANDLER until SIGTERM (blocked, so it can be waited for).
[[noreturn]] void serveUntilTerminated(int listenFd, Listener::Handler handler) {
    Listener listener(listenFd, std::move(handler));
    std::string error;
    if (!listener.start(error)) {
        fprintf(stderr, "pos-sim: %s\n", error.c_str());
        _exit(1);
    }
    sigset_t term;
    sigemptyset(&term);
    sigaddset(&term, SIGTERM);
    int sig = 0;
    sigwait(&term, &sig);
    _exit(0);
}

}  // namespace

LocalServers::LocalServers(Scenario scenario, std::string requestLogFile, LocalServerPaths paths)
    : scenario_(std::move(scenario)), paths_(std::move(paths)), log_(std::move(requestLogFile)) {}

LocalServers::~LocalServers() {
    stop();
}

bool LocalServers::start(std::string &error) {
    if (!systemBlock_.create(kSystemBlock, kSystemBlockBytes, true) ||
        !childBlock_.create(kChildBlock, kChildBlockBytes, true)) {
        error = "cannot create the shared-memory blocks";
        return false;
    }
    seedCustomSettings(systemBlock_, scenario_.custom);
    if (!publishSystemState(scenario_, error)) return false;
    std::error_code ec;
    std::filesystem::create_directories(paths_.stagingDir, ec);
    std::filesystem::create_directories(paths_.appsDir, ec);

    servers_ = {{kPackage, "package", "pkg"},
                {kInitCommand, "init command", "initcmd"},
                {kFirmware, "firmware", "bserver"},
                {kUpgrade, "upgrade", "upgrade"}};
    const std::string *paths[kKinds] = {&paths_.package, &paths_.initCommand, &paths_.firmware,
                                        &paths_.upgrade};
    for (Server &server : servers_) {
        server.listenFd = listenOn(*paths[server.kind], error);
        if (server.listenFd < 0) return false;
    }
    sigset_t signals = supervisorSignals();
    sigset_t previous;
    pthread_sigmask(SIG_BLOCK, &signals, &previous);
    pid_t parent = getpid();
    supervisor_ = fork();
    if (supervisor_ == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != parent) _exit(1);
        supervise();
    }
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    for (Server &server : servers_) close(server.listenFd);
    if (supervisor_ < 0) {
        error = std::string("cannot start the local servers: ") + strerror(errno);
        return false;
    }
    return true;
}

void LocalServers::stop() {
    if (supervisor_ <= 0) return;
    kill(supervisor_, SIGTERM);
    while (waitpid(supervisor_, nullptr, 0) < 0 && errno == EINTR) {
    }
    supervisor_ = -1;
}

void LocalServers::supervise() {
    for (Server &server : servers_) startServer(server);
    sigset_t signals = supervisorSignals();
    for (;;) {
        siginfo_t info;
        int sig = sigwaitinfo(&signals, &info);
        if (sig == SIGTERM) {
            for (const Server &server : servers_) kill(server.pid, SIGKILL);
            while (waitpid(-1, nullptr, 0) > 0 || errno == EINTR) {
            }
            _exit(0);
        }
        int status = 0;
        pid_t pid;
        while ((pid = waitpid(-1, &status, WNOHANG)) > 0) {
            for (Server &server : servers_) {
                if (server.pid == pid) restart(server, status);
            }
        }
    }
}

void LocalServers::restart(Server &server, int status) {
    std::string how = describeEnd(status);
    fprintf(stderr, "pos-sim: the %s server stopped (%s); restarting it\n", server.name,
            how.c_str());
    log_.record(server.tag, 0, "server stopped (" + how + ")", "restarted");
    long long ranMs = nowMs() - server.startedMs;
    if (ranMs < kRestartPauseMs) usleep(useconds_t((kRestartPauseMs - ranMs) * 1000));
    startServer(server);
}

pid_t LocalServers::startServer(Server &server) {
    pid_t supervisor = getpid();
    server.startedMs = nowMs();
    server.pid = fork();
    if (server.pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != supervisor) _exit(1);
        runServer(server);
    }
    if (server.pid < 0) fprintf(stderr, "pos-sim: cannot start the %s server\n", server.name);
    return server.pid;
}

void LocalServers::runServer(const Server &server) {
    for (const Server &other : servers_) {
        if (other.kind != server.kind) close(other.listenFd);
    }
    // SIGTERM stays blocked for the wait below; nothing else does.
    sigset_t term;
    sigemptyset(&term);
    sigaddset(&term, SIGTERM);
    pthread_sigmask(SIG_SETMASK, &term, nullptr);
    writeStatus(std::string("pid.") + server.tag, std::to_string(getpid()));
    int fd = server.listenFd;
    switch (server.kind) {
        case kPackage: {
            PackageServer package(scenario_, log_, childBlock_, paths_.appsDir);
            serveUntilTerminated(fd, [&package](int client) { package.handle(client); });
        }
        case kInitCommand: {
            InitServer init(scenario_, log_);
            serveUntilTerminated(fd, [&init](int client) { init.handle(client); });
        }
        case kFirmware: {
            UpgradeServers upgrade(scenario_, log_, paths_.stagingDir);
            serveUntilTerminated(fd, [&upgrade](int client) { upgrade.handleFirmware(client); });
        }
        default: {
            UpgradeServers upgrade(scenario_, log_, paths_.stagingDir);
            serveUntilTerminated(fd, [&upgrade](int client) { upgrade.handleUpgrade(client); });
        }
    }
}

}  // namespace possim
