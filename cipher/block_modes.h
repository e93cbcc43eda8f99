// The whole-block mode loops of each 64-bit-block cipher behind one table of plain function
// pointers, for callers that pick the cipher at run time (the provider). Each entry runs the
// same flattened template loop as the exported wrappers, on whole 8-byte blocks only, and keeps
// the chaining or feedback register in `reg` between calls, which the exported CBC wrappers do
// not do.
#pragma once

#include "cipher/modes.h"

namespace vc::cipher {

struct BlockModes {
    // in -> out over `length` bytes (a multiple of 8); `reg` is the 8-byte chaining block (CBC)
    // or feedback register (CFB, OFB with 64-bit feedback), read and written back; ECB ignores it.
    using Run = void (*)(const uint8_t *in, uint8_t *out, const void *schedule, uint32_t length,
                         uint8_t *reg);
    Run ecbEncrypt, ecbDecrypt, cbcEncrypt, cbcDecrypt, cfbEncrypt, cfbDecrypt, ofb;
    void (*encryptBlock)(uint8_t *block, const void *schedule);  // one block in place
};

template <class C>
struct BlockModeRuns {
    static_assert(C::kWords == 2, "the table serves 8-byte blocks");
    using S = typename C::Schedule;
    static constexpr int32_t kBits = 64;

    static void ecbEnc(const uint8_t *in, uint8_t *out, const void *ks, uint32_t n, uint8_t *) {
        ecbEncrypt<C>(in, out, static_cast<const S *>(ks), n);
    }
    static void ecbDec(const uint8_t *in, uint8_t *out, const void *ks, uint32_t n, uint8_t *) {
        ecbDecrypt<C>(in, out, static_cast<const S *>(ks), n);
    }
    [[gnu::flatten]] static void cbcEnc(const uint8_t *in, uint8_t *out, const void *ks,
                                        uint32_t n, uint8_t *reg) {
        auto chain = cbcEncryptBlocks<C>(in, out, static_cast<const S *>(ks), n, reg);
        store<C::kOrder, C::kWords>(reg, chain);
    }
    [[gnu::flatten]] static void cbcDec(const uint8_t *in, uint8_t *out, const void *ks,
                                        uint32_t n, uint8_t *reg) {
        auto chain = cbcDecryptBlocks<C>(in, out, static_cast<const S *>(ks), n, reg);
        store<C::kOrder, C::kWords>(reg, chain);
    }
    static void cfbEnc(const uint8_t *in, uint8_t *out, const void *ks, uint32_t n, uint8_t *reg) {
        cfbEncrypt<C>(in, out, static_cast<const S *>(ks), kBits, n, reg);
    }
    static void cfbDec(const uint8_t *in, uint8_t *out, const void *ks, uint32_t n, uint8_t *reg) {
        cfbDecrypt<C>(in, out, static_cast<const S *>(ks), kBits, n, reg);
    }
    static void ofbRun(const uint8_t *in, uint8_t *out, const void *ks, uint32_t n, uint8_t *reg) {
        ofb<C>(in, out, static_cast<const S *>(ks), kBits, n, reg);
    }
    static void block(uint8_t *b, const void *ks) { encryptBlock<C>(b, static_cast<const S *>(ks)); }
};

template <class C>
constexpr BlockModes blockModes() {
    using R = BlockModeRuns<C>;
    return {R::ecbEnc, R::ecbDec, R::cbcEnc, R::cbcDec, R::cfbEnc, R::cfbDec, R::ofbRun, R::block};
}

// Defined beside each cipher.
extern const BlockModes kDesModes, kDes3Modes, kIdeaModes, kRc2Modes, kRc5Modes, kBlowfishModes;

}  // namespace vc::cipher
