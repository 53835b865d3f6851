// Serving calls: one thread polls every listening socket of the process and every connection
// waiting for a request; a whole request goes to a small pool of worker threads, which run
// the binder's transact and write the reply. Idle connections cost a descriptor and a small
// buffer, no thread.
#include <binder/IPCThreadState.h>
#include <binder/Parcel.h>
#include <binder/ProcessState.h>

#include <errno.h>
#include <poll.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

#include <binder/ServiceManagerHost.h>

#include "ServiceHost.h"
#include "Transport.h"

namespace android {
namespace host {

namespace {

// Clients one service serves at once; a further one is told so and closed.
constexpr size_t kMaxConnectionsPerService = 256;
// A request that has begun must be complete within this time.
constexpr int kFrameDeadlineMs = 5000;
// A reply the client does not take within this time ends its connection.
constexpr int kReplySendTimeoutMs = 5000;
// Threads serving calls at once, as the device's binder thread pool has.
constexpr size_t kMaxWorkers = 16;
// Without a free descriptor, accepting waits this long instead of spinning.
constexpr int kAcceptPauseMs = 100;
// Refusals and descriptor shortages are reported at most this often.
constexpr int64_t kReportEveryMs = 10000;

struct Listener {
    int fd;
    std::string path;
    sp<BBinder> binder;
    size_t open = 0;
    int64_t lastRefusalReport = -kReportEveryMs;
};

struct Connection {
    int fd = -1;
    size_t listener = 0;
    sp<BBinder> binder;
    pid_t pid = 0;
    uid_t uid = 0;
    transport::FrameReader reader;
    transport::FrameHeader header{};
    Parcel request;
    int64_t frameStartedMs = 0;  // when an incomplete request began; 0 when none has
    bool busy = false;           // a worker owns it; the poll thread leaves it alone
};

status_t dispatch(BBinder *binder, const transport::FrameHeader &request, const Parcel &data,
                  Parcel *reply) {
    // A service's exception must not take the whole process down with it.
    try {
        return binder->transact(request.word, data, reply, request.flags);
    } catch (...) {
        return FAILED_TRANSACTION;
    }
}

class Server {
  public:
    static Server &instance() {
        // Never destroyed: serving threads may still run while the process exits.
        static Server *server = new Server;
        return *server;
    }

    status_t add(const std::string &path, const sp<BBinder> &binder) {
        int fd = transport::listenAt(path);
        if (fd < 0) return -errno;
        {
            std::lock_guard<std::mutex> guard(mLock);
            mListeners.push_back(Listener{fd, path, binder});
        }
        wake();
        return OK;
    }

    // Claims the polling role; false when another thread already has it.
    bool claim() { return !mRunning.exchange(true); }

    [[noreturn]] void run() {
        std::vector<pollfd> fds;
        std::vector<Connection *> polled;
        for (;;) {
            int timeoutMs = snapshot(&fds, &polled);
            int n = poll(fds.data(), fds.size(), timeoutMs);
            if (n < 0 && errno != EINTR) continue;
            if (n > 0) handleEvents(fds, polled);
            expireStalledRequests();
        }
    }

    // Socket files go with the process on a normal exit.
    void removeSocketFiles() {
        std::lock_guard<std::mutex> guard(mLock);
        for (const Listener &l : mListeners) unlink(l.path.c_str());
    }

