/* VorelCrypto: records and conventions shared by every family of the C interface. */
#ifndef VORELCRYPTO_TYPES_H
#define VORELCRYPTO_TYPES_H

#include <stddef.h>
#include <stdint.h>

#if defined(__GNUC__)
#define VC_API __attribute__((visibility("default")))
#else
#define VC_API
#endif

#ifdef __cplusplus
#define VC_BEGIN_DECLS extern "C" {
#define VC_END_DECLS }
#else
#define VC_BEGIN_DECLS
#define VC_END_DECLS
#endif

VC_BEGIN_DECLS

/* A length and a pointer: every input and output of the V_ and CSP_ layers is one. */
typedef struct DataBlob {
    uint32_t Length;
    uint8_t *Data;
} DataBlob;

struct CryptoState;

/* The caller's context. Zero it, call V_VCCInit, pass it first to every V_ service, read
 * `error` after a failing call, release output buffers with V_free, finish with V_VCCTerm. */
typedef struct LibContext {
    uint32_t common[2];        /* owned by the support library */
    uint32_t commonStarted;    /* non-zero while the common part is started */
    struct CryptoState *state; /* null until V_VCCInit succeeds */
    int32_t error;             /* last code stored by a V_ service */
    char gpkiWork[1024];       /* handed unchanged to the GPKI module */
    char message[1024];        /* GPKI error text */
} LibContext;

/* Made by V_VCCInit; the inner service routines reach their context through `owner`. */
typedef struct CryptoState {
    LibContext *owner;
    int32_t lastError;
} CryptoState;

/* A symmetric key as the V_ encryption, MAC and key-wrap services take it. */
typedef struct SymKeyRecord {
    uint32_t algorithm, mode, keyLength;
    uint8_t *key;
    uint32_t ivLength;
    uint8_t *iv;
} SymKeyRecord;

VC_END_DECLS

#endif
