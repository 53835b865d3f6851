// Montgomery arithmetic on 64-bit limbs. A number x is held as x * R mod n with
// R = 2^(64 * limbs), so each modular product costs two multiplications instead of a
// division. Timing depends on the exponent's bits: meant for public-key operations.
#include "crypto/Montgomery.h"

#include <cstring>

namespace pos::nn {
namespace {

using u128 = unsigned __int128;

constexpr unsigned kMaxLimbs = (NN_MAX_DIGITS + 1) / 2;
constexpr unsigned kMaxWindow = 6;

struct Modulus {
    unsigned limbs;
    uint64_t n[kMaxLimbs];
    uint64_t n0inv;  // -n^-1 mod 2^64
};

void toLimbs(uint64_t *out, unsigned limbs, const NN_DIGIT *in, unsigned digits) {
    for (unsigned i = 0; i < limbs; ++i) {
        uint64_t lo = 2 * i < digits ? in[2 * i] : 0;
        uint64_t hi = 2 * i + 1 < digits ? in[2 * i + 1] : 0;
        out[i] = lo | hi << 32;
    }
}

void fromLimbs(NN_DIGIT *out, unsigned digits, const uint64_t *in, unsigned limbs) {
    for (unsigned i = 0; i < digits; ++i) {
        out[i] = i / 2 < limbs ? static_cast<NN_DIGIT>(in[i / 2] >> (32 * (i % 2))) : 0;
    }
}

// out <- p * R^-1 mod n for p < n * R held in 2 * limbs limbs (p is consumed).
void reduce(uint64_t *out, uint64_t *p, const Modulus &m) {
    const unsigned s = m.limbs;
    uint64_t top = 0;
    for (unsigned i = 0; i < s; ++i) {
        const uint64_t q = p[i] * m.n0inv;
        uint64_t carry = 0;
        for (unsigned j = 0; j < s; ++j) {
            u128 t = u128{q} * m.n[j] + p[i + j] + carry;
            p[i + j] = static_cast<uint64_t>(t);
            carry = static_cast<uint64_t>(t >> 64);
        }
        u128 t = u128{p[i + s]} + carry + top;
        p[i + s] = static_cast<uint64_t>(t);
        top = static_cast<uint64_t>(t >> 64);
    }
    const uint64_t *r = p + s;
    bool subtract = top != 0;
    if (!subtract) {
        subtract = true;  // r == n also subtracts
        for (unsigned i = s; i-- > 0;) {
            if (r[i] != m.n[i]) {
                subtract = r[i] > m.n[i];
                break;
            }
        }
    }
    if (subtract) {
        uint64_t borrow = 0;
        for (unsigned i = 0; i < s; ++i) {
            u128 t = u128{r[i]} - m.n[i] - borrow;
            out[i] = static_cast<uint64_t>(t);
            borrow = static_cast<uint64_t>(t >> 64) & 1;
        }
    } else {
        std::memcpy(out, r, s * sizeof(uint64_t));
    }
}

void montMul(uint64_t *out, const uint64_t *x, const uint64_t *y, const Modulus &m) {
    const unsigned s = m.limbs;
    uint64_t p[2 * kMaxLimbs] = {};
    for (unsigned i = 0; i < s; ++i) {
        uint64_t carry = 0;
        const uint64_t xi = x[i];
        for (unsigned j = 0; j < s; ++j) {
            u128 t = u128{xi} * y[j] + p[i + j] + carry;
            p[i + j] = static_cast<uint64_t>(t);
            carry = static_cast<uint64_t>(t >> 64);
        }
        p[i + s] = carry;
    }
    reduce(out, p, m);
}

// Squaring computes each cross product once and doubles the sum.
void montSqr(uint64_t *out, const uint64_t *x, const Modulus &m) {
    const unsigned s = m.limbs;
    uint64_t p[2 * kMaxLimbs] = {};
    for (unsigned i = 0; i + 1 < s; ++i) {
        uint64_t carry = 0;
        const uint64_t xi = x[i];
        for (unsigned j = i + 1; j < s; ++j) {
            u128 t = u128{xi} * x[j] + p[i + j] + carry;
            p[i + j] = static_cast<uint64_t>(t);
            carry = static_cast<uint64_t>(t >> 64);
        }
        p[i + s] = carry;
    }
    for (unsigned i = 2 * s - 1; i > 0; --i) p[i] = p[i] << 1 | p[i - 1] >> 63;
    p[0] <<= 1;
    uint64_t carry = 0;
    for (unsigned i = 0; i < s; ++i) {
        u128 sq = u128{x[i]} * x[i];
        u128 t = u128{p[2 * i]} + static_cast<uint64_t>(sq) + carry;
        p[2 * i] = static_cast<uint64_t>(t);
        t = u128{p[2 * i + 1]} + static_cast<uint64_t>(sq >> 64) + static_cast<uint64_t>(t >> 64);
        p[2 * i + 1] = static_cast<uint64_t>(t);
        carry = static_cast<uint64_t>(t >> 64);
    }
    reduce(out, p, m);
}

void setUp(Modulus &m, const NN_DIGIT *d, unsigned digits) {
    m.limbs = (digits + 1) / 2;
    toLimbs(m.n, m.limbs, d, digits);
    // Newton's iteration doubles the correct low bits of the inverse each step; an odd n0
    // is its own inverse modulo 8, so five steps reach 96 bits.
    uint64_t inv = m.n[0];
    for (int i = 0; i < 5; ++i) inv *= 2 - m.n[0] * inv;
    m.n0inv = 0 - inv;
}

unsigned windowFor(unsigned bits) {
    if (bits <= 24) return 1;
    if (bits <= 96) return 3;
    if (bits <= 384) return 4;
    if (bits <= 1024) return 5;
    return kMaxWindow;
}

bool bitOf(const NN_DIGIT *c, unsigned k) { return (c[k / 32] >> (k % 32)) & 1; }

}  // namespace

void montgomeryModExp(NN_DIGIT *a, const NN_DIGIT *b, const NN_DIGIT *c, unsigned cDigits,
                      const NN_DIGIT *d, unsigned dDigits) {
    const unsigned nDigits = NN_Digits(d, dDigits);
    Modulus m;
    setUp(m, d, nDigits);
    const unsigned s = m.limbs;

    // R^2 mod n converts into Montgomery form.
    NN_DIGIT wide[4 * kMaxLimbs + 1] = {};
    wide[4 * s] = 1;
    NN_DIGIT digits[NN_MAX_DIGITS] = {};
    wideMod(digits, wide, 4 * s + 1, d, nDigits);
    uint64_t rr[kMaxLimbs], x[kMaxLimbs], acc[kMaxLimbs];
    toLimbs(rr, s, digits, nDigits);

    if (NN_Cmp(b, d, dDigits) >= 0) {
        NN_Mod(digits, b, dDigits, d, nDigits);
        toLimbs(x, s, digits, nDigits);
    } else {
        toLimbs(x, s, b, nDigits);
    }
    montMul(x, x, rr, m);

    const unsigned bits = NN_Bits(c, cDigits);
    if (bits == 0) {
        // b^0 = 1, which is 0 modulo 1.
        NN_AssignZero(a, dDigits);
        a[0] = nDigits == 1 && d[0] == 1 ? 0 : 1;
        return;
    }

    // Odd powers x, x^3, ..., x^(2^w - 1) for a sliding window of w bits.
    const unsigned w = windowFor(bits);
    uint64_t table[1u << (kMaxWindow - 1)][kMaxLimbs];
    std::memcpy(table[0], x, s * sizeof(uint64_t));
    if (w > 1) {
        uint64_t x2[kMaxLimbs];
        montSqr(x2, x, m);
        for (unsigned i = 1; i < (1u << (w - 1)); ++i) montMul(table[i], table[i - 1], x2, m);
    }

    bool started = false;
    for (int i = static_cast<int>(bits) - 1; i >= 0;) {
        if (!bitOf(c, static_cast<unsigned>(i))) {
            if (started) montSqr(acc, acc, m);
            --i;
            continue;
        }
        int low = i - static_cast<int>(w) + 1;
        if (low < 0) low = 0;
        while (!bitOf(c, static_cast<unsigned>(low))) ++low;
        unsigned value = 0;
        for (int k = i; k >= low; --k) value = value << 1 | bitOf(c, static_cast<unsigned>(k));
        if (started) {
            for (int k = i; k >= low; --k) montSqr(acc, acc, m);
            montMul(acc, acc, table[value / 2], m);
        } else {
            std::memcpy(acc, table[value / 2], s * sizeof(uint64_t));
            started = true;
        }
        i = low - 1;
    }

    // Leave Montgomery form: multiply by 1.
    uint64_t p[2 * kMaxLimbs] = {};
    std::memcpy(p, acc, s * sizeof(uint64_t));
    reduce(acc, p, m);
    fromLimbs(a, dDigits, acc, s);

    std::memset(table, 0, sizeof table);
    std::memset(x, 0, sizeof x);
    std::memset(acc, 0, sizeof acc);
    std::memset(digits, 0, sizeof digits);
}

}  // namespace pos::nn
