// Key-share coder: exact streams against a string-table model of the format (itself checked on
// hand-worked streams), round trips, malformed and damaged streams.
#include <vorelcrypto/frame.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <string>

#include "support/test_util.h"

namespace {

using vctest::Bytes;

// Codes packed least-significant bit first after the two header bytes.
struct Packer {
    Bytes out;
    uint64_t acc = 0;
    unsigned fill = 0;
    Packer(unsigned maxBits, bool reset) : out{0x4B, uint8_t(maxBits | (reset ? 0x80 : 0))} {}
    void put(unsigned code, unsigned width) {
        acc |= uint64_t(code) << fill;
        for (fill += width; fill >= 8; fill -= 8, acc >>= 8) out.push_back(uint8_t(acc));
    }
    Bytes finish() {
        if (fill) out.push_back(uint8_t(acc));
        return out;
    }
};

// The format written out with a map of strings: greedy longest match, one entry per emitted
// code, widths from the next code to assign.
Bytes modelEncode(const Bytes &in, unsigned maxBits, bool reset) {
    Packer p(maxBits, reset);
    std::map<std::string, unsigned> table;
    unsigned next = 258;
    auto width = [&] {
        unsigned w = 9;
        while (w < maxBits && next >= (1u << w)) ++w;
        return w;
    };
    auto codeOf = [&](const std::string &s) { return s.size() == 1 ? unsigned(uint8_t(s[0])) : table.at(s); };
    std::string w;
    for (uint8_t c : in) {
        std::string wc = w + char(c);
        if (wc.size() == 1 || table.count(wc)) {
            w = wc;
            continue;
        }
        p.put(codeOf(w), width());
        if (next < (1u << maxBits)) table[wc] = next++;
        if (next == (1u << maxBits) && reset) {
            p.put(256, width());
            table.clear();
            next = 258;
        }
        w = std::string(1, char(c));
    }
    if (!w.empty()) p.put(codeOf(w), width());
    p.put(257, width());
    return p.finish();
}

struct Coded { int32_t ok; Bytes bytes; uint32_t length; };

Coded encode(const Bytes &in, uint32_t bits, uint32_t reset) {
    DataBlob src{uint32_t(in.size()), const_cast<uint8_t *>(in.data())}, dst{9, nullptr};
    int32_t ok = V_KeyShareEncode(nullptr, &src, bits, reset, &dst);
    Coded r{ok, Bytes(dst.Data, dst.Data + dst.Length), dst.Length};
    std::free(dst.Data);
    return r;
}

Coded decode(const Bytes &in, uint32_t maxOut = 1u << 24) {
    DataBlob src{uint32_t(in.size()), const_cast<uint8_t *>(in.data())}, dst{9, nullptr};
    int32_t ok = V_KeyShareDecode(nullptr, &src, maxOut, &dst);
    EXPECT_TRUE(ok ? dst.Data != nullptr : dst.Length == 0 && dst.Data == nullptr);
    Coded r{ok, Bytes(dst.Data, dst.Data + dst.Length), dst.Length};
    std::free(dst.Data);
    return r;
}

// Inputs that fill the table at every width: random bytes, runs, a short alphabet, a repeated
// phrase.
std::vector<Bytes> corpus() {
    vctest::Rng rng(41);
    std::vector<Bytes> all;
    for (size_t n : {0, 1, 2, 3, 7, 100, 1000, 9000, 40000}) {
        all.push_back(rng.bytes(n));
        all.push_back(Bytes(n, 0x5A));
        Bytes small(n), phrase(n);
        for (size_t i = 0; i < n; ++i) {
            small[i] = uint8_t('a' + rng.below(3));
            phrase[i] = "key share of a key "[i % 19];
        }
        all.push_back(small);
        all.push_back(phrase);
    }
    return all;
}

// The model against streams worked by hand. "ABABABA": A, B, 258 (AB), 260 (ABA), END, all 9
// bits wide, LSB first. "AAA": A, then 258 (AA) one step before the decoder has it, END.
TEST(KeyShare, ModelMatchesHandWorkedStreams) {
    EXPECT_EQ(vctest::toHex(modelEncode(vctest::bytesOf("ABABABA"), 12, false)), "4b0c418408241810");
    EXPECT_EQ(vctest::toHex(modelEncode(vctest::bytesOf("AAA"), 10, false)), "4b0a41040604");
}

TEST(KeyShare, StreamsMatchModelAndRoundTrip) {
    for (const Bytes &in : corpus()) {
        for (uint32_t bits = 9; bits <= 12; ++bits) {
            for (uint32_t reset : {0u, 1u}) {
                Coded c = encode(in, bits, reset);
                ASSERT_EQ(c.ok, 1);
                ASSERT_EQ(c.bytes, modelEncode(in, bits, reset != 0))
                    << "size " << in.size() << " bits " << bits << " reset " << reset;
                Coded d = decode(c.bytes, uint32_t(in.size()));
                ASSERT_EQ(d.ok, 1);
                EXPECT_EQ(d.bytes, in);
                if (!in.empty()) { EXPECT_EQ(decode(c.bytes, uint32_t(in.size() - 1)).ok, 0); }
            }
        }
    }
}

TEST(KeyShare, RefusesBadArguments) {
    Bytes abc = vctest::bytesOf("abc");
    DataBlob ok{3, abc.data()}, nullData{3, nullptr}, emptyNull{0, nullptr}, dst{5, abc.data()};
    for (uint32_t bits : {8u, 13u}) EXPECT_EQ(V_KeyShareEncode(nullptr, &ok, bits, 0, &dst), 0);
    EXPECT_EQ(V_KeyShareEncode(nullptr, &nullData, 12, 0, &dst), 0);
    EXPECT_EQ(V_KeyShareDecode(nullptr, &nullData, 100, &dst), 0);
    EXPECT_EQ(dst.Data, nullptr);
    ASSERT_EQ(V_KeyShareEncode(nullptr, &emptyNull, 9, 0, &dst), 1);  // no data, no bytes: fine
    std::free(dst.Data);
}

TEST(KeyShare, RefusesMalformedStreams) {
    auto stream = [](std::initializer_list<unsigned> codes, int pad = 0) {
        Packer p(9, false);
        for (unsigned c : codes) p.put(c, 9);
        if (pad) p.put(pad, 3);
        return p.finish();
    };
    Bytes trailing = modelEncode(vctest::bytesOf("xy"), 9, false);
    trailing.push_back(0);
    const struct { const char *what; Bytes in; } rows[] = {
        {"empty", {}}, {"header only", {0x4B, 0x0C}}, {"bad magic", {0x4C, 0x09, 0x01, 0x01}},
        {"width 8", {0x4B, 0x08, 0x01, 0x01}}, {"width 13", {0x4B, 0x0D, 0x01, 0x01}},
        {"stray header bits", {0x4B, 0x19, 0x01, 0x01}}, {"no END", stream({0x41, 0x42})},
        {"table code first", stream({258, 257})}, {"table code after CLEAR", stream({0x41, 256, 258, 257})},
        {"code beyond next", stream({0x41, 259, 257})}, {"non-zero padding", stream({0x41, 257}, 1)},
        {"trailing byte", trailing}};
    for (auto &r : rows) EXPECT_EQ(decode(r.in).ok, 0) << r.what;
    // A CLEAR anywhere is a valid code, even in a stream whose header promises no resets.
    EXPECT_EQ(decode(stream({0x41, 0x42, 256, 0x43, 0x43, 258, 257})).bytes, vctest::bytesOf("ABCCCC"));
}

// A cut stream has lost its END; damaged streams and noise may decode, but never past the
// bound (a failed decode reports no bytes).
TEST(KeyShare, DamagedStreamsStayInBounds) {
    vctest::Rng rng(7);
    for (const Bytes &in : corpus()) {
        if (in.size() > 1000) continue;
        const Bytes good = modelEncode(in, 9 + rng.below(4), rng.below(2) != 0);
        const uint32_t bound = uint32_t(in.size() + 16);
        for (size_t cut = 0; cut < good.size(); ++cut)
            EXPECT_EQ(decode(Bytes(good.begin(), good.begin() + long(cut)), bound).ok, 0);
        for (int trial = 0; trial < 200; ++trial) {
            Bytes bad = good;
            for (unsigned k = 0, n = 1 + rng.below(3); k < n; ++k)
                bad[2 + rng.below(uint32_t(bad.size() - 2))] ^= uint8_t(1u << rng.below(8));
            EXPECT_LE(decode(bad, bound).length, bound);
        }
    }
    for (int trial = 0; trial < 300; ++trial) {
        Bytes noise = rng.bytes(2 + rng.below(300));
        noise[0] = 0x4B;
        noise[1] = uint8_t(9 + rng.below(4));
        EXPECT_LE(decode(noise, 64).length, 64u);
    }
}

}  // namespace
