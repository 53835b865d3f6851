#include "servers/package_server.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <limits.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

#include "servers/listener.h"

namespace fs = std::filesystem;

namespace possim {

namespace {

constexpr int kReadTimeoutMs = 2000;
constexpr size_t kTextBytes = 512;
constexpr size_t kInfoRecordBytes = 552;
constexpr size_t kListEntryBytes = 326;

void putInt(char *dst, int32_t v) {
    memcpy(dst, &v, 4);
}

// Application-info record, written from its byte offsets.
void writeInfoRecord(char *r, const ScenarioApp &a, int installTime, int sizeKb, bool running) {
    putText(r + 0, 9, "app");
    putInt(r + 9, 0);
    putText(r + 13, 33, a.vendor);
    putText(r + 46, 33, a.id);
    putInt(r + 79, a.version.major);
    putInt(r + 83, a.version.minor);
    putInt(r + 87, a.version.patch);
    putInt(r + 91, a.version.build);
    putInt(r + 95, sizeKb);
    putText(r + 99, 33, a.exec);
    putText(r + 132, 33, "");
    putText(r + 165, 33, a.vendor);
    putInt(r + 198, installTime);
    putInt(r + 202, running ? 1 : 0);
    putText(r + 206, 65, a.description);
    putText(r + 271, 17, a.category);
    putInt(r + 288, 0);
    putInt(r + 292, 0);
    putText(r + 296, 256, a.name);
}

void writeListEntry(char *e, const ScenarioApp &a, bool running) {
    putText(e + 0, 33, a.id);
    putInt(e + 33, a.version.major);
    putInt(e + 37, a.version.minor);
    putInt(e + 41, a.version.patch);
    putInt(e + 45, a.version.build);
    putText(e + 49, 17, a.category);
    putInt(e + 66, running ? 1 : 0);
    putText(e + 70, 256, a.name);
}

void answerInt(int fd, int32_t value) {
    writeFully(fd, &value, sizeof value);
}

bool validId(const std::string &id) {
    if (id.empty() || id.size() > 32 || id[0] == '.') return false;
    for (char c : id) {
        if (!isalnum(static_cast<unsigned char>(c)) && c != '.' && c != '_' && c != '-')
            return false;
    }
    return true;
}

bool safeRelative(const std::string &path) {
    if (path.empty() || path[0] == '/') return false;
    for (const auto &part : fs::path(path)) {
        if (part == "..") return false;
    }
    return true;
}

// The program must be a file of the package itself: a link in it could lead the chmod of
// the install, or a later start, to a file outside (a host file, as seen from the sandbox).
bool programInside(const std::string &dir, const std::string &exec) {
    std::error_code ec;
    fs::path base = fs::canonical(dir, ec);
    if (ec) return false;
    fs::path program = fs::canonical(base / exec, ec);
    if (ec || !fs::is_regular_file(program, ec)) return false;
    std::string inside = base.string() + "/";
    return program.string().compare(0, inside.size(), inside) == 0;
}

long long nowMs() {
    timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return ts.tv_sec * 1000LL + ts.tv_nsec / 1000000;
}

// Runs ARGS (a program and its arguments) in a child that may write no file larger than
// FILEBYTES and must be done within TIMEOUTMS; its standard output goes to *OUTPUT (when
// given) up to MAXOUTPUT bytes. True when it exits with status 0 within all of that; a child
// that overruns is killed.
bool runLimited(const std::vector<std::string> &args, uint64_t fileBytes, long long timeoutMs,
                std::string *output, size_t maxOutput) {
    if (timeoutMs <= 0) return false;
    std::vector<char *> argv;
    for (const auto &a : args) argv.push_back(const_cast<char *>(a.c_str()));
    argv.push_back(nullptr);
    int out[2];
    if (pipe2(out, O_CLOEXEC) != 0) return false;
    pid_t pid = fork();
    if (pid == 0) {
        dup2(out[1], STDOUT_FILENO);  // held until the child ends: its end shows as EOF
        int null = open("/dev/null", O_WRONLY);
        if (null >= 0) dup2(null, STDERR_FILENO);
        rlimit size{rlim_t(fileBytes), rlim_t(fileBytes)};
        rlimit cpu{rlim_t(timeoutMs / 1000 + 1), rlim_t(timeoutMs / 1000 + 1)};
        setrlimit(RLIMIT_FSIZE, &size);
        setrlimit(RLIMIT_CPU, &cpu);
        sigset_t none;
        sigemptyset(&none);
        sigprocmask(SIG_SETMASK, &none, nullptr);
        execvp(argv[0], argv.data());
        _exit(127);
    }
    close(out[1]);
    bool overran = pid < 0;
    long long deadline = nowMs() + timeoutMs;
    char buf[4096];
    while (!overran) {
        pollfd p{out[0], POLLIN, 0};
        long long left = deadline - nowMs();
        if (left <= 0 || poll(&p, 1, int(left)) == 0) {
            overran = true;
            break;
        }
        ssize_t n = read(out[0], buf, sizeof buf);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) break;
        if (output != nullptr) output->append(buf, size_t(n));
        overran = output != nullptr && output->size() > maxOutput;
    }
    close(out[0]);
    if (pid < 0) return false;
    if (overran) kill(pid, SIGKILL);
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    return !overran && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// Whether tar's verbose listing describes no more entries and bytes than LIMITS allow.
bool listingWithin(const std::string &listing, const PackageLimits &limits) {
    std::istringstream lines(listing);
    std::string line;
    uint64_t files = 0, bytes = 0;
    while (std::getline(lines, line)) {
        std::istringstream fields(line);
        std::string mode, owner, size;
        if (!(fields >> mode >> owner >> size)) return false;
        if (++files > limits.files) return false;
        if (size.find(',') != std::string::npos) continue;  // a device's numbers, no data
        if (size.empty() || size.find_first_not_of("0123456789") != std::string::npos ||
            size.size() > 19) {
            return false;
        }
        bytes += std::stoull(size);
        if (bytes > limits.unpackedBytes) return false;
    }
    return true;
}

// Whether the unpacked tree at DIR stays within LIMITS (as its listing said it would).
bool treeWithin(const std::string &dir, const PackageLimits &limits) {
    std::error_code ec;
    uint64_t files = 0, bytes = 0;
    for (auto it = fs::recursive_directory_iterator(dir, ec); !ec && it != fs::end(it);
         it.increment(ec)) {
        if (++files > limits.files) return false;
        if (it->is_regular_file(ec) && !it->is_symlink(ec)) bytes += it->file_size(ec);
        if (bytes > limits.unpackedBytes) return false;
    }
    return !ec;
}

// Whether TEXT nests arrays and objects no deeper than MAXDEPTH (strings are skipped).
bool nestingWithin(const std::string &text, int maxDepth) {
    int depth = 0;
    bool inString = false, escaped = false;
    for (char c : text) {
        if (inString) {
            if (escaped) {
                escaped = false;
            } else if (c == '\\') {
                escaped = true;
            } else if (c == '"') {
                inString = false;
            }
        } else if (c == '"') {
            inString = true;
        } else if (c == '[' || c == '{') {
            if (++depth > maxDepth) return false;
        } else if (c == ']' || c == '}') {
            --depth;
        }
    }
    return true;
}

std::set<std::string> readLines(const std::string &file) {
    std::ifstream in(file);
    std::set<std::string> lines;
    for (std::string line; std::getline(in, line);) lines.insert(line);
    return lines;
}

int modificationTime(const std::string &path) {
    struct stat st;
    return stat(path.c_str(), &st) == 0 ? int(st.st_mtime) : int(time(nullptr));
}

// Uninstalled applications of the scenario are listed here, one id a line.
const char kRemovedFile[] = "/.removed";
// A package being unpacked, and an installed version being replaced.
const char kUnpackPrefix[] = ".install-";
const char kReplacedPrefix[] = ".replaced-";

int directorySizeKb(const std::string &dir) {
    std::error_code ec;
    uintmax_t total = 0;
    for (auto it = fs::recursive_directory_iterator(dir, ec); !ec && it != fs::end(it);
         it.increment(ec)) {
        if (it->is_regular_file(ec)) total += it->file_size(ec);
    }
    return int((total + 1023) / 1024);
}

std::string describeStart(const std::string &name, const std::vector<std::string> &args) {
    std::string fields = "app=" + quoteText(name) + " args=[";
    for (size_t i = 0; i < args.size(); ++i) fields += (i ? "," : "") + quoteText(args[i]);
    return fields + "]";
}

}  // namespace

bool readManifest(const std::string &file, ScenarioApp &app, std::string &error) {
    std::ifstream in(file, std::ios::binary);
    if (!in) {
        error = "no manifest.json";
        return false;
    }
    // One byte beyond the limit is enough for the parser's check to refuse the file.
    std::string text(kMaxManifestBytes + 1, '\0');
    in.read(&text[0], std::streamsize(text.size()));
    text.resize(size_t(in.gcount()));
    return parseManifest(text, app, error);
}

bool parseManifest(const std::string &text, ScenarioApp &app, std::string &error) {
    // Both limits hold before parsing: a deep document would take the parser's stack.
    if (text.size() > kMaxManifestBytes) {
        error = "manifest.json is larger than " + std::to_string(kMaxManifestBytes) + " bytes";
        return false;
    }
    if (!nestingWithin(text, kMaxManifestDepth)) {
        error = "manifest.json nests deeper than " + std::to_string(kMaxManifestDepth) + " levels";
        return false;
    }
    try {
        nlohmann::json j = nlohmann::json::parse(text);
        std::string wrapped = nlohmann::json{{"apps", {j}}}.dump();
        Scenario parsed;
        if (!parseScenario(wrapped, parsed, error)) return false;
        app = parsed.apps.at(0);
    } catch (const std::exception &e) {
        error = e.what();
        return false;
    }
    if (!validId(app.id) || app.name.size() > 255) {
        error = "bad id or name";
        return false;
    }
    if (!safeRelative(app.exec)) {
        error = "exec must be a path inside the package";
        return false;
    }
    return true;
}

PackageServer::PackageServer(const Scenario &scenario, RequestLog &log, SharedBlock &childBlock,
                             std::string appsDir, PackageLimits limits)
    : log_(log), childBlock_(childBlock), appsDir_(std::move(appsDir)), limits_(limits) {
    loadInstalled(scenario);
}

void PackageServer::loadInstalled(const Scenario &scenario) {
    std::set<std::string> removed = readLines(appsDir_ + kRemovedFile);
    for (const auto &a : scenario.apps) {
        if (removed.count(a.id) == 0) apps_.push_back(App{a, "", int(time(nullptr))});
    }
    // What a server that stopped in the middle left: a half-unpacked package goes, a
    // replaced version comes back unless its successor made it into place.
    std::error_code ec;
    for (const auto &entry : fs::directory_iterator(appsDir_, ec)) {
        std::string name = entry.path().filename();
        if (name.rfind(kUnpackPrefix, 0) == 0) fs::remove_all(entry.path(), ec);
        if (name.rfind(kReplacedPrefix, 0) != 0) continue;
        fs::path current = appsDir_ + "/" + name.substr(strlen(kReplacedPrefix));
        if (fs::exists(current, ec)) {
            fs::remove_all(entry.path(), ec);
        } else {
            fs::rename(entry.path(), current, ec);
        }
    }
    for (const auto &entry : fs::directory_iterator(appsDir_, ec)) {
        std::string name = entry.path().filename();
        ScenarioApp meta;
        std::string error;
        if (name[0] == '.' || !readManifest(entry.path() / "manifest.json", meta, error) ||
            meta.id != name || !programInside(entry.path(), meta.exec)) {
            continue;
        }
        apps_.erase(std::remove_if(apps_.begin(), apps_.end(),
                                   [&](const App &a) { return a.meta.id == meta.id; }),
                    apps_.end());
        apps_.push_back(App{meta, entry.path(), modificationTime(entry.path())});
    }
}

PackageServer::~PackageServer() {
    stopApps();
}

const PackageServer::App *PackageServer::find(const std::string &idOrName) const {
    for (const auto &a : apps_) {
        if (a.meta.id == idOrName) return &a;
    }
    for (const auto &a : apps_) {
        if (a.meta.name == idOrName) return &a;
    }
    return nullptr;
}

std::string PackageServer::programOf(const App &app) const {
    if (app.dir.empty()) return app.meta.exec;
    return app.dir + "/" + app.meta.exec;
}

int PackageServer::install(const std::string &path) {
    struct stat st;
    if (path.empty() || path[0] != '/' || stat(path.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) {
        return kPkgNotFound;
    }
    if (uint64_t(st.st_size) > limits_.archiveBytes) return kPkgBadArchive;
    std::error_code ec;
    fs::create_directories(appsDir_, ec);
    std::string unpacked = appsDir_ + "/" + kUnpackPrefix + "XXXXXX";
    if (mkdtemp(unpacked.data()) == nullptr) return kPkgBadArchive;
    ScenarioApp meta;
    std::string error;
    int result = 0;
    if (!unpack(path, unpacked)) {
        result = kPkgBadArchive;
    } else if (!readManifest(unpacked + "/manifest.json", meta, error) ||
               !programInside(unpacked, meta.exec)) {
        result = kPkgBadManifest;
    } else {
        result = commit(meta, unpacked);
    }
    if (result != 0) fs::remove_all(unpacked, ec);
    return result;
}

// Lists the archive (refusing one that would unpack beyond the limits), then unpacks it into
// DIR, all in children held to the limits.
bool PackageServer::unpack(const std::string &archive, const std::string &dir) {
    long long deadline = nowMs() + limits_.unpackMs;
    std::string listing;
    const size_t maxListing = 4096 * limits_.files;  // generous for names up to a path's length
    if (!runLimited({"tar", "-tvf", archive, "--numeric-owner"}, 0, deadline - nowMs(), &listing,
                    maxListing) ||
        !listingWithin(listing, limits_)) {
        return false;
    }
    return runLimited(
               {"tar", "-xf", archive, "-C", dir, "--no-same-owner", "--no-same-permissions"},
               limits_.unpackedBytes, deadline - nowMs(), nullptr, 0) &&
           treeWithin(dir, limits_);
}

// Puts the unpacked package in place of the installed version, if any, by renames only: at
// every moment one complete version is in place.
int PackageServer::commit(const ScenarioApp &meta, const std::string &unpacked) {
    std::string dir = appsDir_ + "/" + meta.id;
    std::string replaced = appsDir_ + "/" + kReplacedPrefix + meta.id;
    std::lock_guard<std::mutex> lock(mutex_);
    std::error_code ec;
    fs::remove_all(replaced, ec);
    bool hadVersion = fs::exists(dir, ec);
    if (hadVersion) fs::rename(dir, replaced, ec);
    if (!ec) fs::rename(unpacked, dir, ec);
    if (ec) {
        if (hadVersion) fs::rename(replaced, dir, ec);
        return kPkgBadArchive;
    }
    fs::remove_all(replaced, ec);
    chmod((dir + "/" + meta.exec).c_str(), 0755);
    for (auto it = apps_.begin(); it != apps_.end(); ++it) {
        if (it->meta.id == meta.id) {
            apps_.erase(it);
            break;
        }
    }
    apps_.push_back(App{meta, dir, int(time(nullptr))});
    return 0;
}

int PackageServer::uninstall(const std::string &id) {
    std::lock_guard<std::mutex> lock(mutex_);
    for (auto it = apps_.begin(); it != apps_.end(); ++it) {
        if (it->meta.id != id) continue;
        std::error_code ec;
        if (!it->dir.empty()) fs::remove_all(it->dir, ec);
        // A scenario's application stays uninstalled when the server starts again.
        std::ofstream(appsDir_ + kRemovedFile, std::ios::app) << id << "\n";
        apps_.erase(it);
        return 0;
    }
    return kPkgNotFound;
}

// The terminal's own programs, started by name but never in the list of applications: the
// signature pad, found beside the simulator's programs.
std::string PackageServer::terminalProgram(const std::string &name) {
    if (name != "pnl_elec_sign") return "";
    char self[PATH_MAX];
    ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
    if (n <= 0) return "";
    std::string dir(self, static_cast<size_t>(n));
    return dir.substr(0, dir.rfind('/') + 1) + name;
}

int PackageServer::start(const std::string &name, const std::vector<std::string> &args) {
    std::lock_guard<std::mutex> lock(mutex_);
    const App *app = find(name);
    std::string program = app != nullptr ? programOf(*app) : terminalProgram(name);
    if (program.empty()) return kPkgNotFound;
    if (access(program.c_str(), X_OK) != 0) return kPkgNotRunnable;

    std::vector<std::string> all{program};
    all.insert(all.end(), args.begin(), args.end());
    std::vector<char *> argv;
    for (auto &a : all) argv.push_back(a.data());
    argv.push_back(nullptr);

    // Slot 0 says "busy" until the child hands back its exit code (or ends without one).
    ChildSlotView slot = childSlot(childBlock_, 0);
    putText(slot.name(), 32, name);
    putText(slot.state(), 16, "busy");
    putText(slot.value(), 32, "");

    pid_t pid = fork();
    if (pid < 0) {
        putText(slot.state(), 16, "idle");
        return kPkgNotRunnable;
    }
    if (pid == 0) {
        sigset_t none;  // the server's blocked signals are none of the application's business
        sigemptyset(&none);
        sigprocmask(SIG_SETMASK, &none, nullptr);
        execv(argv[0], argv.data());
        _exit(127);
    }
    running_.push_back(pid);
    watchers_.emplace_back([this, pid, name] { watchChild(pid, name); });
    return 0;
}

// A child that dies without PkgGetExitCode still ends "busy": record how it ended, so a
// waiting parent is released.
void PackageServer::watchChild(pid_t pid, const std::string &name) {
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    int code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    std::lock_guard<std::mutex> lock(mutex_);
    for (auto it = running_.begin(); it != running_.end(); ++it) {
        if (*it == pid) {
            running_.erase(it);
            break;
        }
    }
    ChildSlotView slot = childSlot(childBlock_, 0);
    if (getText(slot.name(), 32) == name.substr(0, 31) &&
        getText(slot.state(), 16).find("busy") != std::string::npos) {
        putText(slot.value(), 32, std::to_string(code));
        std::atomic_thread_fence(std::memory_order_release);  // the code before "idle"
        putText(slot.state(), 16, "idle");
    }
}

void PackageServer::stopApps() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        for (pid_t pid : running_) kill(pid, SIGKILL);
    }
    for (auto &t : watchers_) {
        if (t.joinable()) t.join();
    }
    watchers_.clear();
}

