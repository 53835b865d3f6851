// The host transport end to end: the real service manager and services in processes of their
// own, each test in a fresh POS_BINDER_DIR; plus the in-process service manager.
#include <binder/BpBinder.h>
#include <binder/IInterface.h>
#include <binder/IServiceManager.h>
#include <binder/Parcel.h>
#include <binder/ProcessState.h>
#include <binder/ServiceManagerHost.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "echo_service.h"

extern char **environ;

using namespace android;

namespace {

constexpr int kStartTimeoutMs = 5000;

// One echo call: n and s go out, n + 1 and s are expected back.
status_t echoCall(const sp<IBinder> &binder, int32_t n, const String16 &s, int32_t *outN,
                  String16 *outS) {
    Parcel data;
    Parcel reply;
    data.writeInterfaceToken(String16(echo::kEchoDescriptor));
    data.writeInt32(n);
    data.writeString16(s);
    status_t err = binder->transact(echo::ECHO, data, &reply);
    reply.readExceptionCode();
    *outN = reply.readInt32();
    *outS = reply.readString16();
    return err;
}

int32_t askInt(const sp<IBinder> &binder, uint32_t code) {
    Parcel data;
    Parcel reply;
    data.writeInterfaceToken(String16(echo::kEchoDescriptor));
    binder->transact(code, data, &reply);
    reply.readExceptionCode();
    return reply.readInt32();
}

// A registration sent as raw bytes, so the test can claim what a real client never would.
status_t addRaw(const sp<IServiceManager> &sm, const char *name, const std::string &path,
                bool newSocket) {
    Parcel data;
    Parcel reply;
    data.writeInterfaceToken(IServiceManager::descriptor);
    data.writeString16(String16(name));
    data.writeCString(path.c_str());
    data.writeInt32(0);  // allowIsolated
    data.writeInt32(newSocket ? 1 : 0);
    status_t err =
        IInterface::asBinder(sm)->transact(IServiceManager::ADD_SERVICE_TRANSACTION, data, &reply);
    return err == OK ? reply.readInt32() : err;
}

sockaddr_un addressOf(const std::string &path) {
    sockaddr_un addr{};
    addr.sun_family = AF_UNIX;
    strncpy(addr.sun_path, path.c_str(), sizeof addr.sun_path - 1);
    return addr;
}

int listenRaw(const std::string &path) {
    int fd = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un addr = addressOf(path);
    EXPECT_EQ(0, bind(fd, reinterpret_cast<sockaddr *>(&addr), sizeof addr));
    EXPECT_EQ(0, listen(fd, 4));
    return fd;
}

int connectRaw(const std::string &path) {
    int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un addr = addressOf(path);
    if (connect(fd, reinterpret_cast<sockaddr *>(&addr), sizeof addr) != 0) {
        close(fd);
        return -1;
    }
    return fd;
}

// A number from /proc/PID/status ("VmRSS", "Threads").
long statusField(pid_t pid, const std::string &field) {
    std::ifstream in("/proc/" + std::to_string(pid) + "/status");
    std::string line;
    while (std::getline(in, line)) {
        if (line.compare(0, field.size() + 1, field + ":") == 0) {
            return std::stol(line.substr(field.size() + 1));
        }
    }
    return -1;
}

class BinderTransport : public ::testing::Test {
  protected:
    void SetUp() override {
        char pattern[] = "/tmp/binder-test-XXXXXX";
        ASSERT_NE(nullptr, mkdtemp(pattern));
        mDir = pattern;
        setenv("POS_BINDER_DIR", mDir.c_str(), 1);
        setDefaultServiceManager(nullptr);
    }

    void TearDown() override {
        for (pid_t pid : mChildren) stop(pid);
        setDefaultServiceManager(nullptr);
        std::string cmd = "rm -rf '" + mDir + "'";
        ASSERT_EQ(0, system(cmd.c_str()));
    }

