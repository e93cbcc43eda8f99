// KCDSA, DSA and Diffie-Hellman beside OpenSSL. OpenSSL has no KCDSA: KCDSA-1024/160 signing
// and verification (E_KCDSA_Sign_New / E_KCDSA_Verify_New with SHA-1) are set beside OpenSSL's
// DSA-1024/160 on a SHA-1 digest, the same amount of group arithmetic. DSA-2048/256 on both
// sides; DH-2048 is one agreement (peer^private mod p with a 2047-bit private value) on the
// RFC 3526 group.
#include "bench_util.h"

#include <gmp.h>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>
#include <vorelcrypto/dsa_dh.h>
#include <vorelcrypto/hash.h>
#include <vorelcrypto/kcdsa.h>

#include <cstring>
#include <memory>

namespace {

using Bytes = std::vector<uint8_t>;

Bytes bytesOf(const mpz_t z) {
    Bytes b((mpz_sizeinbase(z, 2) + 7) / 8);
    size_t n = 0;
    mpz_export(b.data(), &n, 1, 1, 0, 0, z);
    b.resize(n);
    return b;
}

void setNum(ENUM *a, const mpz_t z) {
    const Bytes b = bytesOf(z);
    EN_BytesToENUM(a, b.data(), uint32_t(b.size()));
}

BIGNUM *toBn(const mpz_t z) {
    const Bytes b = bytesOf(z);
    return BN_bin2bn(b.data(), int(b.size()), nullptr);
}

// A DSA domain of the given sizes, made by GMP from a fixed seed, with x and y = g^x.
struct Domain {
    mpz_t p, q, g, x, y;
    Domain(unsigned pBits, unsigned qBits) {
        mpz_inits(p, q, g, x, y, nullptr);
        gmp_randstate_t rs;
        gmp_randinit_mt(rs);
        gmp_randseed_ui(rs, pBits + qBits);
        mpz_t m, t;
        mpz_inits(m, t, nullptr);
        mpz_urandomb(q, rs, qBits);
        mpz_setbit(q, qBits - 1);
        mpz_nextprime(q, q);
        do {
            mpz_urandomb(m, rs, pBits - qBits - 1);
            mpz_setbit(m, pBits - qBits - 2);
            mpz_mul(p, q, m);
            mpz_mul_2exp(p, p, 1);
            mpz_add_ui(p, p, 1);
        } while (mpz_sizeinbase(p, 2) != pBits || mpz_probab_prime_p(p, 20) == 0);
        mpz_sub_ui(t, p, 1);
        mpz_divexact(t, t, q);
        mpz_set_ui(g, 2);
        mpz_powm(g, g, t, p);
        mpz_urandomm(x, rs, q);
        mpz_powm(y, g, x, p);
        mpz_clears(m, t, nullptr);
        gmp_randclear(rs);
    }
    // Another key of d's domain, x drawn from rs.
    Domain(const Domain &d, gmp_randstate_t rs) {
        mpz_inits(x, y, nullptr);
        mpz_init_set(p, d.p), mpz_init_set(q, d.q), mpz_init_set(g, d.g);
        mpz_urandomm(x, rs, q);
        mpz_powm(y, g, x, p);
    }
    ~Domain() { mpz_clears(p, q, g, x, y, nullptr); }
};

EVP_PKEY *opensslKey(const char *type, const std::vector<std::pair<const char *, BIGNUM *>> &numbers) {
    OSSL_PARAM_BLD *b = OSSL_PARAM_BLD_new();
    for (auto &[name, bn] : numbers) OSSL_PARAM_BLD_push_BN(b, name, bn);
    OSSL_PARAM *params = OSSL_PARAM_BLD_to_param(b);
    EVP_PKEY_CTX *ctx = EVP_PKEY_CTX_new_from_name(nullptr, type, nullptr);
    EVP_PKEY *key = nullptr;
    EVP_PKEY_fromdata_init(ctx);
    EVP_PKEY_fromdata(ctx, &key, EVP_PKEY_KEYPAIR, params);
    EVP_PKEY_CTX_free(ctx);
    OSSL_PARAM_free(params);
    OSSL_PARAM_BLD_free(b);
    for (auto &[name, bn] : numbers) BN_free(bn);
    return key;
}

EVP_PKEY *opensslDsa(const Domain &d) {
    return opensslKey("DSA", {{OSSL_PKEY_PARAM_FFC_P, toBn(d.p)}, {OSSL_PKEY_PARAM_FFC_Q, toBn(d.q)},
                              {OSSL_PKEY_PARAM_FFC_G, toBn(d.g)}, {OSSL_PKEY_PARAM_PUB_KEY, toBn(d.y)},
                              {OSSL_PKEY_PARAM_PRIV_KEY, toBn(d.x)}});
}

const Domain &domain(unsigned pBits, unsigned qBits) {
    static Domain d1024(1024, 160), d2048(2048, 256);
    return pBits == 1024 ? d1024 : d2048;
}

// ---- KCDSA-1024/160 beside OpenSSL's DSA-1024/160 ----

std::unique_ptr<KcdsaKey> kcdsaKey() {
    auto key = std::make_unique<KcdsaKey>();
    std::memset(key.get(), 0, sizeof(KcdsaKey));
    E_KCDSA_Init(key.get());
    E_KCDSA_GenerateKey_fixParam(key.get(), 0, 160);
    return key;
}

const Bytes kMessage = vcbench::filler(32);

void kcdsaSignOurs(benchmark::State &state) {
    auto key = kcdsaKey();
    uint8_t sig[64];
    uint32_t n = 0;
    for (auto _ : state) {
        E_KCDSA_Sign_New(E_KCDSA_HASH_SHA1, kMessage.data(), uint32_t(kMessage.size()), sig, &n, key.get());
        benchmark::DoNotOptimize(sig);
    }
}

void kcdsaVerifyOurs(benchmark::State &state) {
    auto key = kcdsaKey();
    uint8_t sig[64];
    uint32_t n = 0;
    E_KCDSA_Sign_New(E_KCDSA_HASH_SHA1, kMessage.data(), uint32_t(kMessage.size()), sig, &n, key.get());
    for (auto _ : state)
        if (E_KCDSA_Verify_New(E_KCDSA_HASH_SHA1, kMessage.data(), uint32_t(kMessage.size()), sig, n, key.get()) != 1)
            state.SkipWithError("signature does not verify");
}

// ---- DSA ----

std::unique_ptr<DsaKey> dsaKey(const Domain &d) {
    auto key = std::make_unique<DsaKey>();
    std::memset(key.get(), 0, sizeof(DsaKey));
    E_DSA_Init(key.get());
    setNum(&key->p, d.p), setNum(&key->q, d.q), setNum(&key->g, d.g), setNum(&key->x, d.x), setNum(&key->y, d.y);
    return key;
}

Bytes digestFor(const Domain &d) { return vcbench::filler((mpz_sizeinbase(d.q, 2) + 7) / 8, 9); }

void dsaSignOurs(benchmark::State &state) {
    const Domain &d = domain(unsigned(state.range(0)), 0);
    auto key = dsaKey(d);
    const Bytes h = digestFor(d);
    uint8_t sig[128];
    uint32_t n = 0;
    for (auto _ : state) {
        E_DSA_Sign(h.data(), uint32_t(h.size()), sig, &n, key.get());
        benchmark::DoNotOptimize(sig);
    }
}

void dsaVerifyOurs(benchmark::State &state) {
    const Domain &d = domain(unsigned(state.range(0)), 0);
    auto key = dsaKey(d);
    const Bytes h = digestFor(d);
    uint8_t sig[128];
    uint32_t n = 0;
    E_DSA_Sign(h.data(), uint32_t(h.size()), sig, &n, key.get());
    for (auto _ : state)
        if (E_DSA_Verify(h.data(), uint32_t(h.size()), sig, n, key.get()) != 1)
            state.SkipWithError("signature does not verify");
}

// OpenSSL signing (or verifying one signature) with DSA on the domain of state.range(0).
void dsaOpenSsl(benchmark::State &state, bool verify) {
    const Domain &d = domain(unsigned(state.range(0)), 0);
    EVP_PKEY *key = opensslDsa(d);
    EVP_PKEY_CTX *ctx = EVP_PKEY_CTX_new(key, nullptr);
    EVP_PKEY_sign_init(ctx);
    const Bytes h = digestFor(d);
    uint8_t sig[128];
    size_t n = sizeof sig;
    EVP_PKEY_sign(ctx, sig, &n, h.data(), h.size());
    if (verify) EVP_PKEY_verify_init(ctx);
    for (auto _ : state) {
        if (verify && EVP_PKEY_verify(ctx, sig, n, h.data(), h.size()) != 1)
            state.SkipWithError("signature does not verify");
        if (!verify) {
            n = sizeof sig;
            EVP_PKEY_sign(ctx, sig, &n, h.data(), h.size());
            benchmark::DoNotOptimize(sig);
        }
    }
    EVP_PKEY_CTX_free(ctx);
    EVP_PKEY_free(key);
}

// Verification under 16 keys of one domain in turn: more keys than the verifier remembers, so
// each verification meets a key it has no table for (a server checking many signers).
constexpr int kKeys = 16;

struct ManyKeys {
    std::vector<std::unique_ptr<DsaKey>> ours;
    std::vector<EVP_PKEY *> theirs;
    std::vector<Bytes> sigs;
    explicit ManyKeys(const Domain &d) {
        gmp_randstate_t rs;
        gmp_randinit_mt(rs);
        gmp_randseed_ui(rs, 77);
        const Bytes h = digestFor(d);
        for (int i = 0; i < kKeys; i++) {
            const Domain k(d, rs);
            ours.push_back(dsaKey(k));
            theirs.push_back(opensslDsa(k));
            Bytes sig(128);
            uint32_t n = 0;
            E_DSA_Sign(h.data(), uint32_t(h.size()), sig.data(), &n, ours.back().get());
            sig.resize(n);
            sigs.push_back(sig);
        }
        gmp_randclear(rs);
    }
    ~ManyKeys() {
        for (EVP_PKEY *k : theirs) EVP_PKEY_free(k);
    }
};

void dsaVerifyKeysOurs(benchmark::State &state) {
    const Domain &d = domain(2048, 256);
    static ManyKeys keys(d);
    const Bytes h = digestFor(d);
    int i = 0;
    for (auto _ : state) {
        const Bytes &sig = keys.sigs[size_t(i)];
        if (E_DSA_Verify(h.data(), uint32_t(h.size()), sig.data(), uint32_t(sig.size()), keys.ours[size_t(i)].get()) != 1)
            state.SkipWithError("signature does not verify");
        i = (i + 1) % kKeys;
    }
}

void dsaVerifyKeysOpenSsl(benchmark::State &state) {
    const Domain &d = domain(2048, 256);
    static ManyKeys keys(d);
    const Bytes h = digestFor(d);
    std::vector<EVP_PKEY_CTX *> ctx;
    for (EVP_PKEY *k : keys.theirs) {
        ctx.push_back(EVP_PKEY_CTX_new(k, nullptr));
        EVP_PKEY_verify_init(ctx.back());
    }
    int i = 0;
    for (auto _ : state) {
        const Bytes &sig = keys.sigs[size_t(i)];
        if (EVP_PKEY_verify(ctx[size_t(i)], sig.data(), sig.size(), h.data(), h.size()) != 1)
            state.SkipWithError("signature does not verify");
        i = (i + 1) % kKeys;
    }
    for (EVP_PKEY_CTX *c : ctx) EVP_PKEY_CTX_free(c);
}

void dsaSignOpenSsl(benchmark::State &state) { dsaOpenSsl(state, false); }
void dsaVerifyOpenSsl(benchmark::State &state) { dsaOpenSsl(state, true); }

// ---- DH-2048 ----

constexpr const char *kModp2048 =
    "FFFFFFFFFFFFFFFFC90FDAA22168C234C4C6628B80DC1CD129024E088A67CC74020BBEA63B139B22514A08798E3404DD"
    "EF9519B3CD3A431B302B0A6DF25F14374FE1356D6D51C245E485B576625E7EC6F44C42E9A637ED6B0BFF5CB6F406B7ED"
    "EE386BFB5A899FA5AE9F24117C4B1FE649286651ECE45B3DC2007CB8A163BF0598DA48361C55D39A69163FA8FD24CF5F"
    "83655D23DCA3AD961C62F356208552BB9ED529077096966D670C354E4ABC9804F1746C08CA18217C32905E462E36CE3B"
    "E39E772C180E86039B2783A2EC07A28FB5C55DF06F4C52C9DE2BCBF6955817183995497CEA956AE515D2261898FA0510"
    "15728E5A8AACAA68FFFFFFFFFFFFFFFF";

// p, g = 2, two private values of 2047 bits and their public values.
struct DhGroup {
    mpz_t p, g, own, ownPub, peer, peerPub;
    DhGroup() {
        mpz_inits(p, g, own, ownPub, peer, peerPub, nullptr);
        mpz_set_str(p, kModp2048, 16);
        mpz_set_ui(g, 2);
        const Bytes a = vcbench::filler(256, 3), b = vcbench::filler(256, 4);
        mpz_import(own, a.size(), 1, 1, 0, 0, a.data());
        mpz_import(peer, b.size(), 1, 1, 0, 0, b.data());
        mpz_fdiv_r_2exp(own, own, 2047), mpz_setbit(own, 2046);
        mpz_fdiv_r_2exp(peer, peer, 2047), mpz_setbit(peer, 2046);
        mpz_powm(ownPub, g, own, p);
        mpz_powm(peerPub, g, peer, p);
    }
    ~DhGroup() { mpz_clears(p, g, own, ownPub, peer, peerPub, nullptr); }
};

void dhOurs(benchmark::State &state) {
    static DhGroup grp;
    auto dh = std::make_unique<DhKey>();
    std::memset(dh.get(), 0, sizeof(DhKey));
    E_DH_Init(dh.get());
    setNum(&dh->p, grp.p), setNum(&dh->g, grp.g), setNum(&dh->privateValue, grp.own);
    std::vector<uint32_t> words(80);
    ENUM peer{0, 0, words.data()};
    setNum(&peer, grp.peerPub);
    uint8_t out[256];
    for (auto _ : state) benchmark::DoNotOptimize(E_DH_ComputeKey(out, &peer, dh.get()));
}

void dhOpenSsl(benchmark::State &state) {
    static DhGroup grp;
    auto dhKey = [](const DhGroup &g, const mpz_t priv, const mpz_t pub) {
        return opensslKey("DH", {{OSSL_PKEY_PARAM_FFC_P, toBn(g.p)}, {OSSL_PKEY_PARAM_FFC_G, toBn(g.g)},
                                 {OSSL_PKEY_PARAM_PRIV_KEY, toBn(priv)}, {OSSL_PKEY_PARAM_PUB_KEY, toBn(pub)}});
    };
    EVP_PKEY *own = dhKey(grp, grp.own, grp.ownPub), *peer = dhKey(grp, grp.peer, grp.peerPub);
    EVP_PKEY_CTX *ctx = EVP_PKEY_CTX_new(own, nullptr);
    EVP_PKEY_derive_init(ctx);
    EVP_PKEY_derive_set_peer(ctx, peer);
    uint8_t out[256];
    for (auto _ : state) {
        size_t n = sizeof out;
        EVP_PKEY_derive(ctx, out, &n);
        benchmark::DoNotOptimize(out);
    }
    EVP_PKEY_CTX_free(ctx);
    EVP_PKEY_free(own);
    EVP_PKEY_free(peer);
}

const bool registered = [] {
    const auto us = benchmark::kMicrosecond;
    benchmark::RegisterBenchmark("kcdsa1024_sign/ours", kcdsaSignOurs)->Arg(1024)->Unit(us);
    benchmark::RegisterBenchmark("kcdsa1024_sign/openssl", dsaSignOpenSsl)->Arg(1024)->Unit(us);
    benchmark::RegisterBenchmark("kcdsa1024_verify/ours", kcdsaVerifyOurs)->Arg(1024)->Unit(us);
    benchmark::RegisterBenchmark("kcdsa1024_verify/openssl", dsaVerifyOpenSsl)->Arg(1024)->Unit(us);
    benchmark::RegisterBenchmark("dsa_sign/ours", dsaSignOurs)->Arg(2048)->Unit(us);
    benchmark::RegisterBenchmark("dsa_sign/openssl", dsaSignOpenSsl)->Arg(2048)->Unit(us);
    benchmark::RegisterBenchmark("dsa_verify/ours", dsaVerifyOurs)->Arg(2048)->Unit(us);
    benchmark::RegisterBenchmark("dsa_verify/openssl", dsaVerifyOpenSsl)->Arg(2048)->Unit(us);
    benchmark::RegisterBenchmark("dsa_verify_16keys/ours", dsaVerifyKeysOurs)->Unit(us);
    benchmark::RegisterBenchmark("dsa_verify_16keys/openssl", dsaVerifyKeysOpenSsl)->Unit(us);
    benchmark::RegisterBenchmark("dh2048/ours", dhOurs)->Unit(us);
    benchmark::RegisterBenchmark("dh2048/openssl", dhOpenSsl)->Unit(us);
    return true;
}();

}  // namespace
