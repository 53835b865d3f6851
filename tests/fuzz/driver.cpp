// Runs a fuzz target without libFuzzer (for compilers that have none): every seed of a corpus
// directory, then a fixed number of mutations of them drawn from a fixed seed, so two runs
// feed exactly the same inputs and a failure found once is found again.
//
//   fuzz_NAME CORPUS_DIR [MUTATIONS [MAX_LEN]]
//                                      seeds, then MUTATIONS mutated inputs (default 20000)
//                                      of at most MAX_LEN bytes (default 4096)
//   fuzz_NAME FILE                     that one input, to reproduce a failure
//
// When an input crashes or fails a check, it is written to "crash-NAME" in the current
// directory before the process dies.
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "FuzzCheck.h"

namespace fs = std::filesystem;

using Input = std::vector<uint8_t>;

// Provided by the sanitizer runtime when there is one.
extern "C" void __sanitizer_set_death_callback(void (*callback)(void)) __attribute__((weak));

namespace {

constexpr size_t kDefaultMaxInput = 4096;
constexpr uint32_t kRandomSeed = 0x5eed2026;

// The input being run, kept where a dying process can still write it out.
const Input *g_current = nullptr;
char g_crashPath[512] = "crash-input";

void writeCurrentInput() {
    if (g_current == nullptr) return;
    int fd = open(g_crashPath, O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (fd < 0) return;
    if (!g_current->empty()) {
        ssize_t ignored = write(fd, g_current->data(), g_current->size());
        (void)ignored;
    }
    close(fd);
    static const char kNote[] = "fuzz driver: the failing input was written to ";
    ssize_t ignored = write(STDERR_FILENO, kNote, sizeof kNote - 1);
    ignored = write(STDERR_FILENO, g_crashPath, strlen(g_crashPath));
    ignored = write(STDERR_FILENO, "\n", 1);
    (void)ignored;
}

void onFatalSignal(int sig) {
    writeCurrentInput();
    signal(sig, SIG_DFL);
    raise(sig);
}

// The sanitizers report crashes themselves and call us back before dying; without them we
// catch the fatal signals. Replacing a sanitizer's own handler would lose its report.
void installCrashHandlers() {
    if (__sanitizer_set_death_callback != nullptr) {
        __sanitizer_set_death_callback(writeCurrentInput);
    }
    signal(SIGABRT, onFatalSignal);
    if (__sanitizer_set_death_callback == nullptr) {
        for (int sig : {SIGSEGV, SIGBUS, SIGFPE, SIGILL}) signal(sig, onFatalSignal);
    }
}

void run(const Input &input) {
    static const uint8_t kNoBytes = 0;  // libFuzzer never passes null, even for no bytes
    g_current = &input;
    LLVMFuzzerTestOneInput(input.empty() ? &kNoBytes : input.data(), input.size());
    g_current = nullptr;
}

bool readFile(const fs::path &path, Input &out) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return false;
    out.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    return true;
}

std::vector<Input> readCorpus(const fs::path &dir) {
    std::vector<fs::path> files;
    for (const auto &entry : fs::directory_iterator(dir)) {
        if (entry.is_regular_file()) files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());  // directory order differs between file systems
    std::vector<Input> seeds;
    for (const auto &file : files) {
        Input input;
        if (readFile(file, input)) seeds.push_back(std::move(input));
    }
    return seeds;
}

// Values that decoders tend to treat specially: lengths at and around the limits, the null
// string's -1, the strict-mode reply header's -128, and sizes near what is left.
const uint32_t kInterestingWords[] = {0,          1,          2,          3,          4,
                                      8,          16,         31,         32,         64,
                                      255,        0x7fff,     0xffff,     0x3fffffff, 0x7ffffffe,
                                      0x7fffffff, 0x80000000, 0xffffff80, 0xfffffffe, 0xffffffff};
const uint8_t kInterestingBytes[] = {0,   1,   0x7f, 0x80, 0xff, '0', '9', 'A', 'F', 'a',
                                     'f', '-', '"',  '{',  '}',  '[', ']', ':', ',', '\\'};

class Mutator {
  public:
    Mutator(const std::vector<Input> &seeds, size_t maxInput)
        : mSeeds(seeds), mMaxInput(maxInput), mRandom(kRandomSeed) {}

    Input next() {
        Input input = mSeeds[below(mSeeds.size())];
        size_t steps = 1 + below(4);
        for (size_t i = 0; i < steps; ++i) mutate(input);
        if (input.size() > mMaxInput) input.resize(mMaxInput);
        return input;
    }

