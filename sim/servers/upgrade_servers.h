// The firmware server ("/tmp/kivo_bserver_socket": 4096 "all" applies what is staged in
// "/customer/kivo/mcudir/") and the upgrade server ("/tmp/kivo_upgrade_socket": 4097
// upgrades one file, 4096 downloads and upgrades). Served normally, a request answers how
// many images it applied (0 when nothing was staged) and is recorded in the upgrade record;
// a scenario's non-zero answer, or a failure the console left pending, is answered instead.
#ifndef POS_SIM_SERVERS_UPGRADE_SERVERS_H
#define POS_SIM_SERVERS_UPGRADE_SERVERS_H

#include <mutex>
#include <string>

#include "scenario/scenario.h"
#include "servers/request_log.h"

namespace possim {

constexpr int kUpgradeFileMissing = -1004;

class UpgradeServers {
  public:
    UpgradeServers(const Scenario &scenario, RequestLog &log, std::string stagingDir)
        : replies_(scenario.replies), log_(log), stagingDir_(std::move(stagingDir)) {}

    void handleFirmware(int fd);
    void handleUpgrade(int fd);

  private:
    int32_t applyStaged(std::string &applied);
    int32_t upgradeFile(const std::string &path);
    int32_t downloadAndUpgrade();

    ServerReplies replies_;
    RequestLog &log_;
    std::string stagingDir_;
    std::mutex stagingMutex_;  // one apply at a time
};

}  // namespace possim

#endif
