#include "servers/system_state.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

#include "sysglue/sysglue.h"

namespace possim {

namespace {

bool writeFile(const std::string &path, const std::string &text) {
    std::ofstream out(path, std::ios::trunc);
    out << text;
    return bool(out);
}

bool publishRadio(const RadioState &r) {
    bool ok = kv_set_radio_state("simstate", std::to_string(r.simState).c_str()) == 0;
    std::string signal = std::to_string(r.signal) + " " + std::to_string(r.signalSecond);
    ok = kv_set_radio_state("signal", signal.c_str()) == 0 && ok;
    ok = kv_set_radio_state("gsm_stat", std::to_string(r.gsmStat).c_str()) == 0 && ok;
    ok = kv_set_radio_state("network_mode", std::to_string(r.networkMode).c_str()) == 0 && ok;
    ok = kv_set_radio_state("wifi_rssi", std::to_string(r.wifiRssi).c_str()) == 0 && ok;
    return kvsetcutom("KV_RADIO_SQI", r.radioSqi.c_str()) == 0 && ok;
}

}  // namespace

// Replaced whole by a rename, so that a reader never sees a half-written status.
void writeStatus(const std::string &name, const std::string &value) {
    mkdir(kStatusDir, 0755);
    std::string path = std::string(kStatusDir) + "/" + name;
    std::string tmp = path + ".new";
    if (writeFile(tmp, value + "\n")) rename(tmp.c_str(), path.c_str());
}

std::string readStatus(const std::string &name) {
    std::ifstream in(std::string(kStatusDir) + "/" + name);
    std::string line;
    std::getline(in, line);
    return line;
}

bool insideTerminal() {
    struct stat st;
    return stat(kStatusDir, &st) == 0 && S_ISDIR(st.st_mode);
}

namespace {

const char *const kUpgradeRecord = "upgrades";
const char *const kUpgradeFaults = "upgrade_faults";
// The record keeps the latest upgrades only: a terminal upgraded in a loop must not grow it
// without end.
const size_t kMaxUpgradeRecord = 100;

// Holds the lock every read-modify-write of the upgrade files takes: two servers and the
// console use them.
class UpgradeFilesLock {
  public:
    UpgradeFilesLock() {
        mkdir(kStatusDir, 0755);
        fd_ = open((std::string(kStatusDir) + "/upgrades.lock").c_str(),
                   O_RDWR | O_CREAT | O_CLOEXEC, 0644);
        if (fd_ >= 0) flock(fd_, LOCK_EX);
    }
    ~UpgradeFilesLock() {
        if (fd_ >= 0) close(fd_);
    }
    UpgradeFilesLock(const UpgradeFilesLock &) = delete;
    UpgradeFilesLock &operator=(const UpgradeFilesLock &) = delete;

  private:
    int fd_ = -1;
};

std::vector<std::string> readLines(const std::string &name) {
    std::ifstream in(std::string(kStatusDir) + "/" + name);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) {
        if (!line.empty()) lines.push_back(line);
    }
    return lines;
}

void writeLines(const std::string &name, const std::vector<std::string> &lines) {
    std::string text;
    size_t first = lines.size() > kMaxUpgradeRecord ? lines.size() - kMaxUpgradeRecord : 0;
    for (size_t i = first; i < lines.size(); ++i) text += lines[i] + "\n";
    mkdir(kStatusDir, 0755);
    std::string path = std::string(kStatusDir) + "/" + name;
    if (writeFile(path + ".new", text)) rename((path + ".new").c_str(), path.c_str());
}

void storeFaults(const UpgradeFaults &faults) {
    writeStatus(kUpgradeFaults, std::to_string(faults.count) + " " + std::to_string(faults.status));
}

}  // namespace

std::vector<std::string> readUpgradeRecord() {
    return readLines(kUpgradeRecord);
}

void writeUpgradeRecord(const std::vector<std::string> &lines) {
    UpgradeFilesLock lock;
    writeLines(kUpgradeRecord, lines);
}

void appendUpgradeRecord(const std::string &line) {
    UpgradeFilesLock lock;
    std::vector<std::string> lines = readLines(kUpgradeRecord);
    lines.push_back(line);
    writeLines(kUpgradeRecord, lines);
}

UpgradeFaults readUpgradeFaults() {
    UpgradeFaults faults;
    std::istringstream in(readStatus(kUpgradeFaults));
    if (!(in >> faults.count >> faults.status) || faults.count < 0) return UpgradeFaults();
    return faults;
}

void writeUpgradeFaults(const UpgradeFaults &faults) {
    UpgradeFilesLock lock;
    storeFaults(faults);
}

bool takeUpgradeFault(int32_t &status) {
    UpgradeFilesLock lock;
    UpgradeFaults faults = readUpgradeFaults();
    if (faults.count <= 0) return false;
    status = faults.status;
    --faults.count;
    storeFaults(faults);
    return true;
}

bool publishSystemState(const Scenario &s, std::string &error) {
    for (const auto &kv : s.properties) {
        if (kvsetsysver(kv.first.c_str(), kv.second.c_str()) != 0) {
            error = "cannot publish property " + kv.first;
            return false;
        }
    }
    for (const auto &kv : s.sharedProperties) {
        if (kvsetcutom(kv.first.c_str(), kv.second.c_str()) != 0) {
            error = "cannot publish shared property " + kv.first;
            return false;
        }
    }
    if (!publishRadio(s.radio)) {
        error = "cannot publish the radio state";
        return false;
    }
    if (!writeFile("/sys/bus/platform/drivers/kivosys/hw_version", s.hwVersion + "\n")) {
        error = "cannot write the hardware version";
        return false;
    }
    // The radio daemon is "up" from the start.
    writeFile("/tmp/rils", "");
    writeStatus("power", "on");
    writeStatus("usb_serial", "off");
    writeStatus("comm_module_serial", "0");
    writeStatus("factory_test_step", std::to_string(s.factoryTestStep));
    return true;
}

}  // namespace possim
