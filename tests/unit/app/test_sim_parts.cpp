// The simulator's command interpreter and scenario reader, on a scratch directory that
// stands in for the sandbox's private mounts.
#include <gtest/gtest.h>

#include <errno.h>
#include <fcntl.h>
#include <linux/openat2.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <vector>

#include "scenario/scenario.h"
#include "servers/command_interpreter.h"
#include "servers/package_server.h"

namespace fs = std::filesystem;
using namespace possim;

namespace {

std::string readFile(const fs::path &p) {
    std::ifstream in(p);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

class InterpreterTest : public ::testing::Test {
  protected:
    void SetUp() override {
        // The interpreter resolves every path with openat2, which it cannot do without.
        open_how how{};
        how.flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
        int probe = int(syscall(SYS_openat2, AT_FDCWD, ".", &how, sizeof how));
        if (probe < 0 && errno == ENOSYS) {
            GTEST_SKIP() << "openat2 is not available here (qemu user-mode emulation before 9.0 "
                            "does not provide it)";
        }
        if (probe >= 0) close(probe);
        char tmpl[] = "/tmp/possim-unit-XXXXXX";
        ASSERT_NE(mkdtemp(tmpl), nullptr);
        base_ = tmpl;
        root_ = base_ / "root";
        outside_ = base_ / "outside";
        fs::create_directories(root_ / "dir");
        fs::create_directories(outside_);
        std::ofstream(root_ / "dir" / "a.txt") << "alpha";
        std::ofstream(outside_ / "secret") << "keep";
    }
    void TearDown() override { fs::remove_all(base_); }

    CommandResult run(const std::string &line) {
        CommandInterpreter interpreter({root_.string()});
        PowerAction power;
        CommandResult r = interpreter.run(line, power);
        lastPower_ = power;
        return r;
    }

    fs::path base_, root_, outside_;
    PowerAction lastPower_ = PowerAction::kNone;
};

}  // namespace

TEST_F(InterpreterTest, RunsTheShapesTheLibrarySends) {
    std::string r = root_.string();
    EXPECT_TRUE(run("cp " + r + "/dir/a.txt " + r + "/b.txt").ok);
    EXPECT_EQ(readFile(root_ / "b.txt"), "alpha");
    EXPECT_TRUE(run("cp -rf " + r + "/dir " + r + "/copy").ok);
    EXPECT_EQ(readFile(root_ / "copy" / "a.txt"), "alpha");
    EXPECT_TRUE(run("mv " + r + "/b.txt " + r + "/c.txt").ok);
    EXPECT_FALSE(fs::exists(root_ / "b.txt"));
    EXPECT_TRUE(run("chmod -R 700 " + r + "/copy").ok);
    EXPECT_EQ(fs::status(root_ / "copy" / "a.txt").permissions() & fs::perms::all,
              fs::perms::owner_all);
    EXPECT_TRUE(run("echo 1 > " + r + "/value").ok);
    EXPECT_EQ(readFile(root_ / "value"), "1\n");
    EXPECT_TRUE(run("rm -rf " + r + "/copy " + r + "/c.txt").ok);
    EXPECT_FALSE(fs::exists(root_ / "copy"));
    EXPECT_TRUE(run("rm -rf " + r + "/never-there").ok);
    EXPECT_FALSE(run("rm " + r + "/never-there").ok);

    EXPECT_TRUE(run("reboot").ok);
    EXPECT_EQ(lastPower_, PowerAction::kReboot);
    EXPECT_TRUE(run("poweroff").ok);
    EXPECT_EQ(lastPower_, PowerAction::kPowerOff);
}

TEST_F(InterpreterTest, RefusesEverythingOutsideThePrivateMounts) {
    std::string r = root_.string();
    std::string o = outside_.string();
    fs::create_symlink(outside_, root_ / "link");

    for (const std::string &line : std::vector<std::string>{
             "rm -rf " + o,
             "rm -rf " + r + "/../outside",
             "rm -rf " + r + "/link/secret",
             "cp " + r + "/dir/a.txt " + o + "/x",
             "mv " + o + "/secret " + r + "/stolen",
             "echo 0 > " + r + "/link/secret",
             "chmod 777 " + r + "/link",
             "rm -rf relative/path",
             "echo 1 > " + r + "/v; rm -rf " + o,
             "cat " + r + "/dir/a.txt",
             "rm -rf $HOME",
             "reboot now",
         }) {
        CommandResult res = run(line);
        EXPECT_FALSE(res.ok) << line;
        EXPECT_EQ(res.text.rfind("error: ", 0), 0u) << line;
    }
    EXPECT_EQ(readFile(outside_ / "secret"), "keep");
    EXPECT_FALSE(fs::exists(root_ / "v"));
    EXPECT_FALSE(fs::exists(root_ / "stolen"));
}

TEST_F(InterpreterTest, NoShapeFollowsALinkOutOfTheRoot) {
    // Links inside the root to places outside it that do not exist yet (absolute and
    // relative), to an existing outside directory, and a destination tree whose
    // subdirectory is such a link.
    std::string r = root_.string();
    fs::path o = outside_;
    fs::create_symlink(o / "new-echo", root_ / "to-echo");
    fs::create_symlink("../outside/new-cp", root_ / "to-cp");
    fs::create_symlink(o / "new-tree", root_ / "to-tree");
    fs::create_symlink(o, root_ / "to-outside");
    fs::create_symlink(o / "secret", root_ / "to-secret");
    fs::create_directories(root_ / "dest");
    fs::create_symlink(o / "new-sub", root_ / "dest" / "dir");
    fs::create_directories(root_ / "tree");
    fs::create_symlink(o / "secret", root_ / "tree" / "inner");
    fs::permissions(outside_ / "secret", fs::perms::owner_read | fs::perms::owner_write);

    for (const std::string &line : std::vector<std::string>{
             "echo 1 > " + r + "/to-echo",
             "cp " + r + "/dir/a.txt " + r + "/to-cp",
             "cp -rf " + r + "/dir " + r + "/to-tree",
             "cp -rf " + r + "/dir " + r + "/dest",
             "cp " + r + "/dir/a.txt " + r + "/to-outside/copied",
             "mv " + r + "/dir/a.txt " + r + "/to-outside/moved",
             "chmod 777 " + r + "/to-secret",
             "rm -rf " + r + "/to-outside/secret",
             "cp " + r + "/to-secret " + r + "/stolen",
         }) {
        CommandResult res = run(line);
        EXPECT_FALSE(res.ok) << line;
    }
    // A recursive chmod changes the tree and leaves the link's target alone.
    EXPECT_TRUE(run("chmod -R 700 " + r + "/tree").ok);

    std::vector<std::string> outsideNow;
    for (const auto &e : fs::directory_iterator(outside_))
        outsideNow.push_back(e.path().filename());
    EXPECT_EQ(outsideNow, std::vector<std::string>{"secret"});
    EXPECT_EQ(readFile(outside_ / "secret"), "keep");
    EXPECT_EQ(fs::status(outside_ / "secret").permissions() & fs::perms::all,
              fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_FALSE(fs::exists(root_ / "stolen"));
    EXPECT_TRUE(fs::exists(root_ / "dir" / "a.txt"));
}

TEST_F(InterpreterTest, LeavesHostDirectoriesBoundIntoTheRootsAlone) {
    // root/host stands for a host directory the sandbox binds into its private /tmp;
    // root/priv for a private mount of its own (listed as a root).
    std::string r = root_.string();
    fs::create_directories(root_ / "host");
    fs::create_directories(root_ / "priv");
    std::ofstream(root_ / "host" / "build.txt") << "host";
    std::string mounts = (base_ / "mountinfo").string();
    std::ofstream(mounts) << "20 1 0:5 / / rw - tmpfs tmpfs rw\n"
                          << "31 20 8:1 /ci " << r << "/host rw - ext4 /dev/sda1 rw\n"
                          << "32 20 0:7 / " << r << "/priv rw - tmpfs tmpfs rw\n";
    CommandInterpreter interpreter({r, r + "/priv"}, mounts);
    PowerAction power;
    for (const std::string &line : std::vector<std::string>{
             "rm -rf " + r + "/host/build.txt",
             "rm -rf " + r,
             "echo 0 > " + r + "/host/build.txt",
             "cp " + r + "/dir/a.txt " + r + "/host",
             "mv " + r + "/host " + r + "/moved",
             "mv " + r + "/dir " + r + "/host",
             "chmod -R 700 " + r,
         }) {
        EXPECT_FALSE(interpreter.run(line, power).ok) << line;
    }
    EXPECT_EQ(readFile(root_ / "host" / "build.txt"), "host");
    EXPECT_TRUE(fs::exists(root_ / "dir" / "a.txt"));

    // Private mounts and plain directories beside the host one still take commands.
    EXPECT_TRUE(interpreter.run("echo 1 > " + r + "/priv/v", power).ok);
    EXPECT_TRUE(interpreter.run("chmod 700 " + r, power).ok);
    EXPECT_TRUE(interpreter.run("rm -rf " + r + "/dir", power).ok);
    EXPECT_FALSE(fs::exists(root_ / "dir"));
}

TEST(ScenarioTest, DefaultsFillWhatAFileLeavesOut) {
    Scenario s;
    std::string error;
    ASSERT_TRUE(parseScenario(R"({
        "properties": {"kivo.system.version": "V9.9.9-1"},
        "custom": {"KV_RADIO_MODULE_VERSION": "X1", "shop": "north"},
        "apps": [{"id": "pay", "name": "Payment", "version": "2.3.4-5", "exec": "/bin/true"}],
        "radio": {"signal": 7},
        "servers": {"upgrade_file": -1005},
        "power": {"battery": 50}
    })",
                              s, error))
        << error;
    EXPECT_EQ(s.properties["kivo.system.version"], "V9.9.9-1");
    EXPECT_EQ(s.properties["KIVO.SYS.BOOT.MODE"], "0");  // default kept
    ASSERT_EQ(s.custom.size(), 2u);
    EXPECT_EQ(s.custom[0].second, "X1");  // replaced in place, not added
    ASSERT_EQ(s.apps.size(), 1u);
    EXPECT_EQ(s.apps[0].version.build, 5);
    EXPECT_EQ(s.radio.signal, 7);
    EXPECT_EQ(s.radio.simState, 1);
    EXPECT_EQ(s.replies.upgradeFile, -1005);
    EXPECT_EQ(s.raw["power"]["battery"], 50);  // other sections stay for their services

