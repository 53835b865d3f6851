// A run of pos-sim driven from another process on the host, as from a second terminal: by the
// run's name and by its output directory, with the run's traces gone once it ends.
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "Console.h"

namespace fs = std::filesystem;

namespace {

using Result = harness::CommandResult;

Result run(const std::string &command) {
    return harness::runCommand(command);
}

class ConsoleFromHost : public ::testing::Test {
  protected:
    void SetUp() override {
        char dir[] = "/tmp/pos-console-test.XXXXXX";
        ASSERT_NE(mkdtemp(dir), nullptr);
        out = dir;
        name = "console-test-" + std::to_string(getpid());
        // The terminal runs until the test leaves a file in its output directory.
        std::string wait = "while [ ! -e " + (out / "done").string() + " ]; do sleep 0.05; done";
        simPid = fork();
        if (simPid == 0) {
            execl(POS_SIM, POS_SIM, "run", "--name", name.c_str(), "--out", out.c_str(), "--",
                  "/bin/sh", "-c", wait.c_str(), static_cast<char *>(nullptr));
            _exit(127);
        }
        ASSERT_GT(simPid, 0);
        auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (ctl("--name " + name, "list").status != 0) {
            ASSERT_LT(std::chrono::steady_clock::now(), deadline) << "the run never answered";
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
    }
    void TearDown() override {
        std::ofstream(out / "done");
        if (simPid > 0) waitpid(simPid, nullptr, 0);
        fs::remove_all(out);
    }

    Result ctl(const std::string &which, const std::string &words) {
        return run(std::string(POS_SIM) + " ctl " + which + " " + words);
    }

    fs::path out;
    std::string name;
    pid_t simPid = -1;
};

TEST_F(ConsoleFromHost, ARunIsReachedByNameAndByOutputDirectory) {
    Result set = ctl("--name " + name, "power set battery_capacity=33");
    ASSERT_EQ(set.status, 0) << set.out;
    Result state = ctl("--out " + out.string(), "power state");
    EXPECT_EQ(state.status, 0) << state.out;
    EXPECT_NE(state.out.find("\"battery_capacity\": 33"), std::string::npos) << state.out;

    Result refused = ctl("--name " + name, "power set battery_capacity=many");
    EXPECT_EQ(refused.status, 1);
    EXPECT_NE(refused.out.find("expected an integer"), std::string::npos) << refused.out;

    // The name is taken while the run lasts; a name nobody uses reaches nothing.
    Result twice = run(std::string(POS_SIM) + " run --name " + name + " -- /bin/true");
    EXPECT_EQ(twice.status, 2);
    EXPECT_NE(twice.out.find("in use"), std::string::npos) << twice.out;
    EXPECT_EQ(ctl("--name nobody-runs-this", "list").status, 1);
    EXPECT_EQ(ctl("--name ../escape", "list").status, 1);
}

TEST_F(ConsoleFromHost, NothingIsLeftOnceTheRunEnds) {
    std::string socket = "/tmp/pos-sim-" + std::to_string(getuid()) + "/" + name + ".sock";
    EXPECT_TRUE(fs::exists(socket));
    EXPECT_TRUE(fs::exists(out / "pos-sim.run"));
    std::ofstream(out / "done");
    int raw = 0;
    ASSERT_EQ(waitpid(simPid, &raw, 0), simPid);
    simPid = -1;
    EXPECT_TRUE(WIFEXITED(raw) && WEXITSTATUS(raw) == 0);
    EXPECT_FALSE(fs::exists(socket));
    EXPECT_FALSE(fs::exists(out / "pos-sim.run"));
    EXPECT_EQ(ctl("--out " + out.string(), "list").status, 1);
}

TEST(PosSim, HelpAndUsage) {
    Result help = run(POS_SIM " --help");
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.out.find("pos-sim ctl"), std::string::npos) << help.out;
    EXPECT_EQ(run(POS_SIM " ctl --help").status, 0);
    EXPECT_EQ(run(POS_SIM " launch").status, 2);
    EXPECT_EQ(run(POS_SIM " ctl").status, 2);
}

}  // namespace
