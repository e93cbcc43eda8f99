/* VorelCrypto: the whole C interface. Each family header may also be included alone. */
#ifndef VORELCRYPTO_H
#define VORELCRYPTO_H

#include <vorelcrypto/types.h>
#include <vorelcrypto/common.h>
#include <vorelcrypto/frame.h>
#include <vorelcrypto/csp.h>
#include <vorelcrypto/hash.h>
#include <vorelcrypto/bignum.h>
#include <vorelcrypto/cipher.h>
#include <vorelcrypto/random.h>
#include <vorelcrypto/prime.h>
#include <vorelcrypto/ecc.h>
#include <vorelcrypto/rsa.h>
#include <vorelcrypto/asn1.h>
#include <vorelcrypto/kcdsa.h>
#include <vorelcrypto/dsa_dh.h>
#include <vorelcrypto/ec_protocols.h>
#include <vorelcrypto/ecc.h>
#include <vorelcrypto/ec_protocols.h>
#include <vorelcrypto/csp_pubkey.h>
#include <vorelcrypto/asym_services.h>

#endif
