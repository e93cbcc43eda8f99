// Inversion and the conversions between octets, words and limbs.
#include "ecc/gfp.h"

namespace vc::ecc {

void fieldInv(const Field &f, Fe &r, const Fe &a) {
    Fe table[16];
    table[0] = f.one;
    for (int i = 1; i < 16; i++) fieldMul(f, table[i], table[i - 1], a);
    Fe acc = f.one;
    for (int nibble = 47; nibble >= 0; nibble--) {
        for (int s = 0; s < 4; s++) fieldMul(f, acc, acc, acc);
        const unsigned d = unsigned(f.pMinus2.v[nibble / 16] >> (4 * (nibble % 16))) & 15;
        fieldMul(f, acc, acc, table[d]);  // d comes from the public exponent
    }
    r = acc;
}

Fe feFromBytes(const uint8_t *in, uint32_t n) {
    Fe r{};
    for (uint32_t i = 0; i < n; i++) {
        const uint32_t bit = 8 * (n - 1 - i);
        r.v[bit / 64] |= u64(in[i]) << (bit % 64);
    }
    return r;
}

Fe feFromWords(const uint32_t *in, int n) {
    Fe r{};
    for (int i = 0; i < n; i++) r.v[i / 2] |= u64(in[i]) << (32 * (i % 2));
    return r;
}

void feToWords(const Fe &a, uint32_t *out, int n) {
    for (int i = 0; i < n; i++) out[i] = uint32_t(a.v[i / 2] >> (32 * (i % 2)));
}

}  // namespace vc::ecc
