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

// The arithmetic is instantiated for the common RSA sizes so the compiler sees constant
// trip counts; kLimbs 0 means the count is read from the modulus at run time.
template <unsigned kLimbs>
inline unsigned limbsOf(const Modulus &m) {
    return kLimbs ? kLimbs : m.limbs;
}

// A three-word accumulator for product scanning: each column of the product is summed in
// registers instead of being carried through memory row by row.
struct Accumulator {
    uint64_t lo = 0, mid = 0, hi = 0;

    inline void add(u128 p) {
        u128 t = (u128{mid} << 64 | lo) + p;
        hi += t < p;
        lo = static_cast<uint64_t>(t);
        mid = static_cast<uint64_t>(t >> 64);
    }
#if defined(__x86_64__)
    // One multiply and a three-word carry chain. The compiler's version of the same step
    // shuffles the 128-bit product through extra registers and made RSA ~15% slower.
    inline void mulAdd(uint64_t a, uint64_t b) {
        uint64_t high;
        __asm__(
            "mulq %[b]\n\t"
            "addq %%rax, %[lo]\n\t"
            "adcq %%rdx, %[mid]\n\t"
            "adcq $0, %[hi]"
            : [lo] "+r"(lo), [mid] "+r"(mid), [hi] "+r"(hi), "+a"(a), "=d"(high)
            : [b] "rm"(b)
            : "cc");
        (void)high;
    }
#else
    inline void mulAdd(uint64_t a, uint64_t b) {
        add(u128{a} * b);
    }
#endif
    // Moves on to the next column, returning the finished low word.
    inline uint64_t shift() {
        uint64_t out = lo;
        lo = mid;
        mid = hi;
        hi = 0;
        return out;
    }
};

// acc += a[0] * b[0] + a[1] * b[-1] + ... over count products (b runs backwards), four
// at a time so the loop's own bookkeeping stays out of the multiplications.
inline void mulAddRun(Accumulator &acc, const uint64_t *a, const uint64_t *b, unsigned count) {
    const uint64_t *end = a + count;
    for (; a + 4 <= end; a += 4, b -= 4) {
        acc.mulAdd(a[0], b[0]);
        acc.mulAdd(a[1], b[-1]);
        acc.mulAdd(a[2], b[-2]);
        acc.mulAdd(a[3], b[-3]);
    }
    for (; a < end; ++a, --b) acc.mulAdd(*a, *b);
}

// Subtracts n once if u (s limbs plus an overflow word) is not below n.
template <unsigned kLimbs>
void finalSubtract(uint64_t *out, const uint64_t *u, uint64_t overflow, const Modulus &m) {
    const unsigned s = limbsOf<kLimbs>(m);
    bool subtract = overflow != 0;
    if (!subtract) {
        subtract = true;  // u == n also subtracts
        for (unsigned i = s; i-- > 0;) {
            if (u[i] != m.n[i]) {
                subtract = u[i] > m.n[i];
                break;
            }
        }
    }
    if (subtract) {
        uint64_t borrow = 0;
        for (unsigned i = 0; i < s; ++i) {
            u128 t = u128{u[i]} - m.n[i] - borrow;
            out[i] = static_cast<uint64_t>(t);
            borrow = static_cast<uint64_t>(t >> 64) & 1;
        }
    } else {
        std::memcpy(out, u, s * sizeof(uint64_t));
    }
}

