// Key and parameter records against OpenSSL 3 in the same process (RSA, DSA and DH DER made by
// OpenSSL read here with the same numbers, ours byte-identical to OpenSSL's and read back by
// it), the KCDSA forms, field capacities, and every truncation and single-byte corruption of
// valid records.
#include "asn1/der_test_util.h"

#include <openssl/dh.h>
#include <openssl/dsa.h>
#include <openssl/rsa.h>
#include <vorelcrypto/common.h>

#include <functional>

using namespace dertest;
using vctest::fromHex;
using vctest::toHex;

namespace {

template <typename T, typename I2d>
Bytes i2d(const T *object, I2d write) {
    Bytes out(size_t(write(object, nullptr)));
    uint8_t *p = out.data();
    write(object, &p);
    return out;
}

// Keys made once by OpenSSL: RSA of three sizes, one DSA key with its parameters, DH
// parameters on a standard 2048-bit prime with generator 2 and 5.
struct Oracle {
    std::vector<RSA *> rsa;
    DSA *dsa = DSA_new();
    std::vector<DH *> dh;
    Oracle() {
        for (int bits : {512, 1024, 2048}) {
            RSA *r = RSA_new();
            Bn e(BN_new());
            BN_set_word(e.get(), bits == 512 ? 3 : 65537);
            RSA_generate_key_ex(r, bits, e.get(), nullptr);
            rsa.push_back(r);
        }
        DSA_generate_parameters_ex(dsa, 1024, nullptr, 0, nullptr, nullptr, nullptr);
        DSA_generate_key(dsa);
        for (unsigned g : {2u, 5u}) {
            DH *d = DH_new();
            BIGNUM *gb = BN_new();
            BN_set_word(gb, g);
            DH_set0_pqg(d, BN_get_rfc3526_prime_2048(nullptr), nullptr, gb);
            dh.push_back(d);
        }
    }
    ~Oracle() {
        for (RSA *r : rsa) RSA_free(r);
        for (DH *d : dh) DH_free(d);
        DSA_free(dsa);
    }
};
const Oracle &oracle() {
    static const Oracle o;
    return o;
}

void load(RsaKey &k, const RSA *r) {
    aim(k);
    const BIGNUM *v[8];
    RSA_get0_key(r, &v[0], &v[1], &v[2]);
    RSA_get0_factors(r, &v[3], &v[4]);
    RSA_get0_crt_params(r, &v[5], &v[6], &v[7]);
    ENUM *f[] = {&k.n, &k.e, &k.d, &k.p, &k.q, &k.dP, &k.dQ, &k.qInv};
    for (int i = 0; i < 8; i++) set(*f[i], v[i]);
}
template <typename Key>  // DsaKey, KcdsaKey: the same numbers
void load(Key &k, const DSA *d) {
    aim(k);
    set(k.p, DSA_get0_p(d)), set(k.q, DSA_get0_q(d)), set(k.g, DSA_get0_g(d));
    set(k.y, DSA_get0_pub_key(d)), set(k.x, DSA_get0_priv_key(d));
}
template <typename Key>
void expectDsaNumbers(const Key &k, const DSA *d, bool withX = true, bool withY = true) {
    EXPECT_TRUE(same(k.p, DSA_get0_p(d)) && same(k.q, DSA_get0_q(d)) && same(k.g, DSA_get0_g(d)));
    if (withY) { EXPECT_TRUE(same(k.y, DSA_get0_pub_key(d))); }
    if (withX) { EXPECT_TRUE(same(k.x, DSA_get0_priv_key(d))); }
}

template <typename Decode>
int32_t decodeWhole(const Bytes &der, Decode decode) {
    const auto [result, consumed] = decodeAll(der, decode);
    EXPECT_EQ(consumed, result ? der.size() : 0u);
    return result;
}

}  // namespace

