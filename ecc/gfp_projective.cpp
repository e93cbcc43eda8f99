// The exported projective arithmetic over GF(p): Jacobian coordinates with Y carried doubled,
// on the library's ENUM modular operations, the projective multiplications built on it, the
// fixed-base comb and the diagnostic printers. None of this is constant-time; the protocols
// use the fast path of p160.cpp instead.
#include <vorelcrypto/ecc.h>

#include "bignum/bn_internal.h"

#include <cstdio>
#include <cstring>

using vc::bignum::Temp;

namespace {

constexpr int kCoordWords = 6;

// A coordinate as the copies move it: five words and the low byte of the sixth (21 octets).
void load(Temp &t, const uint32_t *words) {
    std::memcpy(t.w, words, 5 * sizeof(uint32_t));
    t.w[5] = words[5] & 0xFF;
    t.n.sign = 0;
    t.n.length = 6;
    vc::bignum::trim(&t.n);
}

void store(uint32_t *words, const ENUM *v) {
    std::memset(words, 0, kCoordWords * sizeof(uint32_t));
    for (int32_t i = 0; i < v->length && i < 6; i++) words[i] = v->words[i];
    words[5] &= 0xFF;
}

bool isZero(const ENUM *v) { return vc::bignum::isZero(v); }

void setInfinity(uint32_t out[18]) {
    std::memset(out, 0, 18 * sizeof(uint32_t));
    out[0] = 1;
    out[6] = 2;
}

void copyPoint(uint32_t out[18], const uint32_t in[18]) {
    for (int c = 0; c < 3; c++) {
        Temp t;
        load(t, in + 6 * c);
        store(out + 6 * c, t.get());
    }
}

// The curve words the operations read: a and p.
struct Curve {
    mutable Temp a, p;
    explicit Curve(const uint32_t curve[18]) {
        load(a, curve);
        load(p, curve + 12);
    }
};

// r = (x + y) mod p and r = (x - y) mod p, r distinct from the operands.
void addMod(ENUM *r, const ENUM *x, const ENUM *y, const Curve &c) { EN_Mod_Add(r, x, y, &c.p.n); }
void subMod(ENUM *r, const ENUM *x, const ENUM *y, const Curve &c) { EN_Mod_Sub(r, x, y, &c.p.n); }
void mulMod(ENUM *r, const ENUM *x, const ENUM *y, const Curve &c) { EN_Mod_Mul(r, x, y, &c.p.n); }

// With Y = 2y: Z3 = Y Z, A = X^2, B = Y^2, C = B^2, D = 2X B, M = 3A + a Z^4,
// X3 = M^2 - D, Y3 = M (D - 2 X3) - C: the usual Jacobian doubling, Y still doubled.
void doubling(const uint32_t point[18], uint32_t out[18], const Curve &c) {
    Temp X, Y, Z;
    load(X, point), load(Y, point + 6), load(Z, point + 12);
    if (isZero(Y.get()) || isZero(Z.get())) {
        setInfinity(out);
        return;
    }
    Temp Z3, A, B, C, X2, D, Z2, Z4, E, A3, M, X3, T, U, Y3;
    mulMod(Z3.get(), Y.get(), Z.get(), c);
    EN_Mod_Sqr(A.get(), X.get(), &c.p.n);
    EN_Mod_Sqr(B.get(), Y.get(), &c.p.n);
    EN_Mod_Sqr(C.get(), B.get(), &c.p.n);
    addMod(X2.get(), X.get(), X.get(), c);
    mulMod(D.get(), X2.get(), B.get(), c);
    EN_Mod_Sqr(Z2.get(), Z.get(), &c.p.n);
    EN_Mod_Sqr(Z4.get(), Z2.get(), &c.p.n);
    mulMod(E.get(), c.a.get(), Z4.get(), c);
    addMod(T.get(), A.get(), A.get(), c);
    addMod(A3.get(), T.get(), A.get(), c);
    addMod(M.get(), A3.get(), E.get(), c);
    EN_Mod_Sqr(T.get(), M.get(), &c.p.n);
    subMod(X3.get(), T.get(), D.get(), c);
    addMod(T.get(), X3.get(), X3.get(), c);
    subMod(U.get(), D.get(), T.get(), c);
    mulMod(T.get(), M.get(), U.get(), c);
    subMod(Y3.get(), T.get(), C.get(), c);
    store(out, X3.get()), store(out + 6, Y3.get()), store(out + 12, Z3.get());
}

// Z^2 and Z^3, taken as 1 without arithmetic when Z is exactly the one-word number 1.
void powers(const ENUM *z, Temp &z2, Temp &z3, const Curve &c) {
    if (z->length == 1 && z->words[0] == 1) {
        EN_U32ToENUM(z2.get(), 1);
        EN_U32ToENUM(z3.get(), 1);
        return;
    }
    EN_Mod_Sqr(z2.get(), z, &c.p.n);
    mulMod(z3.get(), z2.get(), z, c);
}

// U0 = X0 Z1^2, U1 = X1 Z0^2, S0 = Y0 Z1^3, S1 = Y1 Z0^3, W = U0 - U1, R = S0 - S1,
// T = U0 + U1, M = S0 + S1, F = (2W)^2: Z2 = 2W Z0 Z1, X2 = R^2 - T F, V = T F - 2 X2,
// Y2 = V R - M W F, the Jacobian sum scaled by 2, which the doubled Y absorbs. W = 0 gives
// (1, 2, 0) for P0 = -P1 and (0, 0, 0) for P0 = P1.
void addition(const uint32_t p0[18], const uint32_t p1[18], uint32_t out[18], const Curve &c) {
    Temp X0, Y0, Z0, X1, Y1, Z1;
    load(X0, p0), load(Y0, p0 + 6), load(Z0, p0 + 12);
    load(X1, p1), load(Y1, p1 + 6), load(Z1, p1 + 12);
    Temp Z1s, Z1c, Z0s, Z0c, U0, U1, S0, S1, W, R, T, M;
    powers(Z1.get(), Z1s, Z1c, c);
    powers(Z0.get(), Z0s, Z0c, c);
    mulMod(U0.get(), X0.get(), Z1s.get(), c);
    mulMod(U1.get(), X1.get(), Z0s.get(), c);
    mulMod(S0.get(), Y0.get(), Z1c.get(), c);
    mulMod(S1.get(), Y1.get(), Z0c.get(), c);
    subMod(W.get(), U0.get(), U1.get(), c);
    subMod(R.get(), S0.get(), S1.get(), c);
    addMod(T.get(), U0.get(), U1.get(), c);
    addMod(M.get(), S0.get(), S1.get(), c);
    if (isZero(W.get())) {
        if (isZero(R.get()))
            std::memset(out, 0, 18 * sizeof(uint32_t));  // P0 = P1: the caller must double
        else
            setInfinity(out);  // P0 = -P1
        return;
    }
    Temp W2, F, Z2, X2, TF, V, Y2, t, u;
    addMod(W2.get(), W.get(), W.get(), c);
    EN_Mod_Sqr(F.get(), W2.get(), &c.p.n);
    mulMod(t.get(), W2.get(), Z0.get(), c);
    mulMod(Z2.get(), t.get(), Z1.get(), c);
    EN_Mod_Sqr(t.get(), R.get(), &c.p.n);
    mulMod(TF.get(), T.get(), F.get(), c);
    subMod(X2.get(), t.get(), TF.get(), c);
    addMod(t.get(), X2.get(), X2.get(), c);
    subMod(V.get(), TF.get(), t.get(), c);
    mulMod(t.get(), V.get(), R.get(), c);
    mulMod(u.get(), M.get(), W.get(), c);
    mulMod(TF.get(), u.get(), F.get(), c);
    subMod(Y2.get(), t.get(), TF.get(), c);
    store(out, X2.get()), store(out + 6, Y2.get()), store(out + 12, Z2.get());
}

bool zCoordinateZero(const uint32_t point[18]) {
    Temp z;
    load(z, point + 12);
    return isZero(z.get());
}

void fullAddition(const uint32_t p0[18], const uint32_t p1[18], uint32_t out[18], const Curve &c) {
    if (zCoordinateZero(p0)) {
        copyPoint(out, p1);
        return;
    }
    if (zCoordinateZero(p1)) {
        copyPoint(out, p0);
        return;
    }
    addition(p0, p1, out, c);
    bool allZero = true;
    for (int i = 0; i < 18; i++) allZero = allZero && out[i] == 0;
    if (allZero) doubling(p1, out, c);
}

void negative(const uint32_t point[18], uint32_t out[18], const Curve &c) {
    Temp Y, N;
    load(Y, point + 6);
    EN_Sub(N.get(), &c.p.n, Y.get());  // unreduced: Y = 0 gives p
    uint32_t r[18];
    copyPoint(r, point);
    store(r + 6, N.get());
    std::memcpy(out, r, sizeof r);
}

void subtraction(const uint32_t p0[18], const uint32_t p1[18], uint32_t out[18], const Curve &c) {
    uint32_t minus[18];
    negative(p1, minus, c);
    fullAddition(p0, minus, out, c);
}

void signedBinary(const uint32_t point[18], const uint32_t scalar[6], uint32_t out[18], const Curve &c) {
    uint32_t result[18] = {}, q[18], t[18];
    copyPoint(q, point);
    uint64_t k[4] = {};
    for (int i = 0; i < 6; i++) k[i / 2] |= uint64_t(scalar[i]) << (32 * (i % 2));
    while ((k[0] | k[1] | k[2] | k[3]) != 0) {
        if (k[0] & 1) {
            if ((k[0] & 3) == 3) {
                subtraction(result, q, t, c);
                for (int i = 0; i < 4 && ++k[i] == 0; i++) {
                }
            } else {
                fullAddition(result, q, t, c);
                k[0] -= 1;
            }
            std::memcpy(result, t, sizeof t);
        }
        for (int i = 0; i < 4; i++) k[i] = (k[i] >> 1) | (i < 3 ? k[i + 1] << 63 : 0);
        doubling(q, t, c);
        std::memcpy(q, t, sizeof t);
    }
    std::memcpy(out, result, sizeof result);
}

// scalar = 2^e as six words (e < 192).
void powerOfTwo(uint32_t scalar[6], uint32_t e) {
    std::memset(scalar, 0, 6 * sizeof(uint32_t));
    scalar[e / 32] = 1u << (e % 32);
}

// Comb shape for the bit length t of p: a = ceil(t / 8) bits per tooth, b = ceil(a / 4) per row.
struct CombShape {
    uint32_t a, b;
    explicit CombShape(const Curve &c) {
        const uint32_t t = vc::bignum::bitLength(&c.p.n);
        a = (t + 7) / 8;
        b = (a + 3) / 4;
    }
};

uint32_t *entry(uint32_t *table, int row, int index) { return table + (row * 256 + index) * 18; }
const uint32_t *entry(const uint32_t *table, int row, int index) {
    return table + (row * 256 + index) * 18;
}

uint32_t scalarBit(const uint32_t scalar[6], uint32_t i) {
    return i < 192 ? (scalar[i / 32] >> (i % 32)) & 1 : 0;
}

}  // namespace

