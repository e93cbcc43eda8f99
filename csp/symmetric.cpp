// The provider's encryption family: CSP_EncryptData* and CSP_DecryptData*.
//
// Init checks the context and leaves a CipherState in the record's work area; Update turns
// input into output, keeping at most one block in the state; Final pads or unpads and wipes the
// state. The whole-block work runs the ciphers' mode loops (cipher/block_modes.h) on pieces of
// at most 1,000 bytes; only a block that straddles two output blobs or a partial step of a
// feedback stream is handled a byte or a block at a time.
#include <vorelcrypto/cipher.h>
#include <vorelcrypto/csp.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>

#include "common/wipe.h"
#include "csp/attributes.h"
#include "csp/key_record.h"
#include "csp/provider_error.h"
#include "csp/sizes.h"

namespace vc::csp {
namespace {

using vc::cipher::BlockModes;

constexpr uint32_t kBlock = 8;
constexpr uint32_t kChunk = 1000;  // the most bytes handed to a mode loop at once
constexpr uint32_t kEncrypting = 0x454E4331, kDecrypting = 0x44454331;

// Mode, padding and how Update hands out data.
struct Settings {
    uint32_t mode;  // CSP_MODE_*, 0 for RC4
    bool padded;
    // Whole blocks only through Update (ECB, CBC, and every padded mode); otherwise every byte
    // is written at once (CFB, OFB and RC4 without padding).
    bool blocked;
};

// The block-cipher part of the state.
struct BlockPart {
    const void *schedule;  // inside the caller's key record
    BlockModes::Run run;
    void (*encryptBlock)(uint8_t *block, const void *schedule);
    uint8_t reg[kBlock];        // CBC chaining block or CFB/OFB register
    uint8_t keystream[kBlock];  // the current feedback step, when stopped inside one
};

// Lives in the record's work area between Init and Final.
struct CipherState {
    uint32_t magic;  // kEncrypting or kDecrypting; anything else: no operation in progress
    uint8_t mode;
    bool padded, blocked;
    uint8_t pendingLength;  // bytes in `pending`
    uint8_t position;       // bytes used of `keystream` (CFB/OFB streams)
    // The incomplete block, or when decrypting with padding the last whole block, held back
    // until more data shows it is not the last.
    uint8_t pending[kBlock];
    union {
        BlockPart block;
        Rc4State rc4;  // a copy: the key record's own state stays at the start of the stream
    };
};
static_assert(sizeof(CipherState) <= sizeof(CspContextRecord::work), "state fits the work area");
static_assert(offsetof(CspContextRecord, work) % alignof(CipherState) == 0, "work area aligned");

uint32_t magicOf(const CspContextRecord *record) {
    uint32_t m;
    std::memcpy(&m, record->work, sizeof m);
    return m;
}

// The state of an operation in progress in `direction`, or null.
CipherState *stateOf(CspContextRecord *record, uint32_t direction) {
    if (magicOf(record) != direction) return nullptr;
    return std::launder(reinterpret_cast<CipherState *>(record->work));
}

void endOperation(CspContextRecord *record) { vc::secure_wipe(record->work, sizeof(CipherState)); }

bool isDecrypting(const CipherState &s) { return s.magic == kDecrypting; }
bool holdsLastBlock(const CipherState &s) { return s.blocked && s.padded && isDecrypting(s); }

// ---- Settings and Init ----

int32_t readSettings(const CspContextRecord *record, Settings *settings) {
    uint32_t mode = 0;
    if (record->algorithm != CSP_ALG_RC4) {  // RC4 has no mode; an attribute is ignored
        if (!findUint32(record, CSP_ATTR_MODE, &mode)) return CSP_ERR_MISSING_ATTRIBUTE;
        if (mode != CSP_MODE_ECB && mode != CSP_MODE_CBC && mode != CSP_MODE_CFB &&
            mode != CSP_MODE_OFB)
            return CSP_ERR_MODE;
    }
    const bool blockMode = mode == CSP_MODE_ECB || mode == CSP_MODE_CBC;
    uint32_t padding = blockMode ? CSP_PADDING_PKCS7 : CSP_PADDING_NONE;
    findUint32(record, CSP_ATTR_PADDING, &padding);
    if (padding != CSP_PADDING_NONE && padding != CSP_PADDING_PKCS5 && padding != CSP_PADDING_PKCS7)
        return CSP_ERR_PADDING;
    settings->mode = mode;
    settings->padded = padding != CSP_PADDING_NONE;
    settings->blocked = blockMode || settings->padded;
    return 0;
}

BlockModes::Run runFor(const BlockModes &m, uint32_t mode, bool decrypt) {
    switch (mode) {
    case CSP_MODE_ECB: return decrypt ? m.ecbDecrypt : m.ecbEncrypt;
    case CSP_MODE_CBC: return decrypt ? m.cbcDecrypt : m.cbcEncrypt;
    case CSP_MODE_CFB: return decrypt ? m.cfbDecrypt : m.cfbEncrypt;
    default: return m.ofb;
    }
}

int32_t start(CspContextRecord *record, const CspContextRecord *context, uint32_t direction) {
    if (record == nullptr) return CSP_ERR_NO_CONTEXT;
    adoptContext(record, context);
    if (record->contextClass != CSP_CLASS_SYMMETRIC) return CSP_ERR_CLASS;
    if (!isCipherAlgorithm(record->algorithm)) return CSP_ERR_ALGORITHM;
    const DataBlob *keyBlob = nullptr;
    if (!findBlob(record, CSP_ATTR_KEY, &keyBlob)) return CSP_ERR_MISSING_ATTRIBUTE;
    KeyView key;
    if (openKeyRecord(keyBlob, &key) != 0 || key.header->algorithm != record->algorithm)
        return CSP_ERR_INVALID_KEY;
    Settings settings;
    if (int32_t reason = readSettings(record, &settings)) return reason;
    const DataBlob *iv = nullptr;
    if (settings.mode != 0 && settings.mode != CSP_MODE_ECB) {
        if (!findBlob(record, CSP_ATTR_INIT_VECTOR, &iv)) return CSP_ERR_MISSING_ATTRIBUTE;
        if (iv == nullptr || iv->Data == nullptr || iv->Length < kBlock) return CSP_ERR_IV;
    }

    endOperation(record);  // an operation left unfinished on this record is dropped
    auto *s = new (record->work) CipherState{};
    s->magic = direction;
    s->mode = uint8_t(settings.mode);
    s->padded = settings.padded;
    s->blocked = settings.blocked;
    if (key.modes == nullptr) {
        std::memcpy(&s->rc4, key.schedule, sizeof(Rc4State));
    } else {
        s->block.schedule = key.schedule;
        s->block.run = runFor(*key.modes, settings.mode, direction == kDecrypting);
        s->block.encryptBlock = key.modes->encryptBlock;
        if (iv != nullptr) std::memcpy(s->block.reg, iv->Data, kBlock);
    }
    return 0;
}

// ---- Output blobs seen as one buffer ----

class Output {
public:
    Output(DataBlob *blobs, uint32_t count) : blobs_(blobs), count_(count) {}