TEST(DerRecords, RsaAgainstOpenSsl) {
    for (RSA *r : oracle().rsa) {
        SCOPED_TRACE(RSA_bits(r));
        const Bytes theirs = i2d(r, i2d_RSAPrivateKey), theirsPublic = i2d(r, i2d_RSAPublicKey);
        RsaKey fromOpenSsl, fromTheirDer;
        load(fromOpenSsl, r);
        aim(fromTheirDer);
        ASSERT_EQ(decodeWhole(theirs, [&](auto at, auto left) { return E_ASN1_GetRSAPrivateKey(&fromTheirDer, at, left); }), 1);
        const ENUM RsaKey::*fields[] = {&RsaKey::n, &RsaKey::e, &RsaKey::d, &RsaKey::p,
                                        &RsaKey::q, &RsaKey::dP, &RsaKey::dQ, &RsaKey::qInv};
        for (auto f : fields) EXPECT_EQ(EN_UComp(&(fromTheirDer.*f), &(fromOpenSsl.*f)), 0);

        const Bytes ours = encode([&](uint8_t *o) { return E_ASN1_PutRSAPrivateKey(&fromOpenSsl, o); });
        EXPECT_EQ(E_ASN1_GetRSAPrivateKeyBytes(&fromOpenSsl), int32_t(ours.size()));
        EXPECT_EQ(ours, theirs);
        const uint8_t *p = ours.data();
        RSA *back = d2i_RSAPrivateKey(nullptr, &p, long(ours.size()));
        ASSERT_NE(back, nullptr);
        EXPECT_EQ(i2d(back, i2d_RSAPrivateKey), ours);
        RSA_free(back);

        RsaKey publicOnly;
        aim(publicOnly);
        ASSERT_EQ(decodeWhole(theirsPublic, [&](auto at, auto left) { return E_ASN1_GetRSAPublicKey(&publicOnly, at, left); }), 1);
        EXPECT_EQ(EN_UComp(&publicOnly.n, &fromOpenSsl.n), 0);
        EXPECT_EQ(EN_UComp(&publicOnly.e, &fromOpenSsl.e), 0);
        EXPECT_EQ(publicOnly.d.length, 0);
        const Bytes oursPublic = encode([&](uint8_t *o) { return E_ASN1_PutRSAPublicKey(&fromOpenSsl, o); });
        EXPECT_EQ(E_ASN1_GetRSAPublicKeyBytes(&fromOpenSsl), int32_t(oursPublic.size()));
        EXPECT_EQ(oursPublic, theirsPublic);
        if (RSA_bits(r) == 1024) {
            EXPECT_EQ(oursPublic.size(), 140u);
            EXPECT_EQ(toHex(Bytes(oursPublic.begin(), oursPublic.begin() + 7)), "3081890281810" "0");
            EXPECT_EQ(toHex(Bytes(oursPublic.end() - 5, oursPublic.end())), "0203010001");
        }
    }
}

