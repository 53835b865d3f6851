// binder_echo_service NAME: registers an EchoService under NAME with the service manager of
// $POS_BINDER_DIR and serves until killed.
#include <stdio.h>

#include <binder/IPCThreadState.h>
#include <binder/IServiceManager.h>
#include <binder/ProcessState.h>

#include "echo_service.h"

int main(int argc, char **argv) {
    if (argc != 2) {
        fprintf(stderr, "usage: %s NAME\n", argv[0]);
        return 2;
    }
    android::sp<android::IServiceManager> sm = android::defaultServiceManager();
    if (sm == nullptr ||
        sm->addService(android::String16(argv[1]), new echo::EchoService) != android::OK) {
        fprintf(stderr, "binder_echo_service: cannot register %s\n", argv[1]);
        return 1;
    }
    android::ProcessState::self()->startThreadPool();
    android::IPCThreadState::self()->joinThreadPool();
}