  private:
    Server()
        : mWakeFd(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
          mWork(new std::condition_variable),
          mRunning(false) {
        atexit([] { Server::instance().removeSocketFiles(); });
        pthread_atfork([] { Server::instance().mLock.lock(); },
                       [] { Server::instance().mLock.unlock(); },
                       [] { Server::instance().resetInChild(); });
    }

    // A forked child has none of the parent's threads; its services are its own to add.
    void resetInChild() {
        for (const Listener &l : mListeners) close(l.fd);
        mListeners.clear();
        // Holding the parent's connections open would hide the parent's death from clients.
        for (auto &entry : mConnections) close(entry.first);
        mConnections.clear();
        mQueue.clear();
        mWorkers = mIdleWorkers = 0;
        // A waiter of the parent's may be recorded in it; the child starts with a fresh one.
        (void)mWork.release();
        mWork.reset(new std::condition_variable);
        close(mWakeFd);
        mWakeFd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
        mRunning = false;
        mLock.unlock();
    }

    void wake() {
        uint64_t one = 1;
        ssize_t ignored = write(mWakeFd, &one, sizeof one);
        (void)ignored;
    }

    // The descriptors to poll: the wake-up, the listeners (unless accepting pauses) and every
    // connection no worker owns. Returns the poll time-out.
    int snapshot(std::vector<pollfd> *fds, std::vector<Connection *> *polled) {
        std::lock_guard<std::mutex> guard(mLock);
        int64_t now = transport::monotonicMs();
        int64_t wakeAt = -1;
        fds->assign(1, pollfd{mWakeFd, POLLIN, 0});
        polled->assign(1, nullptr);
        bool accepting = now >= mAcceptPausedUntil;
        if (!accepting) wakeAt = mAcceptPausedUntil;
        for (size_t i = 0; i < mListeners.size(); ++i) {
            fds->push_back(pollfd{mListeners[i].fd, short(accepting ? POLLIN : 0), 0});
            polled->push_back(nullptr);
        }
        for (auto &entry : mConnections) {
            Connection *c = entry.second.get();
            if (c->busy) continue;
            fds->push_back(pollfd{c->fd, POLLIN, 0});
            polled->push_back(c);
            if (c->frameStartedMs != 0) {
                int64_t due = c->frameStartedMs + kFrameDeadlineMs;
                if (wakeAt < 0 || due < wakeAt) wakeAt = due;
            }
        }
        if (wakeAt < 0) return -1;
        return int(std::max<int64_t>(0, wakeAt - now) + 1);
    }

    void handleEvents(const std::vector<pollfd> &fds, const std::vector<Connection *> &polled) {
        if (fds[0].revents & POLLIN) {
            uint64_t count;
            ssize_t ignored = read(mWakeFd, &count, sizeof count);
            (void)ignored;
        }
        for (size_t i = 1; i < fds.size(); ++i) {
            if (fds[i].revents == 0) continue;
            if (polled[i] == nullptr) {
                acceptOn(i - 1);
            } else {
                readFrom(polled[i]);
            }
        }
    }

    void acceptOn(size_t index) {
        int listenFd;
        {
            std::lock_guard<std::mutex> guard(mLock);
            if (index >= mListeners.size()) return;
            listenFd = mListeners[index].fd;
        }
        int fd = accept4(listenFd, nullptr, nullptr, SOCK_CLOEXEC);
        if (fd < 0) {
            if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM) {
                pauseAccepting();
            }
            return;  // EAGAIN, or the client gave up meanwhile
        }
        std::lock_guard<std::mutex> guard(mLock);
        Listener &listener = mListeners[index];
        if (listener.open >= kMaxConnectionsPerService) {
            refuse(fd, listener);
            return;
        }
        std::unique_ptr<Connection> c(new Connection);
        c->fd = fd;
        c->listener = index;
        c->binder = listener.binder;
        ucred cred{};
        socklen_t len = sizeof cred;
        if (getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &cred, &len) == 0) {
            c->pid = cred.pid;
            c->uid = cred.uid;
        }
        timeval sendTimeout{kReplySendTimeoutMs / 1000, (kReplySendTimeoutMs % 1000) * 1000};
        setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &sendTimeout, sizeof sendTimeout);
        ++listener.open;
        mConnections[fd] = std::move(c);
    }

    void pauseAccepting() {
        std::lock_guard<std::mutex> guard(mLock);
        int64_t now = transport::monotonicMs();
        mAcceptPausedUntil = now + kAcceptPauseMs;
        if (now - mLastShortageReport >= kReportEveryMs) {
            mLastShortageReport = now;
            fprintf(stderr, "binder: out of descriptors; new clients wait\n");
        }
    }

    // Called with mLock held: tells the client why, so its call fails with a clear reason.
    void refuse(int fd, Listener &listener) {
        transport::FrameHeader refusal{static_cast<uint32_t>(-EUSERS), transport::kReplyRefused, 0};
        ssize_t ignored = send(fd, &refusal, sizeof refusal, MSG_DONTWAIT | MSG_NOSIGNAL);
        (void)ignored;
        close(fd);
        int64_t now = transport::monotonicMs();
        if (now - listener.lastRefusalReport >= kReportEveryMs) {
            listener.lastRefusalReport = now;
            fprintf(stderr, "binder: %s: %zu clients are connected; refusing more\n",
                    listener.path.c_str(), listener.open);
        }
    }

    // On the poll thread, for a connection no worker owns.
    void readFrom(Connection *c) {
        status_t err = c->reader.fill(c->fd);
        if (err == WOULD_BLOCK) return;
        if (err == OK) err = c->reader.take(&c->header, &c->request);
        if (err == WOULD_BLOCK) {
            if (c->frameStartedMs == 0) c->frameStartedMs = transport::monotonicMs();
            return;
        }
        if (err != OK) return closeConnection(c);
        c->frameStartedMs = 0;
        std::lock_guard<std::mutex> guard(mLock);
        c->busy = true;
        mQueue.push_back(c);
        if (mIdleWorkers == 0 && mWorkers < kMaxWorkers) startWorker();
        mWork->notify_one();
    }

    // Called with mLock held.
    void startWorker() {
        try {
            std::thread([this] { workerLoop(); }).detach();
            ++mWorkers;
        } catch (const std::system_error &) {
            // Out of threads: the workers there are take the queue in turn.
        }
    }

