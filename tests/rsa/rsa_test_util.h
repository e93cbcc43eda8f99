// RSA test helpers: an owned key record, conversion to and from OpenSSL keys and GMP numbers,
// DigestInfo prefixes, and a capture of what the engine prints.
#pragma once

#include <gmp.h>
#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <vorelcrypto/rsa.h>

#include <cstring>
#include <memory>
#include <string>

#include "support/test_util.h"

namespace rsatest {

using vctest::Bytes;

// A heap key record (it is large), initialised.
struct Key {
    std::unique_ptr<RsaKey> rec{new RsaKey{}};
    Key() { E_RSA_Init(rec.get()); }
    RsaKey *get() { return rec.get(); }
    RsaKey *operator->() { return rec.get(); }
    uint32_t k() const;
};

Bytes bytesOf(const ENUM *x);
void setNumber(ENUM *x, const Bytes &bigEndian);

// OpenSSL's key as our record (all eight numbers), and ours as an OpenSSL key (private when
// d, p, q ... are set and `withPrivate`).
Key fromOpenSsl(EVP_PKEY *pkey);
EVP_PKEY *toOpenSsl(RsaKey *key, bool withPrivate);
// A fresh OpenSSL key of `bits` bits, e = 65537.
EVP_PKEY *openSslKey(unsigned bits);

// OpenSSL's raw RSA operation on an OpenSSL key with the given padding and options
// ("rsa_padding_mode" ...), encrypt/decrypt/sign/verify: returns the output, empty on failure.
enum class Op { kEncrypt, kDecrypt, kSign, kVerifyRecover };
Bytes openSsl(EVP_PKEY *pkey, Op op, int padding, const Bytes &in, const char *digest = nullptr,
              int saltLen = -2, const Bytes &label = {});
// OpenSSL's PSS verification of a message (digest name, salt length); true when it accepts.
bool openSslPssVerify(EVP_PKEY *pkey, const char *digest, int saltLen, const Bytes &msg, const Bytes &sig);
Bytes openSslPssSign(EVP_PKEY *pkey, const char *digest, int saltLen, const Bytes &msg);

// The DER DigestInfo prefix of SHA-1 (1), SHA-256 (6), SHA-384 (7) or SHA-512 (8).
Bytes digestInfoPrefix(int hashId);
// OpenSSL's digest name for those identifiers.
const char *digestName(int hashId);

// Runs f and returns what it wrote to standard output.
template <class F>
std::string captureStdout(F f) {
    testing::internal::CaptureStdout();
    f();
    return testing::internal::GetCapturedStdout();
}

void toMpz(mpz_ptr out, const ENUM *x);

}  // namespace rsatest