// DSA and KCDSA records share their shapes: both are checked against OpenSSL's DSA encodings.
TEST(DerRecords, DsaAndKcdsaAgainstOpenSsl) {
    const DSA *d = oracle().dsa;
    const Bytes privateDer = i2d(d, i2d_DSAPrivateKey), paramsDer = i2d(d, i2d_DSAparams),
                publicDer = i2d(d, i2d_DSAPublicKey);
    DsaKey dsa;
    KcdsaKey kcdsa;
    load(dsa, d);
    load(kcdsa, d);

    EXPECT_EQ(encode([&](uint8_t *o) { return E_ASN1_PutDSAPrivateKey(&dsa, o); }), privateDer);
    EXPECT_EQ(encode([&](uint8_t *o) { return E_ASN1_PutDSAParams(&dsa, o); }), paramsDer);
    EXPECT_EQ(encode([&](uint8_t *o) { return E_ASN1_PutDSAPublicKey(&dsa, o); }), publicDer);
    EXPECT_EQ(encode([&](uint8_t *o) { return E_ASN1_PutKCDSAPrivateKey(&kcdsa, o); }), privateDer);
    EXPECT_EQ(encode([&](uint8_t *o) { return E_ASN1_PutKCDSAParams(&kcdsa, o); }), paramsDer);
    EXPECT_EQ(encode([&](uint8_t *o) { return E_ASN1_PutKCDSAPublicKey1(&kcdsa, o); }), publicDer);
    EXPECT_EQ(encode([&](uint8_t *o) { return E_ASN1_PutParameters_KCDSA(&kcdsa, o); }), paramsDer);

    // Each reader fills exactly the numbers of its shape.
    struct Reader {
        const char *name;
        const Bytes &der;
        bool x, y;
        std::function<int32_t(DsaKey &, KcdsaKey &, const uint8_t **, uint32_t *)> read;
    } const readers[] = {
        {"DSA private", privateDer, true, true, [](DsaKey &k, KcdsaKey &, auto at, auto left) { return E_ASN1_GetDSAPrivateKey(&k, at, left); }},
        {"DSA params", paramsDer, false, false, [](DsaKey &k, KcdsaKey &, auto at, auto left) { return E_ASN1_GetDSAParams(&k, at, left); }},
        {"DSA public", publicDer, false, true, [](DsaKey &k, KcdsaKey &, auto at, auto left) { return E_ASN1_GetDSAPublicKey(&k, at, left); }},
        {"KCDSA private", privateDer, true, true, [](DsaKey &, KcdsaKey &k, auto at, auto left) { return E_ASN1_GetKCDSAPrivateKey(&k, at, left); }},
        {"KCDSA params", paramsDer, false, false, [](DsaKey &, KcdsaKey &k, auto at, auto left) { return E_ASN1_GetKCDSAParams1(&k, at, left); }},
        {"KCDSA parameters", paramsDer, false, false, [](DsaKey &, KcdsaKey &k, auto at, auto left) { return E_ASN1_GetParameters_KCDSA(&k, at, left); }},
        {"KCDSA public", publicDer, false, true, [](DsaKey &, KcdsaKey &k, auto at, auto left) { return E_ASN1_GetKCDSAPublicKey1(&k, at, left); }},
        {"KCDSA key, private", privateDer, true, true, [](DsaKey &, KcdsaKey &k, auto at, auto left) { return E_ASN1_GetKey_KCDSA(&k, at, left); }},
        {"KCDSA key, public", publicDer, false, true, [](DsaKey &, KcdsaKey &k, auto at, auto left) { return E_ASN1_GetKey_KCDSA(&k, at, left); }},
    };
    for (const Reader &r : readers) {
        SCOPED_TRACE(r.name);
        DsaKey dk;
        KcdsaKey kk;
        aim(dk), aim(kk);
        ASSERT_EQ(decodeWhole(r.der, [&](auto at, auto left) { return r.read(dk, kk, at, left); }), 1);
        const bool isDsa = r.name[0] == 'D';
        if (isDsa)
            expectDsaNumbers(dk, d, r.x, r.y);
        else
            expectDsaNumbers(kk, d, r.x, r.y);
        EXPECT_EQ((isDsa ? dk.x : kk.x).length != 0, r.x);
        EXPECT_EQ((isDsa ? dk.y : kk.y).length != 0, r.y);
    }
}

TEST(DerRecords, DhAgainstOpenSsl) {
    for (DH *d : oracle().dh) {
        const Bytes theirs = i2d(d, i2d_DHparams);
        DhKey fromDer, fromNumbers;
        aim(fromDer), aim(fromNumbers);
        set(fromNumbers.p, DH_get0_p(d)), set(fromNumbers.g, DH_get0_g(d));
        ASSERT_EQ(decodeWhole(theirs, [&](auto at, auto left) { return E_ASN1_GetDHParams(&fromDer, at, left); }), 1);
        EXPECT_TRUE(same(fromDer.p, DH_get0_p(d)) && same(fromDer.g, DH_get0_g(d)));
        EXPECT_EQ(fromDer.publicValue.length, 0);
        const Bytes ours = encode([&](uint8_t *o) { return E_ASN1_PutDHParams(&fromNumbers, o); });
        EXPECT_EQ(ours, theirs);
        EXPECT_EQ(E_ASN1_GetDHParamsBytes(&fromNumbers), int32_t(ours.size()));
        EXPECT_EQ(toHex(Bytes(ours.end() - 3, ours.end())), "02010" + std::to_string(BN_get_word(DH_get0_g(d))));
    }
}

