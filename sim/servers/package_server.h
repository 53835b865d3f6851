// The package server ("/tmp/kv_pkg_server_socket"): installs package files, uninstalls,
// starts applications inside the sandbox, describes and lists the installed set.
#ifndef POS_SIM_SERVERS_PACKAGE_SERVER_H
#define POS_SIM_SERVERS_PACKAGE_SERVER_H

#include <sys/types.h>

#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "scenario/scenario.h"
#include "servers/request_log.h"
#include "servers/shared_blocks.h"

namespace possim {

// Answers of the package server besides 0.
enum PackageError {
    kPkgNotFound = -1,     // no such file or application
    kPkgBadArchive = -2,   // the file is not an archive tar can unpack
    kPkgBadManifest = -3,  // manifest missing or invalid
    kPkgNotRunnable = -4,  // the application's program cannot be started
    kPkgBadRequest = -5,   // unknown code or malformed request
};

class PackageServer {
  public:
    PackageServer(const Scenario &scenario, RequestLog &log, SharedBlock &childBlock,
                  std::string appsDir);
    ~PackageServer();

    void handle(int fd);
    // Ends every application started and still running.
    void stopApps();

  private:
    struct App {
        ScenarioApp meta;
        std::string dir;  // empty for applications the scenario installs
        int installTime = 0;
    };

    int install(const std::string &path);
    int uninstall(const std::string &id);
    int start(const std::string &name, const std::vector<std::string> &args);
    void handleStart(int fd);
    void answerInfo(int fd, const std::string &id);
    void answerList(int fd);
    const App *find(const std::string &idOrName) const;
    std::string programOf(const App &app) const;
    void watchChild(pid_t pid, const std::string &name);

    RequestLog &log_;
    SharedBlock &childBlock_;
    std::string appsDir_;
    std::mutex mutex_;
    std::vector<App> apps_;
    std::vector<pid_t> running_;
    std::vector<std::thread> watchers_;
};

// Reads a package's manifest file into APP; false with ERROR when it is unusable.
bool readManifest(const std::string &file, ScenarioApp &app, std::string &error);

}  // namespace possim

#endif
