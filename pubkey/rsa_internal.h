// Shared pieces of the RSA engine: the modulus length, the two exponentiations, fixed-width
// output, and the hashes and mask generation of OAEP and PSS. Also used by the command line.
#pragma once

#include <vorelcrypto/rsa.h>

#include <cstdint>

namespace vc::rsa {

// Largest modulus in bytes (75 words); every block buffer of the engine has this size.
inline constexpr uint32_t kMaxBytes = 300;

// k, or 0 when n is zero or wider than 75 words (the engine then refuses with -1).
uint32_t modulusBytes(const RsaKey *key);

// r = c^e mod n (c reduced first). r needs 75 words.
void publicOp(ENUM *r, const ENUM *c, const RsaKey *key);

// How a private operation chooses between CRT and d.
enum class Crt {
    kChecked,  // PKCS #1 v1.5: CRT from 16 words of qInv on, after the q * qInv check
    kNonZero,  // OAEP and PSS: CRT whenever qInv is non-zero, no check
};
// r = c^d mod n. Returns false (r unwritten) only when the kChecked consistency check fails.
bool privateOp(ENUM *r, const ENUM *c, const RsaKey *key, Crt mode);

// x as exactly `width` big-endian bytes (x must fit).
void toFixed(uint8_t *out, const ENUM *x, uint32_t width);

// The hash of PSS and OAEP by identifier: 6 SHA-256, 7 SHA-384, 8 SHA-512, else SHA-1.
uint32_t hashLength(uint32_t hashId);
void hash(uint32_t hashId, uint8_t *digest, const uint8_t *data, uint32_t length);
// XORs MGF1(seed) of `length` bytes into out.
void mgf1Xor(uint32_t hashId, uint8_t *out, uint32_t length, const uint8_t *seed, uint32_t seedLen);

// The caller's pointer, or a valid empty one for a null pointer with a zero length (copies and
// hashes of nothing must not be handed a null pointer).
inline const uint8_t *orEmpty(const uint8_t *p) {
    static const uint8_t none = 0;
    return p != nullptr ? p : &none;
}

// Erases the whole record (private numbers included).
void wipeKey(RsaKey *key);

// Prints a fixed diagnostic text to standard output when `speak`.
void say(bool speak, const char *text);

}  // namespace vc::rsa

namespace vc::rsa {

// Strict PKCS #1 v1.5 signature check of the command line: sig is k bytes, below n, and opens to
// exactly 00 01 FF ... FF 00 || expected with at least 8 bytes of 0xFF.
bool verifyPkcs1Strict(RsaKey *key, const uint8_t *expected, uint32_t expectedLen, const uint8_t *sig,
                       uint32_t sigLen);

// The exported OAEP (RFC 8017), PSS and X9.31 routines with their printing switched by `speak`
// (the command line keeps standard output for its data).
int32_t oaepEncrypt(uint8_t *out, const uint8_t *in, uint32_t inLen, const uint8_t *label, uint32_t labelLen,
                    RsaKey *key, bool speak);
int32_t oaepDecrypt(uint8_t *out, const uint8_t *in, uint32_t inLen, const uint8_t *label, uint32_t labelLen,
                    RsaKey *key, bool speak);
int32_t pssSign(uint32_t hashId, uint32_t mgfHashId, uint8_t *sig, int32_t *sigLen, const uint8_t *msg,
                uint32_t msgLen, uint32_t saltLen, RsaKey *key, bool speak);
int32_t pssVerify(uint32_t hashId, uint32_t mgfHashId, const uint8_t *sig, uint32_t sigLen,
                  const uint8_t *msg, uint32_t msgLen, uint32_t saltLen, RsaKey *key, bool speak);
// aux receives p1, p2, q1, q2 (13 bytes each).
void generateX931(RsaKey *key, uint32_t bits, uint32_t e, uint8_t *aux[4], bool safeAux, bool speak);

}  // namespace vc::rsa
