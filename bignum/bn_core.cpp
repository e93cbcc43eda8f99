// ENUM life cycle, copying, byte conversion, bit access and comparison.
#include "bignum/bn_internal.h"

#include <array>
#include <cstdlib>

namespace vc::bignum {
namespace {

// Entry b = number of significant bits of the byte b.
constexpr std::array<uint8_t, 256> kByteBits = [] {
    std::array<uint8_t, 256> t{};
    for (int b = 1; b < 256; b++) t[b] = uint8_t(t[b >> 1] + 1);
    return t;
}();

uint32_t wordBits(uint32_t w) {
    if (w >= 0x10000u) return w >= 0x1000000u ? kByteBits[w >> 24] + 24u : kByteBits[w >> 16] + 16u;
    return w >= 0x100u ? kByteBits[w >> 8] + 8u : kByteBits[w];
}

}  // namespace

uint32_t bitLength(const ENUM *a) {
    if (a->length <= 0) return 0;
    return uint32_t(a->length - 1) * 32 + wordBits(a->words[a->length - 1]);
}

void loadTemp(Temp &t, const ENUM *src) {
    assert(src->length <= kTempWords);
    EN_Copy(t.get(), src);
}

}  // namespace vc::bignum

using namespace vc::bignum;

extern "C" {

ENUM *EN_Create(uint32_t n) {
    // One spare byte beyond the record and the array, as the library has always allocated.
    auto *a = static_cast<ENUM *>(calloc(1, sizeof(ENUM) + 1));
    if (a == nullptr) return nullptr;
    a->words = static_cast<uint32_t *>(calloc(size_t(n) * 4 + 1, 1));
    if (a->words == nullptr) {
        free(a);
        return nullptr;
    }
    a->length = int32_t(n);
    return a;
}

void EN_Destroy(ENUM *a) {
    if (a == nullptr) return;
    free(a->words);
    free(a);
}

// Numbers are never grown in place: the record keeps its array and length (callers create a
// number of the needed size instead), so nothing is allocated here.
void EN_Expand(ENUM *, uint32_t) {}

ENUM *EN_Clone(const ENUM *a) {
    ENUM *c = EN_Create(uint32_t(a->length));
    if (c == nullptr) return nullptr;
    EN_Copy(c, a);
    return c;
}

void EN_Copy(ENUM *dst, const ENUM *src) {
    dst->sign = src->sign;
    dst->length = src->length;
    if (dst->words != src->words && src->length > 0)
        memmove(dst->words, src->words, size_t(src->length) * 4);
}

void EN_U32ToENUM(ENUM *a, uint32_t w) {
    a->sign = 0;
    a->length = 1;
    a->words[0] = w;
}

uint32_t EN_ENUMToBytes(const ENUM *a, uint8_t *out) {
    ENUM t = *a;  // minimal bytes also for an unnormalised number
    trim(&t);
    const uint32_t bytes = (bitLength(&t) + 7) / 8;
    for (uint32_t i = 0; i < bytes; i++) {
        const uint32_t k = bytes - 1 - i;
        out[i] = uint8_t(a->words[k / 4] >> (8 * (k % 4)));
    }
    return bytes;
}

void EN_BytesToENUM(ENUM *a, const uint8_t *in, uint32_t len) {
    const uint32_t n = (len + 3) / 4;
    for (uint32_t i = 0; i < n; i++) a->words[i] = 0;
    for (uint32_t k = 0; k < len; k++) a->words[k / 4] |= uint32_t(in[len - 1 - k]) << (8 * (k % 4));
    a->sign = 0;
    a->length = int32_t(n);
    trim(a);
}

uint32_t EN_GetFilledBitNum(ENUM *a) {
    if (a->length == 1 && a->words[0] == 0) a->length = 0;
    return bitLength(a);
}

int32_t EN_IsBitSet(const ENUM *a, int32_t i) {
    if (i < 0 || i / 32 >= a->length) return 0;
    return int32_t((a->words[i / 32] >> (i % 32)) & 1);
}

int32_t EN_MaskBit(ENUM *a, int32_t i) {
    const int32_t w = i / 32, b = i % 32;
    if (w >= a->length) return 0;
    if (b != 0) {
        a->length = w + 1;
        a->words[w] &= (1u << b) - 1;
        trim(a);
    } else {
        a->length = w;  // a whole-word cut is not trimmed further
    }
    return 1;
}

int32_t EN_UComp(const ENUM *a, const ENUM *b) {
    if (a->length != b->length) return a->length - b->length;
    for (int32_t i = a->length - 1; i >= 0; i--)
        if (a->words[i] != b->words[i]) return a->words[i] > b->words[i] ? 1 : -1;
    return 0;
}

int32_t EN_Comp(const ENUM *a, const ENUM *b) {
    if (a->sign == 0 && b->sign == 1) return 1;
    if (a->sign == 1 && b->sign == 0) return -1;
    const int32_t c = EN_UComp(a, b);
    const int32_t m = c > 0 ? 1 : (c < 0 ? -1 : 0);
    return a->sign == 1 ? -m : m;
}

}  // extern "C"
