// RSA keys for the command line: reading PKCS #1 (or PKCS #8 / SubjectPublicKeyInfo wrapped)
// DER or PEM files into the library's record, and writing them back.
#pragma once

#include <vorelcrypto/rsa.h>

#include <memory>
#include <string>
#include <vector>

namespace cli {

struct LoadedRsaKey {
    std::unique_ptr<RsaKey> key;
    bool isPrivate = false;
};

// Parses a key file (DER or PEM; RSAPrivateKey, RSAPublicKey, or either inside PKCS #8 /
// SubjectPublicKeyInfo). On failure prints one line and returns kFailed; with `needPrivate`
// a public key is refused likewise.
int loadRsaKey(const std::vector<uint8_t> &file, bool needPrivate, LoadedRsaKey &out);

// The DER of the public or private key.
std::vector<uint8_t> rsaPublicDer(const RsaKey *key);
std::vector<uint8_t> rsaPrivateDer(const RsaKey *key);

// k, the modulus length in bytes.
uint32_t rsaBytes(const RsaKey *key);

}  // namespace cli
