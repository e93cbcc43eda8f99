#!/usr/bin/env bash
# End-to-end checks of the vorelcrypto program: outputs against known values, exit statuses.
set -u
cli=${VC_CLI:?set VC_CLI to the vorelcrypto program}
failures=0
passes=0

check() {  # check NAME EXPECTED-STATUS EXPECTED-STDOUT -- command...
    local name=$1 want_status=$2 want_out=$3
    shift 4
    local out status
    out=$("$@" 2>/tmp/vc_cli_err.$$)
    status=$?
    if [ "$status" != "$want_status" ] || { [ "$want_out" != "*" ] && [ "$out" != "$want_out" ]; }; then
        echo "FAIL $name: status $status (want $want_status), output '$out' (want '$want_out')"
        cat /tmp/vc_cli_err.$$
        failures=$((failures + 1))
    else
        passes=$((passes + 1))
    fi
}

tmp=$(mktemp -d)
trap 'rm -rf "$tmp" /tmp/vc_cli_err.$$' EXIT

check version 0 "*" -- "$cli" version
check help 0 "*" -- "$cli" --help
check no-args 2 "" -- "$cli"
check unknown-command 2 "" -- "$cli" frobnicate

for t in "$(dirname "$0")"/cli_*.sh.inc; do
    [ -e "$t" ] && . "$t"
done

echo "$passes passed, $failures failed"
[ "$failures" -eq 0 ]
