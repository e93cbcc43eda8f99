// vorelcrypto wtls -i KEY [-o FILE] | wtls --to-der -i WTLSKEY [-o FILE]: RSA public keys between
// their DER record and the WTLS RSAPublicKey form (a 16-bit length and the exponent's octets,
// then a 16-bit length and the modulus's octets, big-endian), through the library's services.
#include <vorelcrypto/asym_services.h>
#include <vorelcrypto/common.h>

#include "cli.h"
#include "rsa_key.h"
#include "service_status.h"

namespace {

void putLengthPrefixed(std::vector<uint8_t> &out, const uint8_t *data, uint16_t length) {
    out.push_back(uint8_t(length >> 8));
    out.push_back(uint8_t(length));
    out.insert(out.end(), data, data + length);
}

// Reads a 16-bit length and that many octets at `at`; false when they run past the end.
bool takeLengthPrefixed(const std::vector<uint8_t> &in, size_t &at, const uint8_t *&data, uint16_t &length) {
    if (in.size() - at < 2) return false;
    length = uint16_t(in[at] << 8 | in[at + 1]);
    if (in.size() - at - 2 < length) return false;
    data = in.data() + at + 2;
    at += 2 + size_t(length);
    return true;
}

int write(const cli::Options &opts, const std::vector<uint8_t> &out) {
    std::string error;
    if (!cli::writeFile(opts.value("-o", "-"), out.data(), out.size(), error)) return cli::fail(error, cli::kFailed);
    return cli::kOk;
}

int toWtls(const cli::Options &opts, const std::vector<uint8_t> &file) {
    cli::LoadedRsaKey key;
    if (int status = cli::loadRsaKey(file, false, key); status != cli::kOk) return status;
    const std::vector<uint8_t> der = cli::rsaPublicDer(key.key.get());
    cli::ServiceContext ctx;
    uint8_t *e = nullptr, *n = nullptr;
    uint16_t eLength = 0, nLength = 0;
    const int32_t r = V_RSAPublicKey2WTLS(ctx.get(), der.data(), uint32_t(der.size()), &e, &eLength, &n, &nLength);
    if (r == V_WTLS_REFUSED) return cli::fail("the key does not convert (modulus above 3,200 bits?)", cli::kFailed);
    if (r != 1) return cli::serviceFailure("wtls", uint32_t(r));
    std::vector<uint8_t> out;
    putLengthPrefixed(out, e, eLength);
    putLengthPrefixed(out, n, nLength);
    V_free(ctx.get(), e);
    V_free(ctx.get(), n);
    return write(opts, out);
}

int toDer(const cli::Options &opts, const std::vector<uint8_t> &file) {
    size_t at = 0;
    const uint8_t *e = nullptr, *n = nullptr;
    uint16_t eLength = 0, nLength = 0;
    if (!takeLengthPrefixed(file, at, e, eLength) || !takeLengthPrefixed(file, at, n, nLength) || at != file.size())
        return cli::fail("the input is not a WTLS RSA public key", cli::kFailed);
    cli::ServiceContext ctx;
    uint8_t *der = nullptr;
    uint32_t derLength = 0;
    const int32_t r = V_WTLSPublicKey2RSA(ctx.get(), e, eLength, n, nLength, &der, &derLength);
    if (r == V_WTLS_REFUSED)
        return cli::fail("the key does not convert (exponent of 1 to 4 octets, DER of at most 200 bytes)", cli::kFailed);
    if (r != 1) return cli::serviceFailure("wtls", uint32_t(r));
    const std::vector<uint8_t> out(der, der + derLength);
    V_free(ctx.get(), der);
    return write(opts, out);
}

int run(std::vector<std::string_view> args) {
    cli::Options opts(args, {"-i", "-o"}, {"--to-der", "--help", "-h"});
    if (!opts.ok()) return cli::fail(opts.error());
    if (!opts.positional().empty()) return cli::fail("use -i FILE for the input");
    std::vector<uint8_t> file;
    std::string error;
    if (!cli::readFile(opts.value("-i", "-"), file, error)) return cli::fail(error, cli::kFailed);
    return opts.has("--to-der") ? toDer(opts, file) : toWtls(opts, file);
}

const cli::Command command{
    "wtls", "convert RSA public keys between DER and the WTLS form",
    "usage: vorelcrypto wtls [-i KEY] [-o FILE]\n"
    "       vorelcrypto wtls --to-der [-i WTLSKEY] [-o FILE]\n\n"
    "The WTLS form is a 16-bit length and the public exponent, then a 16-bit length and the\n"
    "modulus (big-endian octets). KEY is any RSA key file pkey reads (DER or PEM, public or\n"
    "private); --to-der writes the PKCS #1 RSAPublicKey DER (moduli up to about 1,500 bits).\n",
    run};

}  // namespace
