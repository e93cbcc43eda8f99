// EC encryption: an ephemeral ECDH value keys a SHA-1 counter stream that is XORed onto the
// message; the ciphertext is the ephemeral point R followed by the masked message. There is no
// integrity tag: a wrong key or a changed ciphertext decrypts to wrong bytes without an error.
#include <vorelcrypto/ec_protocols.h>
#include <vorelcrypto/random.h>

#include <cstring>

#include "common/wipe.h"
#include "ecc/protocol_internal.h"
#include "ecc/scalar_mul.h"

using namespace vc::ecc;
using namespace vc::ecc::proto;

namespace {

// Past 256 blocks the key stream's one-octet counter starts over and would repeat blocks.
constexpr uint32_t kMaxPlaintext = 256 * 20;

// Given, with bytes unless empty.
bool readable(const Opaque8 *s) { return s != nullptr && (s->data != nullptr || s->length == 0); }

}  // namespace

extern "C" {

uint32_t ZENOR_V1_ECC_getLengthOfMessageToBeEncrypted(const EcParams *params, uint32_t msgLen) {
    return params->G.length + msgLen;
}

uint32_t ZENOR_V1_ECC_getLengthOfOriginalMessage(const EcParams *params, const Opaque8 *ciphertext) {
    // Only the low 8 bits of the ciphertext length take part in the guard: callers that size
    // their buffers from this result depend on it.
    if ((ciphertext->length & 0xFF) <= params->G.length) return 0xFFFFFFFF;
    return ciphertext->length - params->G.length;
}

int32_t E_ECC_Encryption(int32_t curveId, const EcParams *, Opaque8 *ciphertext, const Opaque8 *plaintext,
                         const Opaque8 *recipientPublic) {
    if (!isBuiltInCurve(curveId) || ciphertext == nullptr || ciphertext->data == nullptr || !readable(plaintext) ||
        plaintext->length > kMaxPlaintext)
        return -4;
    const Order &o = curveOrder(curveId);
    uint8_t k[kOrderBytes], z[21];
    uint32_t kLength = 0, zLength = 0;
    E_GenerateRandom_X962(uint32_t(curveId), k, &kLength, o.n, kOrderBytes);
    const Opaque8 ephemeral{kLength, k};
    int result = ecdhValue(curveId, recipientPublic, &ephemeral, z, &zLength);
    if (result == 0) {
        const uint32_t rLength = pointBytes(curveId);
        // The message moves first so that a ciphertext buffer holding it in place still works.
        if (plaintext->length != 0) std::memmove(ciphertext->data + rLength, plaintext->data, plaintext->length);
        scalarMulBase(curveId, k, kLength, ciphertext->data, true);
        sha1CounterStream(z, zLength, nullptr, 0, ciphertext->data + rLength, plaintext->length, true);
        ciphertext->length = rLength + plaintext->length;
        result = 1;
    }
    vc::secure_wipe(k, sizeof k);
    vc::secure_wipe(z, sizeof z);
    return result;
}

int32_t E_ECC_Decryption(int32_t curveId, const EcParams *, Opaque8 *plaintext, const Opaque8 *ciphertext,
                         const Opaque8 *ownPrivate) {
    if (!isBuiltInCurve(curveId) || plaintext == nullptr || !readable(ciphertext)) return -4;
    const uint32_t rLength = pointBytes(curveId);
    if (ciphertext->length < rLength) return -1;
    const uint32_t length = ciphertext->length - rLength;
    if (length != 0 && plaintext->data == nullptr) return -4;
    const Opaque8 r{rLength, ciphertext->data};
    uint8_t z[21];
    uint32_t zLength = 0;
    const int result = ecdhValue(curveId, &r, ownPrivate, z, &zLength);
    if (result != 0) return result;
    if (length != 0) std::memmove(plaintext->data, ciphertext->data + rLength, length);
    sha1CounterStream(z, zLength, nullptr, 0, plaintext->data, length, true);
    plaintext->length = length;
    vc::secure_wipe(z, sizeof z);
    return 1;
}

}  // extern "C"
