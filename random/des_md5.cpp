// The DES generator, the MD5 hash-chain generator and the byte and ENUM front ends over them.
#include "common/wipe.h"
#include "hash/md5.h"
#include "random/random_internal.h"

#include <vorelcrypto/cipher.h>
#include <vorelcrypto/random.h>

#include <cstring>

namespace vc::random {

const uint8_t kDesKey1[8] = {0x3b, 0x8e, 0x51, 0xc7, 0x29, 0xf4, 0x6a, 0x1d};
const uint8_t kDesKey2[8] = {0xa6, 0x0d, 0x73, 0xe2, 0x95, 0x4c, 0xb8, 0x17};

namespace {

// The schedules of kDesKey1 and kDesKey2, precomputed so that no key is scheduled at run time;
// a test checks them against E_DES_KeySchedule.
const DesKeySchedule kSchedule1 = {{
    0xf80c8c50, 0x140c707c, 0xa4f0f86c, 0x808008a0, 0x80f8a088, 0xbcf00c6c, 0x7474208c, 0x0868dce8,
    0xe0349464, 0x94a44ca8, 0x94a484c8, 0xec002cd8, 0xec64ec08, 0x386c68d8, 0x503ccc74, 0x5c28606c,
    0xb8f07014, 0x84b08cb0, 0x04f8b898, 0x8cc404a8, 0xe454a08c, 0x50b01cec, 0x387484c0, 0x9c30cce0,
    0xf4a09418, 0x24846ce8, 0x8424e0c0, 0x5cac6cd8, 0x7c7ccca0, 0x781040d8, 0x40d030b4, 0x8478bc90,
}};
const DesKeySchedule kSchedule2 = {{
    0xb0003458, 0x8c7818f4, 0xe8f4c830, 0xd0941044, 0x180824d8, 0x4c50c87c, 0x6cb41814, 0x20f4fc00,
    0x002074d4, 0xd498009c, 0xbcdc88a8, 0xa090a818, 0x20647c98, 0x1cbc1064, 0x741804a0, 0x44e0ec2c,
    0x08687470, 0xbc6800fc, 0x541c883c, 0x20c8f428, 0x804454e4, 0x907c14c4, 0x3088842c, 0xe850e8b0,
    0xc8e0f80c, 0x84ec3440, 0x041860fc, 0xc8e040fc, 0xe8dc888c, 0xb020d400, 0x1c18a8b4, 0x480c6898,
}};

DesState g_des{{}, {}, true, 0};
ChainState g_chain{{}, true, 0};

void storeWords(uint8_t *dst, uint32_t w0, uint32_t w1) {
    std::memcpy(dst, &w0, 4);
    std::memcpy(dst + 4, &w1, 4);
}

void xor8(uint8_t *dst, const uint8_t *src) {
    for (int i = 0; i < 8; i++) dst[i] ^= src[i];
}

// A from the time, B from the process id and clock; 32 bytes of the operating system's
// generator are folded into A and B on top.
void seedDes(DesState &st) {
    uint32_t t = timeSeconds();
    storeWords(st.a, t ^ 0x5c13e7a9u, t ^ 0x2d94b6f0u);
    storeWords(st.b, processId(), processClockMs());
    uint8_t extra[32] = {};
    osRandom(extra, sizeof extra);
    for (int i = 0; i < 32; i += 16) {
        xor8(st.a, extra + i);
        xor8(st.b, extra + i + 8);
    }
    secure_wipe(extra, sizeof extra);
}

// One step: A ^= B, A = DES1(A), B = DES2(B), B ^= A.
void desStep(DesState &st) {
    xor8(st.a, st.b);
    E_DES_Encrypt(st.a, &kSchedule1);
    E_DES_Encrypt(st.b, &kSchedule2);
    xor8(st.b, st.a);
}

// S from the screen size (0 here), the process id and the tick count, hashed together with 32
// bytes of the operating system's generator.
void seedChain(ChainState &st) {
    const uint16_t pid = uint16_t(processId());
    const uint32_t k = tickCount();
    const uint16_t width = 0, height = 0;
    uint8_t seed[4 + 32] = {};
    const uint16_t lo = uint16_t(width ^ pid ^ (k & 0xffff));
    const uint16_t hi = uint16_t(height ^ pid ^ (k >> 16));
    std::memcpy(seed, &lo, 2);
    std::memcpy(seed + 2, &hi, 2);
    osRandom(seed + 4, 32);
    hash::md5(st.s, seed, sizeof seed);
    secure_wipe(seed, sizeof seed);
}

// A state copied into a child by fork(): the child's process id and fresh entropy are folded
// into A and B, so that parent and child part ways.
void mixDes(DesState &st, const uint8_t *fresh) {
    for (uint32_t i = 0; i < kForkSeedLen; i++) {
        if (i % 16 < 8)
            st.a[i % 8] ^= fresh[i];
        else
            st.b[i % 8] ^= fresh[i];
    }
}

// A chain copied into a child by fork(): S = MD5(S || process id || fresh entropy).
void mixChain(ChainState &st, const uint8_t *fresh) {
    uint8_t seed[16 + kForkSeedLen];
    std::memcpy(seed, st.s, 16);
    std::memcpy(seed + 16, fresh, kForkSeedLen);
    hash::md5(st.s, seed, sizeof seed);
    secure_wipe(seed, sizeof seed);
}

}  // namespace

DesState &desState() { return g_des; }
ChainState &chainState() { return g_chain; }

}  // namespace vc::random

using namespace vc::random;

extern "C" {

void E_GenerateRandom_DES(uint8_t *out, uint32_t len) {
    std::lock_guard<std::mutex> lock(generatorLock(Generator::kDes));
    DesState &st = g_des;
    refreshState(st, seedDes, mixDes);
    uint8_t oldB[8];
    while (len > 8) {
        std::memcpy(oldB, st.b, 8);
        desStep(st);
        std::memcpy(out, st.b, 8);
        std::memcpy(st.b, st.a, 8);
        std::memcpy(st.a, oldB, 8);
        out += 8;
        len -= 8;
    }
    vc::secure_wipe(oldB, sizeof oldB);
    if (len == 0) return;
    desStep(st);
    std::memcpy(out, st.b, len);
}

void E_GenerateRandom_MD5(uint8_t *out, uint32_t len) {
    std::lock_guard<std::mutex> lock(generatorLock(Generator::kChain));
    ChainState &st = g_chain;
    refreshState(st, seedChain, mixChain);
    uint8_t next[16];
    for (uint32_t done = 0; done < len; done += 16) {
        vc::hash::md5(next, st.s, 16);
        std::memcpy(st.s, next, 16);
        std::memcpy(out + done, st.s, len - done < 16 ? len - done : 16);
    }
    vc::secure_wipe(next, sizeof next);
}

void E_GenerateRandom(uint8_t *out, uint32_t len, uint32_t useDes) {
    if (useDes != 0)
        E_GenerateRandom_DES(out, len);
    else
        E_GenerateRandom_MD5(out, len);
}

void EN_GenerateRandom(ENUM *a, uint32_t nbytes, uint32_t useDes) {
    const uint32_t words = (nbytes + 3) / 4;
    if (words > 0) a->words[words - 1] = 0;
    E_GenerateRandom(reinterpret_cast<uint8_t *>(a->words), nbytes, useDes);
    a->sign = 0;
    a->length = int32_t(words);
}

}  // extern "C"
