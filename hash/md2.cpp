// MD2 (RFC 1319, with the corrected checksum rule of its errata: each checksum byte is XORed
// with the substituted value). 16-byte blocks, no bit count; the padding is k bytes of value k.
#include <vorelcrypto/hash.h>

#include <cstring>
#include <utility>

namespace vc::hash {
namespace {

// The permutation of 0..255 built from the digits of pi.
constexpr uint8_t kPi[256] = {
     41,  46,  67, 201, 162, 216, 124,   1,  61,  54,  84, 161, 236, 240,   6,  19,
     98, 167,   5, 243, 192, 199, 115, 140, 152, 147,  43, 217, 188,  76, 130, 202,
     30, 155,  87,  60, 253, 212, 224,  22, 103,  66, 111,  24, 138,  23, 229,  18,
    190,  78, 196, 214, 218, 158, 222,  73, 160, 251, 245, 142, 187,  47, 238, 122,
    169, 104, 121, 145,  21, 178,   7,  63, 148, 194,  16, 137,  11,  34,  95,  33,
    128, 127,  93, 154,  90, 144,  50,  39,  53,  62, 204, 231, 191, 247, 151,   3,
    255,  25,  48, 179,  72, 165, 181, 209, 215,  94, 146,  42, 172,  86, 170, 198,
     79, 184,  56, 210, 150, 164, 125, 182, 118, 252, 107, 226, 156, 116,   4, 241,
     69, 157, 112,  89, 100, 113, 135,  32, 134,  91, 207, 101, 230,  45, 168,   2,
     27,  96,  37, 173, 174, 176, 185, 246,  28,  70,  97, 105,  52,  64, 126,  15,
     85,  71, 163,  35, 221,  81, 175,  58, 195,  92, 249, 206, 186, 197, 234,  38,
     44,  83,  13, 110, 133,  40, 132,   9, 211, 223, 205, 244,  65, 129,  77,  82,
    106, 220,  55, 200, 108, 193, 171, 250,  36, 225, 123,   8,  12, 189, 177,  74,
    120, 136, 149, 139, 227,  99, 232, 109, 233, 203, 213, 254,  59,   0,  29,  57,
    242, 239, 183,  14, 102,  88, 208, 228, 166, 119, 114, 248, 235, 117,  75,  10,
     49,  68,  80, 180, 143, 237,  31,  26, 219, 153, 141,  51, 159,  17, 131,  20,
};

// One pass of the 48-byte mixing over x, starting from t; returns the last value.
template <unsigned... K>
[[gnu::always_inline]] inline uint32_t mixPass(uint32_t *x, uint32_t t,
                                               std::integer_sequence<unsigned, K...>) {
    ((t = x[K] ^= kPi[t]), ...);
    return t;
}

// The block function: updates the checksum with the block, then mixes state, block and
// state XOR block over 18 passes; the first 16 bytes become the new state.
void processBlock(Md2Context *context, const uint8_t *block) {
    uint32_t x[48];
    uint32_t last = context->checksum[15];
    for (unsigned j = 0; j < 16; ++j) {
        x[j] = context->state[j];
        x[16 + j] = block[j];
        x[32 + j] = context->state[j] ^ block[j];
        last = context->checksum[j] ^= kPi[block[j] ^ last];
    }
    uint32_t t = 0;
    for (unsigned pass = 0; pass < 18; ++pass)
        t = (mixPass(x, t, std::make_integer_sequence<unsigned, 48>()) + pass) & 0xff;
    std::memcpy(context->state, x, sizeof context->state);
}

}  // namespace
}  // namespace vc::hash

using namespace vc;
using namespace vc::hash;

extern "C" {

VC_API void E_MD2_Init(Md2Context *context) { std::memset(context, 0, sizeof *context); }

VC_API void E_MD2_Update(Md2Context *context, const uint8_t *data, uint32_t length) {
    if (length == 0) return;
    uint32_t fill = context->fill;
    if (fill != 0) {
        uint32_t n = 16 - fill < length ? 16 - fill : length;
        std::memcpy(context->buffer + fill, data, n);
        data += n;
        length -= n;
        context->fill = fill += n;
        if (fill < 16) return;
        processBlock(context, context->buffer);
        context->fill = 0;
    }
    for (; length >= 16; data += 16, length -= 16) processBlock(context, data);
    std::memcpy(context->buffer, data, length);
    context->fill = length;
}

VC_API void E_MD2_Final(Md2Context *context, uint8_t *digest) {
    uint32_t k = 16 - context->fill;
    std::memset(context->buffer + context->fill, int(k), k);
    processBlock(context, context->buffer);
    uint8_t checksum[16];
    for (unsigned j = 0; j < 16; ++j) checksum[j] = uint8_t(context->checksum[j]);
    processBlock(context, checksum);
    context->fill = 0;
    for (unsigned j = 0; j < 16; ++j) digest[j] = uint8_t(context->state[j]);
}

VC_API void E_MD2(uint8_t *digest, const uint8_t *data, uint32_t length) {
    Md2Context context;
    E_MD2_Init(&context);
    E_MD2_Update(&context, data, length);
    E_MD2_Final(&context, digest);
}

}  // extern "C"
