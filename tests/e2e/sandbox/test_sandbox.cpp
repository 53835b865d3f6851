// Runs pos-sim from the host and checks that the terminal's fixed paths exist inside the
// sandbox only, that the command's status comes back, and that teardown ends every process.
#include <gtest/gtest.h>

#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

namespace fs = std::filesystem;

namespace {

// A probe name no other run uses, so parallel runs cannot confuse the checks.
std::string uniqueName(const std::string &stem) {
    return stem + "-" + std::to_string(getpid()) + "-" +
           std::to_string(std::chrono::steady_clock::now().time_since_epoch().count());
}

int exitStatus(int raw) {
    return WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
}

std::string readFile(const fs::path &p) {
    std::ifstream in(p);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

class SandboxTest : public ::testing::Test {
  protected:
    void SetUp() override {
        char tmpl[] = "/tmp/pos-sim-out-XXXXXX";  // under /tmp: covered inside, yet reachable
        ASSERT_NE(mkdtemp(tmpl), nullptr);
        out_ = tmpl;
        fs::permissions(out_, fs::perms::all);
    }
    void TearDown() override { fs::remove_all(out_); }

    int run(const std::string &prefix, const std::string &args, const std::string &script) {
        std::ofstream(out_ / "script.sh") << script;
        std::string cmd = prefix + " " POS_SIM " run --out " + out_.string() + " " + args +
                          " -- /bin/sh " + (out_ / "script.sh").string() + " >/dev/null 2>&1";
        return exitStatus(system(cmd.c_str()));
    }

    fs::path out_;
};

const char *const kFixedPathsExist =
    "test -S /tmp/kv_pkg_server_socket && test -S /tmp/kv_init_servers_cmd_sock &&\n"
    "test -S /tmp/kivo_bserver_socket && test -S /tmp/kivo_upgrade_socket &&\n"
    "test -e /dev/shm/KVSYSTEMSHMKEY && test -e /dev/shm/KVPKGSHMKEY &&\n"
    "test -c /dev/chn/4 -o -f /dev/chn/4 && ! test -e /dev/ttyGS0 && test -e /tmp/rils &&\n"
    "test -d /customer/kivo/mcudir && test -d /customer/kivo/fonts &&\n"
    "test -f /sys/bus/platform/drivers/kivosys/hw_version &&\n"
    "test -f /sys/bus/platform/drivers/kivosys/ctp_stress &&\n"
    "test -f /sys/class/power_supply/rm45k-battery/serial_mode &&\n"
    "test -f /sys/class/gpio/gpio53/value || exit 3\n";

}  // namespace

TEST_F(SandboxTest, LeavesTheHostUntouchedAndEndsEveryProcess) {
    std::string probe = uniqueName("sandbox-probe");
    bool hadCustomer = fs::exists("/customer");
    std::string script = std::string(kFixedPathsExist) + "touch /tmp/" + probe + " /dev/shm/" +
                         probe +
                         "\n"
                         "mkdir -p /customer/kivo/" +
                         probe +
                         "\n"
                         "echo inside > " +
                         out_.string() +
                         "/seen\n"
                         "(sleep 2; touch " +
                         out_.string() +
                         "/late) &\n"
                         // The output directory is the host's, bound into the private /tmp:
                         // the init command server must leave it alone.
                         POS_PKG " sh 'chmod 777 /dev/chn/4'\n" POS_PKG
                         " sh 'rm -rf /tmp'\n"
                         "exit 7\n";
    EXPECT_EQ(run("", "", script), 7);

    EXPECT_EQ(readFile(out_ / "seen"), "inside\n");
    std::string log = readFile(out_ / "requests.log");
    EXPECT_NE(log.find("\"chmod 777 /dev/chn/4\" -> \"ok\""), std::string::npos) << log;
    EXPECT_NE(log.find("\"rm -rf /tmp\" -> \"error: not allowed"), std::string::npos) << log;
    EXPECT_FALSE(fs::exists("/tmp/" + probe));
    EXPECT_FALSE(fs::exists("/dev/shm/" + probe));
    EXPECT_EQ(fs::exists("/customer"), hadCustomer);
    std::this_thread::sleep_for(std::chrono::milliseconds(2500));
    EXPECT_FALSE(fs::exists(out_ / "late")) << "a process outlived the sandbox";
}

TEST_F(SandboxTest, ScenarioStateIsPublishedAndBadScenariosAreRefused) {
    std::ofstream(out_ / "scenario.json") << R"({
        "hw_version": "V7", "properties": {"kivo.system.version": "V3.0.0-1"},
        "custom": {"shop": "north"}, "servers": {"upgrade_download": -1005},
        "apps": [{"id": "pay", "name": "Payment", "version": "2.0.1-7", "exec": "/bin/true"}]
    })";
    std::string pkg = POS_PKG;
    std::string script =
        "grep -qx V7 /sys/bus/platform/drivers/kivosys/hw_version || exit 4\n"
        "grep -qx V3.0.0-1 /tmp/.sysglue/prop/kivo.system.version || exit 5\n" +
        pkg + " list | grep -q '^pay .* V2.0.1-7  Payment$' || exit 6\n" + pkg +
        " getcustom shop | grep -qx north || exit 7\n" + pkg +
        " cmd 2 0x1000 | grep -qx 'result -1005' || exit 8\n" + pkg +
        " start Payment | grep -qx 'result 0' || exit 9\n";
    EXPECT_EQ(run("", "--scenario " + (out_ / "scenario.json").string(), script), 0);

    std::ofstream(out_ / "bad.json") << "{\"apps\": [{\"name\": \"no id\"}]}";
    EXPECT_EQ(run("", "--scenario " + (out_ / "bad.json").string(), "exit 0\n"), 2);

    // An output directory is bound in from the host: never over the sandbox's own /tmp or /.
    for (const char *out : {"/tmp", "/tmp/", "/"}) {
        std::string cmd = POS_SIM " run --out " + std::string(out) + " -- /bin/true 2>/dev/null";
        EXPECT_EQ(exitStatus(system(cmd.c_str())), 2) << out;
    }
}

