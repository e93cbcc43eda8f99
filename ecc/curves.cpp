// Curve records (E_ECParams_Init), the conversions between octet strings and word arrays, and
// point validation.
#include "ecc/curves.h"

#include "ecc/binary_curve.h"
#include "ecc/gfp.h"
#include "ecc/scalar_mul.h"

#include <cstdio>
#include <cstring>

namespace vc::ecc {

const PrimeCurveConstants kSecp160r1 = {
    "secp160r1",
    {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,
     0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F, 0xFF, 0xFF, 0xFF},
    {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,
     0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F, 0xFF, 0xFF, 0xFC},
    {0x1C, 0x97, 0xBE, 0xFC, 0x54, 0xBD, 0x7A, 0x8B, 0x65, 0xAC,
     0xF8, 0x9F, 0x81, 0xD4, 0xD4, 0xAD, 0xC5, 0x65, 0xFA, 0x45},
    {0x10, 0x53, 0xCD, 0xE4, 0x2C, 0x14, 0xD6, 0x96, 0xE6, 0x76,
     0x87, 0x56, 0x15, 0x17, 0x53, 0x3B, 0xF3, 0xF8, 0x33, 0x45},
    {0x4A, 0x96, 0xB5, 0x68, 0x8E, 0xF5, 0x73, 0x28, 0x46, 0x64,
     0x69, 0x89, 0x68, 0xC3, 0x8B, 0xB9, 0x13, 0xCB, 0xFC, 0x82},
    {0x23, 0xA6, 0x28, 0x55, 0x31, 0x68, 0x94, 0x7D, 0x59, 0xDC,
     0xC9, 0x12, 0x04, 0x23, 0x51, 0x37, 0x7A, 0xC5, 0xFB, 0x32},
    {0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01,
     0xF4, 0xC8, 0xF9, 0x27, 0xAE, 0xD3, 0xCA, 0x75, 0x22, 0x57},
    1,
};

uint32_t lowOctetsToWords(const uint8_t *octets, uint32_t length, uint32_t words[6]) {
    for (int i = 0; i < 6; i++) words[i] = 0;
    const uint32_t n = length > 24 ? 24 : length;
    for (uint32_t i = 0; i < n; i++) {
        const uint32_t byte = n - 1 - i;
        words[byte / 4] |= uint32_t(octets[length - n + i]) << (8 * (byte % 4));
    }
    return 8 * n;
}

bool isBuiltInCurve(int curveId) {
    switch (curveId) {
    case 3: case 5: case 7: case 11: case 21: case 22: return true;
    default: return false;
    }
}

namespace {

void setOctets(Opaque8 &member, const uint8_t *bytes, uint32_t n) {
    std::memcpy(member.data, bytes, n);
    member.length = n;
}

// Big-endian octets of words[0..5] as one 21-octet coordinate (or 20 on curve 7).
void coordinateToOctets(const uint32_t *words, uint8_t *out, uint32_t n) {
    for (uint32_t i = 0; i < n; i++) {
        const uint32_t byte = n - 1 - i;
        out[i] = uint8_t(words[byte / 4] >> (8 * (byte % 4)));
    }
}

// The inverse, zero-extending to six words; octets past the string's end count as zero.
void octetsToCoordinate(const Opaque8 *in, uint32_t offset, uint32_t n, uint32_t *words) {
    for (int i = 0; i < 6; i++) words[i] = 0;
    for (uint32_t i = 0; i < n; i++) {
        const uint32_t byte = n - 1 - i;
        words[byte / 4] |= uint32_t(octetAt(in, offset + i)) << (8 * (byte % 4));
    }
}

// Compares the n big-endian octets at a with those at b: -1, 0 or 1.
int compareOctets(const uint8_t *a, const uint8_t *b, uint32_t n) {
    const int c = std::memcmp(a, b, n);
    return (c > 0) - (c < 0);
}

}  // namespace
}  // namespace vc::ecc

using namespace vc::ecc;

