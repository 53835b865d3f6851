// Text-to-speech: argument checks, the volume scaled for the spoken form, one hub call each.
#include "pos_sdk/os_status.h"
#include "pos_sdk/service/BpTransferHub.h"
#include "pos_sdk/tts.h"

namespace {

BpTransferHub *const gHub = BpTransferHub::getInstance();

// The defaults of the short WAV and PCM forms.
constexpr int kDefaultSpeed = 105;
constexpr int kDefaultPitch = 100;
constexpr int kFullVolume = 32768;

bool knownEncoding(int encoding) {
    return encoding >= TTS_ENCODING_UTF8 && encoding <= TTS_ENCODING_UTF16LE;
}

bool renderable(const char *text, int length, int encoding, const char *result, int resultSize) {
    return text != nullptr && result != nullptr && length >= 1 && knownEncoding(encoding) &&
           resultSize >= TTS_RESULT_SIZE;
}

}  // namespace

extern "C" {

POS_API int OsTtsTextToSpeech(const char *text, int length, TTS_ENCODING encoding, int speed,
                              int pitch, int volume, int flag) {
    if (text == nullptr || length < 1 || !knownEncoding(encoding) || volume < 0 || volume > 100) {
        return OS_ERR_BAD_ARGUMENT;
    }
    int scaled = volume * kFullVolume / 100;  // 100 is full scale
    return gHub->ITtsTextToSpeech(text, length, encoding, speed, pitch, scaled, flag);
}

// The volume of the file forms goes to the service as given, unlike the spoken form's.
POS_API int OsTtsTextToWavFull(const char *text, int length, TTS_ENCODING encoding, int speed,
                               int pitch, int volume, char *result, int resultSize) {
    if (!renderable(text, length, encoding, result, resultSize)) return OS_ERR_BAD_ARGUMENT;
    return gHub->ITtsTextToWav(text, length, encoding, speed, pitch, volume, result);
}

POS_API int OsTtsTextToPcmFull(const char *text, int length, TTS_ENCODING encoding, int speed,
                               int pitch, int volume, char *result, int resultSize) {
    if (!renderable(text, length, encoding, result, resultSize)) return OS_ERR_BAD_ARGUMENT;
    return gHub->ITtsTextToPcm(text, length, encoding, speed, pitch, volume, result);
}

POS_API int OsTtsTextToWav(const char *text, int length, TTS_ENCODING encoding, char *result,
                           int resultSize) {
    return OsTtsTextToWavFull(text, length, encoding, kDefaultSpeed, kDefaultPitch, kFullVolume,
                              result, resultSize);
}

POS_API int OsTtsTextToPcm(const char *text, int length, TTS_ENCODING encoding, char *result,
                           int resultSize) {
    return OsTtsTextToPcmFull(text, length, encoding, kDefaultSpeed, kDefaultPitch, kFullVolume,
                              result, resultSize);
}

POS_API int OsTtsStopSpeech(int which) {
    if (which < 0) return OS_ERR_BAD_ARGUMENT;
    return gHub->ITtsStopSpeech(which);
}

POS_API int OsTtsIsBusy(void) {
    return gHub->ITtsIsBusy();
}

}  // extern "C"
