// The control console of a running simulated terminal: `pos-sim ctl`, the test harness and the
// supervisor inside the sandbox that answers them.
//
// Inside the sandbox the supervisor listens on kInsideSocket. From the host a run is reached by
// name through "/tmp/pos-sim-UID/NAME.sock", which pos-sim itself relays into the sandbox (the
// output directory of a run names that socket in its file kRunFile). A request is the words of
// the command line after `pos-sim ctl`, an answer says whether it was done and the text to
// show; each is one line of JSON on a stream connection of its own.
#ifndef POS_SIM_CONTROL_H
#define POS_SIM_CONTROL_H

#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <sys/types.h>
#include <thread>
#include <vector>

namespace possim {
namespace ctl {

constexpr const char *kInsideSocket = "/tmp/.possim/control";
constexpr const char *kRunFile = "pos-sim.run";

// Run names: 1 to 64 letters, digits, '.', '_' and '-', not starting with '.'.
bool validRunName(const std::string &name);
// This user's directory of host-side sockets, created (mode 0700) when missing; empty with
// ERROR when it cannot be made or belongs to someone else.
std::string hostSocketDir(std::string &error);
std::string hostSocketPath(const std::string &dir, const std::string &name);

struct Answer {
    bool ok = false;
    std::string text;  // the output when done, else the reason
};

// One line (without its newline) within timeoutMs; false on time-out, end or an overlong line.
bool readLine(int fd, std::string &line, int timeoutMs);
bool writeAll(int fd, const std::string &text);
std::string encodeRequest(const std::vector<std::string> &words);
bool decodeRequest(const std::string &line, std::vector<std::string> &words);
std::string encodeAnswer(const Answer &answer);
Answer decodeAnswer(const std::string &line);

// A listening stream socket at PATH (a stale socket file is replaced); -1 with ERROR.
int listenAt(const std::string &path, std::string &error);
// Sends WORDS to the console at SOCKET and returns its answer.
Answer request(const std::string &socket, const std::vector<std::string> &words);

// `SERVICE wait CONDITION... [timeout=SECONDS]`: asks for the service's state until every
// condition holds (KEY=VALUE: the value shown as VALUE; KEY>N: an integer above N) and
// answers that state, or refuses when the time runs out (default 10 s).
Answer waitFor(const std::string &socket, const std::vector<std::string> &words);

// Passing a connection into the sandbox: one descriptor per message over CHANNEL.
bool sendDescriptor(int channel, int fd);
int receiveDescriptor(int channel);  // -1 when the channel is closed or the message had none

// `pos-sim ctl ARGS...`; returns the exit status (0 done, 1 refused or unreachable, 2 usage).
int ctlMain(const std::vector<std::string> &args);
void printUsage(FILE *to);

// Serves connections one at a time: those accepted on a listening socket and those handed in
// through a channel. HANDLER gets each connection; the server closes it afterwards.
class ConnectionServer {
  public:
    using Handler = std::function<void(int fd)>;

    ConnectionServer() = default;
    ~ConnectionServer() { stop(); }
    ConnectionServer(const ConnectionServer &) = delete;
    ConnectionServer &operator=(const ConnectionServer &) = delete;

    // Takes LISTENFD (closed when it stops); CHANNEL may be -1 and stays the caller's.
    bool open(int listenFd, int channel, Handler handler, std::string &error);
    // Serves on the calling thread until stop() (from another thread).
    void serve();
    // open(), then serve() on one thread of its own, for good: processes started from the
    // handler end with the thread that started them.
    bool start(int listenFd, int channel, Handler handler, std::string &error);
    void stop();

  private:
    int mListenFd = -1;
    int mChannel = -1;
    int mWakeFd[2] = {-1, -1};
    Handler mHandler;
    std::unique_ptr<std::thread> mThread;
};

// The host side of a run: listens on its named socket and hands every connection to the
// sandbox through a channel made before the sandbox was; writes the output directory's run
// file. It serves in a process of its own, so that pos-sim stays one thread when it forks the
// sandbox. Everything is removed again when it is destroyed.
class HostRelay {
  public:
    HostRelay() = default;
    ~HostRelay();
    HostRelay(const HostRelay &) = delete;
    HostRelay &operator=(const HostRelay &) = delete;

    bool start(const std::string &name, const std::string &outDir, int channel, std::string &error);

  private:
    std::string mSocketPath;
    std::string mRunFile;
    pid_t mPid = -1;
};

}  // namespace ctl
}  // namespace possim

#endif