    EXPECT_FALSE(parseScenario("[1,2]", s, error));
    EXPECT_FALSE(parseScenario("{\"apps\":[{\"name\":\"no id\"}]}", s, error));
    EXPECT_FALSE(parseScenario("{\"apps\":[{\"id\":\"a\",\"version\":\"x\"}]}", s, error));
    EXPECT_FALSE(parseScenario("{not json", s, error));

    // Versions: trailing parts may be missing; a part too large for an int is refused.
    ASSERT_TRUE(parseScenario(R"({"apps":[{"id":"a","version":"7.1"}]})", s, error)) << error;
    EXPECT_EQ(s.apps[0].version.major, 7);
    EXPECT_EQ(s.apps[0].version.minor, 1);
    EXPECT_EQ(s.apps[0].version.build, 0);
    EXPECT_FALSE(parseScenario(R"({"apps":[{"id":"a","version":"1.99999999999"}]})", s, error));
}

TEST(ManifestTest, RefusesIdsAndProgramsThatLeaveThePackage) {
    char tmpl[] = "/tmp/possim-manifest-XXXXXX";
    ASSERT_NE(mkdtemp(tmpl), nullptr);
    fs::path file = fs::path(tmpl) / "manifest.json";
    ScenarioApp app;
    std::string error;
    auto check = [&](const std::string &json) {
        std::ofstream(file, std::ios::trunc) << json;
        return readManifest(file.string(), app, error);
    };
    EXPECT_TRUE(check(R"({"id":"demo","name":"Demo","version":"1.2.3-4","exec":"bin/demo"})"));
    EXPECT_EQ(app.name, "Demo");
    EXPECT_FALSE(check(R"({"id":"../x","name":"X","exec":"bin/x"})"));
    EXPECT_FALSE(check(R"({"id":"x","name":"X","exec":"/bin/sh"})"));
    EXPECT_FALSE(check(R"({"id":"x","name":"X","exec":"bin/../../sh"})"));
    EXPECT_FALSE(check("not json"));
    // Refused before parsing: too deep (a "[" inside a string does not count), too large.
    std::string nested = std::string(17, '[') + std::string(17, ']');
    EXPECT_FALSE(check(nested));
    EXPECT_NE(error.find("deeper"), std::string::npos);
    EXPECT_TRUE(check(R"({"id":"demo","name":"[[[[[[[[[[[[[[[[[[[[","exec":"bin/demo"})"));
    EXPECT_FALSE(check(R"({"id":"demo","name":"x","exec":"bin/demo","pad":")" +
                       std::string(70000, ' ') + "\"}"));
    fs::remove_all(tmpl);
}

TEST(PackageServerInstall, RefusesAProgramThatLinksOutOfThePackage) {
    char tmpl[] = "/tmp/possim-install-XXXXXX";
    ASSERT_NE(mkdtemp(tmpl), nullptr);
    fs::path base = tmpl;
    fs::create_directories(base / "pkg" / "bin");
    std::ofstream(base / "outside") << "not the package's";
    fs::permissions(base / "outside", fs::perms::owner_read | fs::perms::owner_write);
    std::ofstream(base / "pkg" / "manifest.json")
        << R"({"id":"evil","name":"Evil","version":"1.0.0-1","exec":"bin/prog"})";
    fs::create_symlink(base / "outside", base / "pkg" / "bin" / "prog");
    std::string pkg = (base / "evil.pkg").string();
    ASSERT_EQ(system(("tar -cf " + pkg + " -C " + (base / "pkg").string() + " .").c_str()), 0);

    RequestLog log((base / "requests.log").string());
    SharedBlock childBlock;
    PackageServer server(Scenario(), log, childBlock, (base / "apps").string());
    int fds[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, fds), 0);
    char request[516] = {0};
    int32_t code = 0x101;
    memcpy(request, &code, 4);
    memcpy(request + 4, pkg.c_str(), pkg.size());
    ASSERT_EQ(write(fds[0], request, sizeof request), ssize_t(sizeof request));
    server.handle(fds[1]);
    int32_t answer = 0;
    ASSERT_EQ(read(fds[0], &answer, 4), 4);
    close(fds[0]);
    close(fds[1]);

    EXPECT_NE(answer, 0);
    EXPECT_EQ(fs::status(base / "outside").permissions() & fs::perms::all,
              fs::perms::owner_read | fs::perms::owner_write);
    fs::remove_all(base);
}
