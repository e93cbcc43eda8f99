// vorelcrypto ecdh: the ECDH value of an own key and a peer's public key, or X9.63 key data
// derived from it with SHA-1.
#include <vorelcrypto/ec_protocols.h>

#include "cli.h"
#include "ec_keyfile.h"

#include <cstdlib>

namespace {

using cli::eckey::EcKey;

// Reads a key file for ECDH or EC encryption: an ECDSA-kind key (Q = d G) on any curve.
int readEcdhKey(const std::string &path, bool needPrivate, EcKey &key) {
    std::vector<uint8_t> file;
    std::string error;
    if (!cli::readFile(path, file, error)) return cli::fail(error, cli::kFailed);
    if (!cli::eckey::decodeKey(file, key, error)) return cli::fail(path + ": " + error, cli::kFailed);
    if (key.kind != cli::eckey::Kind::ecdsa)
        return cli::fail(path + ": an eckcdsa key (Q = d^-1 G) does not agree keys; use genkey ecdsa", cli::kFailed);
    if (needPrivate && key.d.empty()) return cli::fail(path + ": a private key is needed", cli::kFailed);
    return cli::kOk;
}

Opaque8 view(std::vector<uint8_t> &b) { return Opaque8{uint32_t(b.size()), b.data()}; }

int run(std::vector<std::string_view> args) {
    cli::Options opts(args, {"-k", "--peer", "--bits", "--info"}, {});
    if (!opts.ok()) return cli::fail(opts.error());
    if (!opts.positional().empty()) return cli::fail("ecdh takes no FILE");
    if (!opts.has("-k") || !opts.has("--peer")) return cli::fail("ecdh needs -k OWNKEY and --peer PEERKEY");
    std::vector<uint8_t> info;
    if (!cli::parseHex(opts.value("--info"), info)) return cli::fail("--info is not hex");
    long bits = 0;
    if (opts.has("--bits")) {
        const std::string text = opts.value("--bits");
        char *end = nullptr;
        bits = std::strtol(text.c_str(), &end, 10);
        if (text.empty() || *end != '\0' || bits < 1 || bits > 255 * 160)
            return cli::fail("--bits must be 1 to 40800");
    } else if (opts.has("--info")) {
        return cli::fail("--info needs --bits");
    }
    EcKey own, peer;
    if (int s = readEcdhKey(opts.value("-k"), true, own); s != cli::kOk) return s;
    if (int s = readEcdhKey(opts.value("--peer"), false, peer); s != cli::kOk) return s;
    if (own.curve != peer.curve)
        return cli::fail("the keys are on curves " + std::to_string(own.curve) + " and " + std::to_string(peer.curve),
                         cli::kFailed);
    EcParams params;
    E_ECParams_Init(own.curve, &params);
    Opaque8 d = view(own.d), q = view(peer.q), infoView = view(info);
    std::vector<uint8_t> out(bits > 0 ? size_t(bits + 7) / 8 : 21);
    Opaque8 o{uint32_t(bits), out.data()};
    const int32_t result = bits > 0 ? E_ECC_X9_63_KAS_OPDHS(own.curve, &params, &q, &d, &o, &infoView)
                                    : E_ECC_ECDH_Primitive(own.curve, &params, &q, &d, &o);
    if (result != 0) return cli::fail("the peer key is not a point of the curve", cli::kFailed);
    const size_t length = bits > 0 ? out.size() : o.length;
    if (std::printf("%s\n", cli::toHex(out.data(), length).c_str()) < 0 || std::fflush(stdout) != 0)
        return cli::fail(cli::kStdoutWriteError, cli::kFailed);
    return cli::kOk;
}

const cli::Command command{
    "ecdh", "elliptic-curve Diffie-Hellman and X9.63 key derivation",
    "usage: vorelcrypto ecdh -k OWNKEY --peer PEERKEY [--bits N [--info HEX]]\n\n"
    "Prints in hex the x-coordinate of d * Q (20 octets on curve 7, 21 on the others) for the\n"
    "private key in OWNKEY and the public key in PEERKEY (an EC key file of either side, or an\n"
    "openssl PUBLIC KEY), or with --bits the first N bits of the ANSI X9.63 SHA-1 key data\n"
    "derived from it with the shared info HEX. Both keys must be ecdsa keys on the same curve.\n",
    run};

}  // namespace
