// vorelcrypto mac -a ALG -k HEXKEY [FILE]: prints the message authentication code in hex.
#include <vorelcrypto/hash.h>

#include "cli.h"

#include <climits>

namespace {

// One row per MAC algorithm: the key lengths it takes and a one-shot over the whole message.
struct MacAlgorithm {
    const char *name;
    size_t minKey, maxKey;
    size_t macLength;
    void (*compute)(const std::vector<uint8_t> &key, const std::vector<uint8_t> &data, uint8_t *mac);
};

const MacAlgorithm kAlgorithms[] = {
    {"hmac-sha1", 0, INT32_MAX, 20,
     [](const std::vector<uint8_t> &key, const std::vector<uint8_t> &data, uint8_t *mac) {
         E_HMAC_SHA1(data.data(), uint32_t(data.size()), key.data(), int32_t(key.size()), mac);
     }},
};

int run(std::vector<std::string_view> args) {
    cli::Options opts(args, {"-a", "-k"}, {});
    if (!opts.ok()) return cli::fail(opts.error());
    const MacAlgorithm *alg = nullptr;
    for (const MacAlgorithm &a : kAlgorithms)
        if (opts.value("-a") == a.name) alg = &a;
    if (alg == nullptr) return cli::fail("unknown or missing MAC algorithm (-a hmac-sha1)");
    std::vector<uint8_t> key;
    if (!opts.has("-k") || !cli::parseHex(opts.value("-k"), key)) return cli::fail("-k needs the key in hex");
    if (key.size() < alg->minKey || key.size() > alg->maxKey)
        return cli::fail(std::string("wrong key length for ") + alg->name);
    if (opts.positional().size() > 1) return cli::fail("mac takes at most one FILE");
    std::string path = opts.positional().empty() ? "-" : opts.positional()[0], error;
    std::vector<uint8_t> data;
    if (!cli::readFile(path, data, error)) return cli::fail(error);
    if (data.size() > UINT32_MAX) return cli::fail(path + ": too large", cli::kFailed);
    uint8_t mac[64];
    alg->compute(key, data, mac);
    std::printf("%s\n", cli::toHex(mac, alg->macLength).c_str());
    return std::fflush(stdout) == 0 ? cli::kOk : cli::fail("standard output: write error", cli::kFailed);
}

const cli::Command command{
    "mac", "compute a message authentication code",
    "usage: vorelcrypto mac -a ALG -k HEXKEY [FILE]\n\n"
    "Prints the MAC of FILE (standard input when none is given, or for '-') in hex.\n\n"
    "  -a ALG      hmac-sha1 (the library's HMAC-SHA1: the outer hash takes 16 bytes of the\n"
    "              inner digest, so values differ from RFC 2104)\n"
    "  -k HEXKEY   the key in hexadecimal\n",
    run};

}  // namespace
