// IDEA: published vectors and every mode against libgcrypt.
#include <vorelcrypto/cipher.h>

#include "oracle64.h"

namespace {

using cbtest::Bytes;
using vctest::fromHex;
using vctest::toHex;

// Lai and Massey's example and vectors from the NESSIE IDEA set.
const cbtest::BlockVector kVectors[] = {
    {"00010002000300040005000600070008", "0000000100020003", "11fbed2b01986de5"},
};

TEST(Idea, PublishedVectors) {
    for (const auto &v : kVectors) {
        SCOPED_TRACE(v.key);
        Bytes key = fromHex(v.key), block = fromHex(v.plain);
        IdeaKeySchedule ks;
        E_IDEA_KeySchedule(&ks, key.data());
        E_IDEA_Encrypt(block.data(), &ks);
        EXPECT_EQ(toHex(block), v.cipher);
        E_IDEA_Decrypt(block.data(), &ks);
        EXPECT_EQ(toHex(block), v.plain);
    }
}

// Random keys, including words of 0 and 1 whose inverses are special, against libgcrypt.
TEST(Idea, BlocksAgainstLibgcrypt) {
    vctest::Rng rng(0x1dea);
    for (int t = 0; t < 200; ++t) {
        Bytes key = rng.bytes(16), plain = rng.bytes(8);
        uint32_t w = 2 * rng.below(8);
        if (t % 4 < 2) key[w] = 0, key[w + 1] = uint8_t(t % 4);  // a subkey of 0 or 1
        if (t % 8 == 2) plain[0] = plain[1] = 0;
        IdeaKeySchedule ks;
        E_IDEA_KeySchedule(&ks, key.data());
        Bytes block = plain;
        E_IDEA_Encrypt(block.data(), &ks);
        EXPECT_EQ(toHex(block), toHex(cbtest::gcryptIdea(cbtest::Mode::Ecb, true, key, {}, plain)))
            << toHex(key);
        E_IDEA_Decrypt(block.data(), &ks);
        EXPECT_EQ(block, plain);
    }
}

const cbtest::Family<IdeaKeySchedule> kIdea = {
    E_IDEA_ECB_Encrypt, E_IDEA_ECB_Decrypt, E_IDEA_CBC_Encrypt,
    E_IDEA_CBC_Decrypt, E_IDEA_CFB_Encrypt, E_IDEA_CFB_Decrypt,
    E_IDEA_OFB_Encrypt, E_IDEA_OFB_Decrypt, 1};

TEST(Idea, ModesAgainstLibgcrypt) {
    cbtest::differential<IdeaKeySchedule>(
        kIdea,
        [](vctest::Rng &rng, IdeaKeySchedule &ks) {
            Bytes key = rng.bytes(16);
            E_IDEA_KeySchedule(&ks, key.data());
            return key;
        },
        cbtest::gcryptIdea);
}

TEST(Idea, SharedModeBehaviour) {
    IdeaKeySchedule ks;
    E_IDEA_KeySchedule(&ks, fromHex("00010002000300040005000600070008").data());
    cbtest::sharedModeChecks(kIdea, ks);
}

// Widths that are not whole bytes run most significant bit first; block function from libgcrypt.
TEST(Idea, EveryFeedbackWidth) {
    Bytes key = fromHex("00010002000300040005000600070008");
    IdeaKeySchedule ks;
    E_IDEA_KeySchedule(&ks, key.data());
    cbtest::feedbackWidths(
        kIdea, ks,
        [&](const Bytes &b) { return cbtest::gcryptIdea(cbtest::Mode::Ecb, true, key, {}, b); },
        true);
}

}  // namespace
