#include "servers/listener.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <time.h>
#include <unistd.h>

#include <system_error>

namespace possim {

int listenOn(const std::string &path, std::string &error) {
    sockaddr_un addr;
    memset(&addr, 0, sizeof addr);
    addr.sun_family = AF_UNIX;
    if (path.size() >= sizeof addr.sun_path) {
        error = path + ": path too long";
        return -1;
    }
    memcpy(addr.sun_path, path.c_str(), path.size());
    int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    unlink(path.c_str());
    if (fd < 0 || bind(fd, reinterpret_cast<sockaddr *>(&addr), sizeof addr) != 0 ||
        listen(fd, Listener::kMaxClients) != 0) {
        error = path + ": " + strerror(errno);
        if (fd >= 0) close(fd);
        return -1;
    }
    chmod(path.c_str(), 0777);  // any user of the terminal may connect
    return fd;
}

Listener::Listener(int listenFd, Handler handler)
    : handler_(std::move(handler)), listenFd_(listenFd) {}

Listener::~Listener() {
    stop();
}

bool Listener::start(std::string &error) {
    if (listenFd_ < 0 || pipe2(stopPipe_, O_CLOEXEC) != 0) {
        error = std::string("cannot serve: ") + strerror(errno);
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
    {
        std::unique_lock<std::mutex> lock(mutex_);
        clientDone_.wait(lock, [this] { return clients_ == 0; });
    }
    for (int *fd : {&listenFd_, &stopPipe_[0], &stopPipe_[1]}) {
        if (*fd >= 0) close(*fd);
        *fd = -1;
    }
}

void Listener::serve() {
    for (;;) {
        {
            // At the limit, accept no one until a client is done.
            std::unique_lock<std::mutex> lock(mutex_);
            clientDone_.wait(lock, [this] { return clients_ < kMaxClients; });
        }
        pollfd fds[2] = {{listenFd_, POLLIN, 0}, {stopPipe_[0], POLLIN, 0}};
        if (poll(fds, 2, -1) < 0) {
            if (errno == EINTR) continue;
            return;
        }
        if (fds[1].revents != 0) return;
        int fd = accept4(listenFd_, nullptr, nullptr, SOCK_CLOEXEC);
        if (fd < 0) {
            // Out of descriptors: wait a little rather than spin on the waiting client.
            if (errno == EMFILE || errno == ENFILE) poll(nullptr, 0, 100);
            continue;
        }
        timeval timeout{kSendTimeoutMs / 1000, (kSendTimeoutMs % 1000) * 1000};
        setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof timeout);
        std::lock_guard<std::mutex> lock(mutex_);
        try {
            std::thread([this, fd] { serveClient(fd); }).detach();
            ++clients_;
        } catch (const std::system_error &) {
            close(fd);  // out of threads: this client sees a hang-up, the rest go on
        }
    }
}

void Listener::serveClient(int fd) {
    handler_(fd);
    close(fd);
    std::lock_guard<std::mutex> lock(mutex_);
    --clients_;
    clientDone_.notify_all();
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
