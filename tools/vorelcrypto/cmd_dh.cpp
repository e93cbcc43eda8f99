// vorelcrypto dhparam and dh: Diffie-Hellman parameters (DER SEQUENCE { p, g }, the form
// OpenSSL's dhparam reads), key pairs SEQUENCE { p, g, public, private } on them, and the
// shared value of an own key and a peer's key (SEQUENCE { p, g, public }, or a whole key file).
#include <vorelcrypto/asn1.h>
#include <vorelcrypto/dsa_dh.h>

#include "pk_algorithms.h"

#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>

namespace {

using cli::fail;
using cli::kFailed;
using cli::kOk;
using cli::kUsage;
using Bytes = std::vector<uint8_t>;

std::unique_ptr<DhKey> newDh() {
    auto dh = std::make_unique<DhKey>();
    std::memset(dh.get(), 0, sizeof(DhKey));
    E_DH_Init(dh.get());
    return dh;
}

// Reads SEQUENCE { p, g, public [, private] } (DER or PEM); the count of numbers read, 0 if none.
int readDh(const std::string &path, DhKey *dh) {
    Bytes file, der;
    std::string error, label;
    if (!cli::readFile(path, file, error) || !cli::readKeyBytes(file, der, label)) return 0;
    for (int count : {4, 3, 2}) {
        const uint8_t *at = der.data();
        uint32_t left = uint32_t(der.size());
        // g has one word of storage: read into a wide number, then check it fits.
        uint32_t gWide[150] = {};
        ENUM g{0, 0, gWide};
        ENUM *list[4] = {&dh->p, &g, &dh->publicValue, &dh->privateValue};
        if (E_ASN1_GetENUM(list, count, &at, &left) != 1 || left != 0) continue;
        if (g.length > 1) return 0;
        EN_U32ToENUM(&dh->g, g.length == 0 ? 0 : gWide[0]);
        return count;
    }
    return 0;
}

int writeNumbers(const cli::Options &opts, const ENUM *numbers, int count, const char *label) {
    const int32_t n = E_ASN1_PutENUM(numbers, count, nullptr);
    if (n <= 0) return fail("could not encode", kFailed);
    Bytes der(size_t(n) + 8);
    der.resize(size_t(E_ASN1_PutENUM(numbers, count, der.data())));
    return cli::writeKeyOutput(opts, der, label);
}

int runDhparam(std::vector<std::string_view> args) {
    cli::Options opts(args, {"-b", "-g", "-o"}, {"--pem"});
    if (!opts.ok()) return fail(opts.error());
    unsigned long bits, g;
    if (!cli::numberOption(opts, "-b", 2048, 64, 2400, bits) || !cli::numberOption(opts, "-g", 2, 2, 5, g))
        return kUsage;
    if (g == 3)
        return fail("generator 3 would need p = 5 mod 12, where (p - 1) / 2 is even: no safe prime exists");
    if (g != 2 && g != 5) return fail("-g must be 2 or 5");
    auto dh = newDh();
    int32_t done = 0;
    cli::withProgress("generating.", [&] { done = E_DH_GenerateParameters(dh.get(), uint32_t(bits), uint32_t(g)); });
    if (done != 1) return fail("parameter generation failed", kFailed);
    const ENUM numbers[2] = {dh->p, dh->g};
    return writeNumbers(opts, numbers, 2, "DH PARAMETERS");
}

int runDh(std::vector<std::string_view> args) {
    cli::Options opts(args, {"-k", "--peer", "--params", "-o"}, {"--pem", "--public"});
    if (!opts.ok()) return fail(opts.error());
    auto own = newDh();
    if (opts.has("--params")) {  // a new key pair on the parameters
        if (readDh(opts.value("--params"), own.get()) < 2) return fail("--params is not DH parameters", kFailed);
        own->privateValue.length = 0;
        if (E_DH_GenerateKey(own.get(), 0) != 1) return fail("key generation failed", kFailed);
        const ENUM numbers[4] = {own->p, own->g, own->publicValue, own->privateValue};
        return writeNumbers(opts, numbers, 4, "VORELCRYPTO DH KEY");
    }
    if (!opts.has("-k")) return fail("dh needs --params FILE, or -k OWNKEY with --peer PEERKEY or --public");
    if (readDh(opts.value("-k"), own.get()) != 4) return fail("-k is not a DH key with its private value", kFailed);
    if (opts.has("--public")) {
        const ENUM numbers[3] = {own->p, own->g, own->publicValue};
        return writeNumbers(opts, numbers, 3, "VORELCRYPTO DH PUBLIC KEY");
    }
    if (!opts.has("--peer")) return fail("dh -k OWNKEY needs --peer PEERKEY or --public");
    auto peer = newDh();
    if (readDh(opts.value("--peer"), peer.get()) < 3) return fail("--peer is not a DH key", kFailed);
    if (EN_UComp(&own->p, &peer->p) != 0 || EN_UComp(&own->g, &peer->g) != 0)
        return fail("the two keys are on different parameters", kFailed);
    Bytes shared(4 * 150);
    const int32_t n = E_DH_ComputeKey(shared.data(), &peer->publicValue, own.get());
    if (n < 0) return fail("the peer's public value is not usable", kFailed);
    std::printf("%s\n", cli::toHex(shared.data(), size_t(n)).c_str());
    return std::fflush(stdout) == 0 ? kOk : fail("standard output: write error", kFailed);
}

const cli::Command dhparamCommand{
    "dhparam", "generate Diffie-Hellman parameters",
    "usage: vorelcrypto dhparam [-b BITS] [-g 2|5] [-o FILE] [--pem]\n\n"
    "Writes a safe prime p of BITS bits (64 to 2400, 2048 by default) and the generator g as DER\n"
    "SEQUENCE { p, g } (PEM \"DH PARAMETERS\" with --pem). g = 2 takes p = 11 mod 24, g = 5 takes\n"
    "p = 3 mod 10, so that g generates the whole group. Generator 3 is refused: its class\n"
    "p = 5 mod 12 holds no safe prime. Shows progress on standard error when it is a terminal.\n",
    runDhparam};

const cli::Command dhCommand{
    "dh", "Diffie-Hellman key pairs and shared values",
    "usage: vorelcrypto dh --params PARAMS [-o FILE] [--pem]\n"
    "       vorelcrypto dh -k OWNKEY --public [-o FILE] [--pem]\n"
    "       vorelcrypto dh -k OWNKEY --peer PEERKEY\n\n"
    "The first form writes a new key SEQUENCE { p, g, public, private } on the parameters, the\n"
    "second its public part SEQUENCE { p, g, public }. The third prints the shared value,\n"
    "peer^private mod p, in hex; PEERKEY is the peer's public part (or key file). Both keys\n"
    "must be on the same parameters.\n",
    runDh};

}  // namespace
