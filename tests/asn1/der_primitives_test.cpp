// The generic DER writer and readers: sizes and bytes against a model built on OpenSSL's own
// size function and INTEGER writer, and a table of inputs the readers accept or refuse.
#include "asn1/der_test_util.h"

#include <openssl/rand.h>

#include <vector>

using namespace dertest;
using vctest::fromHex;
using vctest::toHex;

namespace {

// A number with room for any value of the tests.
struct Number {
    std::vector<uint32_t> words = std::vector<uint32_t>(160);
    ENUM e{0, 0, words.data()};
};

// The encoding the writer must produce, and the size it must report. The size counts each
// INTEGER as OpenSSL's ASN1_object_size would with no content for a zero and, for a negative
// number, with the negative-integer type 258 as tag (a multi-octet tag number); the bytes are
// OpenSSL's INTEGERs of the magnitudes behind a SEQUENCE header carrying that predicted length.
std::pair<Bytes, int32_t> model(const std::vector<Bn> &values, const std::vector<bool> &negative) {
    int predicted = 0;
    Bytes integers;
    for (size_t i = 0; i < values.size(); i++) {
        const int content = BN_is_zero(values[i].get()) ? 0 : BN_num_bits(values[i].get()) / 8 + 1;
        predicted += ASN1_object_size(0, content, negative[i] ? V_ASN1_NEG_INTEGER : V_ASN1_INTEGER);
        integers = cat({integers, derInteger(values[i].get())});
    }
    const int total = ASN1_object_size(1, predicted, V_ASN1_SEQUENCE);
    Bytes header(size_t(total - predicted));
    uint8_t *p = header.data();
    ASN1_put_object(&p, 1, predicted, V_ASN1_SEQUENCE, V_ASN1_UNIVERSAL);
    return {cat({header, integers}), total};
}

Bn randomBits(int bits) {
    Bn b(BN_new());
    if (bits == 0)
        BN_zero(b.get());
    else
        BN_rand(b.get(), bits, BN_RAND_TOP_ONE, BN_RAND_BOTTOM_ANY);
    return b;
}

}  // namespace

// Bit lengths around every change of content length and of length-octet count (127/128 and
// 255/256 content octets), zeros and negative numbers, one to four numbers per SEQUENCE, some
// with leading zero words left in place.
TEST(DerPrimitives, PutENUMMatchesSizeModel) {
    const int kBits[] = {0, 1, 7, 8, 9, 16, 31, 32, 33, 1007, 1008, 1015, 1016, 1017, 1024, 2039, 2040, 2047, 2048, 4800};
    vctest::Rng rng(81);
    for (int round = 0; round < 400; round++) {
        const size_t count = 1 + rng.below(4);
        std::vector<Bn> values;
        std::vector<bool> negative;
        std::vector<Number> numbers(count);
        std::vector<ENUM> array;
        for (size_t i = 0; i < count; i++) {
            values.push_back(randomBits(kBits[rng.below(std::size(kBits))]));
            negative.push_back(rng.below(4) == 0);
            set(numbers[i].e, values[i].get());
            numbers[i].e.sign = negative[i];
            if (rng.below(4) == 0) numbers[i].e.length += 2;  // unnormalised: zero words on top
            array.push_back(numbers[i].e);
        }
        const auto [bytes, size] = model(values, negative);
        SCOPED_TRACE(toHex(bytes).substr(0, 64));
        EXPECT_EQ(E_ASN1_GetENUMBytes(array.data(), int32_t(count)), size);
        EXPECT_EQ(E_ASN1_PutENUM(array.data(), int32_t(count), nullptr), size);
        Bytes out(bytes.size() + 8, 0xEE);
        ASSERT_EQ(E_ASN1_PutENUM(array.data(), int32_t(count), out.data()), size);
        EXPECT_EQ(out, cat({bytes, Bytes(8, 0xEE)}));
    }
}

TEST(DerPrimitives, KnownEncodings) {
    Number a, b;
    EN_U32ToENUM(&a.e, 0x80);
    EN_U32ToENUM(&b.e, 0x7F);
    const ENUM pair[] = {a.e, b.e};
    uint8_t out[16] = {};
    EXPECT_EQ(E_ASN1_PutENUM(pair, 2, out), 9);
    EXPECT_EQ(toHex(out, 9), "30070202008002017f");

    struct U32Case {
        uint32_t value;
        const char *written;
        int32_t size;  // zero: one octet fewer than written
    } const u32Cases[] = {
        {65537, "3005020301 0001", 7}, {0, "3002020100", 4}, {0x7F, "300302017f", 5},
        {0x80, "30040202 0080", 6}, {0xFFFFFFFF, "3007020500ffffffff", 9},
    };
    for (const auto &c : u32Cases) {
        const Bytes expected = fromHex(c.written);
        Bytes buffer(expected.size() + 4, 0xEE);
        EXPECT_EQ(E_ASN1_GetU32Bytes(c.value), c.size) << c.value;
        EXPECT_EQ(E_ASN1_PutU32(c.value, 12345, buffer.data()), c.size) << c.value;
        EXPECT_EQ(Bytes(buffer.begin(), buffer.begin() + expected.size()), expected) << c.value;
        EXPECT_EQ(buffer[expected.size()], 0xEE) << c.value;
    }
    EXPECT_EQ(E_ASN1_PutENUM(nullptr, 1, out), 0);
    EXPECT_EQ(E_ASN1_PutENUM(pair, 0, out), 2);
    EXPECT_EQ(toHex(out, 2), "3000");
}

