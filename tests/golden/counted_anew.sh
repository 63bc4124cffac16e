#!/usr/bin/env bash
# A controller that counts its events anew while it holds old ones: an old one is new by its number,
# and two young ones, one of them fatal, lie below the mark.
#   counted_anew.sh VESKCTL_SIM
set -euo pipefail
scenario=$(dirname "$0")/scenario_counted_anew.json
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() {
    echo "counted_anew: $*" >&2
    exit 1
}
tool=$1
sim() {
    "$tool" --scenario "$scenario" --state "$work/state" "$@"
}
sim mark set 40002 >/dev/null 2>&1

code=0
sim check >"$work/out" 2>/dev/null || code=$?
[ "$code" -eq 1 ] || fail "check ends with $code"
grep -q "began anew: 2 below the mark 40002, last 'Volume failed'" "$work/out" ||
    fail "check: $(cat "$work/out")"

# What is above the mark is shown and taken; the rest is told with what shows it.
for shown in 1 0; do
    code=0
    sim events >"$work/out" 2>"$work/err" || code=$?
    [ "$code" -eq 1 ] || fail "events ends with $code"
    [ "$(grep -c '#40003' "$work/out")" -eq "$shown" ] || fail "events: $(cat "$work/out")"
    grep -q "the last one #2 'Volume failed', severity fatal" "$work/err" || fail "$(cat "$work/err")"
done
since=$(sed -n "s/.*events --since \([^']*\)'.*/\1/p" "$work/err")
[ "$(sim events --since "$since" -o ndjson 2>/dev/null | wc -l)" -eq 2 ] || fail "--since '$since'"

# A collector is told too, and goes on.
"$tool" --scenario "$scenario" --state "$work/state" events --follow --interval 1 -o ndjson \
    >"$work/out" 2>"$work/err" &
follower=$!
for _ in $(seq 300); do
    ! grep -q 'counts its events anew' "$work/err" || break
    sleep 0.1
done
kill -TERM "$follower"
code=0
wait "$follower" || code=$?
[ "$code" -eq 1 ] || fail "--follow ends with $code"
[ "$(grep -c "'Volume failed', severity fatal" "$work/err")" -eq 1 ] || fail "$(cat "$work/err")"
