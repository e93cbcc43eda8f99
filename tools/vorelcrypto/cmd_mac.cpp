// vorelcrypto mac -a ALG -k HEXKEY [--verify HEXMAC] [FILE]: prints or checks a message
// authentication code.
#include <vorelcrypto/common.h>
#include <vorelcrypto/frame.h>
#include <vorelcrypto/hash.h>

#include "cli.h"
#include "service_status.h"

#include <climits>
#include <cstdint>

namespace {

// One row per MAC algorithm: the key lengths it takes and the V_GenMac id, or -1 for the
// HMAC-SHA1 engine.
struct MacAlgorithm {
    const char *name;
    size_t minKey, maxKey;
    int32_t serviceId;
};

const MacAlgorithm kAlgorithms[] = {
    {"hmac-sha1", 0, INT32_MAX, -1},
    {"des-mac", 8, 8, V_MAC_DES},
    {"des3-mac", 16, 16, V_MAC_DES3},
    {"rc2-mac", 8, 8, V_MAC_RC2},
};

// Computes the MAC into `mac`; kOk or the status after printing the reason.
int compute(const MacAlgorithm &alg, std::vector<uint8_t> &key, std::vector<uint8_t> &data,
            std::vector<uint8_t> &mac) {
    if (alg.serviceId < 0) {
        mac.resize(20);
        E_HMAC_SHA1(data.data(), uint32_t(data.size()), key.data(), int32_t(key.size()), mac.data());
        return cli::kOk;
    }
    cli::ServiceContext ctx;
    if (!ctx.ready()) return cli::fail("the library could not start", cli::kFailed);
    DataBlob k = cli::blobOf(key), m = cli::blobOf(data), out{0, nullptr};
    if (uint32_t code = V_GenMac(ctx.get(), alg.serviceId, &k, &m, &out); code != VC_OK)
        return cli::serviceFailure("mac", code);
    mac.assign(out.Data, out.Data + out.Length);
    V_free(ctx.get(), out.Data);
    return cli::kOk;
}

// Checks `expected`: kOk, kFailed for a MAC that does not verify, or a failure status.
int verify(const MacAlgorithm &alg, std::vector<uint8_t> &key, std::vector<uint8_t> &data,
           std::vector<uint8_t> &expected) {
    uint32_t code = VC_OK;
    if (alg.serviceId < 0) {
        std::vector<uint8_t> mac;
        compute(alg, key, data, mac);
        uint8_t diff = mac.size() == expected.size() ? 0 : 1;
        for (size_t i = 0; i < mac.size() && i < expected.size(); ++i) diff |= uint8_t(mac[i] ^ expected[i]);
        if (diff != 0) code = VC_ERR_MAC_MISMATCH;
    } else {
        cli::ServiceContext ctx;
        if (!ctx.ready()) return cli::fail("the library could not start", cli::kFailed);
        DataBlob k = cli::blobOf(key), m = cli::blobOf(data), e = cli::blobOf(expected);
        code = V_VerifyMac(ctx.get(), alg.serviceId, &k, &m, &e);
    }
    if (code != VC_OK) return cli::serviceFailure("mac", code);
    std::printf("OK\n");
    return cli::kOk;
}

int run(std::vector<std::string_view> args) {
    cli::Options opts(args, {"-a", "-k", "--verify"}, {});
    if (!opts.ok()) return cli::fail(opts.error());
    const MacAlgorithm *alg = nullptr;
    for (const MacAlgorithm &a : kAlgorithms)
        if (opts.value("-a") == a.name) alg = &a;
    if (alg == nullptr) return cli::fail("unknown or missing MAC algorithm (-a hmac-sha1 des-mac des3-mac rc2-mac)");
    std::vector<uint8_t> key, expected, data, mac;
    std::string error;
    if (!cli::hexOption(opts, "-k", alg->minKey, alg->maxKey, key, error)) return cli::fail(error);
    if (opts.has("--verify") && !cli::hexOption(opts, "--verify", 0, SIZE_MAX, expected, error))
        return cli::fail(error);
    if (opts.positional().size() > 1) return cli::fail("mac takes at most one FILE");
    std::string path = opts.positional().empty() ? "-" : opts.positional()[0];
    if (!cli::readFile(path, data, error)) return cli::fail(error, cli::kFailed);
    if (data.size() > UINT32_MAX - 16) return cli::fail(path + ": too large", cli::kFailed);
    if (opts.has("--verify")) return verify(*alg, key, data, expected);
    if (int status = compute(*alg, key, data, mac); status != cli::kOk) return status;
    std::printf("%s\n", cli::toHex(mac.data(), mac.size()).c_str());
    return cli::kOk;
}

const cli::Command command{
    "mac", "compute or check a message authentication code",
    "usage: vorelcrypto mac -a ALG -k HEXKEY [--verify HEXMAC] [FILE]\n\n"
    "Prints the MAC of FILE (standard input when none is given, or for '-') in hex, or with\n"
    "--verify prints OK when HEXMAC is its MAC (exit 0) and fails with exit 1 otherwise.\n\n"
    "  -a ALG      hmac-sha1 (the library's HMAC-SHA1: the outer hash takes 16 bytes of the\n"
    "              inner digest, so values differ from RFC 2104; any key length)\n"
    "              des-mac   DES CBC-MAC, 8-byte key, 8-byte MAC (V_GenMac id 0)\n"
    "              des3-mac  two-key triple DES CBC-MAC, 16-byte key, 8-byte MAC (id 1)\n"
    "              rc2-mac   HMAC-MD5 under an 8-byte key, 16-byte MAC (id 2, named after\n"
    "                        its RC2 key set-up)\n"
    "              The CBC-MACs are ISO/IEC 9797-1 algorithm 1: zero IV, message padded with\n"
    "              zero bytes to a whole block (an empty message is one zero block).\n"
    "  -k HEXKEY   the key in hex\n"
    "  --verify HEXMAC  check instead of print\n",
    run};

}  // namespace
