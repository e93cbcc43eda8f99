// RSA for genkey, sign and verify: "rsa" signs PKCS #1 v1.5 over the DigestInfo of the chosen
// hash (verified strictly, so that OpenSSL's signatures and ours are interchangeable), "rsa-pss"
// signs RSASSA-PSS with the same hash for MGF1 and a salt as long as the hash. Key reading
// and writing for pkey, pkenc and pkdec live here too.
#include <vorelcrypto/asn1.h>
#include <vorelcrypto/hash.h>

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "pk_algorithms.h"
#include "pubkey/rsa_internal.h"
#include "rsa_key.h"
#include "service_pk.h"

namespace cli {

namespace {

// A small DER walker for the two wrappers around PKCS #1 keys.
struct Der {
    const uint8_t *p, *end;
    // Reads one element with the given tag; its content goes to [c, c + n). False when absent
    // or malformed.
    bool take(uint8_t tag, const uint8_t *&c, size_t &n) {
        if (end - p < 2 || p[0] != tag) return false;
        size_t len = p[1], at = 2;
        if (len & 0x80) {
            const size_t octets = len & 0x7F;
            if (octets == 0 || octets > 3 || size_t(end - p) < 2 + octets) return false;
            len = 0;
            for (size_t i = 0; i < octets; i++) len = len << 8 | p[2 + i];
            at += octets;
        }
        if (size_t(end - p) - at < len) return false;
        c = p + at;
        n = len;
        p += at + len;
        return true;
    }
};

// rsaEncryption with NULL parameters.
constexpr uint8_t kRsaAlgorithm[] = {0x06, 0x09, 0x2a, 0x86, 0x48, 0x86, 0xf7,
                                     0x0d, 0x01, 0x01, 0x01, 0x05, 0x00};

// The PKCS #1 key inside a PKCS #8 PrivateKeyInfo or a SubjectPublicKeyInfo; der itself when it is
// neither.
std::vector<uint8_t> unwrap(const std::vector<uint8_t> &der) {
    Der outer{der.data(), der.data() + der.size()};
    const uint8_t *c;
    size_t n;
    if (!outer.take(0x30, c, n) || outer.p != outer.end) return der;
    Der seq{c, c + n};
    const uint8_t *v, *alg, *body;
    size_t vn, an, bn;
    const bool pkcs8 = seq.take(0x02, v, vn) && vn == 1 && v[0] == 0;
    if (!pkcs8) seq = Der{c, c + n};
    if (!seq.take(0x30, alg, an) || an != sizeof kRsaAlgorithm || memcmp(alg, kRsaAlgorithm, an) != 0)
        return der;
    if (!seq.take(pkcs8 ? 0x04 : 0x03, body, bn) || seq.p != seq.end) return der;
    if (!pkcs8) {  // BIT STRING: the unused-bits octet must be 0
        if (bn == 0 || body[0] != 0) return der;
        body++, bn--;
    }
    return std::vector<uint8_t>(body, body + bn);
}

// A decoder of asn1.h that must consume the whole input.
template <class Get>
bool decodeAll(const std::vector<uint8_t> &der, RsaKey *key, Get get) {
    const uint8_t *pos = der.data();
    uint32_t remaining = uint32_t(der.size());
    return !der.empty() && get(key, &pos, &remaining) == 1 && remaining == 0;
}

bool plausible(const RsaKey *key, bool isPrivate) {
    const uint32_t k = rsaBytes(key);
    if (k < 12 || (key->n.words[0] & 1) == 0 || key->e.length == 0) return false;
    return !isPrivate || key->d.length > 0;
}

constexpr uint32_t kDefaultE = 65537;

int genkey(const Options &opts) {
    if (opts.has("--service")) return serviceGenkeyRsa(opts);
    const std::string text = opts.value("-b", "2048");
    char *end = nullptr;
    const unsigned long bits = std::strtoul(text.c_str(), &end, 10);
    const bool x931 = opts.has("--x931"), safe = opts.has("--safe");
    const unsigned long low = x931 ? 512 : 256;
    if (text.empty() || *end != '\0' || text[0] == '-' || bits < low || bits > 2400)
        return fail("-b must be " + std::to_string(low) + " to 2400 bits");
    if (x931 && safe) return fail("--safe and --x931 exclude each other");
    LoadedRsaKey made{std::make_unique<RsaKey>(), true};
    RsaKey *key = made.key.get();
    std::memset(key, 0, sizeof *key);
    E_RSA_Init(key);
    withProgress("generating.", [&] {
        if (x931) {
            uint8_t aux[4][16];
            uint8_t *out[4] = {aux[0], aux[1], aux[2], aux[3]};
            vc::rsa::generateX931(key, uint32_t(bits), kDefaultE, out, false, false);
        } else {
            (safe ? E_RSA_GenerateStrongKey : E_RSA_GenerateKey)(key, uint32_t(bits), kDefaultE);
        }
    });
    const int status = writeKeyOutput(opts, rsaPrivateDer(key), "RSA PRIVATE KEY");
    vc::rsa::wipeKey(key);
    return status;
}

struct Hash {
    const char *name;
    uint32_t id;  // the PSS identifier
    uint8_t prefix[19];
    uint32_t prefixLen;
};

const Hash kHashes[] = {
    {"sha1",
     1,
     {0x30, 0x21, 0x30, 0x09, 0x06, 0x05, 0x2b, 0x0e, 0x03, 0x02, 0x1a, 0x05, 0x00, 0x04, 0x14},
     15},
    {"sha256",
     6,
     {0x30, 0x31, 0x30, 0x0d, 0x06, 0x09, 0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x01, 0x05, 0x00,
      0x04, 0x20},
     19},
    {"sha384",
     7,
     {0x30, 0x41, 0x30, 0x0d, 0x06, 0x09, 0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x02, 0x05, 0x00,
      0x04, 0x30},
     19},
    {"sha512",
     8,
     {0x30, 0x51, 0x30, 0x0d, 0x06, 0x09, 0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x03, 0x05, 0x00,
      0x04, 0x40},
     19},
};

const Hash *hashOf(const Options &opts) {
    const std::string name = opts.value("-h", "sha256");
    for (const Hash &h : kHashes)
        if (name == h.name) return &h;
    return nullptr;
}

// DigestInfo || H(message).
std::vector<uint8_t> digestInfo(const Hash &h, const std::vector<uint8_t> &message) {
    std::vector<uint8_t> t(h.prefix, h.prefix + h.prefixLen);
    const uint32_t len = vc::rsa::hashLength(h.id);
    t.resize(h.prefixLen + len);
    vc::rsa::hash(h.id, t.data() + h.prefixLen, message.data(), uint32_t(message.size()));
    return t;
}

// Shared by the four handlers: the hash and the key.
int prepare(const Options &opts, const std::vector<uint8_t> &keyFile, bool needPrivate, const Hash *&h,
            LoadedRsaKey &key) {
    h = hashOf(opts);
    if (h == nullptr) return fail("unknown hash -h (sha1, sha256, sha384, sha512)");
    return loadRsaKey(keyFile, needPrivate, key);
}

int signWith(const Options &opts, const std::vector<uint8_t> &keyFile, const std::vector<uint8_t> &message,
             std::vector<uint8_t> &signature, bool pss) {
    const Hash *h = nullptr;
    LoadedRsaKey key;
    if (int status = prepare(opts, keyFile, true, h, key); status != kOk) return status;
    const uint32_t k = rsaBytes(key.key.get());
    if (opts.has("--service") && pss) return fail("--service signs with -a rsa only");
    signature.assign(k, 0);
    int32_t sigLen = 0;
    if (pss) {
        const uint32_t hLen = vc::rsa::hashLength(h->id);
        if (vc::rsa::pssSign(h->id, h->id, signature.data(), &sigLen, message.data(),
                             uint32_t(message.size()), hLen, key.key.get(), false) != 1)
            return fail("the key is too small for PSS with " + std::string(h->name), kFailed);
    } else {
        const std::vector<uint8_t> t = digestInfo(*h, message);
        if (opts.has("--service")) return serviceRsaSign(rsaPrivateDer(key.key.get()), k, t, signature);
        E_RSA_Sign(t.data(), int32_t(t.size()), signature.data(), &sigLen, key.key.get());
        if (sigLen == -1)
            return fail("the key is too small for a " + std::string(h->name) + " signature", kFailed);
        if (sigLen == 0) return fail("the private key is inconsistent (q * qInv mod p is not 1)", kFailed);
    }
    vc::rsa::wipeKey(key.key.get());
    return kOk;
}

int verifyWith(const Options &opts, const std::vector<uint8_t> &keyFile, const std::vector<uint8_t> &message,
               const std::vector<uint8_t> &signature, bool pss) {
    const Hash *h = nullptr;
    LoadedRsaKey key;
    if (int status = prepare(opts, keyFile, false, h, key); status != kOk) return status;
    bool ok;
    if (pss) {
        ok = vc::rsa::pssVerify(h->id, h->id, signature.data(), uint32_t(signature.size()), message.data(),
                                uint32_t(message.size()), vc::rsa::hashLength(h->id), key.key.get(),
                                false) == 1;
    } else {
        const std::vector<uint8_t> t = digestInfo(*h, message);
        ok = opts.has("--service") ? serviceRsaVerify(rsaPublicDer(key.key.get()), t, signature)
                                   : vc::rsa::verifyPkcs1Strict(key.key.get(), t.data(), uint32_t(t.size()),
                                                                signature.data(), uint32_t(signature.size()));
    }
    if (key.isPrivate) vc::rsa::wipeKey(key.key.get());
    return ok ? kOk : fail("signature does not verify", kFailed);
}

const char kGenkeyUsage[] =
    "  rsa -b BITS [--safe | --x931]  RSA key, e = 65537 (BITS 256 to 2400, default 2048;\n"
    "                                 --safe: safe primes; --x931: ANSI X9.31 primes, 512 bits up)\n"
    "                                 PKCS #1 RSAPrivateKey, DER or --pem \"RSA PRIVATE KEY\"\n";
const char kSignUsage[] =
    "  -a rsa      PKCS #1 v1.5 over the DigestInfo of -h sha1|sha256|sha384|sha512 (default sha256)\n"
    "  -a rsa-pss  RSASSA-PSS, MGF1 with the same hash, salt as long as the hash\n"
    "              keys: PKCS #1 (or PKCS #8 / SubjectPublicKeyInfo) DER or PEM\n";

const PkAlgorithm rsa{"rsa",
                      kGenkeyUsage,
                      kSignUsage,
                      genkey,
                      [](const Options &o, const std::vector<uint8_t> &k, const std::vector<uint8_t> &m,
                         std::vector<uint8_t> &s) { return signWith(o, k, m, s, false); },
                      [](const Options &o, const std::vector<uint8_t> &k, const std::vector<uint8_t> &m,
                         const std::vector<uint8_t> &s) { return verifyWith(o, k, m, s, false); }};
const PkAlgorithm rsaPss{"rsa-pss",
                         nullptr,
                         nullptr,
                         nullptr,
                         [](const Options &o, const std::vector<uint8_t> &k, const std::vector<uint8_t> &m,
                            std::vector<uint8_t> &s) { return signWith(o, k, m, s, true); },
                         [](const Options &o, const std::vector<uint8_t> &k, const std::vector<uint8_t> &m,
                            const std::vector<uint8_t> &s) { return verifyWith(o, k, m, s, true); }};

}  // namespace

int loadRsaKey(const std::vector<uint8_t> &file, bool needPrivate, LoadedRsaKey &out) {
    std::vector<uint8_t> der;
    std::string label;
    if (!readKeyBytes(file, der, label)) return fail("malformed PEM armour in the key file", kFailed);
    der = unwrap(der);
    out.key = std::make_unique<RsaKey>();
    RsaKey *key = out.key.get();
    std::memset(key, 0, sizeof *key);
    E_RSA_Init(key);
    out.isPrivate = decodeAll(der, key, E_ASN1_GetRSAPrivateKey);
    if (!out.isPrivate) {
        std::memset(key, 0, sizeof *key);
        E_RSA_Init(key);
        if (!decodeAll(der, key, E_ASN1_GetRSAPublicKey))
            return fail("the key file holds no RSA key", kFailed);
    }
    if (!plausible(key, out.isPrivate))
        return fail("the RSA key is unusable (modulus of 96 to 2400 bits, odd)", kFailed);
    if (needPrivate && !out.isPrivate) return fail("this needs an RSA private key", kFailed);
    return kOk;
}

std::vector<uint8_t> rsaPublicDer(const RsaKey *key) {
    std::vector<uint8_t> der(size_t(E_ASN1_GetRSAPublicKeyBytes(key)) + 16);
    der.resize(size_t(E_ASN1_PutRSAPublicKey(key, der.data())));
    return der;
}

std::vector<uint8_t> rsaPrivateDer(const RsaKey *key) {
    std::vector<uint8_t> der(size_t(E_ASN1_GetRSAPrivateKeyBytes(key)) + 16);
    der.resize(size_t(E_ASN1_PutRSAPrivateKey(key, der.data())));
    return der;
}

uint32_t rsaBytes(const RsaKey *key) { return vc::rsa::modulusBytes(key); }

}  // namespace cli