    pid_t spawn(std::vector<std::string> args) {
        std::vector<char *> argv;
        for (std::string &a : args) argv.push_back(&a[0]);
        argv.push_back(nullptr);
        pid_t pid = -1;
        EXPECT_EQ(0, posix_spawn(&pid, argv[0], nullptr, nullptr, argv.data(), environ));
        mChildren.push_back(pid);
        return pid;
    }

    void startServiceManager() {
        spawn({SERVICEMANAGER_BIN});
        ASSERT_TRUE(waitForServiceManager(kStartTimeoutMs));
    }

    pid_t startEcho(const char *name, sp<IBinder> *binder) {
        pid_t pid = spawn({ECHO_SERVICE_BIN, name});
        *binder = waitForService(String16(name), kStartTimeoutMs);
        EXPECT_NE(nullptr, *binder);
        return pid;
    }

    void stop(pid_t pid) {
        if (kill(pid, SIGKILL) == 0) waitpid(pid, nullptr, 0);
    }

    std::string mDir;
    std::vector<pid_t> mChildren;
};

}  // namespace

TEST_F(BinderTransport, NoServiceManagerMeansNoBinderContext) {
    EXPECT_EQ(nullptr, defaultServiceManager());  // no socket at all

    // A socket file that nobody listens on any more (a service manager that died).
    std::string path = serviceManagerSocketPath();
    int fd = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un addr{};
    addr.sun_family = AF_UNIX;
    strncpy(addr.sun_path, path.c_str(), sizeof addr.sun_path - 1);
    ASSERT_EQ(0, bind(fd, reinterpret_cast<sockaddr *>(&addr), sizeof addr));
    close(fd);
    EXPECT_EQ(0, access(path.c_str(), F_OK));
    EXPECT_EQ(nullptr, defaultServiceManager());
    EXPECT_FALSE(waitForServiceManager(0));
}

TEST_F(BinderTransport, ClientCallsAServiceInAnotherProcess) {
    startServiceManager();
    sp<IBinder> binder;
    pid_t servicePid = startEcho("echo", &binder);
    ASSERT_NE(nullptr, binder);
    EXPECT_NE(nullptr, binder->remoteBinder());
    EXPECT_EQ(nullptr, binder->localBinder());
    EXPECT_TRUE(binder->isBinderAlive());

    int32_t n = 0;
    String16 s;
    EXPECT_EQ(OK, echoCall(binder, 41, String16("h\xc3\xa9llo"), &n, &s));
    EXPECT_EQ(42, n);
    EXPECT_STREQ("h\xc3\xa9llo", String8(s).string());
    EXPECT_EQ(servicePid, askInt(binder, echo::GET_PID));
    EXPECT_EQ(getpid(), askInt(binder, echo::GET_CALLER_PID));
    EXPECT_EQ(OK, binder->pingBinder());
    EXPECT_STREQ(echo::kEchoDescriptor, String8(binder->getInterfaceDescriptor()).string());

    // An unknown code comes back as the service's status with an empty reply.
    Parcel data;
    Parcel reply;
    data.writeInterfaceToken(String16(echo::kEchoDescriptor));
    EXPECT_EQ(UNKNOWN_TRANSACTION, binder->transact(999, data, &reply));
    EXPECT_EQ(0u, reply.dataSize());
    // So does a request with the wrong token.
    Parcel wrong;
    wrong.writeInterfaceToken(String16("pos.test.IOther"));
    EXPECT_EQ(PERMISSION_DENIED, binder->transact(echo::ECHO, wrong, &reply));

    sp<IServiceManager> sm = defaultServiceManager();
    ASSERT_NE(nullptr, sm);
    EXPECT_EQ(nullptr, sm->getService(String16("nobody")));
    EXPECT_EQ(nullptr, sm->checkService(String16("nobody")));
    std::vector<String16> names = sm->listServices();
    ASSERT_EQ(1u, names.size());
    EXPECT_TRUE(names[0] == String16("echo"));
}

