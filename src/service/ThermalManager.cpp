// The thermal printer service's proxy: one transaction per operation.
#include "pos_sdk/service/IThermalManager.h"

#include "ProxyCall.h"
#include "ServiceBinding.h"

namespace android {

POS_IMPLEMENT_SERVICE_INTERFACE(ThermalManager, "com.kivo.device.manager.IThermalPrinterManager")

BpThermalManager::BpThermalManager(const sp<IBinder> &impl) : BpInterface<IThermalManager>(impl) {}

int BpThermalManager::ThermalOpen(int mode) {
    return pos::call(this, OPEN, mode).status();
}

int BpThermalManager::ThermalClose() {
    return pos::call(this, CLOSE).status();
}

int BpThermalManager::ThermalPrintBmp(const char *bitmap, int x, int width, int height, int align,
                                      int gap) {
    return pos::call(this, PRINT_BMP, pos::text16(bitmap), x, width, height, align, gap).status();
}

int BpThermalManager::ThermalFeedPaper(int dots, int cut) {
    return pos::call(this, FEED_PAPER, dots, cut).status();
}

int BpThermalManager::ThermalFindBlackLabel(int maxDots) {
    return pos::call(this, FIND_BLACK_LABEL, maxDots).status();
}

int BpThermalManager::ThermalSetDensity(int density, int speed) {
    return pos::call(this, SET_DENSITY, density, speed).status();
}

int BpThermalManager::ThermalStatus(int selector) {
    return pos::call(this, STATUS, selector).status();
}

}  // namespace android
