// vorelcrypto rand N [--gen pool|des|md5|x931]: N random bytes in hex.
#include <vorelcrypto/random.h>

#include "cli.h"

#include <cstdlib>
#include <cstring>

namespace {

constexpr unsigned long kMaxBytes = 1u << 20;

struct Generator {
    const char *name;
    void (*draw)(uint8_t *out, uint32_t len);
};

const Generator kGenerators[] = {
    {"pool", [](uint8_t *o, uint32_t n) { RAND_Bytes(o, int32_t(n)); }},
    {"des", E_GenerateRandom_DES},
    {"md5", E_GenerateRandom_MD5},
    {"x931", E_X9_31RandomBytes},
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
    const std::string gen = opts.value("--gen", "pool");
    for (const Generator &g : kGenerators) {
        if (gen != g.name) continue;
        std::vector<uint8_t> out(n, 0);  // the pool reads the buffer's contents: start from zeros
        if (n > 0) g.draw(out.data(), uint32_t(n));
        std::printf("%s\n", cli::toHex(out.data(), out.size()).c_str());
        return cli::kOk;
    }
    return cli::fail("unknown generator '" + gen + "' (pool, des, md5, x931)");
}

const cli::Command command{
    "rand", "print random bytes in hex",
    "usage: vorelcrypto rand N [--gen pool|des|md5|x931]\n\n"
    "Prints N random bytes (N up to 1048576) as lower-case hex.\n"
    "  --gen pool   MD5 entropy pool (default)\n"
    "  --gen des    DES generator\n"
    "  --gen md5    MD5 hash chain\n"
    "  --gen x931   SHA-1 G-function generator of X9.31\n",
    run};

}  // namespace