TEST_F(BinderTransport, LargePayloadsCrossIntact) {
    startServiceManager();
    sp<IBinder> binder;
    startEcho("echo", &binder);
    ASSERT_NE(nullptr, binder);

    std::vector<uint8_t> blob(3 * 1024 * 1024 + 3);
    for (size_t i = 0; i < blob.size(); ++i) blob[i] = static_cast<uint8_t>(i * 7 + (i >> 9));
    Parcel data;
    Parcel reply;
    data.writeInterfaceToken(String16(echo::kEchoDescriptor));
    data.writeInt32(static_cast<int32_t>(blob.size()));
    data.write(blob.data(), blob.size());
    ASSERT_EQ(OK, binder->transact(echo::BLOB, data, &reply));
    reply.readExceptionCode();
    ASSERT_EQ(static_cast<int32_t>(blob.size()), reply.readInt32());
    std::vector<uint8_t> back(blob.size());
    ASSERT_EQ(OK, reply.read(back.data(), back.size()));
    EXPECT_TRUE(std::equal(blob.rbegin(), blob.rend(), back.begin()));

    // The connection keeps working for small calls afterwards.
    int32_t n = 0;
    String16 s;
    EXPECT_EQ(OK, echoCall(binder, 1, String16("x"), &n, &s));
    EXPECT_EQ(2, n);
}

TEST_F(BinderTransport, KilledServiceIsDeadAndARestartIsFoundAgain) {
    startServiceManager();
    sp<IBinder> old;
    pid_t pid = startEcho("echo", &old);
    ASSERT_NE(nullptr, old);
    stop(pid);

    // Death shows with the next call, as on the device: -32, an empty reply, then not alive.
    int32_t n = 5;
    String16 s("stale");
    EXPECT_EQ(DEAD_OBJECT, echoCall(old, 1, String16("x"), &n, &s));
    EXPECT_EQ(0, n);
    EXPECT_EQ(0u, s.size());
    EXPECT_FALSE(old->isBinderAlive());
    EXPECT_EQ(DEAD_OBJECT, echoCall(old, 1, String16("x"), &n, &s));
    EXPECT_EQ(DEAD_OBJECT, old->pingBinder());

    // Still registered but nobody listens: the lookup gives null rather than a dead proxy.
    EXPECT_EQ(nullptr, defaultServiceManager()->getService(String16("echo")));

    sp<IBinder> fresh;
    pid_t restarted = startEcho("echo", &fresh);
    ASSERT_NE(nullptr, fresh);
    EXPECT_NE(old.get(), fresh.get());
    EXPECT_TRUE(fresh->isBinderAlive());
    EXPECT_EQ(OK, echoCall(fresh, 9, String16("y"), &n, &s));
    EXPECT_EQ(10, n);
    EXPECT_EQ(restarted, askInt(fresh, echo::GET_PID));
    EXPECT_FALSE(old->isBinderAlive());
}

TEST_F(BinderTransport, ProbeNoticesADeadPeerWithoutACall) {
    startServiceManager();
    sp<IBinder> binder;
    pid_t pid = startEcho("echo", &binder);
    ASSERT_NE(nullptr, binder);
    EXPECT_TRUE(binder->remoteBinder()->probeAlive());
    stop(pid);
    EXPECT_FALSE(binder->remoteBinder()->probeAlive());
    EXPECT_FALSE(binder->isBinderAlive());
}

TEST_F(BinderTransport, RestartedServiceManagerIsReconnected) {
    startServiceManager();
    ASSERT_NE(nullptr, defaultServiceManager());
    stop(mChildren.back());
    EXPECT_EQ(nullptr, defaultServiceManager());
    startServiceManager();
    sp<IBinder> binder;
    startEcho("echo", &binder);
    EXPECT_NE(nullptr, binder);
}

