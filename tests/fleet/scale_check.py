#!/usr/bin/env python3
"""A fleet of simulated hosts on one machine: each follows its events and pushes its metrics.

scale_check.py [HOSTS [SECONDS]]    default: 1000 hosts for 600 s, and the figures go into docs/fleet.md

The log of a simulated host grows by the clock, so simulated time is real time.
"""

import json
import os
import random
import re
import resource
import subprocess
import sys
import time

from daemons import (RECIPES, ROOT, Daemons, environment_of, expect, free_port, http, push, say,
                     wait_until)

HOSTS = int(sys.argv[1]) if len(sys.argv) > 1 else 1000
SECONDS = int(sys.argv[2]) if len(sys.argv) > 2 else 600
INTERVAL = 30        # between two looks of a host at its log
MEAN_BETWEEN = 20    # seconds between two events of a host
PUSH_EVERY = 300
BURST = 100000
TICK = os.sysconf('SC_CLK_TCK')
DOCUMENT = ROOT / 'docs' / 'fleet.md'


def scenario(seed):
    """With the settings that are installed: without a trace log."""
    settings = (ROOT / 'packaging/ini/libVeskNVMeConfig.ini').read_text()
    return {'host_files': {'config_ini': settings},
            'adapters': [{'name': 'vmhba2', 'event_start_time': int(time.time()),
                          'random_events': {'mean_interval_seconds': MEAN_BETWEEN, 'seed': seed,
                                            'unmapped_percent': 0}}]}


def status_kib(pid, field):
    with open(f'/proc/{pid}/status', encoding='ascii') as file:
        return int(re.search(rf'^{field}:\s+(\d+) kB', file.read(), re.MULTILINE).group(1))


def share_kib(pid):
    """What a process takes, with its share of what it has in common with others."""
    with open(f'/proc/{pid}/smaps_rollup', encoding='ascii') as file:
        return int(re.search(r'^Pss:\s+(\d+) kB', file.read(), re.MULTILINE).group(1))


def cpu_seconds(pid):
    with open(f'/proc/{pid}/stat', encoding='ascii') as file:
        fields = file.read().rsplit(')', 1)[1].split()
    return sum(int(value) for value in fields[11:13]) / TICK


