// The SHA family through libcrypto: one context on the stack, one update, one final step.
#include "crypto/OpenSsl.h"

#include "pos_sdk/crypto.h"

namespace {

template <typename Context, int (*Init)(Context *), int (*Update)(Context *, const void *, size_t),
          int (*Final)(unsigned char *, Context *)>
int digest(const unsigned char *data, int len, unsigned char *out) {
    // A negative length would become a huge size_t; refuse it like a null pointer.
    if (out == nullptr || len < 0 || (data == nullptr && len > 0)) return 0;
    Context ctx;
    Init(&ctx);
    Update(&ctx, data, static_cast<size_t>(len));
    return Final(out, &ctx);
}

}  // namespace

extern "C" {

POS_API int SHA1Calc(const unsigned char *data, int len, unsigned char *digestOut) {
    return digest<SHA_CTX, SHA1_Init, SHA1_Update, SHA1_Final>(data, len, digestOut);
}

POS_API int SHA224Calc(const unsigned char *data, int len, unsigned char *digestOut) {
    return digest<SHA256_CTX, SHA224_Init, SHA224_Update, SHA224_Final>(data, len, digestOut);
}

POS_API int SHA256Calc(const unsigned char *data, int len, unsigned char *digestOut) {
    return digest<SHA256_CTX, SHA256_Init, SHA256_Update, SHA256_Final>(data, len, digestOut);
}

POS_API int SHA384Calc(const unsigned char *data, int len, unsigned char *digestOut) {
    return digest<SHA512_CTX, SHA384_Init, SHA384_Update, SHA384_Final>(data, len, digestOut);
}

POS_API int SHA512Calc(const unsigned char *data, int len, unsigned char *digestOut) {
    return digest<SHA512_CTX, SHA512_Init, SHA512_Update, SHA512_Final>(data, len, digestOut);
}

}  // extern "C"
