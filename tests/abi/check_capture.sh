#!/usr/bin/env bash
# Looks at the capture library from outside: it exports what is committed (exports_capture.txt), and goes
# out of the host that loaded it, also when it has begun to record.
#   tests/abi/check_capture.sh UNLOAD_HOST PLATFORM_LIBRARY CAPTURE_LIBRARY
set -euo pipefail
export LC_ALL=C
folder=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
if ! diff -u "$folder/exports_capture.txt" <(nm -D --defined-only "$3" | awk '{ print $3 }' | sort) >&2; then
    echo "check_capture: the capture library exports other names than tests/abi/exports_capture.txt says;" >&2
    echo "    see tools/capture/exports.map" >&2
    exit 1
fi
VESK_CAPTURE=$work/capture "$1" "$2" "$3" capture
if [ ! -s "$work/capture" ]; then
    echo "check_capture: nothing was recorded" >&2
    exit 1
fi
