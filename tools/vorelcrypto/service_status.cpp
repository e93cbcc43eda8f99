// Codes of the V_ services in words, for the subcommands' error lines.
#include "service_status.h"

#include <vorelcrypto/common.h>
#include <vorelcrypto/frame.h>

#include "cli.h"

namespace cli {

namespace {

struct Meaning {
    uint32_t code;
    const char *text;
};

const Meaning kMeanings[] = {
    {VC_OK, "success"},
    {uint32_t(-1), "the request was refused (no context, or the provider refused it)"},
    {VC_ERR_ALLOC, "out of memory"},
    {VC_ERR_EMPTY_INPUT, "a required input is empty"},
    {VC_ERR_NOT_READY, "library not initialised, or input missing or of a wrong length"},
    {VC_ERR_RESULT_ALLOC, "out of memory for the result or key buffer"},
    {VC_ERR_KEY_IMPORT, "the key could not be set up (too short for the algorithm?)"},
    {VC_ERR_KEYPAIR, "key-pair generation failed"},
    {VC_ERR_MODE, "mode not supported by this algorithm"},
    {VC_ERR_ENC_INIT, "encryption could not start"},
    {VC_ERR_ENC_UPDATE, "encryption failed"},
    {VC_ERR_ENC_FINAL, "encryption could not be completed"},
    {VC_ERR_DEC_INIT, "decryption could not start"},
    {VC_ERR_DEC_UPDATE, "decryption failed (wrong key, or damaged or truncated input?)"},
    {VC_ERR_DIGEST_INIT, "hash could not start (unknown algorithm?)"},
    {VC_ERR_DIGEST_UPDATE, "hashing failed"},
    {VC_ERR_DIGEST_FINAL, "hash could not be completed"},
    {VC_ERR_MAC_INIT, "MAC could not start (unknown algorithm?)"},
    {VC_ERR_MAC_UPDATE, "MAC computation failed"},
    {VC_ERR_DIRECT_ENC, "triple DES encryption failed"},
    {VC_ERR_DIRECT_DEC, "triple DES decryption failed (bad padding: wrong key or damaged input?)"},
    {VC_ERR_DIRECT_ENC2, "RC2 encryption failed"},
    {VC_ERR_DIRECT_DEC2, "RC2 decryption failed (bad padding: wrong key or damaged input?)"},
    {VC_ERR_BAD_PADDING, "bad padding after decryption (wrong key or damaged input?)"},
    {VC_ERR_RSA_PUBLIC, "RSA public-key encryption failed"},
    {VC_ERR_RSA_PRIVATE, "RSA private-key operation failed"},
    {VC_ERR_ENCRYPTION, "encryption failed"},
    {VC_ERR_DECRYPTION, "decryption failed (wrong key, or damaged or truncated input?)"},
    {VC_ERR_GPKI_ABSENT, "no GPKI module is registered"},
    {VC_ERR_MAC_MISMATCH, "the MAC does not verify"},
    {VC_ERR_GPKI, "the GPKI module reported a failure"},
};

}  // namespace

const char *serviceStatusText(uint32_t code) {
    for (const Meaning &m : kMeanings)
        if (m.code == code) return m.text;
    return "unknown code";
}

int serviceFailure(const char *command, uint32_t code) {
    std::fprintf(stderr, "vorelcrypto %s: %d: %s\n", command, int32_t(code), serviceStatusText(code));
    return kFailed;
}

ServiceContext::ServiceContext() {
    V_VCCInit(&ctx_);
}

ServiceContext::~ServiceContext() {
    V_VCCTerm(&ctx_);
}

DataBlob blobOf(std::vector<uint8_t> &bytes) {
    static uint8_t none = 0;
    return {uint32_t(bytes.size()), bytes.empty() ? &none : bytes.data()};
}

bool hexOption(const Options &opts, const char *name, size_t min, size_t max,
               std::vector<uint8_t> &out, std::string &error) {
    if (!opts.has(name)) {
        error = std::string("missing ") + name + " (a value in hex)";
        return false;
    }
    if (!parseHex(opts.value(name), out)) {
        error = std::string(name) + " '" + opts.value(name) +
                "' is not hex (an even number of digits 0-9, a-f)";
        return false;
    }
    if (out.size() < min || out.size() > max) {
        error = std::string(name) + " must be " + std::to_string(min) +
                (min == max ? "" : " to " + std::to_string(max)) + " bytes, not " +
                std::to_string(out.size());
        return false;
    }
    return true;
}

int readInput(const Options &opts, std::vector<uint8_t> &data) {
    std::string error;
    if (!readFile(opts.value("-i", "-"), data, error)) return fail(error, kFailed);
    // Room for the padding and the provider's closing block within 32-bit lengths.
    if (data.size() > UINT32_MAX - 4096) return fail("input too large", kFailed);
    return kOk;
}

int writeOutput(const Options &opts, LibContext *ctx, DataBlob &result) {
    std::string error;
    const bool ok = writeFile(opts.value("-o"), result.Data, result.Length, error);
    V_free(ctx, result.Data);
    result = {0, nullptr};
    return ok ? kOk : fail(error, kFailed);
}

}  // namespace cli
