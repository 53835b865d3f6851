#include "ModemLine.h"

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace possim {

namespace {

const char kCtrlZ = 0x1a;
const char kEscape = 0x1b;
const unsigned kFirstSlaveMajor = 136;  // Unix98 pty slaves: majors 136-143

// The pty index of the terminal side at DEVICE, or -1.
long slaveIndex(const std::string &device) {
    struct stat st;
    if (stat(device.c_str(), &st) != 0 || !S_ISCHR(st.st_mode)) return -1;
    unsigned majorNumber = major(st.st_rdev);
    if (majorNumber < kFirstSlaveMajor || majorNumber > kFirstSlaveMajor + 7) return -1;
    return static_cast<long>((majorNumber - kFirstSlaveMajor) * 256 + minor(st.st_rdev));
}

bool isMasterOf(int fd, long index) {
    char link[64];
    std::string path = "/proc/self/fd/" + std::to_string(fd);
    ssize_t n = readlink(path.c_str(), link, sizeof link - 1);
    if (n <= 0) return false;
    link[n] = '\0';
    if (strstr(link, "ptmx") == nullptr) return false;
    unsigned number = 0;
    return ioctl(fd, TIOCGPTN, &number) == 0 && static_cast<long>(number) == index;
}

void writeAll(int fd, const char *data, size_t size) {
    while (size > 0) {
        ssize_t n = write(fd, data, size);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return;  // nobody reads the line any more: the answer is lost, as on a wire
        data += n;
        size -= static_cast<size_t>(n);
    }
}

}  // namespace

int ptyMasterOf(const std::string &device) {
    long index = slaveIndex(device);
    if (index < 0) return -1;
    DIR *dir = opendir("/proc/self/fd");
    if (dir == nullptr) return -1;
    int found = -1;
    while (struct dirent *entry = readdir(dir)) {
        char *end = nullptr;
        long fd = strtol(entry->d_name, &end, 10);
        if (end == entry->d_name || *end != '\0' || fd == dirfd(dir)) continue;
        if (isMasterOf(static_cast<int>(fd), index)) {
            found = static_cast<int>(fd);
            break;
        }
    }
    closedir(dir);
    return found;
}

bool makeLineRaw(const std::string &device) {
    int fd = open(device.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) return false;
    struct termios tio;
    bool ok = tcgetattr(fd, &tio) == 0;
    if (ok) {
        cfmakeraw(&tio);
        ok = tcsetattr(fd, TCSANOW, &tio) == 0;
    }
    close(fd);
    return ok;
}

ModemLine::ModemLine(int master, Answerer answer, const std::string &log)
    : mMaster(master), mAnswer(std::move(answer)) {
    if (!log.empty()) mLog.open(log, std::ios::app);
    mThread = std::thread([this] { run(); });
}

ModemLine::~ModemLine() {
    mStop = true;
    if (mThread.joinable()) mThread.join();
}

void ModemLine::unsolicited(const std::string &line) {
    send("\r\n" + line + "\r\n");
    logLine("(unsolicited)", line);
}

void ModemLine::run() {
    char buffer[512];
    while (!mStop) {
        struct pollfd p = {mMaster, POLLIN, 0};
        int ready = poll(&p, 1, 100);
        if (ready <= 0 || mSilent) {
            // A silent modem leaves what the line holds for whoever reads it next.
            if (ready > 0) usleep(100 * 1000);
            continue;
        }
        ssize_t n = read(mMaster, buffer, sizeof buffer);
        if (n < 0 && (errno == EINTR || errno == EAGAIN || errno == EIO)) {
            if (errno == EIO) usleep(100 * 1000);  // nobody holds the terminal side open
            continue;
        }
        if (n <= 0) break;
        for (ssize_t i = 0; i < n; ++i) take(buffer[i]);
    }
}

void ModemLine::take(char c) {
    if (mInData) {
        if (c == kCtrlZ || c == kEscape) return endData(c == kCtrlZ);
        if (mInput.size() < kMaxCommand) mInput += c;
        return;
    }
    if (c == '\r' || c == '\n') return endCommand();
    if (mInput.size() < kMaxCommand) {
        mInput += c;
    } else {
        mOverlong = true;
    }
}

void ModemLine::endCommand() {
    if (mInput.empty() && !mOverlong) return;  // the LF after a CR, or a blank line
    std::string command;
    command.swap(mInput);
    bool overlong = mOverlong;
    mOverlong = false;
    if (mEcho) send(command + "\r");
    AtAnswer answer;
    if (overlong) {
        answer.final = "ERROR";
    } else {
        answer = mAnswer(command);
    }
    if (answer.echo >= 0) mEcho = answer.echo == 1;
    std::string text;
    for (const std::string &line : answer.lines) text += "\r\n" + line + "\r\n";
    if (answer.prompt) {
        mInData = true;
        mPromptCommand = command;
        text += "\r\n> ";
    } else {
        text += "\r\n" + answer.final + "\r\n";
    }
    // Logged before the answer goes out: a client that has its answer finds the line.
    logLine(overlong ? command.substr(0, 64) + "... (too long)" : command,
            answer.prompt ? "> " : answer.final);
    send(text);
}

void ModemLine::endData(bool sent) {
    std::string data;
    data.swap(mInput);
    mInData = false;
    AtAnswer answer = answerAtData(data, sent);
    std::string text;
    for (const std::string &line : answer.lines) text += "\r\n" + line + "\r\n";
    logLine(mPromptCommand + (sent ? " <data sent>" : " <data dropped>"), answer.final);
    send(text + "\r\n" + answer.final + "\r\n");
}

void ModemLine::send(const std::string &text) {
    std::lock_guard<std::mutex> lock(mWriteLock);
    writeAll(mMaster, text.data(), text.size());
}

void ModemLine::logLine(const std::string &command, const std::string &final) {
    std::lock_guard<std::mutex> lock(mWriteLock);
    if (!mLog.is_open()) return;
    mLog << command << " -> " << final << "\n";
    mLog.flush();
}

}  // namespace possim
