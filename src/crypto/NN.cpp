// Multi-precision natural numbers: arrays of 32-bit digits, least significant first.
//
// The routines follow the classic RSAREF contracts. Modular exponentiation with an odd
// modulus (every RSA modulus) runs in Montgomery form on 64-bit limbs, which is where RSA
// spends its time; everything else is plain schoolbook arithmetic.
#include <cstring>

#include "crypto/Montgomery.h"
#include "pos_sdk/crypto.h"

namespace {

constexpr unsigned kDigitBits = 32;
// Scratch size of the division: a double-length dividend.
constexpr unsigned kWideDigits = 2 * NN_MAX_DIGITS;

unsigned digitBits(NN_DIGIT a) {
    return a == 0 ? 0 : kDigitBits - static_cast<unsigned>(__builtin_clz(a));
}

// Knuth's algorithm D. q (cDigits, may be null) <- c div d, r (dDigits, may be null) <-
// c mod d. Sizes are checked by the callers; d must not be zero.
void divide(NN_DIGIT *q, NN_DIGIT *r, const NN_DIGIT *c, unsigned cDigits, const NN_DIGIT *d,
            unsigned dDigits) {
    const unsigned n = NN_Digits(d, dDigits);
    NN_DIGIT quotient[kWideDigits] = {};
    NN_DIGIT rem[kWideDigits + 1] = {};
    NN_DIGIT dn[NN_MAX_DIGITS] = {};

    // Normalise so the divisor's top digit has its high bit set.
    const unsigned shift = kDigitBits - digitBits(d[n - 1]);
    NN_LShift(dn, d, shift, n);
    rem[cDigits] = NN_LShift(rem, c, shift, cDigits);

    const uint64_t top = dn[n - 1];
    const uint64_t next = n >= 2 ? dn[n - 2] : 0;
    for (int j = static_cast<int>(cDigits) - static_cast<int>(n); j >= 0; --j) {
        uint64_t num = (uint64_t{rem[j + n]} << 32) | rem[j + n - 1];
        uint64_t qhat = num / top;
        uint64_t rhat = num % top;
        while (qhat > 0xFFFFFFFFu || (n >= 2 && qhat * next > ((rhat << 32) | rem[j + n - 2]))) {
            --qhat;
            rhat += top;
            if (rhat > 0xFFFFFFFFu) break;
        }
        // rem[j .. j+n] -= qhat * dn
        uint64_t carry = 0;
        int64_t borrow = 0;
        for (unsigned i = 0; i < n; ++i) {
            uint64_t p = qhat * dn[i] + carry;
            carry = p >> 32;
            int64_t t = int64_t{rem[i + j]} - int64_t(p & 0xFFFFFFFFu) + borrow;
            rem[i + j] = static_cast<NN_DIGIT>(t);
            borrow = t >> 32;
        }
        int64_t t = int64_t{rem[j + n]} - int64_t(carry) + borrow;
        rem[j + n] = static_cast<NN_DIGIT>(t);
        if (t < 0) {  // qhat was one too large: add the divisor back
            --qhat;
            uint64_t sum = 0;
            for (unsigned i = 0; i < n; ++i) {
                sum += uint64_t{rem[i + j]} + dn[i];
                rem[i + j] = static_cast<NN_DIGIT>(sum);
                sum >>= 32;
            }
            rem[j + n] += static_cast<NN_DIGIT>(sum);
        }
        quotient[j] = static_cast<NN_DIGIT>(qhat);
    }

    if (q != nullptr) NN_Assign(q, quotient, cDigits);
    if (r != nullptr) {
        NN_AssignZero(r, dDigits);
        NN_RShift(r, rem, shift, n < dDigits ? n : dDigits);
    }
}

// a <- b^c mod d by left-to-right binary exponentiation over NN_ModMult (even moduli).
void modExpClassic(NN_DIGIT *a, const NN_DIGIT *b, const NN_DIGIT *c, unsigned cDigits,
                   const NN_DIGIT *d, unsigned dDigits) {
    NN_DIGIT base[NN_MAX_DIGITS], acc[NN_MAX_DIGITS] = {1};
    NN_Mod(base, b, dDigits, d, dDigits);
    NN_Mod(acc, acc, dDigits, d, dDigits);  // 1 mod d (0 when d is 1)
    for (unsigned bit = NN_Bits(c, cDigits); bit-- > 0;) {
        NN_ModMult(acc, acc, acc, d, dDigits);
        if ((c[bit / kDigitBits] >> (bit % kDigitBits)) & 1) NN_ModMult(acc, acc, base, d, dDigits);
    }
    NN_Assign(a, acc, dDigits);
    std::memset(base, 0, sizeof base);
    std::memset(acc, 0, sizeof acc);
}

}  // namespace

