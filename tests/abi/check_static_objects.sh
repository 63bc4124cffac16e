#!/usr/bin/env bash
# One source of the library builds all static objects at load, so that their order, and the reverse
# one at unload, stands in one place. Names the sources that have an initialiser of their own.
#   check_static_objects.sh LIBRARY
set -euo pipefail
# The symbols of a source follow its FILE symbol; gcc names the initialiser after a symbol of it.
sources=$(readelf -sW "$1" |
    awk '$4 == "FILE" { file = $8 } $8 ~ /^_GLOBAL__(sub_)?I_/ { print file " (" $8 ")" }')
if [ -z "$sources" ]; then
    echo "check_static_objects: no static initialiser found; is the library stripped?" >&2
    exit 1
fi
others=$(grep -v '^load_order\.cpp ' <<<"$sources" || true)
if [ -n "$others" ] || [ "$(wc -l <<<"$sources")" -ne 1 ]; then
    echo "check_static_objects: static objects outside of load_order.cpp, or twice in it:" >&2
    echo "$sources" >&2
    exit 1
fi