// out <- x * y * R^-1 mod n, summing x*y + q*n column by column (the quotient digits q are
// found as the low columns complete). With kSquare, y is x and each cross product is
// computed once and doubled.
template <unsigned kLimbs, bool kSquare>
void montProduct(uint64_t *out, const uint64_t *x, const uint64_t *y, const Modulus &m) {
    const unsigned s = limbsOf<kLimbs>(m);
    const uint64_t *n = m.n;
    uint64_t q[kMaxLimbs], u[kMaxLimbs];
    Accumulator acc;

    // Adds the products x[j] * y[col - j] for j in [from, to] to acc.
    auto addProducts = [&](unsigned col, unsigned from, unsigned to) {
        if (!kSquare) {
            mulAddRun(acc, x + from, y + (col - from), to - from + 1);
            return;
        }
        // Pairs j < col - j once, doubled; then the square term of an even column.
        const unsigned end = (col + 1) / 2;  // first j with j >= col - j
        Accumulator cross;
        if (end > from) mulAddRun(cross, x + from, x + (col - from), end - from);
        acc.add(u128{cross.mid << 1 | cross.lo >> 63} << 64 | cross.lo << 1);
        acc.hi += cross.hi << 1 | cross.mid >> 63;
        if (col % 2 == 0) acc.mulAdd(x[col / 2], x[col / 2]);
    };

    for (unsigned col = 0; col < s; ++col) {
        addProducts(col, 0, col);
        mulAddRun(acc, q, n + col, col);
        q[col] = acc.lo * m.n0inv;
        acc.mulAdd(q[col], n[0]);  // clears the low word
        acc.shift();
    }
    for (unsigned col = s; col < 2 * s - 1; ++col) {
        const unsigned from = col - s + 1;
        addProducts(col, from, s - 1);
        mulAddRun(acc, q + from, n + (col - from), s - from);
        u[col - s] = acc.shift();
    }
    u[s - 1] = acc.shift();
    finalSubtract<kLimbs>(out, u, acc.lo, m);
}

template <unsigned kLimbs>
void montMul(uint64_t *out, const uint64_t *x, const uint64_t *y, const Modulus &m) {
    montProduct<kLimbs, false>(out, x, y, m);
}

template <unsigned kLimbs>
void montSqr(uint64_t *out, const uint64_t *x, const Modulus &m) {
    montProduct<kLimbs, true>(out, x, x, m);
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

// rr <- R^2 mod n = 2^(128 * limbs) mod n, by Knuth's long division on 64-bit limbs.
void squareOfR(uint64_t *rr, const Modulus &m) {
    const unsigned s = m.limbs;
    const unsigned shift = static_cast<unsigned>(__builtin_clzll(m.n[s - 1]));
    uint64_t dn[kMaxLimbs];
    for (unsigned i = s; i-- > 0;) {
        dn[i] = m.n[i] << shift;
        if (shift && i > 0) dn[i] |= m.n[i - 1] >> (64 - shift);
    }
    // The dividend 2^(128 s), normalised like the divisor: 2s + 1 limbs and a spare one.
    uint64_t un[2 * kMaxLimbs + 2] = {};
    un[2 * s] = uint64_t{1} << shift;

    const uint64_t top = dn[s - 1];
    const uint64_t next = s >= 2 ? dn[s - 2] : 0;
    for (int j = static_cast<int>(s) + 1; j >= 0; --j) {
        const u128 num = u128{un[j + s]} << 64 | un[j + s - 1];
        u128 qhat = num / top;
        u128 rhat = num % top;
        const uint64_t below = s >= 2 ? un[j + s - 2] : 0;
        while (qhat >> 64 || (s >= 2 && qhat * next > (rhat << 64 | below))) {
            --qhat;
            rhat += top;
            if (rhat >> 64) break;
        }
        const uint64_t q = static_cast<uint64_t>(qhat);
        uint64_t carry = 0, borrow = 0;
        for (unsigned i = 0; i < s; ++i) {
            u128 p = u128{q} * dn[i] + carry;
            carry = static_cast<uint64_t>(p >> 64);
            u128 diff = u128{un[i + j]} - static_cast<uint64_t>(p) - borrow;
            un[i + j] = static_cast<uint64_t>(diff);
            borrow = static_cast<uint64_t>(diff >> 64) & 1;
        }
        u128 diff = u128{un[j + s]} - carry - borrow;
        un[j + s] = static_cast<uint64_t>(diff);
        if ((diff >> 64) != 0) {  // q was one too large: add the divisor back
            uint64_t c = 0;
            for (unsigned i = 0; i < s; ++i) {
                u128 sum = u128{un[i + j]} + dn[i] + c;
                un[i + j] = static_cast<uint64_t>(sum);
                c = static_cast<uint64_t>(sum >> 64);
            }
            un[j + s] += c;
        }
    }
    for (unsigned i = 0; i < s; ++i) {
        rr[i] = un[i] >> shift;
        if (shift && i + 1 < s) rr[i] |= un[i + 1] << (64 - shift);
        if (shift && i + 1 == s) rr[i] |= un[s] << (64 - shift);
    }
}

unsigned windowFor(unsigned bits) {
    if (bits <= 24) return 1;
    if (bits <= 96) return 3;
    if (bits <= 384) return 4;
    if (bits <= 1024) return 5;
    return kMaxWindow;
}

bool bitOf(const NN_DIGIT *c, unsigned k) {
    return (c[k / 32] >> (k % 32)) & 1;
}

// acc <- x^c in Montgomery form by a left-to-right sliding window; c is not zero.
template <unsigned kLimbs>
void exponentiate(uint64_t *acc, const uint64_t *x, const NN_DIGIT *c, unsigned bits,
                  const Modulus &m) {
    const unsigned s = m.limbs;
    // Odd powers x, x^3, ..., x^(2^w - 1).
    const unsigned w = windowFor(bits);
    uint64_t table[1u << (kMaxWindow - 1)][kMaxLimbs];
    std::memcpy(table[0], x, s * sizeof(uint64_t));
    if (w > 1) {
        uint64_t x2[kMaxLimbs];
        montSqr<kLimbs>(x2, x, m);
        for (unsigned i = 1; i < (1u << (w - 1)); ++i) {
            montMul<kLimbs>(table[i], table[i - 1], x2, m);
        }
    }

    bool started = false;
    for (int i = static_cast<int>(bits) - 1; i >= 0;) {
        if (!bitOf(c, static_cast<unsigned>(i))) {
            if (started) montSqr<kLimbs>(acc, acc, m);
            --i;
            continue;
        }
        int low = i - static_cast<int>(w) + 1;
        if (low < 0) low = 0;
        while (!bitOf(c, static_cast<unsigned>(low))) ++low;
        unsigned value = 0;
        for (int k = i; k >= low; --k) value = value << 1 | bitOf(c, static_cast<unsigned>(k));
        if (started) {
            for (int k = i; k >= low; --k) montSqr<kLimbs>(acc, acc, m);
            montMul<kLimbs>(acc, acc, table[value / 2], m);
        } else {
            std::memcpy(acc, table[value / 2], s * sizeof(uint64_t));
            started = true;
        }
        i = low - 1;
    }
    std::memset(table, 0, sizeof table);
}

// x in Montgomery form, raised to c, and brought back: acc <- x^c mod n (x given as b mod n).
template <unsigned kLimbs>
void modExp(uint64_t *result, uint64_t *x, const NN_DIGIT *c, unsigned bits, const Modulus &m) {
    uint64_t rr[kMaxLimbs];
    squareOfR(rr, m);
    montMul<kLimbs>(x, x, rr, m);
    exponentiate<kLimbs>(result, x, c, bits, m);
    // Leave Montgomery form: multiply by 1.
    uint64_t one[kMaxLimbs] = {1};
    montMul<kLimbs>(result, result, one, m);
}

}  // namespace

