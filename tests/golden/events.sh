#!/usr/bin/env bash
# The mark of delivered events, as a user meets it.
#   events.sh VESKCTL_SIM VESKCTL
set -euo pipefail
tool=$1
program=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() {
    echo "events: $*" >&2
    exit 1
}
state=$work/state
ini=$state/opt/orvo/kelpdesk/etc/kelpdesk-storage/libVeskNVMeAlertMapping.ini
export TMPDIR=$work

# Looking does not move the mark, taking does.
sim() {
    "$tool" --state "$state" "$@"
}
for _ in 1 2; do
    [ "$(sim events --peek -o ndjson | wc -l)" -eq 4 ] || fail "--peek does not show all"
done
grep -q '^SequenceNumber=0$' "$ini" || fail "--peek moved the mark"
sim events --wait 0 --peek >"$work/out"
grep -Eq 'not looked|#4' "$work/out" || fail "--wait 0: $(cat "$work/out")"
[ "$(sim events --severity warning 2>"$work/err" | grep -c '#' || true)" -eq 0 ] ||
    fail "--severity shows too much"
grep -q '4 more that were not asked for' "$work/err" || fail "--severity is silent about the rest"
grep -q '^SequenceNumber=4$' "$ini" || fail "the mark is not 4"
sim events | grep -q 'There are no new events' || fail "events come twice"
[ "$(sim events --since 2026-09-21T14:13:23Z -o ndjson | wc -l)" -eq 1 ] || fail "--since"
sim events --json | grep -q '"mark": 4' || fail "the document does not name the mark"

# What cannot be written is not marked as delivered.
sim mark set 2 >/dev/null 2>&1
if sim events >/dev/full 2>"$work/err"; then fail "a full disk is no failure"; fi
grep -q '^SequenceNumber=2$' "$ini" || fail "events that were not written are marked as delivered"
if sim events >&- 2>"$work/err"; then fail "a closed output is no failure"; fi
grep -q '^SequenceNumber=2$' "$ini" || fail "events that went nowhere are marked as delivered"

# A mark that cannot be stored is told, and nothing is lost.
printf '; kept\r\n[EventSequenceNumber]\r\nSequenceNumber=2\r\n' >"$work/crlf"
{ tr -d '\r' <"$ini" | sed '/EventSequence/,$d' | sed 's/$/\r/'; cat "$work/crlf"; } >"$work/new"
cp "$work/new" "$ini"
if sim events >"$work/out" 2>"$work/err"; then fail "CRLF behind the mark is no failure"; fi
grep -q '#4' "$work/out" || fail "CRLF hides events"
grep -q 'mark set 2' "$work/err" || fail "no remedy for CRLF: $(cat "$work/err")"
cmp -s "$work/new" "$ini" || fail "the file was changed"
sim mark show | grep -q 'carriage return' || fail "mark show does not name CRLF"
sim mark set 2 >/dev/null 2>&1 || fail "mark set"
cmp -s "$work/new" "$ini.bak" || fail "no backup"
[ "$(grep -c $'\r' "$ini")" -eq $(($(grep -c $'\r' "$work/new") - 1)) ] || fail "line ends changed"
[ "$(sim events -o ndjson | wc -l)" -eq 2 ] || fail "events behind a mark that was mended"
if sim mark set 2147483648 >/dev/null 2>&1; then fail "a mark that is too large"; fi
if sim mark set >/dev/null 2>&1; then fail "mark set without a number"; fi

# Numbers that the controller overwrote, or that began anew.
busy=$work/busy
"$tool" --scenario busy-log --state "$busy" events --all -o ndjson >"$work/out"
[ "$(wc -l <"$work/out")" -gt 600 ] || fail "--all stops early"
"$tool" --scenario busy-log --state "$busy" events | grep -q 'no new events' || fail "--all leaves some"
"$tool" --scenario busy-log --state "$busy" mark set 3 >/dev/null 2>&1
"$tool" --scenario busy-log --state "$busy" events --peek --json >"$work/out"
grep -q '"missing": 158' "$work/out" || fail "no gap in the document"
"$tool" --scenario busy-log --state "$busy" events | head -3 |
    grep -q '^! 158 numbers missing between 3 and 162' || fail "the gap is not named"
"$tool" --scenario busy-log --state "$busy" mark set 5000 >/dev/null 2>&1
if "$tool" --scenario busy-log --state "$busy" events --wait 1 --json >"$work/out" 2>/dev/null; then
    fail "a mark above everything is no finding"
fi
grep -q event_numbers_began_anew "$work/out" || fail "a mark above everything has no code"

# Several at once take each event once, and a killed one loses none.
storm=$work/storm
"$tool" --scenario busy-log --state "$storm" mark set 900 >/dev/null 2>&1
for number in 1 2 3; do
    "$tool" --scenario busy-log --state "$storm" events -o ndjson >"$work/part.$number" 2>/dev/null &
done
wait
[ -z "$(sort "$work"/part.* | uniq -d)" ] || fail "an event was delivered twice"
"$tool" --scenario busy-log --state "$storm" mark set 900 >/dev/null 2>&1
expected=$("$tool" --scenario busy-log --state "$storm" events --peek -o ndjson | wc -l)
for delay in 0 0.01 0.03; do
    for option in --peek --all; do
        "$tool" --scenario busy-log --state "$storm" events "$option" -o ndjson >"$work/killed" 2>/dev/null &
        sleep "$delay"
        kill -KILL $! 2>/dev/null || true
        wait $! 2>/dev/null || true
        got=$("$tool" --scenario busy-log --state "$storm" events --peek -o ndjson | wc -l)
        [ "$got" -eq "$expected" ] || [ "$(wc -l <"$work/killed")" -ge "$expected" ] ||
            fail "$option killed after $delay s: $got events of $expected are left"
        "$tool" --scenario busy-log --state "$storm" mark set 900 >/dev/null 2>&1
    done
done
for _ in $(seq 2000); do
    [ -z "$(find "$work" -name 'veskctl-mapping-*')" ] && break
    sleep 0.01
done
[ -z "$(find "$work" -name 'veskctl-mapping-*')" ] || fail "copies of the mapping stay behind"

# --follow prints at once, whatever the interval, and goes on from the mark.
coproc FOLLOW {
    exec "$tool" --state "$work/follow" events --follow --interval 600 -o ndjson 2>"$work/err"
}
follower=$FOLLOW_PID
read -r -t 5 event <&"${FOLLOW[0]}" || fail "--follow prints nothing at first"
grep -q '"sequence":1,' <<<"$event" || fail "--follow begins with $event"
kill -HUP "$follower"
wait "$follower" || fail "--follow ended with $? on SIGHUP"

# A silent controller is no "no new events".
if "$tool" --scenario commands-fail events >"$work/out" 2>"$work/err"; then
    fail "a silent controller is no failure"
fi
grep -q 'did not answer' "$work/err" || fail "a silent controller: $(cat "$work/err")"
grep -q 'no new events' "$work/out" && fail "a silent controller has no new events"

# The program for real hosts leaves the mark alone by itself: it is given the library's third place,
# the current folder, and the simulated management library of the build tree.
mkdir "$work/here"
cp "$(dirname "$ini")"/*.ini "$work/here"
cd "$work/here"
"$program" mark set 0 >/dev/null 2>&1
"$program" events --peek -o ndjson >"$work/out" 2>"$work/err" || true
[ "$(wc -l <"$work/out")" -eq 4 ] || fail "veskctl events --peek: $(cat "$work/out" "$work/err")"
grep -q '^SequenceNumber=0' libVeskNVMeAlertMapping.ini || fail "veskctl events --peek moved the mark"
