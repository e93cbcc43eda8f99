// The oracle libraries behind one call each: OpenSSL ciphers and MACs, libgcrypt for IDEA.
#pragma once

#include "support/test_util.h"

namespace vctest {

// One OpenSSL cipher over the whole input (legacy provider loaded): PKCS #7 padding when
// `padding`, RC2's effective key bits when rc2Bits > 0 and the cipher is RC2. An empty IV passes
// none (ECB, RC4). A failure is a test failure, unless `ok` is given to receive it; the result
// is then empty.
Bytes evp(const char *name, bool encrypt, const Bytes &key, const Bytes &iv, const Bytes &in,
          bool padding = false, int rc2Bits = 0, bool *ok = nullptr);

// libgcrypt's cipher `algorithm` (GCRY_CIPHER_*) in `mode` (GCRY_CIPHER_MODE_*), no padding.
Bytes gcrypt(int algorithm, int mode, bool encrypt, const Bytes &key, const Bytes &iv, const Bytes &in);

// ISO/IEC 9797-1 MAC algorithm 1 over OpenSSL's CBC cipher `cbcName`: the message zero-padded
// to whole blocks (at least one), zero IV, the last 8-byte block.
Bytes cbcMac(const char *cbcName, const Bytes &key, const Bytes &message);

// The digest `name` (OpenSSL's name; "MD2" by nettle, which OpenSSL 3 lacks) of n bytes.
Bytes digest(const char *name, const uint8_t *data, size_t n);
inline Bytes digest(const char *name, const Bytes &m) { return digest(name, m.data(), m.size()); }

// RFC 2104 HMAC-MD5.
Bytes hmacMd5(const Bytes &key, const Bytes &message);

}  // namespace vctest
