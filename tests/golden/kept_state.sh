#!/usr/bin/env bash
# What one run of veskctl-sim leaves in --state is what the next one finds.
#   kept_state.sh VESKCTL_SIM
set -euo pipefail
tool=$1
state=$(mktemp -d)
trap 'rm -rf "$state"' EXIT
fail() {
    echo "kept_state: $*" >&2
    exit 1
}

first=$("$tool" --state "$state" events --ndjson | wc -l)
[ "$first" -eq 4 ] || fail "the first run took $first events, expected 4"
grep -q '^SequenceNumber=4$' \
    "$state/opt/orvo/kelpdesk/etc/kelpdesk-storage/libVeskNVMeAlertMapping.ini" ||
    fail "the mark is not 4"
second=$("$tool" --state "$state" events --ndjson --wait 0 | wc -l)
[ "$second" -eq 0 ] || fail "the second run took $second events, expected none"

"$tool" --state "$state" locate on 1 >/dev/null
"$tool" --state "$state" sim leds | grep -q 'disk 1' || fail "the light of disk 1 does not blink"
"$tool" --state "$state" locate off 1 >/dev/null
"$tool" --state "$state" sim leds | grep -q 'disk 1' && fail "the light of disk 1 still blinks"

# A signal ends --follow soon and without an error, once it has printed what there was.
coproc FOLLOW {
    exec "$tool" --state "$state/follow" events --follow --ndjson 2>"$state/follow.err"
}
follower=$FOLLOW_PID
for number in 1 2 3 4; do
    read -r event <&"${FOLLOW[0]}" || fail "--follow ended before event $number"
    grep -q "\"sequence\":$number," <<<"$event" || fail "--follow printed $event as event $number"
done
kill -TERM "$follower"
wait "$follower" || fail "--follow ended with $? on SIGTERM"
grep -q 'SIMULATED HOST' "$state/follow.err" || fail "--follow did not say whose events these are"