TEST_F(BinderTransport, ManyClientThreadsAtOnce) {
    startServiceManager();
    sp<IBinder> shared;
    startEcho("echo", &shared);
    ASSERT_NE(nullptr, shared);

    // Half the threads share one proxy, half look the service up for themselves; every
    // reply must belong to the request its thread sent.
    constexpr int kThreads = 8;
    constexpr int kCalls = 200;
    std::vector<int> failures(kThreads, 0);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            sp<IBinder> binder =
                t % 2 ? shared : defaultServiceManager()->getService(String16("echo"));
            if (binder == nullptr) {
                failures[t] = kCalls;
                return;
            }
            String16 tag(std::to_string(t).c_str());
            for (int i = 0; i < kCalls; ++i) {
                int32_t n = 0;
                String16 s;
                int32_t sent = t * 100000 + i;
                if (echoCall(binder, sent, tag, &n, &s) != OK || n != sent + 1 || !(s == tag)) {
                    ++failures[t];
                }
            }
        });
    }
    for (std::thread &th : threads) th.join();
    for (int t = 0; t < kThreads; ++t) EXPECT_EQ(0, failures[t]) << "thread " << t;
}

TEST_F(BinderTransport, MalformedFramesFromEitherSideAreSurvived) {
    startServiceManager();
    sp<IBinder> echoBinder;
    startEcho("echo", &echoBinder);
    ASSERT_NE(nullptr, echoBinder);

    // A client sending a frame header that claims 4 GiB: the service drops that connection
    // and keeps serving everybody else.
    std::string echoPath = echoBinder->remoteBinder()->socketPath();
    {
        int fd = socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un addr{};
        addr.sun_family = AF_UNIX;
        strncpy(addr.sun_path, echoPath.c_str(), sizeof addr.sun_path - 1);
        ASSERT_EQ(0, connect(fd, reinterpret_cast<sockaddr *>(&addr), sizeof addr));
        const uint32_t header[3] = {echo::ECHO, 0, 0xffffffffu};
        ASSERT_EQ(12, ::write(fd, header, sizeof header));
        char byte;
        EXPECT_EQ(0, ::read(fd, &byte, 1));  // closed on us
        close(fd);
    }
    int32_t n = 0;
    String16 s;
    EXPECT_EQ(OK, echoCall(echoBinder, 3, String16("z"), &n, &s));
    EXPECT_EQ(4, n);

    // A "service" answering with an absurd frame: the call fails as dead, nothing crashes.
    std::string fakePath = mDir + "/fake";
    int listener = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un addr{};
    addr.sun_family = AF_UNIX;
    strncpy(addr.sun_path, fakePath.c_str(), sizeof addr.sun_path - 1);
    ASSERT_EQ(0, bind(listener, reinterpret_cast<sockaddr *>(&addr), sizeof addr));
    ASSERT_EQ(0, listen(listener, 1));
    std::thread fake([listener] {
        int fd = accept(listener, nullptr, nullptr);
        char request[256];
        ssize_t got = ::read(fd, request, sizeof request);
        (void)got;
        const uint32_t answer[3] = {0, 0, 0xfffffff0u};
        ssize_t sent = ::write(fd, answer, sizeof answer);
        (void)sent;
        close(fd);
    });
    sp<BpBinder> proxy = BpBinder::connect(fakePath);
    ASSERT_NE(nullptr, proxy);
    EXPECT_EQ(DEAD_OBJECT, echoCall(proxy, 1, String16("q"), &n, &s));
    EXPECT_FALSE(proxy->isBinderAlive());
    fake.join();
    close(listener);
    EXPECT_EQ(nullptr, BpBinder::connect(mDir + "/nothing-here"));
    EXPECT_EQ(nullptr, BpBinder::connect(std::string(200, 'x')));  // longer than a socket path
}

// A registry whose list answer claims more names than it carries, the last one malformed.
class LyingRegistry : public BBinder {
  protected:
    status_t onTransact(uint32_t, const Parcel &, Parcel *reply, uint32_t) override {
        reply->writeInt32(1000);
        reply->writeString16(String16("real"));
        reply->writeInt32(5000);  // a name length far beyond the reply
        reply->writeInt32(0);
        return OK;
    }
};

