#!/usr/bin/env bash
# Looks at the dynamic section and the hardening of the built library.
#   check_linkage.sh LIBRARY BUILD_FOLDER
set -euo pipefail
library=$1
build=$2
failed=0
fail() {
    echo "check_linkage: $*" >&2
    failed=1
}

dynamic=$(readelf -dW "$library")
headers=$(readelf -lW "$library")
grep -q 'SONAME.*\[libVeskNvme\.so\]' <<<"$dynamic" || fail "soname is not libVeskNvme.so"
grep -q 'NEEDED.*\[libvmkmgmt\.so\]' <<<"$dynamic" || fail "libvmkmgmt.so is not needed"
others=$(grep NEEDED <<<"$dynamic" |
    grep -vE '\[(libvmkmgmt|libstdc\+\+|libgcc_s|libm|libc|ld-linux[^]]*)\.so[^]]*\]' || true)
[ -z "$others" ] || fail "needs more than the standard libraries: $others"
copies=$(find "$build" -name 'libVeskNvme.so*' | wc -l)
[ "$copies" -eq 1 ] || fail "$copies files are called libVeskNvme.so"

grep -qE 'FLAGS.*(BIND_)?NOW' <<<"$dynamic" || fail "symbols are bound lazily"
grep -q GNU_RELRO <<<"$headers" || fail "no RELRO"
grep GNU_STACK <<<"$headers" | grep -q 'RW ' || fail "no GNU_STACK header"
grep GNU_STACK <<<"$headers" | grep -q 'RWE' && fail "the stack is executable"
symbols=$(nm -D --undefined-only "$library")
grep -q __stack_chk_fail <<<"$symbols" || fail "no stack protector"

# What is installed carries no run path.
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
DESTDIR=$folder cmake --install "$build" --prefix /usr >/dev/null
installed=$(find "$folder" -name libVeskNvme.so)
[ -n "$installed" ] || fail "nothing is installed"
readelf -dW "$installed" | grep -E 'R(UN)?PATH' && fail "the installed library has a run path"
# The programs find what is installed beside them, and nothing by way of the build tree.
for program in "$folder"/usr/bin/*; do
    ! readelf -dW "$program" | grep -E 'R(UN)?PATH' | grep -F "$build" ||
        fail "$program has a run path into the build tree"
done
find "$folder" -name 'libvmkmgmt*' | grep -v /veskctl-sim/ &&
    fail "the simulated platform library is installed where loaders find it"
find "$folder" -name VeskNvme.h | grep -q . || fail "the header is not installed"
exit $failed
