// Interface and proxy of the segment LCD service ("KivoSegLcdService"): the small customer
// display, its backlight and its link.
#ifndef POS_SDK_SERVICE_ISEGLCDMANAGER_H
#define POS_SDK_SERVICE_ISEGLCDMANAGER_H

#include "ServiceInterface.h"

namespace android {

class POS_API ISegLcdManager : public IInterface {
    POS_DECLARE_SERVICE_INTERFACE(SegLcdManager)

    // Transaction codes.
    enum : uint32_t {
        BACKLIGHT = 1,
        CLOSE_LCD = 2,
        PING = 3,
        GET_VERSION = 4,
        SHOW = 5,
        SHOW_EX = 6,  // the Show overload with one more leading integer
        RECONNECT = 7,
        RESET = 8,
    };

    virtual int Backlight(int mode, int level) = 0;
    virtual int CloseLcd() = 0;
    virtual int Ping() = 0;
    // Copies the version text into VERSION, which the caller sizes for the service's answer.
    virtual int GetVersion(char *version) = 0;
    virtual int Show(int line, int column, const char *text, int flags) = 0;
    virtual int Show(int line, int column, int font, const char *text, int flags) = 0;
    virtual int Reconnect() = 0;
    virtual int Reset() = 0;
};

class POS_API BpSegLcdManager : public BpInterface<ISegLcdManager> {
  public:
    explicit BpSegLcdManager(const sp<IBinder> &impl);

    int Backlight(int mode, int level) override;
    int CloseLcd() override;
    int Ping() override;
    int GetVersion(char *version) override;
    int Show(int line, int column, const char *text, int flags) override;
    int Show(int line, int column, int font, const char *text, int flags) override;
    int Reconnect() override;
    int Reset() override;
};

}  // namespace android

#endif
