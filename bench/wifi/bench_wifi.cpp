// A scan of 128 networks (540-byte records) through the SDK (IWifiScan filling a list, then
// freed) beside the raw transaction of the same request and reply (the reply's header read,
// its records left in the parcel), batches taken in turns; the "sdk/raw" counter is the ratio
// of the medians. And a 384 x 800 bitmap printed and written as a receipt PNG.
#include <benchmark/benchmark.h>

#include <binder/IServiceManager.h>
#include <binder/Parcel.h>
#include <pos_sdk/service/BpTransferHub.h>
#include <pos_sdk/service/IThermalManager.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "LocalBinder.h"
#include "Registry.h"

using namespace android;
using nlohmann::json;

namespace {

const int kNetworks = 128;

std::string networksState() {
    json networks = json::array();
    for (int i = 0; i < kNetworks; ++i) {
        char bssid[24];
        snprintf(bssid, sizeof bssid, "aa:bb:cc:dd:%02x:%02x", i / 256, i % 256);
        networks.push_back({{"ssid", "Network " + std::to_string(i)},
                            {"bssid", bssid},
                            {"level", -40 - i % 60},
                            {"password", i % 2 ? "password" : ""}});
    }
    return json({{"networks", networks}}).dump();
}

harness::LocalBinder *g_binder = nullptr;
sp<IBinder> g_wifi;

bool sdkScan() {
    smartlist_t *list = smartlist_new();
    int status = BpTransferHub::getInstance()->IWifiScan(list);
    bool ok = status == 0 && list->num_used == kNetworks;
    smartlist_free(list);
    return ok;
}

bool rawScan() {
    Parcel data, reply;
    data.writeInterfaceToken(String16("com.torva.binder.IWifiManager"));
    if (g_wifi->transact(3, data, &reply, 0) != NO_ERROR) return false;
    reply.readExceptionCode();
    int status = reply.readInt32();
    return status == 0 && reply.readInt32() == kNetworks;
}

template <bool (*Scan)()>
double timeBatch(int calls) {
    auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < calls; ++i) {
        if (!Scan()) return -1;
    }
    std::chrono::duration<double, std::micro> spent = std::chrono::steady_clock::now() - start;
    return spent.count() / calls;
}

double median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

void BM_ScanSdkBesideRaw(benchmark::State &state) {
    const int kBatch = 20;
    sdkScan();  // bind outside the timing
    std::vector<double> sdk, raw;
    for (auto _ : state) {
        sdk.push_back(timeBatch<sdkScan>(kBatch));
        raw.push_back(timeBatch<rawScan>(kBatch));
        if (sdk.back() < 0 || raw.back() < 0) state.SkipWithError("the service did not answer");
    }
    state.counters["sdk_us"] = median(sdk);
    state.counters["raw_us"] = median(raw);
    state.counters["sdk/raw"] = median(sdk) / median(raw);
}
BENCHMARK(BM_ScanSdkBesideRaw)->Iterations(30)->Unit(benchmark::kMillisecond);

// A 384 x 800 bitmap: bars of 16 dots, alternating row bands of 8.
std::string bitmap384x800() {
    std::string row;
    for (int byte = 0; byte < 48; ++byte) row += byte % 2 ? "FF" : "00";
    std::string inverted;
    for (int byte = 0; byte < 48; ++byte) inverted += byte % 2 ? "00" : "FF";
    std::string text;
    for (int y = 0; y < 800; ++y) text += (y / 8) % 2 ? inverted : row;
    return text;
}

void BM_Print384x800ToPng(benchmark::State &state) {
    std::string dir = std::filesystem::temp_directory_path() / "pos-bench-receipts";
    sp<IBinder> service = possim::findService("printer")->make(json{{"receipt_dir", dir}});
    sp<IThermalManager> printer = new BpThermalManager(service);
    std::string text = bitmap384x800();
    printer->ThermalOpen(0);
    for (auto _ : state) {
        if (printer->ThermalPrintBmp(text.c_str(), 0, 384, 800, 0, 0) != 0 ||
            printer->ThermalFeedPaper(0, 1) != 0)
            state.SkipWithError("the printer refused");
    }
    printer->ThermalClose();
    std::error_code ignored;
    std::filesystem::remove_all(dir, ignored);
}
BENCHMARK(BM_Print384x800ToPng)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char **argv) {
    harness::LocalBinder binder;
    if (!binder.startManager() || binder.startService("wifi", networksState()) < 0) {
        fprintf(stderr, "bench_wifi: the Wi-Fi service did not start\n");
        return 1;
    }
    g_binder = &binder;
    g_wifi = defaultServiceManager()->getService(String16("KivoWifiManagerService"));
    if (g_wifi == nullptr) return 1;
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    g_wifi.clear();
    return 0;
}
