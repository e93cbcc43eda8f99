/* VorelCrypto random generators.
 *
 * Each generator keeps its own process-wide state and seeds itself on first use (from the time,
 * the process id and clocks, and at least 32 bytes of the operating system's generator). Every
 * routine here may be called from any number of threads at once: each generator's state is
 * guarded by its own lock, and each draw is whole (concurrent draws are the generator's one
 * stream shared out). A child process made by fork() mixes its process id and fresh operating-
 * system entropy into a generator before its first draw from it, so that parent and child never
 * repeat each other. E_X9_31RandomBytes and EN_X9_31Random draw a prime per call (prime.h).
 *
 * The pool generators read the output buffer's previous contents as input: pass initialised
 * memory (zeros will do). */
#ifndef VORELCRYPTO_RANDOM_H
#define VORELCRYPTO_RANDOM_H

#include <vorelcrypto/bignum.h>
#include <vorelcrypto/types.h>

VC_BEGIN_DECLS

/* ---- MD5 entropy pools ---- */

/* len bytes from the entropy pool. */
VC_API void RAND_Bytes(uint8_t *out, int32_t len);
/* Mixes len caller bytes into the second pool. */
VC_API void E_GenerateSeed_RSA(const uint8_t *in, int32_t len);
/* len bytes from the second pool. */
VC_API void E_GenerateRandom_RSA(uint8_t *out, int32_t len);

/* ---- DES and MD5 hash-chain generators ---- */

/* len bytes from the DES generator (two fixed DES keys, chained 8-byte blocks). */
VC_API void E_GenerateRandom_DES(uint8_t *out, uint32_t len);
/* len bytes from the MD5 hash chain: each 16-byte block is MD5 of the previous one. */
VC_API void E_GenerateRandom_MD5(uint8_t *out, uint32_t len);
/* useDes != 0: E_GenerateRandom_DES, else E_GenerateRandom_MD5. */
VC_API void E_GenerateRandom(uint8_t *out, uint32_t len, uint32_t useDes);
/* Fills a's words with nbytes bytes from the generator chosen as in E_GenerateRandom (bytes in
 * memory order, unused bytes of the top word zero); sign 0, length (nbytes + 3) / 4, not
 * trimmed. a needs (nbytes + 3) / 4 words. */
VC_API void EN_GenerateRandom(ENUM *a, uint32_t nbytes, uint32_t useDes);

/* ---- random numbers ---- */

/* A random number of exactly `bits` bits from the entropy pool (the time is mixed in first).
 * top != 0 sets the two highest bits, else only the highest; odd != 0 sets bit 0. a needs
 * (bits + 31) / 32 words. bits = 0 gives zero. */
VC_API void EN_Random(ENUM *a, uint32_t bits, uint32_t top, uint32_t odd);
/* As EN_Random with the bytes from E_X9_31RandomBytes. */
VC_API void EN_X9_31Random(ENUM *a, uint32_t bits, uint32_t top, uint32_t odd);

/* ---- SHA-1 G-function generators (E_MySHA1 compression of a 20-byte value and 44 zeros) ----
 * XKEY and XSEED drawn inside a generator are EN_Random(160 or 165 bits, top = 1, odd = 1). */

/* len bytes: XKEY and XSEED fresh, q a fresh 160-bit prime per call; each 20-byte output block
 * is the advanced XKEY = XKEY + (G(XKEY + XSEED) mod q) + 1 mod 2^160. */
VC_API void E_X9_31RandomBytes(uint8_t *out, uint32_t len);
/* The same loop on caller material: xkey (xkeyLen bytes, big-endian) is advanced and written
 * back as 20 bytes (*xkeyLen = 20; the buffer needs 20 bytes); xseed (xseedLen bytes, may be
 * null/0 for zero) is added in every iteration; q (qLen bytes) reduces each G output. */
VC_API void E_X9_31RandomBytes2(uint8_t *out, uint32_t len, uint8_t *xkey, uint32_t *xkeyLen,
                                const uint8_t *xseed, uint32_t xseedLen, const uint8_t *q,
                                uint32_t qLen);
/* X9.62 loop: (bits + 159) / 160 iterations of r = G(XKEY), XKEY = XKEY + r + 1 mod 2^160;
 * the concatenated r values, read as a number, give k = (r mod (order - 1)) + 1, written as
 * minimal big-endian bytes to out (*outLen = count, out needs orderLen bytes). XKEY (*xkeyLen
 * bytes) is written back as minimal bytes with its new length (the buffer needs 20 bytes). */
VC_API void E_X9_62RandomBytes(uint8_t *out, uint32_t *outLen, uint8_t *xkey, uint32_t *xkeyLen,
                               const uint8_t *order, uint32_t orderLen, uint32_t bits);
/* The plain X9.62 loop without the final reduction: len bytes of the G outputs, XKEY written
 * back as in E_X9_62RandomBytes. */
VC_API void E_X9_62RandomBytes_Original(uint8_t *out, uint32_t len, uint8_t *xkey,
                                        uint32_t *xkeyLen);
/* E_X9_62RandomBytes with a fresh XKEY; 161 bits (two iterations) for curve 7, else 163. */
VC_API void E_GenerateRandom_X962(uint32_t curve, uint8_t *out, uint32_t *outLen,
                                  const uint8_t *order, uint32_t orderLen);
/* The X9.62 loop for EC-KCDSA keys and nonces, with XKEY + XSEED compressed in each iteration
 * (xseed may be null/0 for zero): bits wide, reduced into [1, order - 1] as E_X9_62RandomBytes,
 * XKEY written back likewise. */
VC_API void E_ECKCDSA_RandomBytes(uint8_t *out, uint32_t *outLen, uint8_t *xkey,
                                  uint32_t *xkeyLen, const uint8_t *xseed, uint32_t xseedLen,
                                  const uint8_t *order, uint32_t orderLen, uint32_t bits);

/* ---- HAS-160 expansion and the EC-KCDSA generator ---- */

/* out = the number made of blocks HAS-160(in || i), i = 0 ... m with m = (outBits - 1) / 160,
 * block m (the most significant) cut to its low outBits - 160 m bits. out needs
 * (outBits + 31) / 32 words. */
VC_API void E_HAS160_Expand(ENUM *out, const uint8_t *in, uint32_t inLen, uint32_t outBits);
/* k below the order from a fresh 165-bit XKEY and the optional seed; minimal big-endian bytes
 * into out (out needs orderLen bytes), their count in *outLen. Curves 3 and 5 use 163 bits,
 * the others 161. */
VC_API void E_GenerateRandom_ECKCDSA(uint32_t curve, uint8_t *out, uint32_t *outLen,
                                     const uint8_t *seed, uint32_t seedLen, const uint8_t *order,
                                     uint32_t orderLen);

VC_END_DECLS

#endif