// Each field takes what its storage holds and no more; a leading zero octet does not count.
TEST(DerRecords, FieldCapacities) {
    auto integer = [](size_t octets, bool pad = false) {
        Bytes v(octets, 0x5A);
        if (pad) v.insert(v.begin(), 0);
        return derWrap(V_ASN1_INTEGER, v);
    };
    const Bytes one = integer(1);
    struct Case {
        const char *what;
        Bytes content;
        std::function<int32_t(const uint8_t **, uint32_t *)> read;
        bool ok;
    };
    RsaKey rsa;
    DhKey dh;
    KcdsaKey kcdsa;
    aim(rsa), aim(dh), aim(kcdsa);
    auto rsaPublic = [&](auto at, auto left) { return E_ASN1_GetRSAPublicKey(&rsa, at, left); };
    auto rsaPrivate = [&](auto at, auto left) { return E_ASN1_GetRSAPrivateKey(&rsa, at, left); };
    auto dhParams = [&](auto at, auto left) { return E_ASN1_GetDHParams(&dh, at, left); };
    auto kcdsaParams = [&](auto at, auto left) { return E_ASN1_GetKCDSAParams1(&kcdsa, at, left); };
    const Bytes version = fromHex("020100");
    const Case cases[] = {
        {"e of 4 octets", cat({one, integer(4)}), rsaPublic, true},
        {"e of 4 octets after a zero", cat({one, integer(4, true)}), rsaPublic, true},
        {"e of 5 octets", cat({one, integer(5)}), rsaPublic, false},
        {"n of 600 octets", cat({integer(600), one}), rsaPublic, true},
        {"n of 601 octets", cat({integer(601), one}), rsaPublic, false},
        {"p of 300 octets", cat({version, one, one, one, integer(300), one, one, one, one}), rsaPrivate, true},
        {"p of 301 octets", cat({version, one, one, one, integer(301), one, one, one, one}), rsaPrivate, false},
        {"qInv of 301 octets", cat({version, one, one, one, one, one, one, one, integer(301)}), rsaPrivate, false},
        {"version 1", cat({fromHex("020101"), one, one, one, one, one, one, one, one}), rsaPrivate, false},
        {"version 0 in two octets", cat({fromHex("02020000"), one, one, one, one, one, one, one, one}), rsaPrivate, true},
        {"g of 4 octets", cat({integer(600), integer(4)}), dhParams, true},
        {"g of 5 octets", cat({integer(600), integer(5)}), dhParams, false},
        {"KCDSA g of 600 octets", cat({one, one, integer(600)}), kcdsaParams, true},
        {"KCDSA g of 601 octets", cat({one, one, integer(601)}), kcdsaParams, false},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(decodeWhole(derWrap(V_ASN1_SEQUENCE, c.content), c.read), c.ok ? 1 : 0);
    }
    EXPECT_EQ(E_ASN1_GetRSAPublicKey(nullptr, nullptr, nullptr), 0);
}

