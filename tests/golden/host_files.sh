#!/usr/bin/env bash
# What is wrong with the host's files is found, named, and ends neither the library nor the program.
#   host_files.sh VESKCTL_SIM
set -euo pipefail
tool=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
ini=host/opt/orvo/kelpdesk/etc/kelpdesk-storage
second=host/etc/cim/orvo/kelpdesk/kelpdesk-storage
config=$ini/libVeskNVMeConfig.ini
mapping=$ini/libVeskNVMeAlertMapping.ini
fail() {
    echo "host_files: $*" >&2
    exit 1
}

# A host as it was installed.
renew() {
    rm -rf host libVeskNVMe*.ini
    "$tool" --state host version >/dev/null 2>&1
}

# expect NAME EXIT CODE: `doctor` finds it, as text and in the document.
expect() {
    local code=0
    timeout 20 "$tool" --state host doctor --json >document 2>/dev/null || code=$?
    [ "$code" -eq "$2" ] || fail "$1: doctor ended with $code, expected $2"
    python3 - "$3" <<'PYTHON' || fail "$1: $3 is not among the findings: $(cat document)"
import json, sys
wanted = sys.argv[1]
found = [f for f in json.load(open("document"))["findings"] if f["code"] == wanted]
sys.exit(0 if found and all(f["text"] and f["remedy"] for f in found) else 1)
PYTHON
}

# refused NAME TEXT: no command sets the library up; the message says why.
refused() {
    local code=0
    timeout 20 "$tool" --state host disks --json >document 2>errors || code=$?
    [ "$code" -eq 1 ] || fail "$1: disks ended with $code"
    grep -q '"code": "host_file_unusable"' document || fail "$1: $(cat document)"
    grep -q "$2" errors || fail "$1: $(cat errors)"
    code=0
    timeout 20 "$tool" --state host check >line 2>/dev/null || code=$?
    [ "$code" -eq 3 ] || fail "$1: check ended with $code"
    grep -q "^VESK UNKNOWN .*$2" line || fail "$1: $(cat line)"
}

# Lines without "=".
renew
sed -i 's/^Debug=.*/Debug/' $config
expect "Debug without a value" 1 ini_line_without_equals
refused "Debug without a value" "libVeskNVMeConfig.ini line [0-9]*: 'Debug' has no '='"
renew
sed -i 's/^pollingIntervalInSeconds=.*/pollingIntervalInSeconds/' $config
expect "interval without a value" 1 ini_line_without_equals
refused "interval without a value" "line [0-9]*: 'pollingIntervalInSeconds' has no '='"
renew
sed -i 's/^101=2101/101/' $mapping
expect "row without a value" 1 ini_line_without_equals
renew
sed -i 's/^SequenceNumber=.*/SequenceNumber/' $mapping
expect "mark without a value" 1 ini_line_without_equals

# Files that are none.
renew
rm $config && mkfifo $config
expect "pipe" 1 ini_unusable
refused "pipe" "it is a pipe or a device"
renew
ln -sf /dev/zero $mapping
expect "endless device" 1 ini_unusable
refused "endless device" "it is a pipe or a device"
renew
truncate -s 64M $mapping
expect "huge file" 1 mapping_unusable

# The mark.
for edit in 's/^SequenceNumber=.*/SequenceNumber=5\r/ mark_crlf' \
    's/^SequenceNumber=.*/SequenceNumber=\x20\x205/ mark_leading_blanks' \
    's/^SequenceNumber=/\x20SequenceNumber=/ mark_leading_blanks' \
    's/^SequenceNumber=.*/SequenceNumber=\x00\x005/ mark_nul_bytes' \
    's/^SequenceNumber=.*/SequenceNumber=4294967295/ mark_too_large'; do
    renew
    sed -i "${edit% *}" $mapping
    expect "$edit" 1 "${edit##* }"
done

# Where the files lie. The simulated host makes what is missing, unless its scenario leaves it out.
renew
sed -i 's/^\([0-9]\)/;\1/' $mapping
expect "rows commented out" 1 mapping_empty
cp $mapping usual
echo '{"host_files": {"alert_mapping_ini": false}}' >scenario.json
export VESKSIM_SCENARIO=$work/scenario.json
renew
expect "no mapping" 1 mapping_missing
mkdir -p $second && cp usual $second/libVeskNVMeAlertMapping.ini
expect "mapping in the other folder" 1 mapping_elsewhere
echo '{"host_files": {"config_ini": false, "alert_mapping_ini": false}}' >scenario.json
renew
expect "no INI file at all" 1 ini_none_found
printf '[Logging]\nDebug=Off\n' >libVeskNVMeConfig.ini
printf '[Adapter]\n1=2001\n[EventSequenceNumber]\nSequenceNumber=0\n' >libVeskNVMeAlertMapping.ini
expect "current folder" 0 ini_in_current_folder
