// The init command server runs shell command lines with root rights on a terminal. The
// simulator instead interprets the few shapes the library sends, and only on paths inside
// the sandbox's private mounts (never on host directories the sandbox binds into them):
//   cp SRC DST | cp -rf SRC DST | rm [-rf] PATH... | mv SRC DST | chmod [-R] MODE PATH
//   echo TEXT > FILE | reboot | poweroff
// Every file is reached from a descriptor of its root with openat2 and RESOLVE_BENEATH,
// RESOLVE_NO_MAGICLINKS and RESOLVE_NO_XDEV, and every new file is made relative to a
// directory descriptor so reached: no symbolic link (existing or not yet pointing anywhere),
// ".." or mount point can lead a command out of its root.
#ifndef POS_SIM_SERVERS_COMMAND_INTERPRETER_H
#define POS_SIM_SERVERS_COMMAND_INTERPRETER_H

#include <string>
#include <vector>

namespace possim {

struct CommandResult {
    bool ok = false;
    std::string text;  // the result line sent back ("ok" or "error: ...")
};

// What a command changes beyond files; the caller applies it to the simulated terminal.
enum class PowerAction { kNone, kReboot, kPowerOff };

class CommandInterpreter {
  public:
    // ROOTS are the private mounts commands may act on ("/tmp", "/customer", ...). Every
    // private mount inside a root must itself be listed as a root: any other mount point
    // found inside a root (read from MOUNTINFO) is a host directory bound in, and is refused.
    explicit CommandInterpreter(std::vector<std::string> roots,
                                std::string mountInfo = "/proc/self/mountinfo")
        : roots_(std::move(roots)), mountInfo_(std::move(mountInfo)) {}

    CommandResult run(const std::string &line, PowerAction &power) const;

    // True when PATH, after resolving "." and ".." and any symbolic links, lies inside one
    // of the roots and not inside a host directory bound into it. With WHOLETREE, PATH must
    // not hold such a directory either (it is removed, moved or changed recursively).
    bool allowed(const std::string &path, bool wholeTree = false) const;

  private:
    CommandResult copy(const std::vector<std::string> &args) const;
    CommandResult remove(const std::vector<std::string> &args) const;
    CommandResult move(const std::vector<std::string> &args) const;
    CommandResult changeMode(const std::vector<std::string> &args) const;
    CommandResult echo(const std::vector<std::string> &args) const;

    std::vector<std::string> hostMounts() const;

    std::vector<std::string> roots_;
    std::string mountInfo_;
};

// Splits a command line into words; single and double quotes group words. Returns false
// for shell syntax the interpreter does not run (pipes, lists, substitutions, variables).
bool splitWords(const std::string &line, std::vector<std::string> &words);

}  // namespace possim

#endif
