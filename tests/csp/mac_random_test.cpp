// The provider's MACs against OpenSSL (CBC-MAC as the last block of zero-IV CBC over the
// zero-padded message; HMAC-MD5), verification, random bytes, and their reason codes.
#include "provider_util.h"

namespace {

using vcp::Bytes;

// Only the right MAC verifies: a MAC one byte shorter or longer, or with any one byte changed,
// is refused with CSP_ERR_VERIFY. `verify` runs one verification of the given MAC blob.
template <class Verify>
void expectOnlyRightVerifies(const Bytes &right, Verify verify) {
    Bytes mac = right;
    DataBlob blob{uint32_t(mac.size()), mac.data()};
    EXPECT_EQ(verify(&blob), 0);
    for (size_t i = 0; i < mac.size(); ++i) {
        mac[i] ^= uint8_t(1 << (i % 8));
        EXPECT_REASON(verify(&blob), CSP_ERR_VERIFY);
        mac[i] = right[i];
    }
    mac.push_back(0);
    for (uint32_t length : {uint32_t(right.size() - 1), uint32_t(right.size() + 1)}) {
        DataBlob other{length, mac.data()};
        EXPECT_REASON(verify(&other), CSP_ERR_VERIFY);
    }
}

// Generates in one Update per piece (after an empty one) into a null blob, then verifies in one
// call over all pieces and in Init, Update per piece, Final.
Bytes providerMac(uint32_t macAlgorithm, uint32_t keyAlgorithm, const Bytes &keyBytes, const Bytes &m,
                  std::vector<size_t> pieces) {
    vcp::Key key;
    EXPECT_EQ(vcp::makeKey(key, keyAlgorithm, keyBytes), 0);
    vcp::Context c(CSP_CLASS_MAC, macAlgorithm);
    c.add(CSP_ATTR_KEY, &key.blob);
    pieces.insert(pieces.begin(), 0);
    std::vector<DataBlob> blobs = vcp::blobsOf(m, pieces);
    CspContextRecord h{};
    EXPECT_EQ(CSP_GenerateMacInit(0, &h, &c), 0);
    for (DataBlob &b : blobs) EXPECT_EQ(CSP_GenerateMacUpdate(0, &h, &b, 1), 0);
    DataBlob mac{0, nullptr};
    EXPECT_EQ(CSP_GenerateMacFinal(0, &h, &mac), 0);
    Bytes result(mac.Data, mac.Data + mac.Length);
    std::free(mac.Data);
    const uint32_t count = uint32_t(blobs.size());
    expectOnlyRightVerifies(result, [&](DataBlob *t) { return CSP_VerifyMac(0, &h, &c, blobs.data(), count, t); });
    expectOnlyRightVerifies(result, [&](DataBlob *t) {
        EXPECT_EQ(CSP_VerifyMacInit(0, &h, &c), 0);
        for (DataBlob &b : blobs) EXPECT_EQ(CSP_VerifyMacUpdate(0, &h, &b, 1), 0);
        return CSP_VerifyMacFinal(0, &h, t);
    });
    return result;
}

TEST(ProviderMac, AgainstOpenSsl) {
    vctest::Rng rng(21);
    for (int trial = 0; trial < 40; ++trial) {
        const size_t length = trial < 4 ? size_t(trial * 8) : rng.below(2100);
        const Bytes m = rng.bytes(length), des = rng.bytes(8), ede = rng.bytes(16);
        const auto pieces = vcp::randomPieces(rng, length);
        SCOPED_TRACE(length);
        EXPECT_EQ(providerMac(CSP_ALG_DES, CSP_ALG_DES, des, m, pieces), vctest::cbcMac("DES-CBC", des, m));
        EXPECT_EQ(providerMac(CSP_ALG_3DES_2KEY, CSP_ALG_3DES_2KEY, ede, m, pieces),
                  vctest::cbcMac("DES-EDE-CBC", ede, m));
        // HMAC-MD5 under the raw bytes of any key record: the service's 8-byte RC2 key, and RC4
        // keys up to 256 bytes, those over 64 being hashed first.
        const Bytes rc2 = rng.bytes(8), rc4 = rng.bytes(1 + rng.below(256));
        EXPECT_EQ(providerMac(CSP_ALG_MD5, CSP_ALG_RC2, rc2, m, pieces), vctest::hmacMd5(rc2, m));
        EXPECT_EQ(providerMac(CSP_ALG_MD5, CSP_ALG_RC4, rc4, m, pieces), vctest::hmacMd5(rc4, m)) << rc4.size();
    }
}

TEST(ProviderMac, ReasonCodes) {
    vcp::Key des, rc2;
    ASSERT_EQ(vcp::makeKey(des, CSP_ALG_DES, Bytes(8, 1)) | vcp::makeKey(rc2, CSP_ALG_RC2, Bytes(8, 2)), 0);
    uint8_t byte = 0, buf[16];
    DataBlob data[2] = {{1, &byte}, {1, nullptr}}, mac{16, buf}, small{7, buf};
    const struct {
        uint32_t cls, algorithm;
        DataBlob *key;
        uint32_t reason;
    } inits[] = {
        {CSP_CLASS_SYMMETRIC, CSP_ALG_DES, &des.blob, CSP_ERR_CLASS},
        {CSP_CLASS_MAC, 8, &des.blob, CSP_ERR_ALGORITHM},
        {CSP_CLASS_MAC, CSP_ALG_DES, nullptr, CSP_ERR_MISSING_ATTRIBUTE},
        {CSP_CLASS_MAC, CSP_ALG_DES, &rc2.blob, CSP_ERR_INVALID_KEY},
        {CSP_CLASS_MAC, CSP_ALG_3DES_2KEY, &des.blob, CSP_ERR_INVALID_KEY},
    };
    for (const auto &k : inits) {
        vcp::Context c(k.cls, k.algorithm);
        if (k.key) c.add(CSP_ATTR_KEY, k.key);
        CspContextRecord h{};
        EXPECT_REASON(CSP_GenerateMac(0, &h, &c, data, 1, &mac), k.reason);
        EXPECT_REASON(CSP_VerifyMacUpdate(0, &h, data, 1), CSP_ERR_STATE);
    }
    vcp::Context good(CSP_CLASS_MAC, CSP_ALG_DES);
    good.add(CSP_ATTR_KEY, &des.blob);
    CspContextRecord h{};
    ASSERT_EQ(CSP_VerifyMacInit(0, &h, &good), 0);
    EXPECT_REASON(CSP_GenerateMacUpdate(0, &h, data, 1), CSP_ERR_STATE);  // a verifying context
    ASSERT_EQ(CSP_GenerateMacInit(0, &h, &good), 0);
    EXPECT_REASON(CSP_GenerateMacUpdate(0, &h, data, 2), CSP_ERR_NULL_DATA);  // takes neither blob
    EXPECT_REASON(CSP_GenerateMacFinal(0, &h, &small), CSP_ERR_OUTPUT_SHORT);
    EXPECT_EQ(CSP_GenerateMacFinal(0, &h, &mac), 0);
    EXPECT_EQ(Bytes(buf, buf + mac.Length), vctest::cbcMac("DES-CBC", Bytes(8, 1), {}));
    EXPECT_REASON(CSP_GenerateMacFinal(0, &h, &mac), CSP_ERR_STATE);
}

// Both generators with the output-size attribute: the size written and nothing past it, a
// handle that keeps its context, different bytes on each call; then refusals.
TEST(ProviderRandom, LengthsAndReasons) {
    for (uint32_t algorithm : {CSP_ALG_RANDOM_MD5, CSP_ALG_RANDOM_DES})
        for (uint32_t size : {0u, 1u, 8u, 17u, 1000u}) {
            vcp::Context c(CSP_CLASS_RANDOM, algorithm);
            c.add(CSP_ATTR_OUTPUT_SIZE, size);
            Bytes a(size + 4, 0), b(size + 4, 0);
            DataBlob ra{uint32_t(a.size()), a.data()}, rb{uint32_t(b.size()), b.data()};
            CspContextRecord h{};
            ASSERT_EQ(CSP_GenerateRandom(0, &h, &c, &ra), 0);
            ASSERT_EQ(CSP_GenerateRandom(0, &h, nullptr, &rb), 0);  // the handle kept the context
            EXPECT_EQ(ra.Length, size);
            EXPECT_EQ(rb.Length, size);
            EXPECT_EQ(Bytes(a.end() - 4, a.end()), Bytes(4, 0)) << "wrote past the size";
            EXPECT_TRUE(size < 8 || a != b) << algorithm << " " << size;
        }
    uint8_t buf[16];
    DataBlob blob{16, buf}, shortBlob{15, buf};
    vcp::Context good(CSP_CLASS_RANDOM, CSP_ALG_RANDOM_DES), unknown(CSP_CLASS_RANDOM, 47),
        wrongClass(CSP_CLASS_MAC, CSP_ALG_RANDOM_DES), noSize(CSP_CLASS_RANDOM, CSP_ALG_RANDOM_MD5);
    good.add(CSP_ATTR_OUTPUT_SIZE, 16);
    unknown.add(CSP_ATTR_OUTPUT_SIZE, 16);
    wrongClass.add(CSP_ATTR_OUTPUT_SIZE, 16);
    CspContextRecord h{};
    EXPECT_REASON(CSP_GenerateRandom(0, &h, &unknown, &blob), CSP_ERR_ALGORITHM);
    EXPECT_REASON(CSP_GenerateRandom(0, &h, &wrongClass, &blob), CSP_ERR_CLASS);
    EXPECT_REASON(CSP_GenerateRandom(0, &h, &noSize, &blob), CSP_ERR_MISSING_ATTRIBUTE);
    EXPECT_REASON(CSP_GenerateRandom(0, &h, &good, &shortBlob), CSP_ERR_NULL_DATA);
    EXPECT_REASON(CSP_GenerateRandom(0, nullptr, nullptr, &blob), CSP_ERR_NO_CONTEXT);
}

}  // namespace
