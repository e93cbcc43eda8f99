// KCDSA key generation: fresh parameters (random or seeded), key pairs from the entropy pool or
// the X9.31 generator, and the built-in 1024/160 parameter set.
#include "common/wipe.h"
#include "pubkey/dlog_internal.h"

#include <vorelcrypto/hash.h>
#include <vorelcrypto/kcdsa.h>
#include <vorelcrypto/prime.h>
#include <vorelcrypto/random.h>

#include <cstdio>
#include <cstring>

using vc::dlog::Temp;
namespace bn = vc::bignum;
namespace dl = vc::dlog;

// The built-in parameter set (p 1024 bits, q 160 bits, g of order q), made once by
// E_KCDSA_GenerateKey and kept because signatures and stored keys refer to it. p and q have their
// top bits set and g's first octet is below 0x80, so the DER SEQUENCE is exactly 290 bytes.
#define VC_KCDSA_FIXED_P \
    "c5b1c25b7d860229f47337f2de99593944d63aa61aa9f5edf2d8b13f0d107f9c" \
    "57bfffeb4c5def4f8689ac55f650cd6214f0905a493d810145d16b4df2d38362" \
    "564b629c616246d4108ff4586d91003bce1fcf8a7756e0ecb9773ffc1128ed6b" \
    "2503baaff2cd4d87be2cda292adfe27950d9a3506d51de7912886d141fa26231"
#define VC_KCDSA_FIXED_Q "ea74b79d69d3c57186312604daf5f0007f6881b3"
#define VC_KCDSA_FIXED_G \
    "7a59b7e793aef26a07211f6961481660affefba0b575ccd5daec221eeb840a00" \
    "976a3193da1904d11ddd40490e8eca207806989add8434eaadc87e0c15ec0322" \
    "e6b61faf4dd5a540891d029deb2c00383badc28a291d75398714a0c16383a873" \
    "e0dc72c7a455b9334996686a39c5e4bdd7542c95789bee5407a02e886baf5d55"

static_assert(sizeof VC_KCDSA_FIXED_P == 257 && sizeof VC_KCDSA_FIXED_Q == 41 &&
              sizeof VC_KCDSA_FIXED_G == 257);

extern "C" const char E_KCDSA_FixedParamsDerHex[581] =
    "3082011e" "02818100" VC_KCDSA_FIXED_P "021500" VC_KCDSA_FIXED_Q "028180" VC_KCDSA_FIXED_G;

