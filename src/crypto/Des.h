// The fast DES engine behind DES, _DES and the triple-DES calls. It keeps whole words and
// copies a finished key schedule into the bit-per-byte form of K only when a call returns,
// so K always ends up as the bit-per-byte routines would have left it.
#ifndef POS_CRYPTO_DES_H
#define POS_CRYPTO_DES_H

#include <cstdint>

namespace pos::des {

// Round keys split into the two words the round function XORs in (see Des.cpp).
struct Schedule {
    uint32_t a[16];
    uint32_t b[16];
};

void makeSchedule(const unsigned char *key, Schedule &ks);
// Writes the schedule to rows 1-16 of K as bit-bytes.
void storeSchedule(const Schedule &ks);

}  // namespace pos::des

#endif
