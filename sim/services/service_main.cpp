// pos-sim-service: one process of the simulated terminal.
//   pos-sim-service servicemanager --ready-fd N
//   pos-sim-service KEY [--state JSON] --ready-fd N      KEY: a simulated service's key
// The binder directory comes from the environment (POS_BINDER_DIR). Once the process serves,
// it writes one byte to descriptor N and closes it; it then serves until killed.
#include <binder/IPCThreadState.h>
#include <binder/IServiceManager.h>
#include <binder/ProcessState.h>
#include <binder/ServiceManagerHost.h>

#include <unistd.h>

#include <nlohmann/json.hpp>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "Registry.h"
#include "scenario/scenario.h"

using namespace android;

namespace {

void reportReady(int fd) {
    if (fd < 0) return;
    char byte = 1;
    (void)!write(fd, &byte, 1);
    close(fd);
}

int serveServiceManager(int readyFd) {
    if (startServiceManager(nullptr) != NO_ERROR) {
        fprintf(stderr, "pos-sim-service: the service manager cannot listen\n");
        return 1;
    }
    reportReady(readyFd);
    for (;;) pause();
}

int serveService(const std::string &key, const std::string &state, int readyFd) {
    const possim::ServiceEntry *entry = possim::findService(key);
    if (entry == nullptr) {
        fprintf(stderr, "pos-sim-service: unknown service %s\n", key.c_str());
        return 2;
    }
    nlohmann::json section;
    std::string error;
    sp<possim::SimService> service;
    try {
        if (possim::parseJson(state, section, error)) service = entry->make(section);
    } catch (const std::exception &e) {
        error = e.what();
    }
    if (service == nullptr) {
        fprintf(stderr, "pos-sim-service: bad state for %s: %s\n", key.c_str(), error.c_str());
        return 2;
    }
    service->start();
    sp<IServiceManager> sm = defaultServiceManager();
    if (sm == nullptr || sm->addService(String16(entry->registeredName), service) != NO_ERROR) {
        fprintf(stderr, "pos-sim-service: cannot register %s\n", entry->registeredName);
        return 1;
    }
    ProcessState::self()->startThreadPool();
    reportReady(readyFd);
    IPCThreadState::self()->joinThreadPool();
    return 0;
}

std::string usage() {
    std::string keys = "servicemanager";
    for (const auto &entry : possim::simulatedServices()) keys += std::string("|") + entry.key;
    return "usage: pos-sim-service " + keys + " [--state JSON] [--ready-fd N]\n";
}

}  // namespace

int main(int argc, char **argv) {
    if (argc < 2) {
        fputs(usage().c_str(), stderr);
        return 2;
    }
    std::string key = argv[1];
    std::string state = "{}";
    int readyFd = -1;
    for (int i = 2; i + 1 < argc; i += 2) {
        if (strcmp(argv[i], "--state") == 0) state = argv[i + 1];
        if (strcmp(argv[i], "--ready-fd") == 0) readyFd = atoi(argv[i + 1]);
    }
    if (key == "servicemanager") return serveServiceManager(readyFd);
    return serveService(key, state, readyFd);
}
