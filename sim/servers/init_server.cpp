#include "servers/init_server.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "servers/listener.h"
#include "servers/shared_blocks.h"
#include "servers/system_state.h"

namespace possim {

namespace {

constexpr int kReadTimeoutMs = 2000;
constexpr size_t kRequestBytes = 516;
constexpr size_t kShellAnswerBytes = 128;

// Only the sandbox's private mounts: nothing a command does reaches the host. Every mount
// the sandbox makes under these is listed too; any other one was bound in from the host.
std::vector<std::string> privateRoots() {
    return {"/tmp", "/dev/shm", "/customer",  "/customer/kivo",
            "/sys", "/dev/chn", "/dev/chn/4", "/dev/ttyGS0"};
}

// A restarted server carries on with the step the terminal last recorded.
int recordedFactoryTestStep(const Scenario &scenario) {
    std::string recorded = readStatus("factory_test_step");
    return recorded.empty() ? scenario.factoryTestStep : atoi(recorded.c_str());
}

}  // namespace

InitServer::InitServer(const Scenario &scenario, RequestLog &log)
    : log_(log), interpreter_(privateRoots()), factoryTestStep_(recordedFactoryTestStep(scenario)) {
    // A restarted server brings back the port its predecessor had started.
    if (readStatus("usb_serial") == "on") switchUsbSerial(true);
}

int32_t InitServer::switchUsbSerial(bool on) {
    std::string error;
    if (!on) {
        usbSerial_.stop();
    } else if (!usbSerial_.start(error)) {
        fprintf(stderr, "pos-sim: USB serial: %s\n", error.c_str());
        writeStatus("usb_serial", "off");
        return -1;
    }
    writeStatus("usb_serial", on ? "on" : "off");
    return 0;
}

void InitServer::applyPower(PowerAction action) {
    // The terminal would go down; the simulator records it and carries on.
    if (action == PowerAction::kReboot) writeStatus("power", "rebooting");
    if (action == PowerAction::kPowerOff) writeStatus("power", "off");
}

int32_t InitServer::control(int32_t code, const std::string &text) {
    std::lock_guard<std::mutex> lock(mutex_);
    switch (code) {
        case 0x107:
            return switchUsbSerial(true);
        case 0x108:
            return switchUsbSerial(false);
        case 0x333:
            if (text != "0" && text != "1") return -1;
            writeStatus("comm_module_serial", text);
            return 0;
        case 0x123:
            factoryTestStep_ = atoi(text.c_str());
            writeStatus("factory_test_step", std::to_string(factoryTestStep_));
            return 0;
        case 0x321:
            return factoryTestStep_;
        default:
            return -1;
    }
}

void InitServer::handle(int fd) {
    char request[kRequestBytes];
    if (!readFully(fd, request, sizeof request, kReadTimeoutMs)) {
        log_.record("initcmd", 0, "short request", "(none)");
        return;
    }
    int32_t code = 0;
    memcpy(&code, request, 4);
    std::string text = getText(request + 4, kRequestBytes - 4);
    if (code == 0x999) {
        PowerAction power = PowerAction::kNone;
        CommandResult result = interpreter_.run(text, power);
        std::string answer = result.text.substr(0, kShellAnswerBytes);
        log_.record("initcmd", code, quoteText(text), quoteText(answer));
        applyPower(power);
        writeFully(fd, answer.data(), answer.size());
        return;
    }
    int32_t result = control(code, text);
    log_.record("initcmd", code, quoteText(text), std::to_string(result));
    writeFully(fd, &result, sizeof result);
}

}  // namespace possim
