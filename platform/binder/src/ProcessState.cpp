// Serving calls: one acceptor thread polls every listening socket of the process; each
// accepted connection gets a thread of its own that reads a request, runs the binder's
// transact and writes the reply, until the client hangs up.
#include <binder/IPCThreadState.h>
#include <binder/Parcel.h>
#include <binder/ProcessState.h>

#include <errno.h>
#include <poll.h>
#include <pthread.h>
#include <stdlib.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <mutex>
#include <set>
#include <system_error>
#include <thread>
#include <vector>

#include <binder/ServiceManagerHost.h>

#include "ServiceHost.h"
#include "Transport.h"

namespace android {
namespace host {

namespace {

struct Listener {
    int fd;
    std::string path;
    sp<BBinder> binder;
};

class Acceptor {
  public:
    static Acceptor &instance() {
        // Never destroyed: serving threads may still run while the process exits.
        static Acceptor *acceptor = new Acceptor;
        return *acceptor;
    }

    status_t add(const std::string &path, const sp<BBinder> &binder) {
        int fd = transport::listenAt(path);
        if (fd < 0) return -errno;
        {
            std::lock_guard<std::mutex> guard(mLock);
            mListeners.push_back(Listener{fd, path, binder});
        }
        uint64_t one = 1;
        ssize_t ignored = write(mWakeFd, &one, sizeof one);  // the poll set changed
        (void)ignored;
        return OK;
    }

    // Claims the acceptor role; false when another thread already has it.
    bool claim() { return !mRunning.exchange(true); }

    void run() {
        std::vector<pollfd> fds;
        std::vector<Listener> listeners;
        for (;;) {
            snapshot(&fds, &listeners);
            int n = poll(fds.data(), fds.size(), -1);
            if (n < 0) continue;  // EINTR
            if (fds[0].revents & POLLIN) {
                uint64_t count;
                ssize_t ignored = read(mWakeFd, &count, sizeof count);
                (void)ignored;
            }
            for (size_t i = 1; i < fds.size(); ++i) {
                if (fds[i].revents & POLLIN) acceptOn(listeners[i - 1]);
            }
        }
    }

    // Socket files go with the process on a normal exit.
    void removeSocketFiles() {
        std::lock_guard<std::mutex> guard(mLock);
        for (const Listener &l : mListeners) unlink(l.path.c_str());
    }

  private:
    Acceptor() : mWakeFd(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)), mRunning(false) {
        atexit([] { Acceptor::instance().removeSocketFiles(); });
        pthread_atfork([] { Acceptor::instance().mLock.lock(); },
                       [] { Acceptor::instance().mLock.unlock(); },
                       [] { Acceptor::instance().resetInChild(); });
    }

    // A forked child has none of the parent's threads; its services are its own to add.
    void resetInChild() {
        for (const Listener &l : mListeners) close(l.fd);
        mListeners.clear();
        // Holding the parent's connections open would hide the parent's death from clients.
        for (int fd : mConnections) close(fd);
        mConnections.clear();
        close(mWakeFd);
        mWakeFd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
        mRunning = false;
        mLock.unlock();
    }

    void snapshot(std::vector<pollfd> *fds, std::vector<Listener> *listeners) {
        std::lock_guard<std::mutex> guard(mLock);
        *listeners = mListeners;
        fds->assign(1, pollfd{mWakeFd, POLLIN, 0});
        for (const Listener &l : mListeners) fds->push_back(pollfd{l.fd, POLLIN, 0});
    }

    void acceptOn(const Listener &listener) {
        int fd = accept4(listener.fd, nullptr, nullptr, SOCK_CLOEXEC);
        if (fd < 0) return;  // EAGAIN, or the client gave up meanwhile
        {
            std::lock_guard<std::mutex> guard(mLock);
            mConnections.insert(fd);
        }
        try {
            std::thread([this, fd, binder = listener.binder] {
                serveConnection(fd, binder);
                forget(fd);
            }).detach();
        } catch (const std::system_error &) {
            forget(fd);  // out of threads: this client sees a hang-up, the rest go on
        }
    }

    void forget(int fd) {
        std::lock_guard<std::mutex> guard(mLock);
        mConnections.erase(fd);
        close(fd);
    }

    static void serveConnection(int fd, const sp<BBinder> &binder);

    std::mutex mLock;
    std::vector<Listener> mListeners;
    std::set<int> mConnections;
    int mWakeFd;
    std::atomic<bool> mRunning;
};

void rememberCaller(int fd) {
    ucred cred{};
    socklen_t len = sizeof cred;
    if (getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &cred, &len) == 0) {
        IPCThreadState::self()->setCallingIdentity(cred.pid, cred.uid);
    }
}

status_t dispatch(BBinder *binder, const transport::FrameHeader &request, const Parcel &data,
                  Parcel *reply) {
    // A service's exception must not take the whole process down with it.
    try {
        return binder->transact(request.word, data, reply, request.flags);
    } catch (...) {
        return FAILED_TRANSACTION;
    }
}

void Acceptor::serveConnection(int fd, const sp<BBinder> &binder) {
    rememberCaller(fd);
    transport::FrameReader reader;
    transport::FrameHeader request;
    Parcel data;
    Parcel reply;
    while (reader.next(fd, &request, &data) == OK) {
        reply.setDataSize(0);
        status_t status = dispatch(binder.get(), request, data, &reply);
        if (request.flags & IBinder::FLAG_ONEWAY) continue;
        if (status < 0) reply.setDataSize(0);  // a failed call answers with its status only
        transport::FrameHeader answer{static_cast<uint32_t>(status), 0,
                                      static_cast<uint32_t>(reply.dataSize())};
        if (!transport::sendFrame(fd, answer, reply)) break;
    }
}

std::atomic<unsigned> gServiceCounter{0};

}  // namespace

status_t listenForService(const sp<BBinder> &binder, std::string *socketPath) {
    std::string path = binderDirectory() + "/service." + std::to_string(getpid()) + "." +
                       std::to_string(gServiceCounter.fetch_add(1));
    status_t err = Acceptor::instance().add(path, binder);
    if (err == OK) *socketPath = path;
    return err;
}

status_t listenAt(const std::string &socketPath, const sp<BBinder> &binder) {
    return Acceptor::instance().add(socketPath, binder);
}

void startServing() {
    if (Acceptor::instance().claim()) std::thread([] { Acceptor::instance().run(); }).detach();
}

void joinServing() {
    if (Acceptor::instance().claim()) Acceptor::instance().run();
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
