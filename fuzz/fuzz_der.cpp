// libFuzzer target for every DER decoder. The first byte selects the decoder, the rest is its
// input. Beyond staying inside its buffers, each accepted input must satisfy the decoders'
// promises: the position advanced by exactly what was read, every number within its field's
// storage, re-encoding writes the predicted size plus one octet per zero number, the re-encoding
// of a record without zeros reads back to the same numbers, and canonical DER re-encodes to the
// very bytes that were read.
#include <vorelcrypto/asn1.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "fuzz/der_records.h"

namespace {

using Bytes = std::vector<uint8_t>;

void require(bool condition, const char *what) {
    if (!condition) {
        std::fprintf(stderr, "DER invariant broken: %s\n", what);
        std::abort();
    }
}

// Strict DER of SEQUENCEs and INTEGERs: shortest lengths, INTEGERs non-empty, non-negative and
// without superfluous leading zero octets. Counts the INTEGERs and those that are zero.
struct Strict {
    bool ok = true;
    int integers = 0, zeros = 0;
};
void walk(const uint8_t *p, size_t n, Strict &s) {
    while (n > 0 && s.ok) {
        size_t length = n >= 2 ? p[1] : 0, header = 2;
        if (n < 2) return void(s.ok = false);
        if (length & 0x80) {
            const size_t octets = length & 0x7F;
            if (octets == 0 || octets > 4 || n < 2 + octets || p[2] == 0) return void(s.ok = false);
            length = 0;
            for (size_t i = 0; i < octets; i++) length = length << 8 | p[2 + i];
            header += octets;
            if (length < 128) return void(s.ok = false);
        }
        if (length > n - header) return void(s.ok = false);
        const uint8_t *c = p + header;
        if (p[0] == 0x30) {
            walk(c, length, s);
        } else if (p[0] == 0x02) {
            s.ok = length > 0 && (c[0] & 0x80) == 0 && !(length > 1 && c[0] == 0 && (c[1] & 0x80) == 0);
            s.integers++;
            s.zeros += length == 1 && c[0] == 0;
        } else {
            s.ok = false;
        }
        p += header + length;
        n -= header + length;
    }
}
Strict strict(const uint8_t *p, size_t n) {
    Strict s;
    walk(p, n, s);
    return s;
}

// Runs an encoder into two buffers of different filler: where they first differ is where the
// writing stopped. Returns the bytes written; checks their count against the reported size.
template <typename Put>
Bytes reencode(Put put, int zeros) {
    const int32_t reported = put(nullptr);
    require(reported > 0, "encoder reports a size");
    Bytes a(size_t(reported) + 64, 0x00), b(size_t(reported) + 64, 0xFF);
    require(put(a.data()) == reported && put(b.data()) == reported, "encoder writes its reported size");
    size_t written = 0;
    while (written < a.size() && a[written] == b[written]) written++;
    require(written == size_t(reported) + size_t(zeros), "written = predicted + one octet per zero");
    a.resize(written);
    return a;
}

// Calls a decoder on data and checks the position contract; returns the count of bytes read,
// or -1 when refused.
template <typename Get>
long decode(const uint8_t *data, size_t size, Get get) {
    const uint8_t *p = data;
    uint32_t remaining = uint32_t(size);
    const int32_t result = get(&p, &remaining);
    require(result == 0 || result == 1, "decoder returns 1 or 0");
    require(size_t(p - data) + remaining == size, "position and remaining stay in step");
    if (result == 0) {
        require(p == data, "a refusal leaves the position");
        return -1;
    }
    require(p > data, "an accepted structure is read");
    return long(p - data);
}

bool equals(const Bytes &again, const uint8_t *data, long read) {
    return again.size() == size_t(read) && std::memcmp(again.data(), data, again.size()) == 0;
}

// Aims the record, runs its decoder and checks that every number stayed within its storage.
template <typename Key, typename Get>
long decodeRecord(Key &key, const uint8_t *data, size_t size, Get get) {
    vcfuzz::aim(key);
    const long read = decode(data, size, [&](auto p, auto n) { return get(&key, p, n); });
    require(vcfuzz::fitsStorage(key), "numbers within their storage");
    return read;
}

// A record shape: decode, then hold the decoders' and encoders' promises.
template <typename Key, typename Get, typename Put>
void record(const uint8_t *data, size_t size, Get get, Put put, bool version) {
    Key key;
    const long read = decodeRecord(key, data, size, get);
    if (read < 0) return;
    const Strict s = strict(data, size_t(read));
    const int zeros = s.zeros - (version ? 1 : 0);  // the version INTEGER is written exactly
    if (!s.ok) return;                               // lenient forms: no size promise to check
    const Bytes again = reencode([&](uint8_t *out) { return put(&key, out); }, zeros);
    if (zeros > 0) return;  // the header then undercounts, by design
    require(equals(again, data, read), "canonical input re-encodes to itself");
    Key back;
    require(decodeRecord(back, again.data(), again.size(), get) == long(again.size()) && vcfuzz::sameNumbers(key, back),
            "re-encoding reads back");
}

template <typename Key, int32_t (*Get)(Key *, const uint8_t **, uint32_t *), int32_t (*Put)(const Key *, uint8_t *)>
void shape(const uint8_t *data, size_t size, bool version) {
    record<Key>(data, size, Get, Put, version);
}

void numbers(const uint8_t *data, size_t size) {
    if (size == 0) return;
    const int count = data[0] % 10;
    std::vector<std::vector<uint32_t>> storage(size_t(count), std::vector<uint32_t>(150));
    std::vector<ENUM> values(static_cast<size_t>(count));
    std::vector<ENUM *> destinations;
    for (int i = 0; i < count; i++) values[i] = ENUM{0, 0, storage[i].data()}, destinations.push_back(&values[i]);
    const long read = decode(data + 1, size - 1, [&](auto p, auto n) { return E_ASN1_GetENUM(destinations.data(), count, p, n); });
    for (const ENUM &v : values) require(v.length >= 0 && v.length <= 150 && v.sign == 0, "numbers within 150 words");
    if (read < 0) return;
    const Strict s = strict(data + 1, size_t(read));
    if (!s.ok) return;
    const Bytes again = reencode([&](uint8_t *out) { return E_ASN1_PutENUM(values.data(), count, out); }, s.zeros);
    require(s.zeros > 0 || equals(again, data + 1, read),
            "canonical numbers re-encode to themselves");
}

void u32(const uint8_t *data, size_t size) {
    uint32_t value = 0;
    const long read = decode(data, size, [&](auto p, auto n) { return E_ASN1_GetU32(&value, p, n); });
    if (read < 0 || !strict(data, size_t(read)).ok) return;
    const Bytes again = reencode([&](uint8_t *out) { return E_ASN1_PutU32(value, 0, out); }, value == 0);
    require(value == 0 || equals(again, data, read),
            "canonical value re-encodes to itself");
}

void kcdsaParameters(const uint8_t *data, size_t size) {
    KcdsaKey key, back;
    const long read = decodeRecord(key, data, size, E_ASN1_GetParameters_KCDSA);
    if (read < 0) return;
    // The exact writer's bytes read back to the same numbers, whatever optional items came in.
    const Bytes again = reencode([&](uint8_t *out) { return E_ASN1_PutParameters_KCDSA(&key, out); }, 0);
    require(decodeRecord(back, again.data(), again.size(), E_ASN1_GetParameters_KCDSA) == long(again.size()) &&
                vcfuzz::sameNumbers(key, back),
            "exact parameters read back");
    const Strict s = strict(data, size_t(read));
    require(!(s.ok && s.integers == 3) || equals(again, data, read), "canonical parameters re-encode to themselves");
}

void kcdsaKey(const uint8_t *data, size_t size) {
    KcdsaKey key;
    const long read = decodeRecord(key, data, size, E_ASN1_GetKey_KCDSA);
    if (read < 0) return;
    const Strict s = strict(data, size_t(read));
    if (!s.ok) return;  // (the count of a partial walk means nothing)
    require(s.integers == 6 || s.integers == 4, "a key has six or four INTEGERs");
    if (s.integers == 4) require(key.x.length == 0, "a public key clears x");
    // The same bytes through the shape's own decoder keep the shape's promises.
    if (s.integers == 6)
        record<KcdsaKey>(data, size, E_ASN1_GetKCDSAPrivateKey, E_ASN1_PutKCDSAPrivateKey, true);
    else
        record<KcdsaKey>(data, size, E_ASN1_GetKCDSAPublicKey1, E_ASN1_PutKCDSAPublicKey1, false);
}

// The single-number forms change that number only.
template <int32_t (*Get)(KcdsaKey *, const uint8_t **, uint32_t *)>
void kcdsaEnc(const uint8_t *data, size_t size) {
    KcdsaKey key;
    decodeRecord(key, data, size, Get);
    require(key.p.length == 0 && key.q.length == 0 && key.g.length == 0, "only x or y is read");
}

void kcdsaSignature(const uint8_t *data, size_t size) {
    uint8_t r[64];
    uint32_t rLength = sizeof r, sWords[150];
    ENUM s{0, 0, sWords};
    const long read = decode(data, size, [&](auto p, auto n) { return E_ASN1_GetSignRS_KCDSA(r, &rLength, &s, p, n); });
    require(read < 0 ? rLength == sizeof r : rLength <= sizeof r, "r within its buffer");
    require(s.length >= 0 && s.length <= 150, "s within 150 words");
}

using Decoder = void (*)(const uint8_t *, size_t);
const Decoder kDecoders[] = {  // in the order of vcfuzz::DerDecoder
    numbers,
    u32,
    [](const uint8_t *d, size_t n) { shape<RsaKey, E_ASN1_GetRSAPrivateKey, E_ASN1_PutRSAPrivateKey>(d, n, true); },
    [](const uint8_t *d, size_t n) { shape<RsaKey, E_ASN1_GetRSAPublicKey, E_ASN1_PutRSAPublicKey>(d, n, false); },
    [](const uint8_t *d, size_t n) { shape<DsaKey, E_ASN1_GetDSAParams, E_ASN1_PutDSAParams>(d, n, false); },
    [](const uint8_t *d, size_t n) { shape<DsaKey, E_ASN1_GetDSAPrivateKey, E_ASN1_PutDSAPrivateKey>(d, n, true); },
    [](const uint8_t *d, size_t n) { shape<DsaKey, E_ASN1_GetDSAPublicKey, E_ASN1_PutDSAPublicKey>(d, n, false); },
    [](const uint8_t *d, size_t n) { shape<DhKey, E_ASN1_GetDHParams, E_ASN1_PutDHParams>(d, n, false); },
    [](const uint8_t *d, size_t n) { shape<KcdsaKey, E_ASN1_GetKCDSAParams1, E_ASN1_PutKCDSAParams>(d, n, false); },
    [](const uint8_t *d, size_t n) { shape<KcdsaKey, E_ASN1_GetKCDSAPrivateKey, E_ASN1_PutKCDSAPrivateKey>(d, n, true); },
    [](const uint8_t *d, size_t n) { shape<KcdsaKey, E_ASN1_GetKCDSAPublicKey1, E_ASN1_PutKCDSAPublicKey1>(d, n, false); },
    kcdsaParameters,
    kcdsaKey,
    kcdsaEnc<E_ASN1_GetEncPublicKey_KCDSA>,
    kcdsaEnc<E_ASN1_GetEncPrivateKey_KCDSA>,
    kcdsaSignature,
};
static_assert(std::size(kDecoders) == vcfuzz::kDerDecoders);

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0) return 0;
    // The input is copied so that a read past its end meets the sanitizer's redzone.
    Bytes input(data + 1, data + size);
    kDecoders[data[0] % std::size(kDecoders)](input.data(), input.size());
    return 0;
}
