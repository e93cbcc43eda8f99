// vorelcrypto: command-line front end of the VorelCrypto library.
#include "cli.h"

#include <algorithm>
#include <cstring>

namespace {

void printOverview(FILE *out) {
    using cli::Command;
    std::fprintf(out, "usage: vorelcrypto COMMAND [OPTIONS] [ARGS]\n\ncommands:\n");
    auto sorted = cli::commands();
    std::sort(sorted.begin(), sorted.end(),
              [](const Command *a, const Command *b) { return std::strcmp(a->name, b->name) < 0; });
    for (const Command *c : sorted) std::fprintf(out, "  %-10s %s\n", c->name, c->summary);
    std::fprintf(out, "\n'vorelcrypto COMMAND --help' describes a command.\n");
}

// Runs the command named by argv[1], or prints help; returns the exit status.
int dispatch(int argc, char **argv) {
    if (argc < 2) {
        printOverview(stderr);
        return cli::kUsage;
    }
    const std::string_view name = argv[1];
    if (name == "--help" || name == "-h" || name == "help") {
        printOverview(stdout);
        return cli::kOk;
    }
    for (const cli::Command *c : cli::commands()) {
        if (name != c->name && !(name == "--version" && std::strcmp(c->name, "version") == 0)) continue;
        std::vector<std::string_view> args(argv + 2, argv + argc);
        // "-h" asks for help, except where the command takes "-h VALUE" (sign and verify's
        // "-h HASH"): there only a last "-h" does.
        for (size_t i = 0; i < args.size(); ++i) {
            std::string_view a = args[i];
            if (a == "--help" || (a == "-h" && (!c->hTakesValue || i + 1 == args.size()))) {
                std::fputs(c->usage != nullptr ? c->usage : cli::pkUsage(c->name).c_str(), stdout);
                return cli::kOk;
            }
            if (a == "--") break;
        }
        return c->run(std::move(args));
    }
    return cli::fail("unknown command '" + std::string(name) + "' (try --help)");
}

}  // namespace

int main(int argc, char **argv) {
    const int status = dispatch(argc, argv);
    // Output that never reached its destination (a full disk, a closed pipe) fails the command,
    // whichever command printed it; a command that already failed has said why.
    if ((std::fflush(stdout) != 0 || std::ferror(stdout) != 0) && status == cli::kOk)
        return cli::fail(cli::kStdoutWriteError, cli::kFailed);
    return status;
}
