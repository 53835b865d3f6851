#include "LocalBinder.h"

#include <stdlib.h>

#include <filesystem>

#include "ServiceHost.h"

namespace harness {

namespace {

const int kStartTimeoutMs = 10000;

}  // namespace

LocalBinder::LocalBinder() {
    char dir[] = "/tmp/pos-test-binder.XXXXXX";
    if (mkdtemp(dir) != nullptr) mDir = dir;
    // With no directory of its own the process must not reach anyone else's binder.
    setenv("POS_BINDER_DIR", mDir.empty() ? "/nonexistent" : mDir.c_str(), 1);
}

LocalBinder::~LocalBinder() {
    for (auto it = mPids.rbegin(); it != mPids.rend(); ++it) possim::stopProcess(*it);
    std::error_code ignored;
    if (!mDir.empty()) std::filesystem::remove_all(mDir, ignored);
}

bool LocalBinder::startManager() {
    pid_t pid = possim::spawnAndWaitReady(POS_SIM_SERVICE, {"servicemanager"}, kStartTimeoutMs);
    if (pid > 0) mPids.push_back(pid);
    return pid > 0;
}

pid_t LocalBinder::startService(const std::string &key, const std::string &state) {
    pid_t pid =
        possim::spawnAndWaitReady(POS_SIM_SERVICE, {key, "--state", state}, kStartTimeoutMs);
    if (pid > 0) mPids.push_back(pid);
    return pid;
}

}  // namespace harness
