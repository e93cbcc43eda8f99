#!/usr/bin/env bash
# Installs the build into a scratch prefix, then builds a C program against it four ways (the
# CMake package's shared and static targets, pkg-config and pkg-config --static) and runs each.
# The static programs run after the shared libraries are removed, so they cannot lean on them.
set -eu
build=$1 source=$2 cc=${3:-cc}
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
prefix=$tmp/prefix
cmake --install "$build" --prefix "$prefix" >/dev/null
libdir=$(dirname "$(find "$prefix" -name vorelcrypto.pc)")/..
export PKG_CONFIG_PATH=$libdir/pkgconfig

cmake -S "$source/consumer" -B "$tmp/consumer" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_C_COMPILER="$cc" >/dev/null
cmake --build "$tmp/consumer" >/dev/null
# shellcheck disable=SC2046  # pkg-config prints several flags
"$cc" -std=c99 -o "$tmp/pc_shared" "$source/consumer/main.c" $(pkg-config --cflags --libs vorelcrypto)
# shellcheck disable=SC2046
"$cc" -std=c99 -static -o "$tmp/pc_static" "$source/consumer/main.c" $(pkg-config --static --cflags --libs vorelcrypto)

want="a9993e364706816aba3e25717850c26c9cd0d89d
seed 16 abc
random drawn"
failures=0
run() {  # NAME PROGRAM
    local out
    if ! out=$("$2" 2>&1) || [ "$out" != "$want" ]; then
        echo "FAIL $1: printed '$out'"
        failures=$((failures + 1))
    fi
}
LD_LIBRARY_PATH=$libdir run cmake-shared "$tmp/consumer/consumer_shared"
LD_LIBRARY_PATH=$libdir run pkg-config "$tmp/pc_shared"
rm -f "$libdir"/libvorel*.so*
run cmake-static "$tmp/consumer/consumer_static"
run pkg-config-static "$tmp/pc_static"
echo "install: $((4 - failures)) passed, $failures failed"
[ "$failures" -eq 0 ]
