// The Os* algorithm entry points: argument checks and logging around the ciphers, RSA and
// key generation through libcrypto, digests and random bytes.
#include "crypto/OpenSsl.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/random.h>
#include <unistd.h>

#include "pos_sdk/crypto.h"
#include "pos_sdk/log.h"
#include "pos_sdk/os_status.h"

namespace {

constexpr int kMaxRandomLength = 1024;
constexpr unsigned long kPublicExponent = 65537;

bool validDesKeyLength(int len) {
    return len == 8 || len == 16 || len == 24;
}
bool validAesKeyLength(int len) {
    return len == 16 || len == 24 || len == 32;
}
bool validRsaLength(int len) {
    return len == 64 || len == 128 || len == 256 || len == 512;
}

// A key with n and e = 65537, and d when given (otherwise an empty d: a public key).
RSA *makeKey(const unsigned char *modulus, int len, const unsigned char *privateExp) {
    RSA *rsa = RSA_new();
    BIGNUM *n = BN_bin2bn(modulus, len, nullptr);
    BIGNUM *e = BN_new();
    BIGNUM *d = privateExp ? BN_bin2bn(privateExp, len, nullptr) : BN_new();
    if (rsa && n && e && d && BN_set_word(e, kPublicExponent) && RSA_set0_key(rsa, n, e, d)) {
        return rsa;
    }
    BN_free(n);
    BN_free(e);
    BN_clear_free(d);
    RSA_free(rsa);
    return nullptr;
}

bool readKernelRandom(unsigned char *buf, size_t len) {
    size_t done = 0;
    while (done < len) {
        ssize_t got = getrandom(buf + done, len - done, 0);
        if (got < 0) {
            if (errno == EINTR) continue;
            break;
        }
        done += static_cast<size_t>(got);
    }
    if (done == len) return true;

    // Kernels without getrandom still have the device.
    int fd = open("/dev/urandom", O_RDONLY | O_CLOEXEC);
    if (fd < 0) return false;
    while (done < len) {
        ssize_t got = read(fd, buf + done, len - done);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) break;
        done += static_cast<size_t>(got);
    }
    close(fd);
    return done == len;
}

}  // namespace

extern "C" {

POS_API void OsDES(const unsigned char *in, unsigned char *out, const unsigned char *key,
                   int keyLen, int mode) {
    if (in == nullptr || out == nullptr || key == nullptr || !validDesKeyLength(keyLen)) return;
    // Exactly one block: the length handed on is always 8.
    if (mode == 1) {
        if (TripleDes(key, keyLen, in, 8, out) != 0) Log_Err("TripleDes err");
    } else if (mode == 0) {
        if (_TripleDes(key, keyLen, in, 8, out) != 0) Log_Err("_TripleDes err");
    }
}

POS_API int OsRSA(const unsigned char *modulus, int modulusLen, const unsigned char *exponent,
                  int exponentLen, const unsigned char *in, unsigned char *out, int mode) {
    if (modulus == nullptr || exponent == nullptr || in == nullptr || out == nullptr ||
        !validRsaLength(modulusLen)) {
        return OS_ERR_BAD_ARGUMENT;
    }
    // An exponent as long as the modulus is a private exponent. Otherwise the key is public
    // and e is always 65537: the caller's exponent bytes are not used, which existing
    // applications rely on.
    const bool isPrivate = exponentLen == modulusLen;
    RSA *rsa = makeKey(modulus, modulusLen, isPrivate ? exponent : nullptr);
    if (rsa == nullptr) return -1;

    int result;
    if (isPrivate) {
        result = mode == 1 ? RSA_private_encrypt(modulusLen, in, out, rsa, RSA_NO_PADDING)
                           : RSA_private_decrypt(modulusLen, in, out, rsa, RSA_NO_PADDING);
    } else {
        result = mode == 1 ? RSA_public_encrypt(modulusLen, in, out, rsa, RSA_NO_PADDING)
                           : RSA_public_decrypt(modulusLen, in, out, rsa, RSA_NO_PADDING);
    }
    RSA_free(rsa);
    return result > 0 ? 0 : -1;
}

POS_API int OsRSAKeyGen(unsigned char *modulus, unsigned char *privateExp, int len,
                        unsigned char *publicExp) {
    if (modulus == nullptr || privateExp == nullptr || publicExp == nullptr ||
        !validRsaLength(len)) {
        return OS_ERR_BAD_ARGUMENT;
    }
    RSA *rsa = RSA_new();
    BIGNUM *e = BN_new();
    if (rsa == nullptr || e == nullptr || !BN_set_word(e, kPublicExponent) ||
        !RSA_generate_key_ex(rsa, len * 8, e, nullptr)) {
        Log_Err("Failed to generate RSA key pair\n");
        // The half-built key is released here too, so a failed generation leaks nothing.
        BN_free(e);
        RSA_free(rsa);
        return OS_ERR_RSA_KEYGEN;
    }

    // Each number goes out as its minimal big-endian bytes at the start of a zeroed buffer,
    // so a private exponent shorter than the modulus comes out left-aligned and followed by
    // zeros. Applications store keys in this form; kept for compatibility.
    unsigned char buf[513];
    const BIGNUM *numbers[2] = {RSA_get0_n(rsa), RSA_get0_d(rsa)};
    unsigned char *outputs[2] = {modulus, privateExp};
    for (int i = 0; i < 2; ++i) {
        std::memset(buf, 0, sizeof buf);
        if (BN_num_bytes(numbers[i]) <= static_cast<int>(sizeof buf)) BN_bn2bin(numbers[i], buf);
        std::memcpy(outputs[i], buf, static_cast<size_t>(len));
    }
    OPENSSL_cleanse(buf, sizeof buf);
    // publicExp is required but nothing is written through it; e is always 65537.
    BN_free(e);
    RSA_free(rsa);
    return 0;
}

POS_API void OsAES(const unsigned char *in, unsigned char *out, const unsigned char *key,
                   int keyLen, int mode) {
    if (in == nullptr || out == nullptr || key == nullptr || !validAesKeyLength(keyLen)) return;
    if (mode == 1) {
        if (aes_encrypt2(key, keyLen, out, in) != 0) Log_Err("aes_encrypt2 err");
    } else if (mode == 0) {
        if (aes_decrypt2(key, keyLen, out, in) != 0) Log_Err("aes_decrypt2 err");
    }
}

POS_API void OsSHA(int type, const unsigned char *data, int len, unsigned char *digest) {
    // Zero-length data gives no digest here, unlike SHA*Calc; kept for compatibility.
    if (data == nullptr || digest == nullptr || len < 1) return;
    switch (type) {
        case OS_SHA1:
            SHA1Calc(data, len, digest);
            break;
        case OS_SHA224:
            SHA224Calc(data, len, digest);
            break;
        case OS_SHA256:
            SHA256Calc(data, len, digest);
            break;
        case OS_SHA384:
            SHA384Calc(data, len, digest);
            break;
        case OS_SHA512:
            SHA512Calc(data, len, digest);
            break;
        default:
            break;
    }
}

POS_API void OsGetRandom(unsigned char *buf, int len) {
    if (buf == nullptr || len < 0 || len > kMaxRandomLength) {
        Log_Err("params Err");
        return;
    }
    if (!readKernelRandom(buf, static_cast<size_t>(len))) {
        // Never hand back stale memory as if it were random.
        std::memset(buf, 0, static_cast<size_t>(len));
        Log_Err("OsGetRandom: no random source\n");
    }
}

}  // extern "C"
