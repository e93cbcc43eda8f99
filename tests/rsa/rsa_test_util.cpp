#include "rsa/rsa_test_util.h"

#include <openssl/core_names.h>
#include <openssl/param_build.h>
#include <openssl/rsa.h>

namespace rsatest {

uint32_t Key::k() const {
    uint32_t bits = 0;
    const ENUM &n = rec->n;
    if (n.length > 0)
        bits = uint32_t(n.length - 1) * 32 + uint32_t(32 - __builtin_clz(n.words[n.length - 1]));
    return (bits + 7) / 8;
}

Bytes bytesOf(const ENUM *x) {
    Bytes out(size_t(x->length) * 4 + 4);
    out.resize(EN_ENUMToBytes(x, out.data()));
    return out;
}

void setNumber(ENUM *x, const Bytes &b) { EN_BytesToENUM(x, b.data(), uint32_t(b.size())); }

void toMpz(mpz_ptr out, const ENUM *x) { mpz_import(out, size_t(x->length), -1, 4, 0, 0, x->words); }

namespace {

Bytes param(EVP_PKEY *pkey, const char *name) {
    BIGNUM *bn = nullptr;
    if (!EVP_PKEY_get_bn_param(pkey, name, &bn)) return {};
    Bytes out(size_t(BN_num_bytes(bn)));
    BN_bn2bin(bn, out.data());
    BN_free(bn);
    return out;
}

}  // namespace

Key fromOpenSsl(EVP_PKEY *pkey) {
    Key key;
    const char *names[] = {OSSL_PKEY_PARAM_RSA_N,         OSSL_PKEY_PARAM_RSA_E,
                           OSSL_PKEY_PARAM_RSA_D,         OSSL_PKEY_PARAM_RSA_FACTOR1,
                           OSSL_PKEY_PARAM_RSA_FACTOR2,   OSSL_PKEY_PARAM_RSA_EXPONENT1,
                           OSSL_PKEY_PARAM_RSA_EXPONENT2, OSSL_PKEY_PARAM_RSA_COEFFICIENT1};
    ENUM *fields[] = {&key->n, &key->e, &key->d, &key->p, &key->q, &key->dP, &key->dQ, &key->qInv};
    for (int i = 0; i < 8; i++) setNumber(fields[i], param(pkey, names[i]));
    return key;
}

EVP_PKEY *toOpenSsl(RsaKey *key, bool withPrivate) {
    OSSL_PARAM_BLD *b = OSSL_PARAM_BLD_new();
    const char *names[] = {OSSL_PKEY_PARAM_RSA_N,         OSSL_PKEY_PARAM_RSA_E,
                           OSSL_PKEY_PARAM_RSA_D,         OSSL_PKEY_PARAM_RSA_FACTOR1,
                           OSSL_PKEY_PARAM_RSA_FACTOR2,   OSSL_PKEY_PARAM_RSA_EXPONENT1,
                           OSSL_PKEY_PARAM_RSA_EXPONENT2, OSSL_PKEY_PARAM_RSA_COEFFICIENT1};
    const ENUM *fields[] = {&key->n, &key->e, &key->d, &key->p, &key->q, &key->dP, &key->dQ, &key->qInv};
    BIGNUM *bns[8] = {};
    for (int i = 0; i < (withPrivate ? 8 : 2); i++) {
        const Bytes v = bytesOf(fields[i]);
        bns[i] = BN_bin2bn(v.data(), int(v.size()), nullptr);
        OSSL_PARAM_BLD_push_BN(b, names[i], bns[i]);
    }
    OSSL_PARAM *params = OSSL_PARAM_BLD_to_param(b);
    EVP_PKEY_CTX *ctx = EVP_PKEY_CTX_new_from_name(nullptr, "RSA", nullptr);
    EVP_PKEY *pkey = nullptr;
    EVP_PKEY_fromdata_init(ctx);
    EVP_PKEY_fromdata(ctx, &pkey, withPrivate ? EVP_PKEY_KEYPAIR : EVP_PKEY_PUBLIC_KEY, params);
    EVP_PKEY_CTX_free(ctx);
    OSSL_PARAM_free(params);
    OSSL_PARAM_BLD_free(b);
    for (BIGNUM *bn : bns) BN_free(bn);
    EXPECT_NE(pkey, nullptr);
    return pkey;
}

EVP_PKEY *openSslKey(unsigned bits) { return EVP_RSA_gen(bits); }

Bytes openSsl(EVP_PKEY *pkey, Op op, int padding, const Bytes &in, const char *digest, int saltLen,
              const Bytes &label) {
    EVP_PKEY_CTX *ctx = EVP_PKEY_CTX_new_from_pkey(nullptr, pkey, nullptr);
    bool ok = (op == Op::kEncrypt   ? EVP_PKEY_encrypt_init(ctx)
               : op == Op::kDecrypt ? EVP_PKEY_decrypt_init(ctx)
               : op == Op::kSign    ? EVP_PKEY_sign_init(ctx)
                                    : EVP_PKEY_verify_recover_init(ctx)) > 0 &&
              EVP_PKEY_CTX_set_rsa_padding(ctx, padding) > 0;
    if (ok && digest != nullptr && padding == RSA_PKCS1_OAEP_PADDING) {
        ok = EVP_PKEY_CTX_set_rsa_oaep_md_name(ctx, digest, nullptr) > 0;
        if (ok && !label.empty()) {
            void *copy = OPENSSL_memdup(label.data(), label.size());
            ok = EVP_PKEY_CTX_set0_rsa_oaep_label(ctx, copy, int(label.size())) > 0;
        }
    }
    Bytes out(1024);
    size_t n = out.size();
    auto run = op == Op::kEncrypt   ? EVP_PKEY_encrypt
               : op == Op::kDecrypt ? EVP_PKEY_decrypt
               : op == Op::kSign    ? EVP_PKEY_sign
                                    : EVP_PKEY_verify_recover;
    ok = ok && run(ctx, out.data(), &n, in.data(), in.size()) > 0;
    EVP_PKEY_CTX_free(ctx);
    out.resize(ok ? n : 0);
    return out;
}

namespace {

EVP_MD_CTX *pssContext(EVP_PKEY *pkey, const char *digest, int saltLen, bool sign) {
    EVP_MD_CTX *md = EVP_MD_CTX_new();
    EVP_PKEY_CTX *pctx = nullptr;
    const bool ok =
        (sign ? EVP_DigestSignInit_ex(md, &pctx, digest, nullptr, nullptr, pkey, nullptr)
              : EVP_DigestVerifyInit_ex(md, &pctx, digest, nullptr, nullptr, pkey, nullptr)) > 0 &&
        EVP_PKEY_CTX_set_rsa_padding(pctx, RSA_PKCS1_PSS_PADDING) > 0 &&
        EVP_PKEY_CTX_set_rsa_pss_saltlen(pctx, saltLen) > 0 &&
        EVP_PKEY_CTX_set_rsa_mgf1_md_name(pctx, digest, nullptr) > 0;
    EXPECT_TRUE(ok);
    return md;
}

}  // namespace

bool openSslPssVerify(EVP_PKEY *pkey, const char *digest, int saltLen, const Bytes &msg, const Bytes &sig) {
    EVP_MD_CTX *md = pssContext(pkey, digest, saltLen, false);
    const bool ok = EVP_DigestVerify(md, sig.data(), sig.size(), msg.data(), msg.size()) == 1;
    EVP_MD_CTX_free(md);
    return ok;
}

Bytes openSslPssSign(EVP_PKEY *pkey, const char *digest, int saltLen, const Bytes &msg) {
    EVP_MD_CTX *md = pssContext(pkey, digest, saltLen, true);
    Bytes sig(1024);
    size_t n = sig.size();
    EXPECT_EQ(EVP_DigestSign(md, sig.data(), &n, msg.data(), msg.size()), 1);
    EVP_MD_CTX_free(md);
    sig.resize(n);
    return sig;
}

Bytes digestInfoPrefix(int hashId) {
    switch (hashId) {
        case 6:
            return vctest::fromHex("3031300d060960864801650304020105000420");
        case 7:
            return vctest::fromHex("3041300d060960864801650304020205000430");
        case 8:
            return vctest::fromHex("3051300d060960864801650304020305000440");
        default:
            return vctest::fromHex("3021300906052b0e03021a05000414");
    }
}

const char *digestName(int hashId) {
    switch (hashId) {
        case 6:
            return "SHA256";
        case 7:
            return "SHA384";
        case 8:
            return "SHA512";
        default:
            return "SHA1";
    }
}

}  // namespace rsatest
