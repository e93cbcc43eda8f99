// The one way this library erases secrets: key schedules, generator work buffers and the
// temporaries of private-key operations. The stores go through a volatile pointer followed by
// a compiler barrier, so that they survive even when the buffer dies right after the call.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vc {

inline void secure_wipe(void *p, size_t n) {
    if (p == nullptr) return;
    volatile uint8_t *v = static_cast<volatile uint8_t *>(p);
    while (n--) *v++ = 0;
    __asm__ __volatile__("" : : "r"(p) : "memory");
}

// Wipes a whole object (a key schedule, a context record, an array of words).
template <typename T>
inline void secure_wipe_object(T &object) {
    secure_wipe(&object, sizeof object);
}

}  // namespace vc
