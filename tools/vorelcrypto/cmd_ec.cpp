// vorelcrypto ec curves | mul | check: the built-in curves, scalar multiplication and point
// validation.
#include <vorelcrypto/ecc.h>

#include "cli.h"
#include "ecc/binary_curve.h"
#include "ecc/curves.h"
#include "ecc/scalar_mul.h"

#include <cstdlib>
#include <string>

namespace {

const int kCurveIds[] = {3, 5, 7, 11, 21, 22};

std::string hexOf(const Opaque8 &s) { return cli::toHex(s.data, s.length); }

std::string fieldText(const EcParams &params) {
    if (params.fieldType == 0) return "GF(p) p=" + hexOf(params.field.p);
    const auto &f = params.field.binary;
    return "GF(2^" + std::to_string(f.m) + ") x^" + std::to_string(f.m) + "+x^" + std::to_string(f.k3) +
           "+x^" + std::to_string(f.k2) + (f.k1 == 1 ? std::string("+x") : "+x^" + std::to_string(f.k1)) + "+1";
}

const char *curveName(int id) {
    return id == vc::ecc::kPrimeCurveId ? vc::ecc::kSecp160r1.name : vc::ecc::binaryCurveConstants(id)->name;
}

int curves() {
    for (int id : kCurveIds) {
        EcParams params;
        E_ECParams_Init(id, &params);
        std::printf("%-3d %-11s %-36s n=%s\n", id, curveName(id), fieldText(params).c_str(),
                    hexOf(params.n).c_str());
    }
    return cli::kOk;
}

// The --curve value; 0 when it is not a built-in curve.
int curveOf(const cli::Options &opts) {
    const std::string text = opts.value("--curve");
    char *end = nullptr;
    const long id = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || !vc::ecc::isBuiltInCurve(int(id))) return 0;
    return int(id);
}

// The --point value, uncompressed on the curve's length; false with a message otherwise.
bool pointOf(const cli::Options &opts, int id, std::vector<uint8_t> &point, std::string &error) {
    if (!cli::parseHex(opts.value("--point"), point)) return error = "--point is not hex", false;
    if (point.size() != vc::ecc::pointBytes(id) || point[0] != 0x04) {
        error = "--point must be 04 || X || Y, " + std::to_string(vc::ecc::pointBytes(id)) + " octets";
        return false;
    }
    return true;
}

int mul(const cli::Options &opts) {
    const int id = curveOf(opts);
    if (id == 0) return cli::fail("--curve must be one of 3, 5, 7, 11, 21, 22");
    std::vector<uint8_t> k, point;
    if (!cli::parseHex(opts.value("-k"), k) || k.empty() || k.size() > 24)
        return cli::fail("-k must be a hex scalar of 1 to 24 octets");
    std::string error;
    if (opts.has("--point") && !pointOf(opts, id, point, error)) return cli::fail(error);
    uint8_t out[43];
    if (point.empty())
        vc::ecc::scalarMulBase(id, k.data(), uint32_t(k.size()), out, true);
    else
        vc::ecc::scalarMul(id, point.data(), uint32_t(point.size()), k.data(), uint32_t(k.size()), out, true);
    std::printf("%s\n", cli::toHex(out, vc::ecc::pointBytes(id)).c_str());
    return cli::kOk;
}

int check(const cli::Options &opts) {
    const int id = curveOf(opts);
    if (id == 0) return cli::fail("--curve must be one of 3, 5, 7, 11, 21, 22");
    std::vector<uint8_t> point;
    if (!cli::parseHex(opts.value("--point"), point)) return cli::fail("--point is not hex");
    EcParams params;
    E_ECParams_Init(id, &params);
    const Opaque8 in{uint32_t(point.size()), point.data()};
    const int32_t result = ZENOR_V1_IsValidPoint(id, &params, &in);
    static const char *const meaning[] = {"wrong order", "not on the curve", "too long or out of range",
                                          "empty or infinity"};
    std::printf("%d %s\n", result, result == 1 ? "valid" : meaning[result + 4]);
    return result == 1 ? cli::kOk : cli::kFailed;
}

int run(std::vector<std::string_view> args) {
    cli::Options opts(args, {"--curve", "-k", "--point"}, {});
    if (!opts.ok()) return cli::fail(opts.error());
    if (opts.positional().size() != 1) return cli::fail("ec takes one of: curves, mul, check");
    const std::string &what = opts.positional()[0];
    if (what == "curves") return curves();
    if (what == "mul") return mul(opts);
    if (what == "check") return check(opts);
    return cli::fail("unknown ec command " + what);
}

const cli::Command command{
    "ec", "elliptic-curve arithmetic on the built-in curves",
    "usage: vorelcrypto ec curves\n"
    "       vorelcrypto ec mul --curve ID -k HEXSCALAR [--point HEX]\n"
    "       vorelcrypto ec check --curve ID --point HEX\n\n"
    "curves  lists the built-in curves: id, name, field and the order n of the base point\n"
    "mul     prints k * P (k * G without --point) as uncompressed lower-case hex, 04 || X || Y;\n"
    "        the point at infinity has all-zero coordinates\n"
    "check   prints the public-key validation result of a point and its meaning:\n"
    "        1 valid, -1 empty or infinity, -2 too long or out of range, -3 not on the\n"
    "        curve, -4 wrong order; exit status 1 unless valid\n"
    "Curves: 3 sect163k1, 5 c2pnb163v1, 7 secp160r1, 11 sect163r2, 21 and 22 the c2pnb163v2\n"
    "and v3 constants over the field of curve 3.\n",
    run};

}  // namespace
