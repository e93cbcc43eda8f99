// vorelcrypto genkey | sign | verify: the public-key commands. Options and files are handled
// here; each algorithm's source registers a PkAlgorithm that does the cryptography.
#include "pk_algorithms.h"

#include <cstring>
#include <string_view>

namespace cli {

namespace {

std::vector<const PkAlgorithm *> &pkRegistry() {
    static std::vector<const PkAlgorithm *> all;
    return all;
}

const std::vector<std::string_view> kGenkeyValues = {"-b", "-q", "-g", "--curve", "-o"};
const std::vector<std::string_view> kGenkeyFlags = {"--safe", "--x931", "--fixed-params", "--pem",
                                                    "--service"};
const std::vector<std::string_view> kSignValues = {"-a", "-h", "-k", "--sig", "-o"};
const std::vector<std::string_view> kSignFlags = {"--service"};

constexpr char kBase64[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

int base64Value(char c) {
    const char *p = std::strchr(kBase64, c);
    return c != '\0' && p != nullptr ? int(p - kBase64) : -1;
}

// Decodes a base64 body, ignoring white space; false on any other character, on a length that
// is not whole groups of four, or on padding anywhere but at the end of the last group.
bool decodeBase64(std::string_view text, std::vector<uint8_t> &out) {
    out.clear();
    uint32_t acc = 0;
    int bits = 0, pad = 0;
    size_t symbols = 0;
    for (char c : text) {
        if (c == '\n' || c == '\r' || c == ' ' || c == '\t') continue;
        if (c == '=') {
            ++pad;
            continue;
        }
        int v = base64Value(c);
        if (v < 0 || pad != 0) return false;
        ++symbols;
        acc = (acc << 6) | uint32_t(v);
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            out.push_back(uint8_t(acc >> bits));
        }
    }
    // A last group of 2 or 3 symbols carries 1 or 2 bytes and is padded to four.
    const size_t tail = symbols % 4;
    return tail == 0 ? pad == 0 : tail != 1 && size_t(pad) == 4 - tail;
}

// The names -a or genkey accept, for messages; "none in this build" when no algorithm is.
std::string namesOf(bool genkey) {
    std::string names;
    for (const PkAlgorithm *a : pkAlgorithms())
        if (genkey ? a->genkey != nullptr : a->sign != nullptr)
            names += std::string(names.empty() ? "" : " ") + a->name;
    return names.empty() ? "none in this build" : names;
}

std::string usageOf(const char *command, const char *synopsis, bool genkey) {
    std::string text = std::string("usage: vorelcrypto ") + command + " " + synopsis + "\n\n";
    const size_t head = text.size();
    for (const PkAlgorithm *a : pkAlgorithms()) {
        const char *lines = genkey ? a->genkeyUsage : a->signUsage;
        if (lines != nullptr) text += lines;
    }
    if (text.size() == head) text += "This build has no public-key algorithm.\n";
    return text;
}

int runGenkey(std::vector<std::string_view> args) {
    Options opts(args, kGenkeyValues, kGenkeyFlags);
    if (!opts.ok()) return fail(opts.error());
    if (opts.positional().size() != 1)
        return fail("genkey needs one key kind (" + namesOf(true) + ")");
    const PkAlgorithm *alg = findPkAlgorithm(opts.positional()[0]);
    if (alg == nullptr || alg->genkey == nullptr)
        return fail("unknown key kind '" + opts.positional()[0] + "' (" + namesOf(true) + ")");
    return alg->genkey(opts);
}

// Shared by sign and verify: the algorithm, the key file and the message.
int prepare(const Options &opts, const char *command, const PkAlgorithm *&alg,
            std::vector<uint8_t> &key, std::vector<uint8_t> &message) {
    if (!opts.ok()) return fail(opts.error());
    alg = findPkAlgorithm(opts.value("-a"));
    if (alg == nullptr || alg->sign == nullptr) {
        const std::string what = opts.has("-a") ? "unknown algorithm '" + opts.value("-a") + "'" : "missing -a ALG";
        return fail(what + " (" + namesOf(false) + ")");
    }
    if (!opts.has("-k")) return fail("missing -k KEYFILE");
    if (opts.positional().size() > 1) return fail(std::string(command) + " takes at most one FILE");
    std::string error;
    if (!readFile(opts.value("-k"), key, error)) return fail(error, kFailed);
    std::string path = opts.positional().empty() ? "-" : opts.positional()[0];
    if (!readFile(path, message, error)) return fail(error, kFailed);
    return kOk;
}

int runSign(std::vector<std::string_view> args) {
    Options opts(args, kSignValues, kSignFlags);
    const PkAlgorithm *alg = nullptr;
    std::vector<uint8_t> key, message, signature;
    if (int status = prepare(opts, "sign", alg, key, message); status != kOk) return status;
    if (int status = alg->sign(opts, key, message, signature); status != kOk) return status;
    std::string error;
    std::string out = opts.value("--sig", opts.value("-o", "-"));
    if (!writeFile(out, signature.data(), signature.size(), error)) return fail(error, kFailed);
    return kOk;
}

int runVerify(std::vector<std::string_view> args) {
    Options opts(args, kSignValues, kSignFlags);
    const PkAlgorithm *alg = nullptr;
    std::vector<uint8_t> key, message, signature;
    // Before prepare() reads the message, which may be standard input.
    if (opts.ok() && !opts.has("--sig")) return fail("verify needs --sig FILE");
    if (int status = prepare(opts, "verify", alg, key, message); status != kOk) return status;
    std::string error;
    if (!readFile(opts.value("--sig"), signature, error)) return fail(error, kFailed);
    int status = alg->verify(opts, key, message, signature);
    if (status != kOk) return status;
    std::printf("OK\n");
    return kOk;
}

}  // namespace

PkAlgorithm::PkAlgorithm(const char *n, const char *g, const char *s, GenKey gk, Sign sg, Verify v)
    : name(n), genkeyUsage(g), signUsage(s), genkey(gk), sign(sg), verify(v) {
    pkRegistry().push_back(this);
}

const std::vector<const PkAlgorithm *> &pkAlgorithms() {
    return pkRegistry();
}

const PkAlgorithm *findPkAlgorithm(std::string_view name) {
    for (const PkAlgorithm *a : pkAlgorithms())
        if (name == a->name) return a;
    return nullptr;
}

std::string base64Lines(const std::vector<uint8_t> &data) {
    std::string out;
    size_t column = 0;
    for (size_t i = 0; i < data.size(); i += 3) {
        uint32_t v = uint32_t(data[i]) << 16;
        size_t n = data.size() - i;
        if (n > 1) v |= uint32_t(data[i + 1]) << 8;
        if (n > 2) v |= data[i + 2];
        char quad[4] = {kBase64[v >> 18], kBase64[(v >> 12) & 63], n > 1 ? kBase64[(v >> 6) & 63] : '=',
                        n > 2 ? kBase64[v & 63] : '='};
        out.append(quad, 4);
        column += 4;
        if (column == 64) {
            out += '\n';
            column = 0;
        }
    }
    if (column != 0) out += '\n';
    return out;
}

int writeKeyOutput(const Options &opts, const std::vector<uint8_t> &der, const char *pemLabel) {
    std::string error, path = opts.value("-o", "-");
    if (!opts.has("--pem")) {
        if (!writeFile(path, der.data(), der.size(), error)) return fail(error, kFailed);
        return kOk;
    }
    std::string text = std::string("-----BEGIN ") + pemLabel + "-----\n" + base64Lines(der) +
                       "-----END " + pemLabel + "-----\n";
    if (!writeFile(path, reinterpret_cast<const uint8_t *>(text.data()), text.size(), error))
        return fail(error, kFailed);
    return kOk;
}

bool readKeyBytes(const std::vector<uint8_t> &file, std::vector<uint8_t> &der, std::string &label) {
    label.clear();
    std::string_view text(reinterpret_cast<const char *>(file.data()), file.size());
    size_t begin = text.find("-----BEGIN ");
    if (begin == std::string_view::npos) {
        der = file;
        return true;
    }
    size_t labelEnd = text.find("-----", begin + 11);
    if (labelEnd == std::string_view::npos) return false;
    label = std::string(text.substr(begin + 11, labelEnd - begin - 11));
    size_t body = labelEnd + 5;
    size_t end = text.find("-----END " + label + "-----", body);
    if (end == std::string_view::npos) return false;
    return decodeBase64(text.substr(body, end - body), der);
}

namespace {

const Command genkeyCommand{"genkey", "generate a public-key pair", nullptr, runGenkey};
const Command signCommand{"sign", "sign a file with a private key", nullptr, runSign, true};
const Command verifyCommand{"verify", "check a signature with a public or private key", nullptr,
                            runVerify, true};

}  // namespace

// The --help texts list the registered algorithms, which are only known once every static
// object exists; main() asks for them through this hook.
std::string pkUsage(std::string_view command) {
    if (command == "genkey")
        return usageOf("genkey", "KIND [OPTIONS] [-o FILE] [--pem]", true);
    if (command == "sign")
        return usageOf("sign", "-a ALG [-h HASH] -k KEYFILE [--sig FILE] [FILE]", false) +
               "\nThe signature of FILE (standard input by default) goes to --sig FILE or standard output.\n";
    return usageOf("verify", "-a ALG [-h HASH] -k KEYFILE --sig FILE [FILE]", false) +
           "\nPrints OK and exits 0 when the signature verifies; exit 1 otherwise.\n";
}

}  // namespace cli
