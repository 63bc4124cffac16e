#!/usr/bin/env bash
# What is installed is all that a developer needs: programs in C and in C++, built outside the tree
# by the CMake package and by pkg-config, after the installed tree was moved to another folder.
#   consumers_test.sh BUILD CC CXX
set -euo pipefail
build=$1
export CC=$2 CXX=$3
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

run() {
    local said
    # The hypervisor's library is found when the program runs: here the simulated one.
    said=$(LD_LIBRARY_PATH="$libraries:$build/lib" "$@")
    if [ "$said" != "controllers: 0" ]; then
        echo "$1 said '$said'" >&2
        exit 1
    fi
}

cmake --install "$build" --prefix "$work/first" --component library >/dev/null
cmake --install "$build" --prefix "$work/first" --component development >/dev/null
if [ -e "$work/first/bin" ]; then
    echo "library and development install programs" >&2
    exit 1
fi
mv "$work/first" "$work/installed"
libraries=$(dirname "$(find "$work/installed" -name libVeskNvme.so)")

cmake -S "$here/consumer" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$work/installed" >/dev/null
cmake --build "$work/cmake" >/dev/null
run "$work/cmake/consumer_c"
run "$work/cmake/consumer_cpp"

command -v pkg-config >/dev/null || { echo "pkg-config is missing: skipped" >&2; exit 77; }
export PKG_CONFIG_PATH=$libraries/pkgconfig
read -ra flags <<<"$(pkg-config --cflags --libs vesknvme)"
"$CC" -std=c99 "$here/consumer/consumer.c" -o "$work/consumer_c" "${flags[@]}"
"$CXX" -std=c++17 "$here/consumer/consumer.cpp" -o "$work/consumer_cpp" "${flags[@]}"
run "$work/consumer_c"
run "$work/consumer_cpp"
