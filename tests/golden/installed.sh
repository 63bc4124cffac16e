#!/usr/bin/env bash
# What was installed, wherever to: the program finds the library beside it, whatever the
# environment says, and says whose host it shows.
#   installed.sh BUILD_FOLDER
set -euo pipefail
build=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() {
    echo "installed: $*" >&2
    exit 1
}
cmake --install "$build" --prefix "$work/prefix" >"$work/log" || fail "$(cat "$work/log")"
mkdir "$work/host"
cp -L "$build/lib/libvmkmgmt.so" "$work/host"
cd "$work"
LD_LIBRARY_PATH=$work/host "$work/prefix/bin/veskctl" version --json >"$work/out"
grep -q "\"library_path\": \"$work/prefix/" "$work/out" || fail "$(cat "$work/out")"
grep -q '"simulated": true' "$work/out" || fail "the simulated host is not named"
LD_LIBRARY_PATH=$work/host "$work/prefix/bin/veskctl" version | head -1 |
    grep -qx 'SIMULATED HOST' || fail "the simulated host is not named in front"

# The installed ones name no folder but their own package's.
for file in "$work/prefix"/lib*/libVeskNvme.so "$work/prefix"/lib*/*/libVeskNvme.so; do
    [ ! -e "$file" ] || ! readelf -d "$file" | grep -E 'R(UN)?PATH' || fail "$file has a run path"
done
! readelf -d "$work/prefix/bin/veskctl" | grep -E 'R(UN)?PATH.*(::|\[:|:\])' ||
    fail "the run path of veskctl has an empty element"
mkfifo "$work/pipe"
(cd "$work" && timeout 20 "$work/prefix/bin/veskctl" --library pipe version >"$work/out") ||
    fail "a name without a slash is looked for in the current folder"