TEST_F(BinderTransport, ServiceListStopsWhereTheReplyEnds) {
    sp<IServiceManager> manager = interface_cast<IServiceManager>(new LyingRegistry);
    ASSERT_NE(nullptr, manager);
    std::vector<String16> names = manager->listServices();
    ASSERT_EQ(1u, names.size());
    EXPECT_EQ(String16("real"), names[0]);
}

TEST_F(BinderTransport, ServicesServedByThisProcessThreadPool) {
    ASSERT_EQ(OK, android::startServiceManager(nullptr));
    ASSERT_TRUE(waitForServiceManager(kStartTimeoutMs));
    sp<echo::EchoService> service = new echo::EchoService;
    ASSERT_EQ(OK, defaultServiceManager()->addService(String16("local-echo"), service));
    ProcessState::self()->startThreadPool();

    // Looked up through the socket, the service is reached over a connection, on a pool
    // thread, not by a direct call.
    sp<IBinder> binder = defaultServiceManager()->getService(String16("local-echo"));
    ASSERT_NE(nullptr, binder);
    EXPECT_NE(nullptr, binder->remoteBinder());
    int32_t n = 0;
    String16 s;
    EXPECT_EQ(OK, echoCall(binder, 7, String16("pool"), &n, &s));
    EXPECT_EQ(8, n);
    EXPECT_EQ(1, service->calls.load());
    EXPECT_NE(std::this_thread::get_id(), service->lastThread.load());
    EXPECT_EQ(BAD_VALUE, defaultServiceManager()->addService(String16("none"), nullptr));
}

TEST_F(BinderTransport, InstalledServiceManagerWinsAndCallsDirectly) {
    startServiceManager();  // present, but the installed one must be used instead
    sp<IServiceManager> local = createInProcessServiceManager();
    setDefaultServiceManager(local);
    EXPECT_EQ(local.get(), defaultServiceManager().get());

    sp<echo::EchoService> service = new echo::EchoService;
    ASSERT_EQ(OK, defaultServiceManager()->addService(String16("echo"), service));
    sp<IBinder> binder = defaultServiceManager()->getService(String16("echo"));
    EXPECT_EQ(static_cast<IBinder *>(service.get()), binder.get());
    EXPECT_EQ(nullptr, defaultServiceManager()->getService(String16("other")));

    int32_t n = 0;
    String16 s;
    EXPECT_EQ(OK, echoCall(binder, 1, String16("direct"), &n, &s));
    EXPECT_EQ(2, n);
    EXPECT_STREQ("direct", String8(s).string());
    EXPECT_EQ(std::this_thread::get_id(), service->lastThread.load());
    EXPECT_TRUE(binder->isBinderAlive());

    setDefaultServiceManager(nullptr);
    sp<IServiceManager> overSocket = defaultServiceManager();
    ASSERT_NE(nullptr, overSocket);
    EXPECT_NE(local.get(), overSocket.get());
    EXPECT_EQ(nullptr, overSocket->getService(String16("echo")));
}

TEST_F(BinderTransport, ForkedChildGetsConnectionsOfItsOwn) {
    startServiceManager();
    sp<IBinder> binder;
    startEcho("echo", &binder);
    ASSERT_NE(nullptr, binder);
    ASSERT_NE(nullptr, defaultServiceManager());  // the parent now holds a connection

    // The child looks the service up many times while the parent looks up a name that does
    // not exist; had the child reused the parent's service-manager connection, replies would
    // cross between the two processes and each would see the other's answers.
    pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        int bad = 0;
        for (int i = 0; i < 200; ++i) {
            sp<IBinder> own = defaultServiceManager()->getService(String16("echo"));
            int32_t n = 0;
            String16 s;
            if (own == nullptr || echoCall(own, i, String16("child"), &n, &s) != OK || n != i + 1)
                ++bad;
        }
        _exit(bad == 0 ? 0 : 1);
    }
    int bad = 0;
    for (int i = 0; i < 200; ++i) {
        if (defaultServiceManager()->getService(String16("nobody")) != nullptr) ++bad;
    }
    int status = -1;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    EXPECT_EQ(0, bad);
}

