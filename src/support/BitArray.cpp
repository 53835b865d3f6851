// bitarray_t: a bit array that knows its size, so every access is range-checked.
#include "pos_sdk/util.h"

#include "support/RecordLayout.h"

#include <cstdlib>
#include <cstring>

namespace {

// The caller's record: the bit count, then the words (padding before them on 64-bit targets).
constexpr auto kBitArrayRecord = pos::layout::layOut({pos::layout::kInt32, pos::layout::kPointer});
static_assert(offsetof(bitarray_t, words) == kBitArrayRecord.offset[1], "bit array record");
static_assert(sizeof(bitarray_t) == kBitArrayRecord.size, "bit array record");

constexpr unsigned int kBitsPerWord = 32;

size_t wordsFor(unsigned int n_bits) {
    return (static_cast<size_t>(n_bits) + kBitsPerWord - 1) / kBitsPerWord;
}

bool inRange(const bitarray_t *ba, unsigned int bit) {
    return ba != nullptr && bit < ba->n_bits;
}

unsigned int maskOf(unsigned int bit) {
    return 1u << (bit % kBitsPerWord);
}

}  // namespace

extern "C" POS_API bitarray_t *bitarray_init_zero(unsigned int n_bits) {
    bitarray_t *ba = static_cast<bitarray_t *>(malloc(sizeof(bitarray_t)));
    if (ba == nullptr) return nullptr;
    // One word at least, so an empty array still owns a block and can grow with realloc.
    size_t words = wordsFor(n_bits) > 0 ? wordsFor(n_bits) : 1;
    ba->words = static_cast<unsigned int *>(calloc(words, sizeof(unsigned int)));
    if (ba->words == nullptr) {
        free(ba);
        return nullptr;
    }
    ba->n_bits = n_bits;
    return ba;
}

extern "C" POS_API int bitarray_expand(bitarray_t *ba, unsigned int n_bits) {
    if (ba == nullptr) return -1;
    if (n_bits <= ba->n_bits) return 0;
    size_t oldWords = wordsFor(ba->n_bits);
    size_t newWords = wordsFor(n_bits);
    if (newWords > oldWords) {
        void *grown = realloc(ba->words, newWords * sizeof(unsigned int));
        if (grown == nullptr) return -1;
        ba->words = static_cast<unsigned int *>(grown);
        memset(ba->words + oldWords, 0, (newWords - oldWords) * sizeof(unsigned int));
    }
    // Bits past the old end in the last old word are already zero: clear and set never
    // touch bits beyond n_bits.
    ba->n_bits = n_bits;
    return 0;
}

extern "C" POS_API int bitarray_set(bitarray_t *ba, unsigned int bit) {
    if (!inRange(ba, bit)) return -1;
    ba->words[bit / kBitsPerWord] |= maskOf(bit);
    return 0;
}

extern "C" POS_API int bitarray_clear(bitarray_t *ba, unsigned int bit) {
    if (!inRange(ba, bit)) return -1;
    ba->words[bit / kBitsPerWord] &= ~maskOf(bit);
    return 0;
}

extern "C" POS_API int bitarray_is_set(const bitarray_t *ba, unsigned int bit) {
    if (!inRange(ba, bit)) return 0;
    return (ba->words[bit / kBitsPerWord] & maskOf(bit)) != 0;
}

extern "C" POS_API void bitarray_free(bitarray_t *ba) {
    if (ba == nullptr) return;
    free(ba->words);
    free(ba);
}
