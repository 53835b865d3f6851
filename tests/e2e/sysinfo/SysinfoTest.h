// What the system-information, upgrade and USB-serial tests share: they run inside a
// simulated terminal and read what its servers recorded.
#ifndef POS_TESTS_E2E_SYSINFO_TEST_H
#define POS_TESTS_E2E_SYSINFO_TEST_H

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <sstream>
#include <string>

#include "Console.h"

namespace sysinfo_test {

inline std::string readFile(const std::string &path) {
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

// How many lines of the local servers' request log hold TEXT.
inline int requestsWith(const std::string &text) {
    std::istringstream log(readFile("/tmp/.possim/requests.log"));
    int count = 0;
    for (std::string line; std::getline(log, line);) count += line.find(text) != std::string::npos;
    return count;
}

inline long long msSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                                 start)
        .count();
}

class InTerminal : public ::testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(harness::underSimulator()) << "run under pos-sim run --"; }

    static void set(const std::string &service, const std::string &assignment) {
        possim::ctl::Answer answer = harness::ctl({service, "set", assignment});
        ASSERT_TRUE(answer.ok) << answer.text;
    }
};

}  // namespace sysinfo_test

#endif
