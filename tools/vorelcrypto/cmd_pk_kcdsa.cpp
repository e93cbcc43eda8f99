// genkey, sign and verify for KCDSA and DSA. Keys are the DER SEQUENCEs of the DER layer:
// private { 0, p, q, g, y, x } (for DSA the form OpenSSL reads), public { y, p, q, g }.
// KCDSA signs messages through E_KCDSA_Sign_New; DSA signs the message's hash cut to q's bytes
// and writes SEQUENCE { r, s } as OpenSSL does.
#include <vorelcrypto/asn1.h>
#include <vorelcrypto/dsa_dh.h>
#include <vorelcrypto/hash.h>
#include <vorelcrypto/kcdsa.h>

#include "pk_algorithms.h"
#include "service_pk.h"

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <thread>

namespace {

using cli::fail;
using cli::kFailed;
using cli::kOk;
using cli::kUsage;
using Bytes = std::vector<uint8_t>;

// The records hold their own digit storage: keep them off the stack and zero-filled.
template <class Key>
std::unique_ptr<Key> newKey(void (*init)(Key *)) {
    auto key = std::make_unique<Key>();
    std::memset(key.get(), 0, sizeof(Key));
    init(key.get());
    return key;
}

// Reads the private form, or else the public one when `publicToo`; false when neither fits.
template <class Key>
bool readKey(const Bytes &file, Key *key, bool publicToo,
             int32_t (*getPrivate)(Key *, const uint8_t **, uint32_t *),
             int32_t (*getPublic)(Key *, const uint8_t **, uint32_t *)) {
    Bytes der;
    std::string label;
    if (!cli::readKeyBytes(file, der, label)) return false;
    for (auto get : {getPrivate, publicToo ? getPublic : nullptr}) {
        const uint8_t *at = der.data();
        uint32_t left = uint32_t(der.size());
        if (get != nullptr && get(key, &at, &left) == 1 && left == 0) return true;
    }
    return false;
}

template <class Key>
int writeKey(const cli::Options &opts, const Key *key, int32_t (*put)(const Key *, uint8_t *),
             const char *label) {
    const int32_t n = put(key, nullptr);
    if (n <= 0) return fail("could not encode the key", kFailed);
    Bytes der(size_t(n) + 8);
    der.resize(size_t(put(key, der.data())));
    return cli::writeKeyOutput(opts, der, label);
}

// ---- KCDSA ----

int kcdsaGenkey(const cli::Options &opts) {
    if (opts.has("--service")) return cli::serviceGenkeyKcdsa(opts);
    auto key = newKey<KcdsaKey>(E_KCDSA_Init);
    int32_t done = 0;
    if (opts.has("--fixed-params")) {
        if ((opts.has("-b") && opts.value("-b") != "1024") || (opts.has("-q") && opts.value("-q") != "160"))
            return fail("--fixed-params is the built-in 1024/160 set");
        done = E_KCDSA_GenerateKey_fixParam(key.get(), 0, 160);
    } else {
        unsigned long pBits, qBits;
        if (!opts.has("-b")) return fail("genkey kcdsa needs -b PBITS or --fixed-params");
        if (!cli::numberOption(opts, "-b", 0, 512, 2400, pBits) ||
            !cli::numberOption(opts, "-q", 160, 160, 512, qBits))
            return kUsage;
        if (pBits < qBits + 8) return fail("-b must exceed -q by 8 bits or more");
        cli::withProgress("generating.", [&] { done = E_KCDSA_GenerateKey(key.get(), uint32_t(pBits), uint32_t(qBits)); });
    }
    if (done != 1) return fail("key generation failed", kFailed);
    return writeKey(opts, key.get(), E_ASN1_PutKCDSAPrivateKey, "KCDSA PRIVATE KEY");
}

// -h has160 (the default) or sha1: the hash ids of the message functions.
bool kcdsaHash(const cli::Options &opts, uint32_t &id) {
    const std::string h = opts.value("-h", "has160");
    id = h == "has160" ? E_KCDSA_HASH_HAS160 : h == "sha1" ? E_KCDSA_HASH_SHA1 : 0;
    if (id == 0) fail("kcdsa hashes with -h has160 or sha1");
    return id != 0;
}

int kcdsaSign(const cli::Options &opts, const Bytes &file, const Bytes &message, Bytes &signature) {
    uint32_t id;
    if (!kcdsaHash(opts, id)) return kUsage;
    if (opts.has("--service")) return cli::serviceKcdsaSign(id, file, message, signature);
    auto key = newKey<KcdsaKey>(E_KCDSA_Init);
    if (!readKey(file, key.get(), false, E_ASN1_GetKCDSAPrivateKey, E_ASN1_GetKCDSAPublicKey1))
        return fail("-k is not a KCDSA private key", kFailed);
    signature.resize(4 * 150 + 32);
    uint32_t n = 0;
    E_KCDSA_Sign_New(id, message.data(), uint32_t(message.size()), signature.data(), &n, key.get());
    signature.resize(n);
    return kOk;
}

int kcdsaVerify(const cli::Options &opts, const Bytes &file, const Bytes &message, const Bytes &signature) {
    uint32_t id;
    if (!kcdsaHash(opts, id)) return kUsage;
    if (opts.has("--service")) return cli::serviceKcdsaVerify(id, file, message, signature);
    auto key = newKey<KcdsaKey>(E_KCDSA_Init);
    if (!readKey(file, key.get(), true, E_ASN1_GetKCDSAPrivateKey, E_ASN1_GetKCDSAPublicKey1))
        return fail("-k is not a KCDSA key", kFailed);
    if (E_KCDSA_Verify_New(id, message.data(), uint32_t(message.size()), signature.data(),
                           uint32_t(signature.size()), key.get()) != 1)
        return fail("signature does not verify", kFailed);
    return kOk;
}

// ---- DSA ----

int dsaGenkey(const cli::Options &opts) {
    unsigned long pBits, qBits;
    if (!cli::numberOption(opts, "-b", 2048, 512, 2400, pBits)) return kUsage;
    if (!cli::numberOption(opts, "-q", pBits > 1024 ? 256 : 160, 160, 512, qBits)) return kUsage;
    if (pBits < qBits + 8) return fail("-b must exceed -q by 8 bits or more");
    auto key = newKey<DsaKey>(E_DSA_Init);
    int32_t done = 0;
    cli::withProgress("generating.", [&] { done = E_DSA_GenerateKey(key.get(), uint32_t(pBits), uint32_t(qBits)); });
    if (done != 1) return fail("key generation failed", kFailed);
    return writeKey(opts, key.get(), E_ASN1_PutDSAPrivateKey, "DSA PRIVATE KEY");
}

// The message's hash (-h sha256 by default, sha1, has160), cut to q's byte length as DSA takes it.
bool dsaHash(const cli::Options &opts, const Bytes &message, const DsaKey *key, Bytes &h) {
    const std::string name = opts.value("-h", "sha256");
    const uint32_t n = uint32_t(message.size());
    uint32_t len = 0;
    h.assign(32, 0);
    if (name == "sha256")
        E_SHA256(h.data(), &len, message.data(), n);
    else if (name == "sha1")
        E_SHA1(h.data(), message.data(), n), len = 20;
    else if (name == "has160")
        E_HAS160(h.data(), message.data(), n), len = 20;
    else
        return fail("dsa hashes with -h sha256, sha1 or has160"), false;
    const uint32_t qBytes = (EN_GetFilledBitNum(const_cast<ENUM *>(&key->q)) + 7) / 8;
    h.resize(len < qBytes ? len : qBytes);
    return true;
}

int dsaSign(const cli::Options &opts, const Bytes &file, const Bytes &message, Bytes &signature) {
    auto key = newKey<DsaKey>(E_DSA_Init);
    if (!readKey(file, key.get(), false, E_ASN1_GetDSAPrivateKey, E_ASN1_GetDSAPublicKey))
        return fail("-k is not a DSA private key", kFailed);
    Bytes h;
    if (!dsaHash(opts, message, key.get(), h)) return kUsage;
    signature.resize(2 * 4 * 150 + 16);
    uint32_t n = 0;
    if (E_DSA_Sign(h.data(), uint32_t(h.size()), signature.data(), &n, key.get()) != 1)
        return fail("signing failed", kFailed);
    signature.resize(n);
    return kOk;
}

int dsaVerify(const cli::Options &opts, const Bytes &file, const Bytes &message, const Bytes &signature) {
    auto key = newKey<DsaKey>(E_DSA_Init);
    if (!readKey(file, key.get(), true, E_ASN1_GetDSAPrivateKey, E_ASN1_GetDSAPublicKey))
        return fail("-k is not a DSA key", kFailed);
    Bytes h;
    if (!dsaHash(opts, message, key.get(), h)) return kUsage;
    if (E_DSA_Verify(h.data(), uint32_t(h.size()), signature.data(), uint32_t(signature.size()), key.get()) != 1)
        return fail("signature does not verify", kFailed);
    return kOk;
}

const cli::PkAlgorithm kcdsa{
    "kcdsa",
    "  kcdsa -b PBITS [-q QBITS]   KCDSA key on fresh parameters (q 160 bits by default)\n"
    "  kcdsa --fixed-params        KCDSA key on the built-in 1024/160 parameters\n",
    "  -a kcdsa [-h has160|sha1]   KCDSA over the message (HAS-160 by default)\n",
    kcdsaGenkey, kcdsaSign, kcdsaVerify};

const cli::PkAlgorithm dsa{
    "dsa",
    "  dsa [-b PBITS] [-q QBITS]   DSA key (2048/256 by default), the private-key DER OpenSSL reads\n",
    "  -a dsa [-h sha256|sha1|has160]  DSA over the message's hash (SHA-256 by default)\n",
    dsaGenkey, dsaSign, dsaVerify};

}  // namespace
