// The provider reports failures through one variable per thread read by GetError, so that a
// failure in one thread never changes what another thread reads. Only failures write it, so
// GetError tells the calling thread's last failure, not the result of its last call.
#include "csp/provider_error.h"

#include <vorelcrypto/csp.h>

namespace vc::csp {

namespace {
thread_local int32_t g_lastReason = 0;
}

int32_t SetProviderError(int32_t reason) {
    g_lastReason = reason < 1000 ? reason + 2000 : reason;
    return -1;
}

}  // namespace vc::csp

extern "C" uint32_t GetError(void) {
    return uint32_t(vc::csp::g_lastReason);
}
