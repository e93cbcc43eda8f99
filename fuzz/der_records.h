// The integer public-key records as the DER fuzz target, its seed maker and the DER tests see
// them: each number aimed at its own storage (what the engines' Init functions do), and every
// number of a record with the words its storage holds.
#pragma once

#include <vorelcrypto/asn1.h>

#include <array>
#include <cstdint>
#include <utility>

namespace vcfuzz {

// The decoders of fuzz_der in the order of its selector byte (the seed maker writes the same).
enum DerDecoder : uint8_t {
    kNumbers, kU32, kRsaPrivate, kRsaPublic, kDsaParams, kDsaPrivate, kDsaPublic, kDhParams,
    kKcdsaParams, kKcdsaPrivate, kKcdsaPublic, kKcdsaParameters, kKcdsaKey, kKcdsaEncPublic,
    kKcdsaEncPrivate, kKcdsaSignature, kDerDecoders
};

using Slot = std::pair<ENUM *, int32_t>;  // a record's number and its storage in words

template <size_t N>
constexpr int32_t words(const uint32_t (&)[N]) {
    return int32_t(N);
}

inline void aim(RsaKey &k) {
    k = RsaKey{};
    k.n.words = k.nWords, k.e.words = k.eWords, k.d.words = k.dWords, k.p.words = k.pWords;
    k.q.words = k.qWords, k.dP.words = k.dPWords, k.dQ.words = k.dQWords, k.qInv.words = k.qInvWords;
}
template <typename Key>  // DsaKey, KcdsaKey
inline void aim(Key &k) {
    k = Key{};
    k.x.words = k.xWords, k.y.words = k.yWords, k.p.words = k.pWords, k.q.words = k.qWords, k.g.words = k.gWords;
}
inline void aim(DhKey &k) {
    k = DhKey{};
    k.p.words = k.pWords, k.g.words = k.gWords;
    k.publicValue.words = k.publicWords, k.privateValue.words = k.privateWords;
}

inline std::array<Slot, 8> slots(RsaKey &k) {
    return {{{&k.n, words(k.nWords)}, {&k.e, words(k.eWords)}, {&k.d, words(k.dWords)}, {&k.p, words(k.pWords)},
             {&k.q, words(k.qWords)}, {&k.dP, words(k.dPWords)}, {&k.dQ, words(k.dQWords)}, {&k.qInv, words(k.qInvWords)}}};
}
template <typename Key>
inline std::array<Slot, 5> slots(Key &k) {
    return {{{&k.x, words(k.xWords)}, {&k.y, words(k.yWords)}, {&k.p, words(k.pWords)}, {&k.q, words(k.qWords)},
             {&k.g, words(k.gWords)}}};
}
inline std::array<Slot, 4> slots(DhKey &k) {
    return {{{&k.p, words(k.pWords)}, {&k.g, words(k.gWords)}, {&k.publicValue, words(k.publicWords)},
             {&k.privateValue, words(k.privateWords)}}};
}

// Every number within its storage, its pointer still at it, its sign 0.
template <typename Key>
bool fitsStorage(Key &k) {
    Key fresh;
    aim(fresh);
    const auto a = slots(k), b = slots(fresh);
    for (size_t i = 0; i < a.size(); i++) {
        const auto [n, capacity] = a[i];
        if (n->length < 0 || n->length > capacity || n->sign != 0) return false;
        if (reinterpret_cast<const char *>(n->words) - reinterpret_cast<const char *>(&k) !=
            reinterpret_cast<const char *>(b[i].first->words) - reinterpret_cast<const char *>(&fresh))
            return false;
    }
    return true;
}

template <typename Key>
bool sameNumbers(Key &a, Key &b) {
    const auto x = slots(a), y = slots(b);
    for (size_t i = 0; i < x.size(); i++)
        if (EN_UComp(x[i].first, y[i].first) != 0) return false;
    return true;
}

}  // namespace vcfuzz
