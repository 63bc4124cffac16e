#!/usr/bin/env python3
"""The metrics recipes for real: hosts with a node exporter that is scraped, hosts that push, alert
rules and dashboard asked of what came in."""

import json
import os
import re
import subprocess
import time

import yaml

from daemons import (RECIPES, SIMULATOR, Daemons, expect, free_port, http, listens, push, wait_until,
                     with_changes)

METRICS = RECIPES / 'metrics'

SLOW_LINK = {'adapters': [{'name': 'vmhba2', 'pcie_link': {
    'current_speed_gts': 5, 'max_speed_gts': 8, 'current_width': 4, 'max_width': 4}}]}
# Which alert each host is to raise; none may be raised by another one.
SCRAPED = {'healthy': set(),
           # These two have grave events as well, which nobody has taken.
           'degraded': {'VeskVolumeDegraded', 'VeskDiskMissing', 'VeskNotWell'},
           'worn': {'VeskSpareBelowThreshold', 'VeskDiskWorn', 'VeskDiskHealthAlert', 'VeskNotWell'},
           'no-controller': {'VeskControllerSilent'},
           'crlf-mark': {'VeskNotWell'}}
PUSHED = {'mixed-volumes': {'VeskVolumeDegraded'}, 'slow-link': {'VeskLinkBelowMaximum'}}


def simulator(daemons, name):
    scenario = name
    if name == 'slow-link':
        scenario = daemons.folder / 'slow-link.json'
        scenario.write_text(json.dumps(SLOW_LINK))
    return [SIMULATOR, '--scenario', scenario]


def start_scraped_host(daemons, name):
    """A node exporter with a file that the unit's own command line has made; its address."""
    folder = daemons.folder / name
    folder.mkdir()
    line = re.search(r'^ExecStart=veskctl (.*)$',
                     (METRICS / 'vesk-metrics.service').read_text(), re.MULTILINE).group(1)
    words = line.replace('/var/lib/prometheus/node-exporter', str(folder)).split()
    done = subprocess.run([*simulator(daemons, name), *words], check=False, capture_output=True)
    allowed = re.search(r'^SuccessExitStatus=(.*)$',
                        (METRICS / 'vesk-metrics.service').read_text(), re.MULTILINE).group(1)
    expect(str(done.returncode) in ['0', *allowed.split()],
           f'{name}: the unit of the timer ends well ({done.returncode})')
    port = free_port()
    daemons.start(f'node-exporter-{name}', 'prometheus-node-exporter', '--collector.disable-defaults',
                  '--collector.textfile', f'--collector.textfile.directory={folder}',
                  f'--web.listen-address=127.0.0.1:{port}')
    wait_until(lambda: listens(port), 'the node exporter does not listen')
    return f'127.0.0.1:{port}'


def query(url, expression):
    answer = json.loads(http(url + '/api/v1/query', query=expression, time=time.time()))
    return answer['data']['result']


def rules():
    """(name, expression) of each alert."""
    groups = yaml.safe_load((METRICS / 'vesk-alerts.yml').read_text())['groups']
    return [(rule['alert'], rule['expr']) for group in groups for rule in group['rules']]


def check_alerts(url, name_of):
    subprocess.run(['vmalert', '-dryRun', f'-rule={METRICS}/vesk-alerts.yml'], check=True,
                   capture_output=True)
    expected = {**SCRAPED, **PUSHED}
    for alert, expression in rules():
        raised = {name_of[row['metric']['instance']] for row in query(url, expression)}
        wanted = {name for name, alerts in expected.items() if alert in alerts}
        expect(raised == wanted, f'{alert}: {", ".join(sorted(raised)) or "nobody"}')


def panel(title):
    """The expression of a panel of the dashboard, for all instances."""
    for found in json.loads((METRICS / 'vesk-dashboard.json').read_text())['panels']:
        if found['title'] == title:
            return found['targets'][0]['expr'].replace('$instance', '.*')
    return expect(False, f'there is a panel {title}')


def check_stale(daemons, url, targets):
    """Files that nobody writes any more, and hosts that do not push any more."""
    def oldest_metrics():
        return float(query(url, panel('Oldest metrics'))[0]['value'][1])
    expect(oldest_metrics() < 600, f'Oldest metrics: {oldest_metrics():.0f} s, as all are fresh')
    old = time.time() - 1200
    os.utime(daemons.folder / 'healthy' / 'vesk.prom', (old, old))
    stale = dict(rules())['VeskDataStale']
    rows = wait_until(lambda: query(url, stale), 'the stale file is not noticed')
    expect({row['metric']['instance'] for row in rows} == {targets['healthy']},
           'VeskDataStale: the host whose file is 20 minutes old, and no other')
    expect(1200 <= oldest_metrics() < 1800, 'Oldest metrics: 20 minutes')
    at = int((time.time() - 3600) * 1000)
    http(url + '/api/v1/import/prometheus?extra_label=job=vesk&extra_label=instance=gone',
         f'vesk_up 1 {at}\n'.encode())
    missing = dict(rules())['VeskDataMissing']
    rows = wait_until(lambda: query(url, missing), 'the missing host is not noticed')
    expect({row['metric']['instance'] for row in rows} == {'gone'},
           'VeskDataMissing: the host whose last metrics are an hour old, and no other')
    wait_until(lambda: oldest_metrics() >= 3540, 'Oldest metrics: an hour')


def check_dashboard(url):
    dashboard = json.loads((METRICS / 'vesk-dashboard.json').read_text())
    count = 0
    for panel in dashboard['panels']:
        for target in panel['targets']:
            rows = query(url, target['expr'].replace('$instance', '.*'))
            if not rows:
                expect(False, f'{panel["title"]}: {target["expr"]} has a result')
            for label in re.findall(r'{{(\w+)}}', target.get('legendFormat', '')):
                if not all(label in row['metric'] for row in rows):
                    expect(False, f'{panel["title"]}: every series has the label {label}')
            count += 1
    variable = json.loads(http(url + '/api/v1/label/instance/values', **{'match[]': 'vesk_up'}))
    expect(len(variable['data']) >= len(SCRAPED) + len(PUSHED), 'the list of instances is filled')
    expect(count > 0, f'all {count} expressions of the dashboard have a result, with their labels')


def main():
    with Daemons() as daemons:
        targets = {name: start_scraped_host(daemons, name) for name in SCRAPED}
        (daemons.folder / 'vesk-hosts.json').write_text(json.dumps([{'targets': list(targets.values())}]))
        scrape = with_changes(METRICS / 'scrape.yml', daemons.folder / 'scrape.yml',
                              **{'scrape_interval: 60s': 'scrape_interval: 1s'})
        _, url = daemons.start_victoria_metrics(f'-promscrape.config={scrape}')
        for name in PUSHED:
            push(daemons, url, name, simulator(daemons, name))
        hosts = len(SCRAPED) + len(PUSHED)
        wait_until(lambda: len(query(url, 'vesk_up')) == hosts, 'not all hosts came in')
        expect(not query(url, 'node_textfile_scrape_error == 1'),
               f'the node exporters take every file; {hosts} hosts are in the store')
        check_alerts(url, {**{address: name for name, address in targets.items()},
                           **{name: name for name in PUSHED}})
        check_dashboard(url)
        check_stale(daemons, url, targets)


if __name__ == '__main__':
    main()
