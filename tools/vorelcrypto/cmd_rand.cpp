// vorelcrypto rand N [--gen GEN]: N random bytes in hex, from V_GenRandom by default or from
// one of the generator engines.
#include <vorelcrypto/common.h>
#include <vorelcrypto/frame.h>
#include <vorelcrypto/random.h>

#include "cli.h"
#include "service_status.h"

#include <cstdlib>
#include <cstring>

namespace {

constexpr unsigned long kMaxBytes = 1u << 20;

struct Generator {
    const char *name;
    void (*draw)(uint8_t *out, uint32_t len);  // engine, or null for the service
    int32_t serviceId;                          // V_GenRandom generator id
};

// The bytes of V_GenRandom, copied out of its buffer; kOk or the failure status.
int drawFromService(int32_t generatorId, std::vector<uint8_t> &out) {
    cli::ServiceContext ctx;
    if (!ctx.ready()) return cli::fail("the library could not start", cli::kFailed);
    uint8_t *bytes = nullptr;
    if (uint32_t code = V_GenRandom(ctx.get(), generatorId, uint32_t(out.size()), &bytes); code != VC_OK)
        return cli::serviceFailure("rand", code);
    out.assign(bytes, bytes + out.size());
    V_free(ctx.get(), bytes);
    return cli::kOk;
}

const Generator kGenerators[] = {
    {"service-des", nullptr, V_RANDOM_DES},
    {"service-md5", nullptr, V_RANDOM_MD5},
    {"pool", [](uint8_t *o, uint32_t n) { RAND_Bytes(o, int32_t(n)); }, -1},
    {"des", E_GenerateRandom_DES, -1},
    {"md5", E_GenerateRandom_MD5, -1},
    {"x931", E_X9_31RandomBytes, -1},
};

int run(std::vector<std::string_view> args) {
    cli::Options opts(args, {"--gen"}, {"--help", "-h"});
    if (!opts.ok()) return cli::fail(opts.error());
    if (opts.positional().size() != 1) return cli::fail("rand takes one byte count");
    const std::string &count = opts.positional()[0];
    char *end = nullptr;
    const unsigned long n = std::strtoul(count.c_str(), &end, 10);
    if (count.empty() || *end != '\0' || count[0] == '-' || n > kMaxBytes)
        return cli::fail("byte count must be 0 to 1048576");
    const std::string gen = opts.value("--gen", "service-des");
    for (const Generator &g : kGenerators) {
        if (gen != g.name) continue;
        std::vector<uint8_t> out(n, 0);  // the pool reads the buffer's contents: start from zeros
        if (g.draw == nullptr) {
            if (int status = drawFromService(g.serviceId, out); status != cli::kOk) return status;
        } else if (n > 0) {
            g.draw(out.data(), uint32_t(n));
        }
        std::printf("%s\n", cli::toHex(out.data(), out.size()).c_str());
        return cli::kOk;
    }
    return cli::fail("unknown generator '" + gen + "' (service-des, service-md5, pool, des, md5, x931)");
}

const cli::Command command{
    "rand", "print random bytes in hex",
    "usage: vorelcrypto rand N [--gen GEN]\n\n"
    "Prints N random bytes (N up to 1048576) as lower-case hex.\n"
    "  --gen service-des  V_GenRandom generator 0: the DES generator through the provider\n"
    "                     (default)\n"
    "  --gen service-md5  V_GenRandom generator 1: the MD5 hash chain through the provider\n"
    "  --gen pool         the MD5 entropy pool engine (RAND_Bytes)\n"
    "  --gen des          the DES generator engine\n"
    "  --gen md5          the MD5 hash-chain engine\n"
    "  --gen x931         the SHA-1 G-function generator of X9.31\n",
    run};

}  // namespace
