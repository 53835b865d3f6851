// Our ciphers beside libcrypto in the same run. Every iteration times a batch of our calls
// and a batch of the reference (alternating which goes first); the counters give the
// per-call medians ours_ns and ref_ns and ratio = ours / reference.
//
// Triple DES re-keys every block, so its reference sets libcrypto's key schedules every
// block too. aes_encrypt2 is compared with libcrypto's key setup plus one block, through EVP
// (which uses the processor's AES instructions when it has them) and through the low-level
// AES calls. After the first pass the program runs the AES benchmarks again with
// OPENSSL_ia32cap clearing AES-NI and PCLMUL, so libcrypto's software path is measured too
// (rows labelled "aes-ni off"; our code never uses those instructions).
#include <openssl/aes.h>
#include <openssl/bn.h>
#include <openssl/des.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>
#include <vector>

#include "pos_sdk/crypto.h"

namespace {

constexpr const char *kNoAesNi = "~0x200000200000000";
constexpr int kBatch = 200;

const char *aesNiLabel() {
    return getenv("OPENSSL_ia32cap") ? "aes-ni off" : "aes-ni on";
}

template <typename Fn>
double timeBatch(Fn &fn, int count) {
    auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < count; ++i) fn();
    benchmark::ClobberMemory();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v.empty() ? 0 : v[v.size() / 2];
}

template <typename Ours, typename Ref>
void compare(benchmark::State &state, int batch, Ours ours, Ref ref) {
    std::vector<double> oursTimes, refTimes;
    bool oursFirst = true;
    for (auto _ : state) {
        double o, r;
        if (oursFirst) {
            o = timeBatch(ours, batch);
            r = timeBatch(ref, batch);
        } else {
            r = timeBatch(ref, batch);
            o = timeBatch(ours, batch);
        }
        oursFirst = !oursFirst;
        state.SetIterationTime(o / batch);
        oursTimes.push_back(o / batch);
        refTimes.push_back(r / batch);
    }
    double oursNs = median(oursTimes) * 1e9, refNs = median(refTimes) * 1e9;
    state.counters["ours_ns"] = oursNs;
    state.counters["ref_ns"] = refNs;
    state.counters["ratio"] = oursNs / refNs;
}