TEST(DerRecords, KcdsaParametersWithOptionalItems) {
    const DSA *d = oracle().dsa;
    const Bytes pqg = cat({derInteger(DSA_get0_p(d)), derInteger(DSA_get0_q(d)), derInteger(DSA_get0_g(d))});
    Bn pMinus1(BN_new()), j(BN_new());
    BN_CTX *ctx = BN_CTX_new();
    BN_sub(pMinus1.get(), DSA_get0_p(d), BN_value_one());
    BN_div(j.get(), nullptr, pMinus1.get(), DSA_get0_q(d), ctx);
    BN_CTX_free(ctx);
    const Bytes jDer = derInteger(j.get());
    auto validation = [](const char *seed, const char *counter) {
        return derWrap(V_ASN1_SEQUENCE, cat({derWrap(V_ASN1_BIT_STRING, fromHex(seed)), fromHex(counter)}));
    };
    const Bytes goodValidation = validation("00" "0102030405060708090a0b0c0d0e0f1011121314", "020200ff");
    struct Case {
        const char *what;
        Bytes content;
        bool ok;
    } const cases[] = {
        {"p, q, g", pqg, true},
        {"with j", cat({pqg, jDer}), true},
        {"with j and validation", cat({pqg, jDer, goodValidation}), true},
        {"with validation only", cat({pqg, goodValidation}), true},
        {"validation, then j", cat({pqg, goodValidation, jDer}), false},
        {"j twice", cat({pqg, jDer, jDer}), false},
        {"empty j", cat({pqg, fromHex("0200")}), false},
        {"seed with 8 unused bits", cat({pqg, validation("0801", "020101")}), false},
        {"empty seed", cat({pqg, validation("", "020101")}), false},
        {"seed with unused bits but no octets", cat({pqg, validation("01", "020101")}), false},
        {"validation without counter", cat({pqg, derWrap(V_ASN1_SEQUENCE, derWrap(V_ASN1_BIT_STRING, fromHex("00ff")))}), false},
        {"validation with an extra item", cat({pqg, derWrap(V_ASN1_SEQUENCE, cat({derWrap(V_ASN1_BIT_STRING, fromHex("00ff")), fromHex("020101020101")}))}), false},
        {"an OCTET STRING after g", cat({pqg, fromHex("0400")}), false},
        {"g missing", cat({derInteger(DSA_get0_p(d)), derInteger(DSA_get0_q(d))}), false},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        KcdsaKey k;
        aim(k);
        EXPECT_EQ(decodeWhole(derWrap(V_ASN1_SEQUENCE, c.content), [&](auto at, auto left) { return E_ASN1_GetParameters_KCDSA(&k, at, left); }),
                  c.ok ? 1 : 0);
        if (c.ok) expectDsaNumbers(k, d, false, false);
    }

    // The exact writer counts a zero's content octet: SEQUENCE { p, q, 0 } is what OpenSSL writes
    // for those numbers, while the predicting writer's header is one octet short.
    KcdsaKey k;
    load(k, d);
    k.g.length = 0;
    Bn zero(BN_new());
    BN_zero(zero.get());
    const Bytes expected = derWrap(V_ASN1_SEQUENCE, cat({derInteger(DSA_get0_p(d)), derInteger(DSA_get0_q(d)), derInteger(zero.get())}));
    EXPECT_EQ(encode([&](uint8_t *o) { return E_ASN1_PutParameters_KCDSA(&k, o); }), expected);
    EXPECT_EQ(E_ASN1_GetKCDSAParamsBytes(&k), int32_t(expected.size()) - 1);
    k.p.sign = 1;  // the exact writer ignores the sign too
    EXPECT_EQ(E_ASN1_PutParameters_KCDSA(&k, nullptr), int32_t(expected.size()));
    EXPECT_EQ(E_ASN1_GetKCDSAParamsBytes(&k), int32_t(expected.size()) + 1);
}

