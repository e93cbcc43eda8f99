// Arithmetic modulo an odd p below 2^192 in Montgomery form, three 64-bit limbs, every result
// fully reduced. No operation branches on or indexes by an operand's value, so the same code
// serves private scalars.
#pragma once

#include <cstdint>

namespace vc::ecc {

using u64 = uint64_t;
using u128 = unsigned __int128;

// An element, least significant limb first; in Montgomery form (x * 2^192 mod p) unless a
// comment says otherwise.
struct Fe {
    u64 v[3];
};

struct Field {
    Fe p;
    u64 n0;  // -p^-1 mod 2^64
    Fe r2;   // 2^384 mod p
    Fe one;  // 2^192 mod p, the Montgomery form of 1
    Fe pMinus2;
};


// Subtracts p from the four-limb value (t, top) when it is at least p, without branches.
inline constexpr void reduceOnce(const Field &f, Fe &r, const u64 t[3], u64 top) {
    u64 d[3], borrow = 0;
    for (int i = 0; i < 3; i++) {
        const u128 x = u128(t[i]) - f.p.v[i] - borrow;
        d[i] = u64(x);
        borrow = u64(x >> 64) & 1;
    }
    // Keep t when the subtraction borrowed past the top limb.
    const u64 keep = 0 - u64(borrow > top);
    for (int i = 0; i < 3; i++) r.v[i] = (t[i] & keep) | (d[i] & ~keep);
}

inline constexpr void fieldMul(const Field &f, Fe &r, const Fe &a, const Fe &b) {
    u64 t0 = 0, t1 = 0, t2 = 0, t3 = 0;
    for (int i = 0; i < 3; i++) {
        const u64 bi = b.v[i];
        u128 x = u128(a.v[0]) * bi + t0;
        t0 = u64(x);
        x = u128(a.v[1]) * bi + t1 + u64(x >> 64);
        t1 = u64(x);
        x = u128(a.v[2]) * bi + t2 + u64(x >> 64);
        t2 = u64(x);
        x = u128(t3) + u64(x >> 64);
        t3 = u64(x);
        const u64 t4 = u64(x >> 64);
        const u64 m = t0 * f.n0;
        x = u128(m) * f.p.v[0] + t0;
        x = u128(m) * f.p.v[1] + t1 + u64(x >> 64);
        t0 = u64(x);
        x = u128(m) * f.p.v[2] + t2 + u64(x >> 64);
        t1 = u64(x);
        x = u128(t3) + u64(x >> 64);
        t2 = u64(x);
        t3 = t4 + u64(x >> 64);
    }
    const u64 t[3] = {t0, t1, t2};
    reduceOnce(f, r, t, t3);
}

inline constexpr void fieldAdd(const Field &f, Fe &r, const Fe &a, const Fe &b) {
    u64 t[3], carry = 0;
    for (int i = 0; i < 3; i++) {
        const u128 x = u128(a.v[i]) + b.v[i] + carry;
        t[i] = u64(x);
        carry = u64(x >> 64);
    }
    reduceOnce(f, r, t, carry);
}

inline void fieldSub(const Field &f, Fe &r, const Fe &a, const Fe &b) {
    u64 t[3], borrow = 0;
    for (int i = 0; i < 3; i++) {
        const u128 x = u128(a.v[i]) - b.v[i] - borrow;
        t[i] = u64(x);
        borrow = u64(x >> 64) & 1;
    }
    const u64 mask = 0 - borrow;
    u64 carry = 0;
    for (int i = 0; i < 3; i++) {
        const u128 x = u128(t[i]) + (f.p.v[i] & mask) + carry;
        r.v[i] = u64(x);
        carry = u64(x >> 64);
    }
}

inline void fieldNeg(const Field &f, Fe &r, const Fe &a) {
    const Fe zero{};
    fieldSub(f, r, zero, a);
}

// All-ones when a is zero, else zero.
inline u64 fieldZeroMask(const Fe &a) {
    const u64 x = a.v[0] | a.v[1] | a.v[2];
    return 0 - ((~x & (x - 1)) >> 63);
}
inline bool fieldIsZero(const Fe &a) { return (a.v[0] | a.v[1] | a.v[2]) == 0; }
inline bool fieldEqual(const Fe &a, const Fe &b) {
    return ((a.v[0] ^ b.v[0]) | (a.v[1] ^ b.v[1]) | (a.v[2] ^ b.v[2])) == 0;
}

// r = a where mask is all ones, else r unchanged.
inline void fieldSelect(Fe &r, const Fe &a, u64 mask) {
    for (int i = 0; i < 3; i++) r.v[i] ^= (r.v[i] ^ a.v[i]) & mask;
}

// The field of an odd p of at least 3 (a plain value).
constexpr Field makeField(const Fe &p) {
    Field f{};
    f.p = p;
    // Newton's iteration doubles the correct low bits of p^-1 mod 2^64 at each step.
    u64 inv = 1;
    for (int i = 0; i < 7; i++) inv *= 2 - p.v[0] * inv;
    f.n0 = 0 - inv;
    // 2^192 and 2^384 mod p by doubling 1: fieldAdd reduces any sum of two values below p.
    Fe x{{1, 0, 0}};
    for (int i = 0; i < 384; i++) {
        if (i == 192) f.one = x;
        fieldAdd(f, x, x, x);
    }
    f.r2 = x;
    f.pMinus2 = p;
    u64 borrow = 2;
    for (int i = 0; i < 3; i++) {
        const u64 v = f.pMinus2.v[i];
        f.pMinus2.v[i] = v - borrow;
        borrow = v < borrow;
    }
    return f;
}

// Montgomery form of a plain value below 2^192 (reduced modulo p on the way).
inline void fieldToMont(const Field &f, Fe &r, const Fe &plain) { fieldMul(f, r, plain, f.r2); }
inline void fieldFromMont(const Field &f, Fe &r, const Fe &a) {
    const Fe one{{1, 0, 0}};
    fieldMul(f, r, a, one);
}

// r = a^-1 (0 for 0) by Fermat's little theorem with a fixed window over the public exponent
// p - 2, so the time does not depend on a.
void fieldInv(const Field &f, Fe &r, const Fe &a);

// Big-endian octets (at most 24) to a plain value.
Fe feFromBytes(const uint8_t *in, uint32_t n);
// Little-endian 32-bit words (at most 6) to a plain value and back.
Fe feFromWords(const uint32_t *in, int n);
void feToWords(const Fe &a, uint32_t *out, int n);

}  // namespace vc::ecc