// Each call's output feeds the next call's input, so no call can be skipped or hoisted.
void BM_TripleDesOneBlock(benchmark::State &state) {
    const int keyLen = int(state.range(0));
    unsigned char key[24], ours[8] = {1, 2, 3, 4, 5, 6, 7, 8}, ref[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    for (int i = 0; i < 24; ++i) key[i] = static_cast<unsigned char>(0x13 * i + 7);

    auto runOurs = [&] { TripleDes(key, keyLen, ours, 8, ours); };
    auto runRef = [&] {
        DES_key_schedule k1, k2, k3;
        DES_set_key_unchecked(reinterpret_cast<const_DES_cblock *>(key), &k1);
        DES_set_key_unchecked(reinterpret_cast<const_DES_cblock *>(key + 8), &k2);
        if (keyLen == 24)
            DES_set_key_unchecked(reinterpret_cast<const_DES_cblock *>(key + 16), &k3);
        DES_ecb3_encrypt(reinterpret_cast<const_DES_cblock *>(ref),
                         reinterpret_cast<DES_cblock *>(ref), &k1, &k2, keyLen == 24 ? &k3 : &k1,
                         DES_ENCRYPT);
    };
    compare(state, kBatch, runOurs, runRef);
    if (std::memcmp(ours, ref, 8) != 0) state.SkipWithError("results differ");
}

void BM_AesEncrypt2VsEvp(benchmark::State &state) {
    const int keyLen = int(state.range(0));
    unsigned char key[32], ours[16] = {}, ref[16] = {};
    for (int i = 0; i < 32; ++i) key[i] = static_cast<unsigned char>(0x29 * i + 3);
    const char *name = keyLen == 16 ? "AES-128-ECB" : keyLen == 24 ? "AES-192-ECB" : "AES-256-ECB";
    EVP_CIPHER *cipher = EVP_CIPHER_fetch(nullptr, name, nullptr);
    EVP_CIPHER_CTX *ctx = EVP_CIPHER_CTX_new();

    auto runOurs = [&] { aes_encrypt2(key, keyLen, ours, ours); };
    auto runRef = [&] {
        int outLen = 0;
        EVP_EncryptInit_ex(ctx, cipher, nullptr, key, nullptr);
        EVP_EncryptUpdate(ctx, ref, &outLen, ref, 16);
    };
    compare(state, kBatch, runOurs, runRef);
    if (std::memcmp(ours, ref, 16) != 0) state.SkipWithError("results differ");
    state.SetLabel(aesNiLabel());
    EVP_CIPHER_CTX_free(ctx);
    EVP_CIPHER_free(cipher);
}

void BM_AesEncrypt2VsLowLevel(benchmark::State &state) {
    const int keyLen = int(state.range(0));
    unsigned char key[32], ours[16] = {}, ref[16] = {};
    for (int i = 0; i < 32; ++i) key[i] = static_cast<unsigned char>(0x29 * i + 3);

    auto runOurs = [&] { aes_encrypt2(key, keyLen, ours, ours); };
    auto runRef = [&] {
        AES_KEY ks;
        AES_set_encrypt_key(key, 8 * keyLen, &ks);
        AES_encrypt(ref, ref, &ks);
    };
    compare(state, kBatch, runOurs, runRef);
    if (std::memcmp(ours, ref, 16) != 0) state.SkipWithError("results differ");
    state.SetLabel(aesNiLabel());
}

// A fixed 2048-bit odd modulus. It is not a product of two primes, but the raw public
// operation only needs an odd modulus of the right size, so key generation is not worth
// the start-up time.
struct PublicKey2048 {
    R_RSA_PUBLIC_KEY record{};
    RSA *rsa = RSA_new();
    PublicKey2048() {
        record.bits = 2048;
        for (int i = 0; i < 256; ++i)
            record.modulus[i] = static_cast<unsigned char>(0xC5 ^ (31 * i));
        record.modulus[255] |= 1;
        record.modulus[0] |= 0x80;
        record.exponent[253] = 0x01;
        record.exponent[255] = 0x01;
        BIGNUM *n = BN_bin2bn(record.modulus, 256, nullptr), *e = BN_new();
        BN_set_word(e, 65537);
        RSA_set0_key(rsa, n, e, nullptr);
    }
    ~PublicKey2048() { RSA_free(rsa); }
};

// RSAPublicEncrypt (padding and the raw operation from the key's bytes) against libcrypto's
// raw public operation on a ready key; the block is the same 00 02 80.. 00 message block.
void BM_RsaPublicEncrypt2048(benchmark::State &state) {
    static PublicKey2048 key;
    unsigned char message[32], ours[256], ref[256], block[256];
    for (int i = 0; i < 32; ++i) message[i] = static_cast<unsigned char>(i);
    block[0] = 0;
    block[1] = 2;
    std::memset(block + 2, 0x80, 256 - 32 - 3);
    block[256 - 33] = 0;
    std::memcpy(block + 256 - 32, message, 32);

    unsigned outLen = 0;
    auto runOurs = [&] { RSAPublicEncrypt(ours, &outLen, message, 32, &key.record); };
    auto runRef = [&] { RSA_public_encrypt(256, block, ref, key.rsa, RSA_NO_PADDING); };
    compare(state, 20, runOurs, runRef);
    if (std::memcmp(ours, ref, 256) != 0) state.SkipWithError("results differ");
}

}  // namespace

// Fixed iteration counts keep each benchmark to a fraction of a second; the Time column is
// our time per call.
BENCHMARK(BM_TripleDesOneBlock)->Arg(16)->Arg(24)->UseManualTime()->Iterations(1500);
BENCHMARK(BM_AesEncrypt2VsEvp)->Arg(16)->Arg(32)->UseManualTime()->Iterations(3000);
BENCHMARK(BM_AesEncrypt2VsLowLevel)->Arg(16)->Arg(32)->UseManualTime()->Iterations(3000);
BENCHMARK(BM_RsaPublicEncrypt2048)->UseManualTime()->Iterations(150)->Unit(benchmark::kMicrosecond);

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    if (getenv("OPENSSL_ia32cap") != nullptr) return 0;

    // Second pass: the AES comparisons with libcrypto's software path. libcrypto reads the
    // variable once at start-up, hence a fresh process.
    setenv("OPENSSL_ia32cap", kNoAesNi, 1);
    std::vector<char *> args(argv, argv + argc);
    std::string filter = "--benchmark_filter=BM_Aes";
    args.push_back(filter.data());
    args.push_back(nullptr);
    execv("/proc/self/exe", args.data());
    return 1;
}
