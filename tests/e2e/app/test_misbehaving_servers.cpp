// The client against servers that misbehave: a test server takes over one of the fixed
// socket paths (private to this sandbox) and answers short, late, with garbage or not at all.
#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "pos_sdk/pkg.h"

namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

std::vector<char> int32s(std::initializer_list<int32_t> values) {
    std::vector<char> out;
    for (int32_t v : values) {
        for (int i = 0; i < 4; ++i) out.push_back(char(uint32_t(v) >> (8 * i)));
    }
    return out;
}

int32_t intAt(const std::vector<char> &bytes, size_t offset) {
    int32_t v = 0;
    memcpy(&v, bytes.data() + offset, 4);
    return v;
}

// Serves one connection per step at PATH: reads a request of REQUESTBYTES, then runs the
// step's reply (which may send, wait, or do nothing before the connection is closed).
class TestServer {
  public:
    using Reply = std::function<void(int fd)>;

    TestServer(const char *path, size_t requestBytes, std::vector<Reply> steps)
        : requestBytes_(requestBytes) {
        unlink(path);
        fd_ = socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un addr{};
        addr.sun_family = AF_UNIX;
        strncpy(addr.sun_path, path, sizeof addr.sun_path - 1);
        EXPECT_EQ(bind(fd_, reinterpret_cast<sockaddr *>(&addr), sizeof addr), 0);
        EXPECT_EQ(listen(fd_, 4), 0);
        thread_ = std::thread([this, steps] {
            for (const auto &reply : steps) {
                int c = accept(fd_, nullptr, nullptr);
                if (c < 0) return;
                std::vector<char> req(requestBytes_);
                size_t got = 0;
                while (got < req.size()) {
                    ssize_t n = recv(c, req.data() + got, req.size() - got, 0);
                    if (n <= 0) break;
                    got += size_t(n);
                }
                {
                    std::lock_guard<std::mutex> lock(mutex_);
                    requests_.push_back(req);
                }
                reply(c);
                close(c);
            }
        });
    }
    ~TestServer() {
        shutdown(fd_, SHUT_RDWR);
        thread_.join();
        close(fd_);
    }

    // The requests read so far; the serving thread may still be adding to them.
    std::vector<std::vector<char>> requests() {
        std::lock_guard<std::mutex> lock(mutex_);
        return requests_;
    }

  private:
    std::mutex mutex_;
    std::vector<std::vector<char>> requests_;
    size_t requestBytes_;
    int fd_;
    std::thread thread_;
};

TestServer::Reply sends(std::vector<char> bytes, int delayMs = 0) {
    return [bytes, delayMs](int fd) {
        std::this_thread::sleep_for(std::chrono::milliseconds(delayMs));
        send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    };
}
TestServer::Reply closesSilently() {
    return [](int) {};
}
TestServer::Reply staysSilentFor(int ms) {
    return [ms](int) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); };
}

constexpr const char *kUpgradePath = "/tmp/kivo_upgrade_socket";
constexpr const char *kPackagePath = "/tmp/kv_pkg_server_socket";

}  // namespace

TEST(ClientAgainstNoServer, GivesUpAfterThirtyOneAttempts) {
    unlink("/tmp/kivo_bserver_socket");
    auto start = Clock::now();
    EXPECT_EQ(PkgAppManagementCmd(1, 5, 0x1000, "all"), -1);
    double took = secondsSince(start);
    EXPECT_GT(took, 6.0);
    EXPECT_LT(took, 8.0);
}

