// vorelcrypto pkey -i KEY --pubout [-o FILE] [--pem]: the public half of an RSA key file.
#include "pk_algorithms.h"
#include "rsa_key.h"

namespace {

int run(std::vector<std::string_view> args) {
    cli::Options opts(args, {"-i", "-o"}, {"--pubout", "--pem", "--help", "-h"});
    if (!opts.ok()) return cli::fail(opts.error());
    if (!opts.has("-i")) return cli::fail("missing -i KEYFILE");
    if (!opts.has("--pubout")) return cli::fail("pkey needs --pubout (the public key is its only output)");
    if (!opts.positional().empty()) return cli::fail("pkey takes no positional arguments");
    std::vector<uint8_t> file;
    std::string error;
    if (!cli::readFile(opts.value("-i"), file, error)) return cli::fail(error, cli::kFailed);
    cli::LoadedRsaKey key;
    if (int status = cli::loadRsaKey(file, false, key); status != cli::kOk) return status;
    return cli::writeKeyOutput(opts, cli::rsaPublicDer(key.key.get()), "RSA PUBLIC KEY");
}

const cli::Command command{
    "pkey", "write the public half of an RSA key",
    "usage: vorelcrypto pkey -i KEYFILE --pubout [-o FILE] [--pem]\n\n"
    "Reads an RSA key (PKCS #1, PKCS #8 or SubjectPublicKeyInfo; DER or PEM) and writes its\n"
    "PKCS #1 RSAPublicKey as DER, or with --pem as \"RSA PUBLIC KEY\" armour, to FILE or\n"
    "standard output.\n",
    run};

}  // namespace
