// vorelcrypto enc|dec: one whole file through V_Encryption / V_Decryption, or through the
// fixed-IV variants with --fixed-iv.
#include <vorelcrypto/frame.h>

#include "cli.h"
#include "service_status.h"

#include <cstring>

namespace {

struct Cipher {
    const char *name;
    uint32_t id;             // service algorithm id
    uint32_t minKey, maxKey; // key bytes of V_Encryption / V_Decryption
    uint32_t fixedIvKey;     // key bytes of the fixed-IV variants (the provider's fixed length)
    uint32_t ivBytes;        // 0: a stream cipher without IV
    bool cbcOnly;            // runs CBC whatever the mode (without --fixed-iv)
};

const Cipher kCiphers[] = {
    {"des", V_SYM_DES, 8, 8, 8, 8, false},
    {"des3", V_SYM_DES3, 24, 24, 16, 8, true},
    {"rc2", V_SYM_RC2, 1, 128, 8, 8, true},
    {"rc4", V_SYM_RC4, 8, 8, 8, 0, false},
    {"rc5", V_SYM_RC5, 26, 26, 26, 8, false},
    {"idea", V_SYM_IDEA, 16, 16, 16, 8, false},
    {"bf", V_SYM_BLOWFISH, 8, 8, 8, 8, false},
    {"seed", V_SYM_SEED, 16, 16, 16, 16, true},
    {"rc2-40", V_SYM_RC2_40, 5, 5, 5, 8, true},
};

const char *const kModes[] = {"ecb", "cbc", "cfb", "ofb"};  // indexed by V_MODE_*

struct Request {
    const Cipher *cipher = nullptr;
    uint32_t mode = V_MODE_CBC;
    bool fixedIv = false;
    std::vector<uint8_t> key, iv;
};

// Checks the options against the cipher; kOk or the usage status after printing the reason.
int parse(const cli::Options &opts, Request &r) {
    for (const Cipher &c : kCiphers)
        if (opts.value("-a") == c.name) r.cipher = &c;
    if (r.cipher == nullptr)
        return cli::fail("unknown or missing algorithm (-a des des3 rc2 rc4 rc5 idea bf seed rc2-40)");
    const Cipher &c = *r.cipher;
    const std::string mode = opts.value("-m", "cbc");
    r.mode = 4;
    for (uint32_t m = 0; m < 4; ++m)
        if (mode == kModes[m]) r.mode = m;
    if (r.mode == 4) return cli::fail("unknown mode '" + mode + "' (ecb, cbc, cfb, ofb)");
    r.fixedIv = opts.has("--fixed-iv");
    // The fixed-IV variants run every cipher but SEED on the provider, which honours the mode.
    const bool cbcOnly = r.fixedIv ? c.id == V_SYM_SEED : c.cbcOnly;
    if (cbcOnly && r.mode != V_MODE_CBC) return cli::fail(std::string(c.name) + " runs in CBC mode only here");
    std::string error;
    const uint32_t minKey = r.fixedIv ? c.fixedIvKey : c.minKey;
    const uint32_t maxKey = r.fixedIv ? c.fixedIvKey : c.maxKey;
    if (!cli::hexOption(opts, "-k", minKey, maxKey, r.key, error)) return cli::fail(error);
    const bool takesIv = !r.fixedIv && c.ivBytes > 0 && r.mode != V_MODE_ECB;
    if (!takesIv) {
        if (opts.has("--iv")) return cli::fail("no --iv with " + std::string(r.fixedIv ? "--fixed-iv" : c.ivBytes ? "ecb" : c.name));
        r.iv.assign(16, 0);  // the provider path reads 8 IV bytes even when it does not use them
        return cli::kOk;
    }
    return cli::hexOption(opts, "--iv", c.ivBytes, c.ivBytes, r.iv, error) ? cli::kOk : cli::fail(error);
}

int run(std::vector<std::string_view> args, bool encrypt) {
    const char *name = encrypt ? "enc" : "dec";
    cli::Options opts(args, {"-a", "-k", "--iv", "-m", "-i", "-o"}, {"--fixed-iv"});
    if (!opts.ok()) return cli::fail(opts.error());
    if (!opts.positional().empty()) return cli::fail(std::string(name) + " takes no FILE operand (use -i)");
    Request r;
    if (int status = parse(opts, r); status != cli::kOk) return status;
    std::vector<uint8_t> data;
    if (int status = cli::readInput(opts, data); status != cli::kOk) return status;

    cli::ServiceContext ctx;
    if (!ctx.ready()) return cli::fail("the library could not start", cli::kFailed);
    DataBlob in = cli::blobOf(data), out{0, nullptr};
    uint32_t code;
    if (r.fixedIv) {
        const DataBlob key = cli::blobOf(r.key);
        code = (encrypt ? V_Encryption_IV_Fix : V_Decryption_IV_Fix)(ctx.get()->state, r.cipher->id, r.mode,
                                                                   &key, &in, &out);
    } else {
        const SymKeyRecord key{r.cipher->id, r.mode, uint32_t(r.key.size()), r.key.data(),
                               uint32_t(r.iv.size()), r.iv.data()};
        code = (encrypt ? V_Encryption : V_Decryption)(ctx.get(), &key, &in, &out);
    }
    if (code != VC_OK) return cli::serviceFailure(name, code);
    return cli::writeOutput(opts, ctx.get(), out);
}

#define VC_ENC_OPTIONS                                                                           \
    "  -a ALG        des (8-byte key), des3 (24; three-key EDE), rc2 (1 to 128), rc4 (8),\n"     \
    "                rc5 (26; RC5-32/12), idea (16), bf (8; Blowfish), seed (16), rc2-40 (5)\n"  \
    "  -k HEXKEY     the key in hex, of exactly the length above\n"                              \
    "  --iv HEXIV    the IV in hex: 8 bytes, 16 for seed; required except for rc4, ecb and\n"   \
    "                --fixed-iv (there is no default IV)\n"                                      \
    "  -m MODE       ecb, cbc (default), cfb or ofb (64-bit feedback); des3, rc2, rc2-40 and\n"  \
    "                seed run CBC only\n"                                                        \
    "  --fixed-iv    use the library's fixed IV (V_Encryption_IV_Fix / V_Decryption_IV_Fix):\n"  \
    "                every cipher but seed then runs on the provider in the given mode, des3\n"  \
    "                is two-key triple DES with a 16-byte key and rc2 takes an 8-byte key\n"    \
    "  -i FILE       input (default: standard input)\n"                                         \
    "  -o FILE       output (default: standard output), binary\n"                               \
    "\nOutput is PKCS #5 padded over the cipher's block (8 bytes, 16 for seed). des, rc4, rc5,\n" \
    "idea and bf (with --fixed-iv all but seed) first extend an input shorter than 8 bytes to\n" \
    "8 bytes (bytes of value 8 minus the length), so decrypting such a text gives back those\n" \
    "8 bytes.\n"

const cli::Command encCommand{
    "enc", "encrypt a file with a symmetric cipher",
    "usage: vorelcrypto enc -a ALG -k HEXKEY [--iv HEXIV] [-m MODE] [--fixed-iv] [-i FILE] [-o FILE]\n\n"
    "Encrypts the whole input with V_Encryption.\n\n" VC_ENC_OPTIONS,
    [](std::vector<std::string_view> args) { return run(std::move(args), true); }};

const cli::Command decCommand{
    "dec", "decrypt a file made by enc",
    "usage: vorelcrypto dec -a ALG -k HEXKEY [--iv HEXIV] [-m MODE] [--fixed-iv] [-i FILE] [-o FILE]\n\n"
    "Decrypts the whole input with V_Decryption and removes the padding.\n\n" VC_ENC_OPTIONS,
    [](std::vector<std::string_view> args) { return run(std::move(args), false); }};

}  // namespace
