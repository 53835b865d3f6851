#include "Transport.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <time.h>
#include <unistd.h>

#include <binder/Parcel.h>

#include <algorithm>

namespace android {
namespace transport {

namespace {

constexpr size_t kInitialBuffer = 4096;
constexpr size_t kShrinkAbove = 64 * 1024;

bool makeAddress(const std::string &path, sockaddr_un *addr) {
    memset(addr, 0, sizeof *addr);
    addr->sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof addr->sun_path) {
        errno = ENAMETOOLONG;
        return false;
    }
    memcpy(addr->sun_path, path.c_str(), path.size() + 1);
    return true;
}

}  // namespace

int64_t monotonicMs() {
    timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return ts.tv_sec * 1000LL + ts.tv_nsec / 1000000;
}

int connectTo(const std::string &path) {
    sockaddr_un addr;
    if (!makeAddress(path, &addr)) return -1;
    int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return -1;
    int rc;
    do {
        rc = connect(fd, reinterpret_cast<sockaddr *>(&addr), sizeof addr);
    } while (rc < 0 && errno == EINTR);
    if (rc < 0) {
        int saved = errno;
        close(fd);
        errno = saved;
        return -1;
    }
    return fd;
}

int listenAt(const std::string &path) {
    sockaddr_un addr;
    if (!makeAddress(path, &addr)) return -1;
    int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0) return -1;
    unlink(path.c_str());  // a socket file left by a process that died
    if (bind(fd, reinterpret_cast<sockaddr *>(&addr), sizeof addr) < 0 || listen(fd, 64) < 0) {
        int saved = errno;
        close(fd);
        errno = saved;
        return -1;
    }
    return fd;
}

bool peerHungUp(int fd) {
    pollfd p{fd, POLLRDHUP, 0};
    if (poll(&p, 1, 0) <= 0) return false;
    return (p.revents & (POLLHUP | POLLRDHUP | POLLERR | POLLNVAL)) != 0;
}

bool sendFrame(int fd, const FrameHeader &header, const Parcel &payload) {
    iovec iov[2];
    iov[0].iov_base = const_cast<FrameHeader *>(&header);
    iov[0].iov_len = sizeof header;
    iov[1].iov_base = const_cast<uint8_t *>(payload.data());
    iov[1].iov_len = header.size;
    msghdr msg{};
    msg.msg_iov = iov;
    msg.msg_iovlen = header.size > 0 ? 2 : 1;
    while (msg.msg_iovlen > 0) {
        // MSG_NOSIGNAL: a dead peer is an error code here, not a SIGPIPE for the process.
        ssize_t n = sendmsg(fd, &msg, MSG_NOSIGNAL);
        if (n < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        size_t sent = static_cast<size_t>(n);
        while (msg.msg_iovlen > 0 && sent >= msg.msg_iov[0].iov_len) {
            sent -= msg.msg_iov[0].iov_len;
            ++msg.msg_iov;
            --msg.msg_iovlen;
        }
        if (msg.msg_iovlen > 0) {
            msg.msg_iov[0].iov_base = static_cast<uint8_t *>(msg.msg_iov[0].iov_base) + sent;
            msg.msg_iov[0].iov_len -= sent;
        }
    }
    return true;
}

size_t FrameReader::frameBytes() const {
    size_t have = mEnd - mBegin;
    if (have < sizeof(FrameHeader)) return sizeof(FrameHeader);
    FrameHeader header;
    memcpy(&header, mBuffer.data() + mBegin, sizeof header);
    return sizeof(FrameHeader) + header.size;
}

status_t FrameReader::take(FrameHeader *header, Parcel *payload) {
    size_t have = mEnd - mBegin;
    if (have < sizeof(FrameHeader)) return WOULD_BLOCK;
    memcpy(header, mBuffer.data() + mBegin, sizeof(FrameHeader));
    if (header->size > kMaxFrameBytes) return BAD_VALUE;
    size_t need = sizeof(FrameHeader) + header->size;
    if (have < need) return WOULD_BLOCK;
    status_t err = payload->setData(mBuffer.data() + mBegin + sizeof(FrameHeader), header->size);
    mBegin += need;
    if (mBegin == mEnd) {
        mBegin = mEnd = 0;
        // A large frame is over: an idle connection keeps only a small buffer.
        if (mBuffer.size() > kShrinkAbove) std::vector<uint8_t>().swap(mBuffer);
    }
    return err == OK ? OK : BAD_VALUE;
}

status_t FrameReader::fill(int fd) {
    size_t have = mEnd - mBegin;
    if (mBegin > 0) {
        memmove(mBuffer.data(), mBuffer.data() + mBegin, have);
        mBegin = 0;
        mEnd = have;
    }
    // Grow only when what arrived fills the buffer, and at most to the frame's end, so the
    // memory a connection holds is at most twice what its peer has actually sent.
    if (mBuffer.size() < kInitialBuffer) mBuffer.resize(kInitialBuffer);
    size_t frame = frameBytes();
    if (mEnd == mBuffer.size() && frame > mBuffer.size()) {
        mBuffer.resize(std::min(frame, 2 * mBuffer.size()));
    }
    if (mEnd == mBuffer.size()) return OK;  // a whole frame (or more) is already here
    ssize_t n;
    do {
        n = ::read(fd, mBuffer.data() + mEnd, mBuffer.size() - mEnd);
    } while (n < 0 && errno == EINTR);
    if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) return WOULD_BLOCK;
    if (n <= 0) return DEAD_OBJECT;
    mEnd += static_cast<size_t>(n);
    return OK;
}

status_t FrameReader::next(int fd, FrameHeader *header, Parcel *payload, int timeoutMs) {
    int64_t deadline = timeoutMs >= 0 ? monotonicMs() + timeoutMs : -1;
    for (;;) {
        status_t err = take(header, payload);
        if (err != WOULD_BLOCK) return err;
        // Without a time-out a blocking socket just blocks in the read (one system call); with
        // one, or on a non-blocking socket, poll first.
        if (deadline >= 0) {
            int64_t left = deadline - monotonicMs();
            pollfd p{fd, POLLIN, 0};
            if (left <= 0 || poll(&p, 1, int(left)) == 0) return TIMED_OUT;
        }
        err = fill(fd);
        if (err == WOULD_BLOCK && deadline < 0) {
            pollfd p{fd, POLLIN, 0};
            if (poll(&p, 1, -1) < 0 && errno != EINTR) return DEAD_OBJECT;
        } else if (err != OK && err != WOULD_BLOCK) {
            return err;
        }
    }
}

}  // namespace transport
}  // namespace android