TEST_F(BinderTransport, ServiceManagerKeepsOneNamePerSocket) {
    startServiceManager();
    sp<IServiceManager> sm = defaultServiceManager();
    ASSERT_NE(nullptr, sm);
    sp<IBinder> binder;
    startEcho("echo", &binder);
    ASSERT_NE(nullptr, binder);
    BpBinder *proxy = binder->remoteBinder();
    ASSERT_NE(nullptr, proxy);

    // Re-publishing a remote binder registers its socket under a second name; the second
    // name reaches the same service.
    ASSERT_EQ(OK, sm->addService(String16("alias"), binder));
    sp<IBinder> alias = sm->getService(String16("alias"));
    ASSERT_NE(nullptr, alias);
    EXPECT_EQ(askInt(binder, echo::GET_PID), askInt(alias, echo::GET_PID));
    EXPECT_EQ(2u, sm->listServices().size());

    // A new socket at a known path (as after a dead process's pid is reused) drops the names
    // registered on that path before; the claim holds only from the process listening there.
    std::string reused = mDir + "/reused";
    ASSERT_EQ(OK, addRaw(sm, "ghost", reused, false));  // a registration nobody answers
    EXPECT_EQ(PERMISSION_DENIED, addRaw(sm, "newcomer", proxy->socketPath(), true));
    EXPECT_NE(nullptr, sm->getService(String16("echo")));
    EXPECT_NE(nullptr, sm->getService(String16("alias")));
    int listener = listenRaw(reused);
    ASSERT_EQ(OK, addRaw(sm, "newcomer", reused, true));
    EXPECT_NE(nullptr, sm->getService(String16("newcomer")));
    EXPECT_EQ(3u, sm->listServices().size());  // echo, alias, newcomer: the ghost went
    close(listener);

    // Malformed registrations are refused.
    Parcel reply;
    // Malformed registrations are refused.
    Parcel bad;
    bad.writeInterfaceToken(IServiceManager::descriptor);
    bad.writeString16(String16(""));
    bad.writeCString("/nowhere");
    ASSERT_EQ(OK, IInterface::asBinder(sm)->transact(IServiceManager::ADD_SERVICE_TRANSACTION, bad,
                                                     &reply));
    EXPECT_EQ(BAD_VALUE, reply.readInt32());
    Parcel untokened;
    untokened.writeString16(String16("x"));
    EXPECT_EQ(PERMISSION_DENIED,
              IInterface::asBinder(sm)->transact(IServiceManager::CHECK_SERVICE_TRANSACTION,
                                                 untokened, &reply));
}

TEST_F(BinderTransport, LiveNamesStayWithTheirService) {
    startServiceManager();
    sp<IBinder> original;
    pid_t owner = startEcho("KivoPowerService", &original);
    ASSERT_NE(nullptr, original);
    sp<IServiceManager> sm = defaultServiceManager();

    // Another process cannot take the name while its service answers, from here or anywhere.
    EXPECT_EQ(ALREADY_EXISTS, sm->addService(String16("KivoPowerService"), new echo::EchoService));
    pid_t rival = spawn({ECHO_SERVICE_BIN, "KivoPowerService"});
    int status = -1;
    ASSERT_EQ(rival, waitpid(rival, &status, 0));
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 1);
    sp<IBinder> found = sm->getService(String16("KivoPowerService"));
    ASSERT_NE(nullptr, found);
    EXPECT_EQ(owner, askInt(found, echo::GET_PID));

    // Once it is dead, a new service takes the name over.
    stop(owner);
    sp<IBinder> successor;
    pid_t restarted = startEcho("KivoPowerService", &successor);
    ASSERT_NE(nullptr, successor);
    EXPECT_EQ(restarted, askInt(successor, echo::GET_PID));
}

