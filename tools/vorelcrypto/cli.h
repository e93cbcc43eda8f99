// The vorelcrypto command-line program: each subcommand is one source file that registers
// itself with a static Command object; main() dispatches on the first argument.
#pragma once

#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace cli {

// Exit statuses shared by every subcommand.
enum Exit : int { kOk = 0, kFailed = 1, kUsage = 2 };

using Handler = int (*)(std::vector<std::string_view> args);

struct Command {
    Command(const char *name, const char *summary, const char *usage, Handler run,
            bool hTakesValue = false);
    const char *name;
    const char *summary;
    const char *usage;  // full --help text; nullptr for genkey/sign/verify, see pkUsage
    Handler run;
    bool hTakesValue;   // "-h VALUE" is an option (sign and verify); otherwise -h is help
};

const std::vector<const Command *> &commands();

// The --help text of genkey, sign and verify, built from the registered algorithms.
std::string pkUsage(std::string_view command);

// The message of output that could not be written to standard output.
inline constexpr const char *kStdoutWriteError = "standard output: write error";

// Prints "vorelcrypto: <message>" on standard error and returns kUsage (or `status`).
int fail(const std::string &message, int status = kUsage);

// Runs `work` while a ticker prints `label` and then a dot a second on standard error, when
// standard error is a terminal: key, parameter and prime generation can take many seconds.
void withProgress(const char *label, const std::function<void()> &work);

class Options;
// A decimal option in [low, high] (`fallback` when absent); false after a message otherwise.
bool numberOption(const Options &opts, const char *name, unsigned long fallback, unsigned long low,
                  unsigned long high, unsigned long &out);

// Hexadecimal text to bytes; false on an odd count or a non-hex character.
bool parseHex(std::string_view text, std::vector<uint8_t> &out);
std::string toHex(const uint8_t *data, size_t length);

// Reads a whole file ("-" is standard input); false with a message on failure.
bool readFile(const std::string &path, std::vector<uint8_t> &out, std::string &error);
// Writes bytes to a file ("-" or empty is standard output).
bool writeFile(const std::string &path, const uint8_t *data, size_t length, std::string &error);

// A small option parser: flags with or without a value, the rest positional.
class Options {
public:
    // `withValue` lists the options that take a value ("-a", "--iv" ...); `flags` those that
    // do not. Unknown options and missing values are reported through error().
    Options(std::vector<std::string_view> args, std::vector<std::string_view> withValue,
            std::vector<std::string_view> flags);
    bool ok() const { return error_.empty(); }
    const std::string &error() const { return error_; }
    bool has(std::string_view name) const;
    std::string value(std::string_view name, std::string fallback = {}) const;
    bool help() const { return has("--help") || has("-h"); }
    const std::vector<std::string> &positional() const { return positional_; }

private:
    std::vector<std::pair<std::string, std::string>> values_;
    std::vector<std::string> positional_;
    std::string error_;
};

}  // namespace cli
