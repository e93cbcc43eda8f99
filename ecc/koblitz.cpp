// Scalar multiplication on the Koblitz curves over GF(2^163) by the tau-adic NAF. tau is the
// Frobenius map (x, y) -> (x^2, y^2), which satisfies tau^2 - mu tau + 2 = 0 with
// mu = (-1)^(1-a); writing k in base tau with digits 0, +1, -1 (no two adjacent non-zero)
// replaces the doublings of double-and-add by three squarings each.
//
// k is first reduced modulo tau^163 - 1 in Z[tau]: tau^163 fixes every point of the curve over
// GF(2^163), so rho = k - q (tau^163 - 1) gives the same multiple for any q, and rounding q to
// the nearest element of k / (tau^163 - 1) makes rho's tau-adic NAF about 163 digits instead
// of about 326.
#include "common/wipe.h"
#include "ecc/gf2m_point.h"

namespace vc::ecc::binary {

using namespace gf2m;

namespace {

using u128 = unsigned __int128;
using i128 = __int128;

// tau^163 - 1 = A + B tau with A = -2 U_162 - 1, B = U_163 for the Lucas sequence
// U_0 = 0, U_1 = 1, U_(i+1) = mu U_i - 2 U_(i-1). Its norm A^2 + mu A B + 2 B^2 is the curve
// order. k / (A + B tau) = k (A + mu B - B tau) / norm, so q0 and q1 are k g0 / 2^256 and
// k g1 / 2^256 rounded, with g0 = (A + mu B) 2^256 / norm and g1 = -B 2^256 / norm.
struct Reduction {
    int mu;
    uint64_t aMag[2];
    bool aNeg;
    uint64_t b[2];
    uint64_t g0[3];
    bool g0Neg;
    uint64_t g1[3];
    bool g1Neg;
};

constexpr Reduction kReductions[2] = {
    // a = 0, mu = -1
    {-1, {0xf85ea022b3cef629u, 0x000000000002c228u}, false, {0xaafba82a33aca077u, 0x0000000000018240u},
     {0xfd49d967631ccac5u, 0x10044ab65408da6eu, 0x000027fd09ac5effu}, false,
     {0x3de415eaab647b81u, 0x4675940ef83084f3u, 0x00003048155f7505u}, true},
    // a = 1, mu = 1
    {1, {0xf85ea022b3cef62bu, 0x000000000002c228u}, true, {0xaafba82a33aca077u, 0x0000000000018240u},
     {0x02b626989ce31f3eu, 0x10044ab66bf72591u, 0x000027fd09ac5effu}, true,
     {0xc21bea15549b90aau, 0x4675940ec7cf7b0cu, 0x00003048155f7505u}, true},
};

u128 wide(const uint64_t w[2]) { return u128(w[0]) | u128(w[1]) << 64; }

// round(k |g| / 2^256), signed as g; below 2^112 for 192-bit k.
u128 scaledRound(const Scalar &k, const uint64_t g[3], bool negative) {
    uint64_t p[7] = {};
    for (int i = 0; i < 3; i++) {
        uint64_t carry = 0;
        for (int j = 0; j < 3; j++) {
            const u128 t = u128(k.w[i]) * g[j] + p[i + j] + carry;
            p[i + j] = uint64_t(t);
            carry = uint64_t(t >> 64);
        }
        p[i + 3] = carry;
    }
    const u128 low = u128(p[2]) | u128(p[3]) << 64, half = u128(1) << 127;
    const u128 q = (u128(p[4]) | u128(p[5]) << 64) + (low + half < low ? 1 : 0);
    return negative ? 0 - q : q;
}

// rho = k - q (A + B tau) = (k - q0 A + 2 q1 B) + (-(q0 B + q1 A + mu q1 B)) tau. Both parts are
// below 2^90 in size, so arithmetic modulo 2^128 gives them exactly.
void reduce(const Reduction &r, const Scalar &k, i128 &rho0, i128 &rho1) {
    const u128 a = r.aNeg ? 0 - wide(r.aMag) : wide(r.aMag), b = wide(r.b);
    const u128 q0 = scaledRound(k, r.g0, r.g0Neg), q1 = scaledRound(k, r.g1, r.g1Neg);
    const u128 kLow = u128(k.w[0]) | u128(k.w[1]) << 64;
    const u128 muQ1B = r.mu > 0 ? q1 * b : 0 - q1 * b;
    rho0 = i128(kLow - q0 * a + 2 * q1 * b);
    rho1 = i128(0 - (q0 * b + q1 * a + muQ1B));
}

}  // namespace

bool koblitzMul(const Field &f, const Fe &a, const Point &p, const Scalar &k, Point &out) {
    const BinaryField &fp = f.params();
    if (fp.m != 163 || !(a.w[1] == 0 && a.w[2] == 0 && a.w[0] <= 1) || isZero(p.x)) return false;
    const Curve c{f, a, curveB(f, a, p.x, p.y)};
    if (!(c.b == feOne())) return false;
    const Reduction &red = kReductions[a.w[0]];
    i128 r0, r1;
    reduce(red, k, r0, r1);

    // Digits least significant first: an odd r0 takes u = 2 - ((r0 - 2 r1) mod 4) in {1, -1},
    // which makes the next digit zero; then (r0, r1) / tau = (r1 + mu r0 / 2, -r0 / 2).
    int8_t digits[200];
    int length = 0;
    while ((r0 != 0 || r1 != 0) && length < 200) {
        int u = 0;
        if (r0 & 1) {
            u = 2 - int((r0 - 2 * r1) & 3);
            r0 -= u;
        }
        digits[length++] = int8_t(u);
        const i128 half = r0 / 2;
        r0 = red.mu > 0 ? r1 + half : r1 - half;
        r1 = -half;
    }
    if (r0 != 0 || r1 != 0) return false;  // not reached: rho's expansion has about 165 digits

    const Point minus{p.x, p.x + p.y};
    LdPoint q{feOne(), feZero(), feZero()};
    for (int i = length; i-- > 0;) {
        q = ldFrobenius(f, q);
        if (digits[i] != 0) q = ldAddAffine(c, q, digits[i] > 0 ? p : minus, false);
    }
    out = ldToAffine(c, q);
    secure_wipe(digits, sizeof digits);
    return true;
}

}  // namespace vc::ecc::binary
