// pos_servicemanager [SOCKET]: the binder service manager of the host. Listens on SOCKET, by
// default $POS_BINDER_DIR/servicemanager (or /tmp/.binder/servicemanager), until killed.
#include <stdio.h>
#include <string.h>

#include <binder/ServiceManagerHost.h>

int main(int argc, char **argv) {
    if (argc > 2 || (argc == 2 && (strcmp(argv[1], "-h") == 0 || strcmp(argv[1], "--help") == 0))) {
        fprintf(stderr, "usage: %s [SOCKET]\n", argv[0]);
        return 2;
    }
    const char *path = argc == 2 ? argv[1] : nullptr;
    android::status_t err = android::runServiceManager(path);
    fprintf(stderr, "pos_servicemanager: cannot listen on %s: %s\n",
            path ? path : android::serviceManagerSocketPath().c_str(), strerror(-err));
    return 1;
}
