#!/usr/bin/env bash
# Looks at what was built for the host: what it asks of it, what it exports, how it is hardened.
#   tests/esxi/check_target.sh [--update] BUILD_FOLDER UNWINDER
# With --update it rewrites the committed lists of undefined symbols (tests/esxi/undefined).
set -euo pipefail
export LC_ALL=C
update=0
if [ "$1" = --update ]; then
    update=1
    shift
fi
build=$(cd "$1" && pwd)
unwinder=$2
here=$(cd "$(dirname "$0")" && pwd)
newest=2.17
files=(lib/libVeskNvme.so lib/libvesk-capture.so bin/veskctl)
libraries='libc\.so\.6|libm\.so\.6|libpthread\.so\.0|libdl\.so\.2|ld-linux-x86-64\.so\.2'
[ "$unwinder" = host ] && libraries+='|libgcc_s\.so\.1'

failed=0
fail() {
    echo "check_target: $*" >&2
    failed=1
}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

for file in "${files[@]}"; do
    path=$build/$file
    name=${file##*/}
    dynamic=$(readelf -dW "$path")
    headers=$(readelf -lW "$path")

    # What it asks of the host: libraries, versions, symbols.
    allowed=$libraries
    # The capture library loads the platform's itself: as a dependency it would come in front of it.
    [ "$name" != libVeskNvme.so ] || allowed+='|libvmkmgmt\.so'
    others=$(grep NEEDED <<<"$dynamic" | grep -vE "\[($allowed)\]" || true)
    [ -z "$others" ] || fail "$file needs a library that hosts may not have: $others
    Link it in (cmake/esxi/esxi.cmake), or do without it."

    # Name and version of each; weak ones are marked, as they may be missing. What a program takes a
    # copy of (stdout) counts as defined and has a version.
    undefined=$(objdump -T "$path" | awk 'NF > 4 {
        version = $(NF - 1)
        gsub(/[()]/, "", version)
        if (version !~ /^[A-Z]+_[0-9.]+$/) version = ""
        if ((/\*UND\*/ || version) && $NF !~ /^vmk_/)
            print $NF (version ? " " version : "") ($2 == "w" ? " weak" : "") }' | sort)
    highest=$(grep -oE 'GLIBC_[0-9.]+' <<<"$undefined" | sed 's/.*_//' | sort -uV | tail -1)
    [ "$(printf '%s\n' "$highest" "$newest" | sort -V | tail -1)" = "$newest" ] ||
        fail "$file needs GLIBC_$highest, hosts have $newest:
$(grep -F "GLIBC_$highest" <<<"$undefined")
    Supply these in cmake/esxi/old_libc.c, or do without them."
    echo "$file: $(stat -c %s "$path") bytes, highest version GLIBC_$highest"

    list=$here/undefined/$name.$unwinder.txt
    if [ $update -eq 1 ]; then
        echo "$undefined" >"$list"
    elif ! diff -u "$list" <(echo "$undefined") >&2; then
        fail "$file asks the host for other symbols than before. Is each one in glibc 2.17 of the host
    (see docs/host-build.md)? Then: tests/esxi/check_target.sh --update $1 $unwinder"
    fi

    # How it was linked.
    ! grep -E 'R(UN)?PATH' <<<"$dynamic" || fail "$file has a run path; keep CMAKE_SKIP_RPATH on"
    grep -qE 'FLAGS.*NOW' <<<"$dynamic" || fail "$file binds symbols lazily; link with -z now"
    grep -q GNU_RELRO <<<"$headers" || fail "$file has no RELRO; link with -z relro"
    [ "$name" != veskctl ] || grep -qE 'FLAGS_1.*PIE' <<<"$dynamic" ||
        fail "$file is loaded at a fixed address; compile with -fPIE and link with -pie"
    grep GNU_STACK <<<"$headers" | grep -q 'RW ' ||
        fail "$file has an executable stack, or does not say; link with -z noexecstack"
    grep -q '^__stack_chk_fail ' <<<"$undefined" ||
        fail "$file has no stack protector; compile with -fstack-protector-strong"
    [ -z "$(nm "$path" 2>/dev/null)" ] || fail "$file is not stripped; link with -s"
done

"$here/../abi/check_exports.sh" "$build/lib/libVeskNvme.so" ||
    fail "libVeskNvme.so does not export what the release build does; see tests/abi"

# Not by the symbols: where each copy is known to fit, none of the checked calls is left.
commands=$(grep '"command".*/\(src\|tools\)/.*\.cpp' "$build/compile_commands.json")
unchecked=$(grep -v -e -D_FORTIFY_SOURCE=2 <<<"$commands" || true)
[ -z "$unchecked" ] || fail "compile with -D_FORTIFY_SOURCE=2: $unchecked"

# In C, as a C++ runtime that the host has would not let the library go either way.
cc -o "$work/unload_host" "$here/../abi/unload_host.c" -ldl
"$work/unload_host" "$build/stubs/libvmkmgmt.so" "$build/lib/libVeskNvme.so" ||
    fail "libVeskNvme.so cannot be loaded and unloaded; a unique symbol (nm -D | grep ' u ') keeps it"
"$here/../abi/check_capture.sh" "$work/unload_host" "$build/stubs/libvmkmgmt.so" \
    "$build/lib/libvesk-capture.so" ||
    fail "libvesk-capture.so exports other names than the release build, or cannot be unloaded"
exit $failed
