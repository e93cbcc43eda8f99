#include "cipher/harness.h"

#include <gcrypt.h>

namespace ctest {

const Cipher &cipher(const char *name) {
    for (const auto &c : ciphers())
        if (std::string(c.name) == name) return c;
    ADD_FAILURE() << "no cipher " << name;
    return ciphers().front();
}

Bytes gcrypt(int algo, Mode mode, bool encrypt, const Bytes &key, const Bytes &iv,
             const Bytes &in) {
    const int modes[] = {GCRY_CIPHER_MODE_ECB, GCRY_CIPHER_MODE_CBC, GCRY_CIPHER_MODE_CFB8,
                         GCRY_CIPHER_MODE_CFB, GCRY_CIPHER_MODE_OFB};
    return vctest::gcrypt(algo, modes[mode], encrypt, key, iv, in);
}

}  // namespace ctest
