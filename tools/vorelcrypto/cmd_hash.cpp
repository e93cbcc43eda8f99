// vorelcrypto hash -a ALG [FILE...]: prints "HEX  NAME" per input, in the manner of sha256sum.
#include <vorelcrypto/frame.h>
#include <vorelcrypto/common.h>
#include <vorelcrypto/hash.h>

#include "cli.h"
#include "hash/md5.h"

#include <cerrno>
#include <cstring>

namespace {

constexpr size_t kMaxContext = 1024;

// One row per algorithm: files are hashed in chunks through the engine's Init/Update/Final.
struct HashAlgorithm {
    const char *name;
    size_t digestLength;
    int32_t serviceId;  // V_GenHash id, or -1 for engines the service does not reach
    void (*init)(void *context);
    void (*update)(void *context, const uint8_t *data, uint32_t length);
    void (*final)(void *context, uint8_t *digest);
};

template <typename Ctx, void (*Init)(Ctx *), void (*Update)(Ctx *, const uint8_t *, uint32_t),
          void (*Final)(Ctx *, uint8_t *)>
constexpr HashAlgorithm row(const char *name, size_t digestLength, int32_t serviceId = -1) {
    static_assert(sizeof(Ctx) <= kMaxContext && alignof(Ctx) <= 16);
    return {name, digestLength, serviceId, [](void *c) { Init(static_cast<Ctx *>(c)); },
            [](void *c, const uint8_t *d, uint32_t n) { Update(static_cast<Ctx *>(c), d, n); },
            [](void *c, uint8_t *out) { Final(static_cast<Ctx *>(c), out); }};
}

using vc::hash::Md5Context;

const HashAlgorithm kAlgorithms[] = {
    row<Md2Context, E_MD2_Init, E_MD2_Update, E_MD2_Final>("md2", 16, V_HASH_MD2),
    row<Md4Context, E_MD4_Init, E_MD4_Update, E_MD4_Final>("md4", 16, V_HASH_MD4),
    row<Md5Context, vc::hash::md5Init, vc::hash::md5Update, vc::hash::md5Final>("md5", 16, V_HASH_MD5),
    row<ShaContext, E_SHA_Init, E_SHA_Update, E_SHA_Final>("sha0", 20),
    row<ShaContext, E_SHA1_Init, E_SHA1_Update, E_SHA1_Final>("sha1", 20, V_HASH_SHA1),
    row<Sha256Context, E_SHA256_Init, E_SHA256_Update, E_SHA256_Final>("sha256", 32),
    row<Sha512Context, E_SHA384_Init, E_SHA384_Update, E_SHA384_Final>("sha384", 48),
    row<Sha512Context, E_SHA512_Init, E_SHA512_Update, E_SHA512_Final>("sha512", 64),
    row<Ripemd160Context, E_RIPEMD160_Init, E_RIPEMD160_Update, E_RIPEMD160_Final>("ripemd160", 20, V_HASH_RIPEMD160),
    row<Has160Context, E_HAS160_Init, E_HAS160_Update, E_HAS160_Final>("has160", 20, V_HASH_HAS160),
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

// The algorithms that V_GenHash serves go through it, as applications' digests do: the whole
// input is read and hashed in one call.
bool serviceHash(const HashAlgorithm &alg, const std::string &path, uint8_t *digest, std::string &error) {
    std::vector<uint8_t> data;
    if (!cli::readFile(path, data, error)) return false;
    if (data.size() > UINT32_MAX) {
        error = path + ": too large for the hash service";
        return false;
    }
    static uint8_t empty;
    LibContext ctx{};
    if (V_VCCInit(&ctx) != 0) {
        error = "cannot initialise the library context";
        return false;
    }
    DataBlob in{uint32_t(data.size()), data.empty() ? &empty : data.data()}, out{0, nullptr};
    uint32_t code = V_GenHash(&ctx, uint32_t(alg.serviceId), &in, &out);
    if (code == 0) {
        std::memcpy(digest, out.Data, out.Length);
        V_free(&ctx, out.Data);
    } else {
        error = "hash service failed with code " + std::to_string(code);
    }
    V_VCCTerm(&ctx);
    return code == 0;
}

// Hashes one file ("-" is standard input) in chunks; false with a message on failure.
bool hashFile(const HashAlgorithm &alg, const std::string &path, uint8_t *digest, std::string &error) {
    if (alg.serviceId >= 0) return serviceHash(alg, path, digest, error);
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
    // Like sha256sum, a file that cannot be read is reported and the others are still hashed.
    int status = cli::kOk;
    for (const std::string &path : files) {
        uint8_t digest[64];
        std::string error;
        if (hashFile(*alg, path, digest, error))
            std::printf("%s  %s\n", cli::toHex(digest, alg->digestLength).c_str(), path.c_str());
        else
            status = cli::fail(error, cli::kFailed);
    }
    return status;
}

const cli::Command command{
    "hash", "print message digests of files",
    "usage: vorelcrypto hash -a ALG [FILE...]\n\n"
    "Prints the digest of each FILE (standard input when none is given, or for '-') as\n"
    "'HEX  NAME', one line per input, like sha256sum.\n\n"
    "  -a ALG   md2 md4 md5 sha0 sha1 sha256 sha384 sha512 ripemd160 has160\n",
    run};

}  // namespace
