// vorelcrypto hash -a ALG [FILE...]: prints "HEX  NAME" per input, in the manner of sha256sum.
#include <vorelcrypto/hash.h>

#include "cli.h"

#include <cerrno>
#include <cstring>

namespace {

constexpr size_t kMaxContext = 1024;

// One row per algorithm: files are hashed in chunks through the engine's Init/Update/Final.
struct HashAlgorithm {
    const char *name;
    size_t digestLength;
    void (*init)(void *context);
    void (*update)(void *context, const uint8_t *data, uint32_t length);
    void (*final)(void *context, uint8_t *digest);
};

template <typename Ctx, void (*Init)(Ctx *), void (*Update)(Ctx *, const uint8_t *, uint32_t),
          void (*Final)(Ctx *, uint8_t *)>
constexpr HashAlgorithm row(const char *name, size_t digestLength) {
    static_assert(sizeof(Ctx) <= kMaxContext && alignof(Ctx) <= 16);
    return {name, digestLength, [](void *c) { Init(static_cast<Ctx *>(c)); },
            [](void *c, const uint8_t *d, uint32_t n) { Update(static_cast<Ctx *>(c), d, n); },
            [](void *c, uint8_t *out) { Final(static_cast<Ctx *>(c), out); }};
}

// TODO(hash-b): md2, md4, md5, ripemd160 and has160 rows once their engines are merged.
const HashAlgorithm kAlgorithms[] = {
    row<ShaContext, E_SHA_Init, E_SHA_Update, E_SHA_Final>("sha0", 20),
    row<ShaContext, E_SHA1_Init, E_SHA1_Update, E_SHA1_Final>("sha1", 20),
    row<Sha256Context, E_SHA256_Init, E_SHA256_Update, E_SHA256_Final>("sha256", 32),
    row<Sha512Context, E_SHA384_Init, E_SHA384_Update, E_SHA384_Final>("sha384", 48),
    row<Sha512Context, E_SHA512_Init, E_SHA512_Update, E_SHA512_Final>("sha512", 64),
};

const HashAlgorithm *find(const std::string &name) {
    for (const HashAlgorithm &a : kAlgorithms)
        if (name == a.name) return &a;
    return nullptr;
}

std::string names() {
    std::string s;
    for (const HashAlgorithm &a : kAlgorithms) {
        if (!s.empty()) s += ' ';
        s += a.name;
    }
    return s;
}

// Hashes one file ("-" is standard input) in chunks; false with a message on failure.
bool hashFile(const HashAlgorithm &alg, const std::string &path, uint8_t *digest, std::string &error) {
    FILE *f = path == "-" ? stdin : std::fopen(path.c_str(), "rb");
    if (f == nullptr) {
        error = path + ": " + std::strerror(errno);
        return false;
    }
    alignas(16) unsigned char context[kMaxContext];
    static uint8_t chunk[1 << 16];
    alg.init(context);
    size_t n;
    while ((n = std::fread(chunk, 1, sizeof chunk, f)) > 0) alg.update(context, chunk, uint32_t(n));
    bool bad = std::ferror(f) != 0;
    if (f != stdin) std::fclose(f);
    if (bad) {
        error = path + ": read error";
        return false;
    }
    alg.final(context, digest);
    return true;
}

int run(std::vector<std::string_view> args) {
    cli::Options opts(args, {"-a"}, {});
    if (!opts.ok()) return cli::fail(opts.error());
    if (!opts.has("-a")) return cli::fail("hash needs -a ALG (" + names() + ")");
    const HashAlgorithm *alg = find(opts.value("-a"));
    if (alg == nullptr) return cli::fail("unknown hash algorithm '" + opts.value("-a") + "' (" + names() + ")");
    std::vector<std::string> files = opts.positional();
    if (files.empty()) files.push_back("-");
    for (const std::string &path : files) {
        uint8_t digest[64];
        std::string error;
        if (!hashFile(*alg, path, digest, error)) return cli::fail(error);
        std::printf("%s  %s\n", cli::toHex(digest, alg->digestLength).c_str(), path.c_str());
    }
    return std::fflush(stdout) == 0 ? cli::kOk : cli::fail("standard output: write error", cli::kFailed);
}

const cli::Command command{
    "hash", "print message digests of files",
    "usage: vorelcrypto hash -a ALG [FILE...]\n\n"
    "Prints the digest of each FILE (standard input when none is given, or for '-') as\n"
    "'HEX  NAME', one line per input, like sha256sum.\n\n"
    "  -a ALG   sha0 sha1 sha256 sha384 sha512\n",
    run};

}  // namespace
