// Diffie-Hellman over a safe prime with a small generator: parameters, key pair, agreement.
#include "common/wipe.h"
#include "pubkey/dlog_internal.h"

#include <vorelcrypto/dsa_dh.h>
#include <vorelcrypto/prime.h>
#include <vorelcrypto/random.h>

using vc::dlog::Temp;
namespace bn = vc::bignum;
namespace dl = vc::dlog;

namespace {

constexpr uint32_t kMinPBits = 32;

// A private value is present when its pointer is set and it is not zero.
bool hasPrivate(const DhKey *dh) {
    return dh->privateValue.words != nullptr && !bn::isZero(&dh->privateValue);
}

}  // namespace

extern "C" {

void E_DH_Init(DhKey *dh) {
    dh->p.words = dh->pWords;
    dh->g.words = dh->gWords;
    dh->publicValue.words = dh->publicWords;
    dh->privateValue.words = dh->privateWords;
}

int32_t E_DH_GenerateParameters(DhKey *dh, uint32_t pBits, uint32_t generator) {
    // The classes in which the generator is a quadratic non-residue, so that it generates the
    // whole group modulo the safe prime. Generator 3 would need p = 5 mod 12, where (p - 1) / 2
    // is even: no safe prime lies there, and the search would never end.
    uint32_t add, rem;
    if (generator == 2) {
        add = 24, rem = 11;
    } else if (generator == 5) {
        add = 10, rem = 3;
    } else {
        return 0;
    }
    if (pBits < kMinPBits || pBits > dl::kMaxModulusBits) return 0;
    Temp A, R;
    EN_U32ToENUM(A.get(), add);
    EN_U32ToENUM(R.get(), rem);
    EN_GeneratePrimeStrongDH(&dh->p, pBits, A.get(), R.get());
    bn::trim(&dh->p);
    EN_U32ToENUM(&dh->g, generator);
    return 1;
}

int32_t E_DH_GenerateKey(DhKey *dh, uint32_t privateBits) {
    const uint32_t pBits = bn::bitLength(&dh->p);
    const uint32_t bits = privateBits != 0 ? privateBits : pBits - 1;
    if (pBits < 2 || pBits > dl::kMaxModulusBits || bits > dl::kMaxModulusBits) return 0;
    if (!hasPrivate(dh)) {
        if (dh->privateValue.words == nullptr) dh->privateValue.words = dh->privateWords;
        EN_Random(&dh->privateValue, bits, 0, 0);
    }
    if (dh->publicValue.words == nullptr) dh->publicValue.words = dh->publicWords;
    dl::powSecret(&dh->publicValue, &dh->g, &dh->privateValue, &dh->p);
    return 1;
}

int32_t E_DH_ComputeKey(uint8_t *out, const ENUM *peer, const DhKey *dh) {
    if (!hasPrivate(dh) || !dl::domainUsable(&dh->p, &dh->g)) return -1;
    // 0, 1 and p - 1 (and anything not below p) give a shared value anyone can predict.
    Temp pm1, shared;
    EN_SubU32(pm1.get(), &dh->p, 1);
    bn::trim(pm1.get());
    ENUM v = *peer;
    bn::trim(&v);
    if (v.sign != 0 || bn::bitLength(&v) < 2 || EN_UComp(&v, pm1.get()) >= 0) return -1;
    dl::powSecret(shared.get(), &v, &dh->privateValue, &dh->p);
    const uint32_t n = EN_ENUMToBytes(shared.get(), out);
    vc::secure_wipe_object(shared.w);
    return int32_t(n);
}

}  // extern "C"
