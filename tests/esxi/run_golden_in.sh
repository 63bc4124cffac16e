#!/usr/bin/env bash
# Runs the golden tests inside another system, with the programs and libraries in its folder /vesk.
#   run_golden_in.sh ROOT RELEASE_BUILD_FOLDER
# Needs root. The tests are those of the release build, with a script in the place of the program.
set -euo pipefail
root=$(cd "$1" && pwd -P)
release=$(cd "$2" && pwd)

golden=$(cd "$(dirname "$0")/../golden" && pwd -P)
work=$(mktemp -d -p "$root/tmp")
# The root's own path leads back to it from inside: so a file in its /tmp has one name on both sides,
# and so has a file beside the tests.
back=$root$root
mkdir -p "$(dirname "$back")" "$root$golden"
ln -sfn / "$back"
trap 'rm -rf "$work" "$root$golden"; rm -f "$back"' EXIT
cp "$golden"/* "$root$golden"
mkdir -p "$work/tests/golden"
cat >"$work/veskctl-sim" <<EOF
#!/bin/sh
case \$PWD in "$root"/*) here=\$PWD ;; *) here=/ ;; esac
exec chroot '$root' /usr/bin/env -C "\$here" LD_LIBRARY_PATH=/vesk /vesk/veskctl-sim "\$@"
EOF
chmod +x "$work/veskctl-sim"
sed "s|$release/bin/veskctl-sim|$work/veskctl-sim|g" "$release/tests/golden/CTestTestfile.cmake" \
    >"$work/tests/golden/CTestTestfile.cmake"

echo "The C library there: $(chroot "$root" ldd --version | head -n 1)"

# That there are things which do not run there: what was built for this machine.
cp "$release/lib/libVeskNvme.so" "$root/vesk/for-this-machine.so"
refusal=$(chroot "$root" /usr/bin/env LD_LIBRARY_PATH=/vesk \
    /vesk/veskctl --library /vesk/for-this-machine.so controller 2>&1 || true)
rm "$root/vesk/for-this-machine.so"
if ! grep -q 'GLIBC' <<<"$refusal"; then
    echo "run_golden_in: the release build was expected to be refused there, but: $refusal" >&2
    exit 1
fi

if ! TMPDIR=$root/tmp ctest --test-dir "$work/tests/golden" --output-on-failure --no-tests=error \
    >"$work/log" 2>&1; then
    cat "$work/log" >&2
    echo "run_golden_in: what ran there did not do what it does here; see above" >&2
    exit 1
fi
grep 'tests passed' "$work/log"
