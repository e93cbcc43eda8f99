#include "md_engines.h"

#include <gtest/gtest.h>
#include <nettle/md2.h>
#include <openssl/evp.h>

#include <cstdlib>

namespace mdtest {
namespace {

template <class Ctx, size_t N, void (*Init)(Ctx *),
          void (*Update)(Ctx *, const uint8_t *, uint32_t), void (*Final)(Ctx *, uint8_t *),
          void (*OneShot)(uint8_t *, const uint8_t *, uint32_t)>
struct Adapter {
    static constexpr size_t kDigestLength = N;
    static Bytes oneShot(const uint8_t *data, uint32_t length) {
        Bytes digest(N);
        OneShot(digest.data(), data, length);
        return digest;
    }
    static Bytes pieces(const uint8_t *data, const std::vector<uint32_t> &sizes) {
        Ctx context;
        Init(&context);
        for (uint32_t n : sizes) {
            Update(&context, data, n);
            data += n;
        }
        Bytes digest(N);
        Final(&context, digest.data());
        return digest;
    }
};

Bytes openssl(const char *name, const uint8_t *data, size_t length) {
    vctest::loadOpenSslLegacy();
    EVP_MD *md = EVP_MD_fetch(nullptr, name, nullptr);
    if (md == nullptr) std::abort();
    Bytes digest(EVP_MD_get_size(md));
    unsigned int size = 0;
    EVP_Digest(data, length, digest.data(), &size, md, nullptr);
    EVP_MD_free(md);
    return digest;
}

Bytes nettleMd2(const uint8_t *data, size_t length) {
    md2_ctx context;
    md2_init(&context);
    md2_update(&context, length, data);
    Bytes digest(MD2_DIGEST_SIZE);
    md2_digest(&context, digest.size(), digest.data());
    return digest;
}

Bytes opensslMd4(const uint8_t *data, size_t length) { return openssl("MD4", data, length); }
Bytes opensslMd5(const uint8_t *data, size_t length) { return openssl("MD5", data, length); }
Bytes opensslRipemd160(const uint8_t *data, size_t length) {
    return openssl("RIPEMD160", data, length);
}

template <class A>
Engine make(const char *name, Bytes (*oracle)(const uint8_t *, size_t)) {
    return Engine{name, A::kDigestLength, &A::oneShot, &A::pieces, oracle};
}

namespace h = vc::hash;
using Md2 = Adapter<Md2Context, 16, E_MD2_Init, E_MD2_Update, E_MD2_Final, E_MD2>;
using Md4 = Adapter<Md4Context, 16, E_MD4_Init, E_MD4_Update, E_MD4_Final, E_MD4>;
using Md5 = Adapter<h::Md5Context, 16, h::md5Init, h::md5Update, h::md5Final, h::md5>;
using Ripemd160 = Adapter<Ripemd160Context, 20, E_RIPEMD160_Init, E_RIPEMD160_Update,
                          E_RIPEMD160_Final, E_RIPEMD160>;
using Has160 = Adapter<Has160Context, 20, E_HAS160_Init, E_HAS160_Update, E_HAS160_Final, E_HAS160>;

const std::vector<Engine> &all() {
    static const std::vector<Engine> engines = {
        make<Md2>("md2", nettleMd2),
        make<Md4>("md4", opensslMd4),
        make<Md5>("md5", opensslMd5),
        make<Ripemd160>("ripemd160", opensslRipemd160),
        make<Has160>("has160", nullptr),
    };
    return engines;
}

}  // namespace

const Engine &engine(const std::string &name) {
    for (const Engine &e : all())
        if (e.name == name) return e;
    std::abort();
}

const std::vector<const Engine *> &oracleEngines() {
    static const std::vector<const Engine *> list = [] {
        std::vector<const Engine *> v;
        for (const Engine &e : all())
            if (e.oracle != nullptr) v.push_back(&e);
        return v;
    }();
    return list;
}

std::vector<uint32_t> randomPieces(vctest::Rng &rng, uint32_t length) {
    std::vector<uint32_t> sizes;
    while (length > 0) {
        // Mostly short pieces around block boundaries, now and then an empty or a long one.
        uint32_t n = rng.below(4) == 0 ? rng.below(length + 1)
                                       : rng.below(length < 70 ? length + 1 : 70);
        sizes.push_back(n);
        length -= n;
    }
    if (rng.below(2) == 0) sizes.push_back(0);
    return sizes;
}

Bytes repeated(std::string_view text, size_t repeat) {
    Bytes b;
    b.reserve(text.size() * repeat);
    for (size_t i = 0; i < repeat; ++i) b.insert(b.end(), text.begin(), text.end());
    return b;
}

void expectDigest(const Engine &e, const Bytes &message, const std::string &hex) {
    uint32_t n = uint32_t(message.size());
    SCOPED_TRACE(e.name + " of " + std::to_string(n) + " bytes");
    EXPECT_EQ(vctest::toHex(e.oneShot(message.data(), n)), hex);
    if (n <= 1000) {
        EXPECT_EQ(vctest::toHex(e.pieces(message.data(), std::vector<uint32_t>(n, 1))), hex);
    }
    EXPECT_EQ(vctest::toHex(e.pieces(message.data(), {n / 3, 0, n / 2, n - n / 3 - n / 2})), hex);
}

}  // namespace mdtest
