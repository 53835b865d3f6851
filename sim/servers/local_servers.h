// Everything privileged the simulated terminal provides inside its sandbox: the shared
// memory blocks, the published system state and the four local servers. Each server runs in
// a process of its own under a supervisor process that starts it again when it stops, so a
// request that crashes one server takes down neither the others nor the terminal. The
// listening sockets belong to the supervisor: clients of a server being restarted wait in
// its queue instead of being refused.
#ifndef POS_SIM_SERVERS_LOCAL_SERVERS_H
#define POS_SIM_SERVERS_LOCAL_SERVERS_H

#include <sys/types.h>

#include <string>
#include <vector>

#include "scenario/scenario.h"
#include "servers/request_log.h"
#include "servers/shared_blocks.h"

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
    LocalServers(const LocalServers &) = delete;
    LocalServers &operator=(const LocalServers &) = delete;

    // Creates the blocks, publishes the state, listens and starts the servers. Only inside a
    // sandbox (every path is the terminal's own), and before the calling process starts any
    // thread: the servers' processes are forked from it.
    bool start(std::string &error);
    void stop();

  private:
    enum Kind { kPackage, kInitCommand, kFirmware, kUpgrade, kKinds };
    struct Server {
        Kind kind;
        const char *name;  // as messages and the pid file name it
        const char *tag;   // as the request log names it
        int listenFd = -1;
        pid_t pid = -1;
        long long startedMs = 0;
    };

    [[noreturn]] void supervise();
    pid_t startServer(Server &server);
    [[noreturn]] void runServer(const Server &server);
    void restart(Server &server, int status);

    Scenario scenario_;
    LocalServerPaths paths_;
    RequestLog log_;
    SharedBlock systemBlock_;
    SharedBlock childBlock_;
    std::vector<Server> servers_;
    pid_t supervisor_ = -1;
};

}  // namespace possim

#endif
