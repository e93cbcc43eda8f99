// Random numbers of an exact bit length from the entropy pool (EN_X9_31Random, the same shape on
// the X9.31 generator, lives with the primes that generator needs).
#include "common/wipe.h"
#include "random/random_internal.h"

#include <vorelcrypto/random.h>

#include <cstdlib>
#include <cstring>

namespace vc::random {

namespace {
void poolBytes(uint8_t *out, uint32_t len) { RAND_Bytes(out, int32_t(len)); }
}  // namespace

// Draws (bits + 7) / 8 bytes after mixing the time into the entropy pool, then forces the top
// bit (two top bits with top != 0) and, with odd != 0, bit 0.
void randomNumber(ENUM *a, uint32_t bits, uint32_t top, uint32_t odd, ByteSource source) {
    if (bits == 0) {
        a->sign = 0;
        a->length = 0;
        return;
    }
    uint32_t t = timeSeconds();
    RAND_Seed(reinterpret_cast<const uint8_t *>(&t), 4);
    const uint32_t n = (bits + 7) / 8;
    const uint32_t shift = (bits - 1) % 8;
    uint8_t stackBuf[64 + 1];
    uint8_t *buf = n + 1 <= sizeof stackBuf ? stackBuf : static_cast<uint8_t *>(std::malloc(n + 1));
    if (buf == nullptr) {
        a->sign = 0;
        a->length = 0;
        return;
    }
    std::memset(buf, 0, n + 1);
    source(buf, n);
    if (top != 0) {
        if (shift != 0) {
            buf[0] |= uint8_t(3u << (shift - 1));
        } else {
            buf[0] = 1;
            buf[1] |= 0x80;
        }
    } else {
        buf[0] |= uint8_t(1u << shift);
    }
    buf[0] &= uint8_t(0xffu >> (7 - shift));
    if (odd != 0) buf[n - 1] |= 1;
    EN_BytesToENUM(a, buf, n);
    secure_wipe(buf, n + 1);
    if (buf != stackBuf) std::free(buf);
}

}  // namespace vc::random

extern "C" {

void EN_Random(ENUM *a, uint32_t bits, uint32_t top, uint32_t odd) {
    vc::random::randomNumber(a, bits, top, odd, vc::random::poolBytes);
}

}  // extern "C"
