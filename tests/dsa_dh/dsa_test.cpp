// DSA against OpenSSL 3 (signatures both ways), Project Wycheproof, and the GMP model of the
// r = 1, s = 0 forgery that the verifier refuses.
#include <vorelcrypto/dsa_dh.h>

#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>

#include "kcdsa/dlog_test_util.h"
#include "support/oracles.h"

namespace {

using dltest::Mpz;
using vctest::Bytes;

struct Key {
    dltest::Domain d;
    Mpz x, y;
    DsaKey rec;
    Key() {
        std::memset(&rec, 0, sizeof rec);
        E_DSA_Init(&rec);
    }
    void load() {
        dltest::setNum(&rec.p, d.p), dltest::setNum(&rec.q, d.q), dltest::setNum(&rec.g, d.g);
        dltest::setNum(&rec.x, x), dltest::setNum(&rec.y, y);
    }
    void setPrivate() {
        dltest::randomBelow(x, d.q);
        mpz_powm(y, d.g, x, d.p);
        load();
    }
    size_t qBytes() const { return (mpz_sizeinbase(d.q, 2) + 7) / 8; }
};

// The same key as an OpenSSL DSA key (with its private value when x is set).
EVP_PKEY *opensslKey(const Key &k, bool withPrivate) {
    if (!withPrivate)
        return dltest::opensslKey("DSA", {{OSSL_PKEY_PARAM_FFC_P, k.d.p}, {OSSL_PKEY_PARAM_FFC_Q, k.d.q},
                                          {OSSL_PKEY_PARAM_FFC_G, k.d.g}, {OSSL_PKEY_PARAM_PUB_KEY, k.y}},
                                  EVP_PKEY_PUBLIC_KEY);
    return dltest::opensslKey("DSA", {{OSSL_PKEY_PARAM_FFC_P, k.d.p}, {OSSL_PKEY_PARAM_FFC_Q, k.d.q},
                                      {OSSL_PKEY_PARAM_FFC_G, k.d.g}, {OSSL_PKEY_PARAM_PUB_KEY, k.y},
                                      {OSSL_PKEY_PARAM_PRIV_KEY, k.x}});
}

Bytes opensslSign(EVP_PKEY *key, const Bytes &h) {
    EVP_PKEY_CTX *ctx = EVP_PKEY_CTX_new(key, nullptr);
    Bytes sig(128);
    size_t n = sig.size();
    EXPECT_TRUE(EVP_PKEY_sign_init(ctx) == 1 && EVP_PKEY_sign(ctx, sig.data(), &n, h.data(), h.size()) == 1);
    sig.resize(n);
    EVP_PKEY_CTX_free(ctx);
    return sig;
}

bool opensslVerify(EVP_PKEY *key, const Bytes &h, const Bytes &sig) {
    EVP_PKEY_CTX *ctx = EVP_PKEY_CTX_new(key, nullptr);
    const bool ok = EVP_PKEY_verify_init(ctx) == 1 &&
                    EVP_PKEY_verify(ctx, sig.data(), sig.size(), h.data(), h.size()) == 1;
    EVP_PKEY_CTX_free(ctx);
    return ok;
}

Bytes sign(const Key &k, const Bytes &h) {
    uint8_t sig[200];
    uint32_t n = 0;
    EXPECT_EQ(E_DSA_Sign(h.data(), uint32_t(h.size()), sig, &n, &k.rec), 1);
    return Bytes(sig, sig + n);
}

int verify(const Key &k, const Bytes &h, const Bytes &sig) {
    return E_DSA_Verify(h.data(), uint32_t(h.size()), sig.data(), uint32_t(sig.size()), &k.rec);
}

// The Wycheproof file: domains and public keys by id, and the vectors.
struct Vector {
    int key;
    std::string hash, id;
    char result;
    Bytes msg, sig;
};
struct Wycheproof {
    std::map<int, std::unique_ptr<Key>> keys;
    std::vector<Vector> vectors;
};

const Wycheproof &wycheproof() {
    static Wycheproof w = [] {
        Wycheproof out;
        const char *dir = std::getenv("VC_TEST_DATA");
        std::ifstream in(std::string(dir ? dir : ".") + "/dsa_dh/data/wycheproof_dsa.txt");
        std::string line;
        while (std::getline(in, line)) {
            std::istringstream f(line);
            std::string tag;
            f >> tag;
            if (tag == "k") {
                int id;
                std::string p, q, g, y;
                f >> id >> p >> q >> g >> y;
                auto key = std::make_unique<Key>();
                dltest::setHex(key->d.p, p), dltest::setHex(key->d.q, q), dltest::setHex(key->d.g, g);
                dltest::setHex(key->y, y);
                key->load();
                out.keys[id] = std::move(key);
            } else if (tag == "t") {
                Vector v;
                std::string msg, sig;
                f >> v.key >> v.hash >> v.result >> v.id >> msg >> sig;
                v.msg = msg == "-" ? Bytes{} : vctest::fromHex(msg);
                v.sig = sig == "-" ? Bytes{} : vctest::fromHex(sig);
                out.vectors.push_back(std::move(v));
            }
        }
        return out;
    }();
    return w;
}

// The caller's hash cut to q's byte length, as DSA takes it.
Bytes hashFor(const Key &k, const std::string &name, const Bytes &msg) {
    Bytes h = vctest::digest(name == "sha1" ? "SHA1" : name == "sha224" ? "SHA224" : "SHA256", msg);
    if (h.size() > k.qBytes()) h.resize(k.qBytes());
    return h;
}

// Every vector: valid accepted, invalid refused (BER forms included: a signature must be the DER
// of its numbers). The acceptable ones, an r whose top bit is set written without its 0x00, are
// refused for the same reason.
TEST(DsaWycheproof, VerifiesAsExpected) {
    const Wycheproof &w = wycheproof();
    ASSERT_EQ(w.vectors.size(), 1603u);
    for (const Vector &v : w.vectors) {
        const Key &k = *w.keys.at(v.key);
        const int got = verify(k, hashFor(k, v.hash, v.msg), v.sig);
        EXPECT_EQ(got, v.result == 'V' ? 1 : 0) << v.id;
    }
}

// Our signatures verify with OpenSSL and OpenSSL's with us, on the Wycheproof domains of
// 1024/160, 2048/224 and 2048/256 with fresh private keys; a changed hash fails both ways.
TEST(DsaOpenSsl, SignaturesBothWays) {
    const Wycheproof &w = wycheproof();
    std::vector<unsigned> sizes;
    vctest::Rng rng;
    for (const auto &[id, pub] : w.keys) {
        const unsigned qBits = unsigned(mpz_sizeinbase(pub->d.q, 2));
        if (std::find(sizes.begin(), sizes.end(), qBits) != sizes.end()) continue;
        sizes.push_back(qBits);
        Key k;
        mpz_set(k.d.p, pub->d.p), mpz_set(k.d.q, pub->d.q), mpz_set(k.d.g, pub->d.g);
        k.setPrivate();
        EVP_PKEY *ossl = opensslKey(k, true);
        for (int i = 0; i < 3; i++) {
            const Bytes h = rng.bytes(k.qBytes());
            Bytes changed = h;
            changed[rng.below(uint32_t(h.size()))] ^= 1;
            const Bytes ours = sign(k, h), theirs = opensslSign(ossl, h);
            EXPECT_TRUE(opensslVerify(ossl, h, ours)) << qBits;
            EXPECT_EQ(verify(k, h, theirs), 1) << qBits;
            EXPECT_EQ(verify(k, h, ours), 1);
            EXPECT_FALSE(opensslVerify(ossl, changed, ours));
            EXPECT_EQ(verify(k, changed, theirs), 0);
        }
        EVP_PKEY_free(ossl);
    }
    std::sort(sizes.begin(), sizes.end());
    EXPECT_EQ(sizes, (std::vector<unsigned>{160, 224, 256}));
}

// A generated key: its domain checked by GMP, y = g^x, and OpenSSL accepts its signatures.
TEST(DsaKeygen, GeneratedKeySignsForOpenSsl) {
    Key k;
    ASSERT_EQ(E_DSA_GenerateKey(&k.rec, 512, 160), 1);
    dltest::expectDomain(&k.rec.p, &k.rec.q, &k.rec.g, 512, 160);
    bntest::toMpz(k.d.p, &k.rec.p), bntest::toMpz(k.d.q, &k.rec.q), bntest::toMpz(k.d.g, &k.rec.g);
    bntest::toMpz(k.x, &k.rec.x);
    mpz_powm(k.y, k.d.g, k.x, k.d.p);
    EXPECT_TRUE(dltest::equal(&k.rec.y, k.y));
    EVP_PKEY *ossl = opensslKey(k, false);
    const Bytes h(20, 0x42);
    EXPECT_TRUE(opensslVerify(ossl, h, sign(k, h)));
    EVP_PKEY_free(ossl);
    EXPECT_EQ(E_DSA_GenerateKey(&k.rec, 160, 160), 0);
}

// Taken literally, verification accepts r = 1 with s = 0 (mod q) for every hash: the inverse
// of 0 comes back as 0, so u1 = u2 = 0 and v = 1 (the model below). The verifier refuses r and
// s outside 1 ... q - 1.
TEST(DsaVerify, RefusesTheZeroSForgery) {
    Key &k = *wycheproof().keys.begin()->second;
    const Bytes h(k.qBytes(), 0x17);
    for (bool sIsQ : {false, true}) {
        Mpz r, s, w, u1, u2, a, b, v, m;
        mpz_set_ui(r, 1);
        if (sIsQ) mpz_set(s, k.d.q);
        if (mpz_invert(w, s, k.d.q) == 0) mpz_set_ui(w, 0);
        dltest::fromBytes(m, h);
        mpz_mul(u1, m, w), mpz_mod(u1, u1, k.d.q);
        mpz_mul(u2, r, w), mpz_mod(u2, u2, k.d.q);
        mpz_powm(a, k.d.g, u1, k.d.p), mpz_powm(b, k.y, u2, k.d.p);
        mpz_mul(v, a, b), mpz_mod(v, v, k.d.p), mpz_mod(v, v, k.d.q);
        EXPECT_EQ(mpz_cmp(v, r), 0);  // the literal check would accept

        EXPECT_EQ(verify(k, h, dltest::derOf(r, s)), 0);
    }
}

// hLen beyond q's byte length or 50 is refused; q's byte length itself signs.
TEST(DsaSign, HashLengthLimits) {
    Key k;
    dltest::makeDomain(k.d, 600, 424);  // q of 53 bytes
    k.setPrivate();
    const Bytes h(60, 0x33);
    uint8_t sig[200];
    uint32_t n = 0;
    EXPECT_EQ(E_DSA_Sign(h.data(), 51, sig, &n, &k.rec), 0);
    EXPECT_EQ(n, 0u);
    ASSERT_EQ(E_DSA_Sign(h.data(), 50, sig, &n, &k.rec), 1);
    EXPECT_EQ(E_DSA_Verify(h.data(), 50, sig, n, &k.rec), 1);
    Key &small = *wycheproof().keys.begin()->second;
    EXPECT_EQ(E_DSA_Sign(h.data(), uint32_t(small.qBytes()) + 1, sig, &n, &small.rec), 0);
    // A record without a usable domain is refused before any arithmetic.
    DsaKey empty = {};
    E_DSA_Init(&empty);
    EXPECT_EQ(E_DSA_Sign(h.data(), 20, sig, &n, &empty), 0);
    EXPECT_EQ(E_DSA_Verify(h.data(), 20, sig, n, &empty), 0);
}

}  // namespace
