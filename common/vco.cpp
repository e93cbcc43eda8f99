// VorelCommon: start-up of the common part of a LibContext, accounted allocation, the GPKI
// module table, and two small text helpers.
//
// Accounting lives in the context's two common words: word 0 counts the live blocks and word 1
// their bytes (modulo 2^32). Each block carries a 16-byte header with its size so that V_free
// can take it off the count; the header keeps the payload 16-byte aligned.
#include <vorelcrypto/common.h>

#include <cstdlib>
#include <cstring>
#include <mutex>

#include "common/sanitizer.h"

namespace {

constexpr size_t kHeader = 16;  // the payload's byte count, then the block's capacity

// Services allocate and free the same few small records on every call (a 1.1 KiB provider
// record among them, larger than the C library's per-thread cache takes), so each thread keeps
// a handful of freed blocks for reuse. A block is zeroed when it enters the cache rather than
// when it leaves it: the stores are then long retired when the next call reads the memory
// around it, instead of stalling the hash loads that follow the allocation. The sanitizer build
// does without, so that it still sees every use after free.
constexpr int kCachedBlocks = vc::kAddressSanitizer ? 0 : 4;
constexpr uint64_t kMaxCachedCapacity = 4096;

struct BlockCache {
    uint8_t *block[kCachedBlocks > 0 ? kCachedBlocks : 1] = {};
    uint64_t capacity[kCachedBlocks > 0 ? kCachedBlocks : 1] = {};
    ~BlockCache() {
        for (uint8_t *b : block) std::free(b);
    }
    // A cached block that holds `bytes` without wasting more than half of it, or null.
    uint8_t *take(uint64_t bytes) {
        for (int i = 0; i < kCachedBlocks; ++i)
            if (block[i] != nullptr && capacity[i] >= bytes && capacity[i] <= 2 * bytes + 64) {
                uint8_t *b = block[i];
                block[i] = nullptr;
                return b;
            }
        return nullptr;
    }
    bool put(uint8_t *b, uint64_t cap) {
        if (cap > kMaxCachedCapacity) return false;
        for (int i = 0; i < kCachedBlocks; ++i)
            if (block[i] == nullptr) {
                std::memset(b + kHeader, 0, size_t(cap));
                block[i] = b;
                capacity[i] = cap;
                return true;
            }
        return false;
    }
};
thread_local BlockCache t_cache;

// Adds to the two accounting words (live blocks, live bytes) with one 8-byte load and one
// 8-byte store. V_free and V_calloc must access the pair the same way: a free followed by an
// allocation otherwise stalls on a wide load that two narrow stores cannot forward.
void account(LibContext *ctx, uint32_t blocks, uint32_t bytes) {
    uint64_t words;
    std::memcpy(&words, ctx->common, sizeof words);
    uint32_t live[2];
    std::memcpy(live, &words, sizeof live);
    live[0] += blocks;
    live[1] += bytes;
    std::memcpy(&words, live, sizeof words);
    std::memcpy(ctx->common, &words, sizeof words);
}

thread_local uint32_t t_failCallocCountdown = 0;
thread_local bool t_failInit = false;

GpkiFunctionTable g_gpki{};  // slot 0 null: no GPKI module
std::mutex g_gpkiLock;

int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

}  // namespace

extern "C" {

int32_t V_VCOInit(LibContext *ctx) {
    if (ctx == nullptr || t_failInit) return 1;
    ctx->commonStarted = 1;
    return 0;
}

void V_VCOTerm(LibContext *ctx) {
    if (ctx != nullptr) ctx->commonStarted = 0;
}

void *V_calloc(LibContext *ctx, uint32_t count, uint32_t size) {
    if (t_failCallocCountdown != 0 && --t_failCallocCountdown == 0) return nullptr;
    uint64_t bytes = uint64_t(count) * size;
    if (bytes > UINT32_MAX) return nullptr;
    uint64_t capacity = bytes;
    uint8_t *block = t_cache.take(bytes);
    if (block != nullptr) {
        std::memcpy(&capacity, block + 8, sizeof capacity);  // zeroed when it was cached
    } else {
        block = static_cast<uint8_t *>(std::calloc(1, kHeader + size_t(bytes)));
        if (block == nullptr) return nullptr;
    }
    std::memcpy(block, &bytes, sizeof bytes);
    std::memcpy(block + 8, &capacity, sizeof capacity);
    if (ctx != nullptr) account(ctx, 1, uint32_t(bytes));
    return block + kHeader;
}

void V_free(LibContext *ctx, void *pointer) {
    if (pointer == nullptr) return;
    uint8_t *block = static_cast<uint8_t *>(pointer) - kHeader;
    uint64_t bytes;
    std::memcpy(&bytes, block, sizeof bytes);
    if (ctx != nullptr) account(ctx, uint32_t(-1), uint32_t(0 - bytes));
    uint64_t capacity;
    std::memcpy(&capacity, block + 8, sizeof capacity);
    if (!t_cache.put(block, capacity)) std::free(block);
}

GpkiFunctionTable *V_GetGPKIFunc(LibContext *) {
    return &g_gpki;
}

void V_SetGPKIFuncTable(const GpkiFunctionTable *table) {
    std::lock_guard<std::mutex> lock(g_gpkiLock);
    if (table != nullptr)
        g_gpki = *table;
    else
        g_gpki = GpkiFunctionTable{};
}

void V_GetAllocStats(const LibContext *ctx, uint32_t *liveBlocks, uint32_t *liveBytes) {
    if (liveBlocks != nullptr) *liveBlocks = ctx != nullptr ? ctx->common[0] : 0;
    if (liveBytes != nullptr) *liveBytes = ctx != nullptr ? ctx->common[1] : 0;
}

void V_FailNthCalloc(uint32_t n) {
    t_failCallocCountdown = n;
}

void V_FailVCOInit(int32_t fail) {
    t_failInit = fail != 0;
}

int32_t V_str2bin(const char *text, uint8_t *out, uint32_t *outLength) {
    if (text == nullptr || out == nullptr || outLength == nullptr) return -1;
    size_t digits = std::strlen(text);
    if (digits % 2 != 0 || digits / 2 > *outLength) return -1;
    for (size_t i = 0; i < digits; i += 2) {
        int hi = hexValue(text[i]), lo = hexValue(text[i + 1]);
        if (hi < 0 || lo < 0) return -1;
        out[i / 2] = uint8_t(hi << 4 | lo);
    }
    *outLength = uint32_t(digits / 2);
    return 0;
}

char *V_strtok_r(char *text, const char *delimiters, char **saveptr) {
    if (delimiters == nullptr || saveptr == nullptr) return nullptr;
    char *s = text != nullptr ? text : *saveptr;
    if (s == nullptr) return nullptr;
    s += std::strspn(s, delimiters);
    if (*s == '\0') {
        *saveptr = s;
        return nullptr;
    }
    char *end = s + std::strcspn(s, delimiters);
    if (*end != '\0') *end++ = '\0';
    *saveptr = end;
    return s;
}

}  // extern "C"