void PackageServer::answerInfo(int fd, const std::string &id) {
    char answer[8 + kInfoRecordBytes] = {0};
    int32_t status = kPkgNotFound;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        const App *app = find(id);
        if (app != nullptr) {
            status = 0;
            int size = app->dir.empty() ? 0 : directorySizeKb(app->dir);
            writeInfoRecord(answer + 8, app->meta, app->installTime, size, false);
        }
    }
    putInt(answer, status);
    log_.record("pkg", 0x105, quoteText(id), std::to_string(status));
    writeFully(fd, answer, status == 0 ? sizeof answer : 8);
}

void PackageServer::answerList(int fd) {
    std::vector<char> answer;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        answer.assign(12 + kListEntryBytes * apps_.size(), 0);
        putInt(&answer[8], int32_t(apps_.size()));
        for (size_t i = 0; i < apps_.size(); ++i) {
            writeListEntry(&answer[12 + kListEntryBytes * i], apps_[i].meta, false);
        }
    }
    log_.record("pkg", 0x106, "count=" + std::to_string((answer.size() - 12) / kListEntryBytes),
                "0");
    writeFully(fd, answer.data(), answer.size());
}

void PackageServer::handleStart(int fd) {
    char rest[512 + 4 + 384];
    if (!readFully(fd, rest, sizeof rest, kReadTimeoutMs)) {
        log_.record("pkg", 0x103, "short request", "(none)");
        return;
    }
    std::string name = getText(rest, 512);
    int32_t argc = 0;
    memcpy(&argc, rest + 512, 4);
    std::vector<std::string> args;
    for (int i = 0; i < argc && i < 12; ++i) args.push_back(getText(rest + 516 + 32 * i, 32));
    int32_t result = start(name, args);
    log_.record("pkg", 0x103, describeStart(name, args), std::to_string(result));
    answerInt(fd, result);
}

void PackageServer::handle(int fd) {
    int32_t code = 0;
    if (!readFully(fd, &code, 4, kReadTimeoutMs)) return;
    if (code == 0x103) return handleStart(fd);
    char text[kTextBytes];
    if (!readFully(fd, text, sizeof text, kReadTimeoutMs)) {
        log_.record("pkg", code, "short request", "(none)");
        return;
    }
    std::string arg = getText(text, sizeof text);
    int32_t result;
    switch (code) {
        case 0x101:
            result = install(arg);
            break;
        case 0x102:
            result = uninstall(arg);
            break;
        case 0x105:
            return answerInfo(fd, arg);
        case 0x106:
            return answerList(fd);
        default:
            result = kPkgBadRequest;
    }
    log_.record("pkg", code, quoteText(arg), std::to_string(result));
    answerInt(fd, result);
}

}  // namespace possim