TEST(ClientAgainstBadServers, CommandAnswersThatAreMissingShortLateOrText) {
    TestServer server(kUpgradePath, 516,
                      {sends(int32s({1234}), 300), closesSilently(), sends({'\1', '\0'}),
                       staysSilentFor(3000), sends({'r', 'a', 'n'}), closesSilently()});
    std::string longText(600, 'p');
    EXPECT_EQ(PkgAppManagementCmd(2, 0, 0x1001, longText.c_str()), 1234);  // 0: no limit
    EXPECT_EQ(PkgAppManagementCmd(2, 5, 0x1001, "/a"), -2);
    EXPECT_EQ(PkgAppManagementCmd(2, 5, 0x1001, "/b"), -2);
    auto start = Clock::now();
    EXPECT_EQ(PkgAppManagementCmd(2, 1, 0x1001, "/c"), -2);
    EXPECT_LT(secondsSince(start), 2.5);
    EXPECT_EQ(PkgAppManagementCmd(2, 5, 0x999, "ls"), 0);   // any text answer is success
    EXPECT_EQ(PkgAppManagementCmd(2, 5, 0x999, "ls"), -2);  // but silence is not

    const auto requests = server.requests();
    ASSERT_GE(requests.size(), 1u);
    const std::vector<char> &first = requests[0];
    EXPECT_EQ(intAt(first, 0), 0x1001);
    EXPECT_EQ(std::string(first.data() + 4), std::string(511, 'p'));  // cut, terminated
}

TEST(ClientAgainstBadServers, StartRequestLayoutAndFailures) {
    char args[14][32];
    for (int i = 0; i < 14; ++i) snprintf(args[i], 32, "arg%d", i);
    {
        TestServer server(kPackagePath, 904, {sends(int32s({0})), staysSilentFor(2500)});
        EXPECT_EQ(PkgAppStartCmd(5, "demo", 14, args), 0);
        EXPECT_EQ(PkgAppStartCmd(1, "demo", 0, nullptr), -2);
        const auto requests = server.requests();
        ASSERT_GE(requests.size(), 1u);
        const std::vector<char> &req = requests[0];
        EXPECT_EQ(intAt(req, 0), 0x103);
        EXPECT_STREQ(req.data() + 4, "demo");
        EXPECT_EQ(intAt(req, 516), 12);  // only twelve slots in the record
        EXPECT_STREQ(req.data() + 520, "arg0");
        EXPECT_STREQ(req.data() + 520 + 32 * 11, "arg11");
    }
    unlink(kPackagePath);
    EXPECT_EQ(PkgAppStartCmd(1, "demo", 0, nullptr), -9);  // one attempt only
}

TEST(ClientAgainstBadServers, InfoAndListAnswersWithBadHeadsOrShortBodies) {
    std::vector<char> oneEntry(326, 0);
    memcpy(oneEntry.data(), "only", 4);
    std::vector<char> listOfTwoSentOne = int32s({0, 0, 2});
    listOfTwoSentOne.insert(listOfTwoSentOne.end(), oneEntry.begin(), oneEntry.end());
    std::vector<char> infoHeadOnly = int32s({0, 0});
    infoHeadOnly.resize(8 + 100);

    TestServer server(kPackagePath, 516,
                      {sends(int32s({-5, 0})), sends({'\0', '\0'}), sends(infoHeadOnly),
                       sends(int32s({0, 0, -3})), sends(int32s({0, 0, 0})), sends(listOfTwoSentOne),
                       sends(int32s({0, 0, 1 << 30}))});
    PkgAppInfoRecord info;
    EXPECT_EQ(PkgGetAppInfo(2, "x", &info), -5);
    EXPECT_EQ(PkgGetAppInfo(2, "x", &info), -9);
    EXPECT_EQ(PkgGetAppInfo(2, "x", &info), -2);

    PkgAppListEntry *list = nullptr;
    int count = 0;
    EXPECT_EQ(PkgGetAppList(2, &list, &count), -9);
    EXPECT_EQ(PkgGetAppList(2, &list, &count), 0);
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(PkgGetAppList(2, &list, &count), 0);
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(count, 2);
    EXPECT_STREQ(list[0].appId, "only");
    EXPECT_STREQ(list[1].appId, "");  // short entry kept, empty
    PkgFreeAppList(list);
    EXPECT_EQ(PkgGetAppList(2, &list, &count), -9);  // no server means a billion entries
    EXPECT_EQ(list, nullptr);

    const auto requests = server.requests();
    ASSERT_GE(requests.size(), 4u);
    EXPECT_EQ(intAt(requests[0], 0), 0x105);
    EXPECT_EQ(intAt(requests[3], 0), 0x106);
    EXPECT_STREQ(requests[3].data() + 4, "AppList");
}
