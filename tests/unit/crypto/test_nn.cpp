// The multi-precision routines against libcrypto's big numbers on random operands of
// random lengths, including leading zero digits, zero and all-ones values.
#include <openssl/bn.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "CryptoTestUtil.h"
#include "crypto/Montgomery.h"
#include "pos_sdk/crypto.h"

namespace {

using Digits = std::vector<NN_DIGIT>;
using BnPtr = std::unique_ptr<BIGNUM, decltype(&BN_free)>;

struct BnCtx {
    BN_CTX *ctx = BN_CTX_new();
    ~BnCtx() { BN_CTX_free(ctx); }
} bnCtx;

BnPtr bn(const Digits &d) {
    Bytes be;
    for (size_t i = d.size(); i-- > 0;) {
        for (int s = 24; s >= 0; s -= 8) be.push_back(static_cast<unsigned char>(d[i] >> s));
    }
    return BnPtr(BN_bin2bn(be.data(), int(be.size()), nullptr), BN_free);
}

// The digits of a non-negative BIGNUM, zero-extended to `count` digits.
Digits digitsOf(const BIGNUM *x, size_t count) {
    Bytes be(4 * count);
    EXPECT_GE(BN_bn2binpad(x, be.data(), int(be.size())), 0) << "value does not fit";
    Digits d(count);
    for (size_t i = 0; i < count; ++i) {
        size_t at = be.size() - 4 * (i + 1);
        d[i] = NN_DIGIT{be[at]} << 24 | NN_DIGIT{be[at + 1]} << 16 | NN_DIGIT{be[at + 2]} << 8 |
               be[at + 3];
    }
    return d;
}

// `count` digits of which a random number from the bottom are significant; now and then
// zero or all ones.
Digits randomNumber(size_t count, size_t minSignificant = 0) {
    Digits d(count, 0);
    unsigned pick = rng()() % 16;
    if (pick == 0 && minSignificant == 0) return d;
    if (pick == 1) return Digits(count, 0xFFFFFFFFu);
    size_t significant = minSignificant + rng()() % (count - minSignificant + 1);
    for (size_t i = 0; i < significant; ++i) d[i] = rng()();
    if (significant > 0 && d[significant - 1] == 0) d[significant - 1] = 1;
    return d;
}

size_t randomCount(size_t max) {
    return 1 + rng()() % max;
}

}  // namespace

TEST(NN, AddSubMultShiftMatchBigNumbers) {
    for (int i = 0; i < 2000; ++i) {
        size_t n = randomCount(NN_MAX_DIGITS);
        Digits b = randomNumber(n), c = randomNumber(n), a(2 * n);
        BnPtr B = bn(b), C = bn(c), R(BN_new(), BN_free), mod(BN_new(), BN_free);
        BN_set_bit(mod.get(), int(32 * n));

        NN_DIGIT carry = NN_Add(a.data(), b.data(), c.data(), unsigned(n));
        BN_add(R.get(), B.get(), C.get());
        ASSERT_EQ(carry, BN_is_bit_set(R.get(), int(32 * n)) ? 1u : 0u);
        BN_nnmod(R.get(), R.get(), mod.get(), bnCtx.ctx);
        ASSERT_EQ(Digits(a.begin(), a.begin() + n), digitsOf(R.get(), n));

        NN_DIGIT borrow = NN_Sub(a.data(), b.data(), c.data(), unsigned(n));
        ASSERT_EQ(borrow, BN_cmp(B.get(), C.get()) < 0 ? 1u : 0u);
        BN_sub(R.get(), B.get(), C.get());
        BN_nnmod(R.get(), R.get(), mod.get(), bnCtx.ctx);
        ASSERT_EQ(Digits(a.begin(), a.begin() + n), digitsOf(R.get(), n));

        NN_Mult(a.data(), b.data(), c.data(), unsigned(n));
        BN_mul(R.get(), B.get(), C.get(), bnCtx.ctx);
        ASSERT_EQ(a, digitsOf(R.get(), 2 * n));

        unsigned shift = rng()() % 32;
        Digits s(n);
        NN_DIGIT out = NN_LShift(s.data(), b.data(), shift, unsigned(n));
        BN_lshift(R.get(), B.get(), int(shift));
        Digits wide = digitsOf(R.get(), n + 1);
        ASSERT_EQ(out, wide[n]);
        ASSERT_EQ(s, Digits(wide.begin(), wide.begin() + n));
        NN_RShift(s.data(), b.data(), shift, unsigned(n));
        BN_rshift(R.get(), B.get(), int(shift));
        ASSERT_EQ(s, digitsOf(R.get(), n));

        ASSERT_EQ(NN_Bits(b.data(), unsigned(n)), unsigned(BN_num_bits(B.get())));
        ASSERT_EQ(NN_Cmp(b.data(), c.data(), unsigned(n)), BN_cmp(B.get(), C.get()));
        ASSERT_EQ(NN_Zero(b.data(), unsigned(n)), BN_is_zero(B.get()) ? 1 : 0);
    }
}

