// vorelcrypto genkey | sign | verify for ECDSA (SHA-1) and EC-KCDSA (HAS-160) on the built-in
// curves. Key files: ec_keyfile.h. Signatures: ECDSA's DER SEQUENCE of two INTEGERs (what
// `openssl dgst -sha1 -sign` writes), EC-KCDSA's 47-octet SEQUENCE of two OCTET STRINGs.
#include <vorelcrypto/ec_protocols.h>

#include "ec_keyfile.h"
#include "ecc/curves.h"
#include "pk_algorithms.h"
#include "service_pk.h"

#include <cstdlib>

namespace cli {
namespace {

using eckey::EcKey;
using eckey::Kind;

Opaque8 view(std::vector<uint8_t> &b) { return Opaque8{uint32_t(b.size()), b.data()}; }

int curveOption(const Options &opts) {
    const std::string text = opts.value("--curve");
    char *end = nullptr;
    const long id = std::strtol(text.c_str(), &end, 10);
    return !text.empty() && *end == '\0' && vc::ecc::isBuiltInCurve(int(id)) ? int(id) : 0;
}

int genkey(const Options &opts, Kind kind) {
    for (const char *unused : {"-b", "-q", "-g", "--safe", "--x931", "--fixed-params"})
        if (opts.has(unused)) return fail(std::string(unused) + " does not apply to EC keys");
    const int id = curveOption(opts);
    if (id == 0) return fail("genkey needs --curve ID, one of 3, 5, 7, 11, 21, 22");
    if (opts.has("--service")) return serviceGenkeyEc(opts, kind == Kind::ecdsa ? 15 : 16, id);
    EcParams params;
    E_ECParams_Init(id, &params);
    EcKey key;
    key.kind = kind;
    key.curve = id;
    uint8_t d[21] = {}, q[43];
    Opaque8 dOut{0, d}, qOut{0, q};
    const int32_t result = kind == Kind::ecdsa ? E_ECC_GenerateKeyPair(id, &params, &qOut, &dOut)
                                               : E_ECC_GenerateKeyPair_ECKCDSA(id, &params, &qOut, &dOut);
    if (result != 0) return fail("key generation failed", kFailed);
    key.d.assign(21 - dOut.length, 0);  // fixed width, as SEC 1 writes it
    key.d.insert(key.d.end(), d, d + dOut.length);
    key.q.assign(q, q + qOut.length);
    const char *label = nullptr;
    const std::vector<uint8_t> der = eckey::encodePrivate(key, label);
    return writeKeyOutput(opts, der, label);
}

int genkeyEcdsa(const Options &opts) { return genkey(opts, Kind::ecdsa); }
int genkeyEckcdsa(const Options &opts) { return genkey(opts, Kind::eckcdsa); }

// The key of a sign or verify call; a usage error when it is of the other kind or lacks d.
int loadKey(const Options &opts, const std::vector<uint8_t> &file, Kind kind, bool needPrivate, EcKey &key) {
    const char *hash = kind == Kind::ecdsa ? "sha1" : "has160";
    if (opts.has("-h") && opts.value("-h") != hash)
        return fail(std::string(kind == Kind::ecdsa ? "ecdsa" : "eckcdsa") + " hashes with " + hash + " only");
    std::string error;
    if (!eckey::decodeKey(file, key, error)) return fail(error, kFailed);
    if (key.kind != kind)
        return fail(std::string("the key is an ") + (key.kind == Kind::ecdsa ? "ecdsa" : "eckcdsa") + " key", kFailed);
    if (needPrivate && key.d.empty()) return fail("signing needs a private key", kFailed);
    return kOk;
}

int sign(const Options &opts, const std::vector<uint8_t> &file, const std::vector<uint8_t> &message,
         std::vector<uint8_t> &signature, Kind kind) {
    EcKey key;
    if (int status = loadKey(opts, file, kind, true, key); status != kOk) return status;
    if (opts.has("--service"))
        return serviceEcSign(kind == Kind::ecdsa ? 15 : 16, key.curve, key.d, key.q, message, signature);
    EcParams params;
    E_ECParams_Init(key.curve, &params);
    std::vector<uint8_t> msg = message;
    Opaque8 m = view(msg), d = view(key.d), q = view(key.q);
    signature.assign(50, 0);
    Opaque8 sig = view(signature);
    const int32_t result = kind == Kind::ecdsa ? E_ECDSA_Sign(key.curve, &params, &m, &sig, &d)
                                               : E_ECKCDSA_Sign(key.curve, &params, &m, &sig, &d, &q);
    if (result != 0) return fail("signing failed (" + std::to_string(result) + ")", kFailed);
    signature.resize(sig.length);
    return kOk;
}

int verify(const Options &opts, const std::vector<uint8_t> &file, const std::vector<uint8_t> &message,
           const std::vector<uint8_t> &signature, Kind kind) {
    EcKey key;
    if (int status = loadKey(opts, file, kind, false, key); status != kOk) return status;
    if (opts.has("--service"))
        return serviceEcVerify(kind == Kind::ecdsa ? 15 : 16, key.curve, key.q, message, signature);
    EcParams params;
    E_ECParams_Init(key.curve, &params);
    std::vector<uint8_t> msg = message, sigBytes = signature;
    Opaque8 m = view(msg), q = view(key.q), sig = view(sigBytes);
    const int32_t result = kind == Kind::ecdsa ? E_ECDSA_Verify(key.curve, &params, &m, &sig, &q)
                                               : E_ECKCDSA_Verify(key.curve, &params, &m, &sig, &q);
    if (result == 1) return kOk;
    const char *why = result == 0 ? "signature does not verify" : "malformed signature or key";
    return fail(std::string(why) + " (" + std::to_string(result) + ")", kFailed);
}

int signEcdsa(const Options &o, const std::vector<uint8_t> &k, const std::vector<uint8_t> &m, std::vector<uint8_t> &s) {
    return sign(o, k, m, s, Kind::ecdsa);
}
int signEckcdsa(const Options &o, const std::vector<uint8_t> &k, const std::vector<uint8_t> &m, std::vector<uint8_t> &s) {
    return sign(o, k, m, s, Kind::eckcdsa);
}
int verifyEcdsa(const Options &o, const std::vector<uint8_t> &k, const std::vector<uint8_t> &m,
                const std::vector<uint8_t> &s) {
    return verify(o, k, m, s, Kind::ecdsa);
}
int verifyEckcdsa(const Options &o, const std::vector<uint8_t> &k, const std::vector<uint8_t> &m,
                  const std::vector<uint8_t> &s) {
    return verify(o, k, m, s, Kind::eckcdsa);
}

const PkAlgorithm ecdsa{
    "ecdsa",
    "  ecdsa   --curve ID      ECDSA key on curve 3, 5, 7, 11, 21 or 22; a SEC 1 EC PRIVATE KEY\n"
    "                          (read by openssl) on 3, 5, 7, 11, the VorelCrypto EC form otherwise\n",
    "  -a ecdsa                ECDSA with SHA-1; DER signature as openssl dgst -sha1 writes it;\n"
    "                          verify takes the private key, a SEC 1 key or a PUBLIC KEY file\n",
    genkeyEcdsa, signEcdsa, verifyEcdsa};

const PkAlgorithm eckcdsa{
    "eckcdsa",
    "  eckcdsa --curve ID      EC-KCDSA key (Q = d^-1 G) in the VorelCrypto EC form\n",
    "  -a eckcdsa              EC-KCDSA with HAS-160; 47-octet DER signature\n",
    genkeyEckcdsa, signEckcdsa, verifyEckcdsa};

}  // namespace
}  // namespace cli
