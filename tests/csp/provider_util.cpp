#include "provider_util.h"

#include <algorithm>
#include <cstdlib>

namespace vcp {

int32_t makeKey(Key &key, uint32_t algorithm, const Bytes &material, uint32_t effectiveBits) {
    Context gen(CSP_CLASS_KEYGEN, algorithm);
    gen.add(CSP_ATTR_KEY_LENGTH, uint32_t(8 * material.size()));
    if (effectiveBits != 0) gen.add(CSP_ATTR_EFFECTIVE_BITS, effectiveBits);
    DataBlob m{uint32_t(material.size()), const_cast<uint8_t *>(material.data())};
    key.blob.Length = CSP_KEY_RECORD_MAX;
    return CSP_GenerateKey(CSP_MODULE_HANDLE, &gen, nullptr, 3, 0x20000000, &m, &key.blob);
}

Context::Context(uint32_t cls, uint32_t algorithm) {
    record.contextClass = cls;
    record.algorithm = algorithm;
    attributes.reserve(8);
}
Context &Context::add(uint32_t type, uint32_t value) {
    CspAttribute a{type, 4, {}};
    a.value.uint32 = value;
    attributes.push_back(a);
    record.attributes = attributes.data();
    record.attributeCount = uint32_t(attributes.size());
    return *this;
}
Context &Context::add(uint32_t type, DataBlob *blob) {
    CspAttribute a{type, uint32_t(sizeof(DataBlob)), {}};
    a.value.data = blob;
    attributes.push_back(a);
    record.attributes = attributes.data();
    record.attributeCount = uint32_t(attributes.size());
    return *this;
}

CipherContext::CipherContext(const CipherSetup &s)
    : ivBytes(s.iv), context(CSP_CLASS_SYMMETRIC, s.algorithm) {
    EXPECT_EQ(makeKey(key, s.algorithm, s.key, s.effectiveBits), 0);
    context.add(CSP_ATTR_KEY, &key.blob);
    if (s.mode != 0) context.add(CSP_ATTR_MODE, s.mode);
    if (!ivBytes.empty()) {
        iv = DataBlob{uint32_t(ivBytes.size()), ivBytes.data()};
        context.add(CSP_ATTR_INIT_VECTOR, &iv);
    }
    if (s.padding >= 0) context.add(CSP_ATTR_PADDING, uint32_t(s.padding));
}

Bytes staged(const CipherSetup &s, bool encrypt, const Bytes &data, const std::vector<size_t> &pieces,
             const std::vector<uint32_t> &outputSplits) {
    CipherContext c(s);
    CspContextRecord handle{};
    auto init = encrypt ? CSP_EncryptDataInit : CSP_DecryptDataInit;
    auto upd = encrypt ? CSP_EncryptDataUpdate : CSP_DecryptDataUpdate;
    auto fin = encrypt ? CSP_EncryptDataFinal : CSP_DecryptDataFinal;
    Bytes result;
    EXPECT_EQ(init(CSP_MODULE_HANDLE, &handle, &c.context), 0);
    size_t at = 0, split = 0;
    static uint8_t empty;
    for (size_t n : pieces) {
        Bytes in(data.begin() + at, data.begin() + at + n);
        at += n;
        DataBlob input{uint32_t(n), n ? in.data() : &empty};
        // Room for everything the piece can release, cut into blobs of the next capacities.
        Bytes space(n + 16);
        std::vector<DataBlob> outs;
        for (size_t used = 0; used < space.size();) {
            uint32_t cap = outputSplits.empty() ? uint32_t(space.size())
                                                : outputSplits[split++ % outputSplits.size()];
            cap = uint32_t(std::min<size_t>(cap, space.size() - used));
            outs.push_back(DataBlob{cap, space.data() + used});
            used += cap;
        }
        uint32_t written = 0;
        EXPECT_EQ(upd(CSP_MODULE_HANDLE, &handle, &input, 1, outs.data(), uint32_t(outs.size()), &written), 0)
            << "reason " << GetError();
        result.insert(result.end(), space.begin(), space.begin() + written);
    }
    EXPECT_EQ(at, data.size());
    DataBlob rest{0, nullptr};
    if (fin(CSP_MODULE_HANDLE, &handle, &rest) != 0) {
        ADD_FAILURE() << "Final failed, reason " << GetError();
        return result;
    }
    result.insert(result.end(), rest.Data, rest.Data + rest.Length);
    std::free(rest.Data);
    return result;
}

Bytes oneShot(const CipherSetup &s, bool encrypt, const Bytes &data) {
    CipherContext c(s);
    CspContextRecord handle{};
    static uint8_t empty;
    DataBlob input{uint32_t(data.size()), data.empty() ? &empty : const_cast<uint8_t *>(data.data())};
    Bytes out(data.size() + 8);
    DataBlob output{uint32_t(out.size()), out.data()};
    uint8_t last[8];
    DataBlob rest{8, last};
    uint32_t written = 0;
    auto run = encrypt ? CSP_EncryptData : CSP_DecryptData;
    if (run(CSP_MODULE_HANDLE, &handle, &c.context, &input, 1, &output, 1, &written, &rest) != 0) {
        ADD_FAILURE() << "one-shot failed, reason " << GetError();
        return {};
    }
    out.resize(written);
    out.insert(out.end(), last, last + rest.Length);
    return out;
}

std::vector<size_t> randomPieces(vctest::Rng &rng, size_t total) {
    std::vector<size_t> pieces;
    while (total != 0) {
        size_t n;
        switch (rng.below(4)) {
        case 0: n = 1; break;
        case 1: n = 990 + rng.below(21); break;
        case 2: n = 1001 + rng.below(1500); break;
        default: n = rng.below(20); break;
        }
        n = std::min(n, total);
        pieces.push_back(n);
        total -= n;
    }
    return pieces;
}

}  // namespace vcp
