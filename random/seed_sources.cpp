// Seed material for the generators' first use.
#include "random/random_internal.h"

#include <sys/random.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

namespace vc::random {

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
