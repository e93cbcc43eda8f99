// vorelcrypto ecenc | ecdec: EC encryption to a public key (R || message XOR SHA-1 key stream,
// no integrity tag) and its decryption with the private key.
#include <vorelcrypto/ec_protocols.h>

#include "cli.h"
#include "ec_keyfile.h"

namespace {

using cli::eckey::EcKey;

int readKey(const std::string &path, bool needPrivate, EcKey &key) {
    std::vector<uint8_t> file;
    std::string error;
    if (!cli::readFile(path, file, error)) return cli::fail(error, cli::kFailed);
    if (!cli::eckey::decodeKey(file, key, error)) return cli::fail(path + ": " + error, cli::kFailed);
    if (key.kind != cli::eckey::Kind::ecdsa)
        return cli::fail(path + ": an eckcdsa key (Q = d^-1 G) cannot encrypt; use genkey ecdsa", cli::kFailed);
    if (needPrivate && key.d.empty()) return cli::fail(path + ": decryption needs the private key", cli::kFailed);
    return cli::kOk;
}

int run(std::vector<std::string_view> args, bool encrypt) {
    cli::Options opts(args, {"-k", "-i", "-o"}, {});
    if (!opts.ok()) return cli::fail(opts.error());
    if (!opts.positional().empty()) return cli::fail("use -i FILE for the input");
    if (!opts.has("-k")) return cli::fail("missing -k KEYFILE");
    EcKey key;
    if (int s = readKey(opts.value("-k"), !encrypt, key); s != cli::kOk) return s;
    std::vector<uint8_t> in;
    std::string error;
    if (!cli::readFile(opts.value("-i", "-"), in, error)) return cli::fail(error, cli::kFailed);
    EcParams params;
    E_ECParams_Init(key.curve, &params);
    std::vector<uint8_t> out(in.size() + params.G.length + 1);
    Opaque8 inView{uint32_t(in.size()), in.data()}, outView{0, out.data()};
    int32_t result;
    if (encrypt) {
        Opaque8 q{uint32_t(key.q.size()), key.q.data()};
        result = E_ECC_Encryption(key.curve, &params, &outView, &inView, &q);
        if (result != 1) return cli::fail("cannot encrypt: the key is not a point of the curve or the input is "
                                          "longer than 5120 octets", cli::kFailed);
    } else {
        Opaque8 d{uint32_t(key.d.size()), key.d.data()};
        result = E_ECC_Decryption(key.curve, &params, &outView, &inView, &d);
        if (result != 1) return cli::fail("not a ciphertext for this curve", cli::kFailed);
    }
    if (!cli::writeFile(opts.value("-o", "-"), out.data(), outView.length, error)) return cli::fail(error, cli::kFailed);
    return cli::kOk;
}

int runEncrypt(std::vector<std::string_view> args) { return run(args, true); }
int runDecrypt(std::vector<std::string_view> args) { return run(args, false); }

const char *const kEncryptUsage =
    "usage: vorelcrypto ecenc -k KEY [-i FILE] [-o FILE]\n\n"
    "Encrypts to the public key of KEY (an ecdsa key file or an openssl PUBLIC KEY): an\n"
    "ephemeral point R (43 octets, 41 on curve 7) followed by the input XOR a SHA-1 key\n"
    "stream; inputs up to 5120 octets. There is no integrity check: a wrong key or a changed\n"
    "ciphertext decrypts to wrong output, not an error (see vorelcrypto ecdec).\n";
const char *const kDecryptUsage =
    "usage: vorelcrypto ecdec -k PRIVATEKEY [-i FILE] [-o FILE]\n\n"
    "Decrypts what vorelcrypto ecenc made, with the private key. There is no integrity check:\n"
    "a wrong key or a changed ciphertext gives wrong output, not an error.\n";

const cli::Command encCommand{"ecenc", "EC encryption to a public key", kEncryptUsage, runEncrypt};
const cli::Command decCommand{"ecdec", "EC decryption with a private key", kDecryptUsage, runDecrypt};

}  // namespace
