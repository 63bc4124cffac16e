#!/usr/bin/env bash
# The manual page: sound in the eyes of mandoc, complete, and the same bytes each time.
#   manual_test.sh PROGRAM PAGE.gz
set -euo pipefail
program=$1
page=$2

if ! command -v mandoc >/dev/null; then
    echo "skipped: mandoc is not installed"
    exit 77
fi
# All but which system it is for: that is whichever it is read on.
"$program" man | mandoc -Tlint -W style
"$program" man | gzip -9n | cmp - "$page"

text=$("$program" man | mandoc -Tutf8 -Owidth=80 | sed 's/.\x08//g')
for word in NAME SYNOPSIS 'disks show ID' '--output' 'EXIT STATUS' 'there is no controller'; do
    if ! grep -qF -- "$word" <<<"$text"; then
        echo "the page does not say '$word'"
        exit 1
    fi
done
echo "the page is sound"
