// Blowfish: Schneier's published ECB vectors, key-length limits, and every mode against OpenSSL.
#include <vorelcrypto/cipher.h>

#include "oracle64.h"

namespace {

using cbtest::Bytes;
using vctest::fromHex;
using vctest::toHex;

// Eric Young's / Schneier's Blowfish ECB test set: key, plaintext, ciphertext.
const cbtest::BlockVector kEcbVectors[] = {
    {"0000000000000000", "0000000000000000", "4ef997456198dd78"},
    {"ffffffffffffffff", "ffffffffffffffff", "51866fd5b85ecb8a"},
    {"3000000000000000", "1000000000000001", "7d856f9a613063f2"},
    {"1111111111111111", "1111111111111111", "2466dd878b963c9d"},
    {"0123456789abcdef", "1111111111111111", "61f9c3802281b096"},
    {"1111111111111111", "0123456789abcdef", "7d0cc630afda1ec7"},
    {"fedcba9876543210", "0123456789abcdef", "0aceab0fc6a0a28d"},
    {"7ca110454a1a6e57", "01a1d6d039776742", "59c68245eb05282b"},
    {"0131d9619dc1376e", "5cd54ca83def57da", "b1b8cc0b250f09a0"},
    {"07a1133e4a0b2686", "0248d43806f67172", "1730e5778bea1da4"},
    {"3849674c2602319e", "51454b582ddf440a", "a25e7856cf2651eb"},
    {"04b915ba43feb5b6", "42fd443059577fa2", "353882b109ce8f1a"},
    {"0113b970fd34f2ce", "059b5e0851cf143a", "48f4d0884c379918"},
    {"0170f175468fb5e6", "0756d8e0774761d2", "432193b78951fc98"},
    {"43297fad38e373fe", "762514b829bf486a", "13f04154d69d1ae5"},
    {"07a7137045da2a16", "3bdd119049372802", "2eedda93ffd39c79"},
    {"04689104c2fd3b2f", "26955f6835af609a", "d887e0393c2da6e3"},
    {"37d06bb516cb7546", "164d5e404f275232", "5f99d04f5b163969"},
    {"1f08260d1ac2465e", "6b056e18759f5cca", "4a057a3b24d3977b"},
    {"584023641aba6176", "004bd6ef09176062", "452031c1e4fada8e"},
    {"025816164629b007", "480d39006ee762f2", "7555ae39f59b87bd"},
    {"49793ebc79b3258f", "437540c8698f3cfa", "53c55f9cb49fc019"},
    {"4fb05e1515ab73a7", "072d43a077075292", "7a8e7bfa937e89a3"},
    {"49e95d6d4ca229bf", "02fe55778117f12a", "cf9c5d7a4986adb5"},
    {"018310dc409b26d6", "1d9d5c5018f728c2", "d1abb290658bc778"},
    {"1c587f1c13924fef", "305532286d6f295a", "55cb3774d13ef201"},
    {"0101010101010101", "0123456789abcdef", "fa34ec4847b268b2"},
    {"1f1f1f1f0e0e0e0e", "0123456789abcdef", "a790795108ea3cae"},
    {"e0fee0fef1fef1fe", "0123456789abcdef", "c39e072d9fac631d"},
    {"0000000000000000", "ffffffffffffffff", "014933e0cdaff6e4"},
    {"ffffffffffffffff", "0000000000000000", "f21e9a77b71c49bc"},
    {"0123456789abcdef", "0000000000000000", "245946885754369a"},
    {"fedcba9876543210", "ffffffffffffffff", "6b5c5a9c5d9e0a5a"},
};

TEST(Blowfish, PublishedEcbVectors) {
    for (const auto &v : kEcbVectors) {
        SCOPED_TRACE(v.key);
        Bytes key = fromHex(v.key), block = fromHex(v.plain);
        BlowfishKeySchedule ks;
        E_BF_KeySchedule(&ks, key.data(), uint32_t(key.size()));
        E_BF_Encrypt(block.data(), &ks);
        EXPECT_EQ(toHex(block), v.cipher);
        E_BF_Decrypt(block.data(), &ks);
        EXPECT_EQ(toHex(block), v.plain);
    }
}

// Keys of 1 to 72 bytes against OpenSSL; longer keys act as their first 72 bytes.
TEST(Blowfish, KeyLengthsAgainstOpenSsl) {
    vctest::Rng rng(72);
    Bytes plain = rng.bytes(8);
    for (uint32_t len : {1u, 2u, 5u, 8u, 16u, 24u, 56u, 71u, 72u, 73u, 100u}) {
        SCOPED_TRACE(len);
        Bytes key = rng.bytes(len), block = plain;
        BlowfishKeySchedule ks;
        E_BF_KeySchedule(&ks, key.data(), len);
        E_BF_Encrypt(block.data(), &ks);
        key.resize(std::min<size_t>(len, 72));
        EXPECT_EQ(toHex(block), toHex(cbtest::evp("BF-ECB", true, key, {}, plain)));
    }
}

const cbtest::Family<BlowfishKeySchedule> kBf = {
    E_BF_ECB_Encrypt, E_BF_ECB_Decrypt, E_BF_CBC_Encrypt,
    E_BF_CBC_Decrypt, E_BF_CFB_Encrypt, E_BF_CFB_Decrypt,
    E_BF_OFB_Encrypt, E_BF_OFB_Decrypt, 8};

TEST(Blowfish, ModesAgainstOpenSsl) {
    cbtest::differential<BlowfishKeySchedule>(
        kBf,
        [](vctest::Rng &rng, BlowfishKeySchedule &ks) {
            Bytes key = rng.bytes(1 + rng.below(72));
            E_BF_KeySchedule(&ks, key.data(), uint32_t(key.size()));
            return key;
        },
        cbtest::evpOracle("BF"));
}

TEST(Blowfish, SharedModeBehaviour) {
    BlowfishKeySchedule ks;
    E_BF_KeySchedule(&ks, reinterpret_cast<const uint8_t *>("abcdefgh"), 8);
    cbtest::sharedModeChecks(kBf, ks);
}

// The OFB length counts bits: 8 * n processes n bytes, and the low three bits are ignored.
TEST(Blowfish, OfbLengthInBits) {
    BlowfishKeySchedule ks;
    E_BF_KeySchedule(&ks, reinterpret_cast<const uint8_t *>("key"), 3);
    Bytes iv(8, 1), plain(24, 0x5A), a(24, 0xEE), ivA = iv;
    int32_t num = 0;
    E_BF_OFB_Encrypt(plain.data(), a.data(), &ks, 64, 8 * 20 + 7, ivA.data(), &num);
    EXPECT_EQ(num, 4);
    EXPECT_EQ(Bytes(a.begin() + 20, a.end()), Bytes(4, 0xEE));
    Bytes expect = cbtest::evp("BF-OFB", true, Bytes{'k', 'e', 'y'}, iv,
                               Bytes(plain.begin(), plain.begin() + 20));
    EXPECT_EQ(toHex(a.data(), 20), toHex(expect));
}

// Widths that are not whole bytes run most significant bit first, as Blowfish's big-endian
// words suggest; block function from OpenSSL.
TEST(Blowfish, EveryFeedbackWidth) {
    Bytes key = fromHex("0123456789abcdeffedcba9876543210");
    BlowfishKeySchedule ks;
    E_BF_KeySchedule(&ks, key.data(), uint32_t(key.size()));
    cbtest::feedbackWidths(
        kBf, ks, [&](const Bytes &b) { return cbtest::evp("BF-ECB", true, key, {}, b); }, true);
}

}  // namespace
