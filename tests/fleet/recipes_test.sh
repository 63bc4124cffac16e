#!/usr/bin/env bash
# The recipes of packaging/fleet, without a daemon.
#   recipes_test.sh alerts|playbook|scripts|units
#   recipes_test.sh expressions VESKCTL_SIM
set -euo pipefail
recipes=$(cd "$(dirname "$0")/../.." && pwd)/packaging/fleet
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
import sys
panels = json.load(open(sys.argv[1]))["panels"]
expressions = [target["expr"] for panel in panels for target in panel["targets"]]
rules = [{"record": f"panel_{i}", "expr": text} for i, text in enumerate(expressions)]
print(json.dumps({"groups": [{"name": "dashboard", "rules": rules}]}))
PYTHON
        promtool check rules "$work/dashboard.yml" "$recipes/metrics/vesk-alerts.yml"
        for scenario in worn degraded; do
            "$2" --scenario "$scenario" metrics 2>/dev/null
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
