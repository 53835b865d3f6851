// Montgomery arithmetic on 64-bit limbs (32-bit limbs on processors without a 128-bit
// integer type). A number x is held as x * R mod n with R = 2^(limb bits * limbs), so each
// modular product costs two multiplications instead of a division; RSA-2048 moduli use 52-bit
// limbs in vector registers where the processor has AVX-512 IFMA. Timing depends on the
// exponent's bits: meant for public-key operations.
#include "crypto/Montgomery.h"

#include <cstring>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace pos::nn {
namespace {

// A limb and the double-width type that holds a product of two limbs.
#if defined(__SIZEOF_INT128__)
using Limb = uint64_t;
using Wide = unsigned __int128;
#else
using Limb = uint32_t;  // 32-bit processors: the digits themselves
using Wide = uint64_t;
#endif
constexpr unsigned kLimbBits = 8 * sizeof(Limb);
constexpr unsigned kDigitsPerLimb = sizeof(Limb) / sizeof(NN_DIGIT);
static_assert(kDigitsPerLimb * sizeof(NN_DIGIT) == sizeof(Limb), "a limb holds whole digits");

constexpr unsigned kMaxLimbs = (NN_MAX_DIGITS + kDigitsPerLimb - 1) / kDigitsPerLimb;
constexpr unsigned kMaxWindow = 6;

struct Modulus {
    unsigned limbs;
    Limb n[kMaxLimbs];
    Limb n0inv;  // -n^-1 mod 2^kLimbBits
};

void toLimbs(Limb *out, unsigned limbs, const NN_DIGIT *in, unsigned digits) {
    for (unsigned i = 0; i < limbs; ++i) {
        out[i] = 0;
        for (unsigned k = 0; k < kDigitsPerLimb; ++k) {
            const unsigned digit = kDigitsPerLimb * i + k;
            if (digit < digits) out[i] |= Limb{in[digit]} << (32 * k);
        }
    }
}

void fromLimbs(NN_DIGIT *out, unsigned digits, const Limb *in, unsigned limbs) {
    for (unsigned i = 0; i < digits; ++i) {
        const unsigned limb = i / kDigitsPerLimb;
        out[i] = limb < limbs ? static_cast<NN_DIGIT>(in[limb] >> (32 * (i % kDigitsPerLimb))) : 0;
    }
}

inline unsigned leadingZeros(Limb x) {
    return static_cast<unsigned>(sizeof(Limb) == 8 ? __builtin_clzll(x) : __builtin_clz(x));
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
    Limb lo = 0, mid = 0, hi = 0;

    inline void add(Wide p) {
        Wide t = (Wide{mid} << kLimbBits | lo) + p;
        hi += t < p;
        lo = static_cast<Limb>(t);
        mid = static_cast<Limb>(t >> kLimbBits);
    }
#if defined(__x86_64__)
    // One multiply and a three-word carry chain. The compiler's version of the same step
    // shuffles the 128-bit product through extra registers and made RSA ~15% slower.
    inline void mulAdd(Limb a, Limb b) {
        Limb high;
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
    inline void mulAdd(Limb a, Limb b) {
        add(Wide{a} * b);
    }
#endif
    // Moves on to the next column, returning the finished low word.
    inline Limb shift() {
        Limb out = lo;
        lo = mid;
        mid = hi;
        hi = 0;
        return out;
    }
};

// acc += a[0] * b[0] + a[1] * b[-1] + ... over count products (b runs backwards), four
// at a time so the loop's own bookkeeping stays out of the multiplications.
inline void mulAddRun(Accumulator &acc, const Limb *a, const Limb *b, unsigned count) {
    const Limb *end = a + count;
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
void finalSubtract(Limb *out, const Limb *u, Limb overflow, const Modulus &m) {
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
        Limb borrow = 0;
        for (unsigned i = 0; i < s; ++i) {
            Wide t = Wide{u[i]} - m.n[i] - borrow;
            out[i] = static_cast<Limb>(t);
            borrow = static_cast<Limb>(t >> kLimbBits) & 1;
        }
    } else {
        std::memcpy(out, u, s * sizeof(Limb));
    }
}

// out <- x * y * R^-1 mod n, summing x*y + q*n column by column (the quotient digits q are
// found as the low columns complete). With kSquare, y is x and each cross product is
// computed once and doubled.
template <unsigned kLimbs, bool kSquare>
void montProduct(Limb *out, const Limb *x, const Limb *y, const Modulus &m) {
    const unsigned s = limbsOf<kLimbs>(m);
    const Limb *n = m.n;
    Limb q[kMaxLimbs], u[kMaxLimbs];
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
        acc.add(Wide{cross.mid << 1 | cross.lo >> (kLimbBits - 1)} << kLimbBits | cross.lo << 1);
        acc.hi += cross.hi << 1 | cross.mid >> (kLimbBits - 1);
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

// out <- x * R^-1 mod n: the reduction alone, which takes a number out of Montgomery form at
// half the cost of a product with 1.
template <unsigned kLimbs>
void montReduce(Limb *out, const Limb *x, const Modulus &m) {
    const unsigned s = limbsOf<kLimbs>(m);
    const Limb *n = m.n;
    Limb q[kMaxLimbs], u[kMaxLimbs];
    Accumulator acc;
    for (unsigned col = 0; col < s; ++col) {
        acc.add(x[col]);
        mulAddRun(acc, q, n + col, col);
        q[col] = acc.lo * m.n0inv;
        acc.mulAdd(q[col], n[0]);  // clears the low word
        acc.shift();
    }
    for (unsigned col = s; col < 2 * s - 1; ++col) {
        const unsigned from = col - s + 1;
        mulAddRun(acc, q + from, n + (col - from), s - from);
        u[col - s] = acc.shift();
    }
    u[s - 1] = acc.shift();
    finalSubtract<kLimbs>(out, u, acc.lo, m);
}

template <unsigned kLimbs>
void montMul(Limb *out, const Limb *x, const Limb *y, const Modulus &m) {
    montProduct<kLimbs, false>(out, x, y, m);
}

template <unsigned kLimbs>
void montSqr(Limb *out, const Limb *x, const Modulus &m) {
    montProduct<kLimbs, true>(out, x, x, m);
}

void setUp(Modulus &m, const NN_DIGIT *d, unsigned digits) {
    m.limbs = (digits + kDigitsPerLimb - 1) / kDigitsPerLimb;
    toLimbs(m.n, m.limbs, d, digits);
    // Newton's iteration doubles the correct low bits of the inverse each step; an odd n0
    // is its own inverse modulo 8, so five steps reach 96 bits.
    Limb inv = m.n[0];
    for (int i = 0; i < 5; ++i) inv *= 2 - m.n[0] * inv;
    m.n0inv = 0 - inv;
}

// q, r <- (hi:lo) div and mod d, for a normalised d (top bit set). The quotient may need
// more than one limb only when hi >= d; the processor's divide takes every other case in one
// instruction, where the compiler would call a 128-bit division twice.
inline void divideWide(Limb hi, Limb lo, Limb d, Wide &q, Wide &r) {
#if defined(__x86_64__)
    if (hi < d) {
        Limb quotient, remainder;
        __asm__("divq %[d]" : "=a"(quotient), "=d"(remainder) : [d] "rm"(d), "a"(lo), "d"(hi));
        q = quotient;
        r = remainder;
        return;
    }
#endif
    const Wide num = Wide{hi} << kLimbBits | lo;
    q = num / d;
    r = num % d;
}

// out <- x * 2^shiftBits mod n (x below n, shiftBits at most one limb more than the modulus's),
// by Knuth's long division on limbs. With shiftBits = kLimbBits * limbs it takes x into
// Montgomery form, at
// about half the cost of computing R^2 mod n and multiplying by it.
void shiftedMod(Limb *out, const Limb *x, unsigned shiftBits, const Modulus &m) {
    const unsigned s = m.limbs;
    const unsigned shift = leadingZeros(m.n[s - 1]);
    Limb dn[kMaxLimbs];
    for (unsigned i = s; i-- > 0;) {
        dn[i] = m.n[i] << shift;
        if (shift && i > 0) dn[i] |= m.n[i - 1] >> (kLimbBits - shift);
    }
    // The dividend x * 2^shiftBits, normalised like the divisor: at most 2s + 2 limbs.
    Limb un[2 * kMaxLimbs + 3] = {};
    const unsigned limbShift = (shiftBits + shift) / kLimbBits,
                   bitShift = (shiftBits + shift) % kLimbBits;
    for (unsigned i = 0; i < s; ++i) {
        un[limbShift + i] |= x[i] << bitShift;
        if (bitShift) un[limbShift + i + 1] |= x[i] >> (kLimbBits - bitShift);
    }
    const Limb top = dn[s - 1];
    const Limb next = s >= 2 ? dn[s - 2] : 0;
    for (int j = static_cast<int>(s) + 1; j >= 0; --j) {
        Wide qhat, rhat;
        divideWide(un[j + s], un[j + s - 1], top, qhat, rhat);
        const Limb below = s >= 2 ? un[j + s - 2] : 0;
        while (qhat >> kLimbBits || (s >= 2 && qhat * next > (rhat << kLimbBits | below))) {
            --qhat;
            rhat += top;
            if (rhat >> kLimbBits) break;
        }
        const Limb q = static_cast<Limb>(qhat);
        Limb carry = 0, borrow = 0;
        for (unsigned i = 0; i < s; ++i) {
            Wide p = Wide{q} * dn[i] + carry;
            carry = static_cast<Limb>(p >> kLimbBits);
            Wide diff = Wide{un[i + j]} - static_cast<Limb>(p) - borrow;
            un[i + j] = static_cast<Limb>(diff);
            borrow = static_cast<Limb>(diff >> kLimbBits) & 1;
        }
        Wide diff = Wide{un[j + s]} - carry - borrow;
        un[j + s] = static_cast<Limb>(diff);
        if ((diff >> kLimbBits) != 0) {  // q was one too large: add the divisor back
            Limb c = 0;
            for (unsigned i = 0; i < s; ++i) {
                Wide sum = Wide{un[i + j]} + dn[i] + c;
                un[i + j] = static_cast<Limb>(sum);
                c = static_cast<Limb>(sum >> kLimbBits);
            }
            un[j + s] += c;
        }
    }
    for (unsigned i = 0; i < s; ++i) {
        out[i] = un[i] >> shift;
        if (shift && i + 1 < s) out[i] |= un[i + 1] << (kLimbBits - shift);
        if (shift && i + 1 == s) out[i] |= un[s] << (kLimbBits - shift);
    }
    std::memset(un, 0, sizeof un);
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

// The limb arithmetic, for the exponentiation below.
template <unsigned kLimbs>
struct LimbArithmetic {
    struct Number {
        Limb w[kMaxLimbs];
    };
    const Modulus &m;
    unsigned limbs() const { return m.limbs; }
    void sqr(Number &out, const Number &x) const { montSqr<kLimbs>(out.w, x.w, m); }
    void mul(Number &out, const Number &x, const Number &y) const {
        montMul<kLimbs>(out.w, x.w, y.w, m);
    }
};

// acc <- x^c in Montgomery form by a left-to-right sliding window; c is not zero.
template <typename Arithmetic>
void exponentiate(const Arithmetic &ar, typename Arithmetic::Number &acc,
                  const typename Arithmetic::Number &x, const NN_DIGIT *c, unsigned bits) {
    using Number = typename Arithmetic::Number;
    // Odd powers x, x^3, ..., x^(2^w - 1).
    const unsigned w = windowFor(bits);
    Number table[1u << (kMaxWindow - 1)];
    table[0] = x;
    if (w > 1) {
        Number x2;
        ar.sqr(x2, x);
        for (unsigned i = 1; i < (1u << (w - 1)); ++i) ar.mul(table[i], table[i - 1], x2);
    }

    bool started = false;
    for (int i = static_cast<int>(bits) - 1; i >= 0;) {
        if (!bitOf(c, static_cast<unsigned>(i))) {
            if (started) ar.sqr(acc, acc);
            --i;
            continue;
        }
        int low = i - static_cast<int>(w) + 1;
        if (low < 0) low = 0;
        while (!bitOf(c, static_cast<unsigned>(low))) ++low;
        unsigned value = 0;
        for (int k = i; k >= low; --k) value = value << 1 | bitOf(c, static_cast<unsigned>(k));
        if (started) {
            for (int k = i; k >= low; --k) ar.sqr(acc, acc);
            ar.mul(acc, acc, table[value / 2]);
        } else {
            acc = table[value / 2];
            started = true;
        }
        i = low - 1;
    }
    std::memset(table, 0, sizeof table);
}

// x in Montgomery form, raised to c, and brought back: result <- x^c mod n (x below n).
template <unsigned kLimbs>
void modExp(Limb *result, const Limb *x, const NN_DIGIT *c, unsigned bits, const Modulus &m) {
    using Number = typename LimbArithmetic<kLimbs>::Number;
    Number base, acc;
    shiftedMod(base.w, x, kLimbBits * m.limbs, m);
    exponentiate(LimbArithmetic<kLimbs>{m}, acc, base, c, bits);
    montReduce<kLimbs>(result, acc.w, m);
    std::memset(&base, 0, sizeof base);
    std::memset(&acc, 0, sizeof acc);
}

#if defined(__x86_64__)
// Moduli of 32 limbs (RSA-2048) on processors with AVX-512 IFMA: 40 limbs of 52 bits in five
// vector registers, each vpmadd52 instruction doing eight limb products. The Montgomery
// radix is 2^2080, more than four times any such modulus, so products of numbers below 2n
// stay below 2n ("almost Montgomery" multiplication) and need no final subtraction until the
// very end.
namespace wide {

constexpr unsigned kLimbs52 = 40;
constexpr unsigned kRadixBits = 52 * kLimbs52;
constexpr uint64_t kMask52 = (uint64_t{1} << 52) - 1;

struct Modulus52 {
    alignas(64) uint64_t n[kLimbs52];
    uint64_t k0;  // -n^-1 mod 2^52
};

struct Arithmetic {
    struct alignas(64) Number {
        uint64_t w[kLimbs52];
    };
    const Modulus52 &m;
    void sqr(Number &out, const Number &x) const;
    void mul(Number &out, const Number &x, const Number &y) const;
};

void to52(uint64_t *out, const uint64_t *in, unsigned limbs) {
    for (unsigned j = 0; j < kLimbs52; ++j) {
        const unsigned bit = 52 * j, word = bit / 64, offset = bit % 64;
        uint64_t v = word < limbs ? in[word] >> offset : 0;
        if (offset > 12 && word + 1 < limbs) v |= in[word + 1] << (64 - offset);
        out[j] = v & kMask52;
    }
}

void from52(uint64_t *out, unsigned limbs, const uint64_t *in) {
    Wide buffer = 0;
    unsigned held = 0, next = 0;
    for (unsigned i = 0; i < limbs; ++i) {
        while (held < 64 && next < kLimbs52) {
            buffer |= Wide{in[next++]} << held;
            held += 52;
        }
        out[i] = static_cast<uint64_t>(buffer);
        buffer >>= 64;
        held = held >= 64 ? held - 64 : 0;
    }
}

// out <- a * b * 2^-2080 mod n, below 2n when a and b are; the limbs of a and b below 2^52.
// (GCC 12 warns about the undefined lanes its own intrinsics start from: a false alarm.)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wuninitialized"
__attribute__((target("avx512f,avx512ifma"))) void almostMontgomeryProduct(uint64_t *out,
                                                                           const uint64_t *a,
                                                                           const uint64_t *b,
                                                                           const Modulus52 &m) {
    __m512i A[5], M[5], R[5];
    for (int k = 0; k < 5; ++k) {
        A[k] = _mm512_loadu_si512(a + 8 * k);
        M[k] = _mm512_load_si512(m.n + 8 * k);
        R[k] = _mm512_setzero_si512();
    }
    const uint64_t k0 = m.k0, m0 = m.n[0];
    for (unsigned i = 0; i < kLimbs52; ++i) {
        const __m512i bi = _mm512_set1_epi64(static_cast<long long>(b[i]));
        for (int k = 0; k < 5; ++k) R[k] = _mm512_madd52lo_epu64(R[k], A[k], bi);
        // The quotient digit that clears the lowest limb, and what that limb carries on.
        const uint64_t r0 = static_cast<uint64_t>(_mm_cvtsi128_si64(_mm512_castsi512_si128(R[0])));
        const uint64_t y = (r0 * k0) & kMask52;
        const uint64_t carry = (r0 + ((m0 * y) & kMask52)) >> 52;
        const __m512i yi = _mm512_set1_epi64(static_cast<long long>(y));
        for (int k = 0; k < 5; ++k) R[k] = _mm512_madd52lo_epu64(R[k], M[k], yi);
        // Drop the cleared limb: every limb moves down one place.
        for (int k = 0; k < 4; ++k) R[k] = _mm512_alignr_epi64(R[k + 1], R[k], 1);
        R[4] = _mm512_alignr_epi64(_mm512_setzero_si512(), R[4], 1);
        R[0] = _mm512_add_epi64(R[0], _mm512_maskz_set1_epi64(1, static_cast<long long>(carry)));
        // The high halves of both products, one place up from their low halves.
        for (int k = 0; k < 5; ++k) {
            R[k] = _mm512_madd52hi_epu64(R[k], A[k], bi);
            R[k] = _mm512_madd52hi_epu64(R[k], M[k], yi);
        }
    }
    // Each limb may hold up to about 2^60: carry it up into 52-bit limbs.
    alignas(64) uint64_t limbs[kLimbs52];
    for (int k = 0; k < 5; ++k) _mm512_store_si512(limbs + 8 * k, R[k]);
    uint64_t carry = 0;
    for (unsigned j = 0; j < kLimbs52; ++j) {
        const uint64_t v = limbs[j] + carry;
        out[j] = v & kMask52;
        carry = v >> 52;
    }
}
#pragma GCC diagnostic pop

void Arithmetic::sqr(Number &out, const Number &x) const {
    almostMontgomeryProduct(out.w, x.w, x.w, m);
}

void Arithmetic::mul(Number &out, const Number &x, const Number &y) const {
    almostMontgomeryProduct(out.w, x.w, y.w, m);
}

bool available() {
    static const bool ifma =
        __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512ifma");
    return ifma;
}

// result <- x^c mod n for a 32-limb modulus and x below it.
void modExp(uint64_t *result, const uint64_t *x, const NN_DIGIT *c, unsigned bits,
            const Modulus &m) {
    Modulus52 m52;
    to52(m52.n, m.n, m.limbs);
    m52.k0 = m.n0inv & kMask52;
    Arithmetic::Number base, acc;
    uint64_t limbs[kMaxLimbs];
    shiftedMod(limbs, x, kRadixBits, m);
    to52(base.w, limbs, m.limbs);
    exponentiate(Arithmetic{m52}, acc, base, c, bits);
    // Out of Montgomery form: a product with 1 gives at most n, and n only for 0.
    Arithmetic::Number one = {};
    one.w[0] = 1;
    almostMontgomeryProduct(acc.w, acc.w, one.w, m52);
    from52(limbs, m.limbs, acc.w);
    finalSubtract<32>(result, limbs, 0, m);
    std::memset(limbs, 0, sizeof limbs);
    std::memset(&base, 0, sizeof base);
    std::memset(&acc, 0, sizeof acc);
}

}  // namespace wide
#endif

// a (dDigits) <- b^c mod d, with WIDE choosing the vector path where it applies.
void modExpOdd(NN_DIGIT *a, const NN_DIGIT *b, const NN_DIGIT *c, unsigned cDigits,
               const NN_DIGIT *d, unsigned dDigits, [[maybe_unused]] bool wide) {
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
    Limb x[kMaxLimbs], result[kMaxLimbs];
    if (NN_Cmp(b, d, dDigits) >= 0) {
        NN_DIGIT reduced[NN_MAX_DIGITS];
        NN_Mod(reduced, b, dDigits, d, nDigits);
        toLimbs(x, m.limbs, reduced, nDigits);
        std::memset(reduced, 0, sizeof reduced);
    } else {
        toLimbs(x, m.limbs, b, nDigits);
    }

    switch (m.limbs * kLimbBits) {
        case 512:
            modExp<512 / kLimbBits>(result, x, c, bits, m);
            break;
        case 1024:
            modExp<1024 / kLimbBits>(result, x, c, bits, m);
            break;
        case 2048:
#if defined(__x86_64__)
            if (wide && wide::available()) {
                wide::modExp(result, x, c, bits, m);
                break;
            }
#endif
            modExp<2048 / kLimbBits>(result, x, c, bits, m);
            break;
        default:
            modExp<0>(result, x, c, bits, m);
            break;
    }
    fromLimbs(a, dDigits, result, m.limbs);
    std::memset(x, 0, sizeof x);
    std::memset(result, 0, sizeof result);
}

}  // namespace

void montgomeryModExp(NN_DIGIT *a, const NN_DIGIT *b, const NN_DIGIT *c, unsigned cDigits,
                      const NN_DIGIT *d, unsigned dDigits) {
    modExpOdd(a, b, c, cDigits, d, dDigits, true);
}

void montgomeryModExpPortable(NN_DIGIT *a, const NN_DIGIT *b, const NN_DIGIT *c, unsigned cDigits,
                              const NN_DIGIT *d, unsigned dDigits) {
    modExpOdd(a, b, c, cDigits, d, dDigits, false);
}

}  // namespace pos::nn
