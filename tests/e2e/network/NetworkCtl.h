// The network service's console for the tests on this terminal.
#ifndef POS_TESTS_E2E_NETWORK_CTL_H
#define POS_TESTS_E2E_NETWORK_CTL_H

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Console.h"

// `pos-sim ctl network WORDS...`; a refusal fails the test with the console's reason.
inline bool ctl(std::vector<std::string> words) {
    words.insert(words.begin(), "network");
    possim::ctl::Answer answer = harness::ctl(words);
    EXPECT_TRUE(answer.ok) << answer.text;
    return answer.ok;
}

#endif