TEST(NN, DivisionAndModularArithmeticMatchBigNumbers) {
    for (int i = 0; i < 2000; ++i) {
        size_t dDigits = randomCount(NN_MAX_DIGITS);
        size_t cDigits = randomCount(2 * NN_MAX_DIGITS);
        Digits c = randomNumber(cDigits), d = randomNumber(dDigits, 1);
        Digits q(cDigits, 0xDEADBEEF), r(dDigits, 0xDEADBEEF);
        NN_Div(q.data(), r.data(), c.data(), unsigned(cDigits), d.data(), unsigned(dDigits));
        BnPtr C = bn(c), D = bn(d), Q(BN_new(), BN_free), R(BN_new(), BN_free);
        BN_div(Q.get(), R.get(), C.get(), D.get(), bnCtx.ctx);
        ASSERT_EQ(q, digitsOf(Q.get(), cDigits)) << i;
        ASSERT_EQ(r, digitsOf(R.get(), dDigits)) << i;

        // Modular product of two residues.
        size_t n = dDigits;
        Digits x = randomNumber(n), y = randomNumber(n), a(n);
        NN_ModMult(a.data(), x.data(), y.data(), d.data(), unsigned(n));
        BN_mod_mul(R.get(), bn(x).get(), bn(y).get(), D.get(), bnCtx.ctx);
        ASSERT_EQ(a, digitsOf(R.get(), n));

        // gcd, and the inverse whenever it exists (Euclid is slow, so every fourth case).
        if (i % 4 != 0) continue;
        NN_Gcd(a.data(), x.data(), d.data(), unsigned(n));
        BN_gcd(R.get(), bn(x).get(), D.get(), bnCtx.ctx);
        ASSERT_EQ(a, digitsOf(R.get(), n));
        if (BN_is_one(R.get()) && !BN_is_one(D.get())) {
            BnPtr X = bn(x);
            BN_nnmod(X.get(), X.get(), D.get(), bnCtx.ctx);
            Digits reduced = digitsOf(X.get(), n);
            NN_ModInv(a.data(), reduced.data(), d.data(), unsigned(n));
            BN_mod_inverse(R.get(), X.get(), D.get(), bnCtx.ctx);
            ASSERT_EQ(a, digitsOf(R.get(), n));
        }
    }
    // Division by zero writes nothing.
    Digits c(4, 7), zero(2, 0), q(4, 1), r(2, 1);
    NN_Div(q.data(), r.data(), c.data(), 4, zero.data(), 2);
    EXPECT_EQ(q, Digits(4, 1));
    EXPECT_EQ(r, Digits(2, 1));
}

TEST(NN, ModExpMatchesBigNumbersForOddAndEvenModuli) {
    for (int i = 0; i < 600; ++i) {
        // Mostly short exponents; every twentieth case a full-size modulus and exponent.
        bool large = i % 20 == 0;
        size_t n = large ? NN_MAX_DIGITS - 1 : randomCount(NN_MAX_DIGITS);
        size_t eDigits = large ? n : randomCount(4);
        Digits d = randomNumber(n, 1), b = randomNumber(n), e = randomNumber(eDigits), a(n);
        if (i % 2) d[0] |= 1;  // half the moduli odd, as RSA's are
        NN_ModExp(a.data(), b.data(), e.data(), unsigned(eDigits), d.data(), unsigned(n));
        BnPtr R(BN_new(), BN_free);
        BN_mod_exp(R.get(), bn(b).get(), bn(e).get(), bn(d).get(), bnCtx.ctx);
        ASSERT_EQ(a, digitsOf(R.get(), n)) << "case " << i;
    }
}

