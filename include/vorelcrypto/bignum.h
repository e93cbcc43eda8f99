/* VorelCrypto multi-precision integers (ENUM) and their arithmetic (EN_ functions). */
#ifndef VORELCRYPTO_BIGNUM_H
#define VORELCRYPTO_BIGNUM_H

#include <vorelcrypto/types.h>

VC_BEGIN_DECLS

VC_END_DECLS

#endif
