// Cipher oracles and padding models shared by the symmetric, key-wrap and MAC service tests.
#pragma once

#include <vorelcrypto/vorelcrypto.h>

#include <gcrypt.h>
#include <gtest/gtest.h>

#include "frame/service_fixture.h"
#include "support/oracles.h"

namespace symtest {

using vctest::Bytes;
using vctest::evp;
using vctest::ServiceTest;

// IDEA encryption through libgcrypt (OpenSSL 3 has none), no padding; mode GCRY_CIPHER_MODE_*.
inline Bytes ideaGcrypt(int mode, const Bytes &key, const Bytes &iv, const Bytes &in) {
    return vctest::gcrypt(GCRY_CIPHER_IDEA, mode, true, key, mode == GCRY_CIPHER_MODE_ECB ? Bytes{} : iv, in);
}

using vctest::pkcsPad;
// The service's pre-padding of inputs shorter than 8 bytes.
inline Bytes prePad(Bytes m) { return m.size() < 8 ? pkcsPad(m, 8) : m; }
inline Bytes head(const Bytes &b, size_t n) { return Bytes(b.begin(), b.begin() + long(n)); }

}  // namespace symtest
