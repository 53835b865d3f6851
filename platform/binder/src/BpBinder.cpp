#include <binder/BpBinder.h>
#include <binder/Parcel.h>

#include <poll.h>
#include <pthread.h>
#include <stdio.h>
#include <unistd.h>

#include <map>

#include "Transport.h"

namespace android {

namespace {

// Connections one BpBinder opens for threads calling at the same time; a further thread waits
// for one of them to come free.
constexpr size_t kMaxConnections = 8;

// The process's live BpBinders by socket path. It owns none of them: an entry is taken only
// while its binder still has a strong reference, and a binder removes its own entry as it goes.
struct ProxyTable {
    std::mutex lock;
    std::map<std::string, BpBinder *> byPath;
};

ProxyTable &proxies() {
    static ProxyTable *table = [] {
        pthread_atfork([] { proxies().lock.lock(); }, [] { proxies().lock.unlock(); },
                       [] { proxies().lock.unlock(); });
        return new ProxyTable;  // never destroyed: binders may outlive exit
    }();
    return *table;
}

}  // namespace

struct BpBinder::Connection {
    explicit Connection(int socket) : fd(socket) {}
    ~Connection() { close(fd); }
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;

    const int fd;
    transport::FrameReader reader;
};

sp<BpBinder> BpBinder::connect(const std::string &socketPath) {
    ProxyTable &table = proxies();
    sp<BpBinder> stale;  // declared first: if it is the last reference, it goes after the lock
    std::lock_guard<std::mutex> guard(table.lock);
    auto it = table.byPath.find(socketPath);
    if (it != table.byPath.end() && it->second->mOwner == getpid() &&
        it->second->attemptIncStrong(&table)) {
        sp<BpBinder> held(it->second);
        held->decStrong(&table);
        if (held->probeAlive()) return held;
        stale = held;
    }
    int fd = transport::connectTo(socketPath);
    if (fd < 0) return nullptr;
    sp<BpBinder> fresh(new BpBinder(std::unique_ptr<Connection>(new Connection(fd)), socketPath));
    table.byPath[socketPath] = fresh.get();
    return fresh;
}

BpBinder::BpBinder(std::unique_ptr<Connection> first, const std::string &socketPath)
    : mSocketPath(socketPath), mAlive(true), mOpen(1), mOwner(getpid()), mDescriptorFetched(false) {
    mIdle.push_back(std::move(first));
}

BpBinder::~BpBinder() {
    ProxyTable &table = proxies();
    std::lock_guard<std::mutex> guard(table.lock);
    auto it = table.byPath.find(mSocketPath);
    if (it != table.byPath.end() && it->second == this) table.byPath.erase(it);
}

BpBinder *BpBinder::remoteBinder() {
    return this;
}

bool BpBinder::isBinderAlive() const {
    return mAlive.load(std::memory_order_acquire);
}

bool BpBinder::probeAlive() {
    std::lock_guard<std::mutex> guard(mLock);
    for (const auto &connection : mIdle) {
        if (isBinderAlive() && transport::peerHungUp(connection->fd)) markDead();
    }
    return isBinderAlive();
}

void BpBinder::markDead() {
    mAlive.store(false, std::memory_order_release);
}

status_t BpBinder::pingBinder() {
    Parcel data;
    Parcel reply;
    return transact(PING_TRANSACTION, data, &reply);
}

const String16 &BpBinder::getInterfaceDescriptor() const {
    std::lock_guard<std::mutex> guard(mDescriptorLock);
    if (!mDescriptorFetched) {
        Parcel data;
        Parcel reply;
        if (const_cast<BpBinder *>(this)->transact(INTERFACE_TRANSACTION, data, &reply) == OK) {
            mDescriptor = reply.readString16();
            mDescriptorFetched = true;
        }
    }
    return mDescriptor;
}

// An idle connection, a new one while fewer than the limit are open, else the next one given
// back. Null when the binder is dead or no connection can be opened.
std::unique_ptr<BpBinder::Connection> BpBinder::acquire() {
    std::unique_lock<std::mutex> guard(mLock);
    if (mOwner != getpid()) {
        // A forked child: its parent's connections carry the parent's calls. The child leaves
        // them to the parent (closing its copies only) and opens its own.
        mIdle.clear();
        mOpen = 0;
        mOwner = getpid();
    }
    for (;;) {
        if (!isBinderAlive()) return nullptr;
        if (!mIdle.empty()) {
            std::unique_ptr<Connection> connection = std::move(mIdle.back());
            mIdle.pop_back();
            return connection;
        }
        if (mOpen < kMaxConnections) break;
        mIdleChanged.wait(guard);
    }
    ++mOpen;
    guard.unlock();
    int fd = transport::connectTo(mSocketPath);
    if (fd >= 0) return std::unique_ptr<Connection>(new Connection(fd));
    markDead();  // the service no longer listens
    dropConnection();
    return nullptr;
}

void BpBinder::giveBack(std::unique_ptr<Connection> connection) {
    {
        std::lock_guard<std::mutex> guard(mLock);
        if (mOwner == getpid()) mIdle.push_back(std::move(connection));
    }
    mIdleChanged.notify_one();
}

void BpBinder::dropConnection() {
    {
        std::lock_guard<std::mutex> guard(mLock);
        if (mOpen > 0) --mOpen;
    }
    // Waiters wake to see the binder dead (or room for a connection of their own).
    mIdleChanged.notify_all();
}

status_t BpBinder::transact(uint32_t code, const Parcel &data, Parcel *reply, uint32_t flags) {
    if (data.dataSize() > transport::kMaxFrameBytes) return BAD_VALUE;
    status_t err = DEAD_OBJECT;
    if (std::unique_ptr<Connection> connection = acquire()) {
        err = exchange(*connection, code, data, reply, flags);
        if (err == DEAD_OBJECT) {
            markDead();
            connection.reset();
            dropConnection();
        } else {
            giveBack(std::move(connection));
        }
    }
    if (err == DEAD_OBJECT && reply != nullptr) reply->setDataSize(0);  // read as empty
    return err;
}

namespace {

// The frame a service sends instead of serving a connection, if one is waiting.
bool refusalWaiting(int fd, transport::FrameReader &reader, transport::FrameHeader *answer) {
    pollfd p{fd, POLLIN, 0};
    Parcel ignored;
    if (poll(&p, 1, 0) != 1 || (p.revents & POLLIN) == 0) return false;
    return reader.fill(fd) == OK && reader.take(answer, &ignored) == OK &&
           (answer->flags & transport::kReplyRefused) != 0;
}

void reportRefusal(const std::string &path) {
    fprintf(stderr,
            "binder: the service at %s refused the connection: too many clients are "
            "connected to it\n",
            path.c_str());
}

}  // namespace

status_t BpBinder::exchange(Connection &connection, uint32_t code, const Parcel &data,
                            Parcel *reply, uint32_t flags) {
    transport::FrameHeader request{code, flags, static_cast<uint32_t>(data.dataSize())};
    transport::FrameHeader answer{};
    if (!transport::sendFrame(connection.fd, request, data)) {
        if (refusalWaiting(connection.fd, connection.reader, &answer)) reportRefusal(mSocketPath);
        return DEAD_OBJECT;
    }
    if (flags & FLAG_ONEWAY) return OK;

    Parcel discarded;
    // Closed, failed, or a frame no service would send: the stream cannot be trusted.
    if (connection.reader.next(connection.fd, &answer, reply != nullptr ? reply : &discarded) !=
        OK) {
        return DEAD_OBJECT;
    }
    if (answer.flags & transport::kReplyRefused) {
        reportRefusal(mSocketPath);
        return DEAD_OBJECT;
    }
    return static_cast<status_t>(answer.word);
}

}  // namespace android
