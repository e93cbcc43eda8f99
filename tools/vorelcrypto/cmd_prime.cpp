// vorelcrypto prime BITS [--safe] [--x931]: a probable prime in hex.
#include <vorelcrypto/prime.h>

#include "cli.h"

#include <cstdlib>

namespace {

constexpr unsigned long kMaxBits = 2048;

int run(std::vector<std::string_view> args) {
    cli::Options opts(args, {}, {"--safe", "--x931", "--help", "-h"});
    if (!opts.ok()) return cli::fail(opts.error());
    if (opts.positional().size() != 1) return cli::fail("prime takes one bit count");
    const std::string &text = opts.positional()[0];
    char *end = nullptr;
    const unsigned long bits = std::strtoul(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || text[0] == '-' || bits < 32 || bits > kMaxBits)
        return cli::fail("bit count must be 32 to 2048");
    std::vector<uint32_t> words(bits / 32 + 3, 0);
    ENUM p{0, 0, words.data()};
    const bool safe = opts.has("--safe"), x9 = opts.has("--x931");
    cli::withProgress("searching.", [&] {
        if (x9)
            safe ? EN_GenerateStrongX9Prime(&p, int32_t(bits)) : EN_GenerateX9Prime(&p, int32_t(bits));
        else
            safe ? EN_GeneratePrimeStrongRSA(&p, uint32_t(bits)) : EN_GeneratePrimeRSA(&p, uint32_t(bits));
    });
    std::vector<uint8_t> out(bits / 8 + 8);
    const uint32_t n = EN_ENUMToBytes(&p, out.data());
    std::printf("%s\n", cli::toHex(out.data(), n).c_str());
    return cli::kOk;
}

const cli::Command command{
    "prime", "print a random probable prime in hex",
    "usage: vorelcrypto prime BITS [--safe] [--x931]\n\n"
    "Prints a random prime of BITS bits (32 to 2048, two top bits set; smaller numbers are all\n"
    "in the small-prime table that the candidate sieve excludes) as lower-case hex.\n"
    "  --safe   a safe prime: (p - 1) / 2 is prime too\n"
    "  --x931   draw candidates and witnesses from the X9.31 generator\n"
    "Shows progress on standard error when it is a terminal.\n",
    run};

}  // namespace
