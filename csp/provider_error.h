// The provider's error variable, one per thread.
#pragma once

#include <cstdint>

namespace vc::csp {

// Records a failure reason (reason + 2000 when below 1000) and returns -1, the value every
// failing provider function returns.
int32_t SetProviderError(int32_t reason);

}  // namespace vc::csp
