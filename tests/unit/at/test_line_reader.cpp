// The AT line reader on a pipe: line ends, the data prompt, text kept for the next read, a
// line longer than the buffer, the end of the input.
#include <gtest/gtest.h>

#include <unistd.h>

#include <string>

#include "support/AtLineReader.h"

namespace {

class LineReader : public ::testing::Test {
  protected:
    void SetUp() override { ASSERT_EQ(pipe(fds), 0); }
    void TearDown() override {
        close(fds[0]);
        if (fds[1] >= 0) close(fds[1]);
    }
    void feed(const std::string &bytes) {
        ASSERT_EQ(write(fds[1], bytes.data(), bytes.size()), ssize_t(bytes.size()));
    }
    void endInput() {
        close(fds[1]);
        fds[1] = -1;
    }
    std::string next() {
        const char *line = reader.readLine(fds[0]);
        return line != nullptr ? line : "<none>";
    }

    int fds[2] = {-1, -1};
    pos::AtLineReader reader;
};

TEST_F(LineReader, LinesPromptAndLeftovers) {
    feed("AT\r\r\nOK\r\n\r\nRING\r\n");
    EXPECT_EQ(next(), "AT");
    EXPECT_EQ(next(), "OK");
    EXPECT_EQ(next(), "RING");  // already read with the reply before it
    feed("\r\n> ");
    EXPECT_EQ(next(), "> ");  // the data prompt: a line although nothing ends it
    feed("+CMGS: 1\r");
    feed("\nOK\n");
    EXPECT_EQ(next(), "+CMGS: 1");
    EXPECT_EQ(next(), "OK");
    EXPECT_EQ(reader.bytesRead(), 34u);
}

TEST_F(LineReader, LineSplitAcrossReads) {
    feed("+CSQ: 2");
    feed("0,99\r\nOK");
    EXPECT_EQ(next(), "+CSQ: 20,99");
    feed("\r\n");
    EXPECT_EQ(next(), "OK");
    endInput();
    EXPECT_EQ(next(), "<none>");
}

TEST_F(LineReader, OverlongLineIsDroppedAndReadingGoesOn) {
    testing::internal::CaptureStderr();
    std::string junk(pos::AtLineReader::kBufferSize + 100, 'x');
    feed(junk + "\r\nOK\r\n");
    endInput();
    // The buffer fills with the line's head and is dropped; its tail is then read as a line.
    EXPECT_EQ(next(), std::string(100, 'x'));
    EXPECT_EQ(next(), "OK");
    EXPECT_EQ(next(), "<none>");
    std::string log = testing::internal::GetCapturedStderr();
    EXPECT_NE(log.find("ERROR: Input line exceeded buffer"), std::string::npos) << log;
    EXPECT_NE(log.find("atchannel: EOF reached"), std::string::npos) << log;
}

TEST_F(LineReader, BinaryBytesNeverOverrun) {
    // Every byte value but NUL: lines come out between the CRs and LFs, never longer than
    // the buffer and never holding a line end.
    std::string noise;
    for (int i = 0; i < 3 * int(pos::AtLineReader::kBufferSize); ++i) noise += char(i % 255 + 1);
    feed(noise);
    endInput();
    int lines = 0;
    while (const char *line = reader.readLine(fds[0])) {
        EXPECT_LE(std::string(line).size(), pos::AtLineReader::kBufferSize);
        EXPECT_EQ(std::string(line).find_first_of("\r\n"), std::string::npos);
        ++lines;
    }
    EXPECT_GT(lines, 60);
}

TEST_F(LineReader, NulBytesHoldTheLineUntilTheBufferIsDropped) {
    testing::internal::CaptureStderr();
    feed(std::string("AB\0CD\r\n", 7) + std::string(pos::AtLineReader::kBufferSize, 'y') +
         "\rOK\r");
    endInput();
    // The line after the NUL is never seen whole: the full buffer goes, the last 7 of the
    // 8192 bytes are the head of the next line.
    EXPECT_EQ(next(), "yyyyyyy");
    EXPECT_EQ(next(), "OK");
    EXPECT_EQ(next(), "<none>");
    std::string log = testing::internal::GetCapturedStderr();
    EXPECT_NE(log.find("exceeded buffer"), std::string::npos);
}

}  // namespace
