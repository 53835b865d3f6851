// A local stream socket whose clients are served side by side, each on a thread of its own
// (up to a limit), so a slow or idle client never holds up another. Every read and write on a
// connection has a deadline, so no client holds its thread for long either.
#ifndef POS_SIM_SERVERS_LISTENER_H
#define POS_SIM_SERVERS_LISTENER_H

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace possim {

class Listener {
  public:
    using Handler = std::function<void(int fd)>;

    // Clients served at the same time; further ones wait to be accepted.
    static constexpr int kMaxClients = 64;
    // A client that does not take an answer within this time loses its connection.
    static constexpr int kSendTimeoutMs = 5000;

    // Serves the listening socket LISTENFD (which it closes when it stops).
    Listener(int listenFd, Handler handler);
    ~Listener();
    Listener(const Listener &) = delete;
    Listener &operator=(const Listener &) = delete;

    // Starts serving on a thread of its own.
    bool start(std::string &error);
    // Stops accepting and waits for the clients being served.
    void stop();

  private:
    void serve();
    void serveClient(int fd);

    Handler handler_;
    int listenFd_ = -1;
    int stopPipe_[2] = {-1, -1};
    std::thread thread_;
    std::mutex mutex_;
    std::condition_variable clientDone_;
    int clients_ = 0;
};

// A listening socket at PATH (a stale socket file is replaced) that anyone may connect to, or
// -1 with ERROR.
int listenOn(const std::string &path, std::string &error);

// Reads exactly LEN bytes within TIMEOUTMS; false when the peer stops short.
bool readFully(int fd, void *buf, size_t len, int timeoutMs);
// Writes all of BUF; false when the peer went away or stopped reading.
bool writeFully(int fd, const void *buf, size_t len);

}  // namespace possim

#endif
