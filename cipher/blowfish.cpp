// Blowfish (Schneier, 1993): 16 Feistel rounds on two big-endian words, key-dependent S-boxes.
#include "cipher/blowfish_pi.h"
#include "cipher/bytes64.h"

#include <vorelcrypto/cipher.h>

#include <cstring>

namespace vc::cipher {
namespace {

constexpr uint32_t kMaxKeyBytes = 72;

inline uint32_t f(const BlowfishKeySchedule *ks, uint32_t x) {
    return ((ks->S[0][x >> 24] + ks->S[1][(x >> 16) & 0xFF]) ^ ks->S[2][(x >> 8) & 0xFF]) +
           ks->S[3][x & 0xFF];
}

inline void blowfishEncrypt(const BlowfishKeySchedule *ks, uint32_t &left, uint32_t &right) {
    const uint32_t *p = ks->P;
    uint32_t l = left ^ p[0], r = right;
    for (int i = 1; i < 17; i += 2) {
        r ^= f(ks, l) ^ p[i];
        l ^= f(ks, r) ^ p[i + 1];
    }
    left = r ^ p[17];
    right = l;
}

inline void blowfishDecrypt(const BlowfishKeySchedule *ks, uint32_t &left, uint32_t &right) {
    const uint32_t *p = ks->P;
    uint32_t l = left ^ p[17], r = right;
    for (int i = 16; i > 0; i -= 2) {
        r ^= f(ks, l) ^ p[i];
        l ^= f(ks, r) ^ p[i - 1];
    }
    left = r ^ p[0];
    right = l;
}

}  // namespace
}  // namespace vc::cipher

using namespace vc::cipher;

void E_BF_KeySchedule(BlowfishKeySchedule *schedule, const uint8_t *key, uint32_t keyLength) {
    std::memcpy(schedule->P, kBlowfishPiWords, sizeof schedule->P);
    std::memcpy(schedule->S, kBlowfishPiWords + 18, sizeof schedule->S);
    if (keyLength > kMaxKeyBytes) keyLength = kMaxKeyBytes;
    if (keyLength > 0) {
        uint32_t k = 0;
        for (uint32_t &p : schedule->P) {
            uint32_t word = 0;
            for (int b = 0; b < 4; ++b) {
                word = word << 8 | key[k];
                if (++k == keyLength) k = 0;
            }
            p ^= word;
        }
    }
    // Replace P, then the S-boxes, two words at a time with the encryption of a running block.
    uint32_t l = 0, r = 0;
    for (int i = 0; i < 18; i += 2) {
        blowfishEncrypt(schedule, l, r);
        schedule->P[i] = l;
        schedule->P[i + 1] = r;
    }
    for (auto &box : schedule->S)
        for (int i = 0; i < 256; i += 2) {
            blowfishEncrypt(schedule, l, r);
            box[i] = l;
            box[i + 1] = r;
        }
}

void E_BF_Encrypt(uint8_t *block, const BlowfishKeySchedule *schedule) {
    uint32_t l = loadBe32(block), r = loadBe32(block + 4);
    blowfishEncrypt(schedule, l, r);
    storeBe32(block, l);
    storeBe32(block + 4, r);
}

void E_BF_Decrypt(uint8_t *block, const BlowfishKeySchedule *schedule) {
    uint32_t l = loadBe32(block), r = loadBe32(block + 4);
    blowfishDecrypt(schedule, l, r);
    storeBe32(block, l);
    storeBe32(block + 4, r);
}
