// Firmware upgrade, upgrade files and the privileged file commands against the simulated
// terminal's servers, with failures injected through the console.
#include <pos_sdk/app.h>
#include <pos_sdk/os_status.h>
#include <pos_sdk/upgrade.h>

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "SysinfoTest.h"

namespace fs = std::filesystem;

namespace {

using sysinfo_test::InTerminal;
using sysinfo_test::msSince;
using sysinfo_test::readFile;
using sysinfo_test::requestsWith;

const char *const kStaged = "/customer/kivo/mcudir/se_fota_application.KVG";

std::string messageBoxSetting() {
    char value[33] = {};
    return kivogetcustom("KVSEUPGRADEMSGBOXDONTSHOW", value) == 0 ? value : "(unset)";
}

class FirmwareUpgrade : public InTerminal {
  protected:
    void SetUp() override {
        InTerminal::SetUp();
        std::ofstream("/tmp/se.bin") << "secure element image";
    }
};

TEST_F(FirmwareUpgrade, BadArgumentsSendNothing) {
    EXPECT_EQ(OsFirmwareUpgrade("/tmp/se.bin", 0), OS_ERR_BAD_ARGUMENT);
    EXPECT_EQ(OsFirmwareUpgrade("/tmp/se.bin", 4), OS_ERR_BAD_ARGUMENT);
    EXPECT_EQ(OsFirmwareUpgrade("", 1), OS_ERR_BAD_ARGUMENT);
    EXPECT_EQ(OsFirmwareUpgrade(nullptr, 1), OS_ERR_BAD_ARGUMENT);
    // A path too long for the copy command is not staged cut short, and the message box
    // setting is not touched.
    EXPECT_EQ(OsFirmwareUpgrade(("/tmp/" + std::string(250, 'a')).c_str(), 1), OS_ERR_STAGING);
    EXPECT_EQ(readFile("/tmp/.possim/requests.log"), "");
    EXPECT_EQ(messageBoxSetting(), "(unset)");
}

TEST_F(FirmwareUpgrade, StagesAppliesAndRecordsEachKind) {
    const std::pair<int, const char *> kinds[] = {{OS_SE_APPLICATION, "se_fota_application.KVG"},
                                                  {OS_SE_DTB, "se_fota_dtb_pro.KVG"},
                                                  {OS_SE_FIRMWARE, "se_fota_firmware.KVG"}};
    std::vector<std::string> applied;
    for (const auto &kind : kinds) {
        ASSERT_EQ(OsFirmwareUpgrade("/tmp/se.bin", kind.first), 0) << kind.second;
        applied.push_back(std::string("firmware ") + kind.second);
        EXPECT_EQ(requestsWith(std::string("cp /tmp/se.bin /customer/kivo/mcudir/") +
                               kind.second),
                  1);
    }
    EXPECT_EQ(harness::state("system")["upgrades"], nlohmann::json(applied));
    EXPECT_EQ(messageBoxSetting(), "0");
}

TEST_F(FirmwareUpgrade, FailsTwiceThenIsApplied) {
    set("system", "upgrade_fail_count=2");
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(OsFirmwareUpgrade("/tmp/se.bin", OS_SE_APPLICATION), 0);
    EXPECT_GE(msSince(start), 1000) << "two waits of 500 ms";
    EXPECT_EQ(requestsWith("bserver 4096 \"all\""), 3);
    EXPECT_EQ(requestsWith("applied=se_fota_application.KVG -> 1"), 1);
    EXPECT_FALSE(fs::exists(kStaged));
    EXPECT_EQ(messageBoxSetting(), "0");
}

TEST_F(FirmwareUpgrade, ThreeFailuresLeaveTheImageStaged) {
    set("system", "upgrade_fail_count=4");
    EXPECT_EQ(OsFirmwareUpgrade("/tmp/se.bin", OS_SE_APPLICATION), OS_ERR_NOT_SUPPORTED);
    EXPECT_EQ(requestsWith("bserver 4096 \"all\" -> 0"), 3);
    EXPECT_TRUE(fs::exists(kStaged));
    EXPECT_EQ(messageBoxSetting(), "0");
    EXPECT_EQ(harness::state("system")["upgrade_fail_count"], 1);
    EXPECT_EQ(harness::state("system")["upgrades"], nlohmann::json::array());
}

// What the upgrade callback was told, and what it answers.
struct Callback {
    static std::vector<std::pair<int, int>> calls;
    static int answer;
    static int record(int result, int phase) {
        calls.emplace_back(result, phase);
        return answer;
    }
};
std::vector<std::pair<int, int>> Callback::calls;
int Callback::answer = 0;

class UpgradeFile : public InTerminal {
  protected:
    void SetUp() override {
        InTerminal::SetUp();
        Callback::calls.clear();
        Callback::answer = 1;
        std::ofstream("/tmp/update.bin") << "update";
    }
    using Calls = std::vector<std::pair<int, int>>;
};

TEST_F(UpgradeFile, TakenUpgradeRebootsWhenTheCallbackAgrees) {
    EXPECT_EQ(OsUpgradeFile(nullptr, Callback::record), -1);
    EXPECT_EQ(OsUpgradeFile("/tmp/update.bin", nullptr), -1);
    Callback::answer = 0;
    EXPECT_EQ(OsUpgradeFile("/tmp/update.bin", Callback::record), 1);
    EXPECT_EQ(readFile("/tmp/.possim/power"), "on\n");
    Callback::answer = 1;
    EXPECT_EQ(OsUpgradeFile("/tmp/update.bin", Callback::record), 1);
    EXPECT_EQ(Callback::calls, (Calls{{1, OS_UPGRADE_ACCEPTED}, {1, OS_UPGRADE_ACCEPTED}}));
    EXPECT_EQ(readFile("/tmp/.possim/power"), "rebooting\n");
    EXPECT_EQ(harness::state("system")["upgrades"],
              nlohmann::json({"file /tmp/update.bin", "file /tmp/update.bin"}));
}

TEST_F(UpgradeFile, FailureCodes) {
    // -1002, -1004 and -1005 count as taken; any other answer below 1 is a failure notice
    // that never reboots.
    EXPECT_EQ(OsUpgradeFile("/tmp/missing.bin", Callback::record), -1004);
    set("system", "upgrade_fail_count=3");
    set("system", "upgrade_fail_status=-1003");
    EXPECT_EQ(OsUpgradeFile("/tmp/update.bin", Callback::record), -1003);
    set("system", "upgrade_fail_status=0");
    EXPECT_EQ(OsUpgradeFile("/tmp/update.bin", Callback::record), 0);
    set("system", "upgrade_fail_status=-1005");
    EXPECT_EQ(OsUpgradeFile("/tmp/update.bin", Callback::record), -1005);
    EXPECT_EQ(Callback::calls, (Calls{{-1004, OS_UPGRADE_ACCEPTED},
                                      {-1003, OS_UPGRADE_FAILED},
                                      {0, OS_UPGRADE_FAILED},
                                      {-1005, OS_UPGRADE_ACCEPTED}}));
    EXPECT_EQ(requestsWith("initcmd 2457 \"reboot\""), 2);
}

TEST_F(UpgradeFile, DownloadAndUpgrade) {
    EXPECT_EQ(OsDownLoadAndUpgradeFile(), 1);
    set("system", "upgrade_fail_count=1");
    set("system", "upgrade_fail_status=-1002");
    EXPECT_EQ(OsDownLoadAndUpgradeFile(), -1002);
    EXPECT_EQ(requestsWith("upgrade 4096 \"\""), 2);
}

class FileCommands : public InTerminal {};

TEST_F(FileCommands, CopyMoveChmodAndDeleteInsideTheTerminal) {
    fs::create_directories("/tmp/src/sub");
    std::ofstream("/tmp/src/sub/file") << "data";
    ASSERT_EQ(OsCmdCopyFile("/tmp/src", "/tmp/copy"), 0);
    EXPECT_EQ(readFile("/tmp/copy/sub/file"), "data");
    ASSERT_EQ(OsCmdMoveFile("/tmp/copy", "/customer/kivo/moved"), 0);
    EXPECT_FALSE(fs::exists("/tmp/copy"));
    ASSERT_EQ(OsCmdDirChmod("/customer/kivo/moved", 700), 0);
    struct stat st;
    ASSERT_EQ(stat("/customer/kivo/moved/sub/file", &st), 0);
    EXPECT_EQ(st.st_mode & 07777, 0700u);
    ASSERT_EQ(OsCmdDeletFile("/customer/kivo/moved"), 0);
    EXPECT_FALSE(fs::exists("/customer/kivo/moved"));
    EXPECT_EQ(requestsWith("initcmd 2457 \"chmod -R 700 /customer/kivo/moved\" -> \"ok\""), 1);

    // Outside the terminal's own places the command is answered, but nothing happens.
    EXPECT_EQ(OsCmdDeletFile("/etc/hostname"), 0);
    EXPECT_TRUE(fs::exists("/etc/hostname"));

    EXPECT_EQ(OsCmdCopyFile("/tmp/x", nullptr), OS_ERR_BAD_ARGUMENT);
    EXPECT_EQ(OsCmdMoveFile(nullptr, "/tmp/x"), OS_ERR_BAD_ARGUMENT);
    EXPECT_EQ(OsCmdDeletFile(nullptr), OS_ERR_BAD_ARGUMENT);
    // A command too long for its buffer is not run cut short.
    EXPECT_EQ(OsCmdDeletFile(("/tmp/" + std::string(300, 'a')).c_str()), OS_ERR_SERVICE_FAILED);
    EXPECT_EQ(requestsWith("rm -rf /tmp/aaa"), 0);
}

}  // namespace