extern "C" {

void ZENOR_V1_AffineToProjectiveGFp(const uint32_t affine[12], uint32_t projective[18],
                                    const uint32_t curve[18]) {
    const Curve c(curve);
    Temp x, y, y2;
    load(x, affine), load(y, affine + 6);
    addMod(y2.get(), y.get(), y.get(), c);
    uint32_t r[18];
    store(r, x.get());
    store(r + 6, y2.get());
    std::memset(r + 12, 0, 6 * sizeof(uint32_t));
    r[12] = 1;
    std::memcpy(projective, r, sizeof r);
}

void ZENOR_V1_ProjectiveToAffineGFp(const uint32_t projective[18], uint32_t affine[12],
                                    const uint32_t curve[18]) {
    const Curve c(curve);
    Temp X, Y, Z, Z2, Z3, I, x, y, t;
    load(X, projective), load(Y, projective + 6), load(Z, projective + 12);
    EN_Mod_Sqr(Z2.get(), Z.get(), &c.p.n);
    EN_Mod_Inv(I.get(), Z2.get(), &c.p.n);
    mulMod(x.get(), X.get(), I.get(), c);
    mulMod(Z3.get(), Z2.get(), Z.get(), c);
    addMod(t.get(), Z3.get(), Z3.get(), c);
    EN_Mod_Inv(I.get(), t.get(), &c.p.n);
    mulMod(y.get(), Y.get(), I.get(), c);
    store(affine, x.get());
    store(affine + 6, y.get());
}

void ZENOR_V1_DoublingProjective(const uint32_t point[18], uint32_t out[18], const uint32_t curve[18]) {
    doubling(point, out, Curve(curve));
}

void ZENOR_V1_AdditionProjective(const uint32_t p0[18], const uint32_t p1[18], uint32_t out[18],
                                 const uint32_t curve[18]) {
    addition(p0, p1, out, Curve(curve));
}

void ZENOR_V1_FullAdditionProjective(const uint32_t p0[18], const uint32_t p1[18], uint32_t out[18],
                                     const uint32_t curve[18]) {
    fullAddition(p0, p1, out, Curve(curve));
}

void ZENOR_V1_negativeProjective(const uint32_t point[18], uint32_t out[18], const uint32_t curve[18]) {
    negative(point, out, Curve(curve));
}

void ZENOR_V1_SubtractionProjective(const uint32_t p0[18], const uint32_t p1[18], uint32_t out[18],
                                    const uint32_t curve[18]) {
    subtraction(p0, p1, out, Curve(curve));
}

void ZENOR_V1_psmulProjective(const uint32_t point[18], const uint32_t scalar[6], uint32_t out[18],
                              const uint32_t curve[18]) {
    signedBinary(point, scalar, out, Curve(curve));
}

void ZENOR_V1_ScalarMultiplicationProjective(const uint32_t point[18], const uint32_t scalar[6],
                                             uint32_t result[18], const uint32_t curve[18]) {
    const Curve c(curve);
    uint32_t r[18] = {}, t[18];
    int top = 191;
    while (top >= 0 && scalarBit(scalar, uint32_t(top)) == 0) top--;
    for (int i = top; i >= 0; i--) {
        if (i != top) {
            doubling(r, t, c);
            std::memcpy(r, t, sizeof t);
        }
        if (scalarBit(scalar, uint32_t(i))) {
            fullAddition(r, point, t, c);
            std::memcpy(r, t, sizeof t);
        }
    }
    std::memcpy(result, r, sizeof r);
}

void ZENOR_V1_precompute_G_Array(uint32_t *table, const uint32_t G[18], const uint32_t curve[18]) {
    const Curve c(curve);
    const CombShape shape(c);
    uint32_t teeth[8][18], step[6];
    powerOfTwo(step, shape.a);
    copyPoint(teeth[0], G);
    for (int j = 1; j < 8; j++) signedBinary(teeth[j - 1], step, teeth[j], c);
    for (int row = 0; row < 4; row++) setInfinity(entry(table, row, 0));
    for (int i = 1; i < 256; i++) {
        uint32_t acc[18], t[18];
        setInfinity(acc);
        for (int j = 0; j < 8; j++) {
            if ((i >> j) & 1) {
                fullAddition(acc, teeth[j], t, c);
                std::memcpy(acc, t, sizeof t);
            }
        }
        std::memcpy(entry(table, 0, i), acc, sizeof acc);
    }
    powerOfTwo(step, shape.b);
    for (int row = 1; row < 4; row++)
        for (int i = 1; i < 256; i++) signedBinary(entry(table, row - 1, i), step, entry(table, row, i), c);
}

void fixedBased_Comb_MethodProjective(const uint32_t *table, const uint32_t scalar[6],
                                      uint32_t result[18], const uint32_t curve[18]) {
    const Curve c(curve);
    const CombShape shape(c);
    uint32_t q[18], t[18];
    setInfinity(q);
    for (int i = int(shape.b) - 1; i >= 0; i--) {
        doubling(q, t, c);
        std::memcpy(q, t, sizeof t);
        for (uint32_t row = 0; row < 4; row++) {
            const uint32_t offset = row * shape.b + uint32_t(i);
            if (offset >= shape.a) continue;
            int index = 0;
            for (uint32_t j = 0; j < 8; j++) index |= int(scalarBit(scalar, j * shape.a + offset)) << j;
            if (index == 0) continue;
            fullAddition(q, entry(table, int(row), index), t, c);
            std::memcpy(q, t, sizeof t);
        }
    }
    // Bits from 8a up lie beyond the teeth: add (k >> 8a) * 2^(8a) G, with 2^(8a) G = 2^a G_7.
    uint32_t high[6] = {}, step[6], top[18], part[18];
    const uint32_t shift = 8 * shape.a;
    for (uint32_t i = shift; i < 192; i++) high[(i - shift) / 32] |= scalarBit(scalar, i) << ((i - shift) % 32);
    if ((high[0] | high[1] | high[2] | high[3] | high[4] | high[5]) != 0) {
        powerOfTwo(step, shape.a);
        signedBinary(entry(table, 0, 128), step, top, c);
        signedBinary(top, high, part, c);
        fullAddition(q, part, t, c);
        std::memcpy(q, t, sizeof t);
    }
    std::memcpy(result, q, sizeof q);
}

void PrintBigNumber(const uint32_t number[6]) {
    for (int byte = 20; byte >= 0; byte--) std::printf("%02X", (number[byte / 4] >> (8 * (byte % 4))) & 0xFF);
    std::printf("\n");
}

void PrintECPointProjective(const uint32_t point[18]) {
    static const char *const labels[3] = {"x : ", "y : ", "z : "};
    for (int c = 0; c < 3; c++) {
        std::printf("%s", labels[c]);
        PrintBigNumber(point + 6 * c);
    }
}

}  // extern "C"
