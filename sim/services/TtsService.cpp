#include "TtsService.h"

#include <pos_sdk/service/ITtsManager.h>

#include <nlohmann/json.hpp>

#include <chrono>
#include <filesystem>

#include "servers/system_state.h"

using android::ITtsManager;
using android::Parcel;
using nlohmann::json;

namespace possim {

namespace {

// Statuses of the speaking requests.
const int kBadRequest = -1;    // a length, encoding or setting out of range
const int kBadText = -2;       // the bytes are not text in the encoding given
const int kEngineFailed = -3;  // nothing could be rendered or written

const int kMaxTextBytes = 4096;
const size_t kMaxPathBytes = 259;  // the caller's result buffer holds 260 with the terminator

bool within(int value, int low, int high) {
    return value >= low && value <= high;
}

}  // namespace

TtsService::TtsService(const json &section) : SimService("com.torva.binder.ITtsManager") {
    load(section);
    onStatus(ITtsManager::TEXT_TO_WAV, [this](const Parcel &request, ReplyFields &out) {
        return render(request, Form::kWav, out);
    });
    onStatus(ITtsManager::TEXT_TO_PCM, [this](const Parcel &request, ReplyFields &out) {
        return render(request, Form::kPcm, out);
    });
    onStatus(ITtsManager::TEXT_TO_SPEECH,
             [this](const Parcel &request, ReplyFields &) { return speak(request); });
    onStatus(ITtsManager::STOP_SPEECH, [this](const Parcel &, ReplyFields &) {
        if (stopSpeaking()) ++mInterrupted;
        mHeldBusy = false;
        return 0;
    });
    onStatus(ITtsManager::IS_BUSY, [this](const Parcel &, ReplyFields &) {
        std::lock_guard<std::mutex> lock(mSpeechLock);
        return mSpeaking || mHeldBusy ? 1 : 0;
    });
}

TtsService::~TtsService() {
    stopSpeaking();
}

// length, the bytes, encoding, speed, pitch, volume (and the flag of the spoken form).
int TtsService::readRequest(const Parcel &parcel, bool withFlag, Request &request) {
    int length = parcel.readInt32();
    if (!within(length, 1, kMaxTextBytes)) return kBadRequest;
    const void *bytes = parcel.readInplace(size_t(length));
    if (bytes == nullptr) return kBadRequest;
    request.encoding = parcel.readInt32();
    request.settings.speedPercent = parcel.readInt32();
    request.settings.pitchPercent = parcel.readInt32();
    request.settings.volume = parcel.readInt32();
    if (withFlag) request.flag = parcel.readInt32();
    if (!within(request.encoding, 0, 2) || !within(request.settings.speedPercent, 50, 400) ||
        !within(request.settings.pitchPercent, 0, 200) ||
        !within(request.settings.volume, 0, 32768)) {
        return kBadRequest;
    }
    std::string text(static_cast<const char *>(bytes), size_t(length));
    return textToUtf8(text, request.encoding, request.utf8) ? 0 : kBadText;
}

int TtsService::render(const Parcel &parcel, Form form, ReplyFields &out) {
    Request request;
    int status = readRequest(parcel, false, request);
    if (status != 0) return status;
    bool wav = form == Form::kWav;
    std::string path = nextPath("tts", wav ? ".wav" : ".pcm");
    Audio audio;
    std::string error;
    if (path.size() > kMaxPathBytes ||
        !renderSpeech(request.utf8, request.settings, audio, error) ||
        !(wav ? writeWav(path, audio) : writePcm(path, audio))) {
        return kEngineFailed;
    }
    remember(wav ? "wav" : "pcm", request, path);
    out.cstring(path);
    return 0;
}

int TtsService::speak(const Parcel &parcel) {
    Request request;
    int status = readRequest(parcel, true, request);
    if (status != 0) return status;
    // A new request cuts short the one being spoken.
    if (stopSpeaking()) ++mInterrupted;
    mHeldBusy = false;
    std::string path = nextPath("speech", ".wav");
    remember("speech", request, path);
    std::lock_guard<std::mutex> lock(mSpeechLock);
    mSpeaking = true;
    mSpeakingText = request.utf8;
    mSpeechError.clear();
    mSpeaker = std::thread(&TtsService::speakInBackground, this, std::move(request), path);
    return 0;
}

// Renders and writes the speech, then plays it: waits as long as it lasts, or until stopped.
void TtsService::speakInBackground(Request request, std::string path) {
    Audio audio;
    std::string error;
    bool rendered = renderSpeech(request.utf8, request.settings, audio, error, &mStopRender);
    if (rendered && !writeWav(path, audio)) error = "cannot write " + path;
    std::unique_lock<std::mutex> lock(mSpeechLock);
    if (error.empty()) {
        bool stopped = mSpeechEnd.wait_for(lock, std::chrono::milliseconds(audio.durationMs()),
                                           [this] { return mStop; });
        if (!stopped) ++mSpoken;
    } else {
        mSpeechError = error;
    }
    mSpeaking = false;
    mSpeakingText.clear();
}

bool TtsService::stopSpeaking() {
    bool wasSpeaking = false;
    {
        std::lock_guard<std::mutex> lock(mSpeechLock);
        if (!mSpeaker.joinable()) return false;
        wasSpeaking = mSpeaking;
        mStop = true;
    }
    mStopRender = true;
    mSpeechEnd.notify_all();
    mSpeaker.join();
    std::lock_guard<std::mutex> lock(mSpeechLock);
    mStop = false;
    mStopRender = false;
    return wasSpeaking;
}

std::string TtsService::audioDir() const {
    if (!mAudioDir.empty()) return mAudioDir;
    std::string out = readStatus("out_dir");
    return out.empty() ? std::string(kStatusDir) + "/tts" : out + "/tts";
}

std::string TtsService::nextPath(const char *kind, const char *extension) {
    std::string dir = audioDir();
    std::error_code ignored;  // a directory that cannot be made fails the write that follows
    std::filesystem::create_directories(dir, ignored);
    std::string error;
    if (!startSpeechEngine(dir + "/.engine", error)) {
        std::lock_guard<std::mutex> lock(mSpeechLock);
        mSpeechError = error;
    }
    char name[64];
    snprintf(name, sizeof name, "/%s-%04d%s", kind, ++mFiles, extension);
    return dir + name;
}

void TtsService::remember(const char *kind, const Request &request, const std::string &file) {
    json last = {{"kind", kind},
                 {"text", request.utf8},
                 {"encoding", request.encoding},
                 {"speed", request.settings.speedPercent},
                 {"pitch", request.settings.pitchPercent},
                 {"volume", request.settings.volume},
                 {"file", file}};
    if (std::string(kind) == "speech") last["flag"] = request.flag;
    mLastRequest = last.dump();
}

json TtsService::state() const {
    std::lock_guard<std::mutex> lock(mSpeechLock);
    return {{"busy", mSpeaking || mHeldBusy},
            {"speaking", mSpeakingText},
            {"spoken", mSpoken},
            {"interrupted", mInterrupted},
            {"files", mFiles},
            {"audio_dir", mAudioDir},
            {"last_request", json::parse(mLastRequest)},
            {"last_error", mSpeechError}};
}

// "speaking" and "last_error" only report: they are taken from nobody.
void TtsService::load(const json &values) {
    if (!values.is_object()) throw std::invalid_argument("expected an object");
    bool busy = false;
    int spoken = 0, interrupted = mInterrupted, files = mFiles;
    {
        std::lock_guard<std::mutex> lock(mSpeechLock);
        busy = mSpeaking || mHeldBusy;
        spoken = mSpoken;
    }
    std::string audioDir = mAudioDir;
    takeBool(values, "busy", busy);
    takeInt(values, "spoken", spoken);
    takeInt(values, "interrupted", interrupted);
    takeInt(values, "files", files);
    takeText(values, "audio_dir", audioDir);
    std::string last = mLastRequest;
    if (values.contains("last_request")) {
        if (!values["last_request"].is_object()) {
            throw std::invalid_argument("last_request: expected an object");
        }
        last = values["last_request"].dump();
    }
    if (files < 0 || spoken < 0 || interrupted < 0) {
        throw std::invalid_argument("counts cannot be negative");
    }
    // Busy set from outside holds the engine busy (with nothing spoken) until stopped.
    bool speaking = false;
    {
        std::lock_guard<std::mutex> lock(mSpeechLock);
        speaking = mSpeaking;
        mSpoken = spoken;
    }
    if (!busy && stopSpeaking()) ++interrupted;
    mHeldBusy = busy && !speaking;
    mInterrupted = interrupted;
    mFiles = files;
    mAudioDir = audioDir;
    mLastRequest = last;
}

// The speaker is stopped from outside, as a press of the terminal's cancel key would.
void TtsService::event(const std::string &name, const json &args) {
    if (name != "stop") return SimService::event(name, args);
    if (stopSpeaking()) ++mInterrupted;
    mHeldBusy = false;
}

}  // namespace possim
