// One APDU exchange with a simulated IC card (a 20-byte SELECT answered with 256 bytes: 254
// of data and the status word) through the SDK's hub, beside a raw binder transaction of the
// same request parcel to the same service, read back as far as its String16. Batches of the
// two are taken in turns; the closing line gives SDK / raw (target <= 1.3).
#include <benchmark/benchmark.h>

#include <binder/IServiceManager.h>
#include <binder/Parcel.h>

#include <pos_sdk/service/BpTransferHub.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "LocalBinder.h"

namespace {

// SELECT of a 15-byte application identifier: 5 header bytes and 15 of data.
const char kSelect[] = "00A404000FA00000000310109876543210AABBCC";
const int kTimeoutMs = 1000;
const size_t kResponseBytes = 256;

android::sp<android::IBinder> g_service;
double g_sdkNs = 0, g_rawNs = 0;

std::string cardState() {
    std::string response;
    for (size_t i = 0; i + 2 < kResponseBytes; ++i) response += "5A";
    nlohmann::json card = {
        {"contact",
         {{"atr", "3B6800000073C84013009000"},
          {"apdus", {{{"command", kSelect}, {"response", response + "9000"}}}}}}};
    return nlohmann::json({{"card", card}, {"inserted", true}, {"open", true}, {"powered", true}})
        .dump();
}

bool sdkExchange() {
    const char *answer = BpTransferHub::getInstance()->IICCardAsyncCardComm(0, kSelect, kTimeoutMs);
    return answer != nullptr && strlen(answer) == 2 * kResponseBytes;
}

bool rawExchange() {
    android::Parcel data, reply;
    data.writeInterfaceToken(android::String16("com.kivo.device.manager.IICCardManager"));
    data.writeInt32(0);
    data.writeString16(android::String16(kSelect));
    data.writeInt32(kTimeoutMs);
    if (g_service->transact(6, data, &reply, 0) != android::OK) return false;
    reply.readExceptionCode();
    return reply.readString16().size() == 2 * kResponseBytes;
}

template <bool (*Exchange)()>
void BM_Exchange(benchmark::State &state) {
    Exchange();
    for (auto _ : state) {
        if (!Exchange()) state.SkipWithError("the card did not answer");
    }
}

template <bool (*Exchange)()>
double timeBatch(int calls) {
    auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < calls; ++i) Exchange();
    std::chrono::duration<double, std::nano> spent = std::chrono::steady_clock::now() - start;
    return spent.count() / calls;
}

double median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

void BM_SdkOverRaw(benchmark::State &state) {
    sdkExchange();
    std::vector<double> sdk, raw;
    for (auto _ : state) {
        sdk.push_back(timeBatch<sdkExchange>(50));
        raw.push_back(timeBatch<rawExchange>(50));
    }
    g_sdkNs = median(sdk);
    g_rawNs = median(raw);
    state.counters["sdk_us"] = g_sdkNs / 1000;
    state.counters["raw_us"] = g_rawNs / 1000;
    state.counters["ratio"] = g_sdkNs / g_rawNs;
}

BENCHMARK_TEMPLATE(BM_Exchange, rawExchange)->Name("RawTransactApdu")->UseRealTime();
BENCHMARK_TEMPLATE(BM_Exchange, sdkExchange)->Name("HubICCardAsyncCardComm")->UseRealTime();
BENCHMARK(BM_SdkOverRaw)->Name("SdkOverRaw")->UseRealTime();

}  // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    harness::LocalBinder binder;
    if (!binder.startManager() || binder.startService("iccard", cardState()) < 0) {
        fprintf(stderr, "bench_cards: cannot start the IC card service\n");
        return 1;
    }
    android::sp<android::IServiceManager> manager = android::defaultServiceManager();
    g_service =
        manager != nullptr ? manager->getService(android::String16("KivoIICCardService")) : nullptr;
    if (g_service == nullptr || !sdkExchange() || !rawExchange()) {
        fprintf(stderr, "bench_cards: the card does not answer\n");
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    printf("APDU exchange: SDK %.1f us, raw transaction %.1f us, ratio %.2f (target <= 1.3)\n",
           g_sdkNs / 1000, g_rawNs / 1000, g_sdkNs / g_rawNs);
    g_service = nullptr;
    benchmark::Shutdown();
    return 0;
}
