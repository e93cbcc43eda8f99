/* VorelCrypto block and stream ciphers with their modes of operation. */
#ifndef VORELCRYPTO_CIPHER_H
#define VORELCRYPTO_CIPHER_H

#include <vorelcrypto/types.h>

VC_BEGIN_DECLS

VC_END_DECLS

#endif
