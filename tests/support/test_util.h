// Helpers shared by the test programs: hex conversion, deterministic random bytes, and access
// to the oracle libraries.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace vctest {

using Bytes = std::vector<uint8_t>;

Bytes fromHex(std::string_view hex);  // ignores spaces; aborts the test program on bad text
std::string toHex(const uint8_t *data, size_t length);
inline std::string toHex(const Bytes &b) { return toHex(b.data(), b.size()); }
inline Bytes bytesOf(std::string_view s) { return Bytes(s.begin(), s.end()); }
// PKCS #5 / #7 padding: 1 to `block` bytes, each holding the count.
inline Bytes pkcsPad(Bytes m, size_t block) {
    const size_t n = block - m.size() % block;
    for (size_t i = 0; i < n; ++i) m.push_back(uint8_t(n));
    return m;
}

// A seeded generator, so that a failing differential case can be replayed.
class Rng {
public:
    explicit Rng(uint64_t seed = 0x5eed) : engine_(seed) {}
    uint32_t word() { return uint32_t(engine_()); }
    uint32_t below(uint32_t n) { return n == 0 ? 0 : uint32_t(engine_() % n); }
    Bytes bytes(size_t n) {
        Bytes b(n);
        for (auto &x : b) x = uint8_t(engine_());
        return b;
    }

private:
    std::mt19937_64 engine_;
};

// Loads OpenSSL's default and legacy providers once (SEED, Blowfish, RC2, RC4, MD4, DES live in
// the legacy one). Returns false when the legacy provider is not available.
bool loadOpenSslLegacy();

}  // namespace vctest
