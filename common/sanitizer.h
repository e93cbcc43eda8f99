// Whether this build runs under AddressSanitizer. The small per-thread block caches turn
// themselves off there, so that the sanitizer still sees every use after free.
#pragma once

namespace vc {

#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool kAddressSanitizer = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
inline constexpr bool kAddressSanitizer = true;
#else
inline constexpr bool kAddressSanitizer = false;
#endif
#else
inline constexpr bool kAddressSanitizer = false;
#endif

}  // namespace vc
