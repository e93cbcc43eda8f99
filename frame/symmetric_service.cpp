// V_Encryption, V_Decryption and their fixed-IV forms. The algorithm id picks the way:
//   1          private three-key triple DES CBC (this file, on the DES engine),
//   2, 11      private RC2-CBC (this file, on the RC2 engine),
//   15         the GPKI module (gpki_handoff.cpp),
//   others     the dispatch: SEED-CBC on its engine for 10, the provider (handle 100) otherwise.
// The fixed-IV forms run the dispatch only, where ids 1, 2 and 11 go through the provider.
#include <vorelcrypto/cipher.h>
#include <vorelcrypto/common.h>
#include <vorelcrypto/csp.h>
#include <vorelcrypto/frame.h>

#include <cstring>
#include <initializer_list>
#include <iterator>

#include "common/wipe.h"
#include "frame/gpki_handoff.h"
#include "frame/provider_records.h"
#include "frame/symmetric_service.h"

namespace vc::frame {

namespace {

constexpr uint32_t kBlock = 8;

bool tripleDesCbc(const SymKeyRecord *key, const uint8_t *iv, bool encrypt, uint8_t *data,
                  uint32_t length) {
    if (key->keyLength < 24) return false;
    Des3_3KeySchedule ks;
    E_DES3_3Key_Schedule(&ks, key->key);
    if (encrypt)
        E_DES3_3Key_CBC_Encrypt(data, data, &ks, length, iv);
    else
        E_DES3_3Key_CBC_Decrypt(data, data, &ks, length, iv);
    vc::secure_wipe_object(ks);
    return true;
}

bool rc2Cbc(const SymKeyRecord *key, const uint8_t *iv, bool encrypt, uint8_t *data,
            uint32_t length) {
    if (key->keyLength == 0 || key->keyLength > 128) return false;
    Rc2KeySchedule ks;
    E_RC2_KeySchedule(&ks, key->key, key->keyLength, int32_t(8 * key->keyLength));
    if (encrypt)
        E_RC2_CBC_Encrypt(data, data, &ks, length, iv);
    else
        E_RC2_CBC_Decrypt(data, data, &ks, length, iv);
    vc::secure_wipe_object(ks);
    return true;
}

}  // namespace

bool privateCbc(const SymKeyRecord *key, const uint8_t *iv, bool encrypt, uint8_t *data,
                uint32_t length) {
    if (key->key == nullptr || iv == nullptr || key->ivLength < kBlock || length == 0 ||
        length % kBlock != 0)
        return false;
    switch (key->algorithm) {
    case V_SYM_DES3: return tripleDesCbc(key, iv, encrypt, data, length);
    case V_SYM_RC2:
    case V_SYM_RC2_40: return rc2Cbc(key, iv, encrypt, data, length);
    default: return false;
    }
}

}  // namespace vc::frame

