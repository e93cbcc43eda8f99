// The provider's digest family: CSP_DigestDataInit, CSP_DigestDataUpdate, CSP_DigestDataFinal.
//
// A static descriptor per digest algorithm holds the digest length and the three generic
// routines; the routines switch on the algorithm identifier to reach the engine. The aliases
// 42, 43, 49, 81 and 90 have descriptors but no engine: they succeed and produce nothing, which
// hosts of the provider have always seen.
#include <vorelcrypto/csp.h>
#include <vorelcrypto/hash.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "common/sanitizer.h"
#include "csp/digest.h"
#include "csp/provider_error.h"
#include "hash/md5.h"

struct DigestDescriptor {
    uint32_t digestLength;
    bool (*start)(CspContextRecord *record);
    bool (*add)(const DataBlob *blob, void *state, uint32_t algorithm);
    bool (*finish)(DataBlob *result, void *state, uint32_t algorithm);
};

namespace vc::csp {
namespace {

// Type-erased view of one hash engine.
struct Engine {
    uint32_t algorithm;
    uint32_t digestLength;
    size_t stateSize;
    void (*init)(void *state);
    void (*update)(void *state, const uint8_t *data, uint32_t length);
    void (*final)(void *state, uint8_t *digest);
};

template <class Ctx, void (*Init)(Ctx *), void (*Update)(Ctx *, const uint8_t *, uint32_t),
          void (*Final)(Ctx *, uint8_t *)>
constexpr Engine engine(uint32_t algorithm, uint32_t digestLength, size_t minimumState) {
    return Engine{
        algorithm,
        digestLength,
        std::max(sizeof(Ctx), minimumState),
        [](void *s) { Init(static_cast<Ctx *>(s)); },
        [](void *s, const uint8_t *d, uint32_t n) { Update(static_cast<Ctx *>(s), d, n); },
        [](void *s, uint8_t *out) { Final(static_cast<Ctx *>(s), out); },
    };
}

// The engine state sizes are those the provider has always reserved; a context record larger
// than that gets its own size.
constexpr Engine kEngines[] = {
    engine<Md2Context, E_MD2_Init, E_MD2_Update, E_MD2_Final>(5, 16, 149),
    engine<Md4Context, E_MD4_Init, E_MD4_Update, E_MD4_Final>(6, 16, 89),
    engine<vc::hash::Md5Context, vc::hash::md5Init, vc::hash::md5Update, vc::hash::md5Final>(7, 16, 89),
    engine<ShaContext, E_SHA1_Init, E_SHA1_Update, E_SHA1_Final>(8, 20, 93),
    engine<Ripemd160Context, E_RIPEMD160_Init, E_RIPEMD160_Update, E_RIPEMD160_Final>(11, 20, 97),
    engine<Has160Context, E_HAS160_Init, E_HAS160_Update, E_HAS160_Final>(89, 20, 93),
};

const Engine *engineFor(uint32_t algorithm) {
    for (const Engine &e : kEngines)
        if (e.algorithm == algorithm) return &e;
    return nullptr;  // an alias: no engine
}

// Every digest allocates its engine state at Init and releases it at Final, so each thread
// keeps its last released state block for the next Init. All blocks have one size, enough for
// every engine.
constexpr size_t kStateBlock = [] {
    size_t most = 0;
    for (const Engine &e : kEngines) most = std::max(most, e.stateSize);
    return (most + 63) / 64 * 64;
}();

struct StateCache {
    void *block = nullptr;
    ~StateCache() { std::free(block); }
};
thread_local StateCache t_stateCache;

void *allocateState(size_t size) {
    void *block = t_stateCache.block;
    if (block == nullptr) return std::calloc(1, kStateBlock);
    t_stateCache.block = nullptr;
    std::memset(block, 0, size);
    return block;
}

void releaseState(void *block) {
    if (!vc::kAddressSanitizer && t_stateCache.block == nullptr)
        t_stateCache.block = block;
    else
        std::free(block);
}

bool start(CspContextRecord *record) {
    const Engine *e = engineFor(record->algorithm);
    if (e == nullptr) return true;
    void *state = allocateState(e->stateSize);
    if (state == nullptr) return false;
    e->init(state);
    record->state = state;
    return true;
}

bool add(const DataBlob *blob, void *state, uint32_t algorithm) {
    if (const Engine *e = engineFor(algorithm)) e->update(state, blob->Data, blob->Length);
    return true;
}

bool finish(DataBlob *result, void *state, uint32_t algorithm) {
    if (const Engine *e = engineFor(algorithm)) {
        e->final(state, result->Data);
        result->Length = e->digestLength;
    }
    return true;
}

const DigestDescriptor kMd2{16, start, add, finish};
const DigestDescriptor kMd4{16, start, add, finish};
const DigestDescriptor kMd5{16, start, add, finish};
const DigestDescriptor kSha1{20, start, add, finish};
const DigestDescriptor kRipemd160{20, start, add, finish};
const DigestDescriptor kHas160{20, start, add, finish};

const DigestDescriptor *descriptorFor(uint32_t algorithm) {
    switch (algorithm) {
    case 5: case 43: return &kMd2;
    case 6: return &kMd4;
    case 7: case 42: return &kMd5;
    case 8: case 49: case 81: return &kSha1;
    case 11: return &kRipemd160;
    case 89: case 90: return &kHas160;
    default: return nullptr;
    }
}

}  // namespace

uint32_t digestLengthOf(uint32_t algorithm) {
    const DigestDescriptor *d = descriptorFor(algorithm);
    return d != nullptr ? d->digestLength : 0;
}

void releaseDigestState(CspContextRecord *record) {
    releaseState(record->state);
    record->state = nullptr;
    record->descriptor = nullptr;
}

}  // namespace vc::csp

