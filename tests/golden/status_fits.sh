#!/usr/bin/env bash
# `status` of every scenario keeps to a dozen lines of 80 columns. Where there are 50 columns only it
# takes more lines.
#   status_fits.sh VESKCTL_SIM SCENARIO_FOLDER
set -euo pipefail
tool=$1
scenarios=$2
for file in "$scenarios"/*.json; do
    name=$(basename "$file" .json)
    [ "$name" != scenario.schema ] || continue
    for screen in "80 12" "50 30"; do
        read -r columns most <<<"$screen"
        text=$(COLUMNS=$columns LC_ALL=C.UTF-8 "$tool" --scenario "$name" status 2>/dev/null || true)
        lines=$(wc -l <<<"$text")
        longest=$(LC_ALL=C.UTF-8 wc -L <<<"$text")
        if [ "$lines" -gt "$most" ] || [ "$longest" -gt "$columns" ] || ! grep -q Verdict <<<"$text"; then
            echo "status of $name: $lines lines, $longest columns of $columns" >&2
            echo "$text" >&2
            exit 1
        fi
    done
done