extern "C" {

POS_API void NN_Decode(NN_DIGIT *a, unsigned int digits, const unsigned char *b, unsigned int len) {
    long j = static_cast<long>(len) - 1;
    unsigned i = 0;
    for (; i < digits && j >= 0; ++i) {
        NN_DIGIT t = 0;
        for (unsigned u = 0; j >= 0 && u < kDigitBits; --j, u += 8) t |= NN_DIGIT{b[j]} << u;
        a[i] = t;
    }
    for (; i < digits; ++i) a[i] = 0;
}

POS_API void NN_Encode(unsigned char *a, unsigned int len, const NN_DIGIT *b, unsigned int digits) {
    long j = static_cast<long>(len) - 1;
    for (unsigned i = 0; i < digits && j >= 0; ++i) {
        NN_DIGIT t = b[i];
        for (unsigned u = 0; j >= 0 && u < kDigitBits; --j, u += 8) {
            a[j] = static_cast<unsigned char>(t >> u);
        }
    }
    for (; j >= 0; --j) a[j] = 0;
}

POS_API void NN_Assign(NN_DIGIT *a, const NN_DIGIT *b, unsigned int digits) {
    if (digits > 0 && a != b) std::memmove(a, b, digits * sizeof(NN_DIGIT));
}

POS_API void NN_AssignZero(NN_DIGIT *a, unsigned int digits) {
    if (digits > 0) std::memset(a, 0, digits * sizeof(NN_DIGIT));
}

POS_API void NN_Assign2Exp(NN_DIGIT *a, unsigned int b, unsigned int digits) {
    NN_AssignZero(a, digits);
    if (b / kDigitBits >= digits) return;
    a[b / kDigitBits] = NN_DIGIT{1} << (b % kDigitBits);
}

POS_API NN_DIGIT NN_Add(NN_DIGIT *a, const NN_DIGIT *b, const NN_DIGIT *c, unsigned int digits) {
    uint64_t carry = 0;
    for (unsigned i = 0; i < digits; ++i) {
        carry += uint64_t{b[i]} + c[i];
        a[i] = static_cast<NN_DIGIT>(carry);
        carry >>= 32;
    }
    return static_cast<NN_DIGIT>(carry);
}

POS_API NN_DIGIT NN_Sub(NN_DIGIT *a, const NN_DIGIT *b, const NN_DIGIT *c, unsigned int digits) {
    uint64_t borrow = 0;
    for (unsigned i = 0; i < digits; ++i) {
        uint64_t t = uint64_t{b[i]} - c[i] - borrow;
        a[i] = static_cast<NN_DIGIT>(t);
        borrow = (t >> 32) & 1;
    }
    return static_cast<NN_DIGIT>(borrow);
}

POS_API void NN_Mult(NN_DIGIT *a, const NN_DIGIT *b, const NN_DIGIT *c, unsigned int digits) {
    if (digits > NN_MAX_DIGITS) return;
    NN_DIGIT t[2 * NN_MAX_DIGITS] = {};
    const unsigned bDigits = NN_Digits(b, digits);
    const unsigned cDigits = NN_Digits(c, digits);
    for (unsigned i = 0; i < bDigits; ++i) {
        uint64_t carry = 0;
        for (unsigned j = 0; j < cDigits; ++j) {
            carry += uint64_t{b[i]} * c[j] + t[i + j];
            t[i + j] = static_cast<NN_DIGIT>(carry);
            carry >>= 32;
        }
        t[i + cDigits] = static_cast<NN_DIGIT>(carry);
    }
    NN_Assign(a, t, 2 * digits);
    std::memset(t, 0, sizeof t);
}

POS_API NN_DIGIT NN_LShift(NN_DIGIT *a, const NN_DIGIT *b, unsigned int c, unsigned int digits) {
    if (c >= kDigitBits) return 0;
    if (c == 0) {
        NN_Assign(a, b, digits);
        return 0;
    }
    NN_DIGIT carry = 0;
    for (unsigned i = 0; i < digits; ++i) {
        NN_DIGIT bi = b[i];
        a[i] = (bi << c) | carry;
        carry = bi >> (kDigitBits - c);
    }
    return carry;
}

POS_API NN_DIGIT NN_RShift(NN_DIGIT *a, const NN_DIGIT *b, unsigned int c, unsigned int digits) {
    if (c >= kDigitBits) return 0;
    if (c == 0) {
        NN_Assign(a, b, digits);
        return 0;
    }
    NN_DIGIT carry = 0;
    for (unsigned i = digits; i-- > 0;) {
        NN_DIGIT bi = b[i];
        a[i] = (bi >> c) | carry;
        carry = bi << (kDigitBits - c);
    }
    return carry;
}

POS_API void NN_Div(NN_DIGIT *a, NN_DIGIT *b, const NN_DIGIT *c, unsigned int cDigits,
                    const NN_DIGIT *d, unsigned int dDigits) {
    // Refuse what would overflow the scratch space, and division by zero.
    if (cDigits > 2 * NN_MAX_DIGITS || dDigits > NN_MAX_DIGITS) return;
    if (NN_Digits(d, dDigits) == 0) return;
    divide(a, b, c, cDigits, d, dDigits);
}

POS_API void NN_Mod(NN_DIGIT *a, const NN_DIGIT *b, unsigned int bDigits, const NN_DIGIT *c,
                    unsigned int cDigits) {
    NN_Div(nullptr, a, b, bDigits, c, cDigits);
}

POS_API void NN_ModMult(NN_DIGIT *a, const NN_DIGIT *b, const NN_DIGIT *c, const NN_DIGIT *d,
                        unsigned int digits) {
    if (digits > NN_MAX_DIGITS) return;
    NN_DIGIT t[2 * NN_MAX_DIGITS];
    NN_Mult(t, b, c, digits);
    NN_Mod(a, t, 2 * digits, d, digits);
    std::memset(t, 0, sizeof t);
}

POS_API void NN_ModExp(NN_DIGIT *a, const NN_DIGIT *b, const NN_DIGIT *c, unsigned int cDigits,
                       const NN_DIGIT *d, unsigned int dDigits) {
    if (dDigits > NN_MAX_DIGITS || NN_Zero(d, dDigits)) return;
    if (d[0] & 1) {
        pos::nn::montgomeryModExp(a, b, c, cDigits, d, dDigits);
    } else {
        modExpClassic(a, b, c, cDigits, d, dDigits);
    }
}

POS_API void NN_ModInv(NN_DIGIT *a, const NN_DIGIT *b, const NN_DIGIT *c, unsigned int digits) {
    if (digits > NN_MAX_DIGITS) return;
    // Extended Euclid keeping only the coefficient of b; its sign alternates every step.
    NN_DIGIT q[NN_MAX_DIGITS], t1[NN_MAX_DIGITS], t3[NN_MAX_DIGITS], u1[NN_MAX_DIGITS],
        u3[NN_MAX_DIGITS], v1[NN_MAX_DIGITS], v3[NN_MAX_DIGITS], w[2 * NN_MAX_DIGITS];
    NN_AssignZero(u1, digits);
    if (digits > 0) u1[0] = 1;
    NN_Assign(u3, b, digits);
    NN_AssignZero(v1, digits);
    NN_Assign(v3, c, digits);
    int u1Sign = 1;
    while (!NN_Zero(v3, digits)) {
        NN_Div(q, t3, u3, digits, v3, digits);
        NN_Mult(w, q, v1, digits);
        NN_Add(t1, u1, w, digits);
        NN_Assign(u1, v1, digits);
        NN_Assign(v1, t1, digits);
        NN_Assign(u3, v3, digits);
        NN_Assign(v3, t3, digits);
        u1Sign = -u1Sign;
    }
    if (u1Sign < 0) {
        NN_Sub(a, c, u1, digits);
    } else {
        NN_Assign(a, u1, digits);
    }
    std::memset(q, 0, sizeof q);
    std::memset(t1, 0, sizeof t1);
    std::memset(t3, 0, sizeof t3);
    std::memset(u1, 0, sizeof u1);
    std::memset(u3, 0, sizeof u3);
    std::memset(v1, 0, sizeof v1);
    std::memset(v3, 0, sizeof v3);
    std::memset(w, 0, sizeof w);
}

POS_API void NN_Gcd(NN_DIGIT *a, const NN_DIGIT *b, const NN_DIGIT *c, unsigned int digits) {
    if (digits > NN_MAX_DIGITS) return;
    NN_DIGIT t[NN_MAX_DIGITS], u[NN_MAX_DIGITS], v[NN_MAX_DIGITS];
    NN_Assign(t, b, digits);
    NN_Assign(u, c, digits);
    while (!NN_Zero(u, digits)) {
        NN_Mod(v, t, digits, u, digits);
        NN_Assign(t, u, digits);
        NN_Assign(u, v, digits);
    }
    NN_Assign(a, t, digits);
}

POS_API int NN_Cmp(const NN_DIGIT *a, const NN_DIGIT *b, unsigned int digits) {
    for (unsigned i = digits; i-- > 0;) {
        if (a[i] > b[i]) return 1;
        if (a[i] < b[i]) return -1;
    }
    return 0;
}

POS_API int NN_Zero(const NN_DIGIT *a, unsigned int digits) {
    for (unsigned i = 0; i < digits; ++i) {
        if (a[i] != 0) return 0;
    }
    return 1;
}

POS_API unsigned int NN_Digits(const NN_DIGIT *a, unsigned int digits) {
    unsigned i = digits;
    while (i > 0 && a[i - 1] == 0) --i;
    return i;
}

POS_API unsigned int NN_Bits(const NN_DIGIT *a, unsigned int digits) {
    unsigned n = NN_Digits(a, digits);
    return n == 0 ? 0 : (n - 1) * kDigitBits + digitBits(a[n - 1]);
}

POS_API void NN_DigitMult(NN_DIGIT a[2], NN_DIGIT b, NN_DIGIT c) {
    uint64_t p = uint64_t{b} * c;
    a[0] = static_cast<NN_DIGIT>(p);
    a[1] = static_cast<NN_DIGIT>(p >> 32);
}

POS_API void NN_DigitDiv(NN_DIGIT *a, const NN_DIGIT b[2], NN_DIGIT c) {
    // The classic routine assumes b[1] < c; outside that the quotient is cut to one digit
    // rather than left undefined, and a zero divisor gives all ones instead of a trap.
    if (c == 0) {
        *a = 0xFFFFFFFFu;
        return;
    }
    *a = static_cast<NN_DIGIT>(((uint64_t{b[1]} << 32) | b[0]) / c);
}

}  // extern "C"
