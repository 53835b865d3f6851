#include "PinpadCrypto.h"

#include <openssl/evp.h>

#include <cstring>
#include <memory>
#include <stdexcept>

namespace possim {
namespace pinpad {

namespace {

// The triple DES key of a single, double or triple length key: K1 K2 K3 with K3 = K1 for a
// double-length key and K1 = K2 = K3 for a single one (which makes it single DES).
std::array<uint8_t, 24> tripleKey(const Data &key) {
    if (!validKeyLength(key.size())) throw std::invalid_argument("DES key length");
    std::array<uint8_t, 24> k;
    for (size_t i = 0; i < 24; ++i) k[i] = key[i % key.size()];
    if (key.size() == 16) memcpy(k.data() + 16, key.data(), 8);
    return k;
}

Data half(const Data &key, size_t which) {
    return Data(key.begin() + 8 * which, key.begin() + 8 * which + 8);
}

void xorInto(uint8_t *into, const uint8_t *with, size_t size) {
    for (size_t i = 0; i < size; ++i) into[i] ^= with[i];
}

Data padded(const Data &data) {
    Data out = data;
    out.resize(data.empty() ? 8 : (data.size() + 7) / 8 * 8, 0);
    return out;
}

// CBC over the padded data without keeping the blocks: the last one.
Block lastCbcBlock(const Data &key, const Data &data) {
    Data in = padded(data);
    Block chain{};
    for (size_t at = 0; at < in.size(); at += 8) {
        xorInto(chain.data(), in.data() + at, 8);
        ecb(key, chain.data(), chain.data(), 8, true);
    }
    return chain;
}

Data xored(const Data &key, const uint8_t (&mask)[16]) {
    Data out = key;
    xorInto(out.data(), mask, 16);
    return out;
}

// One step of the non-reversible key generation: the new key from KEY (16 bytes) and the
// 8-byte key serial number register.
Data nonReversibleKey(const Data &key, const uint8_t *reg) {
    static const uint8_t kMask[16] = {0xC0, 0xC0, 0xC0, 0xC0, 0, 0, 0, 0,
                                      0xC0, 0xC0, 0xC0, 0xC0, 0, 0, 0, 0};
    auto halfStep = [reg](const Data &k) {
        Data left = half(k, 0), right = half(k, 1);
        uint8_t block[8];
        memcpy(block, reg, 8);
        xorInto(block, right.data(), 8);
        ecb(left, block, block, 8, true);
        xorInto(block, right.data(), 8);
        return Data(block, block + 8);
    };
    Data right = halfStep(key);
    Data left = halfStep(xored(key, kMask));
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

}  // namespace

bool fromHex(const std::string &text, Data &out) {
    if (text.size() % 2 != 0) return false;
    Data bytes;
    bytes.reserve(text.size() / 2);
    for (size_t i = 0; i < text.size(); i += 2) {
        int value = 0;
        for (size_t j = i; j < i + 2; ++j) {
            char c = text[j];
            int digit = c >= '0' && c <= '9'   ? c - '0'
                        : c >= 'A' && c <= 'F' ? c - 'A' + 10
                        : c >= 'a' && c <= 'f' ? c - 'a' + 10
                                               : -1;
            if (digit < 0) return false;
            value = value * 16 + digit;
        }
        bytes.push_back(static_cast<uint8_t>(value));
    }
    out = std::move(bytes);
    return true;
}

std::string toHex(const uint8_t *data, size_t size) {
    static const char kDigits[] = "0123456789ABCDEF";
    std::string text;
    text.reserve(size * 2);
    for (size_t i = 0; i < size; ++i) {
        text += kDigits[data[i] >> 4];
        text += kDigits[data[i] & 15];
    }
    return text;
}

bool hasOddParity(const Data &key) {
    for (uint8_t byte : key) {
        if (__builtin_popcount(byte) % 2 == 0) return false;
    }
    return true;
}

bool validKeyLength(size_t length) {
    return length == 8 || length == 16 || length == 24;
}

void ecb(const Data &key, const uint8_t *in, uint8_t *out, size_t size, bool encrypt) {
    if (size % 8 != 0) throw std::invalid_argument("DES data length");
    std::array<uint8_t, 24> k = tripleKey(key);
    std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> ctx(EVP_CIPHER_CTX_new(),
                                                                        EVP_CIPHER_CTX_free);
    int written = 0;
    if (ctx == nullptr ||
        EVP_CipherInit_ex(ctx.get(), EVP_des_ede3_ecb(), nullptr, k.data(), nullptr,
                          encrypt ? 1 : 0) != 1 ||
        EVP_CIPHER_CTX_set_padding(ctx.get(), 0) != 1 ||
        EVP_CipherUpdate(ctx.get(), out, &written, in, static_cast<int>(size)) != 1) {
        throw std::runtime_error("libcrypto refused triple DES");
    }
}

Data cbc(const Data &key, const Data &data, bool encrypt) {
    Data out(data.size());
    Block chain{};
    for (size_t at = 0; at + 8 <= data.size(); at += 8) {
        Block block;
        memcpy(block.data(), data.data() + at, 8);
        if (encrypt) {
            xorInto(block.data(), chain.data(), 8);
            ecb(key, block.data(), out.data() + at, 8, true);
            memcpy(chain.data(), out.data() + at, 8);
        } else {
            ecb(key, block.data(), out.data() + at, 8, false);
            xorInto(out.data() + at, chain.data(), 8);
            chain = block;
        }
    }
    return out;
}

std::string checkValue(const Data &key, size_t size) {
    Block zero{}, out;
    ecb(key, zero.data(), out.data(), 8, true);
    return toHex(out.data(), size < 8 ? size : 8);
}

namespace {

bool allDigits(const std::string &text) {
    return text.find_first_not_of("0123456789") == std::string::npos;
}

}  // namespace

bool validPan(const std::string &pan) {
    return pan.size() >= 13 && pan.size() <= 19 && allDigits(pan);
}

bool pinBlockFormat0(const std::string &pin, const std::string &pan, Block &out) {
    if (pin.size() < 4 || pin.size() > 12 || !allDigits(pin) || !validPan(pan)) return false;
    std::string pinField = "0" + std::string(1, "0123456789ABC"[pin.size()]) + pin;
    pinField.resize(16, 'F');
    std::string panField = "0000" + pan.substr(pan.size() - 13, 12);
    Data p, a;
    fromHex(pinField, p);
    fromHex(panField, a);
    for (size_t i = 0; i < 8; ++i) out[i] = p[i] ^ a[i];
    return true;
}

Block retailMac(const Data &key, const Data &data) {
    Data first = half(key, 0), second = key.size() >= 16 ? half(key, 1) : first;
    Block mac = lastCbcBlock(first, data);
    ecb(second, mac.data(), mac.data(), 8, false);
    ecb(first, mac.data(), mac.data(), 8, true);
    return mac;
}

Block cbcMac(const Data &key, const Data &data) {
    return lastCbcBlock(key, data);
}

uint32_t dukptCounter(const Ksn &ksn) {
    return ((uint32_t(ksn[7]) << 16) | (uint32_t(ksn[8]) << 8) | ksn[9]) & kDukptCounterMask;
}

Data dukptInitialKey(const Data &bdk, const Ksn &ksn) {
    static const uint8_t kMask[16] = {0xC0, 0xC0, 0xC0, 0xC0, 0, 0, 0, 0,
                                      0xC0, 0xC0, 0xC0, 0xC0, 0, 0, 0, 0};
    uint8_t base[8];
    memcpy(base, ksn.data(), 8);
    base[7] &= 0xE0;  // the counter's top bits leave the leftmost eight bytes
    Data key(16);
    ecb(bdk, base, key.data(), 8, true);
    ecb(xored(bdk, kMask), base, key.data() + 8, 8, true);
    return key;
}

Data dukptTransactionKey(const Data &initialKey, const Ksn &ksn) {
    uint8_t reg[8];
    memcpy(reg, ksn.data() + 2, 8);
    reg[5] &= 0xE0;
    reg[6] = reg[7] = 0;
    uint32_t counter = dukptCounter(ksn);
    Data key = initialKey;
    for (uint32_t bit = 1u << 20; bit != 0; bit >>= 1) {
        if ((counter & bit) == 0) continue;
        reg[5] |= static_cast<uint8_t>(bit >> 16);
        reg[6] |= static_cast<uint8_t>(bit >> 8);
        reg[7] |= static_cast<uint8_t>(bit);
        key = nonReversibleKey(key, reg);
    }
    return key;
}

Data dukptPinKey(const Data &transactionKey) {
    static const uint8_t kMask[16] = {0, 0, 0, 0, 0, 0, 0, 0xFF, 0, 0, 0, 0, 0, 0, 0, 0xFF};
    return xored(transactionKey, kMask);
}

Data dukptMacKey(const Data &transactionKey) {
    static const uint8_t kMask[16] = {0, 0, 0, 0, 0, 0, 0xFF, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0};
    return xored(transactionKey, kMask);
}

Data dukptDataKey(const Data &transactionKey) {
    static const uint8_t kMask[16] = {0, 0, 0, 0, 0, 0xFF, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0, 0};
    Data variant = xored(transactionKey, kMask);
    Data key(16);
    ecb(variant, variant.data(), key.data(), 16, true);
    return key;
}

bool dukptAdvance(Ksn &ksn) {
    uint32_t next = dukptCounter(ksn) + 1;
    // A counter with more than ten one bits is skipped by adding its lowest one bit.
    while (next <= kDukptCounterMask && __builtin_popcount(next) > 10) next += next & (~next + 1);
    if (next > kDukptCounterMask) return false;
    ksn[7] = static_cast<uint8_t>((ksn[7] & 0xE0) | (next >> 16));
    ksn[8] = static_cast<uint8_t>(next >> 8);
    ksn[9] = static_cast<uint8_t>(next);
    return true;
}

}  // namespace pinpad
}  // namespace possim
