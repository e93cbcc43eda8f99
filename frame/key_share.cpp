// V_KeyShareEncode / V_KeyShareDecode: an LZW byte-stream coder for key shares.
//
// Stream: 0x4B, then maxCodeBits | 0x80 when the table restarts once full, then codes packed
// least-significant bit first and closed by END and zero bits up to a byte boundary. Codes 0 to
// 255 are bytes, 256 CLEAR (fresh table), 257 END, table entries from 258. Each code is written
// with the bit length of the next code the encoder will assign (at least 9, at most
// maxCodeBits), so the width is known to the decoder, which assigns that code one step later.
#include <vorelcrypto/frame.h>

#include <cstdlib>
#include <cstring>

namespace vc::frame {
namespace {

constexpr uint8_t kMagic = 0x4B;
constexpr uint8_t kResetFlag = 0x80;
constexpr uint32_t kMinBits = 9, kMaxBits = 12;
constexpr uint32_t kClear = 256, kEnd = 257, kFirstFree = 258;
constexpr uint32_t kNoCode = 0xFFFF;

// Width of the codes written while `next` is the next code to assign.
uint32_t codeWidth(uint32_t next, uint32_t maxBits) {
    uint32_t bits = kMinBits;
    while (bits < maxBits && next >= (1u << bits)) ++bits;
    return bits;
}

// ---- encoder ----

class BitWriter {
public:
    explicit BitWriter(uint8_t *out) : out_(out) {}
    void put(uint32_t code, uint32_t width) {
        acc_ |= uint64_t(code) << fill_;
        fill_ += width;
        while (fill_ >= 8) {
            out_[length_++] = uint8_t(acc_);
            acc_ >>= 8;
            fill_ -= 8;
        }
    }
    // Pads with zero bits to the byte boundary; returns the byte count.
    size_t finish() {
        if (fill_ > 0) out_[length_++] = uint8_t(acc_);
        fill_ = 0;
        return length_;
    }

private:
    uint8_t *out_;
    uint64_t acc_ = 0;
    uint32_t fill_ = 0;
    size_t length_ = 0;
};

// (prefix code, byte) -> code, open addressing over twice as many slots as codes.
class Dictionary {
public:
    explicit Dictionary(uint32_t maxBits) : mask_((2u << maxBits) - 1) { clear(); }
    void clear() { std::memset(keys_, 0xFF, sizeof(uint32_t) * (mask_ + 1)); }
    uint32_t find(uint32_t prefix, uint8_t byte) const {
        const uint32_t key = prefix << 8 | byte;
        for (uint32_t i = slot(key);; i = (i + 1) & mask_) {
            if (keys_[i] == key) return codes_[i];
            if (keys_[i] == kEmpty) return kNoCode;
        }
    }
    void add(uint32_t prefix, uint8_t byte, uint32_t code) {
        const uint32_t key = prefix << 8 | byte;
        uint32_t i = slot(key);
        while (keys_[i] != kEmpty) i = (i + 1) & mask_;
        keys_[i] = key;
        codes_[i] = uint16_t(code);
    }

private:
    static constexpr uint32_t kEmpty = 0xFFFFFFFF;
    uint32_t slot(uint32_t key) const { return (key * 2654435761u >> 12) & mask_; }
    uint32_t mask_;
    uint32_t keys_[2u << kMaxBits];
    uint16_t codes_[2u << kMaxBits];
};

// Bytes the encoding of `length` bytes can take: every input byte a code at most, one CLEAR per
// (limit - 258) >= 254 assigned codes, END, padding, header.
uint64_t encodedBound(uint64_t length, uint32_t maxBits) {
    const uint64_t codes = length + length / 254 + 2;
    return (codes * maxBits + 7) / 8 + 2;
}

size_t encode(const uint8_t *in, size_t length, uint32_t maxBits, bool reset, uint8_t *out) {
    out[0] = kMagic;
    out[1] = uint8_t(maxBits | (reset ? kResetFlag : 0));
    BitWriter bits(out + 2);
    Dictionary dict(maxBits);
    const uint32_t limit = 1u << maxBits;
    uint32_t next = kFirstFree;
    if (length > 0) {
        uint32_t current = in[0];
        for (size_t i = 1; i < length; ++i) {
            const uint32_t longer = dict.find(current, in[i]);
            if (longer != kNoCode) {
                current = longer;
                continue;
            }
            bits.put(current, codeWidth(next, maxBits));
            if (next < limit) dict.add(current, in[i], next++);
            if (next == limit && reset) {
                bits.put(kClear, codeWidth(next, maxBits));
                dict.clear();
                next = kFirstFree;
            }
            current = in[i];
        }
        bits.put(current, codeWidth(next, maxBits));
    }
    bits.put(kEnd, codeWidth(next, maxBits));
    return 2 + bits.finish();
}

// ---- decoder ----

class BitReader {
public:
    BitReader(const uint8_t *in, size_t length) : in_(in), length_(length) {}
    // False when fewer than `width` bits are left.
    bool get(uint32_t width, uint32_t &code) {
        while (fill_ < width) {
            if (pos_ == length_) return false;
            acc_ |= uint32_t(in_[pos_++]) << fill_;
            fill_ += 8;
        }
        code = acc_ & ((1u << width) - 1);
        acc_ >>= width;
        fill_ -= width;
        return true;
    }
    // After END: only zero padding bits of the last byte may remain.
    bool atCleanEnd() const { return pos_ == length_ && acc_ == 0; }

private:
    const uint8_t *in_;
    size_t length_, pos_ = 0;
    uint32_t acc_ = 0, fill_ = 0;
};

struct Entry {
    uint16_t prefix;
    uint16_t length;
    uint8_t first, last;
};

// Decodes the codes after the header. With `out` null only measures; the result is the decoded
// length, or -1 for a malformed stream or one longer than `maxLength`.
int64_t decode(const uint8_t *in, size_t length, uint32_t maxBits, uint64_t maxLength, uint8_t *out) {
    static_assert(kMaxBits <= 16, "entries hold 16-bit prefixes");
    Entry table[1u << kMaxBits];
    for (uint32_t c = 0; c < 256; ++c) table[c] = {uint16_t(kNoCode), 1, uint8_t(c), uint8_t(c)};
    const uint32_t limit = 1u << maxBits;
    BitReader bits(in, length);
    uint32_t next = kFirstFree, previous = kNoCode;
    uint64_t produced = 0;
    for (;;) {
        // The encoder had already assigned the entry this code completes.
        const bool pending = previous != kNoCode && next < limit;
        uint32_t code;
        if (!bits.get(codeWidth(next + (pending ? 1 : 0), maxBits), code)) return -1;
        if (code == kEnd) return bits.atCleanEnd() ? int64_t(produced) : -1;
        if (code == kClear) {
            next = kFirstFree;
            previous = kNoCode;
            continue;
        }
        if (code >= kFirstFree && previous == kNoCode) return -1;
        if (code > next || (code == next && !pending)) return -1;
        // code == next: the string of `previous` followed by its own first byte.
        const Entry &known = table[code == next ? previous : code];
        const uint32_t size = known.length + (code == next ? 1 : 0);
        if (size > maxLength - produced) return -1;
        if (pending) {
            table[next] = {uint16_t(previous), uint16_t(table[previous].length + 1),
                           table[previous].first, known.first};
            ++next;
        }
        if (out != nullptr) {
            // Walk the prefixes back from the last byte.
            uint8_t *end = out + produced + size;
            for (uint32_t c = code; c != kNoCode; c = table[c].prefix) *--end = table[c].last;
        }
        produced += size;
        previous = code;
    }
}

bool badSource(const DataBlob *source) {
    return source == nullptr || (source->Data == nullptr && source->Length != 0);
}

}  // namespace
}  // namespace vc::frame