namespace {

using namespace vc::frame;

enum class Direction { Encrypt, Decrypt };

// The library's fixed IV: SEED takes all 16 bytes, the provider path the first 8 ("58203716").
constexpr uint8_t kFixedIv[17] = "5820371649385027";

// Appends the PKCS #5 / #7 padding over `block` after `length` bytes; returns the padded length.
uint32_t pad(uint8_t *data, uint32_t length, uint32_t block) {
    const uint32_t n = block - length % block;
    std::memset(data + length, int(n), n);
    return length + n;
}

// The length without a padding whose last byte is 1 to `block`, or -1. Only the last byte is
// read; cipher texts made by other programs may fill the rest of the padding differently.
int64_t unpaddedLength(const uint8_t *data, uint32_t length, uint32_t block) {
    const uint32_t p = length == 0 ? 0 : data[length - 1];
    return p >= 1 && p <= block && p <= length ? int64_t(length - p) : -1;
}

// ---- the dispatch ----

struct CipherRequest {
    uint32_t algorithm;
    uint32_t mode;          // service mode id 0 to 3
    const uint8_t *key;     // as many bytes as the algorithm takes
    const uint8_t *iv;      // 16 bytes for SEED, 8 otherwise
    bool seedInAnyMode;     // the fixed-IV forms ignore the mode for SEED
};

int32_t seedCbc(LibContext *ctx, const CipherRequest &r, const DataBlob *input, DataBlob *output,
                Direction d) {
    constexpr uint32_t kSeedBlock = 16;
    if (!r.seedInAnyMode && r.mode != V_MODE_CBC) return VC_ERR_MODE;
    // Missing key or IV bytes fail where the provider path would refuse them.
    if (r.key == nullptr) return VC_ERR_KEY_IMPORT;
    if (r.iv == nullptr) return d == Direction::Encrypt ? VC_ERR_ENC_INIT : VC_ERR_DEC_INIT;
    const uint32_t length = input->Length;
    uint8_t *out = nullptr;
    if (d == Direction::Encrypt && (out = allocBytes(ctx, length, 32)) == nullptr) return VC_ERR_ALLOC;
    uint8_t *work = allocBytes(ctx, length, kSeedBlock);
    if (work == nullptr) {
        V_free(ctx, out);
        return VC_ERR_ALLOC;
    }
    std::memcpy(work, input->Data, length);
    SeedKeySchedule ks;
    E_SEED_KeySchedule(&ks, r.key);
    int32_t code = VC_OK;
    uint32_t outLength = 0;
    if (d == Direction::Encrypt) {
        outLength = pad(work, length, kSeedBlock);
        E_SEED_CBC_Encrypt(work, out, &ks, outLength, r.iv);
    } else if (length == 0 || length % kSeedBlock != 0) {
        code = VC_ERR_BAD_PADDING;  // not whole blocks: no padding can be found
    } else {
        E_SEED_CBC_Decrypt(work, work, &ks, length, r.iv);
        const int64_t plain = unpaddedLength(work, length, kSeedBlock);
        if (plain < 0) {
            code = VC_ERR_BAD_PADDING;
        } else if ((out = allocBytes(ctx, uint32_t(plain), 0)) == nullptr) {
            code = VC_ERR_ALLOC;
        } else {
            outLength = uint32_t(plain);
            std::memcpy(out, work, outLength);
        }
    }
    vc::secure_wipe_object(ks);
    vc::secure_wipe(work, length + kSeedBlock);  // plaintext, before or after the cipher
    V_free(ctx, work);
    if (code == VC_OK)
        *output = DataBlob{outLength, out};
    else
        V_free(ctx, out);
    return code;
}

// The temporaries of one provider run, in the order they are made.
struct ProviderRun {
    ContextHolder *cipher = nullptr, *keygen = nullptr;
    uint8_t *in = nullptr, *updateOut = nullptr, *closing = nullptr, *iv = nullptr;
    DataBlob key{0, nullptr};  // the provider key record, once made
    bool keyMade = false;