extern "C" {

int32_t E_ECParams_Init(int32_t curveId, EcParams *params) {
    params->field.p.data = params->area[0];
    params->a.data = params->area[1];
    params->b.data = params->area[2];
    params->seed.data = params->area[3];
    params->G.data = params->area[4];
    params->n.data = params->area[5];
    params->h.data = params->area[6];
    params->seed.length = 0;
    if (curveId == kPrimeCurveId) {
        const PrimeCurveConstants &c = kSecp160r1;
        params->fieldType = 0;
        setOctets(params->field.p, c.p, 20);
        setOctets(params->a, c.a, 20);
        setOctets(params->b, c.b, 20);
        setOctets(params->seed, c.seed, 20);
        params->G.data[0] = 0x04;
        std::memcpy(params->G.data + 1, c.gx, 20);
        std::memcpy(params->G.data + 21, c.gy, 20);
        params->G.length = 41;
        setOctets(params->n, c.n, 21);
        setOctets(params->h, &c.h, 1);
        params->area[7][0] = 0;
        return 0;
    }
    const BinaryCurveConstants *c = binaryCurveConstants(curveId);
    BinaryField field{};
    if (c == nullptr || !parseBinaryField(c->polynomial, &field)) return -1;
    params->fieldType = 1;
    params->field.binary.m = uint16_t(field.m);
    params->field.binary.basis = 2;
    params->field.binary.k3 = uint16_t(field.k3);
    params->field.binary.k2 = uint16_t(field.k2);
    params->field.binary.k1 = uint16_t(field.k1);
    setOctets(params->a, c->a, 21);
    setOctets(params->b, c->b, 21);
    if (c->seedLength != 0) {
        // The binary curves' seeds carry one trailing zero octet: stored records have it.
        setOctets(params->seed, c->seed, c->seedLength);
        params->seed.data[c->seedLength] = 0;
        params->seed.length = c->seedLength + 1;
    }
    params->G.data[0] = 0x04;
    std::memcpy(params->G.data + 1, c->gx, 21);
    std::memcpy(params->G.data + 22, c->gy, 21);
    params->G.length = 43;
    setOctets(params->n, c->n, 21);
    setOctets(params->h, &c->h, 1);
    std::snprintf(reinterpret_cast<char *>(params->area[7]), EC_PARAMS_AREA_BYTES, "%s",
                  c->polynomial);
    return 0;
}

int32_t ZENOR_V1_LongsToopaque8(int32_t nWords, const uint32_t *words, Opaque8 *out) {
    if (nWords < 1) return -1;
    uint32_t length = 4 * uint32_t(nWords);
    const uint32_t top = words[nWords - 1];
    if (length >= 21 && top < (1u << 24)) {
        if ((top & 0xFF0000u) != 0)
            length -= 1;
        else if ((top & 0xFF00u) != 0)
            length -= 2;
        else
            length -= 3;
    }
    coordinateToOctets(words, out->data, length);
    out->length = length;
    return 1;
}

int32_t ZENOR_V1_opaque8ToLongs(int32_t mode, const Opaque8 *in, uint32_t *words) {
    const uint32_t n = in->length;
    for (uint32_t i = 0; i < (n + 3) / 4; i++) words[i] = 0;
    for (uint32_t i = 0; i < n; i++) {
        const uint32_t byte = n - 1 - i;
        words[byte / 4] |= uint32_t(in->data[i]) << (8 * (byte % 4));
    }
    return 1;
}

int32_t ZENOR_V1_ECPointsToopaque8(int32_t curveId, int32_t form, const uint32_t point[12],
                                   Opaque8 *out) {
    if (form == 2) return -1;
    if (form == 3) return -2;
    if (form != 1) return -3;
    if (!isBuiltInCurve(curveId)) return 1;
    const uint32_t n = coordinateBytes(curveId);
    out->data[0] = 0x04;
    coordinateToOctets(point, out->data + 1, n);
    coordinateToOctets(point + 6, out->data + 1 + n, n);
    out->length = 1 + 2 * n;
    return 1;
}

int32_t ZENOR_V1_opaque8ToECPoints(int32_t curveId, const Opaque8 *in, uint32_t point[12]) {
    const uint8_t form = octetAt(in, 0);
    if (form == 0x02) return -1;
    if (form == 0x06) return -2;
    if (form != 0x04) return -3;
    const uint32_t n = coordinateBytes(curveId);
    octetsToCoordinate(in, 1, n, point);
    octetsToCoordinate(in, 1 + n, n, point + 6);
    return 1;
}

int32_t ZENOR_V1_IsValidPoint(int32_t curveId, const EcParams *params, const Opaque8 *point) {
    if (!isBuiltInCurve(curveId)) return -2;
    if (point == nullptr || point->length == 0) return -1;
    const uint32_t n = coordinateBytes(curveId), total = 1 + 2 * n;
    uint8_t octets[43];
    for (uint32_t i = 0; i < total; i++) octets[i] = octetAt(point, i);
    uint8_t any = 0;
    for (uint32_t i = 1; i < total; i++) any |= octets[i];
    if (any == 0) return -1;
    if (point->length > total) return -2;
    uint32_t xy[12];
    octetsToCoordinate(point, 1, n, xy);
    octetsToCoordinate(point, 1 + n, n, xy + 6);
    uint32_t a[6], b[6];
    memberWords(params->a, a);
    memberWords(params->b, b);
    if (curveId == kPrimeCurveId) {
        // A coordinate equal to p passes: the comparison is strictly greater-than.
        const uint8_t *p = params->field.p.data;
        if (compareOctets(octets + 1, p, 20) > 0 || compareOctets(octets + 21, p, 20) > 0) return -2;
        uint32_t pw[6];
        memberWords(params->field.p, pw);
        if (!primeOnCurve(pw, a, b, xy)) return -3;
    } else {
        if (octets[1] > 7 || octets[22] >= 8) return -2;
        BinaryField field{};
        parseBinaryField(binaryCurveConstants(curveId)->polynomial, &field);
        if (!binaryOnCurve(field, a, b, xy, xy + 6)) return -3;
    }
    uint32_t order[6], result[12];
    const uint32_t bits = memberWords(params->n, order);
    multiplyWithRecord(curveId, 0, params, order, bits, xy, result, false);
    for (uint32_t w : result)
        if (w != 0) return -4;
    return 1;
}

}  // extern "C"