// Moduli of 1985 to 2048 bits take the vector path where the processor has one; both it and
// the 64-bit path must agree with the reference, at the edges too: bases 0, 1, n - 1 and
// above n, exponents 1, 2, 65537 and full-size ones, a modulus of all ones.
TEST(NN, ModExpPathsForRsa2048ModuliAgree) {
    constexpr size_t kDigits = 64;
    for (int i = 0; i < 120; ++i) {
        Digits d = randomNumber(kDigits, kDigits);
        d[0] |= 1;
        d[kDigits - 1] |= 1u << (rng()() % 32);  // 2017 to 2048 bits
        if (i % 5 == 4) d[kDigits - 1] = 0;      // or 1985 to 2016
        if (i == 0) d.assign(kDigits, 0xFFFFFFFFu);
        Digits b = randomNumber(kDigits), e(kDigits, 0);
        switch (i % 6) {
            case 0:
                e[0] = 1;
                break;
            case 1:
                e[0] = 2;
                break;
            case 2:
                e[0] = 65537;
                break;
            default:
                e = randomNumber(kDigits, 1);
        }
        if (i % 7 == 0) b = d, b[0] -= 1;         // n - 1
        if (i % 11 == 0) b.assign(kDigits, ~0u);  // above n
        BnPtr expected(BN_new(), BN_free);
        BN_mod_exp(expected.get(), bn(b).get(), bn(e).get(), bn(d).get(), bnCtx.ctx);
        Digits fast(kDigits), portable(kDigits);
        pos::nn::montgomeryModExp(fast.data(), b.data(), e.data(), kDigits, d.data(), kDigits);
        pos::nn::montgomeryModExpPortable(portable.data(), b.data(), e.data(), kDigits, d.data(),
                                          kDigits);
        ASSERT_EQ(fast, digitsOf(expected.get(), kDigits)) << "case " << i;
        ASSERT_EQ(portable, digitsOf(expected.get(), kDigits)) << "case " << i;
    }
}

TEST(NN, EncodingAndDigitPrimitives) {
    for (int i = 0; i < 500; ++i) {
        Bytes be = randomBytes(1 + rng()() % 256);
        Digits d(NN_MAX_DIGITS);
        NN_Decode(d.data(), NN_MAX_DIGITS, be.data(), unsigned(be.size()));
        BnPtr ref(BN_bin2bn(be.data(), int(be.size()), nullptr), BN_free);
        ASSERT_EQ(d, digitsOf(ref.get(), NN_MAX_DIGITS));
        ASSERT_EQ(NN_Digits(d.data(), NN_MAX_DIGITS), (unsigned(BN_num_bits(ref.get())) + 31) / 32);
        // Encoding pads with leading zeros to the requested length.
        Bytes out(be.size() + 5, 0xEE);
        NN_Encode(out.data(), unsigned(out.size()), d.data(), NN_MAX_DIGITS);
        Bytes expected(be.size() + 5, 0);
        std::copy(be.begin(), be.end(), expected.begin() + 5);
        ASSERT_EQ(out, expected);
    }

    Digits a(NN_MAX_DIGITS, 9);
    NN_Assign2Exp(a.data(), 100, NN_MAX_DIGITS);
    EXPECT_EQ(a[3], 1u << 4);
    EXPECT_EQ(NN_Bits(a.data(), NN_MAX_DIGITS), 101u);

    NN_DIGIT prod[2];
    NN_DigitMult(prod, 0xFFFFFFFFu, 0xFFFFFFFEu);
    EXPECT_EQ(prod[1], 0xFFFFFFFDu);
    EXPECT_EQ(prod[0], 2u);
    NN_DIGIT q;
    NN_DigitDiv(&q, prod, 0xFFFFFFFFu);
    EXPECT_EQ(q, 0xFFFFFFFEu);
}
