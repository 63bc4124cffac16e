#!/usr/bin/env bash
# The light that was to blink for a time goes out when the program is interrupted.
#   locate_for.sh VESKCTL_SIM
set -euo pipefail
tool=$1
state=$(mktemp -d)
trap 'rm -rf "$state"' EXIT
fail() {
    echo "locate_for: $*" >&2
    exit 1
}

coproc LIGHT { exec "$tool" --state "$state" locate on 1 --for 1h; }
light=$LIGHT_PID
read -r line <&"${LIGHT[0]}"
[ "$line" = 'SIMULATED HOST' ] || fail "the first line is '$line'"
read -r line <&"${LIGHT[0]}"
[[ $line == *'disk 1; it stops after 1 h,'* ]] || fail "the second line is '$line'"
leds=$("$tool" --state "$state" sim leds)
[[ $leds == *'disk 1'* ]] || fail "the light does not blink: $leds"

kill -INT "$light"
read -r line <&"${LIGHT[0]}"
[ "$line" = 'Requested: stop blinking the locate light of disk 1.' ] || fail "it ends with '$line'"
wait "$light" || fail "it ends with exit code $?"
leds=$("$tool" --state "$state" sim leds)
[[ $leds == *none* ]] || fail "the light still blinks: $leds"
