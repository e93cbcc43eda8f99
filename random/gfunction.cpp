// The SHA-1 G-function generators of X9.31 and X9.62 / FIPS 186: each iteration compresses a
// 20-byte value followed by 44 zero bytes with E_MySHA1 and advances XKEY by the result plus 1.
// E_X9_31RandomBytes, which needs a fresh prime per call, is built on x931Loop in primes/.
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
// Longest X9.62 request: 2400 bits, 15 blocks.
constexpr uint32_t kMaxBlocks = 16;

// |a| cut to 160 bits (five words).
void cut160(ENUM *a) {
    if (a->length > 5) a->length = 5;
}

// The 20 big-endian bytes of a number below 2^160 (zero top words are skipped).
void toBytes20(const ENUM *a, uint8_t *out) {
    uint8_t tmp[kBlock] = {};
    const uint32_t n = EN_ENUMToBytes(a, tmp);
    std::memset(out, 0, kBlock);
    std::memcpy(out + kBlock - n, tmp, n);
    secure_wipe_object(tmp);
}

// G(v): one SHA-1 compression of v's 20 bytes and 44 zeros.
void gFunction(const ENUM *v, uint8_t *digest) {
    uint8_t block[64] = {};
    toBytes20(v, block);
    E_MySHA1(digest, block);
    secure_wipe_object(block);
}

// xkey = (xkey + x + 1) cut to 160 bits.
void advance(ENUM *xkey, const ENUM *x) {
    Temp s, one, t;
    EN_Add(s.get(), xkey, x);
    EN_U32ToENUM(one.get(), 1);
    EN_Add(t.get(), s.get(), one.get());
    cut160(t.get());
    EN_Copy(xkey, t.get());
    secure_wipe_object(s.w);
    secure_wipe_object(t.w);
}

void constantSeed(ENUM *xseed, void *arg) { EN_Copy(xseed, static_cast<const ENUM *>(arg)); }

// k = (v mod (order - 1)) + 1 as minimal bytes.
void reduceToOrder(const uint8_t *v, uint32_t vLen, const ENUM *order, uint8_t *out,
                   uint32_t *outLen) {
    Temp k, m, r;
    EN_BytesToENUM(k.get(), v, vLen);
    EN_SubU32(m.get(), order, 1);
    vc::bignum::trim(m.get());
    EN_Mod(r.get(), k.get(), m.get());
    vc::bignum::trim(r.get());
    EN_U32ToENUM(m.get(), 1);
    EN_Add(k.get(), r.get(), m.get());
    *outLen = EN_ENUMToBytes(k.get(), out);
}

// The X9.62 loop on caller XKEY bytes, written back as minimal bytes.
void x962Bytes(uint8_t *out, uint32_t *outLen, uint8_t *xkey, uint32_t *xkeyLen,
               const uint8_t *xseed, uint32_t xseedLen, const uint8_t *order, uint32_t orderLen,
               uint32_t bits) {
    Temp key, seed, q;
    EN_BytesToENUM(key.get(), xkey, *xkeyLen);
    cut160(key.get());
    EN_BytesToENUM(seed.get(), xseed, xseed == nullptr ? 0 : xseedLen);
    EN_BytesToENUM(q.get(), order, orderLen);
    if (bits > kMaxBlocks * 160) bits = kMaxBlocks * 160;
    uint8_t buf[kMaxBlocks * kBlock];
    const uint32_t blocks = x962Loop(buf, bits, key.get(), xseed == nullptr ? nullptr : seed.get());
    reduceToOrder(buf, blocks * kBlock, q.get(), out, outLen);
    vc::bignum::trim(key.get());
    *xkeyLen = EN_ENUMToBytes(key.get(), xkey);
    secure_wipe_object(buf);
    secure_wipe_object(key.w);
    secure_wipe_object(seed.w);
}

}  // namespace