TEST(DerRecords, KcdsaKeyForms) {
    const DSA *d = oracle().dsa;
    const Bytes y = derInteger(DSA_get0_pub_key(d)), x = derInteger(DSA_get0_priv_key(d));
    struct Case {
        const char *what;
        Bytes der;
        bool publicForm, ok;
    } const cases[] = {
        {"public in a BIT STRING", derWrap(V_ASN1_BIT_STRING, cat({fromHex("00"), y})), true, true},
        {"BIT STRING with unused bits", derWrap(V_ASN1_BIT_STRING, cat({fromHex("01"), y})), true, false},
        {"BIT STRING, no INTEGER", derWrap(V_ASN1_BIT_STRING, fromHex("00")), true, false},
        {"BIT STRING, INTEGER and more", derWrap(V_ASN1_BIT_STRING, cat({fromHex("00"), y, fromHex("00")})), true, false},
        {"public in an OCTET STRING", derWrap(V_ASN1_OCTET_STRING, y), true, false},
        {"private in an OCTET STRING", derWrap(V_ASN1_OCTET_STRING, x), false, true},
        {"OCTET STRING, INTEGER and more", derWrap(V_ASN1_OCTET_STRING, cat({x, x})), false, false},
        {"private bare", x, false, false},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        KcdsaKey k;
        aim(k);
        const int32_t result = decodeWhole(c.der, [&](auto at, auto left) {
            return c.publicForm ? E_ASN1_GetEncPublicKey_KCDSA(&k, at, left) : E_ASN1_GetEncPrivateKey_KCDSA(&k, at, left);
        });
        EXPECT_EQ(result, c.ok ? 1 : 0);
        if (!c.ok) continue;
        EXPECT_TRUE(c.publicForm ? same(k.y, DSA_get0_pub_key(d)) : same(k.x, DSA_get0_priv_key(d)));
        EXPECT_EQ(k.p.length + (c.publicForm ? k.x.length : k.y.length), 0);
    }

    // E_ASN1_GetKey_KCDSA refuses counts other than 6 and 4, and a private form whose version
    // is not 0; a public form clears x.
    const Bytes one = fromHex("020101");
    KcdsaKey k;
    load(k, d);
    for (int count : {0, 3, 5, 7}) {
        Bytes items;
        for (int i = 0; i < count; i++) items = cat({items, one});
        EXPECT_EQ(decodeWhole(derWrap(V_ASN1_SEQUENCE, items), [&](auto at, auto left) { return E_ASN1_GetKey_KCDSA(&k, at, left); }), 0) << count;
    }
    EXPECT_EQ(decodeWhole(derWrap(V_ASN1_SEQUENCE, cat({one, one, one, one, one, one})),
                          [&](auto at, auto left) { return E_ASN1_GetKey_KCDSA(&k, at, left); }), 0);
    EXPECT_NE(k.x.length, 0);
    EXPECT_EQ(decodeWhole(derWrap(V_ASN1_SEQUENCE, cat({one, one, one, one})), [&](auto at, auto left) { return E_ASN1_GetKey_KCDSA(&k, at, left); }), 1);
    EXPECT_EQ(k.x.length, 0);
}

// The signature form of the KCDSA signer, modelled byte by byte: 30 L 03 15 00 r(20) 02 sl
// [00] s, with L = 25 + sl.
TEST(DerRecords, KcdsaSignatureSplit) {
    vctest::Rng rng(14);
    for (int i = 0; i < 200; i++) {
        const Bytes r = rng.bytes(20);
        Bytes s = rng.bytes(1 + rng.below(20));
        s[0] |= uint8_t(rng.below(2) ? 0x80 : 0x01);
        const bool pad = s[0] > 0x7F;
        const uint8_t sl = uint8_t(s.size() + pad);
        const Bytes signature = cat({{0x30, uint8_t(25 + sl), 0x03, 0x15, 0x00}, r, {0x02, sl}, pad ? Bytes{0} : Bytes{}, s});
        uint8_t rOut[20];
        uint32_t rLength = sizeof rOut;
        uint32_t sWords[150];
        ENUM sOut{0, 0, sWords};
        ASSERT_EQ(decodeWhole(signature, [&](auto at, auto left) { return E_ASN1_GetSignRS_KCDSA(rOut, &rLength, &sOut, at, left); }), 1);
        EXPECT_EQ(Bytes(rOut, rOut + rLength), r);
        Bytes sBack(80);
        sBack.resize(EN_ENUMToBytes(&sOut, sBack.data()));
        EXPECT_EQ(sBack, s);

        rLength = 19;  // too little room for r
        EXPECT_EQ(decodeWhole(signature, [&](auto at, auto left) { return E_ASN1_GetSignRS_KCDSA(rOut, &rLength, &sOut, at, left); }), 0);
        EXPECT_EQ(rLength, 19u);
    }
    const char *refused[] = {
        "301a 0315 01" "0102030405060708090a0b0c0d0e0f1011121314 020101",  // unused bits
        "301a 0415 00" "0102030405060708090a0b0c0d0e0f1011121314 020101",  // OCTET STRING
        "3019 0315 00" "0102030405060708090a0b0c0d0e0f1011121314 0200",    // empty s
        "301d 0315 00" "0102030405060708090a0b0c0d0e0f1011121314 020101 020101",  // extra item
        "3002 0300", "3000",
    };
    for (const char *hex : refused) {
        uint8_t rOut[32];
        uint32_t rLength = sizeof rOut, sWords[150];
        ENUM sOut{0, 0, sWords};
        EXPECT_EQ(decodeWhole(fromHex(hex), [&](auto at, auto left) { return E_ASN1_GetSignRS_KCDSA(rOut, &rLength, &sOut, at, left); }), 0) << hex;
    }
}

