// IDEA (Lai and Massey): eight rounds on four big-endian 16-bit words mixing XOR, addition
// modulo 2^16 and multiplication modulo 2^16 + 1 (with 0 standing for 2^16).
#include <vorelcrypto/cipher.h>

#include "cipher/block_modes.h"
#include "cipher/mode_exports.h"

namespace vc::cipher {
namespace {

inline uint32_t mul(uint32_t a, uint32_t b) {
    if (a == 0) return (0x10001 - b) & 0xFFFF;
    if (b == 0) return (0x10001 - a) & 0xFFFF;
    uint32_t p = a * b, lo = p & 0xFFFF, hi = p >> 16;
    return (lo - hi + (lo < hi)) & 0xFFFF;
}

// Multiplicative inverse modulo 65537 by the extended Euclidean algorithm; 0 (2^16 = -1) and 1
// are their own inverses.
uint32_t mulInverse(uint32_t x) {
    if (x <= 1) return x;
    int32_t a = 0x10001, b = int32_t(x), u = 0, v = 1;  // v * x == b (mod 65537)
    while (b != 0) {
        int32_t q = a / b, r = a % b;
        a = b;
        b = r;
        int32_t w = u - q * v;
        u = v;
        v = w;
    }
    return uint32_t(u < 0 ? u + 0x10001 : u) & 0xFFFF;
}

inline uint32_t negate(uint32_t x) { return (0x10000 - x) & 0xFFFF; }

inline void ideaCrypt(const uint32_t *k, Block<2> &block) {
    uint32_t x1 = block[0] >> 16, x2 = block[0] & 0xFFFF, x3 = block[1] >> 16,
             x4 = block[1] & 0xFFFF;
    for (int round = 0; round < 8; ++round, k += 6) {
        uint32_t a = mul(x1, k[0]), b = (x2 + k[1]) & 0xFFFF;
        uint32_t c = (x3 + k[2]) & 0xFFFF, d = mul(x4, k[3]);
        uint32_t e = mul(a ^ c, k[4]);
        uint32_t g = mul(((b ^ d) + e) & 0xFFFF, k[5]);
        e = (e + g) & 0xFFFF;
        x1 = a ^ g;
        x4 = d ^ e;
        x2 = c ^ g;  // the middle words change places every round
        x3 = b ^ e;
    }
    // The output transformation undoes the last round's exchange of the middle words.
    block[0] = mul(x1, k[0]) << 16 | ((x3 + k[1]) & 0xFFFF);
    block[1] = ((x2 + k[2]) & 0xFFFF) << 16 | mul(x4, k[3]);
}

struct IdeaCipher {
    using Schedule = IdeaKeySchedule;
    static constexpr unsigned kWords = 2;
    static constexpr WordOrder kOrder = WordOrder::Big;
    static void encrypt(Block<2> &b, const Schedule *ks) { ideaCrypt(ks->encrypt, b); }
    static void decrypt(Block<2> &b, const Schedule *ks) { ideaCrypt(ks->decrypt, b); }
};

}  // namespace
}  // namespace vc::cipher

namespace vc::cipher {
constexpr BlockModes kIdeaModes = blockModes<IdeaCipher>();
}  // namespace vc::cipher

using namespace vc::cipher;

void E_IDEA_KeySchedule(IdeaKeySchedule *schedule, const uint8_t *key) {
    // The 128-bit key, rotated left by 25 bits after every eight subkeys.
    uint64_t hi = uint64_t(loadWord<WordOrder::Big>(key)) << 32 | loadWord<WordOrder::Big>(key + 4);
    uint64_t lo =
        uint64_t(loadWord<WordOrder::Big>(key + 8)) << 32 | loadWord<WordOrder::Big>(key + 12);
    uint32_t *ek = schedule->encrypt;
    for (int i = 0; i < 52; ++i) {
        int j = i % 8;
        ek[i] = uint32_t((j < 4 ? hi >> (48 - 16 * j) : lo >> (48 - 16 * (j - 4))) & 0xFFFF);
        if (j == 7) {
            uint64_t h = hi << 25 | lo >> 39, l = lo << 25 | hi >> 39;
            hi = h;
            lo = l;
        }
    }
    // Decryption runs the same rounds with inverted subkeys in reverse round order; the two
    // additive subkeys change places in all but the outermost key groups.
    uint32_t *dk = schedule->decrypt;
    for (int r = 0; r <= 8; ++r) {
        const uint32_t *src = ek + 48 - 6 * r;
        bool outer = r == 0 || r == 8;
        dk[6 * r] = mulInverse(src[0]);
        dk[6 * r + 1] = negate(src[outer ? 1 : 2]);
        dk[6 * r + 2] = negate(src[outer ? 2 : 1]);
        dk[6 * r + 3] = mulInverse(src[3]);
        if (r < 8) {
            dk[6 * r + 4] = src[-2];
            dk[6 * r + 5] = src[-1];
        }
    }
}

VC_DEFINE_MODES_64(IDEA, IdeaCipher, 1)
