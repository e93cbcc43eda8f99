// RSA public keys between their DER record and the WTLS form (exponent and modulus octets).
#include <vorelcrypto/asn1.h>
#include <vorelcrypto/asym_services.h>
#include <vorelcrypto/common.h>
#include <vorelcrypto/frame.h>
#include <vorelcrypto/rsa.h>

namespace {

constexpr uint32_t kOctetsBuffer = 400;  // each of the exponent and modulus buffers
constexpr uint32_t kDerBuffer = 200;     // the DER buffer of V_WTLSPublicKey2RSA
constexpr uint32_t kExponentMaxBytes = 4;

// Skips leading zero octets.
void trim(const uint8_t *&p, uint16_t &n) {
    while (n > 0 && *p == 0) ++p, --n;
}

}  // namespace

extern "C" {

int32_t V_RSAPublicKey2WTLS(LibContext *ctx, const uint8_t *der, uint32_t derLength, uint8_t **exponent,
                            uint16_t *exponentLength, uint8_t **modulus, uint16_t *modulusLength) {
    if (ctx == nullptr) return -1;
    if (exponent == nullptr || exponentLength == nullptr || modulus == nullptr || modulusLength == nullptr)
        return V_WTLS_REFUSED;
    *exponent = *modulus = nullptr;
    *exponentLength = *modulusLength = 0;
    RsaKey key{};
    E_RSA_Init(&key);
    const uint8_t *p = der;
    uint32_t left = derLength;
    // The modulus must fit its 400-byte buffer (moduli of up to 3,200 bits).
    if (der == nullptr || E_ASN1_GetRSAPublicKey(&key, &p, &left) != 1 ||
        (EN_GetFilledBitNum(&key.n) + 7) / 8 > kOctetsBuffer)
        return V_WTLS_REFUSED;
    auto *e = static_cast<uint8_t *>(V_calloc(ctx, 1, kOctetsBuffer));
    if (e == nullptr) return ctx->error = VC_ERR_ALLOC;
    auto *n = static_cast<uint8_t *>(V_calloc(ctx, 1, kOctetsBuffer));
    if (n == nullptr) {
        V_free(ctx, e);
        return ctx->error = VC_ERR_ALLOC;
    }
    *exponentLength = uint16_t(EN_ENUMToBytes(&key.e, e));
    *modulusLength = uint16_t(EN_ENUMToBytes(&key.n, n));
    *exponent = e;
    *modulus = n;
    return 1;
}

int32_t V_WTLSPublicKey2RSA(LibContext *ctx, const uint8_t *exponent, uint16_t exponentLength, const uint8_t *modulus,
                            uint16_t modulusLength, uint8_t **der, uint32_t *derLength) {
    if (ctx == nullptr) return -1;
    if (der == nullptr || derLength == nullptr) return V_WTLS_REFUSED;
    *der = nullptr;
    *derLength = 0;
    if ((exponent == nullptr && exponentLength != 0) || (modulus == nullptr && modulusLength != 0))
        return V_WTLS_REFUSED;
    trim(exponent, exponentLength);
    trim(modulus, modulusLength);
    // A zero exponent or modulus would be written one octet longer than the size predicted.
    if (exponentLength == 0 || exponentLength > kExponentMaxBytes || modulusLength == 0 || modulusLength > kDerBuffer)
        return V_WTLS_REFUSED;
    RsaKey key{};
    E_RSA_Init(&key);
    EN_BytesToENUM(&key.e, exponent, exponentLength);
    EN_BytesToENUM(&key.n, modulus, modulusLength);
    const int32_t size = E_ASN1_GetRSAPublicKeyBytes(&key);
    if (size <= 0 || uint32_t(size) > kDerBuffer) return V_WTLS_REFUSED;
    auto *out = static_cast<uint8_t *>(V_calloc(ctx, 1, kDerBuffer));
    if (out == nullptr) return ctx->error = VC_ERR_ALLOC;
    *derLength = uint32_t(E_ASN1_PutRSAPublicKey(&key, out));
    *der = out;
    return 1;
}

}  // extern "C"
