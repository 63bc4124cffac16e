#!/usr/bin/env bash
# The simulated host under a program that knows nothing of it, by LD_PRELOAD.
#   preload_test.sh BUILD COUNTED_SLEEP
set -euo pipefail
build=$1
counted_sleep=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export LD_LIBRARY_PATH=$build/lib VESKSIM_FOLDER=$work/host
fail() {
    echo "preload: $*" >&2
    exit 1
}

for bad in abc -5 '' ' 5' 5x 1000001; do
    code=0
    VESKSIM_SECOND_MS=$bad LD_PRELOAD=libvesk-simhost.so "$build/examples/inventory" \
        >"$work/out" 2>"$work/said" || code=$?
    [ "$code" -eq 2 ] || fail "VESKSIM_SECOND_MS='$bad' ends with $code"
    grep -qF "VESKSIM_SECOND_MS is '$bad'; give the milliseconds" "$work/said" ||
        fail "VESKSIM_SECOND_MS='$bad': $(cat "$work/said")"
done
VESKSIM_SECOND_MS=1 LD_PRELOAD=libvesk-simhost.so "$build/examples/inventory" >"$work/out"
grep -q 'serial number VD00480A000170' "$work/out" || fail "the inventory is: $(cat "$work/out")"

# A row that ends with its key fails each delivery behind the three events in front of it: a program
# that asks again at once would do nothing else.
sed -i 's/^201=2201$/201/' "$work"/host/opt/orvo/kelpdesk/etc/kelpdesk-storage/libVeskNVMeAlertMapping.ini
LD_PRELOAD="$counted_sleep:libvesk-simhost.so" "$build/examples/events" 12 >"$work/out" 2>"$work/said"
[ "$(grep -c '^#[1-3] at ' "$work/out")" -eq 12 ] || fail "not four deliveries of three: $(cat "$work/out")"
[ "$(grep -c 'mark could not be stored' "$work/said")" -eq 1 ] || fail "not told once: $(cat "$work/said")"
[ "$(grep -c slept "$work/said")" -ge 4 ] || fail "four failures in a row without sleep: $(cat "$work/said")"
