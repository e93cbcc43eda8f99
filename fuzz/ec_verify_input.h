// The input shape shared by the EC signature-verification fuzz targets: the first byte picks
// the curve (one id the library does not know among them), the second how many of the
// remaining bytes are the signature; the rest is the public key. Signature and key are copied
// to buffers of exactly their length so that any read past the end is caught.
#pragma once

#include <vorelcrypto/ec_protocols.h>

#include <cstdint>
#include <vector>

// Calls verify(curve, params, message, signature, key) and returns its result, or 0 for an
// input too short or too long to be worth running.
template <typename Verify>
int32_t runEcVerify(const uint8_t *data, size_t size, Verify verify) {
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
    return verify(curve, &params, &m, &s, &k);
}