namespace {

// The X9.31 generator reduces by q, handed over in a work area of this size.
constexpr uint32_t kX931WorkBytes = 100;
constexpr uint32_t kSeedBytes = 20;
// Seeded parameters: a 160-bit q, a 863-bit J, p = 2 J q + 1 of 1024 bits.
constexpr uint32_t kX9QBits = 160, kX9JBits = 863, kX9PBits = 1024;
constexpr uint32_t kX9CounterLimit = 1024, kX9CountLimit = 4096;

uint8_t hexValue(char c) {
    return uint8_t(c <= '9' ? c - '0' : c - 'a' + 10);
}

void loadHex(ENUM *a, const char *hex, uint32_t digits) {
    uint8_t bytes[kX9PBits / 8];
    for (uint32_t i = 0; i < digits / 2; i++)
        bytes[i] = uint8_t(hexValue(hex[2 * i]) << 4 | hexValue(hex[2 * i + 1]));
    EN_BytesToENUM(a, bytes, digits / 2);
}

bool paramsPresent(const KcdsaKey *key) {
    return bn::bitLength(&key->q) >= 2 && !bn::isZero(&key->g) && bn::bitLength(&key->p) >= 2 &&
           key->p.length <= bn::kMaxModWords;
}

bool drawFits(uint32_t bits) { return bits != 0 && bits <= dl::kMaxModulusBits; }

// y = g^u mod p with u = x^-1 mod q; false when x has no inverse (x = 0 mod q).
bool setPublic(KcdsaKey *key) {
    Temp u;
    EN_Mod_Inv(u.get(), &key->x, &key->q);
    const bool ok = !bn::isZero(u.get());
    if (ok) dl::powSecret(&key->y, &key->g, u.get(), &key->p);
    vc::secure_wipe_object(u.w);
    return ok;
}

// x = EN_Random(bits) mod q until it has an inverse; each draw preceded by `mark` on standard
// output when one is given.
void randomPair(KcdsaKey *key, uint32_t bits, const char *mark) {
    Temp R;
    do {
        if (mark != nullptr) std::fputs(mark, stdout);
        EN_Random(R.get(), bits, 1, 1);
        EN_Mod(&key->x, R.get(), &key->q);
    } while (!setPublic(key));
    vc::secure_wipe_object(R.w);
}

// x from qBits / 8 bytes of the X9.31 generator (seed1 as XKEY, seed2 as XSEED, q reducing each
// step), reduced mod q or kept as drawn.
int32_t x931Pair(KcdsaKey *key, uint32_t qBits, uint8_t *seed1, uint32_t *seed1Len, uint8_t *seed2,
                 uint32_t *seed2Len, bool reduce) {
    uint8_t work[kX931WorkBytes] = {};
    const uint32_t qLen = EN_ENUMToBytes(&key->q, work);
    uint8_t out[kX931WorkBytes];
    const uint32_t n = qBits / 8;
    do {
        uint32_t keyLen = kSeedBytes;
        E_X9_31RandomBytes2(out, n, seed1, &keyLen, seed2, seed2 == nullptr ? 0 : kSeedBytes, work, qLen);
        *seed1Len = kSeedBytes;
        *seed2Len = kSeedBytes;
        if (reduce) {
            Temp R;
            EN_BytesToENUM(R.get(), out, n);
            EN_Mod(&key->x, R.get(), &key->q);
            vc::secure_wipe_object(R.w);
        } else {
            EN_BytesToENUM(&key->x, out, n);
        }
    } while (!setPublic(key));
    vc::secure_wipe(out, sizeof out);
    return 1;
}

bool x931Fits(const KcdsaKey *key, uint32_t qBits) {
    return qBits >= 8 && qBits / 8 <= kX931WorkBytes && dl::byteLength(&key->q) <= kX931WorkBytes;
}

// HAS-160 of the minimal bytes of seed + i.
void hashSeedPlus(const ENUM *seed, uint32_t i, uint8_t *digest) {
    Temp t, add;
    EN_U32ToENUM(add.get(), i);
    EN_Add(t.get(), seed, add.get());
    uint8_t bytes[kX931WorkBytes];
    E_HAS160(digest, bytes, EN_ENUMToBytes(t.get(), bytes));
}

void setBit(ENUM *a, uint32_t bit) { a->words[bit / 32] |= 1u << (bit % 32); }

// J from the hashes of seed + 5 ... seed: the last 108 of their 120 bytes, forced to 863 bits
// and odd.
void seededJ(const ENUM *seed, ENUM *J) {
    uint8_t all[6 * 20];
    for (uint32_t i = 0; i < 6; i++) hashSeedPlus(seed, 5 - i, all + 20 * i);
    EN_BytesToENUM(J, all + 12, 108);
    J->length = 27;
    setBit(J, 0);
    J->words[kX9JBits / 32] &= ~(1u << (kX9JBits % 32));
    setBit(J, kX9JBits - 1);
    bn::trim(J);
}

// One search over count and counter for the seed (step "2" per candidate); true with p, q, g set.
bool seededSearch(KcdsaKey *key, const ENUM *seed, const ENUM *J, uint32_t hBits, ENUM *h,
                  uint32_t *count, uint32_t *counter) {
    Temp twoJ, t, R, pm1;
    EN_LShift1(twoJ.get(), J);
    uint32_t cnt = 1, ctr = 0;
    while (cnt < kX9CountLimit) {
        std::fputs("2", stdout);
        uint8_t digest[20];
        hashSeedPlus(seed, cnt * kX9CounterLimit + ctr, digest);
        EN_BytesToENUM(&key->q, digest, sizeof digest);
        key->q.length = 5;
        setBit(&key->q, 0);
        setBit(&key->q, kX9QBits - 1);
        EN_Mul(t.get(), twoJ.get(), &key->q);
        EN_U32ToENUM(R.get(), 1);
        EN_Add(&key->p, t.get(), R.get());
        bn::trim(&key->p);
        if (bn::bitLength(&key->p) >= kX9PBits && dl::probablePrime(&key->q)) {
            if (!dl::probablePrime(&key->p)) {
                cnt++;
                ctr = 0;
                continue;
            }
            EN_SubU32(pm1.get(), &key->p, 1);
            bn::trim(pm1.get());
            EN_Div(t.get(), nullptr, pm1.get(), &key->q);
            bn::trim(t.get());
            EN_Random(R.get(), hBits, 1, 1);
            EN_Mod(h, R.get(), &key->p);
            dl::powPublic(&key->g, h, t.get(), &key->p);
            if (!dl::isOne(&key->g)) {
                *count = cnt;
                *counter = ctr;
                return true;
            }
            continue;
        }
        if (++ctr == kX9CounterLimit) {
            cnt++;
            ctr = 0;
        }
    }
    return false;
}

}  // namespace

