// DES and triple DES: published known answers and the key-schedule properties (parity ignored,
// weak keys accepted, the triple forms reducing to single DES).
#include <vorelcrypto/cipher.h>

#include <gtest/gtest.h>

#include <cstring>

#include "cipher/block_family.h"

namespace {

using ctest::evp;
using vctest::Bytes;
using vctest::fromHex;
using vctest::toHex;

struct Vector {
    const char *key, *plain, *cipher;
};
// FIPS 46-3 / NIST SP 800-17 known answers and classic worked examples.
constexpr Vector kDes[] = {
    {"133457799BBCDFF1", "0123456789ABCDEF", "85E813540F0AB405"},
    {"0123456789ABCDEF", "4E6F772069732074", "3FA40E8A984D4815"},
    {"0101010101010101", "95F8A5E5DD31D900", "8000000000000000"},
    {"0101010101010101", "DD7F121CA5015619", "4000000000000000"},
    {"8001010101010101", "0000000000000000", "95A8D72813DAA94D"},
    {"4001010101010101", "0000000000000000", "0EEC1487DD8C26D5"},
    {"0101010101010101", "0000000000000000", "8CA64DE9C1B123A7"},
    {"FEFEFEFEFEFEFEFE", "FFFFFFFFFFFFFFFF", "7359B2163E4EDC58"},
};

TEST(Des, KnownAnswers) {
    for (const auto &v : kDes) {
        DesKeySchedule ks;
        EXPECT_EQ(E_DES_KeySchedule(&ks, fromHex(v.key).data()), 1);
        Bytes block = fromHex(v.plain);
        E_DES_Encrypt(block.data(), &ks);
        EXPECT_EQ(toHex(block), toHex(fromHex(v.cipher))) << v.key << " " << v.plain;
        E_DES_Decrypt(block.data(), &ks);
        EXPECT_EQ(toHex(block), toHex(fromHex(v.plain))) << v.key << " " << v.plain;
    }
}

// NIST SP 800-67 example: three keys, three blocks.
TEST(Des, ThreeKeyKnownAnswer) {
    const Bytes key = fromHex("0123456789ABCDEF 23456789ABCDEF01 456789ABCDEF0123");
    const Bytes plain = vctest::bytesOf("The qufck brown fox jump");
    const Bytes cipher = fromHex("A826FD8CE53B855F CCE21C8112256FE6 68D5C05DD9B6B900");
    Des3_3KeySchedule ks;
    EXPECT_EQ(E_DES3_3Key_Schedule(&ks, key.data()), 1);
    Bytes data = plain;
    for (size_t i = 0; i < data.size(); i += 8) E_DES3_3Key_Encrypt(data.data() + i, &ks);
    EXPECT_EQ(toHex(data), toHex(cipher));
    for (size_t i = 0; i < data.size(); i += 8) E_DES3_3Key_Decrypt(data.data() + i, &ks);
    EXPECT_EQ(data, plain);
}

// The low bit of every key byte is ignored: flipping any of them changes nothing.
TEST(Des, ParityBitsIgnored) {
    vctest::Rng rng(11);
    for (int trial = 0; trial < 16; ++trial) {
        Bytes key = rng.bytes(8), flipped = key;
        for (auto &b : flipped) b ^= uint8_t(rng.below(2));
        DesKeySchedule a, b;
        E_DES_KeySchedule(&a, key.data());
        E_DES_KeySchedule(&b, flipped.data());
        EXPECT_EQ(0, std::memcmp(&a, &b, sizeof a)) << toHex(key) << " " << toHex(flipped);
    }
}

// Weak and semi-weak keys are used as given, and agree with OpenSSL's unchecked DES; for a weak
// key encryption is its own inverse, and a semi-weak pair undoes each other.
TEST(Des, WeakKeysAccepted) {
    const char *weak[] = {"0101010101010101", "FEFEFEFEFEFEFEFE", "E0E0E0E0F1F1F1F1",
                          "1F1F1F1F0E0E0E0E"};
    const Bytes block = fromHex("0123456789ABCDEF");
    for (const char *hex : weak) {
        const Bytes key = fromHex(hex);
        DesKeySchedule ks;
        E_DES_KeySchedule(&ks, key.data());
        Bytes b = block;
        E_DES_Encrypt(b.data(), &ks);
        EXPECT_EQ(b, evp("DES-ECB", key, {}, block, true)) << hex;
        E_DES_Encrypt(b.data(), &ks);
        EXPECT_EQ(b, block) << hex;
    }
    DesKeySchedule k1, k2;
    E_DES_KeySchedule(&k1, fromHex("01FE01FE01FE01FE").data());
    E_DES_KeySchedule(&k2, fromHex("FE01FE01FE01FE01").data());
    Bytes b = block;
    E_DES_Encrypt(b.data(), &k1);
    E_DES_Encrypt(b.data(), &k2);
    EXPECT_EQ(b, block);
}

// Triple DES reduces to the smaller forms when keys repeat: two-key with K1 = K2 is DES,
// three-key with K3 = K1 is two-key, and with K1 = K2 = K3 it is DES.
TEST(Des, TripleFormsReduce) {
    vctest::Rng rng(12);
    for (int trial = 0; trial < 8; ++trial) {
        const Bytes k1 = rng.bytes(8), k2 = rng.bytes(8), block = rng.bytes(8);
        auto cat = [](std::initializer_list<Bytes> parts) {
            Bytes all;
            for (const auto &p : parts) all.insert(all.end(), p.begin(), p.end());
            return all;
        };
        DesKeySchedule des;
        Des3KeySchedule two, twoSame;
        Des3_3KeySchedule three, threeSame;
        E_DES_KeySchedule(&des, k1.data());
        E_DES3_KeySchedule(&two, cat({k1, k2}).data());
        E_DES3_KeySchedule(&twoSame, cat({k1, k1}).data());
        E_DES3_3Key_Schedule(&three, cat({k1, k2, k1}).data());
        E_DES3_3Key_Schedule(&threeSame, cat({k1, k1, k1}).data());
        Bytes a = block, b = block, c = block, d = block, e = block;
        E_DES_Encrypt(a.data(), &des);
        E_DES3_Encrypt(b.data(), &twoSame);
        E_DES3_3Key_Encrypt(c.data(), &threeSame);
        EXPECT_EQ(b, a);
        EXPECT_EQ(c, a);
        E_DES3_Encrypt(d.data(), &two);
        E_DES3_3Key_Encrypt(e.data(), &three);
        EXPECT_EQ(e, d);
        E_DES3_Decrypt(d.data(), &two);
        E_DES3_3Key_Decrypt(e.data(), &three);
        EXPECT_EQ(d, block);
        EXPECT_EQ(e, block);
    }
}

}  // namespace
