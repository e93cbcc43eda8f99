// RC4: the alleged RC4 key scheduling and keystream generator, one permutation entry per word.
#include <vorelcrypto/cipher.h>

#include <cstring>

namespace {

constexpr uint32_t kMaxKeyBytes = 256;

}  // namespace

void E_RC4_KeySchedule(Rc4State *state, const uint8_t *key, uint32_t keyLength) {
    if (keyLength > kMaxKeyBytes) keyLength = kMaxKeyBytes;
    uint32_t *s = state->S;
    for (uint32_t i = 0; i < 256; ++i) s[i] = i;
    uint32_t j = 0, k = 0;
    for (uint32_t i = 0; i < 256; ++i) {
        uint32_t x = s[i];
        j = (j + x + (keyLength ? key[k] : 0)) & 0xFF;
        if (++k >= keyLength) k = 0;
        s[i] = s[j];
        s[j] = x;
    }
    state->i = 0;
    state->j = 0;
}

void E_RC4_Encrypt(const uint8_t *input, uint8_t *output, Rc4State *state, uint32_t length) {
    uint32_t *s = state->S;
    uint32_t i = state->i, j = state->j;
    // One keystream byte: i advances, j follows the permutation, the two entries swap.
    auto step = [&]() -> uint8_t {
        i = (i + 1) & 0xFF;
        uint32_t x = s[i];
        j = (j + x) & 0xFF;
        uint32_t y = s[j];
        s[i] = y;
        s[j] = x;
        return uint8_t(s[(x + y) & 0xFF]);
    };
    uint32_t n = 0;
    // Eight keystream bytes gathered into one word, XORed with eight input bytes at once.
    for (; n + 8 <= length; n += 8) {
        uint64_t k = step();
        k |= uint64_t(step()) << 8;
        k |= uint64_t(step()) << 16;
        k |= uint64_t(step()) << 24;
        k |= uint64_t(step()) << 32;
        k |= uint64_t(step()) << 40;
        k |= uint64_t(step()) << 48;
        k |= uint64_t(step()) << 56;
        uint64_t d;
        std::memcpy(&d, input + n, 8);
        d ^= k;  // little-endian host: byte 0 of the word is the first byte in memory
        std::memcpy(output + n, &d, 8);
    }
    for (; n < length; ++n) output[n] = input[n] ^ step();
    state->i = i;
    state->j = j;
}

void E_RC4_Decrypt(const uint8_t *input, uint8_t *output, Rc4State *state, uint32_t length) {
    E_RC4_Encrypt(input, output, state, length);
}
