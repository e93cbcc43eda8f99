// ECDH on the built-in curves, the ANSI X9.63 key derivation with SHA-1 and the two X9.63
// agreement schemes built from them.
#include <vorelcrypto/ec_protocols.h>

#include <cstring>

#include "common/wipe.h"
#include "ecc/protocol_internal.h"

using namespace vc::ecc::proto;

namespace {

constexpr uint32_t kMaxZ = 21;

// bytes = ceil(bits / 8) octets of SHA-1(z || counter || info) blocks. When they end inside a
// block and bits is not a multiple of 8, the unused low bits of the last octet are cleared;
// when they end on a block boundary nothing is cleared, whatever bits is: keys derived so far
// depend on both.
void derive(const uint8_t *z, uint32_t zLength, Opaque8 *keyData, const Opaque8 *sharedInfo) {
    const uint32_t bits = keyData->length;
    const uint64_t bytes = (uint64_t(bits) + 7) / 8;
    const bool info = present(sharedInfo);
    sha1CounterStream(z, zLength, info ? sharedInfo->data : nullptr, info ? sharedInfo->length : 0,
                      keyData->data, bytes, false);
    if (bytes % 20 != 0 && bits % 8 != 0) keyData->data[bytes - 1] &= uint8_t(0xFF << (8 - bits % 8));
}

int primitive(int32_t curveId, const Opaque8 *peer, const Opaque8 *own, Opaque8 *z) {
    if (z == nullptr || z->data == nullptr) return -4;
    uint8_t value[kMaxZ];
    uint32_t length = 0;
    const int result = ecdhValue(curveId, peer, own, value, &length);
    if (result == 0) {
        std::memcpy(z->data, value, length);
        z->length = length;
    }
    vc::secure_wipe(value, sizeof value);
    return result;
}

}  // namespace

extern "C" {

int32_t ZENOR_V1_ECDHPrimitive(int32_t curveId, const EcParams *, const Opaque8 *peerPublic,
                               const Opaque8 *ownPrivate, Opaque8 *z) {
    return primitive(curveId, peerPublic, ownPrivate, z);
}

int32_t E_ECC_ECDH_Primitive(int32_t curveId, const EcParams *, const Opaque8 *peerPublic,
                             const Opaque8 *ownPrivate, Opaque8 *z) {
    return primitive(curveId, peerPublic, ownPrivate, z);
}

int32_t ZENOR_V1_DeriveKeyData(int32_t, const Opaque8 *z, Opaque8 *keyData, const Opaque8 *sharedInfo) {
    if (keyData == nullptr || keyData->data == nullptr || z == nullptr) return 0;
    derive(z->length != 0 ? z->data : nullptr, z->length, keyData, sharedInfo);
    return 0;
}

int32_t E_ECC_X9_63_KAS_OPDHS(int32_t curveId, const EcParams *, const Opaque8 *peerPublic,
                              const Opaque8 *ownPrivate, Opaque8 *keyData, const Opaque8 *sharedInfo) {
    if (keyData == nullptr || keyData->data == nullptr) return -4;
    uint8_t z[kMaxZ];
    uint32_t length = 0;
    const int result = ecdhValue(curveId, peerPublic, ownPrivate, z, &length);
    if (result == 0) derive(z, length, keyData, sharedInfo);
    vc::secure_wipe(z, sizeof z);
    return result;
}

int32_t E_ECC_X9_63_FUMS(int32_t curveId, const EcParams *, const Opaque8 *public1, const Opaque8 *private1,
                         const Opaque8 *public2, const Opaque8 *private2, Opaque8 *keyData,
                         const Opaque8 *sharedInfo) {
    if (keyData == nullptr || keyData->data == nullptr) return -4;
    uint8_t z[2 * kMaxZ];
    uint32_t first = 0, second = 0;
    int result = ecdhValue(curveId, public1, private1, z, &first);
    if (result == 0) result = ecdhValue(curveId, public2, private2, z + first, &second);
    if (result == 0) derive(z, first + second, keyData, sharedInfo);
    vc::secure_wipe(z, sizeof z);
    return result;
}

}  // extern "C"
