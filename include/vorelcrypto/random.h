/* VorelCrypto random generators. */
#ifndef VORELCRYPTO_RANDOM_H
#define VORELCRYPTO_RANDOM_H

#include <vorelcrypto/types.h>

VC_BEGIN_DECLS

VC_END_DECLS

#endif
