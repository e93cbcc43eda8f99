// Elliptic-curve services: ECDSA and EC-KCDSA signatures and EC encryption through the curve
// engines, on keys given as raw octets. The encryption services report only a missing input:
// a failing engine leaves the output empty and still returns 0, as their callers expect.
#include <vorelcrypto/asym_services.h>
#include <vorelcrypto/common.h>
#include <vorelcrypto/ec_protocols.h>
#include <vorelcrypto/frame.h>

#include <algorithm>
#include <cstring>

namespace {

constexpr uint32_t kSignatureSlack = 40;     // the work buffer is the private key length + this
constexpr uint32_t kSignatureRoom = 50;      // the most either signer writes
constexpr uint32_t kEncryptionSlack = 100;   // room for R ahead of the cipher text

Opaque8 octets(const DataBlob *blob) { return blob != nullptr ? Opaque8{blob->Length, blob->Data} : Opaque8{0, nullptr}; }

// Copies `length` bytes into a new output; false when it cannot be allocated.
bool copyOut(LibContext *ctx, const uint8_t *from, uint32_t length, DataBlob *out) {
    auto *data = static_cast<uint8_t *>(V_calloc(ctx, 1, length));
    if (data == nullptr) return false;
    std::memcpy(data, from, length);
    *out = {length, data};
    return true;
}

bool missing(const DataBlob *blob) { return blob == nullptr || blob->Data == nullptr; }

}  // namespace

extern "C" {

int32_t V_ECC_Sign(LibContext *ctx, int32_t kind, int32_t curve, const DataBlob *message, const DataBlob *publicKey,
                   const DataBlob *privateKey, DataBlob *signature) {
    if (ctx == nullptr || signature == nullptr || privateKey == nullptr) return -1;
    // Never less than what the engine writes, whatever the key's length.
    const uint64_t wanted = uint64_t(privateKey->Length) + kSignatureSlack;
    const uint32_t room = uint32_t(std::max<uint64_t>(wanted > UINT32_MAX ? UINT32_MAX : wanted, kSignatureRoom));
    auto *work = static_cast<uint8_t *>(V_calloc(ctx, 1, room));
    if (work == nullptr) {
        ctx->error = VC_ERR_ALLOC;
        return -1;
    }
    EcParams params;
    const Opaque8 msg = octets(message), priv = octets(privateKey), pub = octets(publicKey);
    Opaque8 sig{0, work};
    int32_t result = E_ECParams_Init(curve, &params);
    if (result == 0 && kind == V_ASYM_ECDSA)
        result = E_ECDSA_Sign(curve, &params, &msg, &sig, &priv);
    else if (result == 0 && kind == V_ASYM_ECKCDSA)
        result = E_ECKCDSA_Sign(curve, &params, &msg, &sig, &priv, pub.length != 0 && pub.data != nullptr ? &pub : nullptr);
    else
        result = -1;
    int32_t code = VC_OK;
    if (result != 0 || sig.length == 0) code = -1;
    else if (!copyOut(ctx, work, sig.length, signature)) code = ctx->error = VC_ERR_ALLOC;
    else ctx->error = VC_OK;
    V_free(ctx, work);
    return code;
}

int32_t V_ECC_Verify(LibContext *, int32_t kind, int32_t curve, const DataBlob *message, const DataBlob *signature,
                     const DataBlob *publicKey) {
    EcParams params;
    if (E_ECParams_Init(curve, &params) != 0) return -1;
    const Opaque8 msg = octets(message), sig = octets(signature), pub = octets(publicKey);
    if (kind == V_ASYM_ECDSA) return E_ECDSA_Verify(curve, &params, &msg, &sig, &pub);
    if (kind == V_ASYM_ECKCDSA) return E_ECKCDSA_Verify(curve, &params, &msg, &sig, &pub);
    return -1;
}

}  // extern "C"

namespace {

// The shared body of V_ECC_Encryption (encrypt) and V_ECC_Decryption.
int32_t eccCrypt(LibContext *ctx, int32_t curve, const DataBlob *key, const DataBlob *input, DataBlob *output,
                 bool encrypt) {
    if (ctx == nullptr || output == nullptr) return -1;
    if (missing(input) || missing(key)) return VC_ERR_NOT_READY;
    *output = {0, nullptr};
    // An empty input still gets a buffer (the engines refuse it).
    const uint64_t room = std::max<uint64_t>(uint64_t(input->Length) + (encrypt ? kEncryptionSlack : 0), 1);
    auto *work = room > UINT32_MAX ? nullptr : static_cast<uint8_t *>(V_calloc(ctx, 1, uint32_t(room)));
    if (work == nullptr) {
        ctx->error = VC_ERR_ALLOC;
        return VC_OK;
    }
    EcParams params;
    const Opaque8 in = octets(input), k = octets(key);
    Opaque8 out{0, work};
    int32_t result = E_ECParams_Init(curve, &params);
    if (result == 0)
        result = encrypt ? E_ECC_Encryption(curve, &params, &out, &in, &k) : E_ECC_Decryption(curve, &params, &out, &in, &k);
    if (result == 1) ctx->error = copyOut(ctx, work, out.length, output) ? VC_OK : VC_ERR_ALLOC;
    V_free(ctx, work);
    return VC_OK;
}

}  // namespace

extern "C" {

int32_t V_ECC_Encryption(LibContext *ctx, int32_t curve, const DataBlob *publicKey, const DataBlob *message,
                         DataBlob *output) {
    return eccCrypt(ctx, curve, publicKey, message, output, true);
}

int32_t V_ECC_Decryption(LibContext *ctx, int32_t curve, const DataBlob *privateKey, const DataBlob *input,
                         DataBlob *output) {
    return eccCrypt(ctx, curve, privateKey, input, output, false);
}

}  // extern "C"
