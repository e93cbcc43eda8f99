/* VorelCrypto cryptographic service provider (CSP_ functions) in the manner of the CDSA
 * service-provider interface. */
#ifndef VORELCRYPTO_CSP_H
#define VORELCRYPTO_CSP_H

#include <vorelcrypto/types.h>

VC_BEGIN_DECLS

/* Reasons the provider reports through GetError. */
enum {
    CSP_ERR_ALLOC = 1010,          /* result buffer could not be allocated */
    CSP_ERR_OUTPUT_SHORT = 1011,   /* result buffer shorter than the result */
    CSP_ERR_ALGORITHM = 1023,      /* algorithm not supported for this class */
    CSP_ERR_CLASS = 1026,          /* context record of the wrong class */
    CSP_ERR_NO_CONTEXT = 1027,     /* no context record */
    CSP_ERR_NULL_BLOB = 1029,      /* null blob array or null result blob */
    CSP_ERR_BLOB_COUNT = 1030,     /* zero blob count */
    CSP_ERR_NULL_DATA = 1046,      /* blob with a null data pointer */
    CSP_ERR_ENGINE = 1095,         /* engine routine failed */
    CSP_ERR_MISSING_ATTRIBUTE = 10304
};

/* Context classes. */
enum { CSP_CLASS_DIGEST = 5 };

/* Module handle of the library's own provider, as the V_ services pass it. */
enum { CSP_MODULE_HANDLE = 100 };

/* One context attribute: its type, the length of its value, and the value. */
typedef struct CspAttribute {
    uint32_t type;
    uint32_t length;
    void *value;
} CspAttribute;

struct DigestDescriptor;

/* The provider context record. Zero it (calloc), fill class, algorithm and attributes, and pass
 * its address as the context handle: the provider takes the handle as the record. */
typedef struct CspContextRecord {
    uint32_t contextClass;                    /* 5: digest */
    uint32_t algorithm;                       /* CDSA algorithm identifier */
    uint32_t reserved2;
    uint32_t attributeCount;
    CspAttribute *attributes;
    uint32_t reserved5, reserved6;
    const struct DigestDescriptor *descriptor; /* chosen by CSP_DigestDataInit */
    void *state;                              /* engine state between Init and Final */
    uint8_t work[1072];                       /* working storage of the other families */
} CspContextRecord;

typedef CspContextRecord *CspContextHandle;

/* Digest family. Each returns 0, or -1 with the reason in GetError(). The module handle is not
 * read.
 *
 * Init: `context` is optional; when given, its class, algorithm, attribute count and attribute
 * pointer are copied into the handle's record first. Digest algorithms: 5 and 43 MD2, 6 MD4,
 * 7 and 42 MD5, 8, 49 and 81 SHA-1, 11 RIPEMD-160, 89 and 90 HAS-160. The aliases 42, 43, 49, 81
 * and 90 are accepted but hash nothing: their Final succeeds and writes no digest.
 * Update: hashes each of `count` blobs in turn; a blob with a null data pointer stops the call.
 * Final: writes the digest into `digest` and sets its length (16 or 20). A blob with length 0 and
 * a null pointer receives a fresh buffer of the digest length, which the caller frees with
 * free(). The engine state is released. */
VC_API int32_t CSP_DigestDataInit(uint32_t moduleHandle, CspContextHandle handle,
                                  const CspContextRecord *context);
VC_API int32_t CSP_DigestDataUpdate(uint32_t moduleHandle, CspContextHandle handle,
                                    const DataBlob *blobs, uint32_t count);
VC_API int32_t CSP_DigestDataFinal(uint32_t moduleHandle, CspContextHandle handle, DataBlob *digest);

/* The provider's last failure reason (process-wide; a successful call leaves it unchanged). A
 * reason below 1000 reads as 2000 + reason. */
VC_API uint32_t GetError(void);

VC_END_DECLS

#endif
