#!/usr/bin/env bash
# `events --follow` through the moment in which the controller falls silent: what came before was
# shown and marked, the silence is told once, and it is a failure at the end.
#   falls_silent.sh VESKCTL_SIM
set -euo pipefail
tool=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() {
    echo "falls_silent: $*" >&2
    exit 1
}

# The silence comes after two seconds. Where the machine was too slow to look before, once more.
for try in 1 2 3 4 5; do
    state=$work/$try
    "$tool" --scenario falls-silent --state "$state" events --follow --interval 1 --ndjson \
        >"$work/out" 2>"$work/err" &
    follower=$!
    for _ in $(seq 300); do
        grep -q 'fell silent' "$work/err" && break
        sleep 0.1
    done
    grep -q 'fell silent' "$work/err" || fail "the silence is not told: $(cat "$work/err")"
    [ ! -s "$work/out" ] || break
    wait "$follower" || true
done
[ "$(wc -l <"$work/out")" -eq 4 ] || fail "events before the silence: $(cat "$work/out")"

# Two more looks say nothing more.
sleep 2.5
kill -0 "$follower" || fail "it does not go on"
kill -HUP "$follower"
code=0
wait "$follower" || code=$?
[ "$(grep -Ec 'fell silent|did not answer' "$work/err")" -eq 1 ] ||
    fail "told again: $(cat "$work/err")"
[ "$code" -eq 1 ] || fail "exit code $code"
grep -q '^SequenceNumber=4$' \
    "$state"/opt/orvo/kelpdesk/etc/kelpdesk-storage/libVeskNVMeAlertMapping.ini || fail "the mark"

# Nothing else reads as well afterwards either.
if "$tool" --scenario falls-silent --state "$state" events >"$work/out" 2>"$work/err"; then
    fail "events of a silent controller"
fi
grep -q 'no new events' "$work/out" && fail "a silent controller has no new events"
code=0
"$tool" --scenario falls-silent --state "$state" check >"$work/out" 2>/dev/null || code=$?
[ "$code" -eq 3 ] || fail "check: $code $(cat "$work/out")"