    bool allocate(LibContext *ctx, uint32_t length) {
        return (cipher = newContextHolder(ctx, CSP_CLASS_SYMMETRIC)) != nullptr &&
               (keygen = newContextHolder(ctx, CSP_CLASS_KEYGEN)) != nullptr &&
               (in = allocBytes(ctx, length, 30)) != nullptr &&
               (updateOut = allocBytes(ctx, length, 1000)) != nullptr &&
               (closing = allocBytes(ctx, length, 1000)) != nullptr &&
               (key.Data = allocBytes(ctx, CSP_KEY_RECORD_MAX, 0)) != nullptr &&
               (iv = allocBytes(ctx, 16, 0)) != nullptr;
    }
    void release(LibContext *ctx) {
        if (keyMade) CSP_FreeKey(CSP_MODULE_HANDLE, &key);  // wipes the key schedule
        freeContextHolder(ctx, cipher);
        freeContextHolder(ctx, keygen);
        for (uint8_t *p : {in, updateOut, closing, key.Data, iv}) V_free(ctx, p);
    }
};

constexpr uint32_t kCdsaMode[] = {CSP_MODE_ECB, CSP_MODE_CBC, CSP_MODE_CFB, CSP_MODE_OFB};

struct ProviderSteps {
    int32_t (*init)(uint32_t, CspContextHandle, const CspContextRecord *);
    int32_t (*update)(uint32_t, CspContextHandle, const DataBlob *, uint32_t, DataBlob *, uint32_t,
                      uint32_t *);
    int32_t (*final)(uint32_t, CspContextHandle, DataBlob *);
    int32_t initFailed, updateFailed, finalFailed;
};
constexpr ProviderSteps kEncryptSteps{CSP_EncryptDataInit, CSP_EncryptDataUpdate,
                                      CSP_EncryptDataFinal, VC_ERR_ENC_INIT, VC_ERR_ENC_UPDATE,
                                      VC_ERR_ENC_FINAL};
constexpr ProviderSteps kDecryptSteps{CSP_DecryptDataInit, CSP_DecryptDataUpdate,
                                      CSP_DecryptDataFinal, VC_ERR_DEC_INIT, VC_ERR_DEC_UPDATE,
                                      VC_ERR_DEC_UPDATE};

int32_t runProvider(LibContext *ctx, ProviderRun &run, const CipherRequest &r,
                    const DataBlob *input, DataBlob *output, const ProviderSteps &steps) {
    // Inputs shorter than a block are made 8 bytes long first (bytes of value 8 - length), for
    // every algorithm: cipher texts of short messages have always been made this way.
    uint32_t length = input->Length;
    std::memcpy(run.in, input->Data, length);
    if (length < kBlock) length = pad(run.in, length, kBlock);

    const CipherRow *row = findCipherRow(r.algorithm);
    if (importProviderKey(run.keygen, row, r.key, &run.key) != 0) return VC_ERR_KEY_IMPORT;
    run.keyMade = true;
    if (r.mode >= std::size(kCdsaMode)) return VC_ERR_MODE;

    // A missing IV reaches the provider as an empty one, which it refuses where a mode needs it.
    DataBlob iv{r.iv != nullptr ? row->ivBytes : 0, run.iv};
    if (iv.Length != 0) std::memcpy(run.iv, r.iv, iv.Length);
    CspContextRecord *cipher = run.cipher->record;
    cipher->algorithm = row->providerAlgorithm;
    addBlobAttribute(run.cipher, CSP_ATTR_KEY, &run.key);
    addUint32Attribute(run.cipher, CSP_ATTR_MODE, kCdsaMode[r.mode]);
    addBlobAttribute(run.cipher, CSP_ATTR_INIT_VECTOR, &iv);

    const DataBlob in{length, run.in};
    DataBlob out{input->Length + 1000, run.updateOut};
    DataBlob closing{1000, run.closing};
    uint32_t written = 0;
    if (steps.init(CSP_MODULE_HANDLE, cipher, nullptr) != 0) return steps.initFailed;
    if (steps.update(CSP_MODULE_HANDLE, cipher, &in, 1, &out, 1, &written) != 0)
        return steps.updateFailed;
    if (steps.final(CSP_MODULE_HANDLE, cipher, &closing) != 0) return steps.finalFailed;

    uint8_t *result = allocBytes(ctx, written, closing.Length);
    if (result == nullptr) return VC_ERR_ALLOC;
    std::memcpy(result, run.updateOut, written);
    std::memcpy(result + written, run.closing, closing.Length);
    *output = DataBlob{written + closing.Length, result};
    return VC_OK;
}

int32_t providerCipher(LibContext *ctx, const CipherRequest &r, const DataBlob *input,
                       DataBlob *output, Direction d) {
    ProviderRun run;
    int32_t code = VC_ERR_ALLOC;
    if (run.allocate(ctx, input->Length))
        code = runProvider(ctx, run, r, input, output,
                           d == Direction::Encrypt ? kEncryptSteps : kDecryptSteps);
    run.release(ctx);
    return code;
}

// The inner dispatch: leaves its code in the state's lastError and returns it. `output` is
// written on success only.
int32_t dispatch(CryptoState *state, const CipherRequest &r, const DataBlob *input,
                 DataBlob *output, Direction d) {
    LibContext *ctx = state->owner;
    const int32_t code = r.algorithm == V_SYM_SEED ? seedCbc(ctx, r, input, output, d)
                                                   : providerCipher(ctx, r, input, output, d);
    state->lastError = code;
    return code;
}

// ---- the private triple DES and RC2 paths ----

int32_t privateCipher(LibContext *ctx, const SymKeyRecord *key, const DataBlob *input,
                      DataBlob *output, Direction d) {
    const bool des3 = key->algorithm == V_SYM_DES3;
    const bool encrypt = d == Direction::Encrypt;
    const int32_t failed = des3 ? (encrypt ? VC_ERR_DIRECT_ENC : VC_ERR_DIRECT_DEC)
                                : (encrypt ? VC_ERR_DIRECT_ENC2 : VC_ERR_DIRECT_DEC2);
    // Triple DES works on its own copy of the IV.
    uint8_t *ivCopy = nullptr;
    if (des3) {
        if ((ivCopy = allocBytes(ctx, key->ivLength, 0)) == nullptr) return VC_ERR_ALLOC;
        if (key->iv != nullptr) std::memcpy(ivCopy, key->iv, key->ivLength);
    }
    const uint32_t length = input->Length;
    uint8_t *out = allocBytes(ctx, length, 20);
    if (out == nullptr) {
        V_free(ctx, ivCopy);
        return VC_ERR_ALLOC;
    }
    std::memcpy(out, input->Data, length);
    const uint32_t cipherLength = encrypt ? pad(out, length, kBlock) : length;
    int64_t outLength = -1;
    if (privateCbc(key, des3 ? ivCopy : key->iv, encrypt, out, cipherLength))
        outLength = encrypt ? cipherLength : unpaddedLength(out, length, kBlock);
    V_free(ctx, ivCopy);
    if (outLength < 0) {
        V_free(ctx, out);
        return failed;
    }
    *output = DataBlob{uint32_t(outLength), out};
    return VC_OK;
}

// ---- the exported services ----

uint32_t finish(LibContext *ctx, DataBlob *output, int32_t stored, int32_t returned) {
    if (returned != VC_OK && output != nullptr) *output = DataBlob{0, nullptr};
    if (returned != VC_ERR_GPKI_ABSENT) ctx->error = stored;
    return uint32_t(returned);
}

uint32_t symmetric(LibContext *ctx, const SymKeyRecord *key, const DataBlob *input,
                   DataBlob *output, Direction d) {
    if (ctx == nullptr) return uint32_t(-1);
    if (d == Direction::Decrypt) ctx->error = VC_OK;
    CryptoState *state = ctx->state;
    if (state == nullptr || key == nullptr || input == nullptr || input->Data == nullptr)
        return finish(ctx, output, VC_ERR_NOT_READY, VC_ERR_NOT_READY);

    int32_t code;
    switch (key->algorithm) {
    case V_SYM_DES3:
    case V_SYM_RC2:
    case V_SYM_RC2_40:
        code = privateCipher(ctx, key, input, output, d);
        return finish(ctx, output, code, code);
    case V_SYM_GPKI:
        code = gpkiSymmetric(ctx, key, input, output, d == Direction::Encrypt);
        return finish(ctx, output, code, code);
    default:
        code = dispatch(state, {key->algorithm, key->mode, key->key, key->iv, false}, input, output, d);
        if (code == VC_OK) return finish(ctx, output, VC_OK, VC_OK);
        // Encryption keeps returning the dispatch's own code; callers test both numbers.
        if (d == Direction::Encrypt) return finish(ctx, output, VC_ERR_ENCRYPTION, code);
        return finish(ctx, output, VC_ERR_DECRYPTION, VC_ERR_DECRYPTION);
    }
}

uint32_t symmetricFixedIv(CryptoState *state, uint32_t algorithm, uint32_t mode,
                          const DataBlob *key, const DataBlob *input, DataBlob *output,
                          Direction d) {
    if (state == nullptr) return VC_ERR_NOT_READY;  // no context to store into
    int32_t code = VC_ERR_NOT_READY;
    if (key != nullptr && input != nullptr && input->Data != nullptr)
        code = dispatch(state, {algorithm, mode, key->Data, kFixedIv, true}, input, output, d);
    state->lastError = code;
    return finish(state->owner, output, code, code);
}

}  // namespace

extern "C" {

uint32_t V_Encryption(LibContext *ctx, const SymKeyRecord *key, const DataBlob *input,
                      DataBlob *output) {
    return symmetric(ctx, key, input, output, Direction::Encrypt);
}

uint32_t V_Decryption(LibContext *ctx, const SymKeyRecord *key, const DataBlob *input,
                      DataBlob *output) {
    return symmetric(ctx, key, input, output, Direction::Decrypt);
}

uint32_t V_Encryption_IV_Fix(CryptoState *state, uint32_t algorithm, uint32_t mode,
                             const DataBlob *key, const DataBlob *input, DataBlob *output) {
    return symmetricFixedIv(state, algorithm, mode, key, input, output, Direction::Encrypt);
}

uint32_t V_Decryption_IV_Fix(CryptoState *state, uint32_t algorithm, uint32_t mode,
                             const DataBlob *key, const DataBlob *input, DataBlob *output) {
    return symmetricFixedIv(state, algorithm, mode, key, input, output, Direction::Decrypt);
}

}  // extern "C"
