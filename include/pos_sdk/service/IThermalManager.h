// Interface and proxy of the thermal printer service ("KivoThermalPrinterService"): open and
// close the printer, print a bitmap, feed paper, find a black label, set the print density and
// read the printer's status.
//
// The meaning of the printer's integers (bitmap placement, feed units, density levels) is the
// service's; the simulated printer documents its own in sim/README.md.
#ifndef POS_SDK_SERVICE_ITHERMALMANAGER_H
#define POS_SDK_SERVICE_ITHERMALMANAGER_H

#include "ServiceInterface.h"

namespace android {

class POS_API IThermalManager : public IInterface {
    POS_DECLARE_SERVICE_INTERFACE(ThermalManager)

    // Transaction codes.
    enum : uint32_t {
        OPEN = 1,
        CLOSE = 2,
        PRINT_BMP = 3,
        FEED_PAPER = 4,
        FIND_BLACK_LABEL = 5,
        SET_DENSITY = 6,
        STATUS = 7,
    };

    virtual int ThermalOpen(int mode) = 0;
    virtual int ThermalClose() = 0;
    virtual int ThermalPrintBmp(const char *bitmap, int x, int width, int height, int align,
                                int gap) = 0;
    virtual int ThermalFeedPaper(int dots, int cut) = 0;
    virtual int ThermalFindBlackLabel(int maxDots) = 0;
    virtual int ThermalSetDensity(int density, int speed) = 0;
    virtual int ThermalStatus(int selector) = 0;
};

class POS_API BpThermalManager : public BpInterface<IThermalManager> {
  public:
    explicit BpThermalManager(const sp<IBinder> &impl);

    int ThermalOpen(int mode) override;
    int ThermalClose() override;
    int ThermalPrintBmp(const char *bitmap, int x, int width, int height, int align,
                        int gap) override;
    int ThermalFeedPaper(int dots, int cut) override;
    int ThermalFindBlackLabel(int maxDots) override;
    int ThermalSetDensity(int density, int speed) override;
    int ThermalStatus(int selector) override;
};

}  // namespace android

#endif
