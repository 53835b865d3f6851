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
#include <sys/statvfs.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <sstream>
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

// A host path bound into the sandbox at the same place.
struct HostBind {
    std::string path;  // absolute, links resolved
    bool writable;
    bool isDir;
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

void writeIdMaps(uid_t uid, gid_t gid) {
    writeText("/proc/self/setgroups", "deny");
    writeText("/proc/self/uid_map", "0 " + std::to_string(uid) + " 1\n");
    writeText("/proc/self/gid_map", "0 " + std::to_string(gid) + " 1\n");
}

// Makes the mount at TARGET and every mount below it read-only, without set-user-id programs
// or device nodes. Only adds restrictions, so it works in a user namespace too.
void makeReadOnly(const std::string &target) {
    mount_attr attr{};
    attr.attr_set = MOUNT_ATTR_RDONLY | MOUNT_ATTR_NOSUID | MOUNT_ATTR_NODEV;
    if (mount_setattr(AT_FDCWD, target.c_str(), AT_RECURSIVE, &attr, sizeof attr) == 0) return;
    if (errno != ENOSYS) fail("read-only " + target);
    // Kernels before 5.12: remount each mount of the tree, keeping the flags it has.
    std::ifstream mounts("/proc/self/mountinfo");
    std::string line;
    while (std::getline(mounts, line)) {
        std::istringstream fields(line);
        std::string id, parent, device, source, point;
        if (!(fields >> id >> parent >> device >> source >> point)) continue;
        if (point != target && point.compare(0, target.size() + 1, target + "/") != 0) continue;
        struct statvfs vfs;
        if (statvfs(point.c_str(), &vfs) != 0) continue;
        unsigned long keep = vfs.f_flag & (ST_NOEXEC | ST_NOATIME | ST_NODIRATIME | ST_RELATIME);
        if (mount(nullptr, point.c_str(), nullptr,
                  MS_REMOUNT | MS_BIND | MS_RDONLY | MS_NOSUID | MS_NODEV | keep, nullptr) != 0) {
            fail("read-only " + point);
        }
    }
}

// The host's top level, read-only, less what the terminal has its own of. /run is replaced as
// well: the host's daemons listen there, and a process that is root on the host could ask
// them to act for it.
void bindHostTopLevel(const std::string &root) {
    DIR *dir = opendir("/");
    if (dir == nullptr) fail("opendir /");
    while (dirent *e = readdir(dir)) {
        std::string name = e->d_name;
        if (name == "." || name == ".." || name == "proc" || name == "dev" || name == "sys" ||
            name == "tmp" || name == "customer" || name == "run") {
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
            makeReadOnly(root + host);
        }
    }
    closedir(dir);
}

// A private /run holding only the host's name-resolution state (/etc/resolv.conf may point
// there), read-only.
// The terminal's shell (busybox) has an echo that takes -e, which the library relies on to
// decode Wi-Fi names; Debian's /bin/sh (dash) echoes "-e" instead. Where the host has bash,
// it stands in for /bin/sh inside, read-only like the rest of the host.
void bindTerminalShell(const std::string &root) {
    if (access("/bin/bash", X_OK) != 0) return;
    char shell[PATH_MAX];
    if (realpath((root + "/bin/sh").c_str(), shell) == nullptr) return;
    // Only a file of the new root's own host binds is covered.
    if (strncmp(shell, root.c_str(), root.size()) != 0 || shell[root.size()] != '/') return;
    if (mount("/bin/bash", shell, nullptr, MS_BIND, nullptr) != 0) fail("bind /bin/bash");
    makeReadOnly(shell);
}

void buildRun(const std::string &root) {
    mountFs("tmpfs", root + "/run", MS_NOSUID | MS_NODEV, "mode=0755");
    const std::string resolve = "/run/systemd/resolve";
    struct stat st;
    if (stat(resolve.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) {
        bindMount(resolve, root + resolve, true);
        makeReadOnly(root + resolve);
    }
}

// A pty whose terminal side stands at PATH; the master is kept open for the lifetime of
// the sandbox so that the device node answers like a quiet serial line. It stays open across
// exec in every process the sandbox starts, so that the simulated device behind the node (the
// modem) can serve it; a process finds it by the pty's number.
void ptyDevice(const std::string &root, const std::string &path) {
    int master = open((root + "/dev/pts/ptmx").c_str(), O_RDWR | O_NOCTTY);
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
    // "/dev/ttyGS0" is the init command server's to make when USB serial starts.
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
    // Kernel settings are the host's: root inside must not change them.
    for (const char *entry : {"/proc/sys", "/proc/sysrq-trigger"}) {
        std::string path = root + entry;
        struct stat st;
        if (stat(path.c_str(), &st) != 0) continue;
        if (mount(path.c_str(), path.c_str(), nullptr, MS_BIND | MS_REC, nullptr) != 0)
            fail("bind " + path);
        makeReadOnly(path);
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

const char *const kTerminalFonts[] = {"HZK12.fnt", "HZK16_24.fnt"};

// The terminal's font files, generated beside pos-sim (fonts/), opened before the new root
// covers the host's /tmp (a build tree may live there); -1 for a file that is not there.
std::vector<int> openTerminalFonts() {
    std::vector<int> fds;
    char self[PATH_MAX];
    ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
    std::string from = n > 0 ? std::string(self, static_cast<size_t>(n)) : std::string();
    from = from.substr(0, from.rfind('/') + 1) + "fonts/";
    for (const char *name : kTerminalFonts)
        fds.push_back(n > 0 ? open((from + name).c_str(), O_RDONLY | O_CLOEXEC) : -1);
    return fds;
}

// Copies the opened font files into the sandbox's own "/customer/kivo/fonts" and closes them.
void installTerminalFonts(const std::vector<int> &fds, const std::string &fontsDir) {
    for (size_t i = 0; i < fds.size(); ++i) {
        if (fds[i] < 0) continue;
        std::ofstream out(fontsDir + "/" + kTerminalFonts[i], std::ios::binary);
        char buffer[65536];
        ssize_t got;
        while ((got = read(fds[i], buffer, sizeof buffer)) > 0) out.write(buffer, got);
        close(fds[i]);
    }
}

// Builds the whole tree and enters it.
void buildSandbox(const std::vector<HostBind> &binds) {
    if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) fail("make / private");
    // Held open before /tmp is covered, since these may live under the host's /tmp.
    // (A descriptor from before unshare would name the host's namespace: binds refuse it.)
    std::vector<int> sources;
    for (const HostBind &bind : binds) {
        int fd = open(bind.path.c_str(), O_PATH | O_CLOEXEC);
        if (fd < 0) fail("open " + bind.path);
        sources.push_back(fd);
    }
    std::vector<int> fonts = openTerminalFonts();
    const std::string root = kNewRoot;
    mountFs("tmpfs", root, MS_NOSUID, "mode=0755");
    bindHostTopLevel(root);
    bindTerminalShell(root);
    buildRun(root);
    buildProc(root);
    buildDev(root);
    buildSys(root);
    mountFs("tmpfs", root + "/tmp", MS_NOSUID | MS_NODEV, "mode=1777");
    // The terminal's flash is small; a package unpacking without end must not fill the RAM.
    mountFs("tmpfs", root + "/customer/kivo", MS_NOSUID | MS_NODEV, "mode=0755,size=256m");
    makeDirs(root + "/customer/kivo/fonts");
    installTerminalFonts(fonts, root + "/customer/kivo/fonts");
    makeDirs(root + "/customer/kivo/mcudir");
    for (size_t i = 0; i < binds.size(); ++i) {
        std::string target = root + binds[i].path;
        bindMount("/proc/self/fd/" + std::to_string(sources[i]), target, binds[i].isDir);
        if (!binds[i].writable) makeReadOnly(target);
        close(sources[i]);
    }
    enterRoot(root);
}

// From here on the command and the terminal's processes live in a user namespace of their
// own, in which every mount made above is locked as it is: a read-only host directory
// cannot be made writable again, nor a mount removed to show what it covers.
void lockMounts() {
    uid_t uid = getuid();
    gid_t gid = getgid();
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) fail("unshare");
    writeIdMaps(uid, gid);
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

// The privately covered tree ("/tmp" or "/customer") that holds PATH, or null.
const char *coveredTree(const std::string &path) {
    for (const char *covered : {"/tmp", "/customer"}) {
        size_t len = strlen(covered);
        if (path.compare(0, len, covered) == 0 && path.size() > len && path[len] == '/')
            return covered;
    }
    return nullptr;
}

// The directory under one of the privately covered trees that holds PATH ("/tmp/ci/build/x"
// gives "/tmp/ci"), or empty when PATH is not covered.
std::string coveredTopDir(const std::string &path) {
    const char *tree = coveredTree(path);
    if (tree == nullptr) return "";
    return path.substr(0, path.find('/', strlen(tree) + 1));
}

// What runInSandbox works out on the host before entering: the host paths to bind, and the
// files the command's start needs (its program, a script's interpreter), so that the sandbox
// can say which one it hides when the command cannot start.
struct RunPlan {
    std::vector<HostBind> binds;
    std::vector<std::string> startFiles;
};

std::string realPath(const std::string &path) {
    char real[PATH_MAX];
    return realpath(path.c_str(), real) != nullptr ? real : "";
}

// PROGRAM as execvp finds it on the host, links resolved; empty when it finds none.
std::string resolveProgram(const std::string &program) {
    if (program.find('/') != std::string::npos) return realPath(program);
    const char *path = getenv("PATH");
    std::istringstream dirs(path != nullptr ? path : "/usr/local/bin:/usr/bin:/bin");
    std::string dir;
    while (std::getline(dirs, dir, ':')) {
        std::string candidate = (dir.empty() ? "." : dir) + "/" + program;
        if (access(candidate.c_str(), X_OK) == 0) return realPath(candidate);
    }
    return "";
}

// The interpreter a script names on its "#!" line, or empty.
std::string interpreterOf(const std::string &file) {
    std::ifstream in(file);
    char magic[2] = {0, 0};
    if (!in.read(magic, 2) || magic[0] != '#' || magic[1] != '!') return "";
    std::string line;
    std::getline(in, line);
    std::istringstream words(line);
    std::string interpreter;
    words >> interpreter;
    return interpreter;
}

// Adds PATH (absolute, resolved) to the binds: writable ones everywhere, read-only ones only
// where a private mount covers the host's (elsewhere the host's tree shows it already).
void addBind(RunPlan &plan, const std::string &path, bool writable) {
    if (!writable && coveredTree(path) == nullptr) return;
    for (HostBind &b : plan.binds) {
        if (b.path != path) continue;
        b.writable = b.writable || writable;
        return;
    }
    struct stat st;
    if (stat(path.c_str(), &st) != 0) return;
    plan.binds.push_back(HostBind{path, writable, S_ISDIR(st.st_mode)});
}

// The user's directories (output, --rw, --keep) as they are, and what the run itself needs of
// the covered trees (their top directories): its working directory, pos-sim's own directory,
// the command's and the libraries' it is told of.
bool planRun(const SandboxOptions &options, const std::string &cwd,
             const std::vector<std::string> &command, RunPlan &plan, std::string &error) {
    std::vector<std::pair<std::string, bool>> named;  // path, writable
    if (!options.outDir.empty()) named.emplace_back(options.outDir, true);
    for (const auto &dir : options.writableDirs) named.emplace_back(dir, true);
    for (const auto &dir : options.keepDirs) named.emplace_back(dir, false);
    for (const auto &entry : named) {
        std::string real = realPath(entry.first);
        if (real.empty()) {
            error = entry.first + ": " + strerror(errno);
            return false;
        }
        if (!outputDirUsable(real, error)) return false;
        addBind(plan, real, entry.second);
    }

    std::string program = resolveProgram(command[0]);
    if (!program.empty()) {
        plan.startFiles.push_back(program);
        std::string interpreter = interpreterOf(program);
        if (!interpreter.empty()) plan.startFiles.push_back(interpreter);
    }
    std::vector<std::string> used = {cwd, realPath("/proc/self/exe"), program};
    if (const char *libs = getenv("LD_LIBRARY_PATH")) {
        std::istringstream dirs(libs);
        std::string dir;
        while (std::getline(dirs, dir, ':')) used.push_back(realPath(dir));
    }
    for (const std::string &path : used) {
        std::string top = coveredTopDir(path);
        if (!top.empty() && coveredPrivatePlace(top) == nullptr) addBind(plan, top, false);
    }
    // Outer paths first, so an inner one is not hidden by its parent's mount.
    std::sort(plan.binds.begin(), plan.binds.end(),
              [](const HostBind &a, const HostBind &b) { return a.path < b.path; });
    return true;
}

// When the command cannot start because the sandbox hides a file it needs, says which and
// how to keep it. False when that is not the reason.
bool explainHiddenFile(const std::vector<std::string> &startFiles) {
    for (const std::string &file : startFiles) {
        const char *tree = coveredTree(file);
        if (tree == nullptr || access(file.c_str(), F_OK) == 0) continue;
        fprintf(stderr,
                "pos-sim: %s: not visible inside the sandbox (it is under %s, which the terminal "
                "has its own of); use --keep %s\n",
                file.c_str(), tree, coveredTopDir(file).c_str());
        return true;
    }
    return false;
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

pid_t startCommand(const std::vector<std::string> &command,
                   const std::vector<std::string> &startFiles) {
    std::vector<char *> argv;
    for (const auto &a : command) argv.push_back(const_cast<char *>(a.c_str()));
    argv.push_back(nullptr);
    pid_t pid = fork();
    if (pid == 0) {
        execvp(argv[0], argv.data());
        int error = errno;
        if (!explainHiddenFile(startFiles))
            fprintf(stderr, "pos-sim: cannot run %s: %s\n", argv[0], strerror(error));
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
[[noreturn]] void sandboxInit(const SandboxOptions &options, const RunPlan &plan,
                              const ServicesMain &services, const std::vector<std::string> &command,
                              const std::string &cwd) {
    try {
        buildSandbox(plan.binds);
        lockMounts();
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

    pid_t commandPid = startCommand(command, plan.startFiles);
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
[[noreturn]] void sandboxKeeper(const SandboxOptions &options, const RunPlan &plan,
                                const ServicesMain &services,
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
        sandboxInit(options, plan, services, command, cwd);
    }
    _exit(waitForChild(init));
}

}  // namespace

bool outputDirUsable(const std::string &dir, std::string &error) {
    const char *place = coveredPrivatePlace(dir);
    if (place == nullptr) return true;
    error = dir + ": cannot be bound into the sandbox, it would cover the sandbox's " + place;
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
    RunPlan plan;
    if (!planRun(opts, cwd, command, plan, error)) return -1;

    pid_t caller = getpid();
    pid_t keeper = fork();
    if (keeper < 0) {
        error = std::string("fork: ") + strerror(errno);
        return -1;
    }
    if (keeper == 0) sandboxKeeper(opts, plan, services, command, cwd, caller);
    return waitForChild(keeper);
}

}  // namespace possim
