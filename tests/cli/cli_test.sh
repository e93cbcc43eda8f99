#!/usr/bin/env bash
# End-to-end checks of the vorelcrypto program: outputs against known values, exit statuses.
#   VC_CLI=PROGRAM bash cli_test.sh [SCRIPT...]
# runs the given cli_<name>.sh.inc scripts (all of them by default). CTest runs one script per
# test, so a new subcommand brings its checks as one more cli_<name>.sh.inc beside this file.
set -u
cli=${VC_CLI:?set VC_CLI to the vorelcrypto program}
here=$(cd "$(dirname "$0")" && pwd)
failures=0
passes=0
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
err=$tmp/stderr

pass_or_fail() {  # NAME OK? DETAIL
    if [ "$2" = yes ]; then
        passes=$((passes + 1))
    else
        echo "FAIL $1: $3"
        cat "$err"
        failures=$((failures + 1))
    fi
}

check() {  # check NAME EXPECTED-STATUS EXPECTED-STDOUT ("*": any) -- command...
    local name=$1 want_status=$2 want_out=$3
    shift 4
    local out status ok=yes
    out=$("$@" 2>"$err" </dev/null)
    status=$?
    if [ "$status" != "$want_status" ] || { [ "$want_out" != "*" ] && [ "$out" != "$want_out" ]; }; then ok=no; fi
    pass_or_fail "$name" $ok "status $status (want $want_status), output '$out' (want '$want_out')"
}

check_full() {  # check_full NAME -- command...: standard output on a full device fails with exit 1
    local name=$1
    shift 2
    [ -w /dev/full ] || return 0
    local status ok=yes
    "$@" >/dev/full 2>"$err" </dev/null
    status=$?
    if [ "$status" != 1 ] || ! grep -q "write error" "$err"; then ok=no; fi
    pass_or_fail "$name" $ok "status $status with standard output on /dev/full (want 1 and a write error)"
}

# Inputs the scripts share.
printf abc > "$tmp/abc"
: > "$tmp/empty"
printf '7654321 Now is the time for ' > "$tmp/x99"
head -c 8 "$tmp/x99" > "$tmp/m8"
printf 'short' > "$tmp/m5"
seq 1 700 > "$tmp/m2692"
iv8=0001020304050607
iv16=000102030405060708090a0b0c0d0e0f

if [ $# -eq 0 ]; then set -- "$here"/cli_*.sh.inc; fi
for script in "$@"; do
    # shellcheck disable=SC1090
    . "$script"
done

echo "$passes passed, $failures failed"
[ "$failures" -eq 0 ]
