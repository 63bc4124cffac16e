#!/usr/bin/env bash
# Compares the output of a command with a committed text and shows the difference.
#   compare_output.sh EXPECTED COMMAND...
# With VESK_UPDATE=1 it replaces the committed text instead; read the difference before you commit it.
set -euo pipefail
expected=$1
shift
actual=$(mktemp)
trap 'rm -f "$actual"' EXIT
"$@" >"$actual"
if [ "${VESK_UPDATE:-}" = 1 ]; then
    cat "$actual" >"$expected"
    exit 0
fi
diff -u "$expected" "$actual"
