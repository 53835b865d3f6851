#include "control/control.h"

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include <cerrno>
#include <cstring>
#include <fstream>

namespace possim {
namespace ctl {

namespace {

const size_t kMaxLine = 1 << 20;
// A restart waits for the service to come up: answers may take that long.
const int kAnswerTimeoutMs = 30000;

bool fillAddress(const std::string &path, sockaddr_un &addr) {
    memset(&addr, 0, sizeof addr);
    addr.sun_family = AF_UNIX;
    if (path.size() >= sizeof addr.sun_path) return false;
    memcpy(addr.sun_path, path.c_str(), path.size() + 1);
    return true;
}

// A connection to the socket at PATH, or -1.
int connectTo(const std::string &path) {
    sockaddr_un addr;
    if (!fillAddress(path, addr)) return -1;
    int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return -1;
    if (connect(fd, reinterpret_cast<sockaddr *>(&addr), sizeof addr) != 0) {
        close(fd);
        return -1;
    }
    return fd;
}

// A message of one byte with room for one descriptor.
struct DescriptorMessage {
    char byte = 0;
    iovec iov{&byte, 1};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    msghdr msg{};

    DescriptorMessage() {
        msg.msg_iov = &iov;
        msg.msg_iovlen = 1;
        msg.msg_control = control;
        msg.msg_controllen = sizeof control;
    }
    DescriptorMessage(const DescriptorMessage &) = delete;
    DescriptorMessage &operator=(const DescriptorMessage &) = delete;
};

bool answers(const std::string &path) {
    int fd = connectTo(path);
    if (fd < 0) return false;
    close(fd);
    return true;
}

std::string readRunFile(const std::string &dir) {
    std::ifstream in(dir + "/" + kRunFile);
    std::string socket;
    std::getline(in, socket);
    return socket;
}

// The console to use when no run was named: the sandbox's own when inside one, else the one
// run of this user that answers.
std::string defaultSocket(std::string &error) {
    if (access(kInsideSocket, F_OK) == 0) return kInsideSocket;
    std::string dir = hostSocketDir(error);
    if (dir.empty()) return "";
    std::vector<std::string> names;
    if (DIR *d = opendir(dir.c_str())) {
        while (dirent *e = readdir(d)) {
            std::string file = e->d_name;
            const std::string suffix = ".sock";
            if (file.size() <= suffix.size() ||
                file.compare(file.size() - suffix.size(), suffix.size(), suffix) != 0) {
                continue;
            }
            std::string name = file.substr(0, file.size() - suffix.size());
            if (answers(hostSocketPath(dir, name))) names.push_back(name);
        }
        closedir(d);
    }
    if (names.size() == 1) return hostSocketPath(dir, names[0]);
    if (names.empty()) {
        error = "no simulated terminal is running (start one with pos-sim run or pos-sim shell)";
    } else {
        error = "several simulated terminals are running; choose one with --name:";
        for (const std::string &name : names) error += " " + name;
    }
    return "";
}

}  // namespace

bool validRunName(const std::string &name) {
    if (name.empty() || name.size() > 64 || name[0] == '.') return false;
    for (char c : name) {
        if (!isalnum(static_cast<unsigned char>(c)) && c != '.' && c != '_' && c != '-') {
            return false;
        }
    }
    return true;
}

std::string hostSocketDir(std::string &error) {
    std::string dir = "/tmp/pos-sim-" + std::to_string(getuid());
    if (mkdir(dir.c_str(), 0700) != 0 && errno != EEXIST) {
        error = dir + ": " + strerror(errno);
        return "";
    }
    struct stat st;
    if (lstat(dir.c_str(), &st) != 0 || !S_ISDIR(st.st_mode) || st.st_uid != getuid()) {
        error = dir + ": not a directory of this user";
        return "";
    }
    return dir;
}

std::string hostSocketPath(const std::string &dir, const std::string &name) {
    return dir + "/" + name + ".sock";
}

bool readLine(int fd, std::string &line, int timeoutMs) {
    line.clear();
    char buffer[4096];
    for (;;) {
        pollfd p = {fd, POLLIN, 0};
        int n = poll(&p, 1, timeoutMs);
        if (n < 0 && errno == EINTR) continue;
        if (n != 1) return false;
        ssize_t got = read(fd, buffer, sizeof buffer);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return false;
        line.append(buffer, static_cast<size_t>(got));
        size_t end = line.find('\n');
        if (end != std::string::npos) {
            line.resize(end);
            return true;
        }
        if (line.size() > kMaxLine) return false;
    }
}

bool writeAll(int fd, const std::string &text) {
    size_t done = 0;
    while (done < text.size()) {
        ssize_t n = send(fd, text.data() + done, text.size() - done, MSG_NOSIGNAL);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        done += static_cast<size_t>(n);
    }
    return true;
}

std::string encodeRequest(const std::vector<std::string> &words) {
    return nlohmann::json(words).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) +
           "\n";
}

bool decodeRequest(const std::string &line, std::vector<std::string> &words) {
    nlohmann::json value = nlohmann::json::parse(line, nullptr, false);
    if (!value.is_array()) return false;
    words.clear();
    for (const auto &word : value) {
        if (!word.is_string()) return false;
        words.push_back(word.get<std::string>());
    }
    return true;
}

std::string encodeAnswer(const Answer &answer) {
    nlohmann::json value = {{"ok", answer.ok}, {"text", answer.text}};
    return value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

Answer decodeAnswer(const std::string &line) {
    nlohmann::json value = nlohmann::json::parse(line, nullptr, false);
    if (!value.is_object() || !value.contains("ok") || !value["ok"].is_boolean() ||
        !value.contains("text") || !value["text"].is_string()) {
        return {false, "the terminal gave an unreadable answer"};
    }
    return {value["ok"].get<bool>(), value["text"].get<std::string>()};
}

int listenAt(const std::string &path, std::string &error) {
    sockaddr_un addr;
    if (!fillAddress(path, addr)) {
        error = path + ": path too long for a socket";
        return -1;
    }
    if (answers(path)) {
        error = path + ": in use by another run";
        return -1;
    }
    unlink(path.c_str());  // left behind by a run that ended without cleaning up
    int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0 || bind(fd, reinterpret_cast<sockaddr *>(&addr), sizeof addr) != 0 ||
        listen(fd, 16) != 0) {
        error = path + ": " + strerror(errno);
        if (fd >= 0) close(fd);
        return -1;
    }
    return fd;
}

Answer request(const std::string &socket, const std::vector<std::string> &words) {
    int fd = connectTo(socket);
    if (fd < 0) return {false, "cannot reach the simulated terminal at " + socket};
    std::string line;
    bool answered = writeAll(fd, encodeRequest(words)) && readLine(fd, line, kAnswerTimeoutMs);
    close(fd);
    if (!answered) return {false, "the simulated terminal did not answer"};
    return decodeAnswer(line);
}

bool sendDescriptor(int channel, int fd) {
    DescriptorMessage m;
    cmsghdr *cmsg = CMSG_FIRSTHDR(&m.msg);
    cmsg->cmsg_level = SOL_SOCKET;
    cmsg->cmsg_type = SCM_RIGHTS;
    cmsg->cmsg_len = CMSG_LEN(sizeof(int));
    memcpy(CMSG_DATA(cmsg), &fd, sizeof(int));
    ssize_t n;
    do {
        n = sendmsg(channel, &m.msg, MSG_NOSIGNAL);
    } while (n < 0 && errno == EINTR);
    return n == 1;
}

int receiveDescriptor(int channel) {
    DescriptorMessage m;
    ssize_t n;
    do {
        n = recvmsg(channel, &m.msg, MSG_CMSG_CLOEXEC);
    } while (n < 0 && errno == EINTR);
    if (n <= 0) return -1;
    cmsghdr *cmsg = CMSG_FIRSTHDR(&m.msg);
    if (cmsg == nullptr || cmsg->cmsg_level != SOL_SOCKET || cmsg->cmsg_type != SCM_RIGHTS ||
        cmsg->cmsg_len != CMSG_LEN(sizeof(int))) {
        return -1;
    }
    int fd;
    memcpy(&fd, CMSG_DATA(cmsg), sizeof(int));
    return fd;
}

namespace {

const int kWaitPollMs = 50;

// One condition of `wait`: the state's KEY shown as VALUE (KEY=VALUE), or an integer above N
// (KEY>N).
struct Condition {
    std::string key, value;
    bool above = false;
    long long bound = 0;
};

bool parseCondition(const std::string &word, Condition &c) {
    size_t at = word.find_first_of("=>");
    if (at == 0 || at == std::string::npos) return false;
    c.key = word.substr(0, at);
    c.value = word.substr(at + 1);
    c.above = word[at] == '>';
    if (!c.above) return true;
    char *end = nullptr;
    errno = 0;
    c.bound = strtoll(c.value.c_str(), &end, 10);
    return !c.value.empty() && *end == '\0' && errno == 0;
}

// The state's value at KEY as the console shows it: text as it is, anything else as JSON.
std::string shown(const nlohmann::json &value) {
    return value.is_string() ? value.get<std::string>() : value.dump();
}

bool holds(const nlohmann::json &state, const Condition &c) {
    auto it = state.find(c.key);
    if (it == state.end()) return false;
    if (c.above) return it->is_number_integer() && it->get<long long>() > c.bound;
    return shown(*it) == c.value;
}

}  // namespace

Answer waitFor(const std::string &socket, const std::vector<std::string> &words) {
    const char *usage = "wait needs KEY=VALUE or KEY>NUMBER conditions and timeout=SECONDS (1-600)";
    if (words.size() < 3) return {false, usage};
    std::vector<Condition> conditions;
    int seconds = 10;
    for (size_t i = 2; i < words.size(); ++i) {
        Condition c;
        if (words[i].rfind("timeout=", 0) == 0) {
            seconds = atoi(words[i].c_str() + 8);
            if (seconds < 1 || seconds > 600) return {false, usage};
        } else if (parseCondition(words[i], c)) {
            conditions.push_back(c);
        } else {
            return {false, usage};
        }
    }
    if (conditions.empty()) return {false, usage};
    long long waitedMs = 0;
    for (;;) {
        Answer answer = request(socket, {words[0], "state"});
        if (!answer.ok) return answer;
        nlohmann::json state = nlohmann::json::parse(answer.text, nullptr, false);
        const Condition *unmet = nullptr;
        for (const Condition &c : conditions) {
            if (!state.is_object() || !state.contains(c.key))
                return {false, words[0] + " has no " + c.key + " in its state"};
            if (unmet == nullptr && !holds(state, c)) unmet = &c;
        }
        if (unmet == nullptr) return answer;
        if (waitedMs >= seconds * 1000LL) {
            return {false, "timed out after " + std::to_string(seconds) + " s waiting for " +
                               unmet->key + (unmet->above ? ">" : "=") + unmet->value + " (" +
                               unmet->key + " is " + shown(state[unmet->key]) + ")"};
        }
        usleep(kWaitPollMs * 1000);
        waitedMs += kWaitPollMs;
    }
}

void printUsage(FILE *to) {
    fprintf(
        to,
        "usage: pos-sim ctl [--name NAME | --out DIR] list\n"
        "       pos-sim ctl [--name NAME | --out DIR] SERVICE COMMAND\n"
        "COMMAND: state | set KEY=VALUE... | event NAME [KEY=VALUE...] | kill | restart\n"
        "         | fault fail COUNT [STATUS] | fault delay COUNT MS | fault drop COUNT\n"
        "         | fault clear\n"
        "         | wait KEY=VALUE|'KEY>NUMBER'... [timeout=SECONDS]   until the state shows it\n");
}

int ctlMain(const std::vector<std::string> &args) {
    std::string name, outDir;
    size_t i = 0;
    for (; i + 1 < args.size() && (args[i] == "--name" || args[i] == "--out"); i += 2) {
        (args[i] == "--name" ? name : outDir) = args[i + 1];
    }
    std::vector<std::string> words(args.begin() + static_cast<long>(i), args.end());
    if (words.empty() || words[0] == "--help" || words[0] == "-h") {
        printUsage(words.empty() ? stderr : stdout);
        return words.empty() ? 2 : 0;
    }
    std::string error, socket;
    if (!name.empty() && !validRunName(name)) {
        error = "not a run name: " + name;
    } else if (!name.empty()) {
        std::string dir = hostSocketDir(error);
        if (!dir.empty()) socket = hostSocketPath(dir, name);
    } else if (!outDir.empty()) {
        socket = readRunFile(outDir);
        if (socket.empty()) error = outDir + ": no run of pos-sim writes there";
    } else {
        socket = defaultSocket(error);
    }
    bool wait = words.size() > 1 && words[1] == "wait";
    Answer answer = socket.empty() ? Answer{false, error}
                    : wait         ? waitFor(socket, words)
                                   : request(socket, words);
    if (!answer.ok) {
        fprintf(stderr, "pos-sim ctl: %s\n", answer.text.c_str());
        return 1;
    }
    fputs(answer.text.c_str(), stdout);
    return 0;
}

bool ConnectionServer::open(int listenFd, int channel, Handler handler, std::string &error) {
    mListenFd = listenFd;
    mChannel = channel;
    mHandler = std::move(handler);
    if (pipe2(mWakeFd, O_CLOEXEC) != 0) {
        error = std::string("pipe: ") + strerror(errno);
        return false;
    }
    return true;
}

bool ConnectionServer::start(int listenFd, int channel, Handler handler, std::string &error) {
    if (!open(listenFd, channel, std::move(handler), error)) return false;
    mThread = std::make_unique<std::thread>([this] { serve(); });
    return true;
}

void ConnectionServer::stop() {
    if (mThread != nullptr) {
        char byte = 0;
        (void)!write(mWakeFd[1], &byte, 1);
        mThread->join();
        mThread.reset();
    }
    for (int *fd : {&mListenFd, &mWakeFd[0], &mWakeFd[1]}) {
        if (*fd >= 0) close(*fd);
        *fd = -1;
    }
}

void ConnectionServer::serve() {
    for (;;) {
        pollfd p[3] = {{mWakeFd[0], POLLIN, 0}, {mListenFd, POLLIN, 0}, {mChannel, POLLIN, 0}};
        if (poll(p, mChannel >= 0 ? 3 : 2, -1) < 0) {
            if (errno == EINTR) continue;
            return;
        }
        if (p[0].revents != 0) return;
        int fd = -1;
        if (p[1].revents & POLLIN) fd = accept4(mListenFd, nullptr, nullptr, SOCK_CLOEXEC);
        if (fd < 0 && mChannel >= 0 && p[2].revents != 0) {
            fd = receiveDescriptor(mChannel);
            if (fd < 0) mChannel = -1;  // the other side is gone: serve the socket only
        }
        if (fd < 0) continue;
        mHandler(fd);
        close(fd);
    }
}

HostRelay::~HostRelay() {
    if (mPid > 0) {
        kill(mPid, SIGKILL);
        waitpid(mPid, nullptr, 0);
    }
    if (!mSocketPath.empty()) unlink(mSocketPath.c_str());
    if (!mRunFile.empty()) unlink(mRunFile.c_str());
}

bool HostRelay::start(const std::string &name, const std::string &outDir, int channel,
                      std::string &error) {
    if (!validRunName(name)) {
        error = "not a run name: " + name + " (1 to 64 letters, digits, '.', '_', '-')";
        return false;
    }
    std::string dir = hostSocketDir(error);
    if (dir.empty()) return false;
    std::string path = hostSocketPath(dir, name);
    int listenFd = listenAt(path, error);
    if (listenFd < 0) return false;
    mSocketPath = path;
    if (!outDir.empty()) {
        mRunFile = outDir + "/" + kRunFile;
        std::ofstream(mRunFile) << mSocketPath << "\n";
    }
    ConnectionServer server;
    auto pass = [channel](int fd) {
        if (!sendDescriptor(channel, fd)) {
            writeAll(fd, encodeAnswer({false, "the simulated terminal is not running"}));
        }
    };
    if (!server.open(listenFd, -1, pass, error)) return false;
    pid_t parent = getpid();
    mPid = fork();
    if (mPid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != parent) _exit(0);  // pos-sim died before the line above took hold
        server.serve();
        _exit(0);
    }
    if (mPid < 0) error = std::string("fork: ") + strerror(errno);
    return mPid > 0;  // the server's sockets close here: the relay process has its own
}

}  // namespace ctl
}  // namespace possim
