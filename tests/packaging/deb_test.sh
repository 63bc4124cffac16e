#!/usr/bin/env bash
# Packs this build into Debian packages, twice: the same bytes, and each has what it is for.
# scripts/check-packages builds them anew for /usr, and installs and runs them.
#   deb_test.sh BUILD
set -euo pipefail
build=$1
for program in cpack dpkg-deb dpkg-shlibdeps; do
    command -v $program >/dev/null || { echo "skipped: $program is not installed"; exit 77; }
done
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() {
    echo "deb: $*" >&2
    exit 1
}

export SOURCE_DATE_EPOCH=1790000000
for folder in first second; do
    cpack --config "$build/CPackConfig.cmake" -D CPACK_DEBIAN_COMPRESSION_TYPE=gzip -B "$work/$folder" >"$work/log" 2>&1 || fail "$(cat "$work/log")"
done
while read -r package files; do
    path=$(echo "$work/first/${package}"_*.deb)
    cmp "$path" "$work/second/${path##*/}" || fail "$package has other bytes the second time"
    dpkg-deb --contents "$path" >"$work/contents"
    for file in $files; do
        grep -q "/$file\$" "$work/contents" || fail "$package has no $file"
    done
done <<'END'
libvesknvme0 libVeskNvme.so doc/libvesknvme0/examples/libVeskNVMeAlertMapping.ini man7/vesk-events.7.gz
libvesknvme-dev VeskNvme.h vesknvme.pc VeskNvmeConfig.cmake examples/inventory.c docs/host-guide.md
veskctl bin/veskctl libvesk-capture.so schemas/disks.schema.json man1/veskctl.1.gz
veskctl-sim bin/veskctl-sim veskctl-sim/libvmkmgmt.so veskctl-sim/libvesk-simhost.so scenarios/healthy.json
END
dpkg-deb --field "$work"/first/veskctl-sim_*.deb Depends | grep -q 'veskctl (>= ' ||
    fail "veskctl-sim does not ask for veskctl, which has the capture library and the schemas"
