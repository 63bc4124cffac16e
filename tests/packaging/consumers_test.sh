#!/usr/bin/env bash
# What is installed is all that a developer needs: programs in C and in C++, built outside the tree
# by the CMake package and by pkg-config, after the installed tree was moved to another folder, and
# run on the installed simulated host.
#   consumers_test.sh BUILD CC CXX
set -euo pipefail
build=$1
export CC=$2 CXX=$3
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
    echo "consumers: $*" >&2
    exit 1
}

run() {
    local said
    said=$(LD_LIBRARY_PATH=$libraries LD_PRELOAD=$libraries/veskctl-sim/libvesk-simhost.so \
        VESKSIM_FOLDER=$work/host VESKSIM_SECOND_MS=1 "$1") || fail "$1 ends with $?, and said '$said'"
    grep -q "^$2" <<<"$said" || fail "$1 said '$said'"
}

for component in library development; do
    cmake --install "$build" --prefix "$work/first" --component $component >/dev/null
done
[ ! -e "$work/first/bin" ] || fail "library and development install programs"
cmake --install "$build" --prefix "$work/first" --component simulation >/dev/null
mv "$work/first" "$work/installed"
libraries=$(dirname "$(find "$work/installed" -name libVeskNvme.so)")

documents=$work/installed/share/doc/libvesknvme-dev
if command -v python3 >/dev/null; then
    "$here/dead_links.py" "$documents/docs" || fail "links of installed documents lead to nothing"
fi

cmake -S "$here/consumer" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$work/installed" >/dev/null
cmake --build "$work/cmake" >/dev/null
run "$work/cmake/consumer_c" "controllers: 1"
run "$work/cmake/consumer_cpp" "controllers: 1"

command -v pkg-config >/dev/null || { echo "pkg-config is missing: skipped" >&2; exit 77; }
export PKG_CONFIG_PATH=$libraries/pkgconfig
read -ra flags <<<"$(pkg-config --cflags --libs vesknvme)"
"$CC" -std=c99 "$here/consumer/consumer.c" -o "$work/consumer_c" "${flags[@]}"
"$CXX" -std=c++17 "$here/consumer/consumer.cpp" -o "$work/consumer_cpp" "${flags[@]}"
"$CC" -std=c99 "$documents/examples/inventory.c" -o "$work/inventory" "${flags[@]}"
run "$work/consumer_c" "controllers: 1"
run "$work/consumer_cpp" "controllers: 1"
run "$work/inventory" "disk 0: VESK M2 480G, serial number VD00480A000170"
