// Writes the seed corpus of fuzz_der into the directory given: for each decoder, a few valid
// inputs made by the encoders (RSA, DSA, DH and KCDSA records with numbers of the usual sizes,
// and the KCDSA forms that have no encoder of their own, assembled around encoded numbers).
#include <cstdio>
#include <string>
#include <vector>

#include "fuzz/der_records.h"

namespace {

using Bytes = std::vector<uint8_t>;
using namespace vcfuzz;

std::string g_dir;
int g_count = 0;

void save(DerDecoder decoder, const Bytes &der) {
    const std::string path = g_dir + "/seed-" + std::to_string(int(decoder)) + "-" + std::to_string(g_count++);
    Bytes data{uint8_t(decoder)};
    data.insert(data.end(), der.begin(), der.end());
    if (FILE *f = std::fopen(path.c_str(), "wb")) {
        std::fwrite(data.data(), 1, data.size(), f);
        std::fclose(f);
    }
}

// A number of exactly `bits` bits from a fixed sequence (the top bit set, others varied).
void fill(ENUM &n, int bits, uint32_t seed) {
    Bytes v(size_t(bits + 7) / 8);
    for (auto &b : v) {
        seed = seed * 1103515245u + 12345u;
        b = uint8_t(seed >> 24);
    }
    if (!v.empty()) v[0] = uint8_t((v[0] | 0x80) >> ((8 - bits % 8) % 8));
    EN_BytesToENUM(&n, v.data(), uint32_t(v.size()));
}

template <typename Key, typename Put>
Bytes encoded(const Key &key, Put put) {
    Bytes out(size_t(put(&key, nullptr)) + 16);
    out.resize(size_t(put(&key, out.data())));
    return out;
}

Bytes operator+(Bytes a, const Bytes &b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// What follows the header of an encoded element.
Bytes content(const Bytes &der) {
    return Bytes(der.begin() + (der[1] & 0x80 ? 2 + (der[1] & 0x7F) : 2), der.end());
}

// DER header and content for the forms without an encoder.
Bytes wrap(uint8_t tag, const Bytes &content) {
    Bytes out{tag};
    const size_t n = content.size();
    if (n < 128) {
        out.push_back(uint8_t(n));
    } else {
        out.insert(out.end(), {0x82, uint8_t(n >> 8), uint8_t(n)});
    }
    out.insert(out.end(), content.begin(), content.end());
    return out;
}
// A bare INTEGER: the encoded SEQUENCE { n } without its header.
Bytes integer(const ENUM &n) {
    return content(encoded(n, [](const ENUM *e, uint8_t *out) { return E_ASN1_PutENUM(e, 1, out); }));
}

}  // namespace

int main(int argc, char **argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s DIRECTORY\n", argv[0]);
        return 2;
    }
    g_dir = argv[1];
    for (int bits : {512, 1024, 2048}) {
        RsaKey rsa;
        aim(rsa);
        fill(rsa.n, bits, 1), fill(rsa.d, bits - 3, 2), fill(rsa.p, bits / 2, 3), fill(rsa.q, bits / 2, 4);
        fill(rsa.dP, bits / 2 - 1, 5), fill(rsa.dQ, bits / 2 - 2, 6), fill(rsa.qInv, bits / 2 - 7, 7);
        EN_U32ToENUM(&rsa.e, 65537);
        save(kRsaPrivate, encoded(rsa, E_ASN1_PutRSAPrivateKey));
        save(kRsaPublic, encoded(rsa, E_ASN1_PutRSAPublicKey));
        save(kNumbers, Bytes{2} + encoded(rsa, E_ASN1_PutRSAPublicKey));

        DhKey dh;
        aim(dh);
        fill(dh.p, bits, 8);
        EN_U32ToENUM(&dh.g, bits == 512 ? 5 : 2);
        save(kDhParams, encoded(dh, E_ASN1_PutDHParams));
    }
    for (auto [pBits, qBits] : {std::pair{1024, 160}, {2048, 224}, {2048, 256}}) {
        DsaKey dsa;
        KcdsaKey kcdsa;
        aim(dsa), aim(kcdsa);
        fill(dsa.p, pBits, 11), fill(dsa.q, qBits, 12), fill(dsa.g, pBits - 1, 13), fill(dsa.y, pBits - 2, 14), fill(dsa.x, qBits - 1, 15);
        fill(kcdsa.p, pBits, 21), fill(kcdsa.q, qBits, 22), fill(kcdsa.g, pBits - 1, 23), fill(kcdsa.y, pBits - 2, 24), fill(kcdsa.x, qBits - 1, 25);
        save(kDsaParams, encoded(dsa, E_ASN1_PutDSAParams));
        save(kDsaPrivate, encoded(dsa, E_ASN1_PutDSAPrivateKey));
        save(kDsaPublic, encoded(dsa, E_ASN1_PutDSAPublicKey));
        save(kKcdsaParams, encoded(kcdsa, E_ASN1_PutKCDSAParams));
        save(kKcdsaPrivate, encoded(kcdsa, E_ASN1_PutKCDSAPrivateKey));
        save(kKcdsaPublic, encoded(kcdsa, E_ASN1_PutKCDSAPublicKey1));
        save(kKcdsaKey, encoded(kcdsa, E_ASN1_PutKCDSAPrivateKey));
        save(kKcdsaKey, encoded(kcdsa, E_ASN1_PutKCDSAPublicKey1));
        const Bytes parameters = encoded(kcdsa, E_ASN1_PutParameters_KCDSA);
        save(kKcdsaParameters, parameters);
        // With j and the validation parameters after g.
        const Bytes inner = content(parameters);
        Bytes seed{0};
        seed.insert(seed.end(), 20, 0x5A);
        save(kKcdsaParameters, wrap(0x30, inner + integer(kcdsa.x) + wrap(0x30, wrap(0x03, seed) + Bytes{2, 2, 1, 0})));
        save(kKcdsaEncPublic, wrap(0x03, Bytes{0} + integer(kcdsa.y)));
        save(kKcdsaEncPrivate, wrap(0x04, integer(kcdsa.x)));
    }
    for (int sBytes : {20, 19}) {
        ENUM s;
        uint32_t words[8];
        s.words = words;
        fill(s, sBytes * 8, uint32_t(sBytes));
        Bytes r(20, 0x3C), content = wrap(0x03, Bytes{0} + r) + integer(s);
        save(kKcdsaSignature, wrap(0x30, content));
    }
    for (uint32_t v : {1u, 127u, 128u, 65537u, 0xFFFFFFFFu}) {
        Bytes out(16);
        out.resize(size_t(E_ASN1_PutU32(v, 0, out.data())));
        save(kU32, out);
    }
    return 0;
}
