// Internal interface of the SHA-1 and SHA-256 engines: the choice between the CPU's SHA
// extensions and the portable code, and the compression functions for tests and benchmarks.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vc::hash {

// True when the processor offers the SHA extensions (with SSSE3 and SSE4.1).
bool cpuHasShaExtensions();

// Whether SHA-1 and SHA-256 use the SHA extensions. Starts as cpuHasShaExtensions(); tests and
// benchmarks switch it off to run the portable code. Process-wide, not synchronised.
bool shaExtensionsEnabled();
void setShaExtensionsEnabled(bool enabled);

// SHA-1 compression of `blocks` consecutive 64-byte blocks read as big-endian words.
void sha1CompressBytes(uint32_t state[5], const uint8_t *data, size_t blocks);
// SHA-256 compression of `blocks` consecutive 64-byte blocks.
void sha256Compress(uint32_t state[8], const uint8_t *data, size_t blocks);

}  // namespace vc::hash
