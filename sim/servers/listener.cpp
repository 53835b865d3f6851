#include "servers/listener.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <time.h>
#include <unistd.h>

namespace possim {

Listener::Listener(std::string path, Handler handler)
    : path_(std::move(path)), handler_(std::move(handler)) {}

Listener::~Listener() {
    stop();
}

bool Listener::start(std::string &error) {
    sockaddr_un addr;
    memset(&addr, 0, sizeof addr);
    addr.sun_family = AF_UNIX;
    if (path_.size() >= sizeof addr.sun_path) {
        error = path_ + ": path too long";
        return false;
    }
    memcpy(addr.sun_path, path_.c_str(), path_.size());
    listenFd_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    unlink(path_.c_str());
    if (listenFd_ < 0 || bind(listenFd_, reinterpret_cast<sockaddr *>(&addr), sizeof addr) != 0 ||
        listen(listenFd_, 16) != 0 || pipe2(stopPipe_, O_CLOEXEC) != 0) {
        error = path_ + ": " + strerror(errno);
        stop();
        return false;
    }
    thread_ = std::thread([this] { serve(); });
    return true;
}

void Listener::stop() {
    if (thread_.joinable()) {
        char byte = 1;
        if (write(stopPipe_[1], &byte, 1) != 1) {
            // the pipe cannot be full: one byte is ever written
        }
        thread_.join();
    }
    for (int *fd : {&listenFd_, &stopPipe_[0], &stopPipe_[1]}) {
        if (*fd >= 0) close(*fd);
        *fd = -1;
    }
}

void Listener::serve() {
    for (;;) {
        pollfd fds[2] = {{listenFd_, POLLIN, 0}, {stopPipe_[0], POLLIN, 0}};
        if (poll(fds, 2, -1) < 0) {
            if (errno == EINTR) continue;
            return;
        }
        if (fds[1].revents != 0) return;
        int fd = accept4(listenFd_, nullptr, nullptr, SOCK_CLOEXEC);
        if (fd < 0) continue;
        handler_(fd);
        close(fd);
    }
}

static long long nowMs() {
    timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return ts.tv_sec * 1000LL + ts.tv_nsec / 1000000;
}

bool readFully(int fd, void *buf, size_t len, int timeoutMs) {
    auto *p = static_cast<char *>(buf);
    long long end = nowMs() + timeoutMs;
    while (len > 0) {
        long long left = end - nowMs();
        pollfd pfd = {fd, POLLIN, 0};
        if (left <= 0 || poll(&pfd, 1, int(left)) <= 0) return false;
        ssize_t n = recv(fd, p, len, 0);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        p += n;
        len -= size_t(n);
    }
    return true;
}

bool writeFully(int fd, const void *buf, size_t len) {
    auto *p = static_cast<const char *>(buf);
    while (len > 0) {
        ssize_t n = send(fd, p, len, MSG_NOSIGNAL);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        p += n;
        len -= size_t(n);
    }
    return true;
}

}  // namespace possim
