// RC2 (RFC 2268): four little-endian 16-bit words, 16 mixing rounds and two mashing rounds.
#include <vorelcrypto/cipher.h>

#include "common/wipe.h"
#include "cipher/block_modes.h"
#include "cipher/mode_exports.h"

namespace vc::cipher {
namespace {

// The RFC 2268 permutation PITABLE, built from the digits of pi.
constexpr uint8_t kPiTable[256] = {
    0xd9, 0x78, 0xf9, 0xc4, 0x19, 0xdd, 0xb5, 0xed, 0x28, 0xe9, 0xfd, 0x79, 0x4a, 0xa0, 0xd8, 0x9d,
    0xc6, 0x7e, 0x37, 0x83, 0x2b, 0x76, 0x53, 0x8e, 0x62, 0x4c, 0x64, 0x88, 0x44, 0x8b, 0xfb, 0xa2,
    0x17, 0x9a, 0x59, 0xf5, 0x87, 0xb3, 0x4f, 0x13, 0x61, 0x45, 0x6d, 0x8d, 0x09, 0x81, 0x7d, 0x32,
    0xbd, 0x8f, 0x40, 0xeb, 0x86, 0xb7, 0x7b, 0x0b, 0xf0, 0x95, 0x21, 0x22, 0x5c, 0x6b, 0x4e, 0x82,
    0x54, 0xd6, 0x65, 0x93, 0xce, 0x60, 0xb2, 0x1c, 0x73, 0x56, 0xc0, 0x14, 0xa7, 0x8c, 0xf1, 0xdc,
    0x12, 0x75, 0xca, 0x1f, 0x3b, 0xbe, 0xe4, 0xd1, 0x42, 0x3d, 0xd4, 0x30, 0xa3, 0x3c, 0xb6, 0x26,
    0x6f, 0xbf, 0x0e, 0xda, 0x46, 0x69, 0x07, 0x57, 0x27, 0xf2, 0x1d, 0x9b, 0xbc, 0x94, 0x43, 0x03,
    0xf8, 0x11, 0xc7, 0xf6, 0x90, 0xef, 0x3e, 0xe7, 0x06, 0xc3, 0xd5, 0x2f, 0xc8, 0x66, 0x1e, 0xd7,
    0x08, 0xe8, 0xea, 0xde, 0x80, 0x52, 0xee, 0xf7, 0x84, 0xaa, 0x72, 0xac, 0x35, 0x4d, 0x6a, 0x2a,
    0x96, 0x1a, 0xd2, 0x71, 0x5a, 0x15, 0x49, 0x74, 0x4b, 0x9f, 0xd0, 0x5e, 0x04, 0x18, 0xa4, 0xec,
    0xc2, 0xe0, 0x41, 0x6e, 0x0f, 0x51, 0xcb, 0xcc, 0x24, 0x91, 0xaf, 0x50, 0xa1, 0xf4, 0x70, 0x39,
    0x99, 0x7c, 0x3a, 0x85, 0x23, 0xb8, 0xb4, 0x7a, 0xfc, 0x02, 0x36, 0x5b, 0x25, 0x55, 0x97, 0x31,
    0x2d, 0x5d, 0xfa, 0x98, 0xe3, 0x8a, 0x92, 0xae, 0x05, 0xdf, 0x29, 0x10, 0x67, 0x6c, 0xba, 0xc9,
    0xd3, 0x00, 0xe6, 0xcf, 0xe1, 0x9e, 0xa8, 0x2c, 0x63, 0x16, 0x01, 0x3f, 0x58, 0xe2, 0x89, 0xa9,
    0x0d, 0x38, 0x34, 0x1b, 0xab, 0x33, 0xff, 0xb0, 0xbb, 0x48, 0x0c, 0x5f, 0xb9, 0xb1, 0xcd, 0x2e,
    0xc5, 0xf3, 0xdb, 0x47, 0xe5, 0xa5, 0x9c, 0x77, 0x0a, 0xa6, 0x20, 0x68, 0xfe, 0x7f, 0xc1, 0xad,
};

constexpr uint32_t kMaxKeyBytes = 128;

// Values between rounds may carry junk above bit 15: additions and ANDs only move it upwards,
// so each mixing step masks its sum once before rotating, and the output masks at the end.
template <int N>
inline uint32_t rol16(uint32_t x) {
    x &= 0xFFFF;
    return x << N | x >> (16 - N);
}
inline uint32_t ror16(uint32_t x, int n) { return ((x >> n) | (x << (16 - n))) & 0xFFFF; }

// One mixing round: R[i] += K[j] + (R[i-1] & R[i-2]) + (~R[i-1] & R[i-3]), rotated left by
// 1, 2, 3 and 5; r0..r3 hold R[0..3].
#define RC2_MIX(k)                                           \
    do {                                                     \
        r0 = rol16<1>(r0 + (k)[0] + (r3 & r2) + (~r3 & r1)); \
        r1 = rol16<2>(r1 + (k)[1] + (r0 & r3) + (~r0 & r2)); \
        r2 = rol16<3>(r2 + (k)[2] + (r1 & r0) + (~r1 & r3)); \
        r3 = rol16<5>(r3 + (k)[3] + (r2 & r1) + (~r2 & r0)); \
    } while (0)
#define RC2_UNMIX(k)                                                    \
    do {                                                                \
        r3 = (ror16(r3, 5) - (k)[3] - (r2 & r1) - (~r2 & r0)) & 0xFFFF; \
        r2 = (ror16(r2, 3) - (k)[2] - (r1 & r0) - (~r1 & r3)) & 0xFFFF; \
        r1 = (ror16(r1, 2) - (k)[1] - (r0 & r3) - (~r0 & r2)) & 0xFFFF; \
        r0 = (ror16(r0, 1) - (k)[0] - (r3 & r2) - (~r3 & r1)) & 0xFFFF; \
    } while (0)

inline void rc2Encrypt(const uint16_t *k, Block<2> &b) {
    uint32_t r0 = b[0] & 0xFFFF, r1 = b[0] >> 16, r2 = b[1] & 0xFFFF, r3 = b[1] >> 16;
    auto mash = [&] {
        r0 += k[r3 & 63];
        r1 += k[r0 & 63];
        r2 += k[r1 & 63];
        r3 += k[r2 & 63];
    };
    for (int j = 0; j < 20; j += 4) RC2_MIX(k + j);
    mash();
    for (int j = 20; j < 44; j += 4) RC2_MIX(k + j);
    mash();
    for (int j = 44; j < 64; j += 4) RC2_MIX(k + j);
    b[0] = (r1 & 0xFFFF) << 16 | (r0 & 0xFFFF);
    b[1] = (r3 & 0xFFFF) << 16 | (r2 & 0xFFFF);
}

inline void rc2Decrypt(const uint16_t *k, Block<2> &b) {
    uint32_t r0 = b[0] & 0xFFFF, r1 = b[0] >> 16, r2 = b[1] & 0xFFFF, r3 = b[1] >> 16;
    for (int j = 60; j >= 44; j -= 4) RC2_UNMIX(k + j);
    r3 = (r3 - k[r2 & 63]) & 0xFFFF;
    r2 = (r2 - k[r1 & 63]) & 0xFFFF;
    r1 = (r1 - k[r0 & 63]) & 0xFFFF;
    r0 = (r0 - k[r3 & 63]) & 0xFFFF;
    for (int j = 40; j >= 20; j -= 4) RC2_UNMIX(k + j);
    r3 = (r3 - k[r2 & 63]) & 0xFFFF;
    r2 = (r2 - k[r1 & 63]) & 0xFFFF;
    r1 = (r1 - k[r0 & 63]) & 0xFFFF;
    r0 = (r0 - k[r3 & 63]) & 0xFFFF;
    for (int j = 16; j >= 0; j -= 4) RC2_UNMIX(k + j);
    b[0] = r1 << 16 | r0;
    b[1] = r3 << 16 | r2;
}

struct Rc2Cipher {
    using Schedule = Rc2KeySchedule;
    static constexpr unsigned kWords = 2;
    static constexpr WordOrder kOrder = WordOrder::Little;
    static void encrypt(Block<2> &b, const Schedule *ks) { rc2Encrypt(ks->K, b); }
    static void decrypt(Block<2> &b, const Schedule *ks) { rc2Decrypt(ks->K, b); }
};

}  // namespace
}  // namespace vc::cipher

