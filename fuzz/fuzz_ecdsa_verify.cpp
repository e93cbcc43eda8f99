// E_ECDSA_Verify: the strict DER reader and the verification on arbitrary signature and
// public-key bytes (input shape in ec_verify_input.h). Results outside 1, 0, 2, -4 abort.
#include "ec_verify_input.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const int32_t r = runEcVerify(data, size, E_ECDSA_Verify);
    if (r != 1 && r != 0 && r != 2 && r != -4) std::abort();
    return 0;
}
