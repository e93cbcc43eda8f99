/* VorelCommon: the support library under VorelCrypto. It starts and stops the common part of a
 * LibContext, allocates the buffers that services hand to callers, and holds the table through
 * which a host plugs in a GPKI cryptographic module. */
#ifndef VORELCRYPTO_COMMON_H
#define VORELCRYPTO_COMMON_H

#include <vorelcrypto/types.h>

VC_BEGIN_DECLS

/* A GPKI binary string: the same shape as a data blob. */
typedef struct GpkiBinString {
    uint32_t length;
    uint8_t *data;
} GpkiBinString;

/* Entry points of an outside GPKI module, by slot. Slot 0 (`present`) null means that no GPKI
 * module is registered. Slots 7 to 11 are not used by VorelCrypto. Each entry returns 0 on
 * success and the module's own non-zero code on failure. */
typedef struct GpkiFunctionTable {
    void *present;                                                                  /* 0 */
    int32_t (*open)(void **handle, char *workString);                               /* 1 */
    int32_t (*close)(void **handle);                                                /* 2 */
    int32_t (*errorText)(void *handle, int32_t size, char *text);                   /* 3 */
    int32_t (*newBinString)(GpkiBinString **object);                                /* 4 */
    int32_t (*deleteBinString)(GpkiBinString **object);                             /* 5 */
    int32_t (*setBinString)(const uint8_t *data, uint32_t length, GpkiBinString **object); /* 6 */
    void *reserved[5];                                                              /* 7..11 */
    int32_t (*symStart)(void *handle, int32_t algorithm, GpkiBinString *key, GpkiBinString *iv); /* 12 */
    int32_t (*encrypt)(void *handle, GpkiBinString *in, GpkiBinString *out);        /* 13 */
    int32_t (*decrypt)(void *handle, GpkiBinString *in, GpkiBinString *out);        /* 14 */
} GpkiFunctionTable;

/* Starts the common part of ctx and sets ctx->commonStarted. 0 on success, non-zero on failure. */
VC_API int32_t V_VCOInit(LibContext *ctx);
/* Stops the common part of ctx. */
VC_API void V_VCOTerm(LibContext *ctx);
/* count * size zero-filled bytes accounted to ctx, or null (overflow, no memory, injected fault).
 * ctx may be null: the block is then accounted to nobody. */
VC_API void *V_calloc(LibContext *ctx, uint32_t count, uint32_t size);
/* Releases a block from V_calloc on the same context. Null is ignored. */
VC_API void V_free(LibContext *ctx, void *pointer);
/* The GPKI table in force: never null; its `present` slot is null until a host registers one. */
VC_API GpkiFunctionTable *V_GetGPKIFunc(LibContext *ctx);
/* Converts hexadecimal text (upper or lower case, even count of digits, no separators) to bytes.
 * Writes at most *outLength bytes to out and stores the count in *outLength. Returns 0, or -1
 * for a null argument, an odd count, a non-hex character or a too short output. */
VC_API int32_t V_str2bin(const char *text, uint8_t *out, uint32_t *outLength);
/* Re-entrant tokeniser with the contract of POSIX strtok_r. */
VC_API char *V_strtok_r(char *text, const char *delimiters, char **saveptr);

/* ---- for hosts and tests ---- */

/* Registers the GPKI module table that V_GetGPKIFunc hands out (copied); null restores the empty
 * table. Process-wide. */
VC_API void V_SetGPKIFuncTable(const GpkiFunctionTable *table);
/* Live blocks and bytes that V_calloc has handed out on ctx and V_free has not yet released. */
VC_API void V_GetAllocStats(const LibContext *ctx, uint32_t *liveBlocks, uint32_t *liveBytes);
/* Test hook, per thread: the n-th V_calloc from now (1 = the next one) returns null; 0 disarms. */
VC_API void V_FailNthCalloc(uint32_t n);
/* Test hook, per thread: while `fail` is non-zero V_VCOInit fails and returns 1. */
VC_API void V_FailVCOInit(int32_t fail);

VC_END_DECLS

#endif
