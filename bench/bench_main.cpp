// Runs every benchmark, then prints one table: operation, size, our time, each reference's time
// and our speed relative to it.
#include "bench_util.h"

#include <openssl/provider.h>

#include <cstdio>
#include <map>
#include <string>

namespace vcbench {

bool loadOpenSslLegacy() {
    static const bool loaded = [] {
        return OSSL_PROVIDER_load(nullptr, "default") != nullptr &&
               OSSL_PROVIDER_load(nullptr, "legacy") != nullptr;
    }();
    return loaded;
}

namespace {

struct Result {
    double seconds = 0;         // per iteration
    double bytesPerSecond = 0;  // 0 when the benchmark counts no bytes
};

struct Key {
    std::string op, size;
    bool operator<(const Key &o) const {
        if (op != o.op) return op < o.op;
        if (size.size() != o.size.size()) return size.size() < o.size.size();
        return size < o.size;
    }
};

class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run> &runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run &run : runs) {
            if (run.error_occurred || run.run_type != Run::RT_Iteration) continue;
            std::string name = run.benchmark_name();
            // OPERATION/IMPLEMENTATION[/SIZE][/extra:...]
            std::vector<std::string> parts;
            size_t start = 0;
            for (size_t i = 0; i <= name.size(); ++i)
                if (i == name.size() || name[i] == '/') {
                    parts.push_back(name.substr(start, i - start));
                    start = i + 1;
                }
            while (!parts.empty() && parts.back().find(':') != std::string::npos) parts.pop_back();
            if (parts.size() < 2) continue;
            std::string size;
            if (parts.size() >= 3 && !parts.back().empty() && isdigit((unsigned char)parts.back()[0])) {
                size = parts.back();
                parts.pop_back();
            }
            std::string impl = parts.back();
            parts.pop_back();
            std::string op;
            for (auto &p : parts) op += (op.empty() ? "" : "/") + p;
            Result r;
            r.seconds = run.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(run.time_unit);
            auto it = run.counters.find("bytes_per_second");
            if (it != run.counters.end()) r.bytesPerSecond = it->second.value;
            results_[Key{op, size}][impl] = r;
        }
    }

    void Finalize() override {
        ConsoleReporter::Finalize();
        std::printf("\n%-34s %8s %12s %12s  %-16s %12s %7s\n", "operation", "size", "ours",
                    "ours MB/s", "reference", "ref", "ratio");
        for (auto &[key, impls] : results_) {
            auto ours = impls.find("ours");
            if (ours == impls.end()) continue;
            for (auto &[impl, r] : impls) {
                if (impl == "ours") continue;
                std::printf("%-34s %8s %12s %12.1f  %-16s %12s %7.2f\n", key.op.c_str(),
                            key.size.c_str(), human(ours->second.seconds).c_str(),
                            ours->second.bytesPerSecond / 1e6, impl.c_str(),
                            human(r.seconds).c_str(), r.seconds / ours->second.seconds);
            }
        }
        std::printf("ratio = reference time / our time (above 1: ours is faster)\n");
    }

private:
    static std::string human(double s) {
        char buf[32];
        if (s < 1e-6)
            std::snprintf(buf, sizeof buf, "%.1f ns", s * 1e9);
        else if (s < 1e-3)
            std::snprintf(buf, sizeof buf, "%.2f us", s * 1e6);
        else
            std::snprintf(buf, sizeof buf, "%.2f ms", s * 1e3);
        return buf;
    }
    std::map<Key, std::map<std::string, Result>> results_;
};

}  // namespace
}  // namespace vcbench

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    vcbench::RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
