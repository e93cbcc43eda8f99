// The provider's public-key keys: decoding a key record's DER into an engine record, writing
// generated keys, and the internal routines the V_ services call directly (RSA operations on a
// key record, the KCDSA pair generators).
#pragma once

#include <vorelcrypto/csp_pubkey.h>
#include <vorelcrypto/ecc.h>
#include <vorelcrypto/pubkey_records.h>

#include <cstdint>

namespace vc::csp {

// An elliptic-curve key: curve id, private scalar (empty for a public key) and point.
struct EcKey {
    int32_t curve;
    uint32_t dLength, pointLength;
    uint8_t d[32];
    uint8_t point[64];
};

// A key record's key, decoded. Large (a few KiB): callers keep it on the stack and wipe it.
struct DecodedKey {
    uint32_t algorithm;
    bool isPrivate;
    union {
        RsaKey rsa;
        KcdsaKey kcdsa;
        DsaKey dsa;
        DhKey dh;
        EcKey ec;
    };
};

// Decodes `der` as a key of `algorithm` (CSP_ALG_*), private or public form. 0 or
// CSP_ERR_INVALID_KEY. The EC-KCDSA and ECDH keys are EC keys.
int32_t decodeKey(uint32_t algorithm, const uint8_t *der, uint32_t length, DecodedKey *key);
// The key of a key record, by its header's algorithm (CSP_ERR_INVALID_KEY for a null record,
// no data, or data that does not decode).
int32_t openKey(const CspKeyRecord *record, DecodedKey *key);
// The key attribute of a context as a key record, or null.
const CspKeyRecord *keyAttribute(const CspContextRecord *record);

// DER of domain parameters into an engine record: DSA and KCDSA { p, q, g } (KCDSA also with
// the optional certificate fields), DH { p, g }. 0 or CSP_ERR_PARAMS.
int32_t decodeParams(uint32_t algorithm, const DataBlob *params, DecodedKey *key);

// Result blob of the provider's rule: a caller's buffer of at least `length` bytes (1011 when
// shorter, 1046 for a length without a buffer), or with Length 0 and no buffer a malloc'd one.
// 0 or the reason.
int32_t prepareResult(DataBlob *result, uint32_t length);

// ---- internal RSA routines: key data in the record's data blob (public or private DER; the
// header is not read). `out` needs the modulus length in bytes. 0 with *outLength set, or -1
// with the provider error set (1040 key, 1095 engine refused). ----
enum class RsaOperation { PublicEncrypt, PublicDecrypt, PrivateEncrypt, PrivateDecrypt, OaepEncrypt, OaepDecrypt };
int32_t rsaOperation(RsaOperation op, const CspKeyRecord *key, const uint8_t *in, uint32_t inLength,
                     const uint8_t *label, uint32_t labelLength, uint8_t *out, uint32_t *outLength);

// ---- internal KCDSA pair generators: 0, or non-zero with the provider error set ----
// A pair on the built-in 1024/160 parameters.
int32_t generateKcdsaKeyPair(CspKeyRecord *publicKey, CspKeyRecord *privateKey);
// New 1024/160 parameters and a pair on them; the parameters' DER goes to `params` (its
// buffer, Length the capacity, set to the DER length).
int32_t generateKcdsaKeyPairAndParams(CspKeyRecord *publicKey, CspKeyRecord *privateKey,
                                      DataBlob *params);

// The DER of an EC key (private when key.dLength != 0) into out (capacity `capacity`); the
// length, or 0 when it does not fit.
uint32_t encodeEcKey(const EcKey &key, uint8_t *out, uint32_t capacity);

}  // namespace vc::csp