  private:
    // mt19937's sequence is fixed by the language, unlike the standard distributions, so the
    // modulo keeps every platform on the same inputs.
    size_t below(size_t n) { return n == 0 ? 0 : size_t(mRandom()) % n; }

    void mutate(Input &in) {
        switch (below(10)) {
            case 0:
                if (!in.empty()) in[below(in.size())] ^= uint8_t(1u << below(8));
                break;
            case 1:
                if (!in.empty()) in[below(in.size())] = uint8_t(mRandom());
                break;
            case 2:
                if (!in.empty()) {
                    in[below(in.size())] = kInterestingBytes[below(sizeof kInterestingBytes)];
                }
                break;
            case 3:
                putWord(in, below(in.size() / 4 + 1) * 4, interestingWord(in));
                break;
            case 4: {
                size_t at = below(in.size() + 1);
                size_t count = 1 + below(8);
                Input bytes(count);
                for (auto &b : bytes) b = uint8_t(mRandom());
                in.insert(in.begin() + long(at), bytes.begin(), bytes.end());
                break;
            }
            case 5:
                if (!in.empty()) {
                    size_t at = below(in.size());
                    size_t count = 1 + below(std::min<size_t>(in.size() - at, 16));
                    in.erase(in.begin() + long(at), in.begin() + long(at + count));
                }
                break;
            case 6:
                if (!in.empty()) {
                    size_t from = below(in.size());
                    size_t count = 1 + below(std::min<size_t>(in.size() - from, 64));
                    Input chunk(in.begin() + long(from), in.begin() + long(from + count));
                    size_t at = below(in.size() + 1);
                    in.insert(in.begin() + long(at), chunk.begin(), chunk.end());
                }
                break;
            case 7:
                in.resize(below(in.size() + 1));
                break;
            case 8: {
                const Input &other = mSeeds[below(mSeeds.size())];
                size_t keep = below(in.size() + 1);
                size_t from = below(other.size() + 1);
                in.resize(keep);
                in.insert(in.end(), other.begin() + long(from), other.end());
                break;
            }
            default:
                putWord(in, in.size(), interestingWord(in));
                break;
        }
    }

    uint32_t interestingWord(const Input &in) {
        // Now and then a length that just fits, or just does not, in what the input holds.
        if (below(4) == 0) return uint32_t(in.size() / 2 + below(3)) - 1;
        return kInterestingWords[below(sizeof kInterestingWords / sizeof kInterestingWords[0])];
    }

    // Writes a little-endian word at AT, growing the input when it runs past the end.
    static void putWord(Input &in, size_t at, uint32_t word) {
        if (in.size() < at + 4) in.resize(at + 4);
        for (int i = 0; i < 4; ++i) in[at + size_t(i)] = uint8_t(word >> (8 * i));
    }

    const std::vector<Input> &mSeeds;
    size_t mMaxInput;
    std::mt19937 mRandom;
};

}  // namespace

int main(int argc, char **argv) {
    if (argc < 2 || argc > 4) {
        std::fprintf(stderr, "usage: %s CORPUS_DIR [MUTATIONS [MAX_LEN]] | %s FILE\n", argv[0],
                     argv[0]);
        return 2;
    }
    std::string name = fs::path(argv[0]).filename().string();
    std::snprintf(g_crashPath, sizeof g_crashPath, "crash-%s", name.c_str());
    installCrashHandlers();

    fs::path path(argv[1]);
    std::error_code ec;
    if (fs::is_regular_file(path, ec)) {
        Input input;
        if (!readFile(path, input)) return 2;
        run(input);
        std::printf("%s: %s ran without failure\n", name.c_str(), argv[1]);
        return 0;
    }
    if (!fs::is_directory(path, ec)) {
        std::fprintf(stderr, "%s: no corpus at %s\n", name.c_str(), argv[1]);
        return 2;
    }
    long mutations = argc >= 3 ? std::strtol(argv[2], nullptr, 10) : 20000;
    long maxInput = argc == 4 ? std::strtol(argv[3], nullptr, 10) : long(kDefaultMaxInput);
    if (maxInput <= 0) maxInput = long(kDefaultMaxInput);

    std::vector<Input> seeds = readCorpus(path);
    if (seeds.empty()) seeds.emplace_back();  // an empty input is a seed like any other
    for (const auto &seed : seeds) run(seed);

    Mutator mutator(seeds, size_t(maxInput));
    for (long i = 0; i < mutations; ++i) run(mutator.next());
    std::printf("%s: %zu seeds and %ld mutations ran without failure\n", name.c_str(), seeds.size(),
                mutations);
    return 0;
}
