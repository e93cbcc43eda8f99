// What every subcommand shares: the command registry, hex, files and the option parser.
#include "cli.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <thread>
#include <cerrno>
#include <cstring>

namespace cli {

namespace {
std::vector<const Command *> &registry() {
    static std::vector<const Command *> all;
    return all;
}

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}
}  // namespace

Command::Command(const char *n, const char *s, const char *u, Handler r, bool h)
    : name(n), summary(s), usage(u), run(r), hTakesValue(h) {
    registry().push_back(this);
}

const std::vector<const Command *> &commands() {
    return registry();
}

int fail(const std::string &message, int status) {
    std::fprintf(stderr, "vorelcrypto: %s\n", message.c_str());
    return status;
}

bool parseHex(std::string_view text, std::vector<uint8_t> &out) {
    out.clear();
    if (text.size() % 2 != 0) return false;
    for (size_t i = 0; i < text.size(); i += 2) {
        int hi = hexDigit(text[i]), lo = hexDigit(text[i + 1]);
        if (hi < 0 || lo < 0) return false;
        out.push_back(uint8_t(hi << 4 | lo));
    }
    return true;
}

std::string toHex(const uint8_t *data, size_t length) {
    static const char digits[] = "0123456789abcdef";
    std::string s(length * 2, '0');
    for (size_t i = 0; i < length; ++i) {
        s[2 * i] = digits[data[i] >> 4];
        s[2 * i + 1] = digits[data[i] & 15];
    }
    return s;
}

bool readFile(const std::string &path, std::vector<uint8_t> &out, std::string &error) {
    out.clear();
    FILE *f = path == "-" ? stdin : std::fopen(path.c_str(), "rb");
    if (f == nullptr) {
        error = path + ": " + std::strerror(errno);
        return false;
    }
    uint8_t chunk[65536];
    size_t n;
    while ((n = std::fread(chunk, 1, sizeof chunk, f)) > 0) out.insert(out.end(), chunk, chunk + n);
    bool bad = std::ferror(f) != 0;
    if (f != stdin) std::fclose(f);
    if (bad) error = path + ": read error";
    return !bad;
}

bool writeFile(const std::string &path, const uint8_t *data, size_t length, std::string &error) {
    bool toStdout = path.empty() || path == "-";
    FILE *f = toStdout ? stdout : std::fopen(path.c_str(), "wb");
    if (f == nullptr) {
        error = path + ": " + std::strerror(errno);
        return false;
    }
    bool ok = std::fwrite(data, 1, length, f) == length;
    ok = (toStdout ? std::fflush(f) : std::fclose(f)) == 0 && ok;
    if (!ok) error = toStdout ? kStdoutWriteError : path + ": write error";
    return ok;
}

Options::Options(std::vector<std::string_view> args, std::vector<std::string_view> withValue,
                 std::vector<std::string_view> flags) {
    auto contains = [](const std::vector<std::string_view> &v, std::string_view s) {
        return std::find(v.begin(), v.end(), s) != v.end();
    };
    bool onlyPositional = false;
    for (size_t i = 0; i < args.size(); ++i) {
        std::string_view a = args[i];
        if (onlyPositional || a == "-" || a.empty() || a[0] != '-') {
            positional_.emplace_back(a);
        } else if (a == "--") {
            onlyPositional = true;
        } else if (contains(withValue, a)) {
            if (i + 1 == args.size()) {
                error_ = "option " + std::string(a) + " needs a value";
                return;
            }
            values_.emplace_back(std::string(a), std::string(args[++i]));
        } else if (a == "--help" || a == "-h" || contains(flags, a)) {
            values_.emplace_back(std::string(a), std::string());
        } else {
            error_ = "unknown option " + std::string(a);
            return;
        }
    }
}

bool Options::has(std::string_view name) const {
    for (auto &[k, v] : values_)
        if (k == name) return true;
    return false;
}

std::string Options::value(std::string_view name, std::string fallback) const {
    for (auto it = values_.rbegin(); it != values_.rend(); ++it)
        if (it->first == name) return it->second;
    return fallback;
}

void withProgress(const char *label, const std::function<void()> &work) {
    std::atomic<bool> done{false};
    std::thread ticker;
    if (isatty(STDERR_FILENO) != 0)
        ticker = std::thread([&done, label] {
            bool shown = false;
            for (int ticks = 0; !done.load(); ticks++) {
                std::this_thread::sleep_for(std::chrono::milliseconds(100));
                if (ticks % 10 == 9) {
                    std::fputs(shown ? "." : label, stderr);
                    shown = true;
                }
            }
            if (shown) std::fputs("\n", stderr);
        });
    work();
    done = true;
    if (ticker.joinable()) ticker.join();
}

bool numberOption(const Options &opts, const char *name, unsigned long fallback, unsigned long low,
                  unsigned long high, unsigned long &out) {
    const std::string text = opts.value(name);
    if (text.empty()) {
        out = fallback;
    } else {
        char *end = nullptr;
        out = std::strtoul(text.c_str(), &end, 10);
        if (*end != '\0' || text[0] == '-') out = 0;
    }
    if (out >= low && out <= high) return true;
    fail(std::string(name) + " must be " + std::to_string(low) + " to " + std::to_string(high));
    return false;
}

}  // namespace cli
