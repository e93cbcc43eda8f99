// RC2: the RFC 2268 vectors with their effective key bits, and every mode against OpenSSL.
#include <vorelcrypto/cipher.h>

#include "oracle64.h"

namespace {

using cbtest::Bytes;
using vctest::fromHex;
using vctest::toHex;

// RFC 2268 section 5: key, plaintext, ciphertext, effective key bits.
const cbtest::BlockVector kRfc2268[] = {
    {"0000000000000000", "0000000000000000", "ebb773f993278eff", 63},
    {"ffffffffffffffff", "ffffffffffffffff", "278b27e42e2f0d49", 64},
    {"3000000000000000", "1000000000000001", "30649edf9be7d2c2", 64},
    {"88", "0000000000000000", "61a8a244adacccf0", 64},
    {"88bca90e90875a", "0000000000000000", "6ccf4308974c267f", 64},
    {"88bca90e90875a7f0f79c384627bafb2", "0000000000000000", "1a807d272bbe5db1", 64},
    {"88bca90e90875a7f0f79c384627bafb2", "0000000000000000", "2269552ab0f85ca6", 128},
    {"88bca90e90875a7f0f79c384627bafb216f80a6f85920584c42fceb0be255daf1e", "0000000000000000",
     "5b78d3a43dfff1f1", 129},
};

TEST(Rc2, Rfc2268Vectors) {
    for (const auto &v : kRfc2268) {
        SCOPED_TRACE(v.key);
        Bytes key = fromHex(v.key), block = fromHex(v.plain);
        Rc2KeySchedule ks;
        E_RC2_KeySchedule(&ks, key.data(), uint32_t(key.size()), v.param);
        E_RC2_Encrypt(block.data(), &ks);
        EXPECT_EQ(toHex(block), v.cipher);
        E_RC2_Decrypt(block.data(), &ks);
        EXPECT_EQ(toHex(block), v.plain);
    }
}

// Key lengths and effective bits against OpenSSL; out-of-range bits act as 1024 and keys
// beyond 128 bytes as their first 128.
TEST(Rc2, KeyParametersAgainstOpenSsl) {
    vctest::Rng rng(2268);
    struct Case {
        uint32_t keyLength;
        int32_t bits, oracleBits;
    } cases[] = {{1, 8, 8},       {5, 40, 40},    {8, 64, 64},      {16, 128, 128},
                 {16, 1, 1},      {16, 7, 7},     {16, 1023, 1023}, {16, 1024, 1024},
                 {16, 0, 1024},   {16, -5, 1024}, {16, 1025, 1024}, {128, 1024, 1024},
                 {130, 300, 300}, {33, 129, 129}};
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << c.keyLength << " bytes, " << c.bits << " bits");
        Bytes key = rng.bytes(c.keyLength), plain = rng.bytes(8), block = plain;
        Rc2KeySchedule ks;
        E_RC2_KeySchedule(&ks, key.data(), c.keyLength, c.bits);
        E_RC2_Encrypt(block.data(), &ks);
        key.resize(std::min<size_t>(c.keyLength, 128));
        EXPECT_EQ(toHex(block), toHex(cbtest::evp("RC2-ECB", true, key, {}, plain, c.oracleBits)));
    }
}

const cbtest::Family<Rc2KeySchedule> kRc2 = {
    E_RC2_ECB_Encrypt, E_RC2_ECB_Decrypt, E_RC2_CBC_Encrypt,
    E_RC2_CBC_Decrypt, E_RC2_CFB_Encrypt, E_RC2_CFB_Decrypt,
    E_RC2_OFB_Encrypt, E_RC2_OFB_Decrypt, 1};

TEST(Rc2, ModesAgainstOpenSsl) {
    for (int bits : {40, 64, 128, 1024}) {
        SCOPED_TRACE(bits);
        cbtest::differential<Rc2KeySchedule>(
            kRc2,
            [bits](vctest::Rng &rng, Rc2KeySchedule &ks) {
                Bytes key = rng.bytes(1 + rng.below(128));
                E_RC2_KeySchedule(&ks, key.data(), uint32_t(key.size()), bits);
                return key;
            },
            cbtest::evpOracle("RC2", bits), 15);
    }
}

TEST(Rc2, SharedModeBehaviour) {
    Rc2KeySchedule ks;
    E_RC2_KeySchedule(&ks, fromHex("88bca90e90875a").data(), 7, 64);
    cbtest::sharedModeChecks(kRc2, ks);
}

// RC2's little-endian words: widths that are not whole bytes take the register as a
// little-endian number; block function from OpenSSL.
TEST(Rc2, EveryFeedbackWidth) {
    Bytes key = fromHex("88bca90e90875a7f0f79c384627bafb2");
    Rc2KeySchedule ks;
    E_RC2_KeySchedule(&ks, key.data(), uint32_t(key.size()), 128);
    cbtest::feedbackWidths(
        kRc2, ks, [&](const Bytes &b) { return cbtest::evp("RC2-ECB", true, key, {}, b, 128); },
        false);
}

}  // namespace
