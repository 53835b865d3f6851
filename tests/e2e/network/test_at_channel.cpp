// The AT channel on a simulated terminal: against the simulated modem, and, with the modem
// silent, against a script the test plays on the line itself for the byte-level cases.
#include <gtest/gtest.h>

#include <pos_sdk/at.h>
#include <poll.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

#include "Console.h"
#include "NetworkCtl.h"
#include "ModemLine.h"

namespace {

std::string modemLog() {
    std::ifstream in("/tmp/.possim/modem.log");
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

class AtChannel : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(harness::underSimulator()) << "run under pos-sim run --";
        ASSERT_EQ(OsCustATCmdOpen(), 0);
    }
};

TEST_F(AtChannel, CommandsAgainstTheSimulatedModem) {
    char response[1024] = {0};
    EXPECT_EQ(OsSendCustATCmd("AT", response), 0);
    EXPECT_STREQ(response, "AT\nOK\n");  // the echo is a line of the response
    EXPECT_EQ(OsSendCustATCmd("ATE0", response), 0);
    EXPECT_EQ(OsSendCustATCmd("AT+CSQ", response), 0);
    EXPECT_STREQ(response, "+CSQ: 20,99\nOK\n");

    char *cursor = response;
    int signal = 0, ber = 0;
    ASSERT_EQ(at_tok_start(&cursor), 0);
    EXPECT_EQ(at_tok_nextint(&cursor, &signal), 0);
    EXPECT_EQ(at_tok_nextint(&cursor, &ber), 0);
    EXPECT_EQ(signal, 20);

    EXPECT_EQ(OsSendCustATCmd("AT+NOSUCH", response), -1);
    EXPECT_STREQ(response, "ERROR\n");
    ASSERT_TRUE(ctl({"set", "sim=absent"}));
    EXPECT_EQ(OsSendCustATCmd("AT+CPIN?", response), -1);
    EXPECT_STREQ(response, "+CME ERROR: 10\n");

    EXPECT_EQ(SetDefaultLETPower(), 0);
    std::string log = modemLog();
    EXPECT_NE(log.find("AT+QPWRBACKOFF=\"LTE28\",23,-42 -> OK"), std::string::npos) << log;
    EXPECT_NE(log.find("AT+CPIN? -> +CME ERROR: 10"), std::string::npos) << log;

    // Closing changes nothing: the channel stays in use.
    EXPECT_EQ(OsCustATCmdClose(), 0);
    EXPECT_EQ(x_at_send_command("AT", response, 3), 0);
    EXPECT_EQ(OsSendCustATCmd(nullptr, response), -1003);
    EXPECT_EQ(OsSendCustATCmd("AT", nullptr), -1003);
}

TEST_F(AtChannel, PromptForDataAndUnsolicitedLines) {
    char response[1024] = {0};
    ASSERT_EQ(OsSendCustATCmd("ATE0", response), 0);
    // The "> " prompt is a line of its own and not a final result: the data follow, and the
    // command's answer comes after Ctrl-Z.
    EXPECT_EQ(x_at_send_command("AT+CMGS=\"10086\"\rhello\x1a", response, 3), 0);
    EXPECT_STREQ(response, "> \n+CMGS: 1\nOK\n");

    // A line the modem sends unasked waits in the channel and is read first by the next
    // command.
    ASSERT_TRUE(ctl({"event", "unsolicited", "line=+CREG: 1,\"2A3B\""}));
    usleep(200 * 1000);
    EXPECT_EQ(OsSendCustATCmd("AT", response), 0);
    EXPECT_STREQ(response, "+CREG: 1,\"2A3B\"\nOK\n");
}

// With the modem silent the test answers on the line itself, through the pseudo-terminal
// master the sandbox left open in this process.
class ScriptedLine : public AtChannel {
  protected:
    void SetUp() override {
        AtChannel::SetUp();
        ASSERT_TRUE(ctl({"set", "modem=silent"}));
        master = possim::ptyMasterOf("/dev/chn/4");
        ASSERT_GE(master, 0);
    }
    void TearDown() override { ctl({"set", "modem=on"}); }

    // What the library sent, read from the line.
    std::string sent() {
        std::string text;
        char buffer[256];
        struct pollfd p = {master, POLLIN, 0};
        while (poll(&p, 1, 200) == 1) {
            ssize_t n = read(master, buffer, sizeof buffer);
            if (n <= 0) break;
            text.append(buffer, size_t(n));
        }
        return text;
    }
    void reply(const std::string &bytes) {
        ASSERT_EQ(write(master, bytes.data(), bytes.size()), ssize_t(bytes.size()));
    }

    int master = -1;
};

TEST_F(ScriptedLine, NoReplyWithinTheTimeOutLeavesTheResponseAlone) {
    char response[64] = "untouched";
    EXPECT_EQ(x_at_send_command("AT+CSQ", response, 1), -1);
    EXPECT_STREQ(response, "untouched");
    EXPECT_EQ(sent(), "AT+CSQ\r");
}

TEST_F(ScriptedLine, EchoAndFinalsByteForByte) {
    char response[1024];
    reply("AT\r\r\nOK\r\n");
    EXPECT_EQ(x_at_send_command("AT", response, 2), 0);
    EXPECT_STREQ(response, "AT\nOK\n");
    EXPECT_EQ(sent(), "AT\r");

    reply("\r\n+CME ERROR: 10\r\n");
    EXPECT_EQ(x_at_send_command("AT+CIMI", response, 2), -1);
    EXPECT_STREQ(response, "+CME ERROR: 10\n");

    reply("\r\nCONNECT 115200\r\n\r\nNO CARRIER\r\n");
    EXPECT_EQ(x_at_send_command("ATD*99#", response, 2), 0);
    EXPECT_STREQ(response, "CONNECT 115200\n");
    // The rest of what came is the next command's first line.
    EXPECT_EQ(x_at_send_command("AT", response, 1), -1);  // nothing new arrives: time-out
    reply("\r\nOK\r\n");
    EXPECT_EQ(x_at_send_command("AT", response, 2), -1);
    EXPECT_STREQ(response, "NO CARRIER\n");
    sent();
}

TEST_F(ScriptedLine, OverlongLineIsDroppedWithTheOverflowMessage) {
    char response[1024];
    testing::internal::CaptureStderr();
    reply(std::string(9000, 'z') + "\r\nOK\r\n");
    int result = x_at_send_command("ATI", response, 2);
    std::string log = testing::internal::GetCapturedStderr();
    EXPECT_EQ(result, 0);
    // The buffer's 8192 bytes go; the line's last 808 are read as a line of their own.
    EXPECT_EQ(std::string(response), std::string(808, 'z') + "\nOK\n");
    EXPECT_NE(log.find("ERROR: Input line exceeded buffer"), std::string::npos) << log;
    sent();
}

TEST_F(ScriptedLine, LongRepliesAreCutToTheResponseText) {
    char response[1024];
    std::string lines;
    for (int i = 0; i < 40; ++i) lines += "\r\n+LINE: " + std::string(40, char('a' + i % 26));
    reply(lines + "\r\nOK\r\n");
    EXPECT_EQ(x_at_send_command("AT+LIST", response, 2), 0);
    EXPECT_EQ(strlen(response), 1023u);
    EXPECT_EQ(std::string(response, 8), "+LINE: a");
    sent();
}

}  // namespace
