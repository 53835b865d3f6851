// The logger as applications use it.
#include <pos_sdk/log.h>

#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "Sections.h"

namespace selftest {
namespace {

// Sends standard error to a temporary file while alive; text() reads what arrived. The host's
// platform log writes there, so the logger's output can be checked.
class StderrCapture {
  public:
    StderrCapture() {
        mFile = tmpfile();
        fflush(stderr);
        mSaved = dup(STDERR_FILENO);
        if (mFile != nullptr && mSaved >= 0) dup2(fileno(mFile), STDERR_FILENO);
    }
    ~StderrCapture() {
        restore();
        if (mFile != nullptr) fclose(mFile);
    }
    std::string text() {
        restore();
        std::string all;
        if (mFile == nullptr) return all;
        rewind(mFile);
        char buffer[512];
        size_t n;
        while ((n = fread(buffer, 1, sizeof buffer, mFile)) > 0) all.append(buffer, n);
        return all;
    }

  private:
    void restore() {
        if (mSaved < 0) return;
        fflush(stderr);
        dup2(mSaved, STDERR_FILENO);
        close(mSaved);
        mSaved = -1;
    }
    FILE *mFile = nullptr;
    int mSaved = -1;
};

bool contains(const std::string &text, const std::string &part) {
    return text.find(part) != std::string::npos;
}

void testTag(Checks &checks) {
    OsLogSetTag("SELFTEST");
    std::string tag = getLogTagName();
    checks.check("OsLogSetTag sets the tag", tag == "SELFTEST", "tag is \"" + tag + "\"");
    std::string longTag(40, 'T');
    OsLogSetTag(longTag.c_str());
    tag = getLogTagName();
    checks.check("a 40-character tag is cut to 32", tag == longTag.substr(0, 32),
                 "tag is \"" + tag + "\"");
    OsLogSetTag("SELFTEST");
}

void testOutput(Checks &checks) {
    const unsigned char bytes[20] = {0x00, 0x01, 0x02, 0x7f, 0x80, 0xff, 'a', 'b', 'c'};
    bool accepted = true;
    std::string text;
    {
        StderrCapture capture;
        // Application levels run 0 (debug) to 3 (error).
        for (int level = 0; level <= 3; ++level) {
            accepted = OsLog(level, "self-test message at level %d\n", level) == 0 && accepted;
        }
        dumpBytes("self-test dump", bytes, sizeof bytes);
        dumpBytes(nullptr, nullptr, 4);  // must neither crash nor read through null
        text = capture.text();
    }
    checks.check("OsLog accepts levels 0 to 3", accepted);
    if (text.empty()) {
        printf("[ -- ] the platform log does not write to standard error here; output unchecked\n");
        return;
    }
    checks.check("OsLog messages carry the tag",
                 contains(text, "SELFTEST") && contains(text, "self-test message at level 3"),
                 "log output: " + text.substr(0, 200));
    checks.check("dumpBytes writes its title and two rows of 20 bytes",
                 contains(text, "self-test dump len20") && contains(text, "0000:0x00 0x01") &&
                     contains(text, "0x__"),
                 "log output: " + text.substr(0, 400));
}

}  // namespace

void testLogging(Checks &checks, const Expectations &) {
    testTag(checks);
    testOutput(checks);
}

}  // namespace selftest
