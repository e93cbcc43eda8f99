// g^e mod p for the signers, whose g stays the same from one signature to the next: a table of
// g^(j 32^i) (all j < 32, one row per 5-bit window of e) turns an exponentiation into one
// product per window and no squarings. Building a table costs about five exponentiations, so
// tables are kept in a small process-wide cache keyed by (p, g). Tables hold powers of the
// public g only; the secret exponent touches nothing but stack temporaries, wiped at the end.
#include "common/wipe.h"
#include "pubkey/dlog_mont.h"

#include <pthread.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <new>

namespace vc::dlog {

namespace {

constexpr uint32_t kWidth = 5;  // exponent bits per window
constexpr uint32_t kEntries = 1u << kWidth;
// Longer exponents (no signer's nonce for a q up to 384 bits) go to powSecret: it bounds a table
// at 77 rows x 32 entries x 38 limbs, about 750 KiB (430 KiB for 2048-bit p and 256-bit q).
constexpr uint32_t kMaxBits = 384;
// Tables cover exponents in steps of 64 bits, so that a nonce that happens to be one word short
// reuses the table of the full-length ones.
constexpr uint32_t kBitStep = 64;

constexpr uint32_t rowsFor(uint32_t bits) { return (bits + kWidth - 1) / kWidth; }

// Bits [5 row, 5 row + 5) of e's words.
inline uint32_t digitAt(const ENUM *e, uint32_t row) {
    const uint32_t bit = row * kWidth, word = bit / 32;
    u64 v = e->words[word];
    if (word + 1 < uint32_t(e->length)) v |= u64(e->words[word + 1]) << 32;
    return uint32_t(v >> (bit % 32)) & (kEntries - 1);
}
constexpr int kCacheSlots = 4;
// A public-exponent request builds a table only for a (p, base) among the last few requests
// (a key verifying its second signature): a verifier that sees every key once never pays for a
// table, which costs about four verifications.
constexpr int kSeenSlots = 8;

// All ones when x == y, else zero, without a branch.
inline u64 equalMask(u64 x, u64 y) {
    const u64 d = x ^ y;
    return u64(0) - (((d | (u64(0) - d)) >> 63) ^ 1);
}

uint64_t fingerprint(const ENUM *p, const ENUM *g) {
    uint64_t h = 0xcbf29ce484222325u;  // FNV-1a over the words of p, a separator, then g
    auto mix = [&h](uint32_t w) { h = (h ^ w) * 0x100000001b3u; };
    for (int32_t i = 0; i < p->length; i++) mix(p->words[i]);
    mix(0xFFFFFFFFu);
    for (int32_t i = 0; i < g->length; i++) mix(g->words[i]);
    return h;
}

bool sameNumber(const ENUM *a, const uint32_t *words, int32_t length) {
    return a->length == length && std::memcmp(a->words, words, sizeof(uint32_t) * size_t(length)) == 0;
}

struct Table {
    uint64_t hash;
    uint32_t pWords[bignum::kMaxModWords], gWords[bignum::kTempWords];
    int32_t pLength, gLength;
    Mont mt;
    uint32_t bits = 0;              // the longest exponent covered
    mutable std::atomic<uint32_t> refs{0};  // counted by TableRef
    std::unique_ptr<u64[]> powers;  // rowsFor(bits) x kEntries x n limbs, in Montgomery form

    Table(const ENUM *p, const ENUM *g, uint64_t h) : hash(h), pLength(p->length), gLength(g->length), mt(p) {
        std::memcpy(pWords, p->words, sizeof(uint32_t) * size_t(pLength));
        std::memcpy(gWords, g->words, sizeof(uint32_t) * size_t(gLength));
    }
    bool matches(const ENUM *p, const ENUM *g, uint64_t h) const {
        return h == hash && sameNumber(p, pWords, pLength) && sameNumber(g, gWords, gLength);
    }
    const u64 *entry(uint32_t row, uint32_t j) const { return &powers[(size_t(row) * kEntries + j) * size_t(mt.n)]; }
    u64 *entry(uint32_t row, uint32_t j) { return &powers[(size_t(row) * kEntries + j) * size_t(mt.n)]; }

