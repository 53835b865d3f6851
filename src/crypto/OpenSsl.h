// libcrypto at the 1.1 API level: the digest and RSA calls this library is written against
// are declared there without the deprecation marks OpenSSL 3 puts on them.
#ifndef POS_CRYPTO_OPENSSL_H
#define POS_CRYPTO_OPENSSL_H

#ifndef OPENSSL_API_COMPAT
#define OPENSSL_API_COMPAT 10100
#endif

#include <openssl/bn.h>
#include <openssl/crypto.h>
#include <openssl/rsa.h>
#include <openssl/sha.h>

#endif
