// The public-key algorithms behind `genkey`, `sign` and `verify`. Each algorithm's source
// (cmd_pk_rsa.cpp, cmd_pk_kcdsa.cpp ...) defines one static PkAlgorithm, which registers itself;
// cmd_pk.cpp parses the common options, reads keys and messages, and dispatches on the name.
#pragma once

#include "cli.h"

#include <cstdint>
#include <string>
#include <vector>

namespace cli {

// Options every genkey kind may use; cmd_pk.cpp accepts exactly these.
//   values: -b BITS, -q QBITS, -g GENERATOR, --curve ID, -o FILE
//   flags:  --safe, --x931, --fixed-params, --pem, --service
// and every sign/verify algorithm: values -a ALG, -h HASH, -k KEYFILE, --sig FILE, -o FILE;
// flags --service.
struct PkAlgorithm {
    // Generates a key as `opts` asks and writes it (to -o FILE or standard output); returns an
    // exit status. Null when genkey does not make this kind (e.g. "rsa-pss" uses "rsa" keys).
    using GenKey = int (*)(const Options &opts);
    // Signs `message` with the private key in `key` (the file's bytes, DER or PEM); the
    // signature goes into `signature`. Returns kOk, or the status after printing the reason.
    using Sign = int (*)(const Options &opts, const std::vector<uint8_t> &key,
                         const std::vector<uint8_t> &message, std::vector<uint8_t> &signature);
    // Checks `signature`: kOk when it verifies, kFailed when it does not (after a message),
    // kFailed or kUsage when the key cannot be used.
    using Verify = int (*)(const Options &opts, const std::vector<uint8_t> &key,
                           const std::vector<uint8_t> &message, const std::vector<uint8_t> &signature);

    PkAlgorithm(const char *name, const char *genkeyUsage, const char *signUsage, GenKey genkey,
                Sign sign, Verify verify);
    const char *name;         // "rsa", "rsa-pss", "kcdsa", "dsa", "ecdsa", "eckcdsa" ...
    const char *genkeyUsage;  // lines for `genkey --help` (nullptr: not a genkey kind)
    const char *signUsage;    // lines for `sign --help` and `verify --help` (nullptr: none)
    GenKey genkey;
    Sign sign;
    Verify verify;
};

const std::vector<const PkAlgorithm *> &pkAlgorithms();
const PkAlgorithm *findPkAlgorithm(std::string_view name);

// Writes `data` to -o FILE (or standard output) as it is, or as PEM armour under `label`
// ("RSA PRIVATE KEY" ...) when --pem is given. Returns an exit status after any message.
int writeKeyOutput(const Options &opts, const std::vector<uint8_t> &der, const char *pemLabel);

// Accepts DER as it is, or PEM armour (any label): the base64 body is decoded into `der`.
// `label` receives the armour's label, empty for DER input. False on malformed armour.
bool readKeyBytes(const std::vector<uint8_t> &file, std::vector<uint8_t> &der, std::string &label);

// Base64 of `data` in 64-character lines, as PEM bodies are written.
std::string base64Lines(const std::vector<uint8_t> &data);

}  // namespace cli