// Every truncation of a valid record is refused, and every change of one byte is either refused
// or read without touching memory outside the input and the record (the sanitizer build checks
// the bounds; here each accepted number must also fit its field).
TEST(DerRecords, TruncationsAndCorruptions) {
    const DSA *d = oracle().dsa;
    RsaKey rsa;
    DsaKey dsa;
    DhKey dh;
    KcdsaKey kcdsa;
    load(rsa, oracle().rsa[1]);
    load(dsa, d);
    load(kcdsa, d);
    aim(dh);
    set(dh.p, DH_get0_p(oracle().dh[0])), set(dh.g, DH_get0_g(oracle().dh[0]));
    uint32_t u32 = 0, sWords[150];
    uint8_t r[20];
    uint32_t rLength = 0;
    ENUM s{0, 0, sWords};
    using Read = std::function<int32_t(const uint8_t **, uint32_t *)>;
    struct Case {
        const char *name;
        Bytes der;
        Read read;
    };
    auto bytesOf = [](auto put) { return encode(put); };
    const Bytes signature = cat({fromHex("302e 0315 00"), Bytes(20, 0x11), fromHex("0215 00"), Bytes(20, 0x99)});
    const Case cases[] = {
        {"RSA private", bytesOf([&](uint8_t *o) { return E_ASN1_PutRSAPrivateKey(&rsa, o); }), [&](auto at, auto left) { return E_ASN1_GetRSAPrivateKey(&rsa, at, left); }},
        {"RSA public", bytesOf([&](uint8_t *o) { return E_ASN1_PutRSAPublicKey(&rsa, o); }), [&](auto at, auto left) { return E_ASN1_GetRSAPublicKey(&rsa, at, left); }},
        {"DSA private", bytesOf([&](uint8_t *o) { return E_ASN1_PutDSAPrivateKey(&dsa, o); }), [&](auto at, auto left) { return E_ASN1_GetDSAPrivateKey(&dsa, at, left); }},
        {"DSA public", bytesOf([&](uint8_t *o) { return E_ASN1_PutDSAPublicKey(&dsa, o); }), [&](auto at, auto left) { return E_ASN1_GetDSAPublicKey(&dsa, at, left); }},
        {"DSA params", bytesOf([&](uint8_t *o) { return E_ASN1_PutDSAParams(&dsa, o); }), [&](auto at, auto left) { return E_ASN1_GetDSAParams(&dsa, at, left); }},
        {"DH params", bytesOf([&](uint8_t *o) { return E_ASN1_PutDHParams(&dh, o); }), [&](auto at, auto left) { return E_ASN1_GetDHParams(&dh, at, left); }},
        {"KCDSA private", bytesOf([&](uint8_t *o) { return E_ASN1_PutKCDSAPrivateKey(&kcdsa, o); }), [&](auto at, auto left) { return E_ASN1_GetKCDSAPrivateKey(&kcdsa, at, left); }},
        {"KCDSA public", bytesOf([&](uint8_t *o) { return E_ASN1_PutKCDSAPublicKey1(&kcdsa, o); }), [&](auto at, auto left) { return E_ASN1_GetKCDSAPublicKey1(&kcdsa, at, left); }},
        {"KCDSA params", bytesOf([&](uint8_t *o) { return E_ASN1_PutKCDSAParams(&kcdsa, o); }), [&](auto at, auto left) { return E_ASN1_GetKCDSAParams1(&kcdsa, at, left); }},
        {"KCDSA parameters", derWrap(V_ASN1_SEQUENCE, cat({fromHex("020103 020105 020107 020109"), derWrap(V_ASN1_SEQUENCE, cat({derWrap(V_ASN1_BIT_STRING, cat({{0}, Bytes(20, 0x42)})), fromHex("020401020304")}))})),
         [&](auto at, auto left) { return E_ASN1_GetParameters_KCDSA(&kcdsa, at, left); }},
        {"KCDSA key", bytesOf([&](uint8_t *o) { return E_ASN1_PutKCDSAPrivateKey(&kcdsa, o); }), [&](auto at, auto left) { return E_ASN1_GetKey_KCDSA(&kcdsa, at, left); }},
        {"KCDSA public BIT STRING", derWrap(V_ASN1_BIT_STRING, cat({{0}, derInteger(DSA_get0_pub_key(d))})), [&](auto at, auto left) { return E_ASN1_GetEncPublicKey_KCDSA(&kcdsa, at, left); }},
        {"KCDSA private OCTET STRING", derWrap(V_ASN1_OCTET_STRING, derInteger(DSA_get0_priv_key(d))), [&](auto at, auto left) { return E_ASN1_GetEncPrivateKey_KCDSA(&kcdsa, at, left); }},
        {"KCDSA signature", signature, [&](auto at, auto left) { return rLength = sizeof r, E_ASN1_GetSignRS_KCDSA(r, &rLength, &s, at, left); }},
        {"U32", fromHex("30050203010001"), [&](auto at, auto left) { return E_ASN1_GetU32(&u32, at, left); }},
    };
    auto fits = [&] {
        return vcfuzz::fitsStorage(rsa) && vcfuzz::fitsStorage(dsa) && vcfuzz::fitsStorage(dh) &&
               vcfuzz::fitsStorage(kcdsa) && s.length >= 0 && s.length <= 150 && rLength <= sizeof r;
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        ASSERT_EQ(decodeWhole(c.der, c.read), 1);
        for (size_t cut = 0; cut < c.der.size(); cut++)
            ASSERT_EQ(decodeAll(Bytes(c.der.begin(), c.der.begin() + cut), c.read).first, 0) << cut;
        for (size_t i = 0; i < c.der.size(); i++) {
            for (int flip = 1; flip < 256; flip++) {
                Bytes bad = c.der;
                bad[i] ^= uint8_t(flip);
                decodeAll(bad, c.read);
                ASSERT_TRUE(fits()) << i;
            }
        }
    }
}

