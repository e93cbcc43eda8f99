// E_ECKCDSA_Verify: the 47-octet form, key prefixes, decompression and the verification on
// arbitrary signature and public-key bytes (input shape in ec_verify_input.h). Results
// outside 1, 0, 2, -1, -4 abort.
#include "ec_verify_input.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const int32_t r = runEcVerify(data, size, E_ECKCDSA_Verify);
    if (r != 1 && r != 0 && r != 2 && r != -1 && r != -4) std::abort();
    return 0;
}