// What E_ASN1_GetENUM accepts, with the numbers and the bytes consumed, or refuses.
TEST(DerPrimitives, ReaderAcceptsAndRefuses) {
    const std::string n600 = "02820258" + std::string(1200, '7'), n601 = "02820259" + std::string(1202, '7');
    struct Case {
        const char *what;
        std::string der;
        int count;
        std::vector<std::string> numbers;  // empty: refused
        size_t consumed;
    } const cases[] = {
        {"128 with its pad octet", "3004020200 80", 1, {"80"}, 6},
        {"zero", "3003020100", 1, {""}, 5},
        {"two numbers", "3006020101020102", 2, {"01", "02"}, 8},
        {"empty SEQUENCE", "3000", 0, {}, 2},
        {"extra leading zero octets dropped", "30050203000080", 1, {"80"}, 7},
        {"set top bit read as magnitude", "3003020180", 1, {"80"}, 5},
        {"non-minimal long length", "308103020101", 1, {"01"}, 6},
        {"four-octet length", "308400000003020101", 1, {"01"}, 9},
        {"bytes after the SEQUENCE left", "3003020101ff00", 1, {"01"}, 5},
        {"600 octets fill 150 words", "3082025c" + n600, 1, {std::string(1200, '7')}, 608},
        {"600 octets after a zero", "30820261 0282025d 00000000 00" + std::string(1200, '7'), 1, {std::string(1200, '7')}, 613},
        {"601 octets", "3082025d" + n601, 1, {}, 0},
        {"five-octet length", "30850000000003020101", 1, {}, 0},
        {"indefinite length", "3080020101 0000", 1, {}, 0},
        {"reserved length octet", "30ff020101", 1, {}, 0},
        {"INTEGER indefinite", "30040280 0000", 1, {}, 0},
        {"SET instead of SEQUENCE", "3103020101", 1, {}, 0},
        {"BIT STRING instead of INTEGER", "3003030101", 1, {}, 0},
        {"empty INTEGER", "30020200", 1, {}, 0},
        {"an item too many", "3006020101020101", 1, {}, 0},
        {"an item too few", "3003020101", 2, {}, 0},
        {"SEQUENCE longer than input", "3004020101", 1, {}, 0},
        {"INTEGER longer than SEQUENCE", "3003020201 01", 1, {}, 0},
        {"header only", "30", 1, {}, 0},
        {"long length cut short", "308200", 1, {}, 0},
        {"nothing at all", "", 1, {}, 0},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        std::vector<Number> numbers(std::max(c.count, 1));
        std::vector<ENUM *> destinations;
        for (auto &n : numbers) destinations.push_back(&n.e);
        const auto [result, consumed] = decodeAll(fromHex(c.der), [&](const uint8_t **p, uint32_t *r) {
            return E_ASN1_GetENUM(destinations.data(), c.count, p, r);
        });
        EXPECT_EQ(result, c.numbers.empty() && c.count > 0 ? 0 : 1);
        EXPECT_EQ(consumed, c.consumed);
        for (size_t i = 0; result == 1 && i < c.numbers.size(); i++) {
            Bytes v(numbers[i].e.length * 4 + 1);
            v.resize(EN_ENUMToBytes(&numbers[i].e, v.data()));
            EXPECT_EQ(toHex(v), c.numbers[i]);
            EXPECT_EQ(numbers[i].e.sign, 0u);
        }
    }

    // Null arguments and a negative count.
    Number n;
    ENUM *one[] = {&n.e}, *none[] = {nullptr};
    const Bytes der = fromHex("3003020101");
    const uint8_t *p = der.data();
    uint32_t remaining = uint32_t(der.size());
    EXPECT_EQ(E_ASN1_GetENUM(none, 1, &p, &remaining), 0);
    EXPECT_EQ(E_ASN1_GetENUM(one, -1, &p, &remaining), 0);
    EXPECT_EQ(E_ASN1_GetENUM(one, 1, nullptr, &remaining), 0);
    EXPECT_EQ(E_ASN1_GetENUM(one, 1, &p, nullptr), 0);
    EXPECT_EQ(p, der.data());
}

TEST(DerPrimitives, GetU32) {
    struct Case {
        const char *der;
        int32_t result;
        uint32_t value;
    } const cases[] = {
        {"3003020100", 1, 0},           {"30050203010001", 1, 65537}, {"3007020500ffffffff", 1, 0xFFFFFFFF},
        {"3006020400000001", 1, 1},     {"3007020501000000 00", 0, 0},
        {"3004020100ff", 0, 0},         {"3002020100", 0, 0},
    };
    for (const Case &c : cases) {
        uint32_t value = 0xDEADBEEF;
        const Bytes der = fromHex(c.der);
        const auto [result, consumed] = decodeAll(der, [&](const uint8_t **p, uint32_t *r) { return E_ASN1_GetU32(&value, p, r); });
        EXPECT_EQ(result, c.result) << c.der;
        EXPECT_EQ(value, c.result ? c.value : 0xDEADBEEF) << c.der;
        EXPECT_EQ(consumed, c.result ? der.size() : 0u) << c.der;
    }
}
