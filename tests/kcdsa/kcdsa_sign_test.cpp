// KCDSA signers and verifiers against the GMP model of kcdsa_model.h, the published TTAK
// example, and each other.
#include "kcdsa/kcdsa_model.h"

namespace {

using namespace kcdsatest;
using vctest::fromHex;

// The KCDSA example of TTAK.KO-12.0001/R4 Appendix II.5 (p 1024, q 160 bits, HAS-160), as
// transcribed in github RyuaNerin/go-krypto kcdsa/testcases_ttak_test.go @ 6e7566c (MIT).
constexpr const char *kTtakP =
    "d7b9afc104f4d53f737db88d6bf77e12cd7ec3d71cbe3cb74cd224bff348154afba6bfed797044dfc655dcc20c952c0e"
    "c43a97e1ad67e687d10729caf622845d162afca8f0248cc412b3596c4c5d3384f7e25ee644ba87bb09b164fb465477b8"
    "7fdba5eaa400ffa0925714ae19464ffacead3a9750d121948ab2d8d65c82379f";
constexpr const char *kTtakQ = "c3ddd3717bf05b8f8dd725c162f0b9432c6f77fb";
constexpr const char *kTtakG =
    "50e414c7a56892d1ad633e42d5cd8346f2c09808111c772cc30b0c544102c27e7b5f9bec57b9df2a153128919d795e46"
    "652b2a072e1f2517f2a3afff5815253aaefe35724cfa1af6afce3a6b41e3d0e13bed0eff54383c4665e69b47ba79bbc3"
    "339f86b9be2b58894a18b201afc41fe3a0d93d3125efda79bc50dbbb2c3ab639";
constexpr const char *kTtakX = "068c4ef355d8b6f53eff1df6f243f98563896c58";
constexpr const char *kTtakY =
    "96dce0e7b2f170093d9b51d2ba78202733b62c406d3769758b3e0cbba1ff6c78727a35703cb6bc2476c3c293743dfee9"
    "4aa4b9efa9a17fa6bf790ac25a82c61523f50abaac7b64647eb15c957b07f5ed7d467243089f74695cd58fbf57920cc0"
    "c05d45829c0a8161b943f18451845760ed096540e78aa9750b03d02448cbf8de";
constexpr const char *kTtakMsg = "This is a test message for KCDSA usage!";
constexpr const char *kTtakK = "4b037e4b573bb7e334cad0a70bed6b5881df9e8e";
constexpr const char *kTtakR = "8f996a98eda57cc8d88aa6ffdfaea22f39d7fa8a";
constexpr const char *kTtakS = "541f7dc4f92c65eb7f63b6b4f22177f1ee2cf339";

// Keys on a few domains made once by GMP. A 1000-bit p has 125-byte W values, so the older
// functions always hash three buffer bytes past W (the zero tail); q of 256 bits lets hLen
// exceed the digest.
Key &domainKey(unsigned pBits, unsigned qBits) {
    static std::vector<std::unique_ptr<Key>> made;
    for (auto &k : made)
        if (mpz_sizeinbase(k->d.p, 2) == pBits && mpz_sizeinbase(k->d.q, 2) == qBits) return *k;
    made.push_back(std::make_unique<Key>());
    dltest::makeDomain(made.back()->d, pBits, qBits);
    made.back()->setPrivate();
    return *made.back();
}

Key &ttakKey() {
    static Key key;
    static const bool ready = [] {
        dltest::setHex(key.d.p, kTtakP);
        dltest::setHex(key.d.q, kTtakQ);
        dltest::setHex(key.d.g, kTtakG);
        Mpz x;
        dltest::setHex(x, kTtakX);
        key.setPrivate(x);
        return true;
    }();
    (void)ready;
    return key;
}

// E_KCDSA_Sign2 and E_KCDSA_Sign2RS reproduce the model for the k they export (the zero tail,
// hLen below and above the digest length); E_KCDSA_Sign2RS's s is right exactly when k >= e.
TEST(KcdsaReady, SignersMatchModelForTheirNonce) {
    struct Case {
        unsigned pBits, qBits;
        uint32_t hLen;
    } cases[] = {{1000, 160, 20}, {1000, 160, 7}, {1000, 256, 32}, {1000, 256, 23}};
    vctest::Rng rng;
    int below = 0, above = 0;
    for (const Case &c : cases) {
        Key &key = domainKey(c.pBits, c.qBits);
        for (int i = 0; i < 8; i++) {
            const Bytes h = rng.bytes(c.hLen);
            uint8_t sig[200], k[64], r[64], s[64];
            uint32_t sigLen = 0, kLen = 0, rLen = 0, sLen = 0;
            ASSERT_EQ(E_KCDSA_Sign2(h.data(), c.hLen, sig, &sigLen, &key.rec, k, &kLen), 1);
            Mpz kv, e, r1, s1;
            dltest::fromBytes(kv, k, kLen);
            const Signature want = readySign(key, h, kv, e);
            ASSERT_TRUE(dltest::parseDer(Bytes(sig, sig + sigLen), r1, s1));
            Mpz wantR;
            dltest::fromBytes(wantR, want.r);
            EXPECT_EQ(mpz_cmp(r1, wantR), 0) << c.pBits << "/" << c.qBits << " hLen " << c.hLen;
            EXPECT_EQ(mpz_cmp(s1, want.s), 0);
            EXPECT_EQ(E_KCDSA_Verify(h.data(), c.hLen, sig, sigLen, &key.rec), 1);

            ASSERT_EQ(E_KCDSA_Sign2RS(h.data(), c.hLen, r, &rLen, s, &sLen, &key.rec, k, &kLen), 1);
            ASSERT_EQ(rLen, c.hLen);
            dltest::fromBytes(kv, k, kLen);
            const Signature raw = readySign(key, h, kv, e);
            EXPECT_EQ(Bytes(r, r + rLen), raw.r);
            const bool right = mpz_cmp(kv, e) >= 0;
            (right ? above : below)++;
            Mpz sv;
            dltest::fromBytes(sv, s, sLen);
            if (right) {
                EXPECT_EQ(mpz_cmp(sv, raw.s), 0);
            }
            EXPECT_EQ(E_KCDSA_Verify_withParams(h.data(), c.hLen, r, rLen, s, sLen, &key.rec), right ? 1 : 0);
        }
    }
    EXPECT_GT(below, 0);
    EXPECT_GT(above, 0);
}

// The published example: its signature verifies, and the model given its k makes its r and s.
TEST(KcdsaNew, PublishedExample) {
    Key &key = ttakKey();
    Mpz y;
    dltest::setHex(y, kTtakY);
    ASSERT_EQ(mpz_cmp(key.y, y), 0);
    const Bytes msg = vctest::bytesOf(kTtakMsg);
    Mpz k, s;
    dltest::setHex(k, kTtakK);
    const Signature sig = newSign(key, E_KCDSA_HASH_HAS160, msg, k);
    EXPECT_EQ(vctest::toHex(sig.r), kTtakR);
    dltest::setHex(s, kTtakS);
    EXPECT_EQ(mpz_cmp(sig.s, s), 0);

    Bytes der = concat({0x30, 0x2d, 0x03, 0x15, 0x00}, fromHex(kTtakR));
    der = concat(concat(der, {0x02, 0x14}), fromHex(kTtakS));
    EXPECT_EQ(E_KCDSA_Verify_New(E_KCDSA_HASH_HAS160, msg.data(), uint32_t(msg.size()), der.data(),
                                 uint32_t(der.size()), &key.rec), 1);
    EXPECT_EQ(E_KCDSA_Verify_New(E_KCDSA_HASH_SHA1, msg.data(), uint32_t(msg.size()), der.data(),
                                 uint32_t(der.size()), &key.rec), 0);
}

Bytes signNew(uint32_t id, const Bytes &msg, const KcdsaKey &rec) {
    uint8_t sig[128];
    uint32_t sigLen = 0;
    EXPECT_EQ(E_KCDSA_Sign_New(id, msg.data(), uint32_t(msg.size()), sig, &sigLen, &rec), 1);
    return Bytes(sig, sig + sigLen);
}

// z is the unpadded minimal bytes of y's low 512 bits: for a y whose bit 511 ... 504 are zero
// the signer hashes a z shorter than 64 bytes; the model agrees only with that short z. The
// output's s carries a 0x00 exactly when its top bit is set, with both lengths one byte.
TEST(KcdsaNew, ShortZAndEncoding) {
    Key key;
    dltest::makeDomain(key.d, 1024, 160);
    Mpz x, u, y, low;
    do {
        dltest::randomBelow(x, key.d.q);
        mpz_invert(u, x, key.d.q);
        mpz_powm(y, key.d.g, u, key.d.p);
        mpz_fdiv_q_2exp(low, y, 504);
    } while (mpz_fdiv_ui(low, 256) != 0);
    key.setPrivate(x);
    ASSERT_LT(zOf(key.y).size(), 64u);
    Bytes padded(64 - zOf(key.y).size(), 0);
    padded = concat(padded, zOf(key.y));

    const Bytes msg = vctest::bytesOf("short z");
    int pads = 0;
    for (int i = 0; i < 12; i++) {
        const uint32_t id = i % 2 ? E_KCDSA_HASH_SHA1 : E_KCDSA_HASH_HAS160;
        const Bytes sig = signNew(id, msg, key.rec);
        Signature parts;
        ASSERT_TRUE(splitNew(sig, parts)) << vctest::toHex(sig);
        pads += sig[27] == 0x00;
        EXPECT_TRUE(newVerify(key, id, zOf(key.y), msg, parts));
        EXPECT_FALSE(newVerify(key, id, padded, msg, parts));
        EXPECT_EQ(E_KCDSA_Verify_New(id, msg.data(), uint32_t(msg.size()), sig.data(), uint32_t(sig.size()), &key.rec), 1);
    }
    EXPECT_GT(pads, 0);
    EXPECT_LT(pads, 12);
}

// With y missing from the record (fewer than 32 words) the signer computes it from x.
TEST(KcdsaNew, RecomputesMissingY) {
    Key &key = ttakKey();
    KcdsaKey rec = key.rec;
    E_KCDSA_Init(&rec);
    rec.y.length = 0;
    const Bytes msg = vctest::bytesOf("no y");
    Signature parts;
    ASSERT_TRUE(splitNew(signNew(E_KCDSA_HASH_SHA1, msg, rec), parts));
    EXPECT_TRUE(newVerify(key, E_KCDSA_HASH_SHA1, zOf(key.y), msg, parts));
}

// An unknown hash id hashes nothing: r and hv stay zero, so taken literally every signature
// with r = 0 would verify for every message (the model shows it). Verify_New refuses the id.
TEST(KcdsaNew, UnknownHashIdVerifiesNothing) {
    Key &key = ttakKey();
    const Bytes msg = vctest::bytesOf("any");
    const Bytes sig = signNew(7, msg, key.rec);
    Signature parts;
    ASSERT_TRUE(splitNew(sig, parts));
    EXPECT_EQ(parts.r, Bytes(20, 0));
    mpz_set_ui(parts.s, 12345);
    EXPECT_TRUE(newVerify(key, 7, zOf(key.y), vctest::bytesOf("other"), parts));
    EXPECT_EQ(E_KCDSA_Verify_New(7, msg.data(), uint32_t(msg.size()), sig.data(), uint32_t(sig.size()), &key.rec), 0);
}

// The signer/verifier pairs: 0 Sign/Verify, 1 Sign2RS/Verify_withParams (r || s, retried until
// k >= e), 2 and 3 Sign_New/Verify_New with SHA-1 and HAS-160. Byte 10 lies inside r and the
// last byte inside s in all of them.
Bytes signAs(int kind, const Bytes &m, const KcdsaKey &key) {
    uint8_t sig[100], s[20], k[20];
    uint32_t n = 0, sl = 0, kl = 0;
    if (kind >= 2) return signNew(kind == 2 ? E_KCDSA_HASH_SHA1 : E_KCDSA_HASH_HAS160, m, key);
    if (kind == 0) {
        EXPECT_EQ(E_KCDSA_Sign(m.data(), 20, sig, &n, &key), 1);
        return Bytes(sig, sig + n);
    }
    do EXPECT_EQ(E_KCDSA_Sign2RS(m.data(), 20, sig, &n, s, &sl, &key, k, &kl), 1);
    while (E_KCDSA_Verify_withParams(m.data(), 20, sig, n, s, sl, &key) != 1);
    return concat(Bytes(sig, sig + n), Bytes(s, s + sl));
}

int verifyAs(int kind, const Bytes &m, const Bytes &sig, const KcdsaKey &key) {
    const uint32_t n = uint32_t(sig.size());
    if (kind == 0) return E_KCDSA_Verify(m.data(), 20, sig.data(), n, &key);
    if (kind == 1) return E_KCDSA_Verify_withParams(m.data(), 20, sig.data(), 20, sig.data() + 20, n - 20, &key);
    return E_KCDSA_Verify_New(kind == 2 ? E_KCDSA_HASH_SHA1 : E_KCDSA_HASH_HAS160, m.data(), 20, sig.data(), n, &key);
}

// Every signer's output verifies with its verifier and fails after one change of the message,
// r, s or the key; the hash ids are not interchangeable.
TEST(KcdsaAll, SignaturesVerifyAndResistChanges) {
    Key &key = domainKey(1000, 160);
    Key other;
    mpz_set(other.d.p, key.d.p), mpz_set(other.d.q, key.d.q), mpz_set(other.d.g, key.d.g);
    other.setPrivate();
    vctest::Rng rng;
    for (int kind = 0; kind < 4; kind++) {
        const Bytes m = rng.bytes(20), sig = signAs(kind, m, key.rec);
        EXPECT_EQ(verifyAs(kind, m, sig, key.rec), 1) << kind;
        Bytes m2 = m, r2 = sig, s2 = sig;
        m2[rng.below(20)] ^= 0x04, r2[10] ^= 0x10, s2.back() ^= 0x01;
        EXPECT_EQ(verifyAs(kind, m2, sig, key.rec) + verifyAs(kind, m, r2, key.rec) +
                      verifyAs(kind, m, s2, key.rec) + verifyAs(kind, m, sig, other.rec),
                  0) << kind;
        EXPECT_EQ(kind >= 2 ? verifyAs(5 - kind, m, sig, key.rec) : 0, 0);
        // Every shorter prefix is refused (and read only within its length).
        for (size_t n = kind == 1 ? 20 : 0; n < sig.size(); n++)
            EXPECT_EQ(verifyAs(kind, m, Bytes(sig.begin(), sig.begin() + long(n)), key.rec), 0) << kind << " " << n;
    }
}

// A record without a domain is refused by every signer and verifier before any arithmetic.
TEST(KcdsaAll, RecordWithoutDomainIsRefused) {
    KcdsaKey empty = {};
    E_KCDSA_Init(&empty);
    const Bytes h(20, 1), sig = signNew(E_KCDSA_HASH_SHA1, h, ttakKey().rec);
    uint8_t out[200], r[20], s[64], k[64];
    uint32_t n = 0, rl = 0, sl = 0, kl = 0;
    EXPECT_EQ(E_KCDSA_Sign(h.data(), 20, out, &n, &empty) + E_KCDSA_Sign2RS(h.data(), 20, r, &rl, s, &sl, &empty, k, &kl) +
                  E_KCDSA_Sign_New(E_KCDSA_HASH_SHA1, h.data(), 20, out, &n, &empty) +
                  E_KCDSA_Verify_New(E_KCDSA_HASH_SHA1, h.data(), 20, sig.data(), uint32_t(sig.size()), &empty) +
                  E_KCDSA_Verify_withParams(h.data(), 20, h.data(), 20, h.data(), 20, &empty),
              0);
}

// r goes out as an INTEGER (leading zero bytes dropped, a 0x00 before a top bit) and is read back
// as that value in hLen bytes: a signature whose r starts with a zero byte verifies too.
TEST(KcdsaReady, ReadsRBackAsItsValue) {
    Key &key = domainKey(512, 160);
    vctest::Rng rng;
    const Bytes h = rng.bytes(20);
    uint8_t r[20], s[20], k[20];
    uint32_t rl = 0, sl = 0, kl = 0;
    int tries = 0;
    do {
        ASSERT_EQ(E_KCDSA_Sign2RS(h.data(), 20, r, &rl, s, &sl, &key.rec, k, &kl), 1);
        ASSERT_LT(++tries, 20000);
    } while (r[0] != 0 || E_KCDSA_Verify_withParams(h.data(), 20, r, rl, s, sl, &key.rec) != 1);
    Mpz rv, sv;
    dltest::fromBytes(rv, r, rl);
    dltest::fromBytes(sv, s, sl);
    const Bytes der = dltest::derOf(rv, sv);
    EXPECT_EQ(E_KCDSA_Verify(h.data(), 20, der.data(), uint32_t(der.size()), &key.rec), 1);
    // A value longer than hLen bytes is no r of this signer.
    mpz_setbit(rv, 160);
    const Bytes longer = dltest::derOf(rv, sv);
    EXPECT_EQ(E_KCDSA_Verify(h.data(), 20, longer.data(), uint32_t(longer.size()), &key.rec), 0);
}

// hLen 0, beyond q's byte length or beyond 50 is refused by every ready-value signer and
// verifier, which then write nothing; 50 itself signs with a q of 53 bytes.
TEST(KcdsaReady, HashLengthLimits) {
    Key &small = domainKey(1000, 160), &large = domainKey(1000, 424);
    const Bytes h(60, 0x5a);
    for (auto [key, hLen] : {std::pair<Key *, uint32_t>{&small, 0}, {&small, 21}, {&large, 51}}) {
        uint8_t out[200] = {}, r[64] = {}, s[64] = {};
        uint32_t n = 7, rl = 7, sl = 7, kl = 7;
        EXPECT_EQ(E_KCDSA_Sign2(h.data(), hLen, out, &n, &key->rec, r, &kl) +
                      E_KCDSA_Sign2RS(h.data(), hLen, r, &rl, s, &sl, &key->rec, out, &kl) +
                      E_KCDSA_Verify_withParams(h.data(), hLen, h.data(), 60, h.data(), 20, &key->rec),
                  0);
        EXPECT_EQ(n + rl + sl + kl + (out[0] | r[0] | s[0]), 28u);
    }
    uint8_t out[200];
    uint32_t n = 0;
    ASSERT_EQ(E_KCDSA_Sign(h.data(), 50, out, &n, &large.rec), 1);
    EXPECT_EQ(E_KCDSA_Verify(h.data(), 50, out, n, &large.rec), 1);
}

}  // namespace
