// OAEP in two forms: the PKCS #1 version 2.0 pair (encoded message of k - 1 bytes, parameter
// string P) and RSAES-OAEP of RFC 8017 (k bytes with a leading zero, label). Both SHA-1 with
// MGF1-SHA-1.
#include <vorelcrypto/hash.h>
#include <vorelcrypto/random.h>
#include <vorelcrypto/rsa.h>

#include <cstring>

#include "bignum/bn_internal.h"
#include "common/wipe.h"
#include "pubkey/rsa_internal.h"

using namespace vc::rsa;
using vc::bignum::Temp;

namespace {

constexpr uint32_t kHash = 20;  // SHA-1

// maskedSeed || maskedDB from DB (dbLen bytes) and a fresh seed, written to em.
void mask(uint8_t *em, const uint8_t *db, uint32_t dbLen) {
    uint8_t *seed = em, *maskedDb = em + kHash;
    E_GenerateRandom(seed, kHash, 1);
    memcpy(maskedDb, db, dbLen);
    mgf1Xor(0, maskedDb, dbLen, seed, kHash);
    mgf1Xor(0, seed, kHash, maskedDb, dbLen);
}

// Reverses mask in place: em becomes seed || DB.
void unmask(uint8_t *em, uint32_t dbLen) {
    mgf1Xor(0, em, kHash, em + kHash, dbLen);
    mgf1Xor(0, em + kHash, dbLen, em, kHash);
}

// Encrypts the k-byte (or shorter, left-padded) block em; returns k.
int32_t encryptEm(uint8_t *out, const uint8_t *em, uint32_t emLen, uint32_t k, RsaKey *key) {
    Temp m, c;
    EN_BytesToENUM(m.get(), em, emLen);
    publicOp(c.get(), m.get(), key);
    toFixed(out, c.get(), k);
    return int32_t(k);
}

// The private operation on a k-byte input (CRT whenever qInv is non-zero) into block as
// minimal bytes; returns their count.
uint32_t decryptToBytes(uint8_t *block, const uint8_t *in, uint32_t k, RsaKey *key) {
    Temp c, m;
    EN_BytesToENUM(c.get(), in, k);
    privateOp(m.get(), c.get(), key, Crt::kNonZero);
    const uint32_t len = EN_ENUMToBytes(m.get(), block);
    vc::secure_wipe(m.w, sizeof m.w);
    return len;
}

// All ones when x == 0, without a branch.
inline uint32_t zeroMask(uint32_t x) { return uint32_t((uint64_t(x) - 1) >> 32); }

}  // namespace

extern "C" {

int32_t E_RSA_Public_Encrypt_OAEP(uint8_t *out, const uint8_t *in, int32_t inLen, const uint8_t *P,
                                  uint32_t pLen, RsaKey *key) {
    const uint32_t k = modulusBytes(key);
    if (k == 0 || inLen < 0 || k < 22 || uint32_t(inLen) > k - 22) {
        say(true, "encrypt part : message too long. encoding error");
        return -1;
    }
    const uint32_t emLen = k - 1, dbLen = emLen - kHash, len = uint32_t(inLen);
    uint8_t em[kMaxBytes] = {};
    if (emLen < 41 || len > emLen - 41) {
        // The encoder refuses but reports success: the all-zero block is encrypted.
        say(true, "Input message too long. Fail to oaep encoding!");
    } else {
        uint8_t db[kMaxBytes] = {};
        E_SHA1(db, orEmpty(P), pLen);
        db[dbLen - len - 1] = 0x01;
        memcpy(db + dbLen - len, orEmpty(in), len);
        mask(em, db, dbLen);
        vc::secure_wipe(db, sizeof db);
    }
    const int32_t result = encryptEm(out, em, emLen, k, key);
    vc::secure_wipe(em, sizeof em);
    return result;
}

int32_t E_RSA_Private_Decrypt_OAEP(uint8_t *out, const uint8_t *in, uint32_t inLen, const uint8_t *P,
                                   uint32_t pLen, RsaKey *key) {
    const uint32_t k = modulusBytes(key);
    if (k == 0 || inLen != k) return -1;
    uint8_t em[kMaxBytes + 8] = {};
    const uint32_t emLen = k - 1;
    int32_t result = -1;
    if (decryptToBytes(em, in, k, key) != emLen) {
        say(true, "decrypt part : EM byte Length too long , decryption error");
    } else if (emLen < 41) {
        say(true, "EM length too small. Fail to oaep decoding!");
    } else {
        const uint32_t dbLen = emLen - kHash;
        unmask(em, dbLen);
        const uint8_t *db = em + kHash;
        uint32_t pos = kHash;  // the first 0x01 from position 20 on, bounded by the block
        while (pos < dbLen && db[pos] != 0x01) pos++;
        uint8_t pHash[kHash];
        E_SHA1(pHash, orEmpty(P), pLen);
        if (memcmp(db, pHash, kHash) != 0) {
            say(true, "pHash' does mot equal pHash");
        } else if (pos < dbLen) {
            result = int32_t(dbLen - (pos + 1));
            memcpy(out, db + pos + 1, uint32_t(result));
        }
    }
    vc::secure_wipe(em, sizeof em);
    return result;
}

int32_t E_RSAES_OAEP_Encrypt(uint8_t *out, const uint8_t *in, uint32_t inLen, const uint8_t *label,
                             uint32_t labelLen, RsaKey *key) {
    return oaepEncrypt(out, in, inLen, label, labelLen, key, true);
}

int32_t E_RSAES_OAEP_Decrypt(uint8_t *out, const uint8_t *in, uint32_t inLen, const uint8_t *label,
                             uint32_t labelLen, RsaKey *key) {
    return oaepDecrypt(out, in, inLen, label, labelLen, key, true);
}

}  // extern "C"