void montgomeryModExp(NN_DIGIT *a, const NN_DIGIT *b, const NN_DIGIT *c, unsigned cDigits,
                      const NN_DIGIT *d, unsigned dDigits) {
    const unsigned nDigits = NN_Digits(d, dDigits);
    const unsigned bits = NN_Bits(c, cDigits);
    if (bits == 0) {
        // b^0 = 1, which is 0 modulo 1.
        NN_AssignZero(a, dDigits);
        a[0] = nDigits == 1 && d[0] == 1 ? 0 : 1;
        return;
    }

    Modulus m;
    setUp(m, d, nDigits);
    uint64_t x[kMaxLimbs], result[kMaxLimbs];
    if (NN_Cmp(b, d, dDigits) >= 0) {
        NN_DIGIT reduced[NN_MAX_DIGITS];
        NN_Mod(reduced, b, dDigits, d, nDigits);
        toLimbs(x, m.limbs, reduced, nDigits);
        std::memset(reduced, 0, sizeof reduced);
    } else {
        toLimbs(x, m.limbs, b, nDigits);
    }

    switch (m.limbs) {
        case 8:
            modExp<8>(result, x, c, bits, m);
            break;  // 512-bit moduli
        case 16:
            modExp<16>(result, x, c, bits, m);
            break;  // 1024
        case 32:
            modExp<32>(result, x, c, bits, m);
            break;  // 2048
        default:
            modExp<0>(result, x, c, bits, m);
            break;
    }
    fromLimbs(a, dDigits, result, m.limbs);
    std::memset(x, 0, sizeof x);
    std::memset(result, 0, sizeof result);
}

}  // namespace pos::nn
