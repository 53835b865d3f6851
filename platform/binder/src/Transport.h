// The host wire under BpBinder and the service threads: AF_UNIX stream sockets carrying
// frames. A request frame is {code, flags, size} then size parcel bytes; a reply frame is
// {status, flags, size} then the reply parcel's bytes. Header words are in host byte order:
// both ends are always on the same machine.
#ifndef POS_BINDER_TRANSPORT_H
#define POS_BINDER_TRANSPORT_H

#include <stddef.h>
#include <stdint.h>

#include <string>
#include <vector>

#include <utils/Errors.h>

namespace android {

class Parcel;

namespace transport {

struct FrameHeader {
    uint32_t word;  // the transaction code of a request, the status of a reply
    uint32_t flags;
    uint32_t size;  // parcel bytes that follow
};
static_assert(sizeof(FrameHeader) == 12, "the frame header is three 32-bit words");

// A frame larger than this is taken as a broken peer, not allocated. Far above any call the
// services make, and low enough that a peer cannot make a process reserve much by lying.
constexpr uint32_t kMaxFrameBytes = 16u << 20;

// Reply flag of the frame a service sends instead of serving a connection it cannot take (too
// many open); the status word says why. The service closes the connection after it.
constexpr uint32_t kReplyRefused = 0x80000000u;

// Milliseconds of the monotonic clock.
int64_t monotonicMs();

// A connected socket, or -1 (errno set) when nobody listens at path or path is too long.
int connectTo(const std::string &path);
// A listening, non-blocking socket at path (a stale socket file is replaced), or -1.
int listenAt(const std::string &path);
// True when the peer has hung up (zero-timeout poll, never blocks).
bool peerHungUp(int fd);

// Sends the header and the parcel bytes with one sendmsg where the socket takes them whole.
bool sendFrame(int fd, const FrameHeader &header, const Parcel &payload);

// Reads frames from one socket. Bytes that arrive beyond the current frame (one-way calls
// sent back to back) are kept for the next call. The buffer grows with the bytes that have
// arrived, never with what a header merely announces, and shrinks again once it drains.
class FrameReader {
  public:
    // Waits until a whole frame is there: OK with the header and the payload in *payload
    // (rewound); DEAD_OBJECT when the peer closed or the socket failed; BAD_VALUE for a frame
    // too large to be real; TIMED_OUT when timeoutMs (unless negative) passes first.
    status_t next(int fd, FrameHeader *header, Parcel *payload, int timeoutMs = -1);

    // For a caller that polls: reads what the socket holds now. OK when bytes arrived,
    // WOULD_BLOCK when none were waiting, DEAD_OBJECT when the peer closed or it failed.
    status_t fill(int fd);
    // A whole buffered frame (OK), WOULD_BLOCK while it is incomplete, or BAD_VALUE.
    status_t take(FrameHeader *header, Parcel *payload);
    // Bytes of a frame not yet complete are buffered.
    bool midFrame() const { return mEnd > mBegin; }
    size_t capacity() const { return mBuffer.size(); }

  private:
    size_t frameBytes() const;

    std::vector<uint8_t> mBuffer;
    size_t mBegin = 0;
    size_t mEnd = 0;
};

}  // namespace transport
}  // namespace android

#endif
