// The application-management API against the simulated terminal's own servers. Each case
// runs in a fresh sandbox, so the fixed paths below are private to it.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "pos_sdk/app.h"
#include "pos_sdk/pkg.h"
#include "sysglue/sysglue.h"

namespace fs = std::filesystem;

namespace {

std::string readFile(const std::string &path) {
    std::ifstream in(path);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

std::string requestLog() {
    return readFile("/tmp/.possim/requests.log");
}

// Builds a package: a tar archive with manifest.json and the program at bin/prog.
std::string makePackage(const std::string &id, const std::string &name, const std::string &version,
                        const std::string &program) {
    fs::path dir = "/tmp/build-" + id;
    fs::create_directories(dir / "bin");
    std::ofstream(dir / "manifest.json")
        << "{\"id\":\"" << id << "\",\"name\":\"" << name << "\",\"version\":\"" << version
        << "\",\"exec\":\"bin/prog\",\"description\":\"about " << name << "\"}";
    fs::copy_file(program, dir / "bin" / "prog");
    std::string pkg = "/tmp/" + id + ".pkg";
    std::string cmd = "tar -cf " + pkg + " -C " + dir.string() + " .";
    if (system(cmd.c_str()) != 0) return "";
    return pkg;
}

std::string makeScript(const std::string &path, const std::string &body) {
    std::ofstream(path) << "#!/bin/sh\n" << body << "\n";
    fs::permissions(path, fs::perms::owner_all);
    return path;
}

// A mapping of a whole shared block, to look at the raw bytes the library wrote.
struct RawBlock {
    RawBlock(const char *name, size_t size) : size(size) {
        int fd = shm_open(name, O_RDWR, 0);
        void *p =
            fd < 0 ? MAP_FAILED : mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
        if (fd >= 0) close(fd);
        data = p == MAP_FAILED ? nullptr : static_cast<char *>(p);
    }
    ~RawBlock() {
        if (data != nullptr) munmap(data, size);
    }
    char *customKey(int entry) const { return data + 6600 + 66 * entry; }
    size_t size;
    char *data;
};

// These tests write to the terminal's fixed paths: they belong inside a sandbox only.
class SandboxOnly : public ::testing::Environment {
  public:
    void SetUp() override {
        ASSERT_EQ(access("/tmp/.possim/power", F_OK), 0) << "run this under pos-sim run --";
    }
};
const auto *const sandboxOnly = ::testing::AddGlobalTestEnvironment(new SandboxOnly);

int usedCustomEntries(const RawBlock &b) {
    int used = 0;
    for (int i = 2; i < 100; ++i) used += b.customKey(i)[0] != '\0';
    return used;
}

}  // namespace

TEST(InitCommandServer, ShellCommandsActInsideTheSandboxOnly) {
    // Any answer to a shell command gives 0, whether the server ran it or refused it.
    EXPECT_EQ(PkgAppManagementCmd(4, 5, 0x999, "echo 0 > /sys/class/gpio/gpio53/value"), 0);
    EXPECT_EQ(readFile("/sys/class/gpio/gpio53/value"), "0\n");
    EXPECT_EQ(PkgAppManagementCmd(4, 5, 0x999, "cp /etc/hostname /etc/copied"), 0);
    EXPECT_FALSE(fs::exists("/etc/copied"));
    EXPECT_EQ(PkgAppManagementCmd(4, 5, 0x999, "reboot"), 0);
    EXPECT_EQ(readFile("/tmp/.possim/power"), "rebooting\n");

    std::string log = requestLog();
    EXPECT_NE(log.find("initcmd 2457 \"echo 0 > /sys/class/gpio/gpio53/value\" -> \"ok\""),
              std::string::npos)
        << log;
    EXPECT_NE(log.find("initcmd 2457 \"cp /etc/hostname /etc/copied\" -> \"error: not allowed"),
              std::string::npos)
        << log;
}

TEST(InitCommandServer, SerialRoutingAndFactoryStep) {
    EXPECT_EQ(PkgAppManagementCmd(4, 5, 0x123, "7"), 0);
    EXPECT_EQ(PkgAppManagementCmd(4, 5, 0x321, ""), 7);
    EXPECT_EQ(PkgAppManagementCmd(4, 5, 0x107, "start-usb-serial"), 0);
    EXPECT_EQ(readFile("/tmp/.possim/usb_serial"), "on\n");
    EXPECT_EQ(PkgAppManagementCmd(4, 5, 0x333, "1"), 0);
    EXPECT_EQ(PkgAppManagementCmd(4, 5, 0x333, "maybe"), -1);
    // timeout 0: wait without limit for the answer.
    EXPECT_EQ(PkgAppManagementCmd(4, 0, 0x108, "stop-usb-serial"), 0);
    EXPECT_EQ(readFile("/tmp/.possim/usb_serial"), "off\n");
}

TEST(UpgradeServers, ApplyStagedFilesAndCheckUpgradeFiles) {
    std::ofstream("/customer/kivo/mcudir/fw.bin") << "firmware";
    EXPECT_EQ(PkgAppManagementCmd(1, 5, 0x1000, "all"), 1);  // one image applied
    EXPECT_FALSE(fs::exists("/customer/kivo/mcudir/fw.bin"));
    EXPECT_EQ(PkgAppManagementCmd(2, 5, 0x1001, "/tmp/missing.bin"), -1004);
    std::ofstream("/tmp/upgrade.bin") << "x";
    EXPECT_EQ(PkgAppManagementCmd(2, 5, 0x1001, "/tmp/upgrade.bin"), 1);
    EXPECT_NE(requestLog().find("bserver 4096 \"all\" applied=fw.bin -> 1"), std::string::npos);
}

TEST(PackageServer, InstallDescribeListAndUninstall) {
    PkgAppListEntry *list = reinterpret_cast<PkgAppListEntry *>(1);
    int count = -1;
    EXPECT_EQ(PkgGetAppList(5, &list, &count), 0);  // nothing installed yet
    EXPECT_EQ(count, 0);
    EXPECT_EQ(list, nullptr);
    OsAppInfoRecord infos[3];
    EXPECT_EQ(OsGetAppInfo(infos, 3), 0);

    std::string script = makeScript("/tmp/true.sh", "exit 0");
    for (int i = 1; i <= 5; ++i) {
        std::string id = "app" + std::to_string(i);
        std::string pkg =
            makePackage(id, "App " + std::to_string(i), "1.2." + std::to_string(i) + "-9", script);
        ASSERT_EQ(OsInstallFile(0, pkg.c_str(), i == 1 ? 5 : 1), 0) << id;
    }
    EXPECT_EQ(OsInstallFile(0, "/tmp/no-such.pkg", 1), -1003);
    EXPECT_EQ(OsInstallFile(0, script.c_str(), 1), -1003);  // not an archive

    memset(infos, 0, sizeof infos);
    EXPECT_EQ(OsGetAppInfo(infos, 3), 3);
    EXPECT_EQ(std::string(infos[2].appId, 4), "app3");
    EXPECT_EQ(std::string(infos[2].version), "V1.2.3-9");

    OsAppOptRecord opts[10];
    memset(opts, 0, sizeof opts);
    EXPECT_EQ(OsGetOptInfo(opts, 10), 5);
    EXPECT_EQ(std::string(opts[4].version), "V1.2.5-9");

    OsAppInfoRecord one;
    memset(&one, 0, sizeof one);
    ASSERT_EQ(OsGetAppInfoByAppid("app2", &one), 0);
    EXPECT_STREQ(one.appName, "App 2");
    EXPECT_STREQ(one.description, "about App 2");
    EXPECT_STREQ(one.version, "V1.2.2-9");

    EXPECT_EQ(OsUninstallFile("app2", 1), 0);
    EXPECT_FALSE(fs::exists("/customer/kivo/apps/app2"));
    EXPECT_EQ(OsGetAppInfoByAppid("app2", &one), -1002);
    EXPECT_EQ(OsUninstallFile("app2", 1), -1003);
    EXPECT_EQ(OsGetOptInfo(opts, 10), 4);
}

TEST(PackageServer, ChildExitCodeComesBackThroughSlotZero) {
    std::string pkg = makePackage("child", "childapp", "1.0.0-1", APP_CHILD);
    ASSERT_EQ(OsInstallFile(0, pkg.c_str(), 1), 0);
    const char args[2][32] = {"42", "childapp"};
    ASSERT_EQ(OsRunAppEx("childapp", 2, args), 0);
    char value[32] = {0};
    char wrong[] = "someone";
    EXPECT_EQ(PkgAppGetEnv(0, wrong, value), -2);
    char name[] = "childapp";
    EXPECT_EQ(PkgAppGetEnv(0, name, value), 0);
    EXPECT_STREQ(value, "42");
    EXPECT_NE(requestLog().find("pkg 259 app=\"childapp\" args=[\"42\",\"childapp\"] -> 0"),
              std::string::npos);

    // A child that ends without handing back a code still releases its parent.
    std::string quitter = makeScript("/tmp/quit.sh", "exit 3");
    ASSERT_EQ(OsInstallFile(0, makePackage("quit", "quitter", "1.0.0-1", quitter).c_str(), 1), 0);
    ASSERT_EQ(OsRunApp("quitter"), 0);
    char quitterName[] = "quitter";
    EXPECT_EQ(PkgAppGetEnv(0, quitterName, value), 0);
    EXPECT_STREQ(value, "3");

    // A name longer than the slot's field: the parent still knows its child by what fits.
    std::string longName(40, 'n');
    pkg = makePackage("long", longName, "1.0.0-1", APP_CHILD);
    ASSERT_EQ(OsInstallFile(0, pkg.c_str(), 1), 0);
    char longArgs[2][32] = {"9"};
    snprintf(longArgs[1], sizeof longArgs[1], "%s", longName.c_str());
    ASSERT_EQ(OsRunAppEx(longName.c_str(), 2, longArgs), 0);
    EXPECT_EQ(PkgAppGetEnv(0, &longName[0], value), 0);
    EXPECT_STREQ(value, "9");

    EXPECT_EQ(OsRunApp("not-installed"), -1002);
}

TEST(ChildBlock, EnvironmentSlots) {
    EXPECT_EQ(PkgAppSetEnv(0, "K", "V"), -2);
    EXPECT_EQ(PkgAppSetEnv(24, "K", "V"), -2);
    EXPECT_EQ(PkgAppSetEnv(23, "LAST", std::string(50, 'v').c_str()), 0);
    char name[32], value[32];
    EXPECT_EQ(PkgAppGetEnv(23, name, value), 0);
    EXPECT_STREQ(name, "LAST");
    EXPECT_EQ(std::string(value), std::string(31, 'v'));  // cut to the field

    RawBlock raw("/KVPKGSHMKEY", 1932);
    ASSERT_NE(raw.data, nullptr);
    EXPECT_STREQ(raw.data + 12 + 80 * 23, "LAST");
    EXPECT_EQ(raw.data[12 + 80 * 23 + 48], 'v');
    EXPECT_EQ(PkgAppGetEnv(24, name, value), -2);
}

TEST(CustomSettings, OverwriteInPlaceAndFindPastClearedEntries) {
    RawBlock raw("/KVSYSTEMSHMKEY", 13200);
    ASSERT_NE(raw.data, nullptr);
    int before = usedCustomEntries(raw);
    char value[40];
    EXPECT_EQ(kivosetcustom("shop", "north"), 0);
    EXPECT_EQ(kivosetcustom("shop", "south"), 0);
    EXPECT_EQ(usedCustomEntries(raw), before + 1);
    EXPECT_EQ(kivogetcustom("shop", value), 0);
    EXPECT_STREQ(value, "south");
    EXPECT_EQ(kivogetcustom("KV_RADIO_MODULE_VERSION", value), 0);  // from the scenario
    EXPECT_STREQ(value, "EC200U_V1.2");

    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(kivosetcustom(("k" + std::to_string(i)).c_str(), "x"), 0);
    }
    // Another writer clears an entry in the middle: later keys are still found.
    int last = 2 + usedCustomEntries(raw) - 1;
    std::string lastKey = raw.customKey(last);
    memset(raw.customKey(3), 0, 66);
    EXPECT_EQ(kivogetcustom(lastKey.c_str(), value), 0);
    // ... and the freed entry is the next one taken.
    EXPECT_EQ(kivosetcustom("fresh", "1"), 0);
    EXPECT_STREQ(raw.customKey(3), "fresh");
    // A free entry before a key's own one takes the new value (kept as the terminal does it):
    // the old entry stays behind, and reads find the new one first.
    memset(raw.customKey(4), 0, 66);
    EXPECT_EQ(kivosetcustom(lastKey.c_str(), "again"), 0);
    EXPECT_EQ(std::string(raw.customKey(4)), lastKey);
    EXPECT_STREQ(raw.customKey(last) + 33, "x");
    EXPECT_EQ(kivogetcustom(lastKey.c_str(), value), 0);
    EXPECT_STREQ(value, "again");

