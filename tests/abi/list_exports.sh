#!/usr/bin/env bash
# Lists what a host can reach in the library: mangled name, then the readable one. Left out is what
# compilers do differently: instances of standard templates, type information, and constructors that
# make a complete object of an abstract class. The library's own template instances are weak symbols
# and stay in.
set -euo pipefail
export LC_ALL=C
nm -D --defined-only "$1" |
    awk '$2 ~ /^[TDBR]$/ || ($2 == "W" && $3 ~ /^_ZN3stg7CLoggerlsI(i|t|PKc|NSt7__cxx1112basic_string)/) { print $3 }' |
    grep -vE '^_ZT[ISV]|^_ZN(15ICommandBuilder|16IZNVDeviceTalker|8IBuilder)C1Ev$' |
    sort -u | while read -r symbol; do
        printf '%s\t%s\n' "$symbol" "$(c++filt "$symbol")"
    done
