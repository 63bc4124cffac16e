#!/usr/bin/env bash
# The examples of docs/man: each is compiled, read or run as its page means it.
#   man_examples_test.sh SOURCE VESKCTL_SIM
set -euo pipefail
pages=$1/docs/man
include=$1/include
program=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

# The literal text of the section.
example() {
    awk '/^\.Sh /{ on = /EXAMPLE/ } /^\.Ed/{ open = 0 } open; /^\.Bd/{ open = on }' "$pages/$1" |
        sed 's/\\e/\\/g; s/\\-/-/g' >"$2"
    [ -s "$2" ] || { echo "$1 has no example"; exit 1; }
}

example libvesknvme.3 example.c
cc -std=c99 -Wall -Wextra -Werror -I"$include" -fsyntax-only example.c

example vesk-scenario.5 scenario.json
"$program" --scenario scenario.json disks | grep -q 'VESK M2 480G' ||
    { echo "the scenario has no disk"; exit 1; }

ini=host/opt/orvo/kelpdesk/etc/kelpdesk-storage
mkdir -p "$ini"
for name in libVeskNVMeConfig libVeskNVMeAlertMapping; do
    example $name.ini.5 "$ini/$name.ini"
done
"$program" --state host doctor >said || { cat said; exit 1; }
grep -q '^Nothing is wrong' said || { cat said; exit 1; }

example veskctl-json.5 command
sed -i "s|^veskctl |\"$program\" --scenario worn |" command
if command -v jq >/dev/null; then
    bash -o pipefail command 2>/dev/null | grep -qx 'VD00480A00017[01]' || { cat command; exit 1; }
fi
echo "the examples of the pages do what they should"
