// vorelcrypto keywrap|keyunwrap: length-preserving CBC encryption of key material over
// V_KeyEncryption / V_KeyDecryption.
#include <vorelcrypto/frame.h>

#include "cli.h"
#include "service_status.h"

namespace {

struct WrapCipher {
    const char *name;
    uint32_t id, keyBytes, ivBytes;
    uint32_t unit;  // input lengths must be a multiple of this
};

const WrapCipher kCiphers[] = {
    {"des", V_SYM_DES, 8, 8, 8},
    {"des3", V_SYM_DES3, 24, 8, 8},
    // The service takes multiples of 8 for SEED too, but the cipher text of a trailing half
    // block is cut to 8 bytes and cannot be deciphered again.
    {"seed", V_SYM_SEED, 16, 16, 16},
};

int run(std::vector<std::string_view> args, bool wrap) {
    const char *name = wrap ? "keywrap" : "keyunwrap";
    cli::Options opts(args, {"-a", "-k", "--iv", "-i", "-o"}, {});
    if (!opts.ok()) return cli::fail(opts.error());
    if (!opts.positional().empty()) return cli::fail(std::string(name) + " takes no FILE operand (use -i)");
    const WrapCipher *cipher = nullptr;
    for (const WrapCipher &c : kCiphers)
        if (opts.value("-a") == c.name) cipher = &c;
    if (cipher == nullptr) return cli::fail("unknown or missing algorithm (-a des des3 seed)");
    std::vector<uint8_t> key, iv, data;
    std::string error;
    if (!cli::hexOption(opts, "-k", cipher->keyBytes, cipher->keyBytes, key, error) ||
        !cli::hexOption(opts, "--iv", cipher->ivBytes, cipher->ivBytes, iv, error))
        return cli::fail(error);
    if (int status = cli::readInput(opts, data); status != cli::kOk) return status;
    if (data.empty() || data.size() % cipher->unit != 0)
        return cli::fail("input must be a non-zero multiple of " + std::to_string(cipher->unit) +
                             " bytes, not " + std::to_string(data.size()),
                         cli::kFailed);

    cli::ServiceContext ctx;
    if (!ctx.ready()) return cli::fail("the library could not start", cli::kFailed);
    const SymKeyRecord record{cipher->id, V_MODE_CBC, uint32_t(key.size()), key.data(), uint32_t(iv.size()),
                              iv.data()};
    DataBlob in = cli::blobOf(data), out{0, nullptr};
    const uint32_t code = (wrap ? V_KeyEncryption : V_KeyDecryption)(ctx.get(), &record, &in, &out);
    if (code != VC_OK) return cli::serviceFailure(name, code);
    return cli::writeOutput(opts, ctx.get(), out);
}

#define VC_WRAP_OPTIONS                                                                      \
    "  -a ALG       des (8-byte key, 8-byte IV), des3 (24-byte key, 8-byte IV; three-key\n"  \
    "               EDE) or seed (16-byte key, 16-byte IV)\n"                                \
    "  -k HEXKEY    the key in hex\n"                                                        \
    "  --iv HEXIV   the IV in hex (required)\n"                                              \
    "  -i FILE      input (default: standard input): a non-zero multiple of 8 bytes (16 for\n" \
    "               seed: the cipher text of a half block could not be deciphered again)\n" \
    "  -o FILE      output (default: standard output), binary, as long as the input\n"       \
    "\nCBC without padding.\n"

const cli::Command wrapCommand{
    "keywrap", "encrypt key material without padding",
    "usage: vorelcrypto keywrap -a ALG -k HEXKEY --iv HEXIV [-i FILE] [-o FILE]\n\n"
    "Encrypts key material with V_KeyEncryption.\n\n" VC_WRAP_OPTIONS,
    [](std::vector<std::string_view> args) { return run(std::move(args), true); }};

const cli::Command unwrapCommand{
    "keyunwrap", "decrypt key material made by keywrap",
    "usage: vorelcrypto keyunwrap -a ALG -k HEXKEY --iv HEXIV [-i FILE] [-o FILE]\n\n"
    "Decrypts key material with V_KeyDecryption.\n\n" VC_WRAP_OPTIONS,
    [](std::vector<std::string_view> args) { return run(std::move(args), false); }};

}  // namespace
