// Blowfish (Schneier, 1993): 16 Feistel rounds on two big-endian words, key-dependent S-boxes.
#include <vorelcrypto/cipher.h>

#include <cstring>

#include "cipher/blowfish_pi.h"
#include "cipher/block_modes.h"
#include "cipher/mode_exports.h"

namespace vc::cipher {
namespace {

constexpr uint32_t kMaxKeyBytes = 72;

inline uint32_t f(const BlowfishKeySchedule *ks, uint32_t x) {
    return ((ks->S[0][x >> 24] + ks->S[1][(x >> 16) & 0xFF]) ^ ks->S[2][(x >> 8) & 0xFF]) +
           ks->S[3][x & 0xFF];
}

struct BlowfishCipher {
    using Schedule = BlowfishKeySchedule;
    static constexpr unsigned kWords = 2;
    static constexpr WordOrder kOrder = WordOrder::Big;

    static void encrypt(Block<2> &b, const Schedule *ks) {
        const uint32_t *p = ks->P;
        uint32_t l = b[0] ^ p[0], r = b[1];
        unroll<8>([&](auto i) {
            r ^= f(ks, l) ^ p[2 * i + 1];
            l ^= f(ks, r) ^ p[2 * i + 2];
        });
        b[0] = r ^ p[17];
        b[1] = l;
    }
    static void decrypt(Block<2> &b, const Schedule *ks) {
        const uint32_t *p = ks->P;
        uint32_t l = b[0] ^ p[17], r = b[1];
        unroll<8>([&](auto i) {
            r ^= f(ks, l) ^ p[16 - 2 * i];
            l ^= f(ks, r) ^ p[15 - 2 * i];
        });
        b[0] = r ^ p[0];
        b[1] = l;
    }
};

}  // namespace
}  // namespace vc::cipher

namespace vc::cipher {
constexpr BlockModes kBlowfishModes = blockModes<BlowfishCipher>();
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
    Block<2> b = {0, 0};
    for (int i = 0; i < 18; i += 2) {
        BlowfishCipher::encrypt(b, schedule);
        schedule->P[i] = b[0];
        schedule->P[i + 1] = b[1];
    }
    for (auto &box : schedule->S)
        for (int i = 0; i < 256; i += 2) {
            BlowfishCipher::encrypt(b, schedule);
            box[i] = b[0];
            box[i + 1] = b[1];
        }
}

// The OFB length counts bits: existing callers pass bit counts.
VC_DEFINE_MODES_64(BF, BlowfishCipher, 8)
