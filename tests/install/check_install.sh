#!/usr/bin/env bash
# Installs the build into a scratch prefix, then builds and runs a consumer through the CMake
# package and checks the pkg-config file.
set -eu
build=$1 source=$2
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
cmake --install "$build" --prefix "$tmp/prefix" >/dev/null
cmake -S "$source/consumer" -B "$tmp/consumer" -DCMAKE_PREFIX_PATH="$tmp/prefix" >/dev/null
cmake --build "$tmp/consumer" >/dev/null
out=$(LD_LIBRARY_PATH="$tmp/prefix/lib" "$tmp/consumer/consumer")
[ "$out" = "a9993e364706816aba3e25717850c26c9cd0d89d" ] || { echo "consumer printed '$out'"; exit 1; }
flags=$(PKG_CONFIG_PATH="$tmp/prefix/lib/pkgconfig" pkg-config --cflags --libs vorelcrypto)
case "$flags" in
    *"$tmp/prefix/lib/pkgconfig/../../include"*-lvorelcrypto*) ;;
    *) echo "pkg-config gave '$flags'"; exit 1 ;;
esac
echo "install: 2 passed, 0 failed"
