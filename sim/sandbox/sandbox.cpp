#include "sandbox/sandbox.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

namespace possim {

namespace {

// The staging point of the new root: any existing directory will do, since the mount is
// made in our private namespace only; /tmp always exists and is replaced inside anyway.
const char *const kNewRoot = "/tmp";

struct Failure {
    std::string what;
};

[[noreturn]] void fail(const std::string &what) {
    throw Failure{what + ": " + strerror(errno)};
}

void writeText(const std::string &path, const std::string &text) {
    int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (fd < 0) fail("create " + path);
    bool ok = write(fd, text.data(), text.size()) == ssize_t(text.size());
    close(fd);
    if (!ok) fail("write " + path);
}

void makeDirs(const std::string &path, mode_t mode = 0755) {
    for (size_t pos = 1; pos != std::string::npos;) {
        pos = path.find('/', pos + 1);
        std::string part = path.substr(0, pos);
        if (mkdir(part.c_str(), mode) != 0 && errno != EEXIST) fail("mkdir " + part);
    }
}

void mountFs(const char *type, const std::string &target, unsigned long flags, const char *data) {
    makeDirs(target);
    if (mount(type, target.c_str(), type, flags, data) != 0) fail("mount " + target);
}

void bindMount(const std::string &source, const std::string &target, bool isDir) {
    if (isDir) {
        makeDirs(target);
    } else {
        makeDirs(target.substr(0, target.rfind('/')));
        writeText(target, "");
    }
    if (mount(source.c_str(), target.c_str(), nullptr, MS_BIND | MS_REC, nullptr) != 0) {
        fail("bind " + source);
    }
}

// The host's top level, less what the terminal has its own of.
void bindHostTopLevel(const std::string &root) {
    DIR *dir = opendir("/");
    if (dir == nullptr) fail("opendir /");
    while (dirent *e = readdir(dir)) {
        std::string name = e->d_name;
        if (name == "." || name == ".." || name == "proc" || name == "dev" || name == "sys" ||
            name == "tmp" || name == "customer") {
            continue;
        }
        std::string host = "/" + name;
        struct stat st;
        if (lstat(host.c_str(), &st) != 0) continue;
        if (S_ISLNK(st.st_mode)) {
            char target[PATH_MAX];
            ssize_t n = readlink(host.c_str(), target, sizeof target - 1);
            if (n < 0) continue;
            target[n] = '\0';
            if (symlink(target, (root + host).c_str()) != 0) fail("symlink " + host);
        } else if (S_ISDIR(st.st_mode)) {
            bindMount(host, root + host, true);
        }
    }
    closedir(dir);
}

// A pty whose terminal side stands at PATH; the master is kept open for the lifetime of
// the sandbox so that the device node answers like a quiet serial line.
void ptyDevice(const std::string &root, const std::string &path) {
    int master = open((root + "/dev/pts/ptmx").c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    unsigned number = 0;
    int unlock = 0;
    if (master < 0 || ioctl(master, TIOCSPTLCK, &unlock) != 0 ||
        ioctl(master, TIOCGPTN, &number) != 0) {
        if (master >= 0) close(master);
        writeText(root + path, "");  // no pty here: a placeholder node
        return;
    }
    bindMount(root + "/dev/pts/" + std::to_string(number), root + path, false);
}

void buildDev(const std::string &root) {
    std::string dev = root + "/dev";
    mountFs("tmpfs", dev, MS_NOSUID, "mode=0755");
    for (const char *node : {"null", "zero", "full", "random", "urandom", "tty"}) {
        bindMount(std::string("/dev/") + node, dev + "/" + node, false);
    }
    makeDirs(dev + "/pts");
    if (mount("devpts", (dev + "/pts").c_str(), "devpts", MS_NOSUID | MS_NOEXEC,
              "newinstance,ptmxmode=0666,mode=0620") != 0) {
        bindMount("/dev/pts", dev + "/pts", true);
    }
    if (symlink("pts/ptmx", (dev + "/ptmx").c_str()) != 0) fail("symlink ptmx");
    mountFs("tmpfs", dev + "/shm", MS_NOSUID | MS_NODEV, "mode=1777");
    if (symlink("/proc/self/fd", (dev + "/fd").c_str()) != 0) fail("symlink fd");
    symlink("/proc/self/fd/0", (dev + "/stdin").c_str());
    symlink("/proc/self/fd/1", (dev + "/stdout").c_str());
    symlink("/proc/self/fd/2", (dev + "/stderr").c_str());
    makeDirs(dev + "/chn");
    ptyDevice(root, "/dev/chn/4");
    ptyDevice(root, "/dev/ttyGS0");
}

// The board driver's, battery's, GPIO's and touch panel's attribute files.
void buildSys(const std::string &root) {
    mountFs("tmpfs", root + "/sys", MS_NOSUID | MS_NODEV, "mode=0755");
    const std::string kivosys = root + "/sys/bus/platform/drivers/kivosys";
    makeDirs(kivosys);
    writeText(kivosys + "/hw_version", "V2\n");
    writeText(kivosys + "/ctp_stress", "0\n");
    makeDirs(root + "/sys/class/power_supply/rm45k-battery");
    writeText(root + "/sys/class/power_supply/rm45k-battery/serial_mode", "0\n");
    makeDirs(root + "/sys/class/gpio/gpio53");
    writeText(root + "/sys/class/gpio/gpio53/value", "1\n");
}

void buildProc(const std::string &root) {
    makeDirs(root + "/proc");
    if (mount("proc", (root + "/proc").c_str(), "proc", MS_NOSUID | MS_NODEV | MS_NOEXEC,
              nullptr) != 0) {
        // A host /proc with masked entries forbids a fresh one without privilege.
        bindMount("/proc", root + "/proc", true);
    }
}

void enterRoot(const std::string &root) {
    if (chdir(root.c_str()) != 0) fail("chdir new root");
    makeDirs(root + "/.oldroot");
    if (syscall(SYS_pivot_root, ".", ".oldroot") != 0) fail("pivot_root");
    if (chdir("/") != 0) fail("chdir /");
    if (umount2("/.oldroot", MNT_DETACH) != 0) fail("umount old root");
    rmdir("/.oldroot");
}

// Builds the whole tree and enters it.
void buildSandbox(const std::vector<std::string> &keepDirs) {
    if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) fail("make / private");
    // Held open before /tmp is covered, since these may live under the host's /tmp.
    // (A descriptor from before unshare would name the host's namespace: binds refuse it.)
    std::vector<int> keepFds;
    for (const std::string &dir : keepDirs) {
        int fd = open(dir.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
        if (fd < 0) fail("open " + dir);
        keepFds.push_back(fd);
    }
    const std::string root = kNewRoot;
    mountFs("tmpfs", root, MS_NOSUID, "mode=0755");
    bindHostTopLevel(root);
    buildProc(root);
    buildDev(root);
    buildSys(root);
    mountFs("tmpfs", root + "/tmp", MS_NOSUID | MS_NODEV, "mode=1777");
    mountFs("tmpfs", root + "/customer/kivo", MS_NOSUID | MS_NODEV, "mode=0755");
    makeDirs(root + "/customer/kivo/fonts");
    makeDirs(root + "/customer/kivo/mcudir");
    for (size_t i = 0; i < keepDirs.size(); ++i) {
        bindMount("/proc/self/fd/" + std::to_string(keepFds[i]), root + keepDirs[i], true);
        close(keepFds[i]);
    }
    enterRoot(root);
}

// The sandbox's own place ("/tmp", "/dev", ...) at or below the absolute path DIR, or null.
const char *coveredPrivatePlace(const std::string &dir) {
    // The sandbox's own mounts: a host directory bound in at or above one of them would put
    // the host's files in its place.
    static const char *const kPrivatePlaces[] = {"/tmp", "/customer/kivo", "/dev", "/sys", "/proc"};
    std::string d = dir;
    while (d.size() > 1 && d.back() == '/') d.pop_back();
    for (const char *place : kPrivatePlaces) {
        std::string p = place;
        if (d == "/" || p == d || p.compare(0, d.size() + 1, d + "/") == 0) return place;
    }
    return nullptr;
}

// The directory under one of the privately covered trees that holds PATH ("/tmp/ci/build/x"
// gives "/tmp/ci"), or empty when PATH is not covered.
std::string coveredTopDir(const std::string &path) {
    for (const char *covered : {"/tmp/", "/customer/"}) {
        size_t len = strlen(covered);
        if (path.compare(0, len, covered) != 0) continue;
        size_t end = path.find('/', len);
        return path.substr(0, end);
    }
    return "";
}

// What the run needs of the host's covered trees: its output, its working directory, the
// programs it starts (pos-sim's own directory and the command's).
std::vector<std::string> dirsToKeep(const SandboxOptions &options, const std::string &cwd,
                                    const std::string &program) {
    std::vector<std::string> keep = options.keepDirs;
    if (!options.outDir.empty()) keep.push_back(options.outDir);
    char real[PATH_MAX];
    std::vector<std::string> used = {cwd};
    ssize_t n = readlink("/proc/self/exe", real, sizeof real - 1);
    if (n > 0) used.push_back(std::string(real, n));
    if (program.find('/') != std::string::npos && realpath(program.c_str(), real) != nullptr)
        used.push_back(real);
    for (const std::string &path : used) {
        std::string top = coveredTopDir(path);
        if (!top.empty() && coveredPrivatePlace(top) == nullptr) keep.push_back(top);
    }
    // Outer directories first, so an inner one is not hidden by its parent's mount.
    std::sort(keep.begin(), keep.end());
    keep.erase(std::unique(keep.begin(), keep.end()), keep.end());
    return keep;
}

void writeIdMaps(uid_t uid, gid_t gid) {
    writeText("/proc/self/setgroups", "deny");
    writeText("/proc/self/uid_map", "0 " + std::to_string(uid) + " 1\n");
    writeText("/proc/self/gid_map", "0 " + std::to_string(gid) + " 1\n");
}

int statusOf(int wait) {
    if (WIFEXITED(wait)) return WEXITSTATUS(wait);
    if (WIFSIGNALED(wait)) return 128 + WTERMSIG(wait);
    return 1;
}

volatile sig_atomic_t g_forwardTo = 0;

void forwardSignal(int sig) {
    if (g_forwardTo > 0) kill(g_forwardTo, sig);
}

void forwardSignalsTo(pid_t pid) {
    g_forwardTo = pid;
    struct sigaction sa;
    memset(&sa, 0, sizeof sa);
    sa.sa_handler = forwardSignal;
    for (int sig : {SIGTERM, SIGINT, SIGHUP, SIGQUIT}) sigaction(sig, &sa, nullptr);
}

pid_t startServices(const ServicesMain &services, int readyFd) {
    pid_t pid = fork();
    if (pid != 0) return pid;
    sigset_t term;
    sigemptyset(&term);
    sigaddset(&term, SIGTERM);
    sigprocmask(SIG_BLOCK, &term, nullptr);
    signal(SIGINT, SIG_IGN);  // the command decides what ^C means; teardown stops us
    auto ready = [readyFd] {
        char byte = 1;
        if (write(readyFd, &byte, 1) != 1) _exit(1);
    };
    int rc = 1;
    try {
        rc = services(ready);
    } catch (...) {
    }
    fflush(nullptr);
    _exit(rc);
}

bool waitReady(int fd, int timeoutMs) {
    pollfd p = {fd, POLLIN, 0};
    char byte;
    return poll(&p, 1, timeoutMs) == 1 && read(fd, &byte, 1) == 1;
}

pid_t startCommand(const std::vector<std::string> &command) {
    std::vector<char *> argv;
    for (const auto &a : command) argv.push_back(const_cast<char *>(a.c_str()));
    argv.push_back(nullptr);
    pid_t pid = fork();
    if (pid == 0) {
        execvp(argv[0], argv.data());
        fprintf(stderr, "pos-sim: cannot run %s: %s\n", argv[0], strerror(errno));
        _exit(127);
    }
    return pid;
}

// Stops the services, then everything else in the namespace.
void tearDown(pid_t services) {
    kill(services, SIGTERM);
    for (int i = 0; i < 40; ++i) {
        int st;
        pid_t done = waitpid(services, &st, WNOHANG);
        if (done == services || (done < 0 && errno == ECHILD)) break;
        usleep(50000);
    }
    kill(-1, SIGKILL);
    while (waitpid(-1, nullptr, 0) > 0 || errno == EINTR) {
    }
}

// PID 1 of the sandbox: builds it, runs services and command, reaps orphans.
[[noreturn]] void sandboxInit(const SandboxOptions &options, const ServicesMain &services,
                              const std::vector<std::string> &command, const std::string &cwd) {
    try {
        buildSandbox(options.keepDirs);
    } catch (const Failure &f) {
        fprintf(stderr, "pos-sim: sandbox: %s\n", f.what.c_str());
        _exit(125);
    }
    if (chdir(cwd.c_str()) != 0 && chdir("/") != 0) _exit(125);

    int ready[2];
    if (pipe2(ready, O_CLOEXEC) != 0) _exit(125);
    pid_t servicesPid = startServices(services, ready[1]);
    close(ready[1]);
    if (!waitReady(ready[0], options.readyTimeoutMs)) {
        fprintf(stderr, "pos-sim: the simulated services did not start\n");
        tearDown(servicesPid);
        _exit(125);
    }
    close(ready[0]);

    pid_t commandPid = startCommand(command);
    if (commandPid < 0) {
        // Waiting for it below would wait for the services, which never end by themselves.
        fprintf(stderr, "pos-sim: cannot start the command: %s\n", strerror(errno));
        tearDown(servicesPid);
        _exit(125);
    }
    forwardSignalsTo(commandPid);
    int result = 1;
    for (;;) {
        int st;
        pid_t pid = waitpid(-1, &st, 0);
        if (pid < 0 && errno == EINTR) continue;
        if (pid < 0 || pid == commandPid) {
            result = pid < 0 ? 1 : statusOf(st);
            break;
        }
    }
    g_forwardTo = 0;
    tearDown(servicesPid);
    fflush(nullptr);
    _exit(result);
}

int waitForChild(pid_t pid) {
    forwardSignalsTo(pid);
    int st = 0;
    while (waitpid(pid, &st, 0) < 0) {
        if (errno != EINTR) {
            st = -1;
            break;
        }
    }
    g_forwardTo = 0;
    return st < 0 ? 125 : statusOf(st);
}

// Enters the namespaces in a process of its own, so that the caller stays in the host's
// (where it can still start processes and threads once the sandbox is gone), and waits
// for the sandbox's init. Setup failures are reported on stderr with status 125.
[[noreturn]] void sandboxKeeper(const SandboxOptions &options, const ServicesMain &services,
                                const std::vector<std::string> &command, const std::string &cwd,
                                pid_t caller) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != caller) _exit(125);  // the caller died before the line above took hold
    uid_t uid = getuid();
    gid_t gid = getgid();
    int flags = CLONE_NEWNS | CLONE_NEWPID | (uid != 0 ? CLONE_NEWUSER : 0);
    try {
        if (unshare(flags) != 0) fail("unshare");
        if (uid != 0) writeIdMaps(uid, gid);
    } catch (const Failure &f) {
        fprintf(stderr, "pos-sim: sandbox: %s\n", f.what.c_str());
        _exit(125);
    }
    pid_t init = fork();
    if (init < 0) _exit(125);
    if (init == 0) {
        // If the keeper dies, the whole sandbox goes with it.
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        sandboxInit(options, services, command, cwd);
    }
    _exit(waitForChild(init));
}

}  // namespace