TEST_F(SandboxTest, WorksWithoutPrivilege) {
    if (getuid() != 0 || system("command -v setpriv >/dev/null") != 0) {
        GTEST_SKIP() << "needs root to drop to an ordinary user";
    }
    std::string script = std::string(kFixedPathsExist) + "echo ok > " + out_.string() + "/ok\n";
    int rc = run("setpriv --reuid=65534 --regid=65534 --clear-groups", "", script);
    if (rc == 125) GTEST_SKIP() << "user namespaces are disabled on this machine";
    EXPECT_EQ(rc, 0);
    EXPECT_EQ(readFile(out_ / "ok"), "ok\n");
}

namespace {

// Everything a command might try in order to leave a file on the host: plain writes to the
// host's directories, a remount, a new bind of a host directory made writable, the same from
// a further user namespace. Exits 0; the files it manages to make are the test's findings.
std::string escapeScript(const std::string &probe, const std::vector<std::string> &hostDirs) {
    std::string script;
    for (const std::string &dir : hostDirs) {
        script += "echo x > " + dir + "/" + probe + " 2>/dev/null\n";
        script += "mkdir " + dir + "/" + probe + ".d 2>/dev/null\n";
    }
    script += "mount -o remount,rw,bind /etc 2>/dev/null; echo x > /etc/" + probe +
              " 2>/dev/null\n"
              "mkdir -p /tmp/e && mount --bind /etc /tmp/e 2>/dev/null &&\n"
              "  mount -o remount,rw,bind /tmp/e 2>/dev/null; echo x > /tmp/e/" +
              probe +
              " 2>/dev/null\n"
              "umount -l /etc 2>/dev/null; echo x > /etc/" +
              probe +
              " 2>/dev/null\n"
              "unshare -Urm sh -c 'mount -o remount,rw,bind /usr/local; echo x > /usr/local/" +
              probe + "' 2>/dev/null\n" + "exit 0\n";
    return script;
}

}  // namespace

