// A local stream socket served by one thread, one connection at a time.
#ifndef POS_SIM_SERVERS_LISTENER_H
#define POS_SIM_SERVERS_LISTENER_H

#include <functional>
#include <string>
#include <thread>

namespace possim {

class Listener {
  public:
    using Handler = std::function<void(int fd)>;

    Listener(std::string path, Handler handler);
    ~Listener();
    Listener(const Listener &) = delete;
    Listener &operator=(const Listener &) = delete;

    // Binds the path (replacing a stale socket file) and starts serving.
    bool start(std::string &error);
    void stop();

  private:
    void serve();

    std::string path_;
    Handler handler_;
    int listenFd_ = -1;
    int stopPipe_[2] = {-1, -1};
    std::thread thread_;
};

// Reads exactly LEN bytes within TIMEOUTMS; false when the peer stops short.
bool readFully(int fd, void *buf, size_t len, int timeoutMs);
// Writes all of BUF; false when the peer went away.
bool writeFully(int fd, const void *buf, size_t len);

}  // namespace possim

#endif
