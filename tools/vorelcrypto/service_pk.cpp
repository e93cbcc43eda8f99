// The --service paths of the public-key commands, through the V_ services of asym_services.h.
#include "service_pk.h"

#include <vorelcrypto/asn1.h>
#include <vorelcrypto/asym_services.h>
#include <vorelcrypto/common.h>
#include <vorelcrypto/kcdsa.h>

#include <cstring>
#include <memory>
#include <string>

#include "ec_keyfile.h"
#include "pk_algorithms.h"
#include "service_status.h"

namespace cli {
namespace {

DataBlob constBlob(const std::vector<uint8_t> &b) {
    return {uint32_t(b.size()), const_cast<uint8_t *>(b.data())};
}

// Moves a service result into `out` and frees it.
void take(LibContext *ctx, DataBlob &blob, std::vector<uint8_t> &out) {
    out.assign(blob.Data, blob.Data + (blob.Data != nullptr ? blob.Length : 0));
    V_free(ctx, blob.Data);
    blob = {0, nullptr};
}

// The KCDSA public key DER of a key file holding either key.
bool kcdsaPublicDer(const std::vector<uint8_t> &file, std::vector<uint8_t> &der) {
    std::string label;
    if (!readKeyBytes(file, der, label)) return false;
    auto key = std::make_unique<KcdsaKey>();
    std::memset(key.get(), 0, sizeof(KcdsaKey));
    E_KCDSA_Init(key.get());
    const uint8_t *p = der.data();
    uint32_t left = uint32_t(der.size());
    if (E_ASN1_GetKCDSAPublicKey1(key.get(), &p, &left) == 1 && left == 0) return true;
    p = der.data();
    left = uint32_t(der.size());
    if (E_ASN1_GetKCDSAPrivateKey(key.get(), &p, &left) != 1 || left != 0) return false;
    der.assign(size_t(E_ASN1_GetKCDSAPublicKeyBytes(key.get())) + 8, 0);
    der.resize(size_t(E_ASN1_PutKCDSAPublicKey1(key.get(), der.data())));
    return true;
}

uint32_t kcdsaServiceId(uint32_t hash) { return hash == E_KCDSA_HASH_HAS160 ? 5 : 4; }

}  // namespace

int serviceGenkeyRsa(const Options &opts) {
    const std::string bits = opts.value("-b", "2048");
    if (bits != "512" && bits != "1024" && bits != "2048") return fail("--service makes RSA keys of 512, 1024 or 2048 bits");
    if (opts.has("--safe") || opts.has("--x931")) return fail("--service makes plain RSA keys only");
    ServiceContext ctx;
    DataBlob pub{}, priv{};
    const int32_t code = V_GenerateRSAKey(ctx.get(), std::stoi(bits), &pub, &priv);
    if (code != 0) return serviceFailure("genkey", uint32_t(code));
    std::vector<uint8_t> unused, der;
    take(ctx.get(), pub, unused);
    take(ctx.get(), priv, der);
    return writeKeyOutput(opts, der, "RSA PRIVATE KEY");
}

int serviceGenkeyKcdsa(const Options &opts) {
    if ((opts.has("-b") && opts.value("-b") != "1024") || (opts.has("-q") && opts.value("-q") != "160"))
        return fail("--service makes KCDSA keys on the built-in 1024/160 parameters");
    ServiceContext ctx;
    DataBlob pub{}, priv{};
    const int32_t code = V_GenerateKCDSAKeyPair(ctx.get(), 0, &pub, &priv);
    if (code != 0) return serviceFailure("genkey", uint32_t(code));
    std::vector<uint8_t> unused, der;
    take(ctx.get(), pub, unused);
    take(ctx.get(), priv, der);
    return writeKeyOutput(opts, der, "KCDSA PRIVATE KEY");
}

int serviceGenkeyEc(const Options &opts, int kind, int curve) {
    ServiceContext ctx;
    DataBlob pub{}, priv{};
    const int32_t code = V_GenerateECCKeyPair(ctx.get(), kind, curve, &pub, &priv);
    if (code != 0) return serviceFailure("genkey", uint32_t(code));
    eckey::EcKey key;
    key.kind = kind == V_ASYM_ECDSA ? eckey::Kind::ecdsa : eckey::Kind::eckcdsa;
    key.curve = curve;
    std::vector<uint8_t> d;
    take(ctx.get(), pub, key.q);
    take(ctx.get(), priv, d);
    key.d.assign(d.size() < 21 ? 21 - d.size() : 0, 0);  // fixed width, as the key files hold it
    key.d.insert(key.d.end(), d.begin(), d.end());
    const char *label = nullptr;
    const std::vector<uint8_t> der = eckey::encodePrivate(key, label);
    return writeKeyOutput(opts, der, label);
}

int serviceRsaSign(const std::vector<uint8_t> &privateDer, uint32_t modulusBytes, const std::vector<uint8_t> &t,
                   std::vector<uint8_t> &signature) {
    ServiceContext ctx;
    DataBlob key = constBlob(privateDer), in = constBlob(t), out{};
    const int32_t code = V_RSAPrivateEncrypt(ctx.get(), &key, &in, &out);
    if (code != 0) return serviceFailure("sign", uint32_t(code));
    // The service reports the length of the usual modulus for the key blob's size; the
    // signature is as long as the modulus (the buffer holds 1,025 bytes, zeros after it).
    take(ctx.get(), out, signature);
    signature.resize(modulusBytes);
    return kOk;
}

bool serviceRsaVerify(const std::vector<uint8_t> &publicDer, const std::vector<uint8_t> &t,
                      const std::vector<uint8_t> &signature) {
    ServiceContext ctx;
    DataBlob key = constBlob(publicDer), in = constBlob(signature), out{};
    V_RSAPublicDecrypt(ctx.get(), &key, &in, &out);
    std::vector<uint8_t> opened;
    take(ctx.get(), out, opened);
    return opened == t;
}

int serviceKcdsaSign(uint32_t hash, const std::vector<uint8_t> &keyFile, const std::vector<uint8_t> &message,
                     std::vector<uint8_t> &signature) {
    std::vector<uint8_t> der;
    std::string label;
    if (!readKeyBytes(keyFile, der, label)) return fail("malformed PEM armour in the key file", kFailed);
    ServiceContext ctx;
    DataBlob key = constBlob(der), msg = constBlob(message), out{};
    const int32_t code = V_KCDSA_Sign(ctx.get(), kcdsaServiceId(hash), &key, nullptr, &msg, &out);
    if (code == -1) return fail("-k is not a KCDSA private key", kFailed);
    if (code != 0) return serviceFailure("sign", uint32_t(code));
    take(ctx.get(), out, signature);
    return kOk;
}

int serviceKcdsaVerify(uint32_t hash, const std::vector<uint8_t> &keyFile, const std::vector<uint8_t> &message,
                       const std::vector<uint8_t> &signature) {
    std::vector<uint8_t> der;
    if (!kcdsaPublicDer(keyFile, der)) return fail("-k is not a KCDSA key", kFailed);
    ServiceContext ctx;
    DataBlob key = constBlob(der), msg = constBlob(message), sig = constBlob(signature), params{};
    const int32_t valid = V_KCDSA_Verify(ctx.get(), kcdsaServiceId(hash), &key, &params, &msg, &sig);
    V_free(ctx.get(), params.Data);  // the stored parameters handed back
    return valid == 1 ? kOk : fail("signature does not verify", kFailed);
}

int serviceEcSign(int kind, int curve, const std::vector<uint8_t> &d, const std::vector<uint8_t> &q,
                  const std::vector<uint8_t> &message, std::vector<uint8_t> &signature) {
    ServiceContext ctx;
    DataBlob priv = constBlob(d), pub = constBlob(q), msg = constBlob(message), out{};
    const int32_t code = V_ECC_Sign(ctx.get(), kind, curve, &msg, &pub, &priv, &out);
    if (code == -1) return fail("signing failed", kFailed);
    if (code != 0) return serviceFailure("sign", uint32_t(code));
    take(ctx.get(), out, signature);
    return kOk;
}

int serviceEcVerify(int kind, int curve, const std::vector<uint8_t> &q, const std::vector<uint8_t> &message,
                    const std::vector<uint8_t> &signature) {
    DataBlob pub = constBlob(q), msg = constBlob(message), sig = constBlob(signature);
    const int32_t result = V_ECC_Verify(nullptr, kind, curve, &msg, &sig, &pub);
    if (result == 1) return kOk;
    const char *why = result == 0 ? "signature does not verify" : "malformed signature or key";
    return fail(std::string(why) + " (" + std::to_string(result) + ")", kFailed);
}

int serviceRsaCrypt(bool decrypt, bool oaep, const std::vector<uint8_t> &keyDer, uint32_t modulusBytes,
                    const std::vector<uint8_t> &in, std::vector<uint8_t> &out) {
    ServiceContext ctx;
    DataBlob key = constBlob(keyDer), input = constBlob(in), result{};
    int32_t code;
    if (decrypt) {
        code = oaep ? V_RSAPrivateDecryptOAEP(ctx.get(), &key, &input, nullptr, &result)
                    : V_RSAPrivateDecrypt(ctx.get(), &key, &input, &result);
        take(ctx.get(), result, out);  // the decrypting services leave their buffer on failure too
        if (code != 0) return fail(code == -1 ? "decryption failed" : serviceStatusText(uint32_t(code)), kFailed);
        return kOk;
    }
    code = oaep ? V_RSAPublicEncryptOAEP(ctx.get(), &key, &input, nullptr, &result)
                : V_RSAPublicEncrypt(ctx.get(), &key, &input, &result);
    if (code != 0) return serviceFailure("pkenc", uint32_t(code));
    take(ctx.get(), result, out);
    out.resize(modulusBytes);  // as for signatures: the cipher text is as long as the modulus
    return kOk;
}

}  // namespace cli
