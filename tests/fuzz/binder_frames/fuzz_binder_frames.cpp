// The host binder's frame reader on whatever a peer writes into the socket: the fuzz bytes go
// into one end of a socket pair and the reader takes frames from the other until it stops.
// The frames it returns, and the reason it stops, are compared with a walk over the bytes.
#include <sys/socket.h>
#include <unistd.h>

#include <binder/Parcel.h>

#include <cstring>

#include "FuzzCheck.h"
#include "Transport.h"

using namespace android;
using transport::FrameHeader;

namespace {

// Stays well inside the socket's buffer, so writing never waits for the reader.
constexpr size_t kMaxInput = 32 * 1024;

uint32_t wordAt(const uint8_t *p) {
    uint32_t v;
    memcpy(&v, p, sizeof v);  // header words are in host order
    return v;
}

bool writeAll(int fd, const uint8_t *data, size_t size) {
    while (size > 0) {
        ssize_t n = write(fd, data, size);
        if (n <= 0) return false;
        data += n;
        size -= size_t(n);
    }
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size > kMaxInput) size = kMaxInput;
    int fds[2];
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, fds) != 0) return 0;
    bool written = writeAll(fds[1], data, size);
    close(fds[1]);  // the peer hangs up once it has said everything
    FUZZ_CHECK(written);

    transport::FrameReader reader;
    size_t offset = 0;
    for (;;) {
        FrameHeader header{};
        Parcel payload;
        status_t status = reader.next(fds[0], &header, &payload);
        size_t left = size - offset;
        if (left < sizeof(FrameHeader)) {
            FUZZ_CHECK(status == DEAD_OBJECT);
            break;
        }
        uint32_t declared = wordAt(data + offset + 8);
        if (declared > transport::kMaxFrameBytes) {
            FUZZ_CHECK(status == BAD_VALUE);
            break;
        }
        if (left - sizeof(FrameHeader) < declared) {
            FUZZ_CHECK(status == DEAD_OBJECT);  // the peer left in the middle of a frame
            break;
        }
        FUZZ_CHECK(status == OK);
        FUZZ_CHECK(header.word == wordAt(data + offset) &&
                   header.flags == wordAt(data + offset + 4));
        FUZZ_CHECK(header.size == declared && payload.dataSize() == declared);
        FUZZ_CHECK(payload.dataPosition() == 0);
        const uint8_t *body = data + offset + sizeof(FrameHeader);
        FUZZ_CHECK(declared == 0 || memcmp(payload.data(), body, declared) == 0);
        offset += sizeof(FrameHeader) + declared;
    }
    close(fds[0]);
    return 0;
}
