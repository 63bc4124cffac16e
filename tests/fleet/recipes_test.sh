#!/usr/bin/env bash
# The recipes of packaging/fleet, without a daemon.
#   recipes_test.sh alerts|central|document|playbook|scripts|spread|units
#   recipes_test.sh expressions|sender VESKCTL_SIM
set -euo pipefail
recipes=$(cd "$(dirname "$0")/../.." && pwd)/packaging/fleet
simulator=${2:-}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
    echo "recipes_test: $*" >&2
    exit 1
}

need() {
    if ! command -v "$1" >/dev/null; then
        echo "$1 is missing; the package $2 has it"
        exit 77
    fi
}

case $1 in
    alerts)
        need promtool prometheus
        promtool test rules "$recipes/metrics/vesk-alerts-test.yml"
        # Every alert has a test.
        sed -n 's/^ *- alert: //p' "$recipes/metrics/vesk-alerts.yml" | while read -r alert; do
            grep -q "alertname: $alert$" "$recipes/metrics/vesk-alerts-test.yml" ||
                fail "$alert has no test"
        done
        ;;
    expressions)
        need promtool prometheus
        python3 -B - "$recipes/metrics/vesk-dashboard.json" >"$work/dashboard.yml" <<'PYTHON'
import json
import re
import sys
rules = [{"record": re.sub(r"\W", "_", panel["title"]) + "_" + target["refId"],
          "expr": target["expr"].replace("$instance", ".*")}
         for panel in json.load(open(sys.argv[1]))["panels"] for target in panel["targets"]]
print(json.dumps({"groups": [{"name": "dashboard", "rules": rules}]}))
PYTHON
        promtool check rules "$work/dashboard.yml" "$recipes/metrics/vesk-alerts.yml"
        # A file that nobody writes any more is old, though it is scraped.
        cat >"$work/age.yml" <<'YAML'
rule_files: [dashboard.yml]
tests:
  - interval: 1m
    input_series:
      - {series: 'vesk_up{instance="a"}', values: '1x40'}
      - {series: 'node_textfile_mtime_seconds{instance="a",file="/prom/vesk.prom"}', values: '600x40'}
    promql_expr_test:
      - {expr: Oldest_metrics_A, eval_time: 30m, exp_samples: [{labels: Oldest_metrics_A, value: 1200}]}
YAML
        promtool test rules "$work/age.yml"
        for scenario in worn degraded; do
            "$simulator" --scenario "$scenario" metrics 2>/dev/null
        done | sed -n 's/^\(vesk_[a-z_]*\).*/\1/p' | sort -u >"$work/there"
        # In the rules also the texts have names of metrics, but none that is not there.
        grep -oh 'vesk_[a-z_]*' "$work/dashboard.yml" <(grep -v alert: "$recipes/metrics/vesk-alerts.yml") |
            sort -u >"$work/asked"
        missing=$(comm -23 "$work/asked" "$work/there")
        [ -z "$missing" ] || fail "no metrics of veskctl: $missing"
        ;;
    playbook)
        need ansible-playbook ansible-core
        cd "$recipes/collect"
        ANSIBLE_LOCAL_TEMP=$work ansible-playbook --syntax-check -i hosts.yml vesk-fleet.yml
        ;;
    central)
        need rsyslogd rsyslog
        # A container may not raise its limits.
        grep -v MaxOpenFiles "$recipes/events/vesk-central.conf" >"$work/central.conf"
        said=$(rsyslogd -N1 -f "$work/central.conf" 2>&1) || fail "$said"
        ;;
    document)
        # What its reader is to copy is there; in each command the last word is where to.
        sed -nE 's/^    (cp|install( -D -m [0-7]+)?) (.*) [^ ]*$/\3/p' "$recipes/../../docs/fleet.md" |
            tr ' ' '\n' >"$work/copied"
        [ "$(wc -l <"$work/copied")" -gt 10 ] || fail "docs/fleet.md has nothing copied"
        while read -r name; do
            compgen -G "$recipes/*/$name" >/dev/null || fail "docs/fleet.md: there is no $name"
        done <"$work/copied"
        ;;
    sender)
        export LOGGER_CODE=0
        # Ends with what veskctl ended with, though a pipe would end with the code of logger.
        printf '#!/bin/sh\ncat >>%s\nexit \044LOGGER_CODE\n' "$work/sent" >"$work/logger"
        chmod +x "$work/logger"
        export PATH=$work:$PATH
        send() {
            code=0
            "$recipes/events/vesk-events" again logs.example 514 "$@" 2>/dev/null || code=$?
        }
        while read -r scenario wanted; do
            send "$simulator" --scenario "$scenario"
            [ "$code" -eq "$wanted" ] || fail "$scenario: the code is $code, not $wanted"
        done <<'TABLE'
healthy 0
commands-fail 1
no-controller 3
TABLE
        [ "$(wc -l <"$work/sent")" -eq 4 ] || fail "not four events were sent"
        send veskctl-that-is-not-there
        [ "$code" -eq 127 ] || fail "without veskctl the code is $code"
        LOGGER_CODE=5 send "$simulator"
        [ "$code" -eq 5 ] || fail "when logger fails the code is $code"
        ;;
    spread)
        need busybox busybox
        mkdir "$work/bin"
        for tool in cut md5sum mktemp rm; do
            ln -s "$(command -v busybox)" "$work/bin/$tool"
        done
        echo "echo \$NAME" >"$work/bin/hostname"
        echo "echo \$1" >"$work/bin/sleep"
        chmod +x "$work/bin/"*
        # With a veskctl that says nothing, so that nothing is pushed.
        wait_of() {
            NAME=$1 PATH=$work/bin "$busybox" sh "$recipes/metrics/vesk-push" -s 50 http://none true || true
        }
        busybox=$(command -v busybox)
        for number in $(seq 100); do
            wait_of "esx$number.example"
        done >"$work/waits"
        awk '$1 !~ /^[0-9]+$/ || $1 > 49 { exit 1 }' "$work/waits" || fail "not all wait 0 to 49 seconds"
        seconds=$(sort -u "$work/waits" | wc -l)
        [ "$seconds" -gt 30 ] || fail "100 hosts push in $seconds seconds of 50"
        [ "$(wait_of esx7.example)" = "$(sed -n 7p "$work/waits")" ] || fail "a host waits now so, now so"
        ;;
    scripts)
        need shellcheck shellcheck
        shellcheck -s sh "$recipes/events/vesk-events" "$recipes/metrics/vesk-push"
        ;;
    units)
        need systemd-analyze systemd
        for unit in "$recipes"/*/*.service "$recipes"/*/*.timer; do
            # With a program that is on every machine, and a template with a name in it.
            name=$(basename "$unit")
            sed 's|^\(Exec[A-Za-z]*=-\?\)[^ ]*|\1/bin/true|' "$unit" >"$work/${name/@./@host.}"
        done
        systemd-analyze verify "$work"/*.service "$work"/*.timer
        ;;
esac
