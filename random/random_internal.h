// Internal state of the process-wide random generators and the seed sources. Tests include
// this header to set a generator's state and compare its output with a model; nothing here is
// exported.
#pragma once

#include "common/wipe.h"

#include <vorelcrypto/bignum.h>

#include <cstdint>
#include <mutex>

namespace vc::random {

// ---- seed sources ----
void osRandom(uint8_t *out, uint32_t len);  // getrandom(), retried until filled
uint32_t tickCount();                       // CLOCK_MONOTONIC in ms, low 32 bits
uint32_t processId();
uint32_t timeSeconds();                     // time(nullptr), low 32 bits
uint32_t processClockMs();                  // clock() in ms

// ---- threads and processes ----
// Each generator's state and first-use flag are guarded by its own lock, held only for one draw
// or one mix (never while another generator's lock is taken), so any order of threads is safe.
enum class Generator { kEntropyPool, kRsaPool, kDes, kChain, kCount };
std::mutex &generatorLock(Generator g);
// Counts the child processes this process has become through fork(): a generator whose state
// was seeded under another count is a copy of its parent's and must take fresh entropy before
// its next output. A fork handler also holds every generator lock across fork(), so that the
// child never inherits a state half written or a lock held by a thread it does not have.
uint32_t forkGeneration();
// Fresh material for a state copied across fork(): the new process id, then 32 bytes of the
// operating system's generator.
inline constexpr uint32_t kForkSeedLen = 4 + 32;
void forkSeed(uint8_t out[kForkSeedLen]);
// Before a generator's output (its lock held): seed(state) on first use; mix(state, fresh) with
// forkSeed material when the state was seeded in another process.
template <typename State, typename Seed, typename Mix>
void refreshState(State &state, Seed seed, Mix mix) {
    const uint32_t generation = forkGeneration();
    if (state.firstUse) {
        state.firstUse = false;
        seed(state);
    } else if (state.forkGeneration != generation) {
        uint8_t fresh[kForkSeedLen];
        forkSeed(fresh);
        mix(state, fresh);
        secure_wipe(fresh, sizeof fresh);
    }
    state.forkGeneration = generation;
}

// ---- MD5 entropy pools ----
inline constexpr int32_t kPoolSize = 1023;
struct Pool {
    uint8_t bytes[kPoolSize];
    uint8_t md[16];
    uint32_t counter;
    int32_t index;
    int32_t filled;
    bool firstUse;
    uint32_t forkGeneration;  // forkGeneration() when last seeded
};
Pool &entropyPool();  // RAND_Bytes
Pool &rsaPool();      // E_GenerateRandom_RSA, E_GenerateSeed_RSA
// The unlocked steps (callers hold the pool's lock).
void poolMix(Pool &pool, const uint8_t *in, int32_t len);
void poolOutput(Pool &pool, uint8_t *out, int32_t len);
// The internal mixer of the entropy pool (takes its lock).
void RAND_Seed(const uint8_t *in, int32_t len);

// ---- DES generator ----
struct DesState {
    uint8_t a[8];
    uint8_t b[8];
    bool firstUse;
    uint32_t forkGeneration;
};
DesState &desState();
// The two fixed keys, for tests that check the stored schedules.
extern const uint8_t kDesKey1[8];
extern const uint8_t kDesKey2[8];

// ---- MD5 hash chain ----
struct ChainState {
    uint8_t s[16];
    bool firstUse;
    uint32_t forkGeneration;
};
ChainState &chainState();

// ---- random numbers ----
using ByteSource = void (*)(uint8_t *out, uint32_t len);
// EN_Random's shape on any byte source: the time is mixed into the entropy pool, (bits + 7) / 8
// bytes are drawn, the top bit (two with top != 0) and, with odd != 0, bit 0 are forced.
void randomNumber(ENUM *a, uint32_t bits, uint32_t top, uint32_t odd, ByteSource source);

// ---- G-function loops (tests drive them with their own XKEY, XSEED and q) ----
// Supplies one XSEED per iteration.
using SeedSource = void (*)(ENUM *xseed, void *arg);
// X9.31 loop: len bytes; xkey (5 words of room) is advanced in place.
void x931Loop(uint8_t *out, uint32_t len, ENUM *xkey, const ENUM *q, SeedSource seed, void *arg);
// X9.62 loop: (bits + 159) / 160 blocks of G(XKEY + xseed) into out (20 bytes each), xkey
// advanced in place by each block; xseed may be null. Returns the block count.
uint32_t x962Loop(uint8_t *out, uint32_t bits, ENUM *xkey, const ENUM *xseed);

}  // namespace vc::random

namespace vc::random {
// E_GenerateRandom_ECKCDSA after its XKEY is drawn: k = HAS160-expand(XKEY + XSEED, 2 b) mod q.
void eckcdsaFromXkey(const ENUM *xkey, const uint8_t *seed, uint32_t seedLen, const ENUM *q,
                     uint32_t b, uint8_t *out, uint32_t *outLen);
}  // namespace vc::random
