// RC5-32: Rivest's published RC5-32/12/16 vectors, and an independent model of RFC 2040 for
// other round counts, key lengths and the modes.
#include <vorelcrypto/cipher.h>

#include "oracle64.h"

namespace {

using cbtest::Bytes;
using vctest::fromHex;
using vctest::toHex;

// "The RC5 Encryption Algorithm" (Rivest, 1994), RC5-32/12/16: each ciphertext is the next
// plaintext. Key, plaintext, ciphertext, rounds.
const cbtest::BlockVector kRivest[] = {
    {"00000000000000000000000000000000", "0000000000000000", "21a5dbee154b8f6d", 12},
    {"915f4619be41b2516355a50110a9ce91", "21a5dbee154b8f6d", "f7c013ac5b2b8952", 12},
    {"783348e75aeb0f2fd7b169bb8dc16787", "f7c013ac5b2b8952", "2f42b3b70369fc92", 12},
    {"dc49db1375a5584f6485b413b5f12baf", "2f42b3b70369fc92", "65c178b284d197cc", 12},
    {"5269f149d41ba0152497574d7f153125", "65c178b284d197cc", "eb44e415da319824", 12},
};

TEST(Rc5, PublishedVectors) {
    for (const auto &v : kRivest) {
        SCOPED_TRACE(v.key);
        Bytes key = fromHex(v.key), block = fromHex(v.plain);
        Rc5KeySchedule ks;
        E_RC5_KeySchedule(&ks, key.data(), uint32_t(key.size()), v.param);
        E_RC5_Encrypt(block.data(), &ks);
        EXPECT_EQ(toHex(block), v.cipher);
        E_RC5_Decrypt(block.data(), &ks);
        EXPECT_EQ(toHex(block), v.plain);
    }
}

// RC5-32/r/b written from RFC 2040 as plainly as possible.
struct Rc5Model {
    std::vector<uint32_t> s;
    int rounds;
    Rc5Model(const Bytes &key, int r) : rounds(r) {
        size_t c = std::max<size_t>(1, (key.size() + 3) / 4), t = 2 * size_t(r) + 2;
        std::vector<uint32_t> l(c, 0);
        for (size_t i = key.size(); i-- > 0;) l[i / 4] = (l[i / 4] << 8) + key[i];
        s.resize(t);
        s[0] = 0xB7E15163;
        for (size_t i = 1; i < t; ++i) s[i] = s[i - 1] + 0x9E3779B9;
        uint32_t a = 0, b = 0;
        for (size_t k = 0, i = 0, j = 0; k < 3 * std::max(t, c);
             ++k, i = (i + 1) % t, j = (j + 1) % c) {
            a = s[i] = rotl(s[i] + a + b, 3);
            b = l[j] = rotl(l[j] + a + b, a + b);
        }
    }
    Bytes encrypt(const Bytes &in) const {
        auto word = [&](int o) {
            return uint32_t(in[o] | in[o + 1] << 8 | in[o + 2] << 16 | uint32_t(in[o + 3]) << 24);
        };
        uint32_t a = word(0) + s[0], b = word(4) + s[1];
        for (int i = 1; i <= rounds; ++i) {
            a = rotl(a ^ b, b) + s[2 * i];
            b = rotl(b ^ a, a) + s[2 * i + 1];
        }
        Bytes out(8);
        for (int k = 0; k < 4; ++k) out[k] = uint8_t(a >> 8 * k), out[4 + k] = uint8_t(b >> 8 * k);
        return out;
    }
    static uint32_t rotl(uint32_t x, uint32_t n) {
        return n % 32 ? x << n % 32 | x >> (32 - n % 32) : x;
    }
};

TEST(Rc5, RoundsAndKeyLengthsAgainstModel) {
    vctest::Rng rng(2040);
    for (int t = 0; t < 200; ++t) {
        uint32_t len = t < 4 ? uint32_t(t) : rng.below(300);
        int32_t rounds = t % 20 - 2;  // -2 .. 17: values outside 0..16 act as 16
        Bytes key = rng.bytes(len), plain = rng.bytes(8), block = plain;
        Rc5KeySchedule ks;
        E_RC5_KeySchedule(&ks, key.data(), len, rounds);
        EXPECT_EQ(ks.rounds, rounds < 0 || rounds > 16 ? 16 : rounds);
        E_RC5_Encrypt(block.data(), &ks);
        Rc5Model model(key, ks.rounds);
        EXPECT_EQ(toHex(block), toHex(model.encrypt(plain))) << len << " bytes, " << rounds;
        E_RC5_Decrypt(block.data(), &ks);
        EXPECT_EQ(block, plain);
    }
}

const cbtest::Family<Rc5KeySchedule> kRc5 = {
    E_RC5_ECB_Encrypt, E_RC5_ECB_Decrypt, E_RC5_CBC_Encrypt,
    E_RC5_CBC_Decrypt, E_RC5_CFB_Encrypt, E_RC5_CFB_Decrypt,
    E_RC5_OFB_Encrypt, E_RC5_OFB_Decrypt, 1};

TEST(Rc5, ModesAgainstModel) {
    cbtest::differential<Rc5KeySchedule>(
        kRc5,
        [](vctest::Rng &rng, Rc5KeySchedule &ks) {
            Bytes key = rng.bytes(rng.below(40));
            E_RC5_KeySchedule(&ks, key.data(), uint32_t(key.size()), 12);
            return key;
        },
        cbtest::blockOracle([](const Bytes &key) -> cbtest::BlockFn {
            return [model = Rc5Model(key, 12)](const Bytes &b) { return model.encrypt(b); };
        }),
        40);
}

TEST(Rc5, SharedModeBehaviour) {
    Rc5KeySchedule ks;
    E_RC5_KeySchedule(&ks, fromHex("915f4619be41b2516355a50110a9ce91").data(), 16, 12);
    cbtest::sharedModeChecks(kRc5, ks);
}

// RC5's little-endian words: widths that are not whole bytes take the register as a
// little-endian number; block function from the model.
TEST(Rc5, EveryFeedbackWidth) {
    Bytes key = fromHex("915f4619be41b2516355a50110a9ce91");
    Rc5KeySchedule ks;
    E_RC5_KeySchedule(&ks, key.data(), uint32_t(key.size()), 12);
    Rc5Model model(key, 12);
    cbtest::feedbackWidths(
        kRc5, ks, [&](const Bytes &b) { return model.encrypt(b); }, false);
}

}  // namespace
