// Montgomery exponentiation behind NN_ModExp.
#ifndef POS_CRYPTO_MONTGOMERY_H
#define POS_CRYPTO_MONTGOMERY_H

#include "pos_sdk/crypto.h"

namespace pos::nn {

// a (dDigits) <- b^c mod d for an odd d of at most NN_MAX_DIGITS digits; b has dDigits. The
// fastest arithmetic the processor offers.
void montgomeryModExp(NN_DIGIT *a, const NN_DIGIT *b, const NN_DIGIT *c, unsigned cDigits,
                      const NN_DIGIT *d, unsigned dDigits);
// The same on 64-bit limbs only, on any processor: lets tests hold either path against a
// reference on a machine that would otherwise take the other.
void montgomeryModExpPortable(NN_DIGIT *a, const NN_DIGIT *b, const NN_DIGIT *c, unsigned cDigits,
                              const NN_DIGIT *d, unsigned dDigits);

}  // namespace pos::nn

#endif
