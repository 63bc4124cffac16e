#!/usr/bin/env bash
# `status`, `metrics` and `doctor` look at the events and leave them to be taken.
#   snapshot_events.sh VESKCTL_SIM
set -euo pipefail
tool=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
mapping=host/opt/orvo/kelpdesk/etc/kelpdesk-storage/libVeskNVMeAlertMapping.ini
fail() {
    echo "snapshot_events: $*" >&2
    exit 1
}
run() {
    "$tool" --state host "$@" 2>/dev/null
}
# said REGEX ARGUMENTS...: whether the program says it, whatever its exit code.
said() {
    local wanted=$1
    shift
    run "$@" >output || true
    grep -q "$wanted" output
}

said '^! New events: 6, the gravest critical' --scenario degraded status || fail "status: $(cat output)"
run --scenario degraded metrics >text
grep -q '^vesk_events_new{severity="critical"} 1$' text || fail "metrics: critical"
grep -q '^vesk_events_new{severity="fatal"} 0$' text || fail "metrics: fatal"
[ "$(run --scenario degraded events --ndjson | wc -l)" -eq 6 ] || fail "the events were taken"
said '^New events: none$' --scenario degraded status || fail "status afterwards: $(cat output)"

# A code without a row is named, one that is dropped on purpose is not.
rm -rf host
run version >/dev/null
sed -i 's/^101=2101/101=65535/; /^201=/d' $mapping
run doctor --json >document
python3 - <<'PYTHON' || fail "doctor: $(cat document)"
import json, sys
found = [f["text"] for f in json.load(open("document"))["findings"] if f["code"] == "mapping_row_missing"]
sys.exit(0 if len(found) == 1 and "code 201 of class virtual_disk, so 1 event" in found[0] else 1)
PYTHON

# All numbers below the mark are no "nothing new".
sed -i 's/^SequenceNumber=.*/SequenceNumber=1000/' $mapping
said '^VESK WARNING .*below the mark 1000' check || fail "check: $(cat output)"

# A line that could not be written is no WARNING.
code=0
run check >/dev/full || code=$?
[ "$code" -eq 3 ] || fail "check into a full disk: $code"
