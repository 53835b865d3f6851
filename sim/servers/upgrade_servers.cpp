#include "servers/upgrade_servers.h"

#include <string.h>
#include <unistd.h>

#include <filesystem>

#include "servers/listener.h"
#include "servers/shared_blocks.h"
#include "servers/system_state.h"

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
    int32_t failed = 0;
    if (takeUpgradeFault(failed)) return failed;
    if (replies_.firmwareApply != 0) return replies_.firmwareApply;
    std::lock_guard<std::mutex> lock(stagingMutex_);
    std::error_code ec;
    int32_t count = 0;
    for (const auto &entry : fs::directory_iterator(stagingDir_, ec)) {
        std::string name = entry.path().filename().string();
        applied += (applied.empty() ? "" : ",") + name;
        appendUpgradeRecord("firmware " + name);
        fs::remove_all(entry.path(), ec);
        ++count;
    }
    return count;
}

int32_t UpgradeServers::upgradeFile(const std::string &path) {
    int32_t failed = 0;
    if (takeUpgradeFault(failed)) return failed;
    if (access(path.c_str(), R_OK) != 0) return kUpgradeFileMissing;
    if (replies_.upgradeFile != 0) return replies_.upgradeFile;
    appendUpgradeRecord("file " + path);
    return 1;
}

int32_t UpgradeServers::downloadAndUpgrade() {
    int32_t failed = 0;
    if (takeUpgradeFault(failed)) return failed;
    if (replies_.upgradeDownload != 0) return replies_.upgradeDownload;
    appendUpgradeRecord("download");
    return 1;
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
        result = upgradeFile(text);
    } else if (code == 0x1000) {
        result = downloadAndUpgrade();
    }
    log_.record("upgrade", code, quoteText(text), std::to_string(result));
    writeFully(fd, &result, sizeof result);
}

}  // namespace possim
