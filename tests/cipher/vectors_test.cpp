// Published vectors of every cipher through one table, the key-parameter limits against the
// oracles, and the RC4 stream.
#include <vorelcrypto/cipher.h>

#include "cipher/harness.h"

namespace ctest {
namespace {

using vctest::fromHex;
using vctest::toHex;

struct Vector { const char *cipher, *key, *plain, *ct; int param = 0; };  // param: RC2 effective bits, RC5 rounds
const Vector kVectors[] = {
    // RFC 4269 appendix B
    {"SEED", "00000000000000000000000000000000", "000102030405060708090A0B0C0D0E0F", "5EBAC6E0054E166819AFF1CC6D346CDB"},
    {"SEED", "000102030405060708090A0B0C0D0E0F", "00000000000000000000000000000000", "C11F22F20140505084483597E4370F43"},
    {"SEED", "4706480851E61BE85D74BFB3FD956185", "83A2F8A288641FB9A4E9A5CC2F131C7D", "EE54D13EBCAE706D226BC3142CD40D4A"},
    // FIPS 46-3 / NIST SP 800-17 known answers and classic worked examples
    {"DES", "133457799BBCDFF1", "0123456789ABCDEF", "85E813540F0AB405"},
    {"DES", "0123456789ABCDEF", "4E6F772069732074", "3FA40E8A984D4815"},
    {"DES", "0101010101010101", "95F8A5E5DD31D900", "8000000000000000"},
    // NIST SP 800-67 three-key example, three blocks
    {"DES3_3Key", "0123456789ABCDEF23456789ABCDEF01456789ABCDEF0123", "5468652071756663 6B2062726F776E20 666F78206A756D70",
     "A826FD8CE53B855F CCE21C8112256FE6 68D5C05DD9B6B900"},
    // Lai and Massey's example
    {"IDEA", "00010002000300040005000600070008", "0000000100020003", "11fbed2b01986de5"},
    // Schneier's Blowfish set (excerpt)
    {"BF", "0000000000000000", "0000000000000000", "4ef997456198dd78"},
    {"BF", "fedcba9876543210", "0123456789abcdef", "0aceab0fc6a0a28d"},
    {"BF", "e0fee0fef1fef1fe", "0123456789abcdef", "c39e072d9fac631d"},
    // RFC 2268 section 5, with effective key bits
    {"RC2", "0000000000000000", "0000000000000000", "ebb773f993278eff", 63},
    {"RC2", "88", "0000000000000000", "61a8a244adacccf0", 64},
    {"RC2", "88bca90e90875a7f0f79c384627bafb2", "0000000000000000", "1a807d272bbe5db1", 64},
    {"RC2", "88bca90e90875a7f0f79c384627bafb2", "0000000000000000", "2269552ab0f85ca6", 128},
    {"RC2", "88bca90e90875a7f0f79c384627bafb216f80a6f85920584c42fceb0be255daf1e", "0000000000000000", "5b78d3a43dfff1f1", 129},
    // RC5-32/12/16 (Rivest 1994, RFC 2040)
    {"RC5", "00000000000000000000000000000000", "0000000000000000", "21a5dbee154b8f6d", 12},
    {"RC5", "915f4619be41b2516355a50110a9ce91", "21a5dbee154b8f6d", "f7c013ac5b2b8952", 12},
    {"RC5", "5269f149d41ba0152497574d7f153125", "65c178b284d197cc", "eb44e415da319824", 12},
};

TEST(Vectors, Published) {
    for (const auto &v : kVectors) {
        SCOPED_TRACE(testing::Message() << v.cipher << " " << v.key);
        const Cipher &c = cipher(v.cipher);
        Ops o = c.ours(fromHex(v.key), v.param);
        Bytes data = fromHex(v.plain);
        for (size_t i = 0; i < data.size(); i += c.block) o.enc(data.data() + i);
        EXPECT_EQ(data, fromHex(v.ct));
        for (size_t i = 0; i < data.size(); i += c.block) o.dec(data.data() + i);
        EXPECT_EQ(data, fromHex(v.plain));
    }
}

// Our key parameters against the oracle's: RC2 effective bits outside 1..1024 act as 1024 and
// keys past 128 bytes as their first 128; RC5 rounds outside 0..16 act as 16; Blowfish keys
// past 72 bytes as their first 72; DES takes weak keys as given. (That DES ignores the parity
// bits shows in the mode loop, whose random keys must match OpenSSL's.)
TEST(Vectors, KeyParameters) {
    struct Case {
        const char *cipher;
        uint32_t keyLength;
        int param, oracleParam;
        uint32_t oracleKeyLength;
        const char *key = "";  // a fixed key, else random
    } const cases[] = {
        {"RC2", 16, 0, 1024, 16},   {"RC2", 16, -5, 1024, 16},  {"RC2", 16, 1025, 1024, 16},
        {"RC2", 16, 1, 1, 16},      {"RC2", 130, 300, 300, 128}, {"RC5", 16, 17, 16, 16},
        {"RC5", 16, -1, 16, 16},    {"RC5", 0, 0, 0, 0},        {"BF", 73, 0, 0, 72},
        {"BF", 100, 0, 0, 72},      {"DES", 8, 0, 0, 8, "0101010101010101"},
        {"DES", 8, 0, 0, 8, "E0E0E0E0F1F1F1F1"}, {"DES", 8, 0, 0, 8, "01FE01FE01FE01FE"},
    };
    vctest::Rng rng(5);
    for (const auto &k : cases) {
        SCOPED_TRACE(testing::Message() << k.cipher << " " << k.keyLength << " " << k.param);
        const Cipher &c = cipher(k.cipher);
        const Bytes key = *k.key ? fromHex(k.key) : rng.bytes(k.keyLength), plain = rng.bytes(8);
        Bytes block = plain;
        c.ours(key, k.param).enc(block.data());
        EXPECT_EQ(block, oracleBlock(c, slice(key, 0, k.oracleKeyLength), k.oracleParam, plain));
    }
}

// Blowfish's OFB length counts bits: 8 * n processes n bytes, the low three bits are ignored,
// and the 4 bytes left of the last step are carried in num.
TEST(Vectors, BlowfishOfbLengthInBits) {
    BlowfishKeySchedule ks;
    E_BF_KeySchedule(&ks, reinterpret_cast<const uint8_t *>("key"), 3);
    Bytes iv(8, 1), plain(24, 0x5A), a(24, 0xEE), v = iv;
    int32_t num = 0;
    E_BF_OFB_Encrypt(plain.data(), a.data(), &ks, 64, 8 * 20 + 7, v.data(), &num);
    EXPECT_EQ(num, 4);
    EXPECT_EQ(a, vctest::fromHex(toHex(evp("BF-OFB", true, vctest::bytesOf("key"), iv,
                                           slice(plain, 0, 20))) + "EEEEEEEE"));
}

// RFC 6229 excerpts and classic examples (keystream = ciphertext of zeros), then random keys
// with the stream cut into random pieces against OpenSSL's RC4 in one call.
TEST(Vectors, Rc4) {
    struct { const char *key; uint32_t offset; const char *stream; } const vectors[] = {
        {"0102030405", 0, "b2396305f03dc027ccc3524a0a1118a8"},
        {"0102030405", 16, "6982944f18fc82d589c403a47a0d0919"},
        {"0102030405060708090a0b0c0d0e0f10", 0, "9ac7cc9a609d1ef7b2932899cde41b97"},
        {"4b6579", 0, "eb9f7781b734ca72a7"},  // "Key": "Plaintext" -> bbf316e8d940af0ad3
    };
    for (const auto &v : vectors) {
        Bytes key = fromHex(v.key), want = fromHex(v.stream), out(v.offset + want.size(), 0);
        Rc4State st;
        E_RC4_KeySchedule(&st, key.data(), uint32_t(key.size()));
        E_RC4_Encrypt(out.data(), out.data(), &st, uint32_t(out.size()));
        EXPECT_EQ(slice(out, v.offset, want.size()), want) << v.key;
    }
    vctest::Rng rng(4);
    for (int t = 0; t < 60; ++t) {
        uint32_t keyLength = t < 2 ? (t ? 256 : 1) : 1 + rng.below(256);
        Bytes key = rng.bytes(keyLength), plain = rng.bytes(rng.below(2000)), out(plain.size());
        Rc4State st;
        E_RC4_KeySchedule(&st, key.data(), keyLength);
        for (size_t done = 0, piece; done < plain.size(); done += piece) {
            piece = std::min<size_t>(plain.size() - done, rng.below(70));
            (t % 2 ? E_RC4_Decrypt : E_RC4_Encrypt)(plain.data() + done, out.data() + done, &st,
                                                    uint32_t(piece));
        }
        EXPECT_EQ(out, evp("RC4", true, key, {}, plain)) << keyLength;
    }
}

}  // namespace
}  // namespace ctest
