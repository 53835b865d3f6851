// The hub's test service operations.
#include "HubForward.h"

using android::ICloudManager;

int BpTransferHub::ICloudTest() {
    return pos::forward(mCloud, &ICloudManager::test);
}

int BpTransferHub::ICloudPrint(const char *text) {
    return pos::forward(mCloud, &ICloudManager::print, text);
}

int BpTransferHub::ICloudAdd(int a, int b) {
    return pos::forward(mCloud, &ICloudManager::add, a, b);
}

int BpTransferHub::ICloudMultiply(int a, int b) {
    return pos::forward(mCloud, &ICloudManager::multiply, a, b);
}
