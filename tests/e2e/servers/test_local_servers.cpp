// The local servers against packages and clients that try to bring them down (run under
// pos-sim): a package that nests its manifest without end, one that unpacks to far more than
// it weighs, a server that crashes, clients that connect and say nothing.
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "pos_sdk/pkg.h"

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

namespace {

constexpr int kInstall = 0x101, kShell = 0x999;
constexpr int kPackageServer = 0, kInitServer = 4;

std::string readFile(const std::string &path) {
    std::ifstream in(path);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

// A package of DIR's files as a tar archive at PKG.
std::string pack(const fs::path &dir, const std::string &pkg, const std::string &options = "") {
    std::string cmd = "tar " + options + " -cf " + pkg + " -C " + dir.string() + " .";
    return system(cmd.c_str()) == 0 ? pkg : "";
}

fs::path packageDir(const std::string &name, const std::string &manifest) {
    fs::path dir = "/tmp/build-" + name;
    fs::create_directories(dir / "bin");
    std::ofstream(dir / "manifest.json") << manifest;
    fs::copy_file("/bin/true", dir / "bin" / "prog", fs::copy_options::overwrite_existing);
    return dir;
}

const char kManifest[] = R"({"id":"ok.app","name":"Ok","version":"1.0.0-1","exec":"bin/prog"})";

// The other servers still answer: a shell command through the init server and the list.
void expectOthersAnswer() {
    EXPECT_EQ(PkgAppManagementCmd(kInitServer, 5, kShell, "echo 1 > /tmp/alive"), 0);
    EXPECT_EQ(readFile("/tmp/alive"), "1\n");
    PkgAppListEntry *list = nullptr;
    int count = -1;
    EXPECT_EQ(PkgGetAppList(5, &list, &count), 0);
    PkgFreeAppList(list);
}

std::vector<std::string> leftovers() {
    std::vector<std::string> names;
    for (const auto &e : fs::directory_iterator("/customer/kivo/apps")) {
        names.push_back(e.path().filename());
    }
    return names;
}

int connectTo(const char *path) {
    int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un addr{};
    addr.sun_family = AF_UNIX;
    strncpy(addr.sun_path, path, sizeof addr.sun_path - 1);
    if (connect(fd, reinterpret_cast<sockaddr *>(&addr), sizeof addr) != 0) {
        close(fd);
        return -1;
    }
    return fd;
}

}  // namespace

TEST(LocalServers, DeepManifestsAndPackageBombsAreRefusedWhileTheRestAnswers) {
    // 100,000 nested arrays: about 200 KB of manifest.
    std::string deep = std::string(100000, '[') + std::string(100000, ']');
    std::string deepPkg = pack(packageDir("deep", deep), "/tmp/deep.pkg");
    // Nested only a little, but behind the size limit's back in a large string.
    std::string big =
        R"({"id":"big","name":")" + std::string(100000, 'x') + R"(","exec":"bin/prog"})";
    std::string bigPkg = pack(packageDir("big", big), "/tmp/big.pkg");
    // A gigabyte of nothing: a few kilobytes of archive.
    fs::path sparse = packageDir("sparse", kManifest);
    std::ofstream(sparse / "zeros").close();
    ASSERT_EQ(truncate((sparse / "zeros").c_str(), 1LL << 30), 0);
    std::string sparsePkg = pack(sparse, "/tmp/sparse.pkg", "--sparse -z");
    // Ten thousand empty files.
    fs::path many = packageDir("many", kManifest);
    for (int i = 0; i < 10000; ++i) std::ofstream(many / ("f" + std::to_string(i)));
    std::string manyPkg = pack(many, "/tmp/many.pkg");
    for (const std::string &pkg : {deepPkg, bigPkg, sparsePkg, manyPkg}) ASSERT_FALSE(pkg.empty());

    EXPECT_EQ(PkgAppManagementCmd(kPackageServer, 10, kInstall, deepPkg.c_str()), -3);
    EXPECT_EQ(PkgAppManagementCmd(kPackageServer, 10, kInstall, bigPkg.c_str()), -3);
    expectOthersAnswer();
    for (const std::string &bomb : {sparsePkg, manyPkg}) {
        auto start = Clock::now();
        EXPECT_EQ(PkgAppManagementCmd(kPackageServer, 10, kInstall, bomb.c_str()), -2) << bomb;
        EXPECT_LT(Clock::now() - start, std::chrono::seconds(9)) << bomb;
        EXPECT_TRUE(leftovers().empty()) << bomb << ": something half-installed stayed";
    }
    expectOthersAnswer();
    // An honest package still installs.
    std::string okPkg = pack(packageDir("ok", kManifest), "/tmp/ok.pkg");
    EXPECT_EQ(PkgAppManagementCmd(kPackageServer, 10, kInstall, okPkg.c_str()), 0);
    EXPECT_EQ(leftovers(), std::vector<std::string>{"ok.app"});
}

TEST(LocalServers, ACrashedServerIsRestartedLoggedAndKeepsItsState) {
    std::string okPkg = pack(packageDir("ok", kManifest), "/tmp/ok.pkg");
    ASSERT_EQ(PkgAppManagementCmd(kPackageServer, 10, kInstall, okPkg.c_str()), 0);
    std::string pid = readFile("/tmp/.possim/pid.pkg");
    ASSERT_FALSE(pid.empty()) << "the package server runs in a process of its own";
    // Killed outright, as a crash ends it (a sanitizer would catch a SIGSEGV and exit instead).
    ASSERT_EQ(kill(std::stoi(pid), SIGKILL), 0);

    // The init server is another process: it answers at once.
    EXPECT_EQ(PkgAppManagementCmd(kInitServer, 5, kShell, "echo 2 > /tmp/alive"), 0);
    // The package server comes back with what was installed.
    PkgAppInfoRecord info{};
    int rc = -1;
    for (auto until = Clock::now() + std::chrono::seconds(10); Clock::now() < until;) {
        rc = PkgGetAppInfo(5, "ok.app", &info);
        if (rc == 0) break;
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    EXPECT_EQ(rc, 0);
    EXPECT_STREQ(info.name, "Ok");
    EXPECT_NE(readFile("/tmp/.possim/pid.pkg"), pid);
    EXPECT_NE(
        readFile("/tmp/.possim/requests.log").find("pkg 0 server stopped (killed by signal 9"),
        std::string::npos);
}

TEST(LocalServers, IdleClientsHoldUpNoRequest) {
    // Clients that connect and never send: today's servers gave each 2 s in turn.
    std::vector<int> idle;
    for (int i = 0; i < 40; ++i) {
        for (const char *path : {"/tmp/kv_pkg_server_socket", "/tmp/kv_init_servers_cmd_sock"}) {
            int fd = connectTo(path);
            ASSERT_GE(fd, 0);
            idle.push_back(fd);
        }
    }
    auto start = Clock::now();
    PkgAppListEntry *list = nullptr;
    int count = -1;
    EXPECT_EQ(PkgGetAppList(10, &list, &count), 0);
    PkgFreeAppList(list);
    EXPECT_EQ(PkgAppManagementCmd(kInitServer, 10, kShell, "echo 3 > /tmp/alive"), 0);
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(5));
    for (int fd : idle) close(fd);
}
