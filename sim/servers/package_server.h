// The package server ("/tmp/kv_pkg_server_socket"): installs package files, uninstalls,
// starts applications inside the sandbox, describes and lists the installed set.
#ifndef POS_SIM_SERVERS_PACKAGE_SERVER_H
#define POS_SIM_SERVERS_PACKAGE_SERVER_H

#include <sys/types.h>

#include <cstdint>
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
    kPkgBadArchive = -2,   // not an archive tar can unpack, or one beyond the package limits
    kPkgBadManifest = -3,  // manifest missing or invalid
    kPkgNotRunnable = -4,  // the application's program cannot be started
    kPkgBadRequest = -5,   // unknown code or malformed request
};

// What a package may hold. Beyond these it is refused before anything is unpacked; an unpacking
// that takes longer is abandoned. Nothing of a refused package stays behind.
struct PackageLimits {
    uint64_t archiveBytes = 64 << 20;   // the package file
    uint64_t unpackedBytes = 64 << 20;  // its files together
    uint64_t files = 1000;              // entries of every kind
    int unpackMs = 8000;                // listing and unpacking, within the client's 10 s
};

// A manifest larger or more deeply nested than this is refused without being parsed.
constexpr size_t kMaxManifestBytes = 64 * 1024;
constexpr int kMaxManifestDepth = 16;

class PackageServer {
  public:
    // The installed set is the scenario's applications (less those uninstalled since) and the
    // packages unpacked in APPSDIR, so a server started again finds what was installed.
    PackageServer(const Scenario &scenario, RequestLog &log, SharedBlock &childBlock,
                  std::string appsDir, PackageLimits limits = PackageLimits());
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
    bool unpack(const std::string &archive, const std::string &dir);
    int commit(const ScenarioApp &meta, const std::string &unpacked);
    void loadInstalled(const Scenario &scenario);
    int uninstall(const std::string &id);
    int start(const std::string &name, const std::vector<std::string> &args);
    void handleStart(int fd);
    void answerInfo(int fd, const std::string &id);
    void answerList(int fd);
    const App *find(const std::string &idOrName) const;
    std::string programOf(const App &app) const;
    static std::string terminalProgram(const std::string &name);
    void watchChild(pid_t pid, const std::string &name);

    RequestLog &log_;
    SharedBlock &childBlock_;
    std::string appsDir_;
    PackageLimits limits_;
    std::mutex mutex_;
    std::vector<App> apps_;
    std::vector<pid_t> running_;
    std::vector<std::thread> watchers_;
};

// Reads a package's manifest file into APP; false with ERROR when it is unusable.
bool readManifest(const std::string &file, ScenarioApp &app, std::string &error);
// The same from the manifest's text.
bool parseManifest(const std::string &text, ScenarioApp &app, std::string &error);

}  // namespace possim

#endif
