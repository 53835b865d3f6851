// The self-test's bookkeeping: every check prints one line and is counted for the summary.
#ifndef POS_SELFTEST_CHECKS_H
#define POS_SELFTEST_CHECKS_H

#include <string>
#include <vector>

namespace selftest {

class Checks {
  public:
    // Prints "[ OK ] what" or "[FAIL] what: detail" and counts the outcome. Returns passed.
    bool check(const std::string &what, bool passed, const std::string &detail = "");
    // A section this build cannot exercise: reported, but neither passed nor failed.
    void unavailable(const std::string &section);
    // Prints a section heading.
    void section(const std::string &title);
    // Prints the totals; true when no check failed.
    bool summary() const;

    int passed() const { return mPassed; }
    int failed() const { return mFailed; }

  private:
    int mPassed = 0;
    int mFailed = 0;
};

// "0A1B..." (upper-case) of LEN bytes, for failure details.
std::string hex(const unsigned char *data, int len);
// The bytes of hexadecimal TEXT (pairs of digits; for the built-in test vectors).
std::vector<unsigned char> bytes(const char *text);
// "got X" with X the integer, the usual detail of a status check.
std::string got(long long value);

}  // namespace selftest

#endif
