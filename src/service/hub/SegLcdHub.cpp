// The hub's segment LCD operations.
#include "HubForward.h"

using android::ISegLcdManager;

int BpTransferHub::ISegLcdSetBacklight(int mode, int level) {
    return pos::forward(mSegLcd, &ISegLcdManager::Backlight, mode, level);
}

int BpTransferHub::ISegLcdCloseLcd() {
    return pos::forward(mSegLcd, &ISegLcdManager::CloseLcd);
}

int BpTransferHub::ISegLcdPing() {
    return pos::forward(mSegLcd, &ISegLcdManager::Ping);
}

int BpTransferHub::ISegLcdGetVersion(char *version) {
    return pos::forward(mSegLcd, &ISegLcdManager::GetVersion, version);
}

int BpTransferHub::ISegLcdShow(int line, int column, const char *text, int flags) {
    return pos::forward(
        mSegLcd,
        static_cast<int (ISegLcdManager::*)(int, int, const char *, int)>(&ISegLcdManager::Show),
        line, column, text, flags);
}

int BpTransferHub::ISegLcdShow(int line, int column, int font, const char *text, int flags) {
    return pos::forward(mSegLcd,
                        static_cast<int (ISegLcdManager::*)(int, int, int, const char *, int)>(
                            &ISegLcdManager::Show),
                        line, column, font, text, flags);
}

int BpTransferHub::ISegLcdReconnect() {
    return pos::forward(mSegLcd, &ISegLcdManager::Reconnect);
}

int BpTransferHub::ISegLcdReset() {
    return pos::forward(mSegLcd, &ISegLcdManager::Reset);
}