void x931Loop(uint8_t *out, uint32_t len, ENUM *xkey, const ENUM *q, SeedSource seed, void *arg) {
    const uint32_t iterations = (8 * len + 159) / 160;
    Temp xseed, xval, x, g;
    uint8_t digest[kBlock], block[kBlock];
    for (uint32_t i = 0; i < iterations; i++) {
        seed(xseed.get(), arg);
        EN_Add(xval.get(), xkey, xseed.get());
        cut160(xval.get());
        gFunction(xval.get(), digest);
        EN_BytesToENUM(g.get(), digest, kBlock);
        EN_Mod(x.get(), g.get(), q);
        bignum::trim(x.get());
        advance(xkey, x.get());
        toBytes20(xkey, block);
        const uint32_t n = len - i * kBlock < kBlock ? len - i * kBlock : kBlock;
        std::memcpy(out + i * kBlock, block, n);
    }
    for (Temp *t : {&xseed, &xval, &x, &g}) secure_wipe_object(t->w);
    secure_wipe_object(digest);
    secure_wipe_object(block);
}

uint32_t x962Loop(uint8_t *out, uint32_t bits, ENUM *xkey, const ENUM *xseed) {
    const uint32_t iterations = (bits + 159) / 160;
    Temp xval, r;
    for (uint32_t i = 0; i < iterations; i++) {
        if (xseed != nullptr) {
            EN_Add(xval.get(), xkey, xseed);
            cut160(xval.get());
        } else {
            EN_Copy(xval.get(), xkey);
        }
        gFunction(xval.get(), out + i * kBlock);
        EN_BytesToENUM(r.get(), out + i * kBlock, kBlock);
        advance(xkey, r.get());
    }
    secure_wipe_object(xval.w);
    secure_wipe_object(r.w);
    return iterations;
}

}  // namespace vc::random

using namespace vc::random;

extern "C" {

void E_X9_31RandomBytes2(uint8_t *out, uint32_t len, uint8_t *xkey, uint32_t *xkeyLen,
                         const uint8_t *xseed, uint32_t xseedLen, const uint8_t *q, uint32_t qLen) {
    Temp key, seed, modulus;
    EN_BytesToENUM(key.get(), xkey, *xkeyLen);
    cut160(key.get());
    EN_BytesToENUM(seed.get(), xseed, xseed == nullptr ? 0 : xseedLen);
    EN_BytesToENUM(modulus.get(), q, qLen);
    x931Loop(out, len, key.get(), modulus.get(), constantSeed, seed.get());
    toBytes20(key.get(), xkey);
    *xkeyLen = kBlock;
    vc::secure_wipe_object(key.w);
    vc::secure_wipe_object(seed.w);
}

void E_X9_62RandomBytes(uint8_t *out, uint32_t *outLen, uint8_t *xkey, uint32_t *xkeyLen,
                        const uint8_t *order, uint32_t orderLen, uint32_t bits) {
    x962Bytes(out, outLen, xkey, xkeyLen, nullptr, 0, order, orderLen, bits);
}

void E_X9_62RandomBytes_Original(uint8_t *out, uint32_t len, uint8_t *xkey, uint32_t *xkeyLen) {
    Temp key;
    EN_BytesToENUM(key.get(), xkey, *xkeyLen);
    cut160(key.get());
    uint8_t block[kBlock];
    for (uint32_t done = 0; done < len; done += kBlock) {
        x962Loop(block, 160, key.get(), nullptr);
        std::memcpy(out + done, block, len - done < kBlock ? len - done : kBlock);
    }
    vc::bignum::trim(key.get());
    *xkeyLen = EN_ENUMToBytes(key.get(), xkey);
    vc::secure_wipe_object(key.w);
    vc::secure_wipe_object(block);
}

void E_GenerateRandom_X962(uint32_t curve, uint8_t *out, uint32_t *outLen, const uint8_t *order,
                           uint32_t orderLen) {
    Temp key;
    EN_Random(key.get(), 160, 1, 1);
    uint8_t xkey[kBlock];
    uint32_t xkeyLen = EN_ENUMToBytes(key.get(), xkey);
    x962Bytes(out, outLen, xkey, &xkeyLen, nullptr, 0, order, orderLen, curve == 7 ? 161 : 163);
    vc::secure_wipe_object(xkey);
    vc::secure_wipe_object(key.w);
}

void E_ECKCDSA_RandomBytes(uint8_t *out, uint32_t *outLen, uint8_t *xkey, uint32_t *xkeyLen,
                           const uint8_t *xseed, uint32_t xseedLen, const uint8_t *order,
                           uint32_t orderLen, uint32_t bits) {
    x962Bytes(out, outLen, xkey, xkeyLen, xseed, xseedLen, order, orderLen, bits);
}

}  // extern "C"