namespace vc::cipher {
constexpr BlockModes kRc2Modes = blockModes<Rc2Cipher>();
}  // namespace vc::cipher

using namespace vc::cipher;

void E_RC2_KeySchedule(Rc2KeySchedule *schedule, const uint8_t *key, uint32_t keyLength,
                       int32_t effectiveBits) {
    if (keyLength > kMaxKeyBytes) keyLength = kMaxKeyBytes;
    if (effectiveBits < 1 || effectiveBits > 1024) effectiveBits = 1024;
    uint8_t l[128] = {};
    // An empty key expands as a single zero byte, so that the expansion reads only L.
    uint32_t t = keyLength == 0 ? 1 : keyLength;
    for (uint32_t i = 0; i < keyLength; ++i) l[i] = key[i];
    for (uint32_t i = t; i < 128; ++i) l[i] = kPiTable[(l[i - 1] + l[i - t]) & 0xFF];
    int t8 = (effectiveBits + 7) / 8;
    uint32_t tm = 0xFFu >> (8 * t8 - effectiveBits);
    l[128 - t8] = kPiTable[l[128 - t8] & tm];
    for (int i = 127 - t8; i >= 0; --i) l[i] = kPiTable[l[i + 1] ^ l[i + t8]];
    for (int i = 0; i < 64; ++i) schedule->K[i] = uint16_t(l[2 * i] | l[2 * i + 1] << 8);
    vc::secure_wipe(l, sizeof l);
}

VC_DEFINE_MODES_64(RC2, Rc2Cipher, 1)
