// The speech service's proxy: one transaction per operation; the text goes out as its length
// and raw bytes. It says nothing about a dead service.
#include "pos_sdk/service/ITtsManager.h"

#include "ProxyCall.h"
#include "ServiceBinding.h"

template <>
struct pos::ReportsDeadObject<android::ITtsManager> : std::false_type {};

namespace android {

POS_IMPLEMENT_SERVICE_INTERFACE(TtsManager, "com.torva.binder.ITtsManager")

BpTtsManager::BpTtsManager(const sp<IBinder> &impl) : BpInterface<ITtsManager>(impl) {}

int BpTtsManager::TextToWav(int length, unsigned char *text, int encoding, int speed, int pitch,
                            int volume, char *result) {
    return pos::call(this, TEXT_TO_WAV, pos::bytes(text, length), encoding, speed, pitch, volume)
        .status(pos::cstringCopy(result));
}

int BpTtsManager::TextToSpeech(int length, unsigned char *text, int encoding, int speed, int pitch,
                               int volume, int flag) {
    return pos::call(this, TEXT_TO_SPEECH, pos::bytes(text, length), encoding, speed, pitch, volume,
                     flag)
        .status();
}

int BpTtsManager::TextToPcm(int length, unsigned char *text, int encoding, int speed, int pitch,
                            int volume, char *result) {
    return pos::call(this, TEXT_TO_PCM, pos::bytes(text, length), encoding, speed, pitch, volume)
        .status(pos::cstringCopy(result));
}

int BpTtsManager::StopSpeech(int which) {
    return pos::call(this, STOP_SPEECH, which).status();
}

int BpTtsManager::IsBusy() {
    return pos::call(this, IS_BUSY).status();
}

}  // namespace android
