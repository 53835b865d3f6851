// The hub's system service operations.
#include "HubForward.h"

using android::ISystemManager;

namespace {

// The service's clock calls carry a format selector; the hub always uses format 2.
const int kRtcFormat = 2;

}  // namespace

const char *BpTransferHub::ISystemGetMCURTCTime() {
    return pos::forward(mSystem, &ISystemManager::SystemGetMCURTCTime, kRtcFormat);
}

int BpTransferHub::ISystemSetMCURTCTime(int year, int month, int day, int hour, int minute,
                                        int second) {
    return pos::forward(mSystem, &ISystemManager::SystemSetMCURTCTime, year, month, day, hour,
                        minute, second, kRtcFormat);
}

int BpTransferHub::ISystemCtrlBeeper(int frequency, int duration) {
    return pos::forward(mSystem, &ISystemManager::SystemCtrlBeeper, frequency, duration);
}

int BpTransferHub::ISystemCtrlKeytone(int on) {
    return pos::forward(mSystem, &ISystemManager::SystemCtrlKeytone, on);
}

const char *BpTransferHub::ISystemGetDevInfo(int record) {
    return pos::forward(mSystem, &ISystemManager::SystemGetDevInfo, record);
}

int BpTransferHub::ISystemSetDevInfo(int record, char *text) {
    return pos::forward(mSystem, &ISystemManager::SystemSetDevInfo, record, text);
}

const char *BpTransferHub::ISystemGetDebugModeRandom(int *value) {
    return pos::forward(mSystem, &ISystemManager::SystemGetDebugModeRandom, value);
}

int BpTransferHub::ISystemSetDebugMode(char *text, int mode) {
    return pos::forward(mSystem, &ISystemManager::SystemSetDebugMode, text, mode);
}

int BpTransferHub::ISystemGetWakeSource(int *source) {
    return pos::forward(mSystem, &ISystemManager::SystemGetWakeSource, source);
}

int BpTransferHub::ISystemCtrlLED(int a, int b, int c, int d, int e, int f) {
    return pos::forward(mSystem, &ISystemManager::SystemCtrlLED, a, b, c, d, e, f);
}

int BpTransferHub::ISystemMCURFIDTest() {
    return pos::forward(mSystem, &ISystemManager::SystemMCURFIDTest);
}

int BpTransferHub::ISystemSyncBATState(int state) {
    return pos::forward(mSystem, &ISystemManager::SystemSyncBATState, state);
}

int BpTransferHub::ISystemSetLPLEDFreq(int frequency) {
    return pos::forward(mSystem, &ISystemManager::SystemSetLPLEDFreq, frequency);
}

int BpTransferHub::ISystemGetLPLEDFreq(int *frequency) {
    return pos::forward(mSystem, &ISystemManager::SystemGetLPLEDFreq, frequency);
}
