// The logger through a capturing platform-log sink: the test defines the platform
// function itself, so every message the logger emits lands in `captured`.
#include "pos_sdk/log.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <vector>

namespace {

struct Captured {
    int priority;
    std::string tag;
    std::string text;
};
std::vector<Captured> captured;

void logThrough(int appLevel, const char *fmt, ...) {
    va_list ap;
    va_start(ap, fmt);
    OsLogPrinf(appLevel, fmt, ap);
    va_end(ap);
}

std::string fileRecord(int level, const char *fmt, ...) {
    FILE *fp = tmpfile();
    va_list ap;
    va_start(ap, fmt);
    LogFileVPrintf(level, fp, fmt, ap);
    va_end(ap);
    rewind(fp);
    char buf[512] = {0};
    size_t n = fread(buf, 1, sizeof buf - 1, fp);
    fclose(fp);
    return std::string(buf, n);
}

}  // namespace

extern "C" int __android_log_vprint(int prio, const char *tag, const char *fmt, va_list ap) {
    char text[1024];
    vsnprintf(text, sizeof text, fmt, ap);
    captured.push_back({prio, tag, text});
    return 0;
}

class LogTest : public ::testing::Test {
  protected:
    void SetUp() override { captured.clear(); }
};

TEST_F(LogTest, LevelsMapToPlatformPriorities) {
    Log_Err("e%d\n", 1);
    Log_Warn("w\n");
    Log_Info("i\n");
    Log_Debug("d\n");
    ASSERT_EQ(captured.size(), 4u);
    EXPECT_EQ(captured[0].priority, 6);
    EXPECT_EQ(captured[0].text, "e1\n");
    EXPECT_EQ(captured[1].priority, 5);
    EXPECT_EQ(captured[2].priority, 4);
    EXPECT_EQ(captured[3].priority, 3);
    EXPECT_STREQ(LogLevelToString(1), "E");
    EXPECT_STREQ(LogLevelToString(2), "W");
    EXPECT_STREQ(LogLevelToString(3), "I");
    EXPECT_STREQ(LogLevelToString(4), "D");
    EXPECT_STREQ(LogLevelToString(9), "I");
    EXPECT_STREQ(LogLevelToString(-1), "I");
}

TEST_F(LogTest, ApplicationLevelsRunTheOtherWay) {
    EXPECT_EQ(OsLog(0, "a"), 0);
    EXPECT_EQ(OsLog(1, "b"), 0);
    EXPECT_EQ(OsLog(2, "c"), 0);
    EXPECT_EQ(OsLog(3, "d"), 0);
    EXPECT_EQ(OsLog(5, "e"), 0);
    EXPECT_EQ(OsLog(-1, "f"), 0);
    logThrough(0, "%s-%d", "v", 7);
    ASSERT_EQ(captured.size(), 7u);
    const int expected[] = {3, 4, 5, 6, 6, 6, 3};
    for (size_t i = 0; i < captured.size(); ++i) EXPECT_EQ(captured[i].priority, expected[i]) << i;
    EXPECT_EQ(captured[6].text, "v-7");
}

TEST_F(LogTest, TagRules) {
    EXPECT_STREQ(getLogTagName(), "POS_SDK");
    OsLogSetTag("");
    OsLogSetTag(nullptr);
    EXPECT_STREQ(getLogTagName(), "POS_SDK");

    std::string forty(40, 'x');
    forty.replace(0, 4, "ABCD");
    OsLogSetTag(forty.c_str());
    EXPECT_EQ(std::string(getLogTagName()), forty.substr(0, 32));

    OsLogSetTag("short");
    EXPECT_STREQ(getLogTagName(), "short");  // no remnant of the longer tag
    Log_Info("x");
    ASSERT_EQ(captured.size(), 1u);
    EXPECT_EQ(captured[0].tag, "short");

    setLogTagName(reinterpret_cast<const unsigned char *>("abcdef"), 3);
    EXPECT_STREQ(getLogTagName(), "abc");
    setLogTagName(reinterpret_cast<const unsigned char *>("zzz"), 0);
    EXPECT_STREQ(getLogTagName(), "abc");
}

