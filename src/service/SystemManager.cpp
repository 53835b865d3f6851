// The system service's proxy: one transaction per operation.
#include "pos_sdk/service/ISystemManager.h"

#include "ProxyCall.h"
#include "ServiceBinding.h"

namespace android {

POS_IMPLEMENT_SERVICE_INTERFACE(SystemManager, "com.kivo.manager.ISystemManager")

BpSystemManager::BpSystemManager(const sp<IBinder> &impl) : BpInterface<ISystemManager>(impl) {}

const char *BpSystemManager::SystemGetMCURTCTime(int format) {
    return pos::call(this, GET_MCU_RTC_TIME, format).text();
}

int BpSystemManager::SystemSetMCURTCTime(int year, int month, int day, int hour, int minute,
                                         int second, int format) {
    return pos::call(this, SET_MCU_RTC_TIME, year, month, day, hour, minute, second, format)
        .status();
}

int BpSystemManager::SystemSetMCUSleep() {
    return pos::call(this, SET_MCU_SLEEP).status();
}

int BpSystemManager::SystemSetMCUWakeUp() {
    return pos::call(this, SET_MCU_WAKE_UP).status();
}

int BpSystemManager::SystemCtrlBeeper(int frequency, int duration) {
    return pos::call(this, CTRL_BEEPER, frequency, duration).status();
}

int BpSystemManager::SystemCtrlKeytone(int on) {
    // The key tone is a plain switch on the wire: any non-zero value goes out as 1.
    return pos::call(this, CTRL_KEYTONE, on != 0 ? 1 : 0).status();
}

const char *BpSystemManager::SystemGetDevInfo(int record) {
    return pos::call(this, GET_DEV_INFO, record).text();
}

int BpSystemManager::SystemSetDevInfo(int record, char *text) {
    return pos::call(this, SET_DEV_INFO, record, pos::text16(text)).status();
}

const char *BpSystemManager::SystemGetDebugModeRandom(int *value) {
    // The only reply of the service with a field after its text.
    return pos::call(this, GET_DEBUG_MODE_RANDOM).text(value);
}

int BpSystemManager::SystemSetDebugMode(char *text, int mode) {
    return pos::call(this, SET_DEBUG_MODE, pos::text16(text), mode).status();
}

int BpSystemManager::SystemGetWakeSource(int *source) {
    return pos::call(this, GET_WAKE_SOURCE).status(source);
}

int BpSystemManager::SystemCtrlLED(int a, int b, int c, int d, int e, int f) {
    return pos::call(this, CTRL_LED, a, b, c, d, e, f).status();
}

int BpSystemManager::SystemMCURFIDTest() {
    return pos::call(this, MCU_RFID_TEST).status();
}

int BpSystemManager::SystemSyncBATState(int state) {
    return pos::call(this, SYNC_BAT_STATE, state).status();
}

int BpSystemManager::SystemSetLPLEDFreq(int frequency) {
    return pos::call(this, SET_LP_LED_FREQ, frequency).status();
}

int BpSystemManager::SystemGetLPLEDFreq(int *frequency) {
    return pos::call(this, GET_LP_LED_FREQ).status(frequency);
}

}  // namespace android
