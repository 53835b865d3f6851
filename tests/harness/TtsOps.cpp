#include "HubOps.h"

const std::vector<HubOp> &ttsHubOps() {
    static const char *const kName = "KivoTtsService";
    static const char *const kToken = "com.torva.binder.ITtsManager";
    static char path[260];
    using H = BpTransferHub;
    using R = HubResult;
    const HubReturns status = HubReturns::Status;
    // The hub takes (text, length); the request carries the length first, then the bytes.
    static const std::vector<HubOp> ops = {
        {"ITtsTextToSpeech", kName, kToken, 4, status,
         [](H &h) { return R{h.ITtsTextToSpeech("ok", 2, 0, 105, 100, 16384, 0)}; },
         Bytes().i32(2).raw({'o', 'k'}).i32(0).i32(105).i32(100).i32(16384).i32(0)},
        {"ITtsTextToPcm", kName, kToken, 5, status,
         [](H &h) { return R{h.ITtsTextToPcm("yes", 3, 0, 105, 100, 32768, path)}; },
         Bytes().i32(3).raw({'y', 'e', 's'}).i32(0).i32(105).i32(100).i32(32768)},
        {"ITtsTextToWav", kName, kToken, 3, status,
         [](H &h) { return R{h.ITtsTextToWav("yes", 3, 0, 105, 100, 32768, path)}; },
         Bytes().i32(3).raw({'y', 'e', 's'}).i32(0).i32(105).i32(100).i32(32768)},
        {"ITtsStopSpeech", kName, kToken, 6, status, [](H &h) { return R{h.ITtsStopSpeech(0)}; },
         Bytes().i32(0)},
        {"ITtsIsBusy", kName, kToken, 7, status, [](H &h) { return R{h.ITtsIsBusy()}; }, Bytes()},
    };
    return ops;
}
