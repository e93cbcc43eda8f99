// Seed material for the generators' first use, their locks, and the fork handler that tells a
// child process's generators to take fresh entropy.
#include "random/random_internal.h"

#include <pthread.h>
#include <sys/random.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <ctime>

namespace vc::random {

namespace {

constexpr int kGenerators = int(Generator::kCount);
std::mutex g_locks[kGenerators];
std::atomic<uint32_t> g_forkGeneration{0};

void lockAll() {
    for (std::mutex &m : g_locks) m.lock();
}
void unlockAll() {
    for (int i = kGenerators - 1; i >= 0; i--) g_locks[i].unlock();
}
void afterForkInChild() {
    g_forkGeneration.fetch_add(1, std::memory_order_relaxed);
    unlockAll();
}

}  // namespace

std::mutex &generatorLock(Generator g) { return g_locks[int(g)]; }

uint32_t forkGeneration() {
    // Registered on the first draw of any generator; a fork before that leaves nothing to copy.
    static const bool registered = pthread_atfork(lockAll, unlockAll, afterForkInChild) == 0;
    (void)registered;
    return g_forkGeneration.load(std::memory_order_relaxed);
}

void forkSeed(uint8_t out[kForkSeedLen]) {
    const uint32_t pid = processId();
    std::memcpy(out, &pid, 4);
    osRandom(out + 4, kForkSeedLen - 4);
}

void osRandom(uint8_t *out, uint32_t len) {
    while (len > 0) {
        ssize_t got = getrandom(out, len, 0);
        if (got < 0) {
            if (errno == EINTR) continue;
            return;  // no kernel generator: the other sources still seed the state
        }
        out += got;
        len -= uint32_t(got);
    }
}

uint32_t tickCount() {
    timespec ts{};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return uint32_t(uint64_t(ts.tv_sec) * 1000u + uint64_t(ts.tv_nsec) / 1000000u);
}

uint32_t processId() { return uint32_t(getpid()); }

uint32_t timeSeconds() { return uint32_t(time(nullptr)); }

uint32_t processClockMs() { return uint32_t(uint64_t(clock()) * 1000u / CLOCKS_PER_SEC); }

}  // namespace vc::random
