// vorelcrypto version
#include "cli.h"

namespace {

int run(std::vector<std::string_view> args) {
    if (!args.empty()) return cli::fail("version takes no arguments");
    std::printf("vorelcrypto 0.1.0\n");
    return cli::kOk;
}

const cli::Command command{"version", "print the program's version",
                           "usage: vorelcrypto version\n\nPrints the version of vorelcrypto.\n", run};

}  // namespace
