#include "servers/command_interpreter.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <linux/openat2.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <utility>

namespace fs = std::filesystem;

namespace possim {

namespace {

CommandResult ok() {
    return {true, "ok"};
}
CommandResult fail(const std::string &why) {
    return {false, "error: " + why};
}

bool withinRoot(const fs::path &path, const std::string &root) {
    std::string p = path.string();
    return p == root || (p.size() > root.size() && p.compare(0, root.size(), root) == 0 &&
                         p[root.size()] == '/');
}

// A mount point as /proc/self/mountinfo writes it: blanks and backslashes as octal escapes.
std::string unescapeMountPoint(const std::string &field) {
    auto isOctal = [](char c) { return c >= '0' && c <= '7'; };
    std::string out;
    for (size_t i = 0; i < field.size(); ++i) {
        if (field[i] == '\\' && i + 3 < field.size() && isOctal(field[i + 1]) &&
            isOctal(field[i + 2]) && isOctal(field[i + 3])) {
            out +=
                char((field[i + 1] - '0') * 64 + (field[i + 2] - '0') * 8 + (field[i + 3] - '0'));
            i += 3;
        } else {
            out += field[i];
        }
    }
    return out;
}

bool parseMode(const std::string &text, fs::perms &mode) {
    if (text.empty() || text.size() > 4) return false;
    unsigned value = 0;
    for (char c : text) {
        if (c < '0' || c > '7') return false;
        value = value * 8 + unsigned(c - '0');
    }
    mode = fs::perms(value);
    return true;
}

// A descriptor that closes itself.
class Fd {
  public:
    explicit Fd(int fd = -1) : fd_(fd) {}
    ~Fd() {
        if (fd_ >= 0) close(fd_);
    }
    Fd(Fd &&other) noexcept : fd_(other.fd_) { other.fd_ = -1; }
    Fd &operator=(Fd &&other) noexcept {
        std::swap(fd_, other.fd_);
        return *this;
    }
    Fd(const Fd &) = delete;
    Fd &operator=(const Fd &) = delete;
    int get() const { return fd_; }
    bool ok() const { return fd_ >= 0; }
    int release() { return std::exchange(fd_, -1); }

