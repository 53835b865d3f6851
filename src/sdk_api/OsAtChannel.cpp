// The modem's AT command channel: one descriptor of the process on "/dev/chn/4", opened once
// and kept open, one command at a time, the reply collected line by line up to a final result.
#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <stdio.h>
#include <string.h>
#include <termios.h>
#include <unistd.h>

#include "pos_sdk/at.h"
#include "pos_sdk/log.h"
#include "pos_sdk/os_status.h"
#include "pos_sdk/os_time.h"
#include "pos_sdk/pkg.h"
#include "support/AtLineReader.h"

namespace {

const char kChannelPath[] = "/dev/chn/4";
const int kNodePollMs = 500;
const int kNodeWaitRounds = 6;  // given up when the count before a round exceeds this
const int kCustomTimeoutSeconds = 3;
const size_t kResponseText = 1024;

// The channel: its descriptor, its line reader (text read but not yet taken stays in it).
int channel = -1;
pos::AtLineReader reader;

const char *const kSuccessFinals[] = {"OK", "CONNECT"};
const char *const kErrorFinals[] = {
    "ERROR", "+CMS ERROR:", "+CME ERROR:", "NO CARRIER", "NO ANSWER", "NO DIALTONE"};

template <size_t N>
bool startsWithAny(const char *line, const char *const (&finals)[N]) {
    for (const char *final : finals) {
        if (strStartsWith(line, final)) return true;
    }
    return false;
}

bool writeAll(int fd, const char *data, size_t size) {
    while (size > 0) {
        ssize_t n = write(fd, data, size);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        data += n;
        size -= static_cast<size_t>(n);
    }
    return true;
}

// Appends LINE and "\n" to the response text; the text is cut at its buffer's end rather
// than written past it.
void appendLine(char (&text)[kResponseText], const char *line) {
    size_t used = strnlen(text, sizeof text);
    snprintf(text + used, sizeof text - used, "%s\n", line);
}

// Waits for the reply's first byte. poll stands in for select, which cannot watch a
// descriptor numbered FD_SETSIZE or above.
int waitForReply(int seconds) {
    struct pollfd p = {channel, POLLIN, 0};
    int ready;
    do {
        ready = poll(&p, 1, seconds > 0 ? seconds * 1000 : 0);
    } while (ready < 0 && errno == EINTR);
    if (ready <= 0) return -1;  // time-out or failure
    return (p.revents & POLLIN) != 0 ? 0 : -2;
}

}  // namespace

extern "C" {

POS_API int x_at_open(void) {
    if (channel >= 1) return 0;
    for (int waited = 0; access(kChannelPath, F_OK) != 0; ++waited) {
        OsSleep(kNodePollMs);
        if (waited > kNodeWaitRounds) {
            OsLog(0, "%s [%s] is not exist\n", "x_at_open", kChannelPath);
            return -17;
        }
    }
    if (access(kChannelPath, R_OK | W_OK) != 0) {
        // The server's answer is not needed: opening tells.
        PkgAppManagementCmd(PKG_SERVER_INITCMD, 5, PKG_CMD_SHELL, "chmod 777 /dev/chn/4");
    }
    int fd = open(kChannelPath, O_RDWR | O_NOCTTY);
    if (fd < 0) {
        OsLog(0, "%s open %s failed, %s", "x_at_open", kChannelPath, strerror(errno));
        return 2;
    }
    struct termios tio;
    if (tcgetattr(fd, &tio) == 0) {
        tio.c_lflag = 0;  // no echo, no line editing, no signals
        tcsetattr(fd, TCSANOW, &tio);
    }
    channel = fd;
    return 0;
}

POS_API int x_at_send_command(const char *command, char *response, int timeoutSeconds) {
    if (channel < 0) {
        OsLog(0, "%s chn not open \n", "x_at_send_command");
        return -1;
    }
    if (command == nullptr || !writeAll(channel, command, strlen(command)) ||
        !writeAll(channel, "\r", 1)) {
        OsLog(0, "%s write to chn failed \n", "x_at_send_command");
        return -1;
    }
    int waited = waitForReply(timeoutSeconds);
    if (waited != 0) return waited;
    // Once the reply has started, its lines are read without a time limit.
    char text[kResponseText] = {0};
    for (;;) {
        const char *line = reader.readLine(channel);
        if (line == nullptr) return -1;
        appendLine(text, line);
        bool success = startsWithAny(line, kSuccessFinals);
        if (success || startsWithAny(line, kErrorFinals)) {
            if (response != nullptr) memcpy(response, text, strlen(text) + 1);
            return success ? 0 : -1;
        }
    }
}

POS_API int x_at_close(void) {
    return 0;  // the channel stays open: the next command uses it as it is
}

POS_API int OsCustATCmdOpen(void) {
    return x_at_open();
}

POS_API int OsSendCustATCmd(const char *command, char *response) {
    if (command == nullptr || response == nullptr) return OS_ERR_BAD_ARGUMENT;
    return x_at_send_command(command, response, kCustomTimeoutSeconds);
}

POS_API int OsCustATCmdClose(void) {
    return x_at_close();
}

POS_API int SetDefaultLETPower(void) {
    static const char kBackoff[][128] = {
        "AT+QPWRBACKOFF=\"LTE5\",23,-42",
        "AT+QPWRBACKOFF=\"LTE8\",23,-42",
        "AT+QPWRBACKOFF=\"LTE28\",23,-42",
    };
    for (const char *command : kBackoff) {
        // The whole response text fits here, whatever the modem adds to its answer.
        char response[kResponseText] = {0};
        int result = OsSendCustATCmd(command, response);
        OsLog(0, "set default xxxx resp [%d][%s]", result, response);
        if (result != 0) return result;
    }
    return 0;
}

}  // extern "C"
