#!/usr/bin/env bash
# veskctl-sim as a process among others: signals, temporary folders, several at once, odd files.
#   sim_process.sh VESKCTL_SIM
set -euo pipefail
tool=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() {
    echo "sim_process: $*" >&2
    exit 1
}

# However it ends, no temporary folder stays: not after a signal in the middle of a command that
# waits, and not after one that nobody can catch.
mkdir "$work/tmp"
cat >"$work/slow.json" <<'JSON'
{ "adapters": [ { "name": "vmhba2", "failures": { "adapter": { "delay_ms": 400 } } } ] }
JSON
for signal in INT TERM HUP KILL; do
    TMPDIR=$work/tmp "$tool" --scenario "$work/slow.json" controller >/dev/null 2>&1 &
    for _ in $(seq 200); do
        [ -n "$(ls -A "$work/tmp")" ] && break
        sleep 0.01
    done
    [ -n "$(ls -A "$work/tmp")" ] || fail "no temporary folder came into being"
    kill -s "$signal" $!
    wait $! 2>/dev/null || true
    for _ in $(seq 300); do
        [ -z "$(ls -A "$work/tmp")" ] && break
        sleep 0.01
    done
    [ -z "$(ls -A "$work/tmp")" ] || fail "SIG$signal left $(ls -A "$work/tmp")"
done

# Nor after one at its very beginning, wherever that is.
for moment in $(seq 0 49); do
    TMPDIR=$work/tmp "$tool" --scenario "$work/slow.json" controller >/dev/null 2>&1 &
    sleep "0.0$((moment / 10))$((moment % 10))"
    kill -s KILL $!
    wait $! 2>/dev/null || true
done
for _ in $(seq 300); do
    [ -z "$(ls -A "$work/tmp")" ] && break
    sleep 0.01
done
[ -z "$(ls -A "$work/tmp")" ] || fail "an early SIGKILL left $(ls -A "$work/tmp")"

# Without standard streams, too, whose numbers others get then.
TMPDIR=$work/tmp "$tool" controller <&- >"$work/out" || fail "without standard input: $?"
grep -q '0x1b4b' "$work/out" || fail "without standard input: $(cat "$work/out")"
for _ in $(seq 300); do
    [ -z "$(ls -A "$work/tmp")" ] && break
    sleep 0.01
done
[ -z "$(ls -A "$work/tmp")" ] || fail "without standard input $(ls -A "$work/tmp") stays"

# Several at once on one folder lose nothing of each other's.
for _ in 1 2 3; do
    "$tool" --state "$work/state" locate on 0 >/dev/null &
    "$tool" --state "$work/state" locate on 1 >/dev/null &
    "$tool" --state "$work/state" controller >/dev/null &
    wait
    "$tool" --state "$work/state" sim leds | grep -q 'disk 0, disk 1' || fail "a light was lost"
    "$tool" --state "$work/state" locate off 0 >/dev/null &
    "$tool" --state "$work/state" locate off 1 >/dev/null &
    wait
    "$tool" --state "$work/state" sim leds | grep -q 'none' || fail "a light came back"
done

# What is no file is refused at once.
mkfifo "$work/fifo.json"
for odd in "$work/fifo.json" "$work/tmp/" /dev/zero; do
    for option in --scenario --library; do
        code=0
        timeout 5 "$tool" "$option" "$odd" controller >/dev/null 2>"$work/errors" || code=$?
        { [ "$code" -eq 1 ] || [ "$code" -eq 2 ]; } || fail "$option $odd ended with $code"
        grep -q "$odd" "$work/errors" || fail "$option $odd: $(cat "$work/errors")"
    done
done

# The environment names the scenario where no option does.
[ "$(VESKSIM_SCENARIO=no-controller "$tool" controller --json 2>/dev/null | grep -c no_controller)" -eq 1 ] ||
    fail "VESKSIM_SCENARIO is not heard"
VESKSIM_SCENARIO=no-controller "$tool" --scenario healthy controller >/dev/null 2>&1 ||
    fail "--scenario does not come before VESKSIM_SCENARIO"

# Options of a command count for its subcommands.
[ "$("$tool" --scenario foreign-disk disks --raw show 0 --json)" = \
    "$("$tool" --scenario foreign-disk disks show 0 --raw --json)" ] ||
    fail "disks --raw show is not disks show --raw"
