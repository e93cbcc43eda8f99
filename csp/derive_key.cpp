// CSP_DeriveKey: the shared value of Diffie-Hellman and of ECDH under the own private key.
#include <vorelcrypto/dsa_dh.h>
#include <vorelcrypto/ec_protocols.h>

#include <cstring>

#include "common/wipe.h"
#include "csp/attributes.h"
#include "csp/provider_error.h"
#include "csp/pubkey.h"

namespace vc::csp {
namespace {

constexpr uint32_t kMaxShared = 600;  // the largest p a DH key record holds (150 words)

bool isEcKeyAlgorithm(uint32_t a) { return a == CSP_ALG_ECDH || a == CSP_ALG_ECDSA; }

int32_t derive(CspContextRecord *record, const CspContextRecord *context, const DataBlob *peer,
               DataBlob *derived) {
    if (record == nullptr) return CSP_ERR_NO_CONTEXT;
    adoptContext(record, context);
    if (record->contextClass != CSP_CLASS_DERIVE) return CSP_ERR_CLASS;
    const uint32_t algorithm = record->algorithm;
    if (algorithm != CSP_ALG_DH && algorithm != CSP_ALG_ECDH) return CSP_ERR_ALGORITHM;
    if (findAttribute(record, CSP_ATTR_KEY) == nullptr) return CSP_ERR_MISSING_ATTRIBUTE;
    if (peer == nullptr || derived == nullptr) return CSP_ERR_NULL_BLOB;
    if (peer->Data == nullptr) return CSP_ERR_NULL_DATA;
    const CspKeyRecord *own = keyAttribute(record);
    // An ECDH key is an ECDSA pair: either record serves.
    const bool sameKind = own != nullptr && (own->header.algorithm == algorithm ||
                                             (algorithm == CSP_ALG_ECDH && isEcKeyAlgorithm(own->header.algorithm)));
    if (!sameKind) return CSP_ERR_INVALID_KEY;
    DecodedKey k;
    int32_t reason = openKey(own, &k);
    if (reason == 0 && !k.isPrivate) reason = CSP_ERR_INVALID_KEY;
    uint8_t shared[kMaxShared];
    uint32_t length = 0;
    if (reason == 0 && algorithm == CSP_ALG_DH) {
        uint32_t words[150];
        ENUM value{0, 0, words};
        if (peer->Length > sizeof words) {
            reason = CSP_ERR_ENGINE;
        } else {
            EN_BytesToENUM(&value, peer->Data, peer->Length);
            const int32_t n = E_DH_ComputeKey(shared, &value, &k.dh);
            if (n <= 0) reason = CSP_ERR_ENGINE;
            else length = uint32_t(n);
        }
    } else if (reason == 0) {
        EcParams params;
        const Opaque8 point{peer->Length, peer->Data}, priv{k.ec.dLength, k.ec.d};
        Opaque8 z{0, shared};
        if (E_ECParams_Init(k.ec.curve, &params) != 0 ||
            E_ECC_ECDH_Primitive(k.ec.curve, &params, &point, &priv, &z) != 0 || z.length == 0)
            reason = CSP_ERR_ENGINE;
        length = z.length;
    }
    vc::secure_wipe_object(k);
    if (reason == 0) reason = prepareResult(derived, length);
    if (reason == 0) {
        std::memcpy(derived->Data, shared, length);
        derived->Length = length;
    }
    vc::secure_wipe(shared, sizeof shared);
    return reason;
}

}  // namespace
}  // namespace vc::csp

extern "C" int32_t CSP_DeriveKey(uint32_t, CspContextHandle handle, const CspContextRecord *context,
                                 const DataBlob *peer, uint32_t, uint32_t, DataBlob *derived) {
    const int32_t reason = vc::csp::derive(handle, context, peer, derived);
    return reason == 0 ? 0 : vc::csp::SetProviderError(reason);
}
