// Point decoding and validation on arbitrary bytes: the first input byte picks the curve, the
// rest is the point string, copied to a buffer of exactly its length so that any read past
// the end is caught.
#include <vorelcrypto/ecc.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const int32_t kCurves[] = {3, 5, 7, 11, 21, 22, 4};
    if (size == 0 || size > 64) return 0;
    const int32_t curve = kCurves[data[0] % 7];
    std::vector<uint8_t> bytes(data + 1, data + size);
    Opaque8 point{uint32_t(bytes.size()), bytes.empty() ? nullptr : bytes.data()};
    uint32_t words[12] = {};
    const int32_t form = ZENOR_V1_opaque8ToECPoints(curve, &point, words);
    if (form != 1 && form != -1 && form != -2 && form != -3) std::abort();
    EcParams params;
    if (E_ECParams_Init(curve, &params) != 0) params = EcParams{};
    const int32_t valid = ZENOR_V1_IsValidPoint(curve, &params, &point);
    if (valid != 1 && (valid < -4 || valid > -1)) std::abort();
    // A valid uncompressed point re-encodes to the same octets (a short string as if
    // zero-padded). Validation does not look at the first octet, so other forms may pass it.
    if (valid == 1 && bytes[0] == 0x04) {
        uint8_t out[43];
        Opaque8 encoded{0, out};
        if (form != 1 || ZENOR_V1_ECPointsToopaque8(curve, 1, words, &encoded) != 1) std::abort();
        if (encoded.length < point.length || std::memcmp(out, bytes.data(), point.length) != 0) std::abort();
    }
    return 0;
}
