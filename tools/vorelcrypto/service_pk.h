// The --service paths of genkey, sign, verify, pkenc and pkdec: the same work done through the
// library's V_ public-key services instead of the engines. Each returns an exit status after
// printing any reason, as the PkAlgorithm handlers do.
#pragma once

#include "cli.h"

#include <cstdint>
#include <vector>

namespace cli {

// genkey --service: RSA with -b 512, 1024 or 2048 (V_GenerateRSAKey, written as PKCS #1),
// KCDSA on the built-in parameters (V_GenerateKCDSAKeyPair), ECDSA / EC-KCDSA on a curve
// (V_GenerateECCKeyPair, kind 15 or 16, written in the EC key file form).
int serviceGenkeyRsa(const Options &opts);
int serviceGenkeyKcdsa(const Options &opts);
int serviceGenkeyEc(const Options &opts, int kind, int curve);

// RSA PKCS #1 v1.5 signatures over a ready DigestInfo `t`: V_RSAPrivateEncrypt with the
// private key's DER; verification opens with V_RSAPublicDecrypt and compares with `t`.
int serviceRsaSign(const std::vector<uint8_t> &privateDer, uint32_t modulusBytes, const std::vector<uint8_t> &t,
                   std::vector<uint8_t> &signature);
bool serviceRsaVerify(const std::vector<uint8_t> &publicDer, const std::vector<uint8_t> &t,
                      const std::vector<uint8_t> &signature);

// KCDSA through V_KCDSA_Sign / V_KCDSA_Verify with the hash id of the message functions
// (E_KCDSA_HASH_HAS160 or E_KCDSA_HASH_SHA1); `keyFile` as given to sign or verify.
int serviceKcdsaSign(uint32_t hash, const std::vector<uint8_t> &keyFile, const std::vector<uint8_t> &message,
                     std::vector<uint8_t> &signature);
int serviceKcdsaVerify(uint32_t hash, const std::vector<uint8_t> &keyFile, const std::vector<uint8_t> &message,
                       const std::vector<uint8_t> &signature);

// ECDSA (kind 15) and EC-KCDSA (16) through V_ECC_Sign / V_ECC_Verify.
int serviceEcSign(int kind, int curve, const std::vector<uint8_t> &d, const std::vector<uint8_t> &q,
                  const std::vector<uint8_t> &message, std::vector<uint8_t> &signature);
int serviceEcVerify(int kind, int curve, const std::vector<uint8_t> &q, const std::vector<uint8_t> &message,
                    const std::vector<uint8_t> &signature);

// pkenc / pkdec through the RSA services (PKCS #1 v1.5 or OAEP with an empty label) on the
// key's PKCS #1 DER; results of encryption are cut to the modulus length.
int serviceRsaCrypt(bool decrypt, bool oaep, const std::vector<uint8_t> &keyDer, uint32_t modulusBytes,
                    const std::vector<uint8_t> &in, std::vector<uint8_t> &out);

}  // namespace cli