    std::string longKey(40, 'k');
    EXPECT_EQ(kivosetcustom(longKey.c_str(), std::string(40, 'v').c_str()), 0);
    EXPECT_EQ(kivogetcustom(longKey.c_str(), value), 0);
    EXPECT_EQ(std::string(value), std::string(32, 'v'));
}

TEST(CustomSettings, FullTableAndMissingBlock) {
    RawBlock raw("/KVSYSTEMSHMKEY", 13200);
    ASSERT_NE(raw.data, nullptr);
    int freeEntries = 98 - usedCustomEntries(raw);
    int stored = 0;
    for (int i = 0; i < 200 && kivosetcustom(("key" + std::to_string(i)).c_str(), "v") == 0; ++i) {
        ++stored;
    }
    EXPECT_EQ(stored, freeEntries);
    EXPECT_EQ(usedCustomEntries(raw), 98);
    EXPECT_EQ(kivosetcustom("one-more", "v"), -1);
    char value[40];
    EXPECT_EQ(kivogetcustom("unknown", value), -1);
    EXPECT_EQ(kivosetcustom("key0", "changed"), 0);  // existing keys still take values

    shm_unlink("/KVSYSTEMSHMKEY");
    EXPECT_EQ(kivosetcustom("a", "b"), -2);
    EXPECT_EQ(kivogetcustom("a", value), -2);
}

TEST(SystemUtility, PublishedStateReadsBack) {
    char text[KV_PROP_VALUE_MAX];
    EXPECT_EQ(kvgetsysver("kivo.system.version", text), 0);
    EXPECT_STREQ(text, "V1.6.2-20240315");
    EXPECT_NE(kvgetsysver("no.such.property", text), 0);
    EXPECT_NE(kvgetsysver("../radio/simstate", text), 0);
    EXPECT_EQ(kvsetcutom("net.auto.connect", "0"), 0);
    EXPECT_EQ(kvgetcutom("net.auto.connect", text), 0);
    EXPECT_STREQ(text, "0");
    int a = -1, b = -1;
    EXPECT_EQ(KV_GET_RADIO_SIGNAL(&a, &b), 0);
    EXPECT_EQ(a, 20);
    EXPECT_EQ(b, 99);
    EXPECT_EQ(KV_GET_RADIO_SIMSTATE(&a), 0);
    EXPECT_EQ(a, 4);  // a ready SIM, as the network service publishes it
    EXPECT_EQ(kv_set_radio_state("wifi_rssi", "-71"), 0);
    EXPECT_EQ(KV_GET_WIFI_SIGNA(&a), 0);
    EXPECT_EQ(a, -71);
}
