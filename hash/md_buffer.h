// The one buffering routine of the Merkle-Damgard hashes (MD4, MD5, SHA-0, SHA-1, SHA-256,
// SHA-384/512, HAS-160, RIPEMD-160): count the message bits, complete a partial block, pass
// whole blocks to the compression, keep the rest at the front of the context's buffer; and the
// padding that Final shares.
//
// The engines differ on purpose in two points, which are parameters here:
//   - how the bit count grows (BitCount): with a carry from the low into the high word; with no
//     carry (SHA-256: existing digests of long multi-part messages depend on it); or as a
//     128-bit count (SHA-384/512);
//   - when whole blocks are copied into the buffer before they are compressed (BlockCopy):
//     never, always (the buffer then holds the last block, as MD5, HAS-160 and RIPEMD-160
//     leave it), or only when the input is not 4-byte aligned (SHA-256/512).
// An engine may also watch the bytes stored into its buffer (`stored`): SHA-0 and SHA-1 keep
// whole words byte-reversed there, RIPEMD-160 keeps its own fill field.
//
// An engine is a traits struct:
//   struct Engine {
//       using Context = ...;                         // the caller-owned context record
//       static constexpr uint32_t kBlock = 64;       // block bytes (64 or 128)
//       static constexpr BitCount kCount = ...;
//       static constexpr BlockCopy kCopy = ...;
//       static uint8_t *buffer(Context &);           // kBlock bytes
//       static void compress(Context &, const uint8_t *blocks, size_t count);
//       static void compressBuffer(Context &);       // optional: the buffer as it stands
//       static void stored(Context &, uint32_t from, uint32_t to);  // optional
//   };
#pragma once

#include "hash/hash_util.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>

namespace vc::hash {

enum class BitCount { Carry, NoCarry, Wide };
enum class BlockCopy { Never, Always, WhenMisaligned };

// Adds `length` bytes to the context's bit count; returns the low count word before the add.
template <BitCount C, class Context>
inline uint32_t addToBitCount(Context &ctx, uint32_t length) {
    if constexpr (C == BitCount::Wide) {
        const uint32_t old = ctx.count[0];
        const uint64_t bits = uint64_t(length) << 3;
        uint64_t low = (uint64_t(ctx.count[1]) << 32 | ctx.count[0]) + bits;
        uint64_t high = (uint64_t(ctx.count[3]) << 32 | ctx.count[2]) + (low < bits);
        const uint32_t words[4] = {uint32_t(low), uint32_t(low >> 32), uint32_t(high),
                                   uint32_t(high >> 32)};
        std::memcpy(ctx.count, words, sizeof words);
        return old;
    } else {
        const uint32_t old = ctx.countLow;
        if constexpr (C == BitCount::Carry) {
            addBitCount(ctx.countLow, ctx.countHigh, length);
        } else {
            ctx.countLow += length << 3;
            ctx.countHigh += length >> 29;
        }
        return old;
    }
}

template <class E>
inline uint32_t bufferFill(const typename E::Context &ctx) {
    if constexpr (E::kCount == BitCount::Wide)
        return (ctx.count[0] >> 3) & (E::kBlock - 1);
    else
        return (ctx.countLow >> 3) & (E::kBlock - 1);
}

template <class E>
inline void compressBuffer(typename E::Context &ctx) {
    if constexpr (requires { E::compressBuffer(ctx); })
        E::compressBuffer(ctx);
    else
        E::compress(ctx, E::buffer(ctx), 1);
}

template <class E>
inline void storeInBuffer(typename E::Context &ctx, uint32_t at, const uint8_t *data, uint32_t n) {
    std::memcpy(E::buffer(ctx) + at, data, n);
    if constexpr (requires { E::stored(ctx, at, at + n); }) E::stored(ctx, at, at + n);
}

template <class E>
void mdUpdate(typename E::Context &ctx, const uint8_t *data, uint32_t length) {
    constexpr uint32_t B = E::kBlock;
    if (length == 0) return;
    const uint32_t fill = (addToBitCount<E::kCount>(ctx, length) >> 3) & (B - 1);
    if (fill != 0) {
        const uint32_t room = B - fill;
        if (length < room) {
            storeInBuffer<E>(ctx, fill, data, length);
            return;
        }
        storeInBuffer<E>(ctx, fill, data, room);
        compressBuffer<E>(ctx);
        data += room;
        length -= room;
    }
    const uint32_t whole = length & ~(B - 1);
    if (whole != 0) {
        if (E::kCopy == BlockCopy::WhenMisaligned && (reinterpret_cast<uintptr_t>(data) & 3) != 0) {
            for (uint32_t done = 0; done < whole; done += B) {
                storeInBuffer<E>(ctx, 0, data + done, B);
                compressBuffer<E>(ctx);
            }
        } else {
            E::compress(ctx, data, whole / B);
            // Copying every block through the buffer leaves the last one there; the compression
            // reads the same bytes from the input, so only the last copy is made.
            if (E::kCopy == BlockCopy::Always) storeInBuffer<E>(ctx, 0, data + whole - B, B);
        }
    }
    if (length != whole) storeInBuffer<E>(ctx, 0, data + whole, length - whole);
}

// Appends the 0x80 byte to the `fill` buffered bytes and zeros up to the length field (the last
// kBlock / 8 bytes), compressing one extra block when the field does not fit after the byte.
// Returns the length field for the caller to write before the last compression.
template <class E>
uint8_t *mdPad(typename E::Context &ctx, uint32_t fill) {
    constexpr uint32_t B = E::kBlock, field = B - B / 8;
    uint8_t *buffer = E::buffer(ctx);
    buffer[fill] = 0x80;
    if (fill >= field) {
        std::memset(buffer + fill + 1, 0, B - 1 - fill);
        compressBuffer<E>(ctx);
        std::memset(buffer, 0, field);
    } else {
        std::memset(buffer + fill + 1, 0, field - 1 - fill);
    }
    return buffer + field;
}

// The usual engine: 64-byte blocks, a context with `state` words and a byte `buffer`, and a
// compression Compress(state, blocks, count) of consecutive blocks.
template <class Ctx, BitCount C, BlockCopy K, auto Compress>
struct StateEngine {
    using Context = Ctx;
    static constexpr uint32_t kBlock = 64;
    static constexpr BitCount kCount = C;
    static constexpr BlockCopy kCopy = K;
    static uint8_t *buffer(Context &c) { return c.buffer; }
    static void compress(Context &c, const uint8_t *data, size_t blocks) {
        Compress(c.state, data, blocks);
    }
};

// Final of the little-endian engines (MD4, MD5, HAS-160): the count's low word then its high
// word at bytes 56..63, and the digest as the state words, little-endian.
template <class E>
void mdFinishLittleEndian(typename E::Context &ctx, uint8_t *digest) {
    uint8_t *field = mdPad<E>(ctx, bufferFill<E>(ctx));
    store32le(field, ctx.countLow);
    store32le(field + 4, ctx.countHigh);
    compressBuffer<E>(ctx);
    for (size_t i = 0; i < std::size(ctx.state); ++i) store32le(digest + 4 * i, ctx.state[i]);
}

}  // namespace vc::hash
