// The system service's proxy: one transaction per operation.
#include "pos_sdk/service/ISystemManager.h"

#include <binder/Parcel.h>

#include <initializer_list>

#include "ParcelUtil.h"
#include "ServiceBinding.h"

namespace android {

POS_IMPLEMENT_SERVICE_INTERFACE(SystemManager, "com.kivo.manager.ISystemManager")

namespace {

// Transaction codes of the system service.
enum : uint32_t {
    GET_MCU_RTC_TIME = 1,
    SET_MCU_RTC_TIME = 2,
    SET_MCU_SLEEP = 3,
    SET_MCU_WAKE_UP = 4,
    CTRL_BEEPER = 5,
    CTRL_KEYTONE = 6,
    GET_DEV_INFO = 7,
    SET_DEV_INFO = 8,
    GET_DEBUG_MODE_RANDOM = 9,
    SET_DEBUG_MODE = 10,
    GET_WAKE_SOURCE = 11,
    CTRL_LED = 12,
    MCU_RFID_TEST = 13,
    SYNC_BAT_STATE = 14,
    SET_LP_LED_FREQ = 15,
    GET_LP_LED_FREQ = 16,
};

// A request under construction: the interface token is its first field.
struct Request {
    Parcel data;
    Request() { data.writeInterfaceToken(ISystemManager::descriptor); }
};

// Sends the int arguments and returns the status of the reply.
int sendInts(IBinder *remote, uint32_t code, std::initializer_list<int> args) {
    Request request;
    for (int arg : args) request.data.writeInt32(arg);
    Parcel reply;
    pos::sendRequest(remote, code, request.data, reply);
    return reply.readInt32();
}

// Sends nothing; returns the status and stores the one int that follows it.
int getInt(IBinder *remote, uint32_t code, int *out) {
    Request request;
    Parcel reply;
    pos::sendRequest(remote, code, request.data, reply);
    int status = reply.readInt32();
    pos::readIntOutput(reply, out);
    return status;
}

// Sends one int; the reply is text.
const char *getText(IBinder *remote, uint32_t code, int arg) {
    Request request;
    request.data.writeInt32(arg);
    Parcel reply;
    pos::sendRequest(remote, code, request.data, reply);
    return pos::keepReplyText(reply.readString16());
}

}  // namespace

BpSystemManager::BpSystemManager(const sp<IBinder> &impl) : BpInterface<ISystemManager>(impl) {}

const char *BpSystemManager::SystemGetMCURTCTime(int format) {
    return getText(remote(), GET_MCU_RTC_TIME, format);
}

int BpSystemManager::SystemSetMCURTCTime(int year, int month, int day, int hour, int minute,
                                         int second, int format) {
    return sendInts(remote(), SET_MCU_RTC_TIME, {year, month, day, hour, minute, second, format});
}

int BpSystemManager::SystemSetMCUSleep() {
    return sendInts(remote(), SET_MCU_SLEEP, {});
}

int BpSystemManager::SystemSetMCUWakeUp() {
    return sendInts(remote(), SET_MCU_WAKE_UP, {});
}

int BpSystemManager::SystemCtrlBeeper(int frequency, int duration) {
    return sendInts(remote(), CTRL_BEEPER, {frequency, duration});
}

int BpSystemManager::SystemCtrlKeytone(int on) {
    // The key tone is a plain switch on the wire: any non-zero value goes out as 1.
    return sendInts(remote(), CTRL_KEYTONE, {on != 0 ? 1 : 0});
}

const char *BpSystemManager::SystemGetDevInfo(int record) {
    return getText(remote(), GET_DEV_INFO, record);
}

int BpSystemManager::SystemSetDevInfo(int record, char *text) {
    Request request;
    request.data.writeInt32(record);
    pos::writeText16(request.data, text);
    Parcel reply;
    pos::sendRequest(remote(), SET_DEV_INFO, request.data, reply);
    return reply.readInt32();
}

const char *BpSystemManager::SystemGetDebugModeRandom(int *value) {
    Request request;
    Parcel reply;
    pos::sendRequest(remote(), GET_DEBUG_MODE_RANDOM, request.data, reply);
    // The only reply with a field after its text.
    const char *text = pos::keepReplyText(reply.readString16());
    pos::readIntOutput(reply, value);
    return text;
}

int BpSystemManager::SystemSetDebugMode(char *text, int mode) {
    Request request;
    pos::writeText16(request.data, text);
    request.data.writeInt32(mode);
    Parcel reply;
    pos::sendRequest(remote(), SET_DEBUG_MODE, request.data, reply);
    return reply.readInt32();
}

int BpSystemManager::SystemGetWakeSource(int *source) {
    return getInt(remote(), GET_WAKE_SOURCE, source);
}

int BpSystemManager::SystemCtrlLED(int a, int b, int c, int d, int e, int f) {
    return sendInts(remote(), CTRL_LED, {a, b, c, d, e, f});
}

int BpSystemManager::SystemMCURFIDTest() {
    return sendInts(remote(), MCU_RFID_TEST, {});
}

int BpSystemManager::SystemSyncBATState(int state) {
    return sendInts(remote(), SYNC_BAT_STATE, {state});
}

int BpSystemManager::SystemSetLPLEDFreq(int frequency) {
    return sendInts(remote(), SET_LP_LED_FREQ, {frequency});
}

int BpSystemManager::SystemGetLPLEDFreq(int *frequency) {
    return getInt(remote(), GET_LP_LED_FREQ, frequency);
}

}  // namespace android
