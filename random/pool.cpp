// The MD5 entropy pools: RAND_Bytes on the first, E_GenerateRandom_RSA on the second.
#include "common/wipe.h"
#include "hash/md5.h"
#include "random/random_internal.h"

#include <vorelcrypto/random.h>

namespace vc::random {
namespace {

Pool g_entropy{{}, {}, 0, 0, 0, true, 0};
Pool g_rsa{{}, {}, 0, 0, 0, true, 0};

// Copies j pool bytes from p into dst, wrapping at `wrap`.
void gather(const Pool &pool, int32_t p, int32_t wrap, uint8_t *dst, int32_t j) {
    for (int32_t i = 0; i < j; i++) {
        if (p >= wrap) p = 0;
        dst[i] = pool.bytes[p++];
    }
}

// First-use seeding: 88 bytes of seed material (from the operating system) and the time.
void seedPool(Pool &pool) {
    uint8_t seed[88] = {};
    osRandom(seed, sizeof seed);
    poolMix(pool, seed, sizeof seed);
    uint32_t t = timeSeconds();
    poolMix(pool, reinterpret_cast<const uint8_t *>(&t), 4);
    secure_wipe(seed, sizeof seed);
}

// A pool copied into a child by fork() mixes in the child's process id and fresh entropy, so
// that parent and child part ways before either draws again.
void mixAfterFork(Pool &pool, const uint8_t *fresh) { poolMix(pool, fresh, kForkSeedLen); }

}  // namespace

Pool &entropyPool() { return g_entropy; }
Pool &rsaPool() { return g_rsa; }

void poolMix(Pool &pool, const uint8_t *in, int32_t len) {
    int32_t p = pool.index, f = pool.filled;
    pool.index += len;
    if (pool.index >= kPoolSize + 1) {
        pool.index %= kPoolSize;
        f = kPoolSize;
    } else if (f < kPoolSize && pool.index > f) {
        f = pool.index;
    }
    hash::Md5Context ctx;
    uint8_t window[16];
    for (int32_t done = 0; done < len; done += 16) {
        int32_t j = len - done < 16 ? len - done : 16;
        gather(pool, p, kPoolSize, window, j);
        hash::md5Init(&ctx);
        hash::md5Update(&ctx, pool.md, 16);
        hash::md5Update(&ctx, window, uint32_t(j));
        hash::md5Update(&ctx, in + done, uint32_t(j));
        hash::md5Final(&ctx, pool.md);
        for (int32_t i = 0; i < j; i++) {
            if (p >= kPoolSize) {
                p = 0;
                f = kPoolSize;
            }
            pool.bytes[p++] ^= pool.md[i];
        }
    }
    pool.filled = f;
    secure_wipe_object(ctx);
    secure_wipe_object(window);
}

void poolOutput(Pool &pool, uint8_t *out, int32_t len) {
    refreshState(pool, seedPool, mixAfterFork);
    int32_t p = pool.index;
    const int32_t f = pool.filled;
    pool.index += len;
    if (pool.index > f) pool.index %= f;
    hash::Md5Context ctx;
    uint8_t window[8];
    for (int32_t done = 0; done < len; done += 8) {
        int32_t j = len - done < 8 ? len - done : 8;
        gather(pool, p, f, window, j);
        hash::md5Init(&ctx);
        hash::md5Update(&ctx, pool.md + 8, 8);
        hash::md5Update(&ctx, out + done, uint32_t(j));
        hash::md5Update(&ctx, window, uint32_t(j));
        hash::md5Final(&ctx, pool.md);
        for (int32_t i = 0; i < j; i++) {
            if (p >= f) p = 0;
            pool.bytes[p++] ^= pool.md[i];
            out[done + i] = pool.md[8 + i];
        }
    }
    hash::md5Init(&ctx);
    hash::md5Update(&ctx, reinterpret_cast<const uint8_t *>(&pool.counter), 4);
    pool.counter++;
    hash::md5Update(&ctx, pool.md, 16);
    hash::md5Final(&ctx, pool.md);
    secure_wipe_object(ctx);
    secure_wipe_object(window);
}

void RAND_Seed(const uint8_t *in, int32_t len) {
    std::lock_guard<std::mutex> lock(generatorLock(Generator::kEntropyPool));
    poolMix(g_entropy, in, len);
}

}  // namespace vc::random

using namespace vc::random;

extern "C" {

void RAND_Bytes(uint8_t *out, int32_t len) {
    std::lock_guard<std::mutex> lock(generatorLock(Generator::kEntropyPool));
    poolOutput(g_entropy, out, len);
}

void E_GenerateSeed_RSA(const uint8_t *in, int32_t len) {
    std::lock_guard<std::mutex> lock(generatorLock(Generator::kRsaPool));
    poolMix(g_rsa, in, len);
}

void E_GenerateRandom_RSA(uint8_t *out, int32_t len) {
    std::lock_guard<std::mutex> lock(generatorLock(Generator::kRsaPool));
    poolOutput(g_rsa, out, len);
}

}  // extern "C"
