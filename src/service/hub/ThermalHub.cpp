// The hub's thermal printer operations.
#include "HubForward.h"

using android::IThermalManager;

int BpTransferHub::IThermalOpen(int mode) {
    return pos::forward(mThermal, &IThermalManager::ThermalOpen, mode);
}

int BpTransferHub::IThermalClose() {
    return pos::forward(mThermal, &IThermalManager::ThermalClose);
}

int BpTransferHub::IThermalPrintBmp(const char *bitmap, int x, int width, int height, int align,
                                    int gap) {
    return pos::forward(mThermal, &IThermalManager::ThermalPrintBmp, bitmap, x, width, height,
                        align, gap);
}

int BpTransferHub::IThermalFeedPaper(int dots, int cut) {
    return pos::forward(mThermal, &IThermalManager::ThermalFeedPaper, dots, cut);
}

int BpTransferHub::IThermalFindBlackLabel(int maxDots) {
    return pos::forward(mThermal, &IThermalManager::ThermalFindBlackLabel, maxDots);
}

int BpTransferHub::IThermalSetDensity(int density, int speed) {
    return pos::forward(mThermal, &IThermalManager::ThermalSetDensity, density, speed);
}

int BpTransferHub::IThermalStatus(int selector) {
    return pos::forward(mThermal, &IThermalManager::ThermalStatus, selector);
}
