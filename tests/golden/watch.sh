#!/usr/bin/env bash
# --watch writes one look after another until it is interrupted. On a terminal each stands over the
# last one, and the errors with it.
#   watch.sh VESKCTL_SIM
set -euo pipefail
tool=$1
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
fail() {
    echo "watch: $*" >&2
    exit 1
}

coproc WATCH { exec "$tool" disks --no-header -o csv --watch=1 2>/dev/null; }
watch=$WATCH_PID
for slot in 0 1 0 1; do
    read -r line <&"${WATCH[0]}" || fail "it ended"
    [[ $line == "$slot,true,VESK M2 480G,"* ]] || fail "got '$line' as disk $slot"
done
kill -TERM "$watch"
wait "$watch" || fail "it ended with $? on SIGTERM"

# script makes the terminal.
export tool folder
# shellcheck disable=SC2016
script -qfec 'echo $$ >"$folder/pid"; exec "$tool" --scenario commands-fail disks --watch=600' \
    "$folder/screen" </dev/null >/dev/null &
for ((tries = 0; tries < 200; tries++)); do
    grep -q 'disk 1 did not answer' "$folder/screen" 2>/dev/null && break
    sleep 0.05
done
kill -TERM "$(cat "$folder/pid")"
wait "$!" || fail "on a terminal it ended with $? on SIGTERM"
grep -q $'^\x1b\\[HEvery 10 min: veskctl-sim --scenario commands-fail disks --watch=600  20' \
    "$folder/screen" || fail "no title: $(cat -v "$folder/screen")"
grep -q $'^veskctl: disk 1 did not answer\x1b\\[K' "$folder/screen" ||
    fail "the errors are not in the frame: $(cat -v "$folder/screen")"
