#!/usr/bin/env bash
# The manual pages of docs/man: sound in the eyes of mandoc; that of the interface has each function of
# the header as it is declared there.
#   man_pages_test.sh SOURCE_FOLDER
set -euo pipefail
cd "$1"

if ! command -v mandoc >/dev/null; then
    echo "skipped: mandoc is not installed"
    exit 77
fi
for page in docs/man/*.[357]; do
    # Pages that it refers to are found only where the packages are installed.
    said=$(mandoc -Tlint -W style "$page" | grep -v 'referenced manual not found' || true)
    [ -z "$said" ] || { echo "$said"; exit 1; }
    grep -qix "\.Dt $(basename "${page%.*}") ${page##*.}" "$page" ||
        { echo "$page names itself otherwise"; exit 1; }
done

# "UCHAR_ ZT_Adapter_GetInfo(UCHAR_ adapterId, ...)", blanks made alike.
declared=$(tr '\n' ' ' <include/VeskNvme.h | tr -s ' ' |
    grep -oE '(UCHAR_|VOID_) Z(T|NV)_[A-Za-z_]+\([^)]*\);' | sed 's/VOID_/void/g' | sort)
told=$(awk '/^\.Ft/ { type = $2 }
    /^\.Fn Z/ && type { line = $0; sub(/^\.Fn /, "", line); name = line; sub(/ .*/, "", name)
        sub(/^[^ ]* "/, "", line); sub(/"$/, "", line); gsub(/" "/, ", ", line)
        print type " " name "(" line ");"; type = "" }' docs/man/libvesknvme.3 | sort)
diff <(echo "$declared") <(echo "$told")
[ "$(wc -l <<<"$declared")" -eq 17 ] || { echo "not seventeen functions: $declared"; exit 1; }
pages=(docs/man/*.[357])
echo "${#pages[@]} pages are sound"
