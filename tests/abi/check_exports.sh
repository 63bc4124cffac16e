#!/usr/bin/env bash
# Compares what the built library exports with the two committed lists: exports.txt is what hosts may
# rely on, exports_own.txt holds names of our own that stand there only because nothing is hidden.
#   tests/abi/check_exports.sh [--update] build/release/lib/libVeskNvme.so
# With --update it rewrites the second list: all that is exported and not promised. A promise is
# taken back or added by hand, in exports.txt.
set -euo pipefail
export LC_ALL=C
update=0
if [ "$1" = --update ]; then
    update=1
    shift
fi
folder=$(cd "$(dirname "$0")" && pwd)
promises=$folder/exports.txt
own=$folder/exports_own.txt

# Mangled name, then the readable one. Left out is what compilers do differently: instances of
# standard templates, type information, and constructors that make a complete object of an abstract
# class. The library's own template instances are weak symbols and stay in.
exported=$(nm -D --defined-only "$1" |
    awk '$2 ~ /^[TDBR]$/ || ($2 == "W" && $3 ~ /^_ZN3stg7CLoggerlsI(i|t|PKc|NSt7__cxx1112basic_string)/) { print $3 }' |
    grep -vE '^_ZT[ISV]|^_ZN(15ICommandBuilder|16IZNVDeviceTalker|8IBuilder)C1Ev$' |
    sort -u | while read -r symbol; do
        printf '%s\t%s\n' "$symbol" "$(c++filt "$symbol")"
    done)
promised=$(grep -v '^#' "$promises" | sort)
failed=0

# The heading above a line of exports.txt says what kind of promise it is.
broken=$(comm -23 <(echo "$promised") <(echo "$exported"))
while IFS=$'\t' read -r symbol readable; do
    [ -n "$symbol" ] || continue
    kind=$(awk -F '\t' -v symbol="$symbol" '/^#/ { kind = substr($0, 3) } $1 == symbol { print kind }' \
        "$promises")
    echo "check_exports: promised and gone: $kind: $readable" >&2
    failed=1
done <<<"$broken"

rest=$(comm -13 <(echo "$promised") <(echo "$exported"))
if [ $update -eq 1 ]; then
    echo "$rest" >"$own"
elif ! diff -u "$own" <(echo "$rest") >&2; then
    echo "check_exports: names of our own came or went; see --update" >&2
    failed=1
fi
exit $failed
