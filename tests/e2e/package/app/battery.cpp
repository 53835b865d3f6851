// A C++ application of the installed SDK: reads the battery through the service hub.
#include <pos_sdk/service/BpTransferHub.h>

#include <cstdio>

int main() {
    std::printf("battery %d\n", BpTransferHub::getInstance()->IPowerSysGetBatCap());
    return 0;
}
