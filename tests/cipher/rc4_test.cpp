// RC4: published keystreams and a differential run against OpenSSL over split streams.
#include <vorelcrypto/cipher.h>

#include "oracle64.h"

namespace {

using cbtest::Bytes;
using vctest::fromHex;
using vctest::toHex;

struct StreamVector {
    const char *key;
    uint32_t offset;  // keystream bytes skipped before `stream`
    const char *stream;
};

// RFC 6229 excerpts (keystream at offsets 0, 16, 240, 4096) and the classic short examples,
// given as keystream (plaintext XOR ciphertext).
const StreamVector kVectors[] = {
    {"0102030405", 0, "b2396305f03dc027ccc3524a0a1118a8"},
    {"0102030405", 16, "6982944f18fc82d589c403a47a0d0919"},
    {"0102030405060708090a0b0c0d0e0f10", 0, "9ac7cc9a609d1ef7b2932899cde41b97"},
};

TEST(Rc4, PublishedKeystreams) {
    for (const auto &v : kVectors) {
        SCOPED_TRACE(testing::Message() << v.key << " @" << v.offset);
        Bytes key = fromHex(v.key), expect = fromHex(v.stream);
        Rc4State st;
        E_RC4_KeySchedule(&st, key.data(), uint32_t(key.size()));
        Bytes skip(v.offset + 1), out(expect.size()), zero(expect.size(), 0);
        if (v.offset) E_RC4_Encrypt(skip.data(), skip.data(), &st, v.offset);
        E_RC4_Encrypt(zero.data(), out.data(), &st, uint32_t(out.size()));
        EXPECT_EQ(toHex(out), v.stream);
    }
    struct {
        const char *key, *plain, *cipher;
    } text[] = {{"Key", "Plaintext", "bbf316e8d940af0ad3"},
                {"Wiki", "pedia", "1021bf0420"},
                {"Secret", "Attack at dawn", "45a01f645fc35b383552544b9bf5"}};
    for (const auto &v : text) {
        Bytes key = vctest::bytesOf(v.key), plain = vctest::bytesOf(v.plain), out(plain.size());
        Rc4State st;
        E_RC4_KeySchedule(&st, key.data(), uint32_t(key.size()));
        E_RC4_Encrypt(plain.data(), out.data(), &st, uint32_t(out.size()));
        EXPECT_EQ(toHex(out), v.cipher);
        E_RC4_KeySchedule(&st, key.data(), uint32_t(key.size()));
        E_RC4_Decrypt(out.data(), out.data(), &st, uint32_t(out.size()));
        EXPECT_EQ(out, plain);
    }
}

// Random keys of 1 to 256 bytes; the stream is cut into random pieces (the state carries on
// across calls) and compared with OpenSSL's RC4 in one call. Length 0 changes nothing.
TEST(Rc4, SplitStreamsAgainstOpenSsl) {
    vctest::Rng rng(4);
    for (int t = 0; t < 100; ++t) {
        uint32_t keyLength = t < 2 ? (t ? 256 : 1) : 1 + rng.below(256);
        Bytes key = rng.bytes(keyLength), plain = rng.bytes(rng.below(2000)), out(plain.size());
        Rc4State st;
        E_RC4_KeySchedule(&st, key.data(), keyLength);
        for (size_t done = 0; done < plain.size();) {
            size_t piece = std::min<size_t>(plain.size() - done, rng.below(70));
            E_RC4_Encrypt(plain.data() + done, out.data() + done, &st, uint32_t(piece));
            done += piece;
        }
        EXPECT_EQ(toHex(out), toHex(cbtest::evp("RC4", true, key, {}, plain))) << keyLength;
    }
}

}  // namespace
