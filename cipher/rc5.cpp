// RC5-32 (RFC 2040): two little-endian 32-bit words, data-dependent rotations, 0 to 16 rounds.
#include <vorelcrypto/cipher.h>

#include <cstdlib>

#include "common/wipe.h"
#include "cipher/block_modes.h"
#include "cipher/mode_exports.h"

namespace vc::cipher {
namespace {

constexpr uint32_t kP32 = 0xB7E15163, kQ32 = 0x9E3779B9;
constexpr int32_t kMaxRounds = 16;
constexpr uint32_t kStackKeyWords = 64;  // keys up to 256 bytes need no heap

struct Rc5Cipher {
    using Schedule = Rc5KeySchedule;
    static constexpr unsigned kWords = 2;
    static constexpr WordOrder kOrder = WordOrder::Little;

    static void encrypt(Block<2> &b, const Schedule *ks) {
        const uint32_t *s = ks->S;
        uint32_t x = b[0] + s[0], y = b[1] + s[1];
        for (int32_t i = 1; i <= ks->rounds; ++i) {
            x = rotl32(x ^ y, y) + s[2 * i];
            y = rotl32(y ^ x, x) + s[2 * i + 1];
        }
        b[0] = x;
        b[1] = y;
    }
    static void decrypt(Block<2> &b, const Schedule *ks) {
        const uint32_t *s = ks->S;
        uint32_t x = b[0], y = b[1];
        for (int32_t i = ks->rounds; i >= 1; --i) {
            y = rotr32(y - s[2 * i + 1], x) ^ x;
            x = rotr32(x - s[2 * i], y) ^ y;
        }
        b[0] = x - s[0];
        b[1] = y - s[1];
    }
};

}  // namespace
}  // namespace vc::cipher

namespace vc::cipher {
constexpr BlockModes kRc5Modes = blockModes<Rc5Cipher>();
}  // namespace vc::cipher

using namespace vc::cipher;

void E_RC5_KeySchedule(Rc5KeySchedule *schedule, const uint8_t *key, uint32_t keyLength,
                       int32_t rounds) {
    if (rounds < 0 || rounds > kMaxRounds) rounds = kMaxRounds;
    schedule->rounds = rounds;
    uint32_t stackWords[kStackKeyWords];
    uint32_t c = (keyLength + 3) / 4;
    uint32_t *l = stackWords;
    if (c > kStackKeyWords) {
        l = static_cast<uint32_t *>(std::malloc(size_t(c) * 4));
        if (l == nullptr) {
            l = stackWords;
            c = kStackKeyWords;
            keyLength = 4 * kStackKeyWords;
        }
    }
    // An empty key is one zero word (RFC 2040: c = 1 when b = 0).
    if (c == 0) c = 1;
    for (uint32_t i = 0; i < c; ++i) l[i] = 0;
    for (uint32_t i = 0; i < keyLength; ++i) l[i / 4] |= uint32_t(key[i]) << (8 * (i % 4));

    uint32_t t = 2 * uint32_t(rounds) + 2;
    uint32_t *s = schedule->S;
    s[0] = kP32;
    for (uint32_t i = 1; i < t; ++i) s[i] = s[i - 1] + kQ32;
    uint32_t a = 0, b = 0, i = 0, j = 0;
    for (uint32_t k = 3 * (t > c ? t : c); k > 0; --k) {
        a = s[i] = vc::rotl32(s[i] + a + b, 3);
        b = l[j] = vc::rotl32(l[j] + a + b, a + b);
        if (++i == t) i = 0;
        if (++j == c) j = 0;
    }
    vc::secure_wipe(l, size_t(c) * 4);
    if (l != stackWords) std::free(l);
}

VC_DEFINE_MODES_64(RC5, Rc5Cipher, 1)
