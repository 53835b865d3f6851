#include "servers/usb_serial.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include "servers/listener.h"

namespace possim {

namespace {

const char *const kInitServerSocket = "/tmp/kv_init_servers_cmd_sock";
constexpr int kAnswerTimeoutMs = 5000;

constexpr size_t kChunk = 4096;

// Copies what is waiting on FROM to TO. A full line drops what does not fit, as a serial
// port does when nobody reads it. False when FROM has gone.
bool pass(int from, int to) {
    char buf[kChunk];
    ssize_t n = read(from, buf, sizeof buf);
    if (n < 0) return errno == EAGAIN || errno == EINTR;
    if (n == 0) return false;
    ssize_t off = 0;
    while (off < n) {
        ssize_t w = write(to, buf + off, size_t(n - off));
        if (w < 0 && errno == EINTR) continue;
        if (w <= 0) break;
        off += w;
    }
    return true;
}

}  // namespace

bool requestUsbSerial(bool on, std::string &error) {
    int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un addr = {};
    addr.sun_family = AF_UNIX;
    strncpy(addr.sun_path, kInitServerSocket, sizeof addr.sun_path - 1);
    char request[516] = {};
    int32_t code = on ? 0x107 : 0x108;
    memcpy(request, &code, sizeof code);
    strcpy(request + 4, on ? "start-usb-serial" : "stop-usb-serial");
    int32_t answer = -1;
    bool asked = fd >= 0 && connect(fd, reinterpret_cast<sockaddr *>(&addr), sizeof addr) == 0 &&
                 writeFully(fd, request, sizeof request) &&
                 readFully(fd, &answer, sizeof answer, kAnswerTimeoutMs);
    if (fd >= 0) close(fd);
    if (!asked) {
        error = "usb_serial: the init command server does not answer";
    } else if (answer != 0) {
        error = "usb_serial: the init command server answered " + std::to_string(answer);
    }
    return asked && answer == 0;
}

void removeUsbSerialNodes() {
    umount2(kUsbSerialDevice, MNT_DETACH);
    unlink(kUsbSerialDevice);
    unlink(kUsbHostEnd);
}

bool UsbSerialGadget::openEnd(End &end, std::string &error) {
    end.master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK);
    const char *name =
        end.master < 0 ? nullptr : (unlockpt(end.master) == 0 ? ptsname(end.master) : nullptr);
    if (name == nullptr) {
        error = std::string("no pseudo-terminal: ") + strerror(errno);
        return false;
    }
    end.path = name;
    end.slave = open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
    termios raw;
    if (end.slave < 0 || tcgetattr(end.slave, &raw) != 0) {
        error = "cannot open " + end.path + ": " + strerror(errno);
        return false;
    }
    // A raw line both ways: what one end writes reaches the other unchanged and unechoed.
    cfmakeraw(&raw);
    tcsetattr(end.slave, TCSANOW, &raw);
    chmod(name, 0660);
    return true;
}

void UsbSerialGadget::closeEnd(End &end) {
    if (end.slave >= 0) close(end.slave);
    if (end.master >= 0) close(end.master);
    end = End();
}

bool UsbSerialGadget::start(std::string &error) {
    if (running()) return true;
    removeUsbSerialNodes();
    if (!openEnd(device_, error) || !openEnd(host_, error)) {
        stop();
        return false;
    }
    // The device node is the pseudo-terminal itself (a character device, as on the
    // terminal), bound over an empty file; the host's end only needs to be found.
    int placeholder = open(kUsbSerialDevice, O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    if (placeholder >= 0) close(placeholder);
    if (placeholder < 0 ||
        mount(device_.path.c_str(), kUsbSerialDevice, nullptr, MS_BIND, nullptr) != 0 ||
        symlink(host_.path.c_str(), kUsbHostEnd) != 0) {
        error = std::string("cannot make ") + kUsbSerialDevice + ": " + strerror(errno);
        stop();
        return false;
    }
    if (pipe2(stopPipe_, O_CLOEXEC) != 0) {
        error = std::string("pipe: ") + strerror(errno);
        stop();
        return false;
    }
    relay_ = std::thread([this] { relay(); });
    return true;
}

void UsbSerialGadget::stop() {
    if (relay_.joinable()) {
        char stop = 1;
        (void)!write(stopPipe_[1], &stop, 1);
        relay_.join();
    }
    for (int &fd : stopPipe_) {
        if (fd >= 0) close(fd);
        fd = -1;
    }
    removeUsbSerialNodes();
    closeEnd(device_);
    closeEnd(host_);
}

void UsbSerialGadget::relay() {
    for (;;) {
        pollfd fds[3] = {
            {device_.master, POLLIN, 0}, {host_.master, POLLIN, 0}, {stopPipe_[0], POLLIN, 0}};
        if (poll(fds, 3, -1) < 0) {
            if (errno == EINTR) continue;
            return;
        }
        if (fds[2].revents != 0) return;
        if (fds[0].revents != 0 && !pass(device_.master, host_.master)) return;
        if (fds[1].revents != 0 && !pass(host_.master, device_.master)) return;
    }
}

}  // namespace possim