using vc::csp::SetProviderError;

extern "C" {

int32_t CSP_DigestDataInit(uint32_t, CspContextHandle handle, const CspContextRecord *context) {
    CspContextRecord *record = handle;
    if (record == nullptr) return SetProviderError(CSP_ERR_NO_CONTEXT);
    if (context != nullptr) {
        // The later calls work on the handle's record, so the caller's context lands there.
        record->contextClass = context->contextClass;
        record->algorithm = context->algorithm;
        record->attributeCount = context->attributeCount;
        record->attributes = context->attributes;
    }
    if (record->contextClass != CSP_CLASS_DIGEST) return SetProviderError(CSP_ERR_CLASS);
    const DigestDescriptor *d = vc::csp::descriptorFor(record->algorithm);
    if (d == nullptr) return SetProviderError(CSP_ERR_ALGORITHM);
    record->descriptor = d;
    record->state = nullptr;
    if (!d->start(record)) return SetProviderError(CSP_ERR_ENGINE);
    return 0;
}

int32_t CSP_DigestDataUpdate(uint32_t, CspContextHandle handle, const DataBlob *blobs, uint32_t count) {
    CspContextRecord *record = handle;
    if (record == nullptr) return SetProviderError(CSP_ERR_NO_CONTEXT);
    if (blobs == nullptr) return SetProviderError(CSP_ERR_NULL_BLOB);
    if (count == 0) return SetProviderError(CSP_ERR_BLOB_COUNT);
    if (record->descriptor == nullptr) return SetProviderError(CSP_ERR_ENGINE);  // no Init
    for (uint32_t i = 0; i < count; ++i) {
        if (blobs[i].Data == nullptr) return SetProviderError(CSP_ERR_NULL_DATA);
        if (!record->descriptor->add(&blobs[i], record->state, record->algorithm))
            return SetProviderError(CSP_ERR_ENGINE);
    }
    return 0;
}

int32_t CSP_DigestDataFinal(uint32_t, CspContextHandle handle, DataBlob *digest) {
    CspContextRecord *record = handle;
    if (record == nullptr) return SetProviderError(CSP_ERR_NO_CONTEXT);
    if (digest == nullptr) return SetProviderError(CSP_ERR_NULL_BLOB);
    if ((digest->Length != 0) != (digest->Data != nullptr)) return SetProviderError(CSP_ERR_NULL_DATA);
    const DigestDescriptor *d = record->descriptor;
    if (d == nullptr) return SetProviderError(CSP_ERR_ENGINE);  // no Init
    if (digest->Data == nullptr) {
        digest->Data = static_cast<uint8_t *>(std::calloc(1, d->digestLength));
        if (digest->Data == nullptr) return SetProviderError(CSP_ERR_ALLOC);
    } else if (digest->Length < d->digestLength) {
        return SetProviderError(CSP_ERR_OUTPUT_SHORT);
    }
    if (!d->finish(digest, record->state, record->algorithm)) return SetProviderError(CSP_ERR_ENGINE);
    // Forget the released state so that an Update or a second Final on this record fails with
    // the engine reason instead of touching freed memory.
    vc::csp::releaseDigestState(record);
    return 0;
}

}  // extern "C"
