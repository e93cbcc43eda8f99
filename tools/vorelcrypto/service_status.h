// What the subcommands built on the V_ services share: a ready LibContext for the length of a
// command, and one-line meanings of the codes the services return.
#pragma once

#include <vorelcrypto/types.h>

#include "cli.h"

#include <cstdint>
#include <string>
#include <vector>

namespace cli {

// The meaning of a V_ service code ("unknown code" for one the library does not define).
const char *serviceStatusText(uint32_t code);

// Prints "vorelcrypto COMMAND: CODE: meaning" on standard error and returns kFailed.
int serviceFailure(const char *command, uint32_t code);

// A LibContext made ready on construction and released on destruction.
class ServiceContext {
public:
    ServiceContext();
    ~ServiceContext();
    ServiceContext(const ServiceContext &) = delete;
    ServiceContext &operator=(const ServiceContext &) = delete;
    bool ready() const { return ctx_.state != nullptr; }
    LibContext *get() { return &ctx_; }

private:
    LibContext ctx_{};
};

// A blob over a byte vector; an empty vector still gets a valid data pointer, since the cipher
// services refuse a null one.
DataBlob blobOf(std::vector<uint8_t> &bytes);

// The bytes of hex option `name`, which must be present and have `min` to `max` bytes; on
// failure `error` says why.
bool hexOption(const Options &opts, const char *name, size_t min, size_t max,
               std::vector<uint8_t> &out, std::string &error);

// Reads the file of -i (standard input by default) into `data`, which the services can take
// whole. Returns kOk or the status after printing the reason.
int readInput(const Options &opts, std::vector<uint8_t> &data);

// Writes a service's result to -o (standard output by default) and frees it on `ctx`.
int writeOutput(const Options &opts, LibContext *ctx, DataBlob &result);

}  // namespace cli
