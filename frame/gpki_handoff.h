// The hand-off of symmetric algorithm 15 to an outside GPKI module reached through the table of
// V_GetGPKIFunc.
#pragma once

#include <vorelcrypto/types.h>

#include <cstdint>

namespace vc::frame {

// Encrypts (or decrypts) the whole input with the registered GPKI module under the record's key
// and IV (all their bytes, as the record gives them). On success `output` receives a V_calloc
// buffer of the module's result. Returns the code for the caller to store: 0; 60004 when no
// module is registered (not to be stored); 100000 when a GPKI step failed, with the module's
// error text, or "GPKI ErrCode = %d\n", in ctx->message; 20006 when the result buffer could not
// be allocated. Leaves `output` untouched on failure.
int32_t gpkiSymmetric(LibContext *ctx, const SymKeyRecord *key, const DataBlob *input,
                      DataBlob *output, bool encrypt);

}  // namespace vc::frame