// Encoders report -1 when their scratch buffer cannot be allocated; size queries allocate
// nothing.
TEST(DerRecords, ScratchAllocationFailure) {
    RsaKey rsa;
    KcdsaKey kcdsa;
    load(rsa, oracle().rsa[0]);
    load(kcdsa, oracle().dsa);
    const ENUM numbers[] = {rsa.n, rsa.e};
    const std::function<int32_t(uint8_t *)> encoders[] = {
        [&](uint8_t *o) { return E_ASN1_PutENUM(numbers, 2, o); },
        [&](uint8_t *o) { return E_ASN1_PutU32(7, 0, o); },
        [&](uint8_t *o) { return E_ASN1_PutRSAPrivateKey(&rsa, o); },
        [&](uint8_t *o) { return E_ASN1_PutParameters_KCDSA(&kcdsa, o); },
    };
    for (const auto &put : encoders) {
        Bytes out(2048);
        V_FailNthCalloc(1);
        const int32_t size = put(nullptr);
        EXPECT_GT(size, 0);
        EXPECT_EQ(put(out.data()), -1);
        V_FailNthCalloc(0);
        EXPECT_EQ(put(out.data()), size);
    }
    EXPECT_EQ(E_ASN1_PutRSAPrivateKey(nullptr, nullptr), 0);
    EXPECT_EQ(E_ASN1_GetDHParamsBytes(nullptr), 0);
}
