#include "Transport.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <unistd.h>

#include <binder/Parcel.h>

namespace android {
namespace transport {

namespace {

constexpr size_t kInitialBuffer = 4096;

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

FrameReader::FrameReader() : mBuffer(kInitialBuffer), mBegin(0), mEnd(0) {}

status_t FrameReader::next(int fd, FrameHeader *header, Parcel *payload) {
    for (;;) {
        size_t have = mEnd - mBegin;
        size_t need = sizeof(FrameHeader);
        if (have >= sizeof(FrameHeader)) {
            memcpy(header, mBuffer.data() + mBegin, sizeof(FrameHeader));
            if (header->size > kMaxFrameBytes) return BAD_VALUE;
            need += header->size;
            if (have >= need) {
                status_t err =
                    payload->setData(mBuffer.data() + mBegin + sizeof(FrameHeader), header->size);
                mBegin += need;
                if (mBegin == mEnd) mBegin = mEnd = 0;
                return err == OK ? OK : BAD_VALUE;
            }
        }
        // Make room for the rest of this frame at the end of the buffer.
        if (mBegin > 0) {
            memmove(mBuffer.data(), mBuffer.data() + mBegin, have);
            mBegin = 0;
            mEnd = have;
        }
        if (mBuffer.size() < need) mBuffer.resize(need);
        ssize_t n;
        do {
            n = ::read(fd, mBuffer.data() + mEnd, mBuffer.size() - mEnd);
        } while (n < 0 && errno == EINTR);
        if (n <= 0) return DEAD_OBJECT;
        mEnd += static_cast<size_t>(n);
    }
}

}  // namespace transport
}  // namespace android
