// pos-pkg: calls the terminal's local servers by hand through the SDK, for a person working
// inside `pos-sim shell`.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <string>

#include "pos_sdk/app.h"
#include "pos_sdk/pkg.h"

namespace {

const int kTimeoutSec = 5;

int usage() {
    fprintf(stderr,
            "usage: pos-pkg list | info ID | install FILE | uninstall ID\n"
            "       pos-pkg start NAME [ARG...] | wait NAME\n"
            "       pos-pkg sh 'COMMAND LINE' | cmd SERVER CODE [TEXT]\n"
            "       pos-pkg getcustom KEY | setcustom KEY VALUE\n");
    return 2;
}

int list() {
    PkgAppListEntry *apps = nullptr;
    int count = 0;
    int rc = PkgGetAppList(kTimeoutSec, &apps, &count);
    for (int i = 0; rc == 0 && i < count; ++i) {
        printf("%-32s V%d.%d.%d-%d  %s\n", apps[i].appId, apps[i].verMajor, apps[i].verMinor,
               apps[i].verPatch, apps[i].verBuild, apps[i].name);
    }
    PkgFreeAppList(apps);
    return rc;
}

int info(const char *id) {
    PkgAppInfoRecord r;
    memset(&r, 0, sizeof r);
    int rc = PkgGetAppInfo(kTimeoutSec, id, &r);
    if (rc == 0) {
        printf("id %s\nname %s\nversion V%d.%d.%d-%d\ndescription %s\nexecutable %s\n", r.appId,
               r.name, r.verMajor, r.verMinor, r.verPatch, r.verBuild, r.description, r.executable);
    }
    return rc;
}

int start(const char *name, int argc, char **argv) {
    char args[12][32] = {};
    int n = argc > 12 ? 12 : argc;
    for (int i = 0; i < n; ++i) snprintf(args[i], sizeof args[i], "%s", argv[i]);
    return PkgAppStartCmd(kTimeoutSec, name, n, args);
}

int waitChild(const char *name) {
    char owner[32] = {0};
    char value[32] = {0};
    snprintf(owner, sizeof owner, "%s", name);
    int rc = PkgAppGetEnv(0, owner, value);
    if (rc == 0) printf("exit code %s\n", value);
    return rc;
}

int getCustom(const char *key) {
    char value[40] = {0};
    int rc = kivogetcustom(key, value);
    if (rc == 0) printf("%s\n", value);
    return rc;
}

int dispatch(int argc, char **argv) {
    std::string verb = argv[1];
    if (verb == "list" && argc == 2) return list();
    if (verb == "info" && argc == 3) return info(argv[2]);
    if (verb == "install" && argc == 3) return OsInstallFile(0, argv[2], 1);
    if (verb == "uninstall" && argc == 3) return OsUninstallFile(argv[2], 1);
    if (verb == "start" && argc >= 3) return start(argv[2], argc - 3, argv + 3);
    if (verb == "wait" && argc == 3) return waitChild(argv[2]);
    if (verb == "sh" && argc == 3)
        return PkgAppManagementCmd(PKG_SERVER_INITCMD, kTimeoutSec, PKG_CMD_SHELL, argv[2]);
    if (verb == "cmd" && (argc == 4 || argc == 5)) {
        return PkgAppManagementCmd(atoi(argv[2]), kTimeoutSec, int(strtol(argv[3], nullptr, 0)),
                                   argc == 5 ? argv[4] : "");
    }
    if (verb == "getcustom" && argc == 3) return getCustom(argv[2]);
    if (verb == "setcustom" && argc == 4) return kivosetcustom(argv[2], argv[3]);
    return usage();
}

}  // namespace

int main(int argc, char **argv) {
    if (argc < 2) return usage();
    int rc = dispatch(argc, argv);
    printf("result %d\n", rc);
    return rc == 0 ? 0 : 1;
}
