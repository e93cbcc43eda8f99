#!/usr/bin/env bash
# Runs every libFuzzer target of a fuzz build for a bounded time, each from its seed corpus.
# Usage: fuzz/run.sh [SECONDS_PER_TARGET] [BUILD_DIR]    (defaults: 10, build/fuzz)
# Corpora grow under BUILD_DIR/fuzz-work/corpus/<target>/, crash inputs are kept under
# BUILD_DIR/fuzz-work/artifacts/; replay one with: BUILD_DIR/fuzz/<target> FILE
set -euo pipefail
seconds=${1:-10}
build=$(cd "${2:-build/fuzz}" && pwd)
source_dir=$(cd "$(dirname "$0")" && pwd)
work="$build/fuzz-work"
mkdir -p "$work/artifacts"
# Symbolised stack traces with llvm-14 alone (the unversioned llvm-symbolizer is another package).
if [ -z "${ASAN_SYMBOLIZER_PATH:-}" ] && [ -x /usr/lib/llvm-14/bin/llvm-symbolizer ]; then
    export ASAN_SYMBOLIZER_PATH=/usr/lib/llvm-14/bin/llvm-symbolizer
fi

failed=0
targets=0
for target in "$build"/fuzz/fuzz_*; do
    [ -x "$target" ] || continue
    name=$(basename "$target")
    targets=$((targets + 1))
    corpus="$work/corpus/$name"
    mkdir -p "$corpus"
    seeds="$build/fuzz/seeds_${name#fuzz_}"
    if [ -x "$seeds" ]; then "$seeds" "$corpus"; fi
    if [ -d "$source_dir/corpus/$name" ]; then cp -n "$source_dir/corpus/$name"/* "$corpus"/ || true; fi
    log="$work/$name.log"
    if "$target" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
        -artifact_prefix="$work/artifacts/$name-" "$corpus" >"$log" 2>&1; then
        runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
        echo "fuzz: $name ran ${runs:-?} inputs in ${seconds}s, corpus $(ls "$corpus" | wc -l) files: ok"
    else
        echo "fuzz: $name FAILED (log $log)"
        tail -n 60 "$log"
        failed=$((failed + 1))
    fi
done
if [ "$targets" -eq 0 ]; then
    echo "fuzz: no targets under $build/fuzz" >&2
    exit 1
fi
echo "fuzz: $((targets - failed)) passed, $failed failed"
[ "$failed" -eq 0 ]
