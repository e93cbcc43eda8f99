// Helpers for the DER tests: numbers moved between ENUM and OpenSSL's BIGNUM, DER built by
// OpenSSL's own writers, and runners that hold the decoders and encoders to their contracts.
#pragma once

#define OPENSSL_SUPPRESS_DEPRECATED
#include <gtest/gtest.h>
#include <openssl/asn1.h>
#include <openssl/bn.h>
#include <vorelcrypto/asn1.h>

#include <memory>

#include "fuzz/der_records.h"
#include "support/test_util.h"

namespace dertest {

using vctest::Bytes;

// Records aimed at their own storage, as the engines' Init functions leave them.
using vcfuzz::aim;

struct BnFree {
    void operator()(BIGNUM *b) const { BN_free(b); }
};
using Bn = std::unique_ptr<BIGNUM, BnFree>;

inline Bytes bytesOf(const BIGNUM *b) {
    Bytes out(size_t(BN_num_bytes(b)));
    BN_bn2bin(b, out.data());
    return out;
}
inline void set(ENUM &e, const BIGNUM *b) {
    const Bytes v = bytesOf(b);
    EN_BytesToENUM(&e, v.data(), uint32_t(v.size()));
}
inline Bn toBn(const ENUM &e) {
    Bytes v(size_t(e.length) * 4 + 1);
    const uint32_t n = EN_ENUMToBytes(&e, v.data());
    return Bn(BN_bin2bn(v.data(), int(n), nullptr));
}
inline bool same(const ENUM &e, const BIGNUM *b) {
    return BN_cmp(toBn(e).get(), b) == 0;
}

// DER written by OpenSSL: an INTEGER of a non-negative number, and any header around content.
inline Bytes derInteger(const BIGNUM *b) {
    ASN1_INTEGER *i = BN_to_ASN1_INTEGER(b, nullptr);
    Bytes out(size_t(i2d_ASN1_INTEGER(i, nullptr)));
    uint8_t *p = out.data();
    i2d_ASN1_INTEGER(i, &p);
    ASN1_INTEGER_free(i);
    return out;
}
inline Bytes derWrap(int tag, const Bytes &content) {
    const bool constructed = tag == V_ASN1_SEQUENCE;
    Bytes out(size_t(ASN1_object_size(constructed, int(content.size()), tag)));
    uint8_t *p = out.data();
    ASN1_put_object(&p, constructed, int(content.size()), tag, V_ASN1_UNIVERSAL);
    std::copy(content.begin(), content.end(), p);
    return out;
}
inline Bytes cat(std::initializer_list<Bytes> parts) {
    Bytes out;
    for (const Bytes &b : parts) out.insert(out.end(), b.begin(), b.end());
    return out;
}

// Runs a decoder over the whole of `der` (held in a buffer of exactly its size, so that the
// sanitizers see any read past it); returns its result and how many bytes it consumed.
template <typename Decode>
std::pair<int32_t, uint32_t> decodeAll(const Bytes &der, Decode decode) {
    auto held = std::make_unique<uint8_t[]>(der.size());
    std::copy(der.begin(), der.end(), held.get());
    const uint8_t *p = held.get();
    uint32_t remaining = uint32_t(der.size());
    const int32_t r = decode(&p, &remaining);
    EXPECT_EQ(p - held.get() + remaining, der.size());
    return {r, uint32_t(p - held.get())};
}

// Runs an encoder for its size, then into a buffer with a guard after that size: for records
// without zero or negative numbers the bytes written are exactly the size reported.
template <typename Encode>
Bytes encode(Encode put) {
    const int32_t size = put(nullptr);
    EXPECT_GT(size, 0);
    if (size <= 0) return {};
    Bytes out(size_t(size) + 8, 0xEE);
    EXPECT_EQ(put(out.data()), size);
    EXPECT_EQ(Bytes(out.begin() + size, out.end()), Bytes(8, 0xEE)) << "written past the reported size";
    out.resize(size_t(size));
    return out;
}

}  // namespace dertest
