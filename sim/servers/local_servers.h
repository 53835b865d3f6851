// Everything privileged the simulated terminal provides inside its sandbox: the shared
// memory blocks, the published system state and the four local servers.
#ifndef POS_SIM_SERVERS_LOCAL_SERVERS_H
#define POS_SIM_SERVERS_LOCAL_SERVERS_H

#include <memory>
#include <string>
#include <vector>

#include "scenario/scenario.h"
#include "servers/init_server.h"
#include "servers/listener.h"
#include "servers/package_server.h"
#include "servers/request_log.h"
#include "servers/shared_blocks.h"
#include "servers/upgrade_servers.h"

namespace possim {

struct LocalServerPaths {
    std::string package = "/tmp/kv_pkg_server_socket";
    std::string initCommand = "/tmp/kv_init_servers_cmd_sock";
    std::string firmware = "/tmp/kivo_bserver_socket";
    std::string upgrade = "/tmp/kivo_upgrade_socket";
    std::string appsDir = "/customer/kivo/apps";
    std::string stagingDir = "/customer/kivo/mcudir";
};

class LocalServers {
  public:
    // Requests are logged to REQUESTLOGFILE ("requests.log" in the output directory).
    LocalServers(Scenario scenario, std::string requestLogFile,
                 LocalServerPaths paths = LocalServerPaths());
    ~LocalServers();

    // Creates the blocks, publishes the state and starts listening. Only inside a sandbox:
    // every path is the terminal's own.
    bool start(std::string &error);
    void stop();

  private:
    Scenario scenario_;
    LocalServerPaths paths_;
    RequestLog log_;
    SharedBlock systemBlock_;
    SharedBlock childBlock_;
    std::unique_ptr<PackageServer> package_;
    std::unique_ptr<InitServer> init_;
    std::unique_ptr<UpgradeServers> upgrade_;
    std::vector<std::unique_ptr<Listener>> listeners_;
};

}  // namespace possim

#endif
