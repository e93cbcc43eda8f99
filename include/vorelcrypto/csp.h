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
    CSP_ERR_INVALID_KEY = 1040,    /* key record missing, damaged or of another algorithm;
                                      key material of a length the algorithm cannot take */
    CSP_ERR_MODE = 1041,           /* mode not supported */
    CSP_ERR_IV = 1042,             /* initialisation vector shorter than a block */
    CSP_ERR_PADDING = 1043,        /* padding attribute not supported */
    CSP_ERR_INPUT_LENGTH = 1044,   /* unpadded data or cipher text not a whole number of blocks */
    CSP_ERR_BAD_PADDING = 1047,    /* decrypted padding is not well formed */
    CSP_ERR_ENGINE = 1095,         /* engine routine failed */
    CSP_ERR_STATE = 1096,          /* staged call without Init, or after Final */
    CSP_ERR_VERIFY = 1105,         /* MAC does not verify */
    CSP_ERR_MISSING_ATTRIBUTE = 10304 /* a required context attribute is missing */
};

/* Context classes (the CDSA class numbers, counted from one). */
enum {
    CSP_CLASS_SIGNATURE = 3,
    CSP_CLASS_SYMMETRIC = 4,
    CSP_CLASS_DIGEST = 5,
    CSP_CLASS_RANDOM = 6,
    CSP_CLASS_MAC = 8,
    CSP_CLASS_ASYMMETRIC = 9,
    CSP_CLASS_KEYGEN = 10
};

/* CDSA algorithm identifiers of the symmetric, MAC and random families. (The digest family's
 * identifiers are listed at CSP_DigestDataInit.) */
enum {
    CSP_ALG_MD5 = 7,          /* MAC family: HMAC-MD5 */
    CSP_ALG_DES = 14,
    CSP_ALG_3DES_2KEY = 18,   /* two-key triple DES, EDE */
    CSP_ALG_IDEA = 20,
    CSP_ALG_RC2 = 21,
    CSP_ALG_RC5 = 22,         /* RC5-32 with 12 rounds */
    CSP_ALG_RC4 = 23,
    CSP_ALG_BLOWFISH = 26,
    CSP_ALG_RANDOM_MD5 = 46,  /* E_GenerateRandom(out, n, 0) */
    CSP_ALG_RANDOM_DES = 48   /* E_GenerateRandom(out, n, 1) */
};

/* CDSA modes and paddings. */
enum { CSP_MODE_ECB = 2, CSP_MODE_CBC = 4, CSP_MODE_CFB = 7, CSP_MODE_OFB = 10 };
enum { CSP_PADDING_NONE = 0, CSP_PADDING_PKCS5 = 6, CSP_PADDING_PKCS7 = 7 };

/* Attribute types (CDSA): the high bits say how the value is held. */
enum {
    CSP_ATTR_PADDING = 0x10000006,        /* uint32: CSP_PADDING_* */
    CSP_ATTR_KEY_LENGTH = 0x1000000A,     /* uint32: key length in bits */
    CSP_ATTR_OUTPUT_SIZE = 0x1000000D,    /* uint32: bytes wanted from a random context */
    CSP_ATTR_MODE = 0x10000013,           /* uint32: CSP_MODE_* */
    CSP_ATTR_EFFECTIVE_BITS = 0x10000014, /* uint32: RC2 effective key bits */
    CSP_ATTR_INIT_VECTOR = 0x20000005,    /* data: the IV blob */
    CSP_ATTR_KEY = 0x40000003             /* key: the key record blob made by CSP_GenerateKey */
};

/* Size of a key buffer that holds the key record of any symmetric algorithm. */
enum { CSP_KEY_RECORD_MAX = 5000 };

/* Module handle of the library's own provider, as the V_ services pass it. */
enum { CSP_MODULE_HANDLE = 100 };

/* One context attribute: its type, the length of its value, and the value: a number for the
 * uint32 types, a blob for the data and key types. */
typedef union CspAttributeValue {
    uint32_t uint32;
    DataBlob *data;
    void *pointer;
} CspAttributeValue;

typedef struct CspAttribute {
    uint32_t type;
    uint32_t length;
    CspAttributeValue value;
} CspAttribute;

struct DigestDescriptor;

/* The provider context record. Zero it (calloc), fill class, algorithm and attributes, and pass
 * its address as the context handle: the provider takes the handle as the record. */
