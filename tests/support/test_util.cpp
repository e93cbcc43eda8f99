#include "support/test_util.h"

#include <openssl/provider.h>

#include <cstdio>
#include <cstdlib>

namespace vctest {

Bytes fromHex(std::string_view hex) {
    auto digit = [](char c) -> int {
        if (c >= '0' && c <= '9') return c - '0';
        if (c >= 'a' && c <= 'f') return c - 'a' + 10;
        if (c >= 'A' && c <= 'F') return c - 'A' + 10;
        return -1;
    };
    Bytes out;
    int hi = -1;
    for (char c : hex) {
        if (c == ' ' || c == '\n') continue;
        int d = digit(c);
        if (d < 0) {
            std::fprintf(stderr, "bad hex in test data: %.*s\n", int(hex.size()), hex.data());
            std::abort();
        }
        if (hi < 0) {
            hi = d;
        } else {
            out.push_back(uint8_t(hi << 4 | d));
            hi = -1;
        }
    }
    if (hi >= 0) {
        std::fprintf(stderr, "odd hex in test data: %.*s\n", int(hex.size()), hex.data());
        std::abort();
    }
    return out;
}

std::string toHex(const uint8_t *data, size_t length) {
    static const char digits[] = "0123456789abcdef";
    std::string s;
    for (size_t i = 0; i < length; ++i) {
        s += digits[data[i] >> 4];
        s += digits[data[i] & 15];
    }
    return s;
}

namespace {
OSSL_PROVIDER *g_default = nullptr;
OSSL_PROVIDER *g_legacy = nullptr;

// Unloading at exit keeps LeakSanitizer quiet about the providers' own allocations.
void unloadProviders() {
    if (g_legacy != nullptr) OSSL_PROVIDER_unload(g_legacy);
    if (g_default != nullptr) OSSL_PROVIDER_unload(g_default);
    g_legacy = g_default = nullptr;
}
}  // namespace

bool loadOpenSslLegacy() {
    static const bool loaded = [] {
        g_default = OSSL_PROVIDER_load(nullptr, "default");
        g_legacy = OSSL_PROVIDER_load(nullptr, "legacy");
        std::atexit(unloadProviders);
        return g_default != nullptr && g_legacy != nullptr;
    }();
    return loaded;
}

}  // namespace vctest
