// vorelcrypto pkenc | pkdec -a rsa|rsa-oaep -k KEY [-i FILE] [-o FILE]: RSA encryption of a short
// message with PKCS #1 v1.5 (rsa) or RSAES-OAEP with SHA-1 and an empty label (rsa-oaep).
#include <vorelcrypto/rsa.h>

#include "cli.h"
#include "pubkey/rsa_internal.h"
#include "rsa_key.h"
#include "service_pk.h"

namespace {

struct Setup {
    bool oaep;
    cli::LoadedRsaKey key;
    std::vector<uint8_t> in;
};

int prepare(bool decrypt, cli::Options &opts, Setup &s) {
    if (!opts.ok()) return cli::fail(opts.error());
    const std::string alg = opts.value("-a");
    if (alg != "rsa" && alg != "rsa-oaep") return cli::fail("-a must be rsa or rsa-oaep");
    s.oaep = alg == "rsa-oaep";
    if (!opts.has("-k")) return cli::fail("missing -k KEYFILE");
    if (!opts.positional().empty()) return cli::fail("use -i FILE for the input");
    std::vector<uint8_t> file;
    std::string error;
    if (!cli::readFile(opts.value("-k"), file, error)) return cli::fail(error, cli::kFailed);
    if (int status = cli::loadRsaKey(file, decrypt, s.key); status != cli::kOk) return status;
    if (!cli::readFile(opts.value("-i", "-"), s.in, error)) return cli::fail(error, cli::kFailed);
    return cli::kOk;
}

int finish(const cli::Options &opts, const std::vector<uint8_t> &out) {
    std::string error;
    if (!cli::writeFile(opts.value("-o", "-"), out.data(), out.size(), error))
        return cli::fail(error, cli::kFailed);
    return cli::kOk;
}

int encrypt(std::vector<std::string_view> args) {
    cli::Options opts(args, {"-a", "-k", "-i", "-o"}, {"--help", "-h", "--service"});
    Setup s;
    if (int status = prepare(false, opts, s); status != cli::kOk) return status;
    RsaKey *key = s.key.key.get();
    const uint32_t k = cli::rsaBytes(key), limit = k - (s.oaep ? 42 : 11);
    if (k < (s.oaep ? 42u : 11u) || s.in.size() > limit)
        return cli::fail("message too long for the key (at most " +
                             std::to_string(k < 42 && s.oaep ? 0 : limit) + " bytes)",
                         cli::kFailed);
    std::vector<uint8_t> out(k);
    if (opts.has("--service")) {
        const int status = cli::serviceRsaCrypt(false, s.oaep, cli::rsaPublicDer(key), k, s.in, out);
        return status == cli::kOk ? finish(opts, out) : status;
    }
    const int32_t n =
        s.oaep ? vc::rsa::oaepEncrypt(out.data(), s.in.data(), uint32_t(s.in.size()), nullptr, 0, key, false)
               : E_RSA_Public_Encrypt(out.data(), s.in.data(), int32_t(s.in.size()), key);
    if (n != int32_t(k)) return cli::fail("encryption failed", cli::kFailed);
    return finish(opts, out);
}

int decrypt(std::vector<std::string_view> args) {
    cli::Options opts(args, {"-a", "-k", "-i", "-o"}, {"--help", "-h", "--service"});
    Setup s;
    if (int status = prepare(true, opts, s); status != cli::kOk) return status;
    RsaKey *key = s.key.key.get();
    std::vector<uint8_t> out(cli::rsaBytes(key));
    if (opts.has("--service")) {
        const std::vector<uint8_t> der = cli::rsaPrivateDer(key);
        vc::rsa::wipeKey(key);
        const int status = cli::serviceRsaCrypt(true, s.oaep, der, 0, s.in, out);
        return status == cli::kOk ? finish(opts, out) : status;
    }
    const int32_t n =
        s.oaep ? vc::rsa::oaepDecrypt(out.data(), s.in.data(), uint32_t(s.in.size()), nullptr, 0, key, false)
               : E_RSA_Private_Decrypt(out.data(), s.in.data(), uint32_t(s.in.size()), key);
    vc::rsa::wipeKey(key);
    if (n < 0) return cli::fail("decryption failed", cli::kFailed);
    out.resize(size_t(n));
    return finish(opts, out);
}

#define VC_PKENC_USAGE                                                                      \
    " -a rsa|rsa-oaep -k KEYFILE [-i FILE] [-o FILE] [--service]\n\n"                       \
    "  -a rsa       PKCS #1 v1.5 encryption (block type 2)\n"                               \
    "  -a rsa-oaep  RSAES-OAEP with SHA-1, MGF1-SHA-1 and an empty label\n"                 \
    "Keys: PKCS #1 (or PKCS #8 / SubjectPublicKeyInfo) DER or PEM. Input from -i FILE or\n" \
    "standard input, output to -o FILE or standard output. --service: through the V_ services.\n"

const cli::Command encCommand{"pkenc", "encrypt a short message with an RSA public key",
                              "usage: vorelcrypto pkenc" VC_PKENC_USAGE, encrypt};
const cli::Command decCommand{"pkdec", "decrypt with an RSA private key",
                              "usage: vorelcrypto pkdec" VC_PKENC_USAGE, decrypt};

}  // namespace
