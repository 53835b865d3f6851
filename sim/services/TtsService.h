// The simulated speech service ("KivoTtsService"): speaks text with espeak-ng, or renders it
// to a WAV or raw PCM file and answers with the file's path. Spoken text is rendered to a WAV
// file too (what the speaker would have played) and then "plays" for as long as it lasts:
// the service is busy meanwhile, and StopSpeech (or a new request) cuts it short.
//
// Audio files go to "tts/" in the run's output directory (pos-sim --out), or to
// "/tmp/.possim/tts" without one; the state key audio_dir names another directory.
#ifndef POS_SIM_TTS_SERVICE_H
#define POS_SIM_TTS_SERVICE_H

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

#include "SimService.h"
#include "SpeechEngine.h"

namespace possim {

class TtsService : public SimService {
  public:
    // The defaults, with the keys present in the scenario's "tts" section taken over them.
    explicit TtsService(const nlohmann::json &section);
    ~TtsService() override;

  protected:
    nlohmann::json state() const override;
    void load(const nlohmann::json &values) override;
    void event(const std::string &name, const nlohmann::json &args) override;

  private:
    // One request's fields after the text.
    struct Request {
        std::string utf8;
        int encoding = 0;
        SpeechSettings settings;
        int flag = 0;
    };
    enum class Form { kWav, kPcm };

    int readRequest(const android::Parcel &parcel, bool withFlag, Request &request);
    int render(const android::Parcel &parcel, Form form, ReplyFields &out);
    int speak(const android::Parcel &parcel);
    void speakInBackground(Request request, std::string path);
    // Ends the speech in progress, if any; true when there was one.
    bool stopSpeaking();
    std::string audioDir() const;
    std::string nextPath(const char *kind, const char *extension);
    void remember(const char *kind, const Request &request, const std::string &file);

    // Guarded by the base's lock (handlers, state(), load()).
    int mFiles = 0;  // audio files written so far (numbers their names)
    int mInterrupted = 0;
    bool mHeldBusy = false;           // busy set from the console, with nothing spoken
    std::string mAudioDir;            // empty: the default place
    std::string mLastRequest = "{}";  // JSON text: what the last request asked for

    // The speaking thread's side.
    mutable std::mutex mSpeechLock;
    std::condition_variable mSpeechEnd;
    std::thread mSpeaker;
    bool mSpeaking = false;
    bool mStop = false;
    std::atomic<bool> mStopRender{false};
    std::string mSpeakingText;
    int mSpoken = 0;           // speeches played to their end
    std::string mSpeechError;  // why the last speech could not be rendered
};

}  // namespace possim

#endif
