// The provider's internal RSA routines: PKCS #1 v1.5 and RSAES-OAEP on a key record whose data
// is an RSA key's DER (public or private form). The header is not read: the V_ services hand
// over the caller's key bytes in an otherwise zeroed record.
#include <vorelcrypto/rsa.h>

#include "common/wipe.h"
#include "csp/provider_error.h"
#include "csp/pubkey.h"

namespace vc::csp {

int32_t rsaOperation(RsaOperation op, const CspKeyRecord *record, const uint8_t *in, uint32_t inLength,
                     const uint8_t *label, uint32_t labelLength, uint8_t *out, uint32_t *outLength) {
    if (record == nullptr || out == nullptr || outLength == nullptr || (in == nullptr && inLength != 0))
        return SetProviderError(CSP_ERR_NULL_BLOB);
    DecodedKey k;
    if (decodeKey(CSP_ALG_RSA, record->keyData.Data, record->keyData.Length, &k) != 0)
        return SetProviderError(CSP_ERR_INVALID_KEY);
    RsaKey *key = &k.rsa;
    const bool needsPrivate = op == RsaOperation::PrivateEncrypt || op == RsaOperation::PrivateDecrypt ||
                              op == RsaOperation::OaepDecrypt;
    int32_t result = -1;
    if (needsPrivate && !k.isPrivate) {
        vc::secure_wipe_object(k);
        return SetProviderError(CSP_ERR_INVALID_KEY);
    }
    // The engines take signed lengths; longer inputs can never fit a modulus.
    const auto length = int32_t(inLength > 0x7FFFFFFF ? 0x7FFFFFFF : inLength);
    switch (op) {
    case RsaOperation::PublicEncrypt: result = E_RSA_Public_Encrypt(out, in, length, key); break;
    case RsaOperation::PublicDecrypt: result = E_RSA_Public_Decrypt(out, in, inLength, key); break;
    case RsaOperation::PrivateEncrypt: result = E_RSA_Private_Encrypt(out, in, length, key); break;
    case RsaOperation::PrivateDecrypt: result = E_RSA_Private_Decrypt(out, in, inLength, key); break;
    case RsaOperation::OaepEncrypt:
        result = E_RSAES_OAEP_Encrypt(out, in, inLength, label, labelLength, key);
        break;
    case RsaOperation::OaepDecrypt:
        result = E_RSAES_OAEP_Decrypt(out, in, inLength, label, labelLength, key);
        break;
    }
    vc::secure_wipe_object(k);
    // A result of 0 is a failed check, except where it is an empty opened message.
    const bool zeroFails = op == RsaOperation::PublicEncrypt || op == RsaOperation::PrivateEncrypt ||
                           op == RsaOperation::PrivateDecrypt;
    if (result < 0 || (result == 0 && zeroFails)) return SetProviderError(CSP_ERR_ENGINE);
    *outLength = uint32_t(result);
    return 0;
}

}  // namespace vc::csp