class Scale:
    def __init__(self, daemons):
        self.daemons = daemons
        self.victoria, self.metrics = daemons.start_victoria_metrics()
        self.clickhouse, self.store, _ = daemons.start_clickhouse()
        self.port = free_port()
        self.central = daemons.start_central(self.port, self.store)
        self.hosts = {}
        self.followers = {}
        self.figures = []
        self.pushed = 0

    def start_hosts(self):
        """One after the other, so that they do not look at the same moment."""
        for number in range(HOSTS):
            name = f'host{number:05}'
            host = self.daemons.simulated_host(name, scenario(number + 1), INTERVAL)
            self.hosts[name] = host
            self.followers[name] = self.daemons.start(
                'follow', RECIPES / 'events/vesk-events', 'follow', '127.0.0.1', self.port,
                env=environment_of(host))
            time.sleep(INTERVAL / HOSTS)

    def push_metrics(self, end):
        while time.monotonic() < end:
            for name, host in self.hosts.items():
                if time.monotonic() > end:
                    return
                began = time.monotonic()
                push(self.daemons, self.metrics, name, [host / 'veskctl'])
                self.pushed += 1
                time.sleep(max(0, PUSH_EVERY / HOSTS - (time.monotonic() - began)))

    def select(self, what):
        answer = http(self.store, f'SELECT {what} FORMAT JSONEachRow'.encode())
        return [json.loads(line) for line in answer.splitlines()]

    def tell(self, what, value):
        self.figures.append((what, value))
        say(f'{what}: {value}')

    def measure(self):
        daemons = {'rsyslogd': self.central, 'clickhouse-server': self.clickhouse,
                   'victoria-metrics': self.victoria}
        before = {name: cpu_seconds(process.pid) for name, process in daemons.items()}
        rows_before = int(self.select('count() AS n FROM vesk.events')[0]['n'])
        began, moment = time.monotonic(), int(time.time())
        self.push_metrics(began + SECONDS)
        seconds, ended = time.monotonic() - began, int(time.time())
        rows = int(self.select('count() AS n FROM vesk.events')[0]['n']) - rows_before
        self.tell('hosts, seconds', f'{HOSTS}, {seconds:.0f}')
        self.tell('events that came into the store', f'{rows}, {rows / seconds:.0f} lines/s')
        lag = self.select(
            'quantilesExact(0.5, 0.95, 1)(received - time) AS q, count() AS n FROM vesk.events FINAL '
            f'WHERE time >= {moment} AND received <= {ended}')[0]['q']
        self.tell(f'lag from event to store, looks every {INTERVAL} s: median, 95 %, greatest',
                  ', '.join(f'{float(value):.0f} s' for value in lag))
        self.tell('pushes of metrics', f'{self.pushed}, {self.pushed / seconds:.1f} a second')
        series = json.loads(http(self.metrics + '/api/v1/query', query='count({__name__=~"vesk_.+"})'))
        self.tell('series of one moment', series['data']['result'][0]['value'][1])
        for name, process in daemons.items():
            self.tell(name, f'{status_kib(process.pid, "VmHWM") / 1024:.0f} MiB at most, '
                            f'{(cpu_seconds(process.pid) - before[name]) / seconds * 100:.1f} % of a core')
        self.measure_hosts()

    def measure_hosts(self):
        """A sample of them; the processor's time since their start."""
        sums = {}
        sample = random.Random(1).sample(sorted(self.followers), min(100, HOSTS))
        for name in sample:
            listed = subprocess.run(['ps', '-o', 'pid=,comm=', '-g', str(self.followers[name].pid)],
                                    check=True, capture_output=True, text=True).stdout
            for line in listed.splitlines():
                pid, program = line.split(None, 1)
                try:
                    sums[program] = sums.get(program, 0) + share_kib(pid)
                except OSError:
                    continue  # a look that has ended
        memory = ', '.join(f'{program} {kib / len(sample) / 1024:.1f} MiB'
                           for program, kib in sorted(sums.items()) if kib > 0)
        self.tell('memory of a host on this machine', memory)

    def check_account(self):
        """Every event that is older than two looks is in the store."""
        settled = int(time.time()) - 2 * INTERVAL
        for follower in list(self.followers.values()):
            self.daemons.stop(follower)
        ended_early = [path for path in self.hosts.values()
                       if (path / 'errors').read_text().replace('SIMULATED HOST\n', '')]
        expect(not ended_early, 'no host had anything to complain of')
        stored = {(row['host'], row['sequence'], row['time_raw']) for row in
                  self.select('host, sequence, time_raw FROM vesk.events FINAL')}
        held = 0
        for name, host in self.hosts.items():
            done = subprocess.run(['veskctl', 'events', '--since', '1970-01-01', '--ndjson'],
                                  capture_output=True, check=True, env=environment_of(host))
            for event in map(json.loads, done.stdout.splitlines()):
                if event['time_raw'] <= settled:
                    held += 1
                    if (name, event['sequence'], event['time_raw']) not in stored:
                        expect(False, f'the store has {event}')
        self.tell('events of the controllers that are not in the store', f'0 of {held}')

    def burst(self):
        """How much one central server takes, in one go."""
        lines = self.daemons.folder / 'burst'
        now = int(time.time())
        with open(lines, 'w', encoding='ascii') as file:
            for number in range(BURST):
                file.write(json.dumps({
                    'host': f'burst{number % 10000:05}', 'sequence': number // 10000 + 1,
                    'time': '2026-11-22T05:00:00Z', 'time_raw': now, 'class': 'physical_disk',
                    'class_code': 2, 'code': 2101, 'severity': 'info', 'severity_code': 2,
                    'device_id': 0, 'message': 'Drive online'}) + '\n')
        began = time.monotonic()
        with open(lines, encoding='ascii') as file:
            subprocess.run(['logger', '--server', '127.0.0.1', '--port', str(self.port), '--tcp',
                            '--octet-count', '--rfc5424', '--size', '64KiB', '--tag', 'veskctl'],
                           stdin=file, check=True)
        count = "count() AS n FROM vesk.events FINAL WHERE host LIKE 'burst%'"
        wait_until(lambda: int(self.select(count)[0]['n']) == BURST,
                   'the burst does not get into the store', 300)
        seconds = time.monotonic() - began
        self.tell(f'{BURST} lines at once, from logger to store',
                  f'{seconds:.1f} s, {BURST / seconds:.0f} lines/s, rsyslogd '
                  f'{status_kib(self.central.pid, "VmHWM") / 1024:.0f} MiB at most')

    def write_document(self):
        text = DOCUMENT.read_text()
        table = ''.join(f'| {what} | {value} |\n' for what, value in self.figures)
        text, count = re.subn(r'(<!-- figures -->\n\| .*\n\|[-|]+\n)(\|.*\n)*', rf'\1{table}', text)
        expect(count == 1, 'the figures are in docs/fleet.md')
        DOCUMENT.write_text(text)


def main():
    os.nice(10)
    files = resource.getrlimit(resource.RLIMIT_NOFILE)[1]
    resource.setrlimit(resource.RLIMIT_NOFILE, (files, files))
    with Daemons() as daemons:
        scale = Scale(daemons)
        scale.start_hosts()
        scale.measure()
        scale.check_account()
        scale.burst()
        if (HOSTS, SECONDS) == (1000, 600):
            scale.write_document()


if __name__ == '__main__':
    main()