    // Contiguous room at the write position (0 once every blob is full).
    uint32_t room() {
        while (index_ < count_ && offset_ >= blobs_[index_].Length) ++index_, offset_ = 0;
        return index_ < count_ ? blobs_[index_].Length - offset_ : 0;
    }
    uint8_t *at() { return blobs_[index_].Data + offset_; }
    void advance(uint32_t n) { offset_ += n, written_ += n; }
    // Copies n bytes across blob boundaries (the caller checked the total capacity).
    void put(const uint8_t *p, uint32_t n) {
        while (n != 0) {
            const uint32_t take = std::min(n, room());
            std::memcpy(at(), p, take);
            advance(take);
            p += take, n -= take;
        }
    }
    uint32_t written() const { return written_; }

private:
    DataBlob *blobs_;
    uint32_t count_, index_ = 0, offset_ = 0, written_ = 0;
};

// ---- Transforms ----

// Whole blocks through the mode loop (RC4 with padding runs its stream on them).
void transformBlocks(CipherState &s, const uint8_t *in, uint8_t *out, uint32_t n) {
    if (s.mode == 0)
        E_RC4_Encrypt(in, out, &s.rc4, n);
    else
        s.block.run(in, out, s.block.schedule, n, s.block.reg);
}

// Whole blocks straight into the output; a block that would straddle two blobs goes through a
// local copy.
void emitBlocks(CipherState &s, const uint8_t *in, uint32_t n, Output &out) {
    while (n != 0) {
        const uint32_t room = out.room();
        if (room >= kBlock) {
            const uint32_t take = std::min(n, room / kBlock * kBlock);
            transformBlocks(s, in, out.at(), take);
            out.advance(take);
            in += take, n -= take;
        } else {
            uint8_t tmp[kBlock];
            transformBlocks(s, in, tmp, kBlock);
            out.put(tmp, kBlock);
            in += kBlock, n -= kBlock;
        }
    }
}

// CFB or OFB with 64-bit feedback on any number of bytes: finish a started step byte by byte,
// run whole steps through the mode loop, start one more step for a tail.
void feedbackStream(CipherState &s, const uint8_t *in, uint8_t *out, uint32_t n) {
    BlockPart &b = s.block;
    auto byteStep = [&](uint8_t x) {
        if (s.position == 0) {
            std::memcpy(b.keystream, b.reg, kBlock);
            b.encryptBlock(b.keystream, b.schedule);
        }
        const uint8_t k = b.keystream[s.position], y = uint8_t(x ^ k);
        b.reg[s.position] = s.mode == CSP_MODE_OFB ? k : isDecrypting(s) ? x : y;
        s.position = uint8_t((s.position + 1) % kBlock);
        return y;
    };
    for (; n != 0 && s.position != 0; --n) *out++ = byteStep(*in++);
    const uint32_t whole = n / kBlock * kBlock;
    if (whole != 0) b.run(in, out, b.schedule, whole, b.reg);
    in += whole, out += whole, n -= whole;
    for (; n != 0; --n) *out++ = byteStep(*in++);
}

void emitStream(CipherState &s, const uint8_t *in, uint32_t n, Output &out) {
    while (n != 0) {
        const uint32_t take = std::min(n, out.room());
        if (s.mode == 0)
            E_RC4_Encrypt(in, out.at(), &s.rc4, take);
        else
            feedbackStream(s, in, out.at(), take);
        out.advance(take);
        in += take, n -= take;
    }
}

// Blocked modes: whole blocks go out, an incomplete block waits in `pending`; when decrypting
// with padding the last whole block waits too, until more data arrives or Final.
void feedBlocked(CipherState &s, const uint8_t *in, uint32_t n, Output &out) {
    const bool hold = holdsLastBlock(s);
    while (n != 0) {
        if (s.pendingLength == kBlock) {  // a held block that more data shows is not the last
            emitBlocks(s, s.pending, kBlock, out);
            s.pendingLength = 0;
        }
        if (s.pendingLength != 0 || n < kBlock || (hold && n == kBlock)) {
            const uint32_t take = std::min<uint32_t>(kBlock - s.pendingLength, n);
            std::memcpy(s.pending + s.pendingLength, in, take);
            s.pendingLength = uint8_t(s.pendingLength + take);
            in += take, n -= take;
            if (s.pendingLength == kBlock && !hold) {
                emitBlocks(s, s.pending, kBlock, out);
                s.pendingLength = 0;
            }
            continue;
        }
        uint32_t whole = n / kBlock * kBlock;
        if (hold && whole == n) whole -= kBlock;
        emitBlocks(s, in, whole, out);
        in += whole, n -= whole;
    }
}

// Bytes that `more` input makes Update write.
uint64_t updateOutput(const CipherState &s, uint64_t more) {
    if (!s.blocked) return more;
    const uint64_t available = s.pendingLength + more;
    uint64_t keep = available % kBlock;
    if (keep == 0 && available != 0 && holdsLastBlock(s)) keep = kBlock;
    return available - keep;
}

// ---- Update and Final ----

int32_t update(CspContextRecord *record, uint32_t direction, const DataBlob *input,
               uint32_t inputCount, DataBlob *output, uint32_t outputCount,
               uint32_t *bytesProcessed) {
    if (record == nullptr) return CSP_ERR_NO_CONTEXT;
    CipherState *s = stateOf(record, direction);
    if (s == nullptr) return CSP_ERR_STATE;
    if (input == nullptr || output == nullptr) return CSP_ERR_NULL_BLOB;
    if (inputCount == 0 || outputCount == 0) return CSP_ERR_BLOB_COUNT;
    // Everything is checked before anything is written, so a failed Update changes nothing.
    uint64_t total = 0, capacity = 0;
    for (uint32_t i = 0; i < inputCount; ++i) {
        if (input[i].Data == nullptr) return CSP_ERR_NULL_DATA;
        total += input[i].Length;
    }
    for (uint32_t i = 0; i < outputCount; ++i) {
        if (output[i].Data == nullptr) return CSP_ERR_NULL_DATA;
        capacity += output[i].Length;
    }
    if (capacity < updateOutput(*s, total)) return CSP_ERR_OUTPUT_SHORT;

    Output out(output, outputCount);
    for (uint32_t i = 0; i < inputCount; ++i)
        for (uint32_t done = 0; done < input[i].Length;) {
            const uint32_t n = std::min(input[i].Length - done, kChunk);
            if (s->blocked)
                feedBlocked(*s, input[i].Data + done, n, out);
            else
                emitStream(*s, input[i].Data + done, n, out);
            done += n;
        }
    if (bytesProcessed != nullptr) *bytesProcessed = out.written();
    return 0;
}

// PKCS #5/#7 padding of the last block: its length, or 0 when it is not well formed. Every
// byte is looked at whatever the outcome.
uint32_t paddingLength(const uint8_t *block) {
    const uint32_t p = block[kBlock - 1];
    uint32_t bad = uint32_t(p == 0) | uint32_t(p > kBlock);
    for (uint32_t i = 0; i < kBlock; ++i) {
        const uint32_t inPadding = uint32_t(i + p >= kBlock);
        bad |= inPadding & uint32_t(block[i] != p);
    }
    return bad ? 0 : p;
}

// The closing bytes into `last` (at most one block); 0 or a reason.
int32_t finish(CipherState &s, uint8_t *last, uint32_t *length) {
    *length = 0;
    if (!s.blocked) return 0;
    if (!s.padded) return s.pendingLength != 0 ? CSP_ERR_INPUT_LENGTH : 0;
    if (!isDecrypting(s)) {
        const uint8_t pad = uint8_t(kBlock - s.pendingLength);
        std::memset(s.pending + s.pendingLength, pad, pad);
        transformBlocks(s, s.pending, last, kBlock);
        *length = kBlock;
        return 0;
    }
    if (s.pendingLength != kBlock) return CSP_ERR_INPUT_LENGTH;
    transformBlocks(s, s.pending, last, kBlock);
    const uint32_t p = paddingLength(last);
    if (p == 0) return CSP_ERR_BAD_PADDING;
    *length = kBlock - p;
    return 0;
}

int32_t final(CspContextRecord *record, uint32_t direction, DataBlob *remaining) {
    if (record == nullptr) return CSP_ERR_NO_CONTEXT;
    CipherState *s = stateOf(record, direction);
    if (s == nullptr) return CSP_ERR_STATE;
    if (remaining == nullptr) return CSP_ERR_NULL_BLOB;
    if (remaining->Data == nullptr && remaining->Length != 0) return CSP_ERR_NULL_DATA;
    if (remaining->Data != nullptr && remaining->Length < kBlock) return CSP_ERR_OUTPUT_SHORT;
    uint8_t *buffer = remaining->Data;
    if (buffer == nullptr && (buffer = static_cast<uint8_t *>(std::malloc(kBlock))) == nullptr)
        return CSP_ERR_ALLOC;

    uint8_t last[kBlock];
    uint32_t length = 0;
    const int32_t reason = finish(*s, last, &length);
    endOperation(record);
    if (reason != 0) {
        vc::secure_wipe(last, sizeof last);
        if (buffer != remaining->Data) std::free(buffer);
        return reason;
    }
    std::memcpy(buffer, last, length);
    vc::secure_wipe(last, sizeof last);
    remaining->Data = buffer;
    remaining->Length = length;
    return 0;
}

// The one-shot forms: Init, Update, Final; a failure ends the operation.
int32_t oneShot(CspContextRecord *record, const CspContextRecord *context, uint32_t direction,
                const DataBlob *input, uint32_t inputCount, DataBlob *output,
                uint32_t outputCount, uint32_t *bytesProcessed, DataBlob *remaining) {
    if (int32_t reason = start(record, context, direction)) return reason;
    int32_t reason = update(record, direction, input, inputCount, output, outputCount,
                            bytesProcessed);
    if (reason == 0) reason = final(record, direction, remaining);
    if (reason != 0) endOperation(record);
    return reason;
}

int32_t report(int32_t reason) { return reason == 0 ? 0 : SetProviderError(reason); }

}  // namespace

int32_t symmetricOutputSize(const CspContextRecord *record, bool encrypt, uint32_t inputSize,
                            uint32_t *outputSize) {
    uint32_t pending = 0;
    Settings settings;
    const uint32_t magic = magicOf(record);
    if (magic == kEncrypting || magic == kDecrypting) {
        const auto *s = std::launder(reinterpret_cast<const CipherState *>(record->work));
        pending = s->pendingLength;
        settings = {s->mode, s->padded, s->blocked};
    } else {
        if (!isCipherAlgorithm(record->algorithm)) return CSP_ERR_ALGORITHM;
        if (int32_t reason = readSettings(record, &settings)) return reason;
    }
    const uint64_t total = uint64_t(pending) + inputSize;
    uint64_t size = total;
    if (settings.blocked) {
        const uint64_t whole = total / kBlock * kBlock;
        if (encrypt)  // padding adds 1 to 8 bytes; unpadded data must be whole blocks
            size = settings.padded ? whole + kBlock : (total + kBlock - 1) / kBlock * kBlock;
        else  // at least one padding byte comes off
            size = settings.padded && whole != 0 ? whole - 1 : whole;
    }
    if (size > UINT32_MAX) return CSP_ERR_INPUT_LENGTH;
    *outputSize = uint32_t(size);
    return 0;
}

}  // namespace vc::csp

