// A DUKPT PIN block through the SDK (IPinpadDUKPTGetPinBlock into a PIN pad service process,
// the PIN scripted so that the one call answers the block) beside a raw binder round trip of
// the same request parcel to a service that answers a reply of the same size without work.
// Also: the whole PIN entry (start, the PIN typed through the control transaction, the result)
// and the service's DUKPT arithmetic alone. The closing line gives SDK / raw.
#include <benchmark/benchmark.h>

#include <binder/Binder.h>
#include <binder/IPCThreadState.h>
#include <binder/IServiceManager.h>
#include <binder/Parcel.h>
#include <binder/ProcessState.h>
#include <pos_sdk/service/BpTransferHub.h>
#include <pos_sdk/service/IPinpadManager.h>

#include <unistd.h>

#include <nlohmann/json.hpp>

#include <chrono>
#include <cstdio>
#include <string>
#include <thread>

#include "LocalBinder.h"
#include "PinpadCrypto.h"
#include "ServiceHost.h"
#include "SimControl.h"

using namespace android;

namespace {

const char kRequest[] = "0|4012345678909";
const char kInitialKey[] = "0|0|6AC292FAA1315B4D858AB3A3D7D5933A|FFFF9876543210E00000";
const char16_t kAnswer[] = u"0|1B9C1845EB993A7A|FFFF9876543210E00001";  // the reply's size
const char kEchoName[] = "PinpadEcho";
const int kScriptBatch = 1000;  // scripted PINs given at a time

// Answers every call with the exception code and a text of the PIN block answer's size.
class EchoService : public BBinder {
  protected:
    status_t onTransact(uint32_t, const Parcel &, Parcel *reply, uint32_t) override {
        reply->writeNoException();
        reply->writeString16(String16(kAnswer));
        return NO_ERROR;
    }
};

// The echo service in a process of its own, forked before this process touches binder.
pid_t startEcho() {
    int ready[2];
    if (pipe(ready) != 0) return -1;
    pid_t pid = fork();
    if (pid == 0) {
        close(ready[0]);
        if (defaultServiceManager()->addService(String16(kEchoName), new EchoService) != OK)
            _exit(1);
        ProcessState::self()->startThreadPool();
        (void)!write(ready[1], "x", 1);
        IPCThreadState::self()->joinThreadPool();
        _exit(0);
    }
    close(ready[1]);
    char byte;
    bool up = pid > 0 && read(ready[0], &byte, 1) == 1;
    close(ready[0]);
    return up ? pid : -1;
}

sp<IBinder> g_pinpad, g_echo;

// One control command to the PIN pad service; false when refused.
bool control(const nlohmann::json &command) {
    Parcel data, reply;
    data.writeCString(command.dump().c_str());
    if (g_pinpad->transact(possim::kControlTransaction, data, &reply) != OK) return false;
    (void)reply.readExceptionCode();
    return reply.readInt32() == 0;
}

// Scripted PINs for the next calls, and the DUKPT key loaded afresh so its counter never runs
// out however long the run.
bool rearm(BpTransferHub &hub) {
    nlohmann::json pins = nlohmann::json::array();
    for (int i = 0; i < kScriptBatch; ++i) pins.push_back("1234");
    return hub.IPinpadDUKPTWriteKey(kInitialKey) == 0 &&
           control({{"command", "set"}, {"values", {{"scripted_pins", pins}}}});
}

void BM_SdkDukptPinBlock(benchmark::State &state) {
    BpTransferHub &hub = *BpTransferHub::getInstance();
    int left = 0;
    for (auto _ : state) {
        if (left-- == 0) {
            state.PauseTiming();
            if (!rearm(hub)) state.SkipWithError("the PIN pad refused its keys");
            left = kScriptBatch - 1;
            state.ResumeTiming();
        }
        const char *answer = hub.IPinpadDUKPTGetPinBlock(kRequest, 30);
        if (answer == nullptr || answer[0] != '0') state.SkipWithError("no PIN block");
    }
}

void BM_RawBinderSameParcel(benchmark::State &state) {
    for (auto _ : state) {
        Parcel data, reply;
        data.writeInterfaceToken(String16("com.kivo.device.manager.IPinpadManager"));
        data.writeString16(String16(kRequest));
        data.writeInt32(30);
        if (g_echo->transact(IPinpadManager::DUKPT_GET_PIN_BLOCK, data, &reply) != OK)
            state.SkipWithError("the echo service did not answer");
        (void)reply.readExceptionCode();
        benchmark::DoNotOptimize(reply.readString16());
    }
}

// Started, typed at the console, read back: what an application sees of one customer.
void BM_SdkDukptPinEntry(benchmark::State &state) {
    BpTransferHub &hub = *BpTransferHub::getInstance();
    const nlohmann::json typePin = {
        {"command", "event"}, {"name", "pin"}, {"args", {{"digits", "1234"}}}};
    int used = 0;
    for (auto _ : state) {
        if (used++ % 100000 == 0) {
            state.PauseTiming();
            hub.IPinpadDUKPTWriteKey(kInitialKey);
            state.ResumeTiming();
        }
        hub.IPinpadDUKPTGetPinBlock(kRequest, 30);
        control(typePin);
        const char *answer = hub.IPinpadDUKPTGetPinResult();
        if (answer == nullptr || answer[0] != '0') state.SkipWithError("no PIN block");
    }
}

// The service's own work for one block: the transaction key from the initial key (counters
// with one to ten bits set), its PIN variant and one triple DES block.
void BM_DukptArithmetic(benchmark::State &state) {
    using namespace possim::pinpad;
    Data ipek;
    fromHex("6AC292FAA1315B4D858AB3A3D7D5933A", ipek);
    Ksn ksn = {0xFF, 0xFF, 0x98, 0x76, 0x54, 0x32, 0x10, 0xE0, 0, 0};
    Block block{};
    for (auto _ : state) {
        if (!dukptAdvance(ksn)) ksn[7] = 0xE0, ksn[8] = ksn[9] = 0;
        ecb(dukptPinKey(dukptTransactionKey(ipek, ksn)), block.data(), block.data(), 8, true);
        benchmark::DoNotOptimize(block);
    }
}

BENCHMARK(BM_SdkDukptPinBlock)->Name("SdkDukptPinBlock")->UseRealTime();
BENCHMARK(BM_RawBinderSameParcel)->Name("RawBinderSameParcel")->UseRealTime();
BENCHMARK(BM_SdkDukptPinEntry)->Name("SdkDukptPinEntry")->UseRealTime();
BENCHMARK(BM_DukptArithmetic)->Name("DukptArithmetic");

// Mean nanoseconds of the benchmarks by name, for the closing line.
class Reporter : public benchmark::ConsoleReporter {
  public:
    void ReportRuns(const std::vector<Run> &runs) override {
        for (const Run &run : runs) {
            if (!run.error_occurred) times[run.run_name.function_name] = run.GetAdjustedRealTime();
        }
        ConsoleReporter::ReportRuns(runs);
    }
    std::map<std::string, double> times;
};

}  // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    harness::LocalBinder binder;
    if (!binder.startManager()) {
        fprintf(stderr, "bench_pinpad: no service manager\n");
        return 1;
    }
    pid_t echo = startEcho();
    if (echo < 0 || binder.startService("pinpad", R"({"open": true})") < 0) {
        fprintf(stderr, "bench_pinpad: cannot start the service processes\n");
        possim::stopProcess(echo);
        return 1;
    }
    g_pinpad = defaultServiceManager()->getService(String16("KivoPinpadManagerService"));
    g_echo = defaultServiceManager()->getService(String16(kEchoName));
    Reporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    possim::stopProcess(echo);

    double sdk = reporter.times["SdkDukptPinBlock"], raw = reporter.times["RawBinderSameParcel"];
    if (sdk > 0 && raw > 0) {
        printf(
            "DUKPT PIN block through the SDK %.1f us, raw binder round trip of the same parcel "
            "%.1f us, ratio %.2f\n",
            sdk / 1000, raw / 1000, sdk / raw);
    }
    benchmark::Shutdown();
    return 0;
}
