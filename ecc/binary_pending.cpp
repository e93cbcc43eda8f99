// Placeholders for the binary-curve arithmetic until its sources join the tree: weak
// definitions that report every binary curve as unknown. The real definitions replace them at
// link time.
#include "ecc/binary_curve.h"

namespace vc::ecc {

__attribute__((weak)) const BinaryCurveConstants *binaryCurveConstants(int) { return nullptr; }
__attribute__((weak)) bool parseBinaryField(const char *, BinaryField *) { return false; }
__attribute__((weak)) bool binaryOnCurve(const BinaryField &, const uint32_t *, const uint32_t *,
                                         const uint32_t *, const uint32_t *) {
    return false;
}
__attribute__((weak)) void binaryScalarMul(int, int, const BinaryField &, const uint32_t *,
                                           const uint32_t *, const uint32_t *, const uint32_t *,
                                           uint32_t *result, bool) {
    for (int i = 0; i < 12; i++) result[i] = 0;
}

}  // namespace vc::ecc