bool outputDirUsable(const std::string &dir, std::string &error) {
    const char *place = coveredPrivatePlace(dir);
    if (place == nullptr) return true;
    error = dir + ": cannot be the output directory, it would cover the sandbox's " + place;
    return false;
}

int runInSandbox(const SandboxOptions &options, const ServicesMain &services,
                 const std::vector<std::string> &command, std::string &error) {
    if (command.empty()) {
        error = "no command";
        return -1;
    }
    SandboxOptions opts = options;
    if (!opts.outDir.empty()) {
        if (!outputDirUsable(opts.outDir, error)) return -1;
        try {
            makeDirs(opts.outDir);
        } catch (const Failure &f) {
            error = f.what;
            return -1;
        }
        char real[PATH_MAX];
        if (realpath(opts.outDir.c_str(), real) == nullptr) {
            error = opts.outDir + ": " + strerror(errno);
            return -1;
        }
        opts.outDir = real;
        if (!outputDirUsable(opts.outDir, error)) return -1;  // a link may lead elsewhere
    }
    char cwd[PATH_MAX];
    if (getcwd(cwd, sizeof cwd) == nullptr) strcpy(cwd, "/");
    opts.keepDirs = dirsToKeep(opts, cwd, command[0]);

    pid_t caller = getpid();
    pid_t keeper = fork();
    if (keeper < 0) {
        error = std::string("fork: ") + strerror(errno);
        return -1;
    }
    if (keeper == 0) sandboxKeeper(opts, services, command, cwd, caller);
    return waitForChild(keeper);
}

}  // namespace possim
