// Built-in tables of the built-in binary curves' base points: row i holds d * 16^i * G for
// d = 1 .. 15 in affine form, so k * G is one addition per four-bit digit of k and no doubling.
// Each table (48 rows, 36 KiB) is built on first use, once, under std::call_once.
#include "common/wipe.h"
#include "ecc/gf2m_point.h"

#include <mutex>

namespace vc::ecc::binary {

using namespace gf2m;

namespace {

constexpr int kRows = 48;  // 192-bit scalars in four-bit digits

struct Table {
    BinaryField field;
    Fe a;
    Point entry[kRows][16];  // entry 0 of each row is unused
};

void build(Table &t, const BinaryCurveConstants &k) {
    parseBinaryField(k.polynomial, &t.field);
    const Field f(t.field);
    const Point g = basePoint(k);
    t.a = constantToFe(k.a);
    const Curve c{f, t.a, curveB(f, t.a, g.x, g.y)};
    Point base = g;
    for (int i = 0; i < kRows; i++) {
        LdPoint sum = ldFromAffine(base);
        t.entry[i][0] = Point{feZero(), feZero()};
        t.entry[i][1] = base;
        for (int d = 2; d < 16; d++) {
            sum = ldAddAffine(c, sum, base, true);
            t.entry[i][d] = ldToAffine(c, sum);
        }
        base = ldToAffine(c, ldAddAffine(c, sum, base, true));
    }
}

const Table *tableFor(int curveId) {
    static const int ids[] = {3, 5, 11, 21, 22};
    static Table tables[5];
    static std::once_flag once[5];
    for (int i = 0; i < 5; i++) {
        if (ids[i] != curveId) continue;
        std::call_once(once[i], [i] { build(tables[i], *binaryCurveConstants(ids[i])); });
        return &tables[i];
    }
    return nullptr;
}

// Entry d of a row, reading all sixteen; entry 1 stands in for the unused entry 0.
Point selectEntry(const Point row[16], uint64_t d) {
    Point r = row[1];
    for (uint64_t j = 2; j < 16; j++) {
        const uint64_t mask = zeroMask(Fe{{j ^ d, 0, 0}});
        r.x = select(mask, row[j].x, r.x);
        r.y = select(mask, row[j].y, r.y);
    }
    return r;
}

}  // namespace

bool fixedBaseMul(int curveId, const Field &f, const Fe &a, const Scalar &k, bool constantTime, Point &out) {
    const Table *t = tableFor(curveId);
    const BinaryField &fp = f.params();
    if (t == nullptr || fp.m != t->field.m || fp.k3 != t->field.k3 || fp.k2 != t->field.k2 ||
        fp.k1 != t->field.k1 || !(a == t->a))
        return false;
    const Point &g = t->entry[0][1];
    const Curve c{f, a, curveB(f, a, g.x, g.y)};
    LdPoint r{feOne(), feZero(), feZero()};
    for (int i = 0; i < kRows; i++) {
        const uint64_t d = (k.w[i / 16] >> (4 * (i % 16))) & 15;
        if (constantTime) {
            const LdPoint sum = ldAddAffine(c, r, selectEntry(t->entry[i], d), true);
            const uint64_t keep = zeroMask(Fe{{d, 0, 0}});
            r = LdPoint{select(keep, r.x, sum.x), select(keep, r.y, sum.y), select(keep, r.z, sum.z)};
        } else if (d != 0) {
            r = ldAddAffine(c, r, t->entry[i][d], false);
        }
    }
    out = ldToAffine(c, r);
    secure_wipe_object(r);
    return true;
}

}  // namespace vc::ecc::binary
