// HAS-160 expansion of a seed to any width, and the EC-KCDSA key and nonce generator built on it.
#include "bignum/bn_internal.h"
#include "common/wipe.h"
#include "random/random_internal.h"

#include <vorelcrypto/hash.h>
#include <vorelcrypto/random.h>

#include <cstring>

namespace vc::random {

using bignum::Temp;

namespace {

constexpr uint32_t kBlock = 20;
constexpr uint32_t kMaxBlocks = 16;
constexpr uint32_t kWorkBits = 165;

// a = a mod 2^bits.
void cutBits(ENUM *a, uint32_t bits) {
    if (uint32_t(a->length) * 32 > bits) EN_MaskBit(a, int32_t(bits));
    bignum::trim(a);
}

}  // namespace

void eckcdsaFromXkey(const ENUM *xkey, const uint8_t *seed, uint32_t seedLen, const ENUM *q,
                     uint32_t b, uint8_t *out, uint32_t *outLen) {
    Temp xseed, xval, e, k;
    if (seed != nullptr && seedLen != 0)
        E_HAS160_Expand(xseed.get(), seed, seedLen, kWorkBits);
    EN_Add(xval.get(), xkey, xseed.get());
    cutBits(xval.get(), kWorkBits);
    uint8_t bytes[(kWorkBits + 7) / 8];
    const uint32_t n = EN_ENUMToBytes(xval.get(), bytes);
    E_HAS160_Expand(e.get(), bytes, n, 2 * b);
    EN_Mod(k.get(), e.get(), q);
    bignum::trim(k.get());
    *outLen = EN_ENUMToBytes(k.get(), out);
    secure_wipe_object(bytes);
    for (Temp *t : {&xseed, &xval, &e, &k}) secure_wipe_object(t->w);
}

}  // namespace vc::random

extern "C" {

void E_HAS160_Expand(ENUM *out, const uint8_t *in, uint32_t inLen, uint32_t outBits) {
    if (outBits == 0) outBits = 1;
    if (outBits > vc::random::kMaxBlocks * 160) outBits = vc::random::kMaxBlocks * 160;
    const uint32_t m = (outBits - 1) / 160;
    // Block i at offset 20 (m - i): block m is the most significant.
    uint8_t buf[vc::random::kMaxBlocks * vc::random::kBlock];
    Has160Context ctx;
    for (uint32_t i = 0; i <= m; i++) {
        const uint8_t counter = uint8_t(i);
        E_HAS160_Init(&ctx);
        E_HAS160_Update(&ctx, in, inLen);
        E_HAS160_Update(&ctx, &counter, 1);
        E_HAS160_Final(&ctx, buf + vc::random::kBlock * (m - i));
    }
    // Only the low outBits bits are read: (outBits + 7) / 8 bytes, so that out receives exactly
    // (outBits + 31) / 32 words. The top byte is cut to the bits that remain.
    const uint32_t bytes = (outBits + 7) / 8;
    uint8_t *low = buf + vc::random::kBlock * (m + 1) - bytes;
    if (outBits % 8 != 0) low[0] &= uint8_t(0xffu >> (8 - outBits % 8));
    EN_BytesToENUM(out, low, bytes);
    vc::secure_wipe_object(buf);
    vc::secure_wipe_object(ctx);
}

void E_GenerateRandom_ECKCDSA(uint32_t curve, uint8_t *out, uint32_t *outLen, const uint8_t *seed,
                              uint32_t seedLen, const uint8_t *order, uint32_t orderLen) {
    vc::bignum::Temp xkey, q;
    const uint32_t b = (curve == 3 || curve == 5) ? 163 : 161;
    EN_BytesToENUM(q.get(), order, orderLen);
    EN_Random(xkey.get(), vc::random::kWorkBits, 1, 1);
    // XKEY is local: advancing it after the output would have no lasting effect, so it is not.
    vc::random::eckcdsaFromXkey(xkey.get(), seed, seedLen, q.get(), b, out, outLen);
    vc::secure_wipe_object(xkey.w);
}

}  // extern "C"
