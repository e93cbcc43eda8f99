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

/* The provider's last failure reason (process-wide; a successful call leaves it unchanged). A
 * reason below 1000 reads as 2000 + reason. */
VC_API uint32_t GetError(void);

VC_END_DECLS

#endif