extern "C" {

int32_t E_KCDSA_GenerateKey(KcdsaKey *key, uint32_t pBits, uint32_t qBits) {
    if (!dl::paramSizesFit(pBits, qBits)) return 0;
    dl::generateParams(&key->p, &key->q, &key->g, pBits, qBits);
    randomPair(key, qBits, nullptr);
    return 1;
}

int32_t E_KCDSA_GenerateKey2(KcdsaKey *key, uint32_t pBits, uint32_t qBits, uint8_t *seed1,
                             uint32_t *seed1Len, uint8_t *seed2, uint32_t *seed2Len) {
    if (seed1 == nullptr || !dl::paramSizesFit(pBits, qBits) || qBits / 8 > kX931WorkBytes) return 0;
    dl::generateParams(&key->p, &key->q, &key->g, pBits, qBits);
    return x931Pair(key, qBits, seed1, seed1Len, seed2, seed2Len, true);
}

int32_t E_KCDSA_GenerateKey3(KcdsaKey *key, uint32_t, uint32_t qBits, uint8_t *seed1, uint32_t *seed1Len,
                             uint8_t *seed2, uint32_t *seed2Len) {
    if (seed1 == nullptr || !paramsPresent(key) || !x931Fits(key, qBits)) return 0;
    return x931Pair(key, qBits, seed1, seed1Len, seed2, seed2Len, false);
}

int32_t E_KCDSA_GenerateX9Key(KcdsaKey *key, uint32_t hBits, uint32_t xBits, uint8_t *seed,
                              uint32_t *seedLen, uint32_t *count, uint32_t *counter, uint8_t *h,
                              uint32_t *hLen) {
    if (hBits < 2 || !drawFits(hBits) || !drawFits(xBits)) return 0;
    Temp S, J, H;
    for (;;) {
        EN_Random(S.get(), kX9QBits, 1, 1);
        seededJ(S.get(), J.get());
        if (!dl::probablePrime(J.get())) continue;
        const bool found = seededSearch(key, S.get(), J.get(), hBits, H.get(), count, counter);
        std::fputs("d", stdout);
        if (found) break;
    }
    *seedLen = EN_ENUMToBytes(S.get(), seed);
    *hLen = EN_ENUMToBytes(H.get(), h);
    randomPair(key, xBits, "3");
    return 1;
}

int32_t E_KCDSA_GenerateXY(KcdsaKey *key, uint32_t, uint32_t qBits) {
    if (!paramsPresent(key) || !drawFits(qBits)) return 0;
    randomPair(key, qBits, nullptr);
    return 1;
}

int32_t E_KCDSA_GenerateKey_fixParam(KcdsaKey *key, uint32_t, uint32_t xBits) {
    if (!drawFits(xBits)) return 0;
    loadHex(&key->p, VC_KCDSA_FIXED_P, sizeof VC_KCDSA_FIXED_P - 1);
    loadHex(&key->q, VC_KCDSA_FIXED_Q, sizeof VC_KCDSA_FIXED_Q - 1);
    loadHex(&key->g, VC_KCDSA_FIXED_G, sizeof VC_KCDSA_FIXED_G - 1);
    randomPair(key, xBits, nullptr);
    return 1;
}

}  // extern "C"
