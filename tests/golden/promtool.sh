#!/usr/bin/env bash
# The metrics of every scenario are what promtool holds good, each series stands there once, and the
# file for node_exporter is replaced as a whole.
#   promtool.sh VESKCTL_SIM SCENARIO_FOLDER
set -euo pipefail
tool=$1
scenarios=$2
if ! command -v promtool >/dev/null; then
    echo "promtool is missing; scripts/install-packages brings it (package prometheus)"
    exit 77
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() {
    echo "promtool: $*" >&2
    exit 1
}

for file in "$scenarios"/*.json; do
    name=$(basename "$file" .json)
    [ "$name" != scenario.schema ] || continue
    "$tool" --scenario "$name" metrics >"$work/text" 2>/dev/null || true
    promtool check metrics <"$work/text" >"$work/said" 2>&1 || fail "$name: $(cat "$work/said")"
    [ ! -s "$work/said" ] || fail "$name: $(cat "$work/said")"
    twice=$(grep -v '^#' "$work/text" | sed 's/ [^ ]*$//' | sort | uniq -d)
    [ -z "$twice" ] || fail "$name: twice: $twice"
    grep -q '^vesk_up [01]$' "$work/text" || fail "$name: vesk_up is missing"
    [ "$(grep -c '^vesk_verdict{.*} 1$' "$work/text")" -eq 1 ] || fail "$name: not one verdict"
done

"$tool" --scenario degraded metrics --file "$work/vesk.prom" 2>/dev/null >"$work/output"
[ ! -s "$work/output" ] || fail "--file wrote to standard output as well"
grep -q '^vesk_disk_present{slot="1"} 0$' "$work/vesk.prom" || fail "the missing disk is missing"