  private:
    int fd_;
};

// Links are followed only while they stay below the starting directory, never through
// /proc's magic links and never onto another mount (a host directory bound in).
constexpr uint64_t kStayBeneath = RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS | RESOLVE_NO_XDEV;

// REL below the directory DIR ("" is DIR itself). NOLINKS refuses any link on the way.
Fd openBeneath(int dir, const std::string &rel, int flags, mode_t mode = 0, bool noLinks = false) {
    open_how how{};
    how.flags = uint64_t(flags | O_CLOEXEC);
    how.mode = (flags & O_CREAT) != 0 ? mode : 0;
    how.resolve = kStayBeneath | (noLinks ? RESOLVE_NO_SYMLINKS : 0);
    return Fd(int(syscall(SYS_openat2, dir, rel.empty() ? "." : rel.c_str(), &how, sizeof how)));
}

// Why the last file operation on PATH failed, as a result line.
CommandResult failedOn(const std::string &path) {
    if (errno == EXDEV || errno == ELOOP) return fail("not allowed: " + path);
    if (errno == ENOENT) return fail("no such file: " + path);
    return fail(path + ": " + strerror(errno));
}

// Whether NAME in DIR is a directory itself (not a link to one).
bool isDirectoryAt(int dir, const std::string &name) {
    struct stat st;
    return fstatat(dir, name.c_str(), &st, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(st.st_mode);
}

// The names in the directory DIR but "." and "..".
bool listDirectory(int dir, std::vector<std::string> &names) {
    Fd list = openBeneath(dir, "", O_RDONLY | O_DIRECTORY);
    if (!list.ok()) return false;
    int raw = list.release();
    DIR *entries = fdopendir(raw);
    if (entries == nullptr) {
        close(raw);
        return false;
    }
    while (dirent *e = readdir(entries)) {
        std::string entry = e->d_name;
        if (entry != "." && entry != "..") names.push_back(entry);
    }
    closedir(entries);
    return true;
}

bool copyBytes(int from, int to) {
    char buf[65536];
    for (;;) {
        ssize_t n = read(from, buf, sizeof buf);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return n == 0;
        for (ssize_t done = 0; done < n;) {
            ssize_t w = write(to, buf + done, size_t(n - done));
            if (w < 0 && errno == EINTR) continue;
            if (w <= 0) return false;
            done += w;
        }
    }
}

// Copies the file SRC (an open descriptor) to NAME in DIR, replacing what is there; a link
// in its place is not followed.
bool copyFileTo(int src, int dir, const std::string &name) {
    struct stat st;
    if (fstat(src, &st) != 0) return false;
    Fd dst = openBeneath(dir, name, O_WRONLY | O_CREAT | O_TRUNC, st.st_mode & 07777, true);
    return dst.ok() && copyBytes(src, dst.get()) && fchmod(dst.get(), st.st_mode & 07777) == 0;
}

// Copies the tree SRC (a directory descriptor) to NAME in DIR, merging into a directory
// already there; links inside are copied as links, never followed on either side.
bool copyTreeTo(int src, int dir, const std::string &name) {
    struct stat st;
    if (fstat(src, &st) != 0) return false;
    if (mkdirat(dir, name.c_str(), st.st_mode & 07777) != 0 && errno != EEXIST) return false;
    Fd to = openBeneath(dir, name, O_RDONLY | O_DIRECTORY, 0, true);
    std::vector<std::string> names;
    if (!to.ok() || !listDirectory(src, names)) return false;
    for (const std::string &entry : names) {
        struct stat est;
        if (fstatat(src, entry.c_str(), &est, AT_SYMLINK_NOFOLLOW) != 0) continue;
        bool ok = true;
        if (S_ISLNK(est.st_mode)) {
            char target[PATH_MAX];
            ssize_t n = readlinkat(src, entry.c_str(), target, sizeof target - 1);
            if (n < 0) continue;
            target[n] = '\0';
            unlinkat(to.get(), entry.c_str(), 0);
            ok = symlinkat(target, to.get(), entry.c_str()) == 0;
        } else if (S_ISDIR(est.st_mode)) {
            Fd sub = openBeneath(src, entry, O_RDONLY | O_DIRECTORY, 0, true);
            ok = sub.ok() && copyTreeTo(sub.get(), to.get(), entry);
        } else if (S_ISREG(est.st_mode)) {
            Fd file = openBeneath(src, entry, O_RDONLY, 0, true);
            ok = file.ok() && copyFileTo(file.get(), to.get(), entry);
        }
        if (!ok) return false;
    }
    return true;
}

// Removes NAME in DIR: a file or link itself, or a whole directory tree, never following a
// link and never entering another mount.
bool removeAt(int dir, const std::string &name) {
    if (!isDirectoryAt(dir, name)) return unlinkat(dir, name.c_str(), 0) == 0;
    Fd sub = openBeneath(dir, name, O_RDONLY | O_DIRECTORY, 0, true);
    std::vector<std::string> names;
    if (!sub.ok() || !listDirectory(sub.get(), names)) return false;
    for (const std::string &entry : names) {
        if (!removeAt(sub.get(), entry)) return false;
    }
    return unlinkat(dir, name.c_str(), AT_REMOVEDIR) == 0;
}

// Changes the mode of what FILE (any descriptor, O_PATH too) names.
bool changeModeOf(int file, fs::perms mode) {
    // An O_PATH descriptor takes no fchmod; its /proc link names exactly the file opened.
    std::string self = "/proc/self/fd/" + std::to_string(file);
    return chmod(self.c_str(), mode_t(mode)) == 0;
}

bool changeModeOfTree(int dir, fs::perms mode) {
    std::vector<std::string> names;
    if (!listDirectory(dir, names)) return false;
    for (const std::string &entry : names) {
        struct stat st;
        // A link could point out of the sandbox; only real entries change.
        if (fstatat(dir, entry.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0 || S_ISLNK(st.st_mode))
            continue;
        Fd sub = openBeneath(dir, entry, O_PATH, 0, true);
        if (!sub.ok() || !changeModeOf(sub.get(), mode) ||
            (S_ISDIR(st.st_mode) && !changeModeOfTree(sub.get(), mode))) {
            return false;
        }
    }
    return true;
}

// PATH (absolute) split into the root that holds it (the innermost one) and the rest below it
// ("" for the root itself). False when no root holds it.
bool locate(const std::vector<std::string> &roots, const std::string &path, std::string &root,
            std::string &below) {
    if (path.empty() || path[0] != '/') return false;
    std::string lexical = fs::path(path).lexically_normal().string();
    while (lexical.size() > 1 && lexical.back() == '/') lexical.pop_back();
    root.clear();
    for (const auto &r : roots) {
        if (withinRoot(lexical, r) && r.size() > root.size()) root = r;
    }
    if (root.empty()) return false;
    below = lexical.size() == root.size() ? "" : lexical.substr(root.size() + 1);
    return true;
}

// PATH opened with FLAGS, resolved from its root's descriptor.
Fd openPath(const std::vector<std::string> &roots, const std::string &path, int flags,
            mode_t mode = 0) {
    std::string root, below;
    if (!locate(roots, path, root, below)) {
        errno = EXDEV;
        return Fd();
    }
    if (below.empty()) return Fd(open(root.c_str(), flags | O_CLOEXEC | O_NOFOLLOW, mode));
    Fd base(open(root.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!base.ok()) return Fd();
    return openBeneath(base.get(), below, flags, mode);
}

// The directory that holds PATH, opened from its root, and PATH's own name in it. A root
// itself has none: it is never removed, replaced or moved.
bool openParent(const std::vector<std::string> &roots, const std::string &path, Fd &dir,
                std::string &name) {
    std::string root, below;
    if (!locate(roots, path, root, below) || below.empty()) {
        errno = EXDEV;
        return false;
    }
    size_t slash = below.rfind('/');
    name = slash == std::string::npos ? below : below.substr(slash + 1);
    std::string parent = slash == std::string::npos ? "" : below.substr(0, slash);
    Fd base(open(root.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!base.ok()) return false;
    dir = openBeneath(base.get(), parent, O_PATH | O_DIRECTORY);
    return dir.ok();
}

// Where a copy or move of SRC to DST lands: inside DST when it is a directory, else at DST.
bool openDestination(const std::vector<std::string> &roots, const std::string &src,
                     const std::string &dst, Fd &dir, std::string &name) {
    Fd asDirectory = openPath(roots, dst, O_PATH | O_DIRECTORY);
    if (!asDirectory.ok()) return openParent(roots, dst, dir, name);
    dir = std::move(asDirectory);
    name = fs::path(src).lexically_normal().filename().string();
    if (name.empty()) name = fs::path(src).lexically_normal().parent_path().filename().string();
    return !name.empty();
}

}  // namespace

bool splitWords(const std::string &line, std::vector<std::string> &words) {
    words.clear();
    std::string word;
    bool inWord = false;
    char quote = 0;
    for (size_t i = 0; i < line.size(); ++i) {
        char c = line[i];
        if (quote != 0) {
            if (c == quote) {
                quote = 0;
            } else {
                word += c;
            }
            continue;
        }
        if (c == '\'' || c == '"') {
            quote = c;
            inWord = true;
        } else if (c == ' ' || c == '\t' || c == '\n' || c == '\r') {
            if (inWord) words.push_back(word);
            word.clear();
            inWord = false;
        } else if (c == '>') {
            if (inWord) words.push_back(word);
            words.push_back(">");
            word.clear();
            inWord = false;
        } else if (std::string(";|&`$<(){}*?~\\").find(c) != std::string::npos) {
            return false;
        } else {
            word += c;
            inWord = true;
        }
    }
    if (quote != 0) return false;
    if (inWord) words.push_back(word);
    return true;
}

std::vector<std::string> CommandInterpreter::hostMounts() const {
    std::vector<std::string> found;
    std::ifstream in(mountInfo_);
    std::string line;
    while (std::getline(in, line)) {
        std::istringstream fields(line);
        std::string id, parent, device, source, point;
        if (!(fields >> id >> parent >> device >> source >> point)) continue;
        point = unescapeMountPoint(point);
        bool isRoot = false, insideRoot = false;
        for (const auto &root : roots_) {
            isRoot = isRoot || point == root;
            insideRoot = insideRoot || withinRoot(point, root);
        }
        if (insideRoot && !isRoot) found.push_back(point);
    }
    return found;
}

bool CommandInterpreter::allowed(const std::string &path, bool wholeTree) const {
    if (path.empty() || path[0] != '/') return false;
    fs::path lexical = fs::path(path).lexically_normal();
    std::error_code ec;
    fs::path resolved = fs::weakly_canonical(lexical, ec);
    if (ec) return false;
    bool inRoot = false;
    for (const auto &root : roots_) {
        inRoot = inRoot || (withinRoot(lexical, root) && withinRoot(resolved, root));
    }
    if (!inRoot) return false;
    // The run's own output and working directories may be bound in from the host's /tmp:
    // they are the host's files, not the terminal's.
    for (const auto &mount : hostMounts()) {
        if (withinRoot(resolved, mount)) return false;
        if (wholeTree && withinRoot(mount, resolved.string())) return false;
    }
    return true;
}

CommandResult CommandInterpreter::run(const std::string &line, PowerAction &power) const {
    power = PowerAction::kNone;
    std::vector<std::string> words;
    if (!splitWords(line, words)) return fail("unsupported shell syntax");
    if (words.empty()) return fail("empty command");
    const std::string &cmd = words[0];
    std::vector<std::string> args(words.begin() + 1, words.end());
    if (cmd == "reboot" && args.empty()) {
        power = PowerAction::kReboot;
        return ok();
    }
    if (cmd == "poweroff" && args.empty()) {
        power = PowerAction::kPowerOff;
        return ok();
    }
    if (cmd == "cp") return copy(args);
    if (cmd == "rm") return remove(args);
    if (cmd == "mv") return move(args);
    if (cmd == "chmod") return changeMode(args);
    if (cmd == "echo") return echo(args);
    return fail("unsupported command " + cmd);
}

CommandResult CommandInterpreter::copy(const std::vector<std::string> &args) const {
    bool recursive = !args.empty() && (args[0] == "-rf" || args[0] == "-r" || args[0] == "-fr");
    std::vector<std::string> paths(args.begin() + (recursive ? 1 : 0), args.end());
    if (paths.size() != 2) return fail("cp needs a source and a destination");
    for (const auto &p : paths) {
        if (!allowed(p)) return fail("not allowed: " + p);
    }
    Fd src = openPath(roots_, paths[0], O_RDONLY);
    struct stat st;
    if (!src.ok() || fstat(src.get(), &st) != 0) return failedOn(paths[0]);
    if (S_ISDIR(st.st_mode) && !recursive) return fail("omitting directory " + paths[0]);
    Fd dir;
    std::string name;
    if (!openDestination(roots_, paths[0], paths[1], dir, name)) return failedOn(paths[1]);
    std::string dst = paths[1] + "/" + name;
    if (!allowed(dst, recursive)) return fail("not allowed: " + dst);
    bool copied = S_ISDIR(st.st_mode) ? copyTreeTo(src.get(), dir.get(), name)
                                      : copyFileTo(src.get(), dir.get(), name);
    return copied ? ok() : failedOn(paths[1]);
}

CommandResult CommandInterpreter::remove(const std::vector<std::string> &args) const {
    size_t first = 0;
    bool force = false;
    while (first < args.size() && args[first][0] == '-') {
        if (args[first] != "-rf" && args[first] != "-fr" && args[first] != "-r" &&
            args[first] != "-f") {
            return fail("unsupported option " + args[first]);
        }
        force = force || args[first].find('f') != std::string::npos;
        ++first;
    }
    if (first == args.size()) return fail("rm needs a path");
    for (size_t i = first; i < args.size(); ++i) {
        if (!allowed(args[i], true)) return fail("not allowed: " + args[i]);
    }
    for (size_t i = first; i < args.size(); ++i) {
        Fd dir;
        std::string name;
        struct stat st;
        bool found = openParent(roots_, args[i], dir, name) &&
                     fstatat(dir.get(), name.c_str(), &st, AT_SYMLINK_NOFOLLOW) == 0;
        if (!found && errno == ENOENT) {
            if (force) continue;
            return fail("no such file: " + args[i]);
        }
        if (!found || !removeAt(dir.get(), name)) return failedOn(args[i]);
    }
    return ok();
}

CommandResult CommandInterpreter::move(const std::vector<std::string> &args) const {
    if (args.size() != 2) return fail("mv needs a source and a destination");
    if (!allowed(args[0], true)) return fail("not allowed: " + args[0]);
    if (!allowed(args[1])) return fail("not allowed: " + args[1]);
    Fd srcDir, dstDir;
    std::string srcName, dstName;
    struct stat st;
    if (!openParent(roots_, args[0], srcDir, srcName) ||
        fstatat(srcDir.get(), srcName.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0) {
        return failedOn(args[0]);
    }
    if (!openDestination(roots_, args[0], args[1], dstDir, dstName)) return failedOn(args[1]);
    std::string dst = args[1] + "/" + dstName;
    if (!allowed(dst, true)) return fail("not allowed: " + dst);
    if (renameat(srcDir.get(), srcName.c_str(), dstDir.get(), dstName.c_str()) == 0) return ok();
    if (errno != EXDEV || S_ISLNK(st.st_mode)) return failedOn(args[0]);
    // Different private mounts: copy, then remove the source.
    bool isDir = S_ISDIR(st.st_mode);
    Fd src = openBeneath(srcDir.get(), srcName, isDir ? O_RDONLY | O_DIRECTORY : O_RDONLY, 0, true);
    bool copied = src.ok() && (isDir ? copyTreeTo(src.get(), dstDir.get(), dstName)
                                     : copyFileTo(src.get(), dstDir.get(), dstName));
    if (!copied || !removeAt(srcDir.get(), srcName)) return failedOn(args[0]);
    return ok();
}

CommandResult CommandInterpreter::changeMode(const std::vector<std::string> &args) const {
    bool recursive = !args.empty() && args[0] == "-R";
    std::vector<std::string> rest(args.begin() + (recursive ? 1 : 0), args.end());
    fs::perms mode;
    if (rest.size() != 2 || !parseMode(rest[0], mode)) return fail("chmod needs MODE PATH");
    const std::string &path = rest[1];
    if (!allowed(path, recursive)) return fail("not allowed: " + path);
    Fd target = openPath(roots_, path, O_PATH);
    struct stat st;
    if (!target.ok() || fstat(target.get(), &st) != 0 || !changeModeOf(target.get(), mode))
        return failedOn(path);
    if (recursive && S_ISDIR(st.st_mode) && !changeModeOfTree(target.get(), mode))
        return failedOn(path);
    return ok();
}

CommandResult CommandInterpreter::echo(const std::vector<std::string> &args) const {
    size_t redirect = 0;
    while (redirect < args.size() && args[redirect] != ">") ++redirect;
    if (redirect + 2 != args.size()) return fail("echo needs TEXT > FILE");
    std::string text;
    for (size_t i = 0; i < redirect; ++i) text += (i ? " " : "") + args[i];
    text += "\n";
    const std::string &file = args.back();
    if (!allowed(file)) return fail("not allowed: " + file);
    // System files exist or not, as sysfs attributes do; elsewhere a file may be created.
    int flags = O_WRONLY | O_TRUNC | O_NOCTTY;
    if (file.compare(0, 5, "/sys/") != 0) flags |= O_CREAT;
    Fd fd = openPath(roots_, file, flags, 0666);
    if (!fd.ok()) return failedOn(file);
    bool written = write(fd.get(), text.data(), text.size()) == ssize_t(text.size());
    return written ? ok() : fail("cannot write " + file);
}

}  // namespace possim