using namespace vc::csp;

extern "C" {

int32_t CSP_EncryptDataInit(uint32_t, CspContextHandle handle, const CspContextRecord *context) {
    return report(start(handle, context, kEncrypting));
}
int32_t CSP_EncryptDataUpdate(uint32_t, CspContextHandle handle, const DataBlob *input,
                              uint32_t inputCount, DataBlob *output, uint32_t outputCount,
                              uint32_t *bytesProcessed) {
    return report(update(handle, kEncrypting, input, inputCount, output, outputCount, bytesProcessed));
}
int32_t CSP_EncryptDataFinal(uint32_t, CspContextHandle handle, DataBlob *remaining) {
    return report(final(handle, kEncrypting, remaining));
}
int32_t CSP_EncryptData(uint32_t, CspContextHandle handle, const CspContextRecord *context,
                        const DataBlob *input, uint32_t inputCount, DataBlob *output,
                        uint32_t outputCount, uint32_t *bytesProcessed, DataBlob *remaining) {
    return report(oneShot(handle, context, kEncrypting, input, inputCount, output, outputCount,
                          bytesProcessed, remaining));
}

int32_t CSP_DecryptDataInit(uint32_t, CspContextHandle handle, const CspContextRecord *context) {
    return report(start(handle, context, kDecrypting));
}
int32_t CSP_DecryptDataUpdate(uint32_t, CspContextHandle handle, const DataBlob *input,
                              uint32_t inputCount, DataBlob *output, uint32_t outputCount,
                              uint32_t *bytesProcessed) {
    return report(update(handle, kDecrypting, input, inputCount, output, outputCount, bytesProcessed));
}
int32_t CSP_DecryptDataFinal(uint32_t, CspContextHandle handle, DataBlob *remaining) {
    return report(final(handle, kDecrypting, remaining));
}
int32_t CSP_DecryptData(uint32_t, CspContextHandle handle, const CspContextRecord *context,
                        const DataBlob *input, uint32_t inputCount, DataBlob *output,
                        uint32_t outputCount, uint32_t *bytesProcessed, DataBlob *remaining) {
    return report(oneShot(handle, context, kDecrypting, input, inputCount, output, outputCount,
                          bytesProcessed, remaining));
}

}  // extern "C"
