#include "servers/local_servers.h"

#include <sys/stat.h>

#include <filesystem>

#include "servers/system_state.h"

namespace possim {

LocalServers::LocalServers(Scenario scenario, std::string requestLogFile, LocalServerPaths paths)
    : scenario_(std::move(scenario)), paths_(std::move(paths)), log_(std::move(requestLogFile)) {}

LocalServers::~LocalServers() {
    stop();
}

bool LocalServers::start(std::string &error) {
    if (!systemBlock_.create(kSystemBlock, kSystemBlockBytes, true) ||
        !childBlock_.create(kChildBlock, kChildBlockBytes, true)) {
        error = "cannot create the shared-memory blocks";
        return false;
    }
    seedCustomSettings(systemBlock_, scenario_.custom);
    if (!publishSystemState(scenario_, error)) return false;
    std::error_code ec;
    std::filesystem::create_directories(paths_.stagingDir, ec);
    std::filesystem::create_directories(paths_.appsDir, ec);

    package_ = std::make_unique<PackageServer>(scenario_, log_, childBlock_, paths_.appsDir);
    init_ = std::make_unique<InitServer>(scenario_, log_);
    upgrade_ = std::make_unique<UpgradeServers>(scenario_, log_, paths_.stagingDir);
    listeners_.push_back(
        std::make_unique<Listener>(paths_.package, [this](int fd) { package_->handle(fd); }));
    listeners_.push_back(
        std::make_unique<Listener>(paths_.initCommand, [this](int fd) { init_->handle(fd); }));
    listeners_.push_back(std::make_unique<Listener>(
        paths_.firmware, [this](int fd) { upgrade_->handleFirmware(fd); }));
    listeners_.push_back(std::make_unique<Listener>(
        paths_.upgrade, [this](int fd) { upgrade_->handleUpgrade(fd); }));
    for (auto &l : listeners_) {
        if (!l->start(error)) return false;
    }
    // Any user of the terminal may connect.
    for (const auto &p : {paths_.package, paths_.initCommand, paths_.firmware, paths_.upgrade}) {
        chmod(p.c_str(), 0777);
    }
    return true;
}

void LocalServers::stop() {
    for (auto &l : listeners_) l->stop();
    listeners_.clear();
    if (package_) package_->stopApps();
}

}  // namespace possim
