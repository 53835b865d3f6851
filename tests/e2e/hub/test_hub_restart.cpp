// A service process that dies and comes back: the call that meets the dead connection reads
// the empty reply, the next one binds the new process.
#include <gtest/gtest.h>

#include <pos_sdk/service/BpTransferHub.h>

#include <stdlib.h>

#include <filesystem>
#include <string>

#include "ServiceHost.h"

namespace {

class ServiceRestart : public ::testing::Test {
  protected:
    void SetUp() override {
        char dir[] = "/tmp/pos-restart-test.XXXXXX";
        ASSERT_NE(mkdtemp(dir), nullptr);
        binderDir = dir;
        setenv("POS_BINDER_DIR", dir, 1);
        managerPid = possim::spawnAndWaitReady(POS_SIM_SERVICE, {"servicemanager"}, 10000);
        ASSERT_GT(managerPid, 0);
    }
    void TearDown() override {
        possim::stopProcess(powerPid);
        possim::stopProcess(managerPid);
        std::error_code ignored;
        std::filesystem::remove_all(binderDir, ignored);
    }

    pid_t startPower(int capacity) {
        std::string state = "{\"battery_capacity\": " + std::to_string(capacity) + "}";
        return possim::spawnAndWaitReady(POS_SIM_SERVICE, {"power", "--state", state}, 10000);
    }

    std::string binderDir;
    pid_t managerPid = -1;
    pid_t powerPid = -1;
};

TEST_F(ServiceRestart, KilledServiceReadsAsZeroThenRebinds) {
    BpTransferHub hub;
    powerPid = startPower(61);
    ASSERT_GT(powerPid, 0);
    EXPECT_EQ(hub.IPowerSysGetBatCap(), 61);

    possim::stopProcess(powerPid, 0);
    powerPid = -1;
    testing::internal::CaptureStdout();
    int seconds = 99;
    EXPECT_EQ(hub.IPowerSysGetSleepTime(&seconds), 0);
    EXPECT_EQ(seconds, 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "remote dead object !");

    powerPid = startPower(62);
    ASSERT_GT(powerPid, 0);
    testing::internal::CaptureStdout();
    EXPECT_EQ(hub.IPowerSysGetBatCap(), 62);
    EXPECT_EQ(hub.IPowerSysGetBatCap(), 62);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Service com.torva.binder.IPowerManager is  not alive \n");
}

TEST_F(ServiceRestart, ServiceGoneForGoodGivesTheSecondCode) {
    BpTransferHub hub;
    powerPid = startPower(50);
    ASSERT_GT(powerPid, 0);
    EXPECT_EQ(hub.IPowerSysGetBatCap(), 50);
    possim::stopProcess(powerPid, 0);
    powerPid = -1;
    testing::internal::CaptureStdout();
    hub.IPowerSysGetBatCap();  // meets the broken connection
    EXPECT_EQ(hub.IPowerSysGetBatCap(), POS_HUB_SERVICE_NOT_FOUND);
    testing::internal::GetCapturedStdout();
}

}  // namespace
