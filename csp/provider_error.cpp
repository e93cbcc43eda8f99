// The provider reports failures through one process-wide variable read by GetError. Only
// failures write it, so GetError tells the last failure, not the result of the last call.
#include "csp/provider_error.h"

#include <vorelcrypto/csp.h>

namespace vc::csp {

namespace {
int32_t g_lastReason = 0;
}

int32_t SetProviderError(int32_t reason) {
    g_lastReason = reason < 1000 ? reason + 2000 : reason;
    return -1;
}

}  // namespace vc::csp

extern "C" uint32_t GetError(void) {
    return uint32_t(vc::csp::g_lastReason);
}
