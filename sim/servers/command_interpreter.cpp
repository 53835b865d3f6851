#include "servers/command_interpreter.h"

#include <fcntl.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

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
    std::error_code ec;
    fs::path dst = paths[1];
    if (fs::is_directory(dst, ec)) dst /= fs::path(paths[0]).filename();
    if (!allowed(dst.string(), recursive)) return fail("not allowed: " + dst.string());
    auto options = fs::copy_options::overwrite_existing | fs::copy_options::copy_symlinks;
    if (recursive) options |= fs::copy_options::recursive;
    if (fs::is_directory(paths[0], ec) && !recursive) return fail("omitting directory " + paths[0]);
    fs::copy(paths[0], dst, options, ec);
    return ec ? fail(ec.message()) : ok();
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
        std::error_code ec;
        auto n = fs::remove_all(args[i], ec);
        if (ec) return fail(ec.message());
        if (n == 0 && !force) return fail("no such file: " + args[i]);
    }
    return ok();
}

CommandResult CommandInterpreter::move(const std::vector<std::string> &args) const {
    if (args.size() != 2) return fail("mv needs a source and a destination");
    if (!allowed(args[0], true)) return fail("not allowed: " + args[0]);
    if (!allowed(args[1])) return fail("not allowed: " + args[1]);
    std::error_code ec;
    fs::path dst = args[1];
    if (fs::is_directory(dst, ec)) dst /= fs::path(args[0]).filename();
    if (!allowed(dst.string(), true)) return fail("not allowed: " + dst.string());
    fs::rename(args[0], dst, ec);
    if (ec && ec.value() == EXDEV) {
        // Different private mounts: copy, then remove the source.
        ec.clear();
        fs::copy(args[0], dst,
                 fs::copy_options::recursive | fs::copy_options::overwrite_existing |
                     fs::copy_options::copy_symlinks,
                 ec);
        if (!ec) fs::remove_all(args[0], ec);
    }
    return ec ? fail(ec.message()) : ok();
}

CommandResult CommandInterpreter::changeMode(const std::vector<std::string> &args) const {
    bool recursive = !args.empty() && args[0] == "-R";
    std::vector<std::string> rest(args.begin() + (recursive ? 1 : 0), args.end());
    fs::perms mode;
    if (rest.size() != 2 || !parseMode(rest[0], mode)) return fail("chmod needs MODE PATH");
    const std::string &path = rest[1];
    if (!allowed(path, recursive)) return fail("not allowed: " + path);
    std::error_code ec;
    fs::permissions(path, mode, ec);
    if (ec) return fail(ec.message());
    if (recursive && fs::is_directory(path, ec)) {
        for (auto it = fs::recursive_directory_iterator(path, ec); !ec && it != fs::end(it);
             it.increment(ec)) {
            // A link could point out of the sandbox; only real entries change.
            if (!it->is_symlink()) fs::permissions(it->path(), mode, ec);
        }
    }
    return ec ? fail(ec.message()) : ok();
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
    int flags = O_WRONLY | O_TRUNC | O_CLOEXEC;
    if (file.compare(0, 5, "/sys/") != 0) flags |= O_CREAT;
    int fd = open(file.c_str(), flags, 0666);
    if (fd < 0) return fail("cannot write " + file);
    bool written = write(fd, text.data(), text.size()) == ssize_t(text.size());
    close(fd);
    return written ? ok() : fail("cannot write " + file);
}

}  // namespace possim
