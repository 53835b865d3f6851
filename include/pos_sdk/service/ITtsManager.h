// Interface and proxy of the speech service ("KivoTtsService"): text spoken aloud, or rendered
// to a WAV or raw PCM file whose path comes back.
//
// The text travels as its length followed by exactly that many raw bytes, so it may be in any
// of the encodings the service knows and needs no terminator.
#ifndef POS_SDK_SERVICE_ITTSMANAGER_H
#define POS_SDK_SERVICE_ITTSMANAGER_H

#include "ServiceInterface.h"

namespace android {

class POS_API ITtsManager : public IInterface {
    POS_DECLARE_SERVICE_INTERFACE(TtsManager)

    // Transaction codes (1 and 2 are not used).
    enum : uint32_t {
        TEXT_TO_WAV = 3,
        TEXT_TO_SPEECH = 4,
        TEXT_TO_PCM = 5,
        STOP_SPEECH = 6,
        IS_BUSY = 7,
    };

    // RESULT receives the path of the file written; the caller gives it room for 260 bytes.
    virtual int TextToWav(int length, unsigned char *text, int encoding, int speed, int pitch,
                          int volume, char *result) = 0;
    virtual int TextToSpeech(int length, unsigned char *text, int encoding, int speed, int pitch,
                             int volume, int flag) = 0;
    virtual int TextToPcm(int length, unsigned char *text, int encoding, int speed, int pitch,
                          int volume, char *result) = 0;
    virtual int StopSpeech(int which) = 0;
    virtual int IsBusy() = 0;
};

class POS_API BpTtsManager : public BpInterface<ITtsManager> {
  public:
    explicit BpTtsManager(const sp<IBinder> &impl);

    int TextToWav(int length, unsigned char *text, int encoding, int speed, int pitch, int volume,
                  char *result) override;
    int TextToSpeech(int length, unsigned char *text, int encoding, int speed, int pitch,
                     int volume, int flag) override;
    int TextToPcm(int length, unsigned char *text, int encoding, int speed, int pitch, int volume,
                  char *result) override;
    int StopSpeech(int which) override;
    int IsBusy() override;
};

}  // namespace android

#endif