TEST_F(SandboxTest, NothingWrittenInsideReachesTheHostButTheNamedDirectories) {
    std::string probe = uniqueName("escape-probe");
    fs::path writable = out_ / "rw";
    fs::path kept = out_ / "kept";
    fs::create_directories(writable);
    fs::create_directories(kept);
    std::vector<std::string> hostDirs = {"/etc",     "/root",       "/usr/local",
                                         "/var/tmp", "/var/lib",    "/opt",
                                         "/home",    kept.string(), fs::current_path().string()};
    std::string script = escapeScript(probe, hostDirs);
    script.insert(0, "echo ok > " + writable.string() + "/" + probe + "\n");

    struct Run {
        const char *prefix;
        const char *who;
    };
    for (const Run &r :
         {Run{"", "as the caller"},
          Run{"setpriv --reuid=65534 --regid=65534 --clear-groups", "unprivileged"}}) {
        if (r.prefix[0] != '\0' && (getuid() != 0 || system("command -v setpriv >/dev/null") != 0))
            continue;
        fs::permissions(out_, fs::perms::all);
        fs::permissions(writable, fs::perms::all);
        int rc = run(r.prefix, "--rw " + writable.string() + " --keep " + kept.string(), script);
        if (rc == 125 && r.prefix[0] != '\0') continue;  // no user namespaces for others here
        EXPECT_EQ(rc, 0) << r.who;
        for (const std::string &dir : hostDirs) {
            EXPECT_FALSE(fs::exists(dir + "/" + probe)) << r.who << ": wrote into " << dir;
            EXPECT_FALSE(fs::exists(dir + "/" + probe + ".d"))
                << r.who << ": made a directory in " << dir;
        }
        EXPECT_EQ(readFile(writable / probe), "ok\n") << r.who << ": --rw is writable";
        fs::remove(writable / probe);
    }
}

TEST_F(SandboxTest, SaysWhichHiddenPathKeepsTheCommandFromStarting) {
    // An interpreter under the host's /tmp that nothing keeps visible inside.
    char tmpl[] = "/tmp/pos-sim-hidden-XXXXXX";
    ASSERT_NE(mkdtemp(tmpl), nullptr);
    fs::path hidden = tmpl;
    fs::copy_file("/bin/sh", hidden / "sh");
    fs::path script = out_ / "tool";
    std::ofstream(script) << "#!" << (hidden / "sh").string() << "\necho started\n";
    fs::permissions(script, fs::perms::owner_all);

    std::string base = POS_SIM " run --out " + out_.string();
    std::string cmd = base + " -- " + script.string() + " 2>" + (out_ / "err").string();
    EXPECT_EQ(exitStatus(system(cmd.c_str())), 127);
    std::string expected = (hidden / "sh").string() +
                           ": not visible inside the sandbox (it is under /tmp, which the "
                           "terminal has its own of); use --keep " +
                           hidden.string();
    EXPECT_NE(readFile(out_ / "err").find(expected), std::string::npos) << readFile(out_ / "err");

    cmd = base + " --keep " + hidden.string() + " -- " + script.string() + " >" +
          (out_ / "out").string();
    EXPECT_EQ(exitStatus(system(cmd.c_str())), 0);
    EXPECT_EQ(readFile(out_ / "out"), "started\n");

    // Libraries named by LD_LIBRARY_PATH stay reachable although they live under /tmp.
    cmd = "LD_LIBRARY_PATH=" + hidden.string() + " " + base + " -- /bin/sh -c 'test -x " +
          (hidden / "sh").string() + "'";
    EXPECT_EQ(exitStatus(system(cmd.c_str())), 0);
    fs::remove_all(hidden);
}
