#!/usr/bin/env bash
# Builds the library and the program a second time, in a copy of the tree in another folder and without
# a compiler cache, and compares them with those that stand in build/.
#   tests/esxi/check_same_bytes.sh HOST_BUILD_FOLDER UNWINDER
set -euo pipefail
cd "$(dirname "$0")/../.."
host=$(cd "$1" && pwd)
unwinder=$2
release=$PWD/build/release

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
copy=$work/another/folder/of/another/length
mkdir -p "$copy"
git ls-files -z --cached --others --exclude-standard | xargs -0 cp --parents -t "$copy"

export CCACHE_DISABLE=1
second() {
    local preset=$1
    shift
    if ! (cd "$copy" && cmake --preset "$preset" "$@" && cmake --build --preset "$preset" --target \
        "${targets[@]}") >"$work/log" 2>&1; then
        tail -n 30 "$work/log" >&2
        echo "check_same_bytes: the copy of the tree does not build; is a new file not yet in git?" >&2
        exit 1
    fi
}
targets=(VeskNvme vesk_capture veskctl)
second esxi -DVESK_ESXI_UNWINDER="$unwinder"
targets=(VeskNvme vesk_capture)
second release -DVESK_BUILD_TESTS=OFF

failed=0
compare() {
    if cmp -s "$1" "$2"; then
        echo "the same from two folders: ${1#"$PWD/"}"
    else
        echo "check_same_bytes: ${1#"$PWD/"} depends on the folder that it was built in." >&2
        echo "    Look for the folder's name with: strings FILE | grep build; for a run path with: readelf -d" >&2
        failed=1
    fi
}
for file in lib/libVeskNvme.so lib/libvesk-capture.so bin/veskctl; do
    compare "$host/$file" "$copy/build/esxi/$file"
done
for file in lib/libVeskNvme.so lib/libvesk-capture.so; do
    compare "$release/$file" "$copy/build/release/$file"
done
exit $failed
