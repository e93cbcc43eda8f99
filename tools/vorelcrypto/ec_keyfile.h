// EC key files of the vorelcrypto program.
//
// ECDSA keys on curves 3, 5, 7 and 11 are SEC 1 ECPrivateKey structures with the curve's
// named-curve OID ("EC PRIVATE KEY" in PEM), so that `openssl ec` and `openssl dgst` read them;
// their public keys may also come as OpenSSL's SubjectPublicKeyInfo ("PUBLIC KEY"). Keys that
// OpenSSL cannot name (curves 21 and 22) and every EC-KCDSA key (Q = d^-1 G) are written in
// the program's own form ("VORELCRYPTO EC PRIVATE KEY"):
//   SEQUENCE { INTEGER 1, ENUMERATED kind (0 ecdsa, 1 eckcdsa), INTEGER curve id,
//              OCTET STRING d (21 octets), OCTET STRING Q (uncompressed) }
// and its public form ("VORELCRYPTO EC PUBLIC KEY") is the same without d.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace cli::eckey {

enum class Kind { ecdsa = 0, eckcdsa = 1 };

struct EcKey {
    Kind kind = Kind::ecdsa;
    int curve = 0;
    std::vector<uint8_t> d;  // empty for a public key
    std::vector<uint8_t> q;  // uncompressed (or compressed, as read)
};

// Whether OpenSSL names the curve (3, 5, 7, 11), so that ECDSA keys there are SEC 1 files.
bool hasOpenSslName(int curve);

// The DER of the private key and its PEM label.
std::vector<uint8_t> encodePrivate(const EcKey &key, const char *&pemLabel);
// The program's public form (for any key).
std::vector<uint8_t> encodePublic(const EcKey &key);

// Any of the forms above, as DER or PEM; false with a message in `error`.
bool decodeKey(const std::vector<uint8_t> &file, EcKey &key, std::string &error);

}  // namespace cli::eckey
