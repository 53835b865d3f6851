// The hub's speech operations. The hub takes the text before its length; the service takes
// the length first, so the three speaking operations swap the two on the way.
#include "HubForward.h"

using android::ITtsManager;

namespace {

// The proxy takes the text as bytes it does not change.
unsigned char *textBytes(const char *text) {
    return reinterpret_cast<unsigned char *>(const_cast<char *>(text));
}

}  // namespace

int BpTransferHub::ITtsTextToSpeech(const char *text, int length, int encoding, int speed,
                                    int pitch, int volume, int flag) {
    return pos::forward(mTts, &ITtsManager::TextToSpeech, length, textBytes(text), encoding, speed,
                        pitch, volume, flag);
}

int BpTransferHub::ITtsTextToPcm(const char *text, int length, int encoding, int speed, int pitch,
                                 int volume, char *result) {
    return pos::forward(mTts, &ITtsManager::TextToPcm, length, textBytes(text), encoding, speed,
                        pitch, volume, result);
}

int BpTransferHub::ITtsTextToWav(const char *text, int length, int encoding, int speed, int pitch,
                                 int volume, char *result) {
    return pos::forward(mTts, &ITtsManager::TextToWav, length, textBytes(text), encoding, speed,
                        pitch, volume, result);
}

int BpTransferHub::ITtsStopSpeech(int which) {
    return pos::forward(mTts, &ITtsManager::StopSpeech, which);
}

int BpTransferHub::ITtsIsBusy() {
    return pos::forward(mTts, &ITtsManager::IsBusy);
}
