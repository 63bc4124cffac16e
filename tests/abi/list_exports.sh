#!/usr/bin/env bash
# Lists what a host can reach in the library: mangled name, then the readable one. Instances of
# standard templates, which differ from compiler to compiler, are weak and left out; the library's own
# template instances are weak too and stay in.
set -euo pipefail
export LC_ALL=C
nm -D --defined-only "$1" |
    awk '$2 ~ /^[TDBR]$/ || ($2 == "W" && $3 ~ /^_ZN3stg7CLoggerlsI(i|t|PKc|NSt7__cxx1112basic_string)/) { print $3 }' |
    sort -u | while read -r symbol; do
        printf '%s\t%s\n' "$symbol" "$(c++filt "$symbol")"
    done
