// Conversions between octet strings and word arrays, and the point encodings' refusals.
#include "ecc/ecc_test_util.h"

namespace {

using namespace ecctest;

TEST(Encoding, LongsToOctetsShortensOnlyWideValues) {
    struct Case {
        int32_t nWords;
        uint32_t top;
        uint32_t length;
    } cases[] = {{6, 0, 21},        {6, 0x7, 21},       {6, 0x100, 22}, {6, 0x10000, 23},
                 {6, 0x1000000, 24}, {7, 0xFF, 25},     {5, 0, 20},     {1, 0, 4},
                 {6, 0xFFFFFF, 23}};
    vctest::Rng rng(1);
    for (const Case &c : cases) {
        Words w(size_t(c.nWords));
        for (auto &x : w) x = rng.word();
        w.back() = c.top;
        Bytes out(32, 0xEE);
        Opaque8 o{0, out.data()};
        ASSERT_EQ(ZENOR_V1_LongsToopaque8(c.nWords, w.data(), &o), 1);
        ASSERT_EQ(o.length, c.length) << c.nWords << " words, top " << c.top;
        EXPECT_TRUE(Z::fromBytes(out.data(), o.length) == Z::fromWords(w.data(), w.size()));
        // And back: the octets give the words again.
        Words back((o.length + 3) / 4, 0xEE);
        ZENOR_V1_opaque8ToLongs(1, &o, back.data());
        EXPECT_TRUE(Z::fromWords(back.data(), back.size()) == Z::fromWords(w.data(), w.size()));
    }
    Bytes out(4);
    Opaque8 o{0, out.data()};
    EXPECT_EQ(ZENOR_V1_LongsToopaque8(0, nullptr, &o), -1);
}

TEST(Encoding, PointFormsAndCurves) {
    uint32_t point[12];
    for (int i = 0; i < 12; i++) point[i] = 0x01010101u * uint32_t(i + 1);
    point[5] = point[11] = 0x05;  // a 163-bit value whose top word is below 2^8
    Bytes out(43, 0xEE);
    Opaque8 o{0, out.data()};
    const struct {
        int32_t form, result;
    } forms[] = {{2, -1}, {3, -2}, {4, -3}, {0, -3}};
    for (auto f : forms) EXPECT_EQ(ZENOR_V1_ECPointsToopaque8(3, f.form, point, &o), f.result);
    EXPECT_EQ(ZENOR_V1_ECPointsToopaque8(9, 1, point, &o), 1);
    EXPECT_EQ(out, Bytes(43, 0xEE));
    for (int curve : {3, 7}) {
        const uint32_t width = curve == 7 ? 20 : 21;
        ASSERT_EQ(ZENOR_V1_ECPointsToopaque8(curve, 1, point, &o), 1);
        ASSERT_EQ(o.length, 1 + 2 * width);
        EXPECT_EQ(out[0], 0x04);
        Bytes exact(out.begin(), out.begin() + o.length);
        Opaque8 in = view(exact);
        uint32_t back[12];
        ASSERT_EQ(ZENOR_V1_opaque8ToECPoints(curve, &in, back), 1);
        for (int i = 0; i < 12; i++) {
            const uint32_t want = i % 6 < 5 ? point[i] : curve == 7 ? 0 : point[i];
            EXPECT_EQ(back[i], want) << curve << " word " << i;
        }
    }
}

TEST(Encoding, ReadingRefusesOtherFormsAndPadsShortStrings) {
    uint32_t point[12] = {};
    const struct {
        uint8_t first;
        int32_t result;
    } firsts[] = {{0x02, -1}, {0x03, -3}, {0x06, -2}, {0x07, -3}, {0x00, -3}};
    for (auto f : firsts) {
        Bytes b(43, 0x11);
        b[0] = f.first;
        Opaque8 in = view(b);
        EXPECT_EQ(ZENOR_V1_opaque8ToECPoints(3, &in, point), f.result);
    }
    Opaque8 empty{0, nullptr};
    EXPECT_EQ(ZENOR_V1_opaque8ToECPoints(3, &empty, point), -3);
    // Ten octets: x is the nine octets followed by zeros, y is zero.
    Bytes shortPoint = {0x04, 1, 2, 3, 4, 5, 6, 7, 8, 9};
    Opaque8 in = view(shortPoint);
    ASSERT_EQ(ZENOR_V1_opaque8ToECPoints(3, &in, point), 1);
    Z x = Z::fromBytes(shortPoint.data() + 1, 9);
    mpz_mul_2exp(x.v, x.v, 8 * 12);
    EXPECT_TRUE(Z::fromWords(point, 6) == x);
    EXPECT_TRUE(Z::fromWords(point + 6, 6) == Z(0));
}

}  // namespace