namespace vc::rsa {

int32_t oaepEncrypt(uint8_t *out, const uint8_t *in, uint32_t inLen, const uint8_t *label, uint32_t labelLen,
                    RsaKey *key, bool speak) {
    if (out == nullptr) {
        say(speak, "out variable is not initialized.");
        return -1;
    }
    const uint32_t k = modulusBytes(key);
    if (k < 2 * kHash + 2 || inLen > k - 2 * kHash - 2) {
        say(speak, "encrypt part : message too long.");
        return -1;
    }
    const uint32_t dbLen = k - kHash - 1;
    uint8_t db[kMaxBytes] = {}, em[kMaxBytes] = {};
    E_SHA1(db, orEmpty(label), labelLen);
    db[dbLen - inLen - 1] = 0x01;
    memcpy(db + dbLen - inLen, orEmpty(in), inLen);
    mask(em + 1, db, dbLen);
    const int32_t result = encryptEm(out, em, k, k, key);
    vc::secure_wipe(db, sizeof db);
    vc::secure_wipe(em, sizeof em);
    return result;
}

int32_t oaepDecrypt(uint8_t *out, const uint8_t *in, uint32_t inLen, const uint8_t *label, uint32_t labelLen,
                    RsaKey *key, bool speak) {
    if (out == nullptr) {
        say(speak, "out variable is not initialized.");
        return -1;
    }
    const uint32_t k = modulusBytes(key);
    if (k < 2 * kHash + 2 || inLen != k) {
        say(speak, "lHash' does not equal lHash");
        return -1;
    }
    // The cipher text must be below n.
    Temp c;
    EN_BytesToENUM(c.get(), in, k);
    if (EN_UComp(c.get(), &key->n) >= 0) {
        say(speak, "lHash' does not equal lHash");
        return -1;
    }
    uint8_t block[kMaxBytes + 8] = {}, em[kMaxBytes] = {};
    const uint32_t len = decryptToBytes(block, in, k, key);
    memcpy(em + (k - len), block, len);
    const uint32_t dbLen = k - kHash - 1;
    unmask(em + 1, dbLen);
    const uint8_t *db = em + 1 + kHash;
    uint8_t lHash[kHash];
    E_SHA1(lHash, orEmpty(label), labelLen);
    // Every check runs over the whole block; `bad` collects the failures.
    uint32_t bad = em[0];
    for (uint32_t i = 0; i < kHash; i++) bad |= db[i] ^ lHash[i];
    uint32_t found = 0, index = 0;  // found: all ones once the 0x01 is seen
    for (uint32_t i = kHash; i < dbLen; i++) {
        const uint32_t isOne = zeroMask(db[i] ^ 0x01u), isZero = zeroMask(db[i]);
        index |= ~found & isOne & i;
        bad |= ~found & ~isOne & ~isZero;  // a non-zero byte before the separator
        found |= isOne;
    }
    bad |= ~found;
    int32_t result = -1;
    if (bad != 0) {
        say(speak, "lHash' does not equal lHash");
    } else {
        result = int32_t(dbLen - index - 1);
        memcpy(out, db + index + 1, uint32_t(result));
    }
    vc::secure_wipe(block, sizeof block);
    vc::secure_wipe(em, sizeof em);
    return result;
}

}  // namespace vc::rsa