typedef struct CspContextRecord {
    uint32_t contextClass;                    /* CSP_CLASS_* */
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

/* ---- Key generation (class CSP_CLASS_KEYGEN) ----
 *
 * CSP_GenerateKey turns key material into a provider key record for the context's algorithm:
 * a header, the raw key bytes and the key schedule, with no pointers inside. Attributes:
 * CSP_ATTR_KEY_LENGTH (required; bits, a multiple of 8; the number of material bytes taken) and,
 * for RC2, CSP_ATTR_EFFECTIVE_BITS (1 to 1024, default 8 times the key length). Key lengths in
 * bytes: DES 8, two-key triple DES 16, IDEA 16, RC2 1 to 128, RC5-32/12 0 to 255, RC4 1 to 256,
 * Blowfish 4 to 56; another length, or effective bits out of range, fails with 1040. The
 * material blob must hold at least that many bytes behind a data pointer (1046). `key` is the
 * caller's buffer, 4-byte aligned (1040 otherwise), Length its capacity (1011 when shorter than
 * the record; CSP_KEY_RECORD_MAX always suffices); on success Length becomes the size of the
 * record. keyUsage and keyAttributes are recorded, not enforced. `context` is optional as for
 * the digest family. Also 1027 (no handle), 1026 (class), 1023 (algorithm), 1029 (null blob),
 * 10304 (no key length).
 * CSP_FreeKey wipes Length bytes of a key record and sets its Length to 0 (1029 for a null
 * blob). */
VC_API int32_t CSP_GenerateKey(uint32_t moduleHandle, CspContextHandle handle,
                               const CspContextRecord *context, uint32_t keyUsage,
                               uint32_t keyAttributes, const DataBlob *keyMaterial, DataBlob *key);
VC_API int32_t CSP_FreeKey(uint32_t moduleHandle, DataBlob *key);

/* ---- Encryption and decryption (class CSP_CLASS_SYMMETRIC) ----
 *
 * Attributes: CSP_ATTR_KEY (required: a key record of the context's algorithm, else 1040),
 * CSP_ATTR_MODE (required except for RC4, which ignores it; ECB, CBC, CFB or OFB, else 1041),
 * CSP_ATTR_INIT_VECTOR (required in CBC, CFB and OFB; its first 8 bytes are used, a shorter or
 * empty one fails with 1042), CSP_ATTR_PADDING (default PKCS #7 in ECB and CBC, none in CFB, OFB
 * and RC4; PKCS #5 and #7 pad to the 8-byte block in every mode, RC4 included; other values
 * 1043). A missing required attribute fails with 10304. CFB and OFB feed back a whole block (the
 * 64-bit CFB and OFB of OpenSSL's des-cfb and des-ofb). The key record must stay in place until
 * Final; RC4 runs on a copy of its state, so one record serves any number of messages. Init on
 * a record with an unfinished operation drops that operation.
 * Update works through the input blobs in order (in pieces of at most 1,000 bytes) and writes
 * to the output blobs, which it fills in order as one buffer (a block may straddle two blobs);
 * an output blob's Length is its capacity and is left unchanged. Padded modes, ECB and CBC
 * write whole blocks only, keeping an incomplete block (and, when decrypting with padding, the
 * last block) in the record; CFB, OFB and RC4 without padding write every byte at once.
 * *bytesProcessed (may be null) receives the count written. Everything is checked before
 * anything is written: 1096 without Init (or after Final, or in the other direction), 1029 and
 * 1030 for null arrays and zero counts, 1046 for a blob with a null data pointer, 1011 when the
 * output blobs together are too short.
 * Final writes what is left into `remaining` and ends the operation: encryption adds the
 * padding, decryption checks and removes it. A `remaining` blob with Length 0 and a null pointer
 * receives a buffer of one block (free()); a non-empty one shorter than a block fails with 1011
 * (the operation continues then). Unpadded ECB or CBC data that is not whole blocks fails with
 * 1044, as does padded cipher text that is not whole blocks; a last block whose padding is not
 * n bytes of value n (1 to 8) fails with 1047; both end the operation and leave `remaining` as
 * it was. The one-shot forms run Init, Update and Final (*bytesProcessed counts the Update part,
 * `remaining` holds the rest); a failure ends the operation. */
VC_API int32_t CSP_EncryptDataInit(uint32_t moduleHandle, CspContextHandle handle,
                                   const CspContextRecord *context);
VC_API int32_t CSP_EncryptDataUpdate(uint32_t moduleHandle, CspContextHandle handle,
                                     const DataBlob *input, uint32_t inputCount, DataBlob *output,
                                     uint32_t outputCount, uint32_t *bytesProcessed);
VC_API int32_t CSP_EncryptDataFinal(uint32_t moduleHandle, CspContextHandle handle, DataBlob *remaining);
VC_API int32_t CSP_EncryptData(uint32_t moduleHandle, CspContextHandle handle,
                               const CspContextRecord *context, const DataBlob *input,
                               uint32_t inputCount, DataBlob *output, uint32_t outputCount,
                               uint32_t *bytesProcessed, DataBlob *remaining);
VC_API int32_t CSP_DecryptDataInit(uint32_t moduleHandle, CspContextHandle handle,
                                   const CspContextRecord *context);
VC_API int32_t CSP_DecryptDataUpdate(uint32_t moduleHandle, CspContextHandle handle,
                                     const DataBlob *input, uint32_t inputCount, DataBlob *output,
                                     uint32_t outputCount, uint32_t *bytesProcessed);
VC_API int32_t CSP_DecryptDataFinal(uint32_t moduleHandle, CspContextHandle handle, DataBlob *remaining);
VC_API int32_t CSP_DecryptData(uint32_t moduleHandle, CspContextHandle handle,
                               const CspContextRecord *context, const DataBlob *input,
                               uint32_t inputCount, DataBlob *output, uint32_t outputCount,
                               uint32_t *bytesProcessed, DataBlob *remaining);

/* ---- MACs (class CSP_CLASS_MAC) ----
 *
 * Attribute CSP_ATTR_KEY (required, 10304). Algorithms: 14 DES and 18 two-key triple DES CBC-MAC
 * (ISO/IEC 9797-1 MAC algorithm 1: zero IV, zero padding to a whole block, an empty message
 * being one zero block; 8 bytes) under a key record of that algorithm (1040 otherwise), 7
 * HMAC-MD5 under the raw key bytes of any cipher's key record (16 bytes); other algorithms 1023.
 * Update: 1096 without Init, 1029/1030 for a null array or zero count, 1046 for a null data
 * pointer (checked before any blob is taken).
 * GenerateMacFinal: a `mac` blob with Length 0 and a null pointer receives a buffer (free());
 * a shorter one fails with 1011. VerifyMacFinal returns 0 when `mac` equals the MAC (same length
 * and bytes, compared in constant time), otherwise -1 with reason 1105. Both Finals end the
 * operation; the one-shot forms run Init, Update and Final. */
VC_API int32_t CSP_GenerateMacInit(uint32_t moduleHandle, CspContextHandle handle,
                                   const CspContextRecord *context);
VC_API int32_t CSP_GenerateMacUpdate(uint32_t moduleHandle, CspContextHandle handle,
                                     const DataBlob *data, uint32_t count);
VC_API int32_t CSP_GenerateMacFinal(uint32_t moduleHandle, CspContextHandle handle, DataBlob *mac);
VC_API int32_t CSP_GenerateMac(uint32_t moduleHandle, CspContextHandle handle,
                               const CspContextRecord *context, const DataBlob *data,
                               uint32_t count, DataBlob *mac);
VC_API int32_t CSP_VerifyMacInit(uint32_t moduleHandle, CspContextHandle handle,
                                 const CspContextRecord *context);
VC_API int32_t CSP_VerifyMacUpdate(uint32_t moduleHandle, CspContextHandle handle,
                                   const DataBlob *data, uint32_t count);
VC_API int32_t CSP_VerifyMacFinal(uint32_t moduleHandle, CspContextHandle handle, const DataBlob *mac);
VC_API int32_t CSP_VerifyMac(uint32_t moduleHandle, CspContextHandle handle,
                             const CspContextRecord *context, const DataBlob *data,
                             uint32_t count, const DataBlob *mac);

/* ---- Random numbers (class CSP_CLASS_RANDOM) ----
 *
 * Attribute CSP_ATTR_OUTPUT_SIZE (required, 10304). Algorithms 46 and 48 (others 1023).
 * `random` (1029 when null) must have a Length of at least the output size and a buffer (1046
 * otherwise); its Length becomes the size. */
VC_API int32_t CSP_GenerateRandom(uint32_t moduleHandle, CspContextHandle handle,
                                  const CspContextRecord *context, DataBlob *random);

/* ---- Size queries ----
 *
 * CSP_QuerySize: for each entry, the output size that an input of inputSize bytes gives in the
 * context's state: for a symmetric context the bytes that Update followed by Final may write
 * (encrypt non-zero) or the most that decryption may write; for a digest or MAC context the
 * digest or MAC length. Without an operation in progress the symmetric sizes come from the
 * context's algorithm, mode and padding; unpadded ECB/CBC encryption reports whole blocks
 * rounded up. `context` is optional as for the digest family. Reasons: 1027, 1029 (null
 * array), 1030 (zero count), 1026 (a class other than symmetric, digest or MAC), 1023, 1041,
 * 1043.
 * CSP_QuerySizeInBits: the logical and effective sizes in bits of a key record: `key`, or when
 * null the CSP_ATTR_KEY of `context` (or of the handle's record). DES 64/56, two-key triple DES
 * 128/112, RC2 8 times the key length / its effective bits, the others 8 times the key length
 * for both. Reasons: 1029 (no size record, no key and no context), 10304, 1040. */
typedef struct CspQuerySizeData {
    uint32_t inputSize;
    uint32_t outputSize;
} CspQuerySizeData;
typedef struct CspKeySize {
    uint32_t logicalBits;
    uint32_t effectiveBits;
} CspKeySize;
VC_API int32_t CSP_QuerySize(uint32_t moduleHandle, CspContextHandle handle,
                             const CspContextRecord *context, uint32_t encrypt, uint32_t count,
                             CspQuerySizeData *sizes);
VC_API int32_t CSP_QuerySizeInBits(uint32_t moduleHandle, CspContextHandle handle,
                                   const CspContextRecord *context, const DataBlob *key,
                                   CspKeySize *size);

/* The provider's last failure reason (process-wide; a successful call leaves it unchanged). A
 * reason below 1000 reads as 2000 + reason. */
VC_API uint32_t GetError(void);

VC_END_DECLS

#endif
