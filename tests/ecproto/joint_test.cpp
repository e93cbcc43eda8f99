// Verification on curve 7 computes u1 G + u2 Q in one pass; it must give the affine sum of the
// two separate products for keys on the curve, the exceptional sums included (Q = G, Q = -G,
// u1 = u2, zero scalars), and keep the separate products for points off the curve.
#include "ecc/protocol_internal.h"
#include "ecc/scalar_mul.h"
#include "support/test_util.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

using namespace vc::ecc;
using namespace vc::ecc::proto;

constexpr int kCurve = 7;
constexpr uint32_t kPoint = 41;

std::vector<uint8_t> separate(const uint8_t u1[21], const uint8_t u2[21], const uint8_t *q) {
    uint8_t a[kMaxPointBytes], b[kMaxPointBytes], sum[kMaxPointBytes];
    EXPECT_EQ(scalarMulBase(kCurve, u1, 21, a, false), 0);
    EXPECT_EQ(scalarMul(kCurve, q, kPoint, u2, 21, b, false), 0);
    addPoints(kCurve, a, b, sum);
    return {sum, sum + kPoint};
}

std::vector<uint8_t> joint(const uint8_t u1[21], const uint8_t u2[21], const uint8_t *q) {
    uint8_t sum[kMaxPointBytes];
    EXPECT_EQ(jointMul(kCurve, u1, u2, q, sum), 0);
    return {sum, sum + kPoint};
}

TEST(JointMul, EqualsTheSumOfSeparateProducts) {
    vctest::Rng rng(29);
    uint8_t g[kMaxPointBytes], q[kMaxPointBytes], negG[kMaxPointBytes];
    const uint8_t one[1] = {1};
    ASSERT_EQ(scalarMulBase(kCurve, one, 1, g, false), 0);
    // -G is (n - 1) G: n = 0x01 00..00 01F4C8F927AED3CA752257.
    const uint8_t nMinus1[21] = {0x01, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x01, 0xF4, 0xC8,
                                 0xF9, 0x27, 0xAE, 0xD3, 0xCA, 0x75, 0x22};
    uint8_t nm1[21];
    std::memcpy(nm1, nMinus1, 21);
    nm1[20] = 0x56;
    ASSERT_EQ(scalarMulBase(kCurve, nm1, 21, negG, false), 0);
    for (int round = 0; round < 60; round++) {
        uint8_t u1[21] = {}, u2[21] = {};
        const auto r1 = rng.bytes(20), r2 = rng.bytes(20);
        std::memcpy(u1 + 1, r1.data(), 20);
        std::memcpy(u2 + 1, r2.data(), 20);
        const uint8_t *point = q;
        switch (round % 6) {
            case 0: point = g; break;                      // both on G
            case 1: point = g, std::memcpy(u2, u1, 21); break;  // u1 G + u1 G: a doubling
            case 2: point = negG, std::memcpy(u2, u1, 21); break;  // the sum is infinity
            case 3: std::memset(u1, 0, 21); break;
            case 4: std::memset(u2, 0, 21); break;
            default: break;
        }
        if (point == q) {
            const auto k = rng.bytes(20);
            ASSERT_EQ(scalarMulBase(kCurve, k.data(), 20, q, false), 0);
        }
        EXPECT_EQ(joint(u1, u2, point), separate(u1, u2, point)) << "round " << round;
    }
    // A point off the curve (G with its last octet changed) keeps the separate products.
    std::memcpy(q, g, kPoint);
    q[kPoint - 1] ^= 1;
    uint8_t u1[21] = {0, 5}, u2[21] = {0, 0, 7};
    EXPECT_EQ(joint(u1, u2, q), separate(u1, u2, q));
}

}  // namespace
