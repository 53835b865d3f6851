// The host wire under BpBinder and the service threads: AF_UNIX stream sockets carrying
// frames. A request frame is {code, flags, size} then size parcel bytes; a reply frame is
// {status, 0, size} then the reply parcel's bytes. Header words are in host byte order: both
// ends are always on the same machine.
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

// A frame larger than this is taken as a broken peer, not allocated.
constexpr uint32_t kMaxFrameBytes = 64u << 20;

// A connected socket, or -1 (errno set) when nobody listens at path or path is too long.
int connectTo(const std::string &path);
// A listening, non-blocking socket at path (a stale socket file is replaced), or -1.
int listenAt(const std::string &path);
// True when the peer has hung up (zero-timeout poll, never blocks).
bool peerHungUp(int fd);

// Sends the header and the parcel bytes with one sendmsg where the socket takes them whole.
bool sendFrame(int fd, const FrameHeader &header, const Parcel &payload);

// Reads frames from one socket. Bytes that arrive beyond the current frame (one-way calls
// sent back to back) are kept for the next call.
class FrameReader {
  public:
    FrameReader();
    // OK with the header and the payload in *payload (rewound); DEAD_OBJECT when the peer
    // closed or the socket failed; BAD_VALUE for a frame too large to be real.
    status_t next(int fd, FrameHeader *header, Parcel *payload);

  private:
    std::vector<uint8_t> mBuffer;
    size_t mBegin;
    size_t mEnd;
};

}  // namespace transport
}  // namespace android

#endif