TEST_F(LogTest, FileRecordFormat) {
    OsLogSetTag("FILETAG");
    std::string rec = fileRecord(2, "value %d\n", 42);
    std::regex shape(
        R"(^\d{4}-\d{2}-\d{2} \d{2}:\d{2}:\d{2} W/FILETAG \(PID:(\d+) TID:(\d+)\):value 42\n$)");
    std::smatch m;
    ASSERT_TRUE(std::regex_match(rec, m, shape)) << rec;
    EXPECT_EQ(std::stoi(m[1]), static_cast<int>(getpid()));
}

TEST_F(LogTest, NullFormatOrStreamWritesNothing) {
    const char *noFormat = nullptr;
    logThrough(0, noFormat);
    EXPECT_TRUE(captured.empty());
    EXPECT_EQ(fileRecord(1, noFormat), "");
    va_list unused{};
    EXPECT_LT(LogFileVPrintf(1, nullptr, "x", unused), 0);
}

TEST_F(LogTest, InitLeavesFileSinkDormant) {
    char dir[] = "/tmp/pos_log_XXXXXX";
    ASSERT_NE(mkdtemp(dir), nullptr);
    Log_Init(dir, 1, 2);
    Log_Err("to the platform only\n");
    std::string path = std::string(dir) + "/SDK_LOG";
    EXPECT_NE(access(path.c_str(), F_OK), 0);  // mask 4: no file written
    EXPECT_EQ(captured.size(), 1u);
    rmdir(dir);
}

TEST_F(LogTest, PtimeLines) {
    Log_Ptime("boot");
    Log_Ptime("");
    Log_Ptime(nullptr);
    ASSERT_EQ(captured.size(), 3u);
    EXPECT_EQ(captured[0].priority, 4);
    EXPECT_TRUE(std::regex_match(captured[0].text,
                                 std::regex(R"(----\d{4}-\d\d-\d\d \d\d:\d\d:\d\d:boot----\n)")));
    EXPECT_TRUE(std::regex_match(captured[1].text,
                                 std::regex(R"(----\d{4}-\d\d-\d\d \d\d:\d\d:\d\d----\n)")));
    EXPECT_EQ(captured[1].text, captured[2].text.substr(0, captured[1].text.size()));
}

TEST_F(LogTest, DumpBytesRows) {
    const unsigned char five[] = {'A', 0x00, 0x7F, 'z', 0xFF};
    dumpBytes("buf", five, 5);
    ASSERT_EQ(captured.size(), 2u);
    EXPECT_EQ(captured[0].text, "buf len5:\n");
    std::string row = "0000:0x41 0x00 0x7F 0x7A 0xFF ";
    for (int i = 0; i < 11; ++i) row += "0x__ ";
    row += "|A\x7Fz\xFF";  // the zero byte adds nothing to the column
    row += std::string(11, ' ');
    EXPECT_EQ(captured[1].text, row + "\n");
    for (const auto &c : captured) EXPECT_EQ(c.priority, 3);

    captured.clear();
    dumpBytes("none", five, 0);
    ASSERT_EQ(captured.size(), 1u);
    EXPECT_EQ(captured[0].text, "none len0:\n");

    unsigned char bytes[17];
    for (int i = 0; i < 17; ++i) bytes[i] = static_cast<unsigned char>('a' + i);
    captured.clear();
    dumpBytes("s", bytes, 16);
    ASSERT_EQ(captured.size(), 2u);
    EXPECT_EQ(captured[1].text.substr(0, 5), "0000:");
    EXPECT_EQ(captured[1].text.substr(captured[1].text.size() - 18), "|abcdefghijklmnop\n");

    captured.clear();
    dumpBytes("s", bytes, 17);
    ASSERT_EQ(captured.size(), 3u);
    EXPECT_EQ(captured[2].text.substr(0, 10), "0016:0x71 ");
    EXPECT_EQ(captured[2].text.substr(captured[2].text.size() - 18),
              "|q" + std::string(15, ' ') + "\n");

    captured.clear();
    dumpBytes("bad", nullptr, 8);  // a null buffer logs the header and reads nothing
    EXPECT_EQ(captured.size(), 1u);
}
