// The few DER structures of EC key files: SEC 1 ECPrivateKey, SubjectPublicKeyInfo with a
// named curve, and the program's own form (see ec_keyfile.h). Lengths up to two octets; every
// read stays inside its input.
#include "ec_keyfile.h"

#include "pk_algorithms.h"

#include <cstring>

namespace cli::eckey {
namespace {

using Bytes = std::vector<uint8_t>;

struct NamedCurve {
    int id;
    Bytes oid;  // content octets of the OBJECT IDENTIFIER
};
const NamedCurve kNamed[] = {
    {3, {0x2B, 0x81, 0x04, 0x00, 0x01}},                          // sect163k1 1.3.132.0.1
    {5, {0x2A, 0x86, 0x48, 0xCE, 0x3D, 0x03, 0x00, 0x01}},        // c2pnb163v1 1.2.840.10045.3.0.1
    {7, {0x2B, 0x81, 0x04, 0x00, 0x08}},                          // secp160r1 1.3.132.0.8
    {11, {0x2B, 0x81, 0x04, 0x00, 0x0F}},                         // sect163r2 1.3.132.0.15
};
const Bytes kEcPublicKeyOid = {0x2A, 0x86, 0x48, 0xCE, 0x3D, 0x02, 0x01};  // 1.2.840.10045.2.1

const char *const kOwnPrivateLabel = "VORELCRYPTO EC PRIVATE KEY";

// ---- writing

Bytes tlv(uint8_t tag, const Bytes &content) {
    const size_t n = content.size();
    Bytes out;
    out.reserve(n + 4);
    out.push_back(tag);
    if (n >= 0x100) {
        out.push_back(0x82);
        out.push_back(uint8_t(n >> 8));
    } else if (n >= 0x80) {
        out.push_back(0x81);
    }
    out.push_back(uint8_t(n));
    for (uint8_t b : content) out.push_back(b);
    return out;
}

Bytes cat(std::initializer_list<Bytes> parts) {
    Bytes out;
    for (const Bytes &p : parts)
        for (uint8_t b : p) out.push_back(b);
    return out;
}

Bytes smallInteger(int v) { return tlv(0x02, {uint8_t(v)}); }

const Bytes *oidOf(int curve) {
    for (const NamedCurve &c : kNamed)
        if (c.id == curve) return &c.oid;
    return nullptr;
}

// ---- reading

struct Reader {
    const uint8_t *p;
    size_t n;
    bool empty() const { return n == 0; }
    // The next element if its tag is `tag`; its content in `out`.
    bool next(uint8_t tag, Reader &out) {
        if (n < 2 || p[0] != tag) return false;
        size_t length = p[1], head = 2;
        if (length == 0x81 || length == 0x82) {
            const size_t extra = length & 0x7F;
            if (n < 2 + extra) return false;
            length = extra == 1 ? p[2] : size_t(p[2]) << 8 | p[3];
            head += extra;
        } else if (length >= 0x80) {
            return false;
        }
        if (length > n - head) return false;
        out = Reader{p + head, length};
        p += head + length;
        n -= head + length;
        return true;
    }
    Bytes bytes() const { return Bytes(p, p + n); }
};

bool smallValue(Reader &r, uint8_t tag, int &value) {
    Reader v{};
    if (!r.next(tag, v) || v.n != 1) return false;
    value = v.p[0];
    return true;
}

int curveOfOid(const Reader &oid) {
    for (const NamedCurve &c : kNamed)
        if (oid.bytes() == c.oid) return c.id;
    return 0;
}

// SEC 1: SEQUENCE { INTEGER 1, OCTET STRING d, [0] { OID }, [1] { BIT STRING 00 || Q } }
bool readSec1(Reader body, EcKey &key) {
    Reader d{}, params{}, oid{}, pub{}, bits{};
    int version = 0;
    if (!smallValue(body, 0x02, version) || version != 1 || !body.next(0x04, d)) return false;
    if (!body.next(0xA0, params) || !params.next(0x06, oid) || (key.curve = curveOfOid(oid)) == 0) return false;
    if (!body.next(0xA1, pub) || !pub.next(0x03, bits) || bits.n < 2 || bits.p[0] != 0) return false;
    key.kind = Kind::ecdsa;
    key.d = d.bytes();
    key.q.assign(bits.p + 1, bits.p + bits.n);
    return body.empty();
}

// SubjectPublicKeyInfo: SEQUENCE { SEQUENCE { OID ecPublicKey, OID curve }, BIT STRING 00 || Q }
bool readSpki(Reader body, EcKey &key) {
    Reader alg{}, oid{}, curve{}, bits{};
    if (!body.next(0x30, alg) || !alg.next(0x06, oid) || oid.bytes() != kEcPublicKeyOid) return false;
    if (!alg.next(0x06, curve) || (key.curve = curveOfOid(curve)) == 0) return false;
    if (!body.next(0x03, bits) || bits.n < 2 || bits.p[0] != 0) return false;
    key.kind = Kind::ecdsa;
    key.d.clear();
    key.q.assign(bits.p + 1, bits.p + bits.n);
    return body.empty();
}

// Ours: SEQUENCE { INTEGER 1, ENUMERATED kind, INTEGER curve, [OCTET STRING d,] OCTET STRING Q }
bool readOwn(Reader body, EcKey &key) {
    int version = 0, kind = 0;
    Reader first{}, second{};
    if (!smallValue(body, 0x02, version) || version != 1 || !smallValue(body, 0x0A, kind) || kind > 1 ||
        !smallValue(body, 0x02, key.curve) || !body.next(0x04, first))
        return false;
    key.kind = Kind(kind);
    if (body.next(0x04, second)) {
        key.d = first.bytes();
        key.q = second.bytes();
    } else {
        key.d.clear();
        key.q = first.bytes();
    }
    return body.empty();
}

}  // namespace

bool hasOpenSslName(int curve) { return oidOf(curve) != nullptr; }

std::vector<uint8_t> encodePrivate(const EcKey &key, const char *&pemLabel) {
    const Bytes *oid = oidOf(key.curve);
    if (key.kind == Kind::ecdsa && oid != nullptr) {
        pemLabel = "EC PRIVATE KEY";
        Bytes bits{0};
        bits.insert(bits.end(), key.q.begin(), key.q.end());
        return tlv(0x30, cat({smallInteger(1), tlv(0x04, key.d), tlv(0xA0, tlv(0x06, *oid)), tlv(0xA1, tlv(0x03, bits))}));
    }
    pemLabel = kOwnPrivateLabel;
    return tlv(0x30, cat({smallInteger(1), tlv(0x0A, {uint8_t(key.kind)}), smallInteger(key.curve), tlv(0x04, key.d),
                          tlv(0x04, key.q)}));
}

std::vector<uint8_t> encodePublic(const EcKey &key) {
    return tlv(0x30, cat({smallInteger(1), tlv(0x0A, {uint8_t(key.kind)}), smallInteger(key.curve), tlv(0x04, key.q)}));
}

bool decodeKey(const std::vector<uint8_t> &file, EcKey &key, std::string &error) {
    Bytes der;
    std::string label;
    if (!readKeyBytes(file, der, label)) return error = "malformed PEM armour", false;
    Reader all{der.data(), der.size()}, body{};
    if (!all.next(0x30, body) || !all.empty()) return error = "not an EC key file (DER SEQUENCE expected)", false;
    if (readSec1(body, key) || readSpki(body, key) || readOwn(body, key)) {
        if (key.curve != 3 && key.curve != 5 && key.curve != 7 && key.curve != 11 && key.curve != 21 && key.curve != 22)
            return error = "unknown curve " + std::to_string(key.curve), false;
        if (key.q.empty()) return error = "the key has no public point", false;
        return true;
    }
    return error = "not an EC key file (SEC 1, SubjectPublicKeyInfo or VorelCrypto EC key expected)", false;
}

}  // namespace cli::eckey
