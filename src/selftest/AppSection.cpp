// Application management: the installed list, custom settings, and a package built here that
// is installed, started, waited for and uninstalled.
#include <pos_sdk/app.h>
#include <pos_sdk/pkg.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "Sections.h"

namespace selftest {
namespace {

const char kChildId[] = "com.pos.selftest.child";
const char kChildName[] = "selftestchild";
const int kMaxApps = 64;

// Record texts come without a terminator when they fill their field.
template <size_t N>
std::string field(const char (&text)[N]) {
    return std::string(text, strnlen(text, N));
}

const OsAppInfoRecord *findApp(const std::vector<OsAppInfoRecord> &list, int count,
                               const std::string &id) {
    for (int i = 0; i < count; ++i) {
        if (field(list[i].appId) == id) return &list[i];
    }
    return nullptr;
}

int installedCount() {
    std::vector<OsAppInfoRecord> list(kMaxApps);
    memset(list.data(), 0, list.size() * sizeof list[0]);
    return OsGetAppInfo(list.data(), kMaxApps);
}

void testInstalledList(Checks &checks, const Expectations &expected) {
    std::vector<OsAppInfoRecord> list(kMaxApps);
    memset(list.data(), 0, list.size() * sizeof list[0]);
    int count = OsGetAppInfo(list.data(), kMaxApps);
    std::vector<OsAppOptRecord> options(kMaxApps);
    memset(options.data(), 0, options.size() * sizeof options[0]);
    int optionCount = OsGetOptInfo(options.data(), kMaxApps);
    checks.check(
        "OsGetAppInfo and OsGetOptInfo list " + std::to_string(count) + " applications",
        count >= 0 && optionCount == count,
        "OsGetAppInfo " + std::to_string(count) + ", OsGetOptInfo " + std::to_string(optionCount));
    if (!expected.apps.empty()) {
        checks.check("the scenario's applications are all listed",
                     count == static_cast<int>(expected.apps.size()),
                     "expected " + std::to_string(expected.apps.size()) + ", " + got(count));
    }
    for (const ExpectedApp &app : expected.apps) {
        const OsAppInfoRecord *listed = findApp(list, count, app.id);
        checks.check(
            "listed: " + app.id + " \"" + app.name + "\" " + app.version,
            listed && field(listed->appName) == app.name && field(listed->version) == app.version,
            listed ? "listed as \"" + field(listed->appName) + "\" " + field(listed->version)
                   : "missing");
        OsAppInfoRecord one;
        memset(&one, 0, sizeof one);
        int status = OsGetAppInfoByAppid(app.id.c_str(), &one);
        checks.check(
            "OsGetAppInfoByAppid " + app.id,
            status == 0 && field(one.appName) == app.name && field(one.version) == app.version,
            "status " + std::to_string(status) + ", \"" + field(one.appName) + "\" " +
                field(one.version));
    }
    OsAppInfoRecord none;
    memset(&none, 0, sizeof none);
    int status = OsGetAppInfoByAppid("no.such.application", &none);
    checks.check("OsGetAppInfoByAppid of an unknown id gives -1002", status == -1002, got(status));
}

void testCustomSettings(Checks &checks) {
    int status = kivosetcustom("SELFTEST_KEY", "first value");
    char value[33] = {0};
    int read = kivogetcustom("SELFTEST_KEY", value);
    checks.check(
        "kivosetcustom then kivogetcustom",
        status == 0 && read == 0 && strcmp(value, "first value") == 0,
        "statuses " + std::to_string(status) + ", " + std::to_string(read) + ", \"" + value + "\"");
    status = kivosetcustom("SELFTEST_KEY", "second value");
    memset(value, 0, sizeof value);
    read = kivogetcustom("SELFTEST_KEY", value);
    checks.check("a second kivosetcustom replaces the value",
                 status == 0 && read == 0 && strcmp(value, "second value") == 0,
                 std::string("\"") + value + "\"");
    read = kivogetcustom("SELFTEST_NO_SUCH_KEY", value);
    checks.check("kivogetcustom of an unknown key gives -1", read == -1, got(read));
}

bool writeFile(const std::string &path, const std::string &text) {
    std::ofstream out(path);
    out << text;
    return static_cast<bool>(out);
}

// Builds the package in a fresh directory under /tmp and returns its path, or "" on failure.
// The program is a shell script that exits with its first argument.
std::string buildPackage(std::string &workDir) {
    char dir[] = "/tmp/pos_selftest_pkg.XXXXXX";
    if (mkdtemp(dir) == nullptr) return "";
    workDir = dir;
    std::string content = workDir + "/content";
    if (mkdir(content.c_str(), 0755) != 0 || mkdir((content + "/bin").c_str(), 0755) != 0) {
        return "";
    }
    std::string manifest = std::string("{\"id\": \"") + kChildId + "\", \"name\": \"" + kChildName +
                           "\", \"version\": \"1.0.0-1\", \"exec\": \"bin/child.sh\", "
                           "\"description\": \"self-test child\"}\n";
    if (!writeFile(content + "/manifest.json", manifest) ||
        !writeFile(content + "/bin/child.sh", "#!/bin/sh\nexit \"${1:-1}\"\n") ||
        chmod((content + "/bin/child.sh").c_str(), 0755) != 0) {
        return "";
    }
    std::string package = workDir + "/child.pkg";
    std::string command =
        "tar -cf '" + package + "' -C '" + content + "' manifest.json bin/child.sh";
    return system(command.c_str()) == 0 ? package : "";
}

void testChildApplication(Checks &checks) {
    const char args[1][32] = {"7"};
    int status = OsRunAppEx(kChildName, 1, args);
    if (!checks.check("OsRunAppEx starts the package with argument 7", status == 0, got(status))) {
        return;
    }
    // A script cannot call PkgGetExitCode; the server records its exit status in slot 0.
    char name[sizeof kChildName];
    memcpy(name, kChildName, sizeof kChildName);
    char value[33] = {0};
    status = PkgAppGetEnv(0, name, value);
    checks.check("PkgAppGetEnv slot 0 hands back exit code 7",
                 status == 0 && strcmp(value, "7") == 0,
                 "status " + std::to_string(status) + ", \"" + value + "\"");
}

void testPackage(Checks &checks) {
    std::string workDir;
    std::string package = buildPackage(workDir);
    if (checks.check("package built with tar", !package.empty())) {
        int before = installedCount();
        int status = OsInstallFile(0, package.c_str(), 1);
        checks.check("OsInstallFile installs it", status == 0 && installedCount() == before + 1,
                     "status " + std::to_string(status) + ", " + std::to_string(before) +
                         " applications before, " + std::to_string(installedCount()) + " after");
        OsAppInfoRecord info;
        memset(&info, 0, sizeof info);
        status = OsGetAppInfoByAppid(kChildId, &info);
        checks.check(
            "the installed package reads V1.0.0-1",
            status == 0 && field(info.appName) == kChildName && field(info.version) == "V1.0.0-1",
            "status " + std::to_string(status) + ", \"" + field(info.appName) + "\" " +
                field(info.version));
        testChildApplication(checks);
        status = OsUninstallFile(kChildId, 1);
        int after = OsGetAppInfoByAppid(kChildId, &info);
        checks.check("OsUninstallFile removes it", status == 0 && after == -1002,
                     "status " + std::to_string(status) + ", then " + std::to_string(after));
    }
    std::string cleanup = "rm -rf '" + workDir + "'";
    if (!workDir.empty() && system(cleanup.c_str()) != 0) {
        printf("(could not remove %s)\n", workDir.c_str());
    }
}

}  // namespace

void testApplications(Checks &checks, const Expectations &expected) {
    testInstalledList(checks, expected);
    testCustomSettings(checks);
    testPackage(checks);
}

}  // namespace selftest