using namespace vc::frame;

extern "C" int32_t V_KeyShareEncode(void *, const DataBlob *source, uint32_t maxCodeBits,
                                    uint32_t resetWhenFull, DataBlob *destination) {
    if (destination == nullptr) return 0;
    *destination = {0, nullptr};
    if (badSource(source) || maxCodeBits < kMinBits || maxCodeBits > kMaxBits) return 0;
    const uint64_t bound = encodedBound(source->Length, maxCodeBits);
    if (bound > UINT32_MAX || bound > SIZE_MAX) return 0;
    auto *out = static_cast<uint8_t *>(std::malloc(size_t(bound)));
    if (out == nullptr) return 0;
    const size_t n = encode(source->Data, source->Length, maxCodeBits, resetWhenFull != 0, out);
    if (void *shrunk = std::realloc(out, n)) out = static_cast<uint8_t *>(shrunk);
    *destination = {uint32_t(n), out};
    return 1;
}

extern "C" int32_t V_KeyShareDecode(void *, const DataBlob *source, uint32_t maxOutputLength,
                                    DataBlob *destination) {
    if (destination == nullptr) return 0;
    *destination = {0, nullptr};
    if (badSource(source) || source->Length < 2 || source->Data[0] != kMagic) return 0;
    // The reset flag tells how the encoder behaved; a CLEAR is honoured wherever it stands.
    const uint32_t maxBits = source->Data[1] & ~uint32_t(kResetFlag);
    if (maxBits < kMinBits || maxBits > kMaxBits) return 0;
    const uint8_t *codes = source->Data + 2;
    const size_t codeBytes = source->Length - 2;
    const int64_t length = decode(codes, codeBytes, maxBits, maxOutputLength, nullptr);
    if (length < 0) return 0;
    // One byte at least, so that an empty result still has a buffer to free.
    auto *out = static_cast<uint8_t *>(std::malloc(length > 0 ? size_t(length) : 1));
    if (out == nullptr) return 0;
    decode(codes, codeBytes, maxBits, maxOutputLength, out);
    *destination = {uint32_t(length), out};
    return 1;
}