    [[noreturn]] void workerLoop() {
        std::unique_lock<std::mutex> guard(mLock);
        for (;;) {
            ++mIdleWorkers;
            mWork->wait(guard, [this] { return !mQueue.empty(); });
            --mIdleWorkers;
            Connection *c = mQueue.front();
            mQueue.pop_front();
            guard.unlock();
            bool keep = serve(c);
            guard.lock();
            if (keep) {
                c->busy = false;
                if (c->reader.midFrame()) c->frameStartedMs = transport::monotonicMs();
                wake();
            } else {
                forget(c);
            }
        }
    }

    // Serves the connection's request and any whole ones queued behind it (one-way calls sent
    // back to back). False when the connection is to be closed.
    bool serve(Connection *c) {
        IPCThreadState::self()->setCallingIdentity(c->pid, c->uid);
        Parcel reply;
        for (;;) {
            reply.setDataSize(0);
            status_t status = dispatch(c->binder.get(), c->header, c->request, &reply);
            if ((c->header.flags & IBinder::FLAG_ONEWAY) == 0) {
                if (status < 0) reply.setDataSize(0);  // a failed call answers its status only
                transport::FrameHeader answer{static_cast<uint32_t>(status), 0,
                                              static_cast<uint32_t>(reply.dataSize())};
                if (!transport::sendFrame(c->fd, answer, reply)) return false;
            }
            status_t next = c->reader.take(&c->header, &c->request);
            if (next == WOULD_BLOCK) break;
            if (next != OK) return false;
        }
        IPCThreadState::self()->setCallingIdentity(getpid(), getuid());
        return true;
    }

    void closeConnection(Connection *c) {
        std::lock_guard<std::mutex> guard(mLock);
        forget(c);
    }

    // Called with mLock held.
    void forget(Connection *c) {
        if (c->listener < mListeners.size() && mListeners[c->listener].open > 0) {
            --mListeners[c->listener].open;
        }
        int fd = c->fd;
        mConnections.erase(fd);
        close(fd);
    }

    // A client that began a request and stopped sending loses its connection.
    void expireStalledRequests() {
        int64_t now = transport::monotonicMs();
        std::lock_guard<std::mutex> guard(mLock);
        std::vector<Connection *> stalled;
        for (auto &entry : mConnections) {
            Connection *c = entry.second.get();
            if (!c->busy && c->frameStartedMs != 0 && now - c->frameStartedMs >= kFrameDeadlineMs)
                stalled.push_back(c);
        }
        for (Connection *c : stalled) forget(c);
    }

    std::mutex mLock;
    std::vector<Listener> mListeners;
    std::map<int, std::unique_ptr<Connection>> mConnections;
    std::deque<Connection *> mQueue;
    size_t mWorkers = 0;
    size_t mIdleWorkers = 0;
    int64_t mAcceptPausedUntil = 0;
    int64_t mLastShortageReport = -kReportEveryMs;
    int mWakeFd;
    std::unique_ptr<std::condition_variable> mWork;
    std::atomic<bool> mRunning;
};

std::atomic<unsigned> gServiceCounter{0};

}  // namespace

status_t listenForService(const sp<BBinder> &binder, std::string *socketPath) {
    std::string path = binderDirectory() + "/service." + std::to_string(getpid()) + "." +
                       std::to_string(gServiceCounter.fetch_add(1));
    status_t err = Server::instance().add(path, binder);
    if (err == OK) *socketPath = path;
    return err;
}

status_t listenAt(const std::string &socketPath, const sp<BBinder> &binder) {
    return Server::instance().add(socketPath, binder);
}

void startServing() {
    if (Server::instance().claim()) std::thread([] { Server::instance().run(); }).detach();
}

void joinServing() {
    if (Server::instance().claim()) Server::instance().run();
    for (;;) pause();
}

}  // namespace host

// ---- ProcessState

sp<ProcessState> ProcessState::self() {
    static sp<ProcessState> *process = new sp<ProcessState>(new ProcessState);
    return *process;
}

ProcessState::ProcessState() = default;
ProcessState::~ProcessState() = default;

void ProcessState::startThreadPool() {
    host::startServing();
}

status_t ProcessState::setThreadPoolMaxThreadCount(size_t /*maxThreads*/) {
    return OK;
}

void ProcessState::giveThreadPoolName() {}

// ---- IPCThreadState

IPCThreadState::IPCThreadState() : mCallingPid(getpid()), mCallingUid(getuid()) {}

IPCThreadState *IPCThreadState::self() {
    thread_local IPCThreadState state;
    return &state;
}

void IPCThreadState::joinThreadPool(bool /*isMain*/) {
    host::joinServing();
}

void IPCThreadState::flushCommands() {}

}  // namespace android