TEST_F(BinderTransport, AnnouncedFramesCostNoMemoryAndStalledOnesAreDropped) {
    pid_t manager = spawn({SERVICEMANAGER_BIN});
    ASSERT_TRUE(waitForServiceManager(kStartTimeoutMs));
    long before = statusField(manager, "VmRSS");
    ASSERT_GT(before, 0);

    // Each announces a frame just under the limit and sends a few bytes of it.
    constexpr int kClients = 100;
    const uint32_t header[3] = {IServiceManager::LIST_SERVICES_TRANSACTION, 0, 15u << 20};
    std::vector<int> clients;
    for (int i = 0; i < kClients; ++i) {
        int fd = connectRaw(serviceManagerSocketPath());
        ASSERT_GE(fd, 0);
        ASSERT_EQ(12, ::write(fd, header, sizeof header));
        ASSERT_EQ(64, ::write(fd, std::string(64, 'x').data(), 64));
        clients.push_back(fd);
    }
    // Everybody else is still served meanwhile.
    sp<IServiceManager> sm = defaultServiceManager();
    ASSERT_NE(nullptr, sm);
    EXPECT_TRUE(sm->listServices().empty());
    long grownKb = statusField(manager, "VmRSS") - before;
    EXPECT_LT(grownKb, 8 * 1024) << "the reader reserved what the headers announced";
    RecordProperty("rss_growth_kb_100_announcements", std::to_string(grownKb));

    // A request that began and stopped loses its connection after the frame deadline.
    pollfd p{clients[0], POLLIN, 0};
    EXPECT_EQ(1, poll(&p, 1, 20000));
    char byte;
    EXPECT_EQ(0, ::read(clients[0], &byte, 1));
    for (int fd : clients) close(fd);
}

TEST_F(BinderTransport, IdleClientsCostNoThreadsAndTooManyAreRefused) {
    startServiceManager();
    sp<IBinder> binder;
    pid_t service = startEcho("echo", &binder);
    ASSERT_NE(nullptr, binder);
    int32_t n = 0;
    String16 s;
    ASSERT_EQ(OK, echoCall(binder, 1, String16("a"), &n, &s));  // our own connection first

    constexpr int kIdle = 300;  // beyond the per-service limit of 256
    std::vector<int> idle;
    for (int i = 0; i < kIdle; ++i) {
        int fd = connectRaw(binder->remoteBinder()->socketPath());
        if (fd < 0) break;  // the listen backlog is full: the rest would only wait
        idle.push_back(fd);
    }
    ASSERT_GT(idle.size(), 256u);
    // The refused ones are told why: a reply frame flagged as a refusal, then the close.
    int refused = 0;
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    size_t expected = idle.size() - 255;  // our binder's connection counts as well
    std::vector<bool> seen(idle.size(), false);
    while (size_t(refused) < expected && std::chrono::steady_clock::now() < deadline) {
        for (size_t i = 0; i < idle.size(); ++i) {
            pollfd p{idle[i], POLLIN, 0};
            if (seen[i] || poll(&p, 1, 0) != 1) continue;
            uint32_t frame[3] = {0, 0, 0};
            seen[i] = true;
            if (::read(idle[i], frame, sizeof frame) == 12 && (frame[1] & 0x80000000u) != 0) {
                ++refused;
            }
        }
        usleep(20000);
    }
    EXPECT_EQ(expected, size_t(refused));
    EXPECT_LE(statusField(service, "Threads"), 20) << "a thread per idle connection";

    EXPECT_EQ(OK, echoCall(binder, 41, String16("still"), &n, &s));
    EXPECT_EQ(42, n);
    for (int fd : idle) close(fd);
}
