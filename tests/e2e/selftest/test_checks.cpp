// The self-test's bookkeeping: its summary decides the program's exit status.
#include <gtest/gtest.h>

#include <string>

#include "Checks.h"

namespace {

TEST(SelftestChecks, OneFailureFailsTheSummaryAndUnavailableSectionsCountForNothing) {
    selftest::Checks checks;
    EXPECT_TRUE(checks.summary());  // nothing run, nothing failed
    EXPECT_TRUE(checks.check("first", true, "unused detail"));
    checks.unavailable("Wi-Fi");
    EXPECT_TRUE(checks.summary());
    EXPECT_FALSE(checks.check("second", false, "got 3"));
    EXPECT_TRUE(checks.check("third", true));
    EXPECT_EQ(checks.passed(), 2);
    EXPECT_EQ(checks.failed(), 1);
    EXPECT_FALSE(checks.summary());
}

TEST(SelftestChecks, FailureLinesNameWhatCameBack) {
    selftest::Checks checks;
    testing::internal::CaptureStdout();
    checks.check("passing check", true, "hidden");
    checks.check("failing check", false, "got -1002");
    checks.check("bare failure", false);
    std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(out, "[ OK ] passing check\n[FAIL] failing check: got -1002\n[FAIL] bare failure\n");
}

TEST(SelftestChecks, HexTextAndBytesConvertBothWays) {
    std::vector<unsigned char> data = selftest::bytes("00017f80FFab");
    ASSERT_EQ(data.size(), 6u);
    EXPECT_EQ(data[0], 0x00);
    EXPECT_EQ(data[2], 0x7F);
    EXPECT_EQ(data[3], 0x80);
    EXPECT_EQ(data[4], 0xFF);
    EXPECT_EQ(data[5], 0xAB);
    EXPECT_EQ(selftest::hex(data.data(), static_cast<int>(data.size())), "00017F80FFAB");
    // A dangling last digit is no byte.
    EXPECT_EQ(selftest::bytes("ABC").size(), 1u);
    EXPECT_TRUE(selftest::bytes("").empty());
    EXPECT_EQ(selftest::hex(data.data(), 0), "");
}

}  // namespace