    // Row i holds g^(j 32^i) R mod p for j = 0 .. 31; the next row's base is the square of entry 16.
    bool fill(const ENUM *p, const ENUM *g, uint32_t bitCount) {
        const int n = mt.n;
        const uint32_t rows = rowsFor(bitCount);
        powers.reset(new (std::nothrow) u64[size_t(rows) * kEntries * size_t(n)]);
        if (!powers) return false;
        bits = bitCount;
        u64 rr[kMaxLimbs];
        mt.constants(entry(0, 0), rr, p);
        mt.enter(entry(0, 1), g, p, rr);
        for (uint32_t i = 0; i < rows; i++) {
            if (i > 0) {
                std::memcpy(entry(i, 0), entry(0, 0), sizeof(u64) * size_t(n));
                mt.sqr(entry(i, 1), entry(i - 1, kEntries / 2));
            }
            for (uint32_t j = 2; j < kEntries; j++) mt.mul(entry(i, j), entry(i, j - 1), entry(i, 1));
        }
        return true;
    }
};

// A counted reference to a table: the cache holds one and each exponentiation another, so a
// table evicted while in use lives until its last user lets go. (std::shared_ptr would do the
// same, but its control block's vtable would leave the library as an exported C++ name.)
class TableRef {
public:
    TableRef() = default;
    TableRef(std::nullptr_t) {}
    explicit TableRef(const Table *t) : t_(t) {
        if (t_ != nullptr) t_->refs.fetch_add(1, std::memory_order_relaxed);
    }
    TableRef(const TableRef &other) : TableRef(other.t_) {}
    TableRef &operator=(const TableRef &other) {
        TableRef copy(other);
        std::swap(t_, copy.t_);
        return *this;
    }
    ~TableRef() {
        if (t_ != nullptr && t_->refs.fetch_sub(1, std::memory_order_acq_rel) == 1) delete t_;
    }
    const Table *operator->() const { return t_; }
    explicit operator bool() const { return t_ != nullptr; }

private:
    const Table *t_ = nullptr;
};

struct Cache {
    std::mutex lock;
    TableRef slots[kCacheSlots];
    int next = 0;  // the slot replaced next, round robin
    uint64_t seen[kSeenSlots] = {};  // fingerprints of recent public-exponent requests
    int nextSeen = 0;
};

// A child of fork() inherits the cache; the lock is held across fork() so that the child never
// starts with it taken by a thread it does not have.
Cache &cache() {
    static Cache c;
    static const int hooks = pthread_atfork([] { c.lock.lock(); }, [] { c.lock.unlock(); },
                                            [] { c.lock.unlock(); });
    (void)hooks;
    return c;
}

// A table for (p, g) covering exponents of `bits` bits, from the cache or newly built (then cached);
// null when memory runs out, or when `onRepeat` and (p, g) was not asked for recently.
TableRef tableFor(const ENUM *p, const ENUM *g, uint32_t bits, bool onRepeat) {
    const uint64_t h = fingerprint(p, g);
    Cache &c = cache();
    int same = -1;
    {
        std::lock_guard<std::mutex> guard(c.lock);
        for (int i = 0; i < kCacheSlots; i++) {
            const auto &t = c.slots[i];
            if (t && t->matches(p, g, h)) {
                if (t->bits >= bits) return t;
                same = i;
            }
        }
        if (onRepeat && same < 0) {
            bool repeat = false;
            for (uint64_t f : c.seen) repeat = repeat || f == h;
            if (!repeat) {
                c.seen[c.nextSeen] = h;
                c.nextSeen = (c.nextSeen + 1) % kSeenSlots;
                return nullptr;
            }
        }
    }
    std::unique_ptr<Table> built(new (std::nothrow) Table(p, g, h));
    if (!built || !built->fill(p, g, (bits + kBitStep - 1) / kBitStep * kBitStep)) return nullptr;
    const TableRef t(built.release());
    std::lock_guard<std::mutex> guard(c.lock);
    // A shorter table for the same domain is replaced; otherwise the oldest slot.
    if (same < 0 || !c.slots[same] || !c.slots[same]->matches(p, g, h)) {
        same = c.next;
        c.next = (c.next + 1) % kCacheSlots;
    }
    c.slots[same] = t;
    return t;
}

}  // namespace

void powFixedBase(ENUM *r, const ENUM *g, const ENUM *e, const ENUM *p) {
    // The table covers every word of e, so only e's length in words shows in the running time.
    const uint32_t bits = uint32_t(e->length) * 32, rows = rowsFor(bits);
    ENUM pm = *p, gm{0, g->length, g->words};
    bignum::trim(&pm), bignum::trim(&gm);
    TableRef t;
    if (e->length > 0 && bits <= kMaxBits && pm.length > 0 && (pm.words[0] & 1) != 0 && pm.sign == 0)
        t = tableFor(&pm, &gm, bits, false);
    if (!t) {
        powSecret(r, g, e, p);
        return;
    }
    const Mont &mt = t->mt;
    const int n = mt.n;
    u64 acc[kMaxLimbs], pick[kMaxLimbs];
    // Every entry of the row is read and the wanted one kept by masks.
    auto select = [&](uint32_t row, u64 *out) {
        const uint32_t digit = digitAt(e, row);
        for (int i = 0; i < n; i++) out[i] = 0;
        for (uint32_t j = 0; j < kEntries; j++) {
            const u64 mask = equalMask(j, digit);
            const u64 *x = t->entry(row, j);
            for (int i = 0; i < n; i++) out[i] |= x[i] & mask;
        }
    };
    select(0, acc);
    for (uint32_t row = 1; row < rows; row++) {
        select(row, pick);
        mt.mul(acc, acc, pick);
    }
    mt.leave(r, acc, &pm);
    secure_wipe(acc, sizeof acc);
    secure_wipe(pick, sizeof pick);
}

bool mulFixedBasePublic(u64 *acc, const ENUM *base, const ENUM *e, const ENUM *p) {
    const uint32_t bits = bignum::bitLength(e);
    if (bits == 0 || bits > kMaxBits) return false;
    ENUM bm{0, base->length, base->words};
    bignum::trim(&bm);
    TableRef t = tableFor(p, &bm, bits, true);
    if (!t) return false;
    for (uint32_t row = 0; row < rowsFor(bits); row++) {
        const uint32_t digit = digitAt(e, row);
        if (digit != 0) t->mt.mul(acc, acc, t->entry(row, digit));
    }
    return true;
}

}  // namespace vc::dlog
