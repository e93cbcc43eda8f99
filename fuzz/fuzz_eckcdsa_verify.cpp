// E_ECKCDSA_Verify: the 47-octet form, key prefixes, decompression and the verification on
// arbitrary signature and public-key bytes. The first input byte picks the curve, the second
// how many of the remaining bytes are the signature; the rest is the key. Both are copied to
// buffers of exactly their length so that any read past the end is caught.
#include <vorelcrypto/ec_protocols.h>

#include <cstdint>
#include <cstdlib>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const int32_t kCurves[] = {3, 5, 7, 11, 21, 22, 4};
    if (size < 2 || size > 200) return 0;
    const int32_t curve = kCurves[data[0] % 7];
    const size_t sigLength = data[1] < size - 2 ? data[1] : size - 2;
    std::vector<uint8_t> sig(data + 2, data + 2 + sigLength), key(data + 2 + sigLength, data + size);
    static uint8_t message[] = {'f', 'u', 'z', 'z'};
    Opaque8 m{sizeof message, message};
    Opaque8 s{uint32_t(sig.size()), sig.empty() ? nullptr : sig.data()};
    Opaque8 k{uint32_t(key.size()), key.empty() ? nullptr : key.data()};
    EcParams params;
    if (E_ECParams_Init(curve, &params) != 0) params = EcParams{};
    const int32_t r = E_ECKCDSA_Verify(curve, &params, &m, &s, &k);
    if (r != 1 && r != 0 && r != 2 && r != -1 && r != -4) std::abort();
    return 0;
}
