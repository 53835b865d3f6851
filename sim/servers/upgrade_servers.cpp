#include "servers/upgrade_servers.h"

#include <string.h>
#include <unistd.h>

#include <filesystem>

#include "servers/listener.h"
#include "servers/shared_blocks.h"

namespace fs = std::filesystem;

namespace possim {

namespace {

constexpr int kReadTimeoutMs = 2000;
constexpr size_t kRequestBytes = 516;

bool readRequest(int fd, int32_t &code, std::string &text) {
    char request[kRequestBytes];
    if (!readFully(fd, request, sizeof request, kReadTimeoutMs)) return false;
    memcpy(&code, request, 4);
    text = getText(request + 4, kRequestBytes - 4);
    return true;
}

}  // namespace

// Applying consumes the staged files, as the terminal's firmware loader does.
int32_t UpgradeServers::applyStaged(std::string &applied) {
    if (replies_.firmwareApply != 0) return replies_.firmwareApply;
    std::lock_guard<std::mutex> lock(stagingMutex_);
    std::error_code ec;
    for (const auto &entry : fs::directory_iterator(stagingDir_, ec)) {
        applied += (applied.empty() ? "" : ",") + entry.path().filename().string();
        fs::remove_all(entry.path(), ec);
    }
    return 0;
}

void UpgradeServers::handleFirmware(int fd) {
    int32_t code = 0;
    std::string text;
    if (!readRequest(fd, code, text)) {
        log_.record("bserver", 0, "short request", "(none)");
        return;
    }
    std::string applied;
    int32_t result = (code == 0x1000 && text == "all") ? applyStaged(applied) : -1;
    std::string fields = quoteText(text);
    if (!applied.empty()) fields += " applied=" + applied;
    log_.record("bserver", code, fields, std::to_string(result));
    writeFully(fd, &result, sizeof result);
}

void UpgradeServers::handleUpgrade(int fd) {
    int32_t code = 0;
    std::string text;
    if (!readRequest(fd, code, text)) {
        log_.record("upgrade", 0, "short request", "(none)");
        return;
    }
    int32_t result = -1;
    if (code == 0x1001) {
        result = access(text.c_str(), R_OK) == 0 ? replies_.upgradeFile : kUpgradeFileMissing;
    } else if (code == 0x1000) {
        result = replies_.upgradeDownload;
    }
    log_.record("upgrade", code, quoteText(text), std::to_string(result));
    writeFully(fd, &result, sizeof result);
}

}  // namespace possim
