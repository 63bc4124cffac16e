#!/usr/bin/env python3
"""The event recipes for real: hosts with logger, one that is followed by SSH, one whose log is rubbish,
rsyslog as the central server, ClickHouse. Each part is killed in the middle; then nothing is missing that
a controller still holds, and nothing is there twice."""

import gzip
import json
import re
import shlex
import subprocess
import time

from daemons import (RECIPES, ROOT, Daemons, environment_of, expect, free_port, http, say, wait_until,
                     with_changes)

EVENTS = RECIPES / 'events'
HOSTS = 4
FAR_HOST = 'host3'  # has nothing but sshd and veskctl


def scenario(seed):
    return {'adapters': [{'name': 'vmhba2', 'event_start_time': int(time.time()) - 30 * 60,
                          'random_events': {'mean_interval_seconds': 0.4, 'initial_count': 20,
                                            'unmapped_percent': 10, 'seed': seed}}]}


def rubbish_scenario():
    """With events of the last hour that have no severity, and no text."""
    text = (ROOT / 'sim/scenarios/garbage-log.json').read_text()
    now = int(time.time()) // 100 - 20
    return json.loads(text.replace('[TIME]17900000', f'[TIME]{now}'))


EVENT = (b'{"host": "odd", "sequence": 1, "time_raw": 1790000000, "class": "adapter", "code": 2001, '
         b'"severity": "info", "severity_code": 2, "device_id": 0, "message": "TEXT"}')
# What any host can send, and the message of which it becomes an event; without one it is refused.
RUBBISH = [(b'no JSON', None), (b'COMMIT', None), (b'[1]', None), (b'{"host": ', None),
           (b'{"host": {"name": 5}, "sequence": "x"}', None),
           (EVENT.replace(b'TEXT', b'\xff\xfe'), '\ufffd\ufffd'),
           (EVENT.replace(b'TEXT', rb'\ud800').replace(b': 1,', b': 2,'), '?'),
           (EVENT.replace(b': 1,', b': -1,'), None)]


class Check:
    def __init__(self, daemons):
        self.daemons = daemons
        self.clickhouse, self.store, self.ports = daemons.start_clickhouse()
        self.port = free_port()
        self.central = daemons.start_central(self.port, self.store)
        self.hosts = {f'host{number}': daemons.simulated_host(f'host{number}', scenario(number + 1))
                      for number in range(HOSTS)}
        self.hosts['garbage'] = daemons.simulated_host('garbage', rubbish_scenario())
        self.ssh = ['ssh', '-p', str(daemons.start_sshd()), '-i', str(daemons.folder / 'user_key'),
                    '-o', 'BatchMode=yes', '-o', 'StrictHostKeyChecking=accept-new',
                    '-o', f'UserKnownHostsFile={daemons.folder}/known_hosts', '127.0.0.1']
        self.followers = {name: self.start_follower(name) for name in self.hosts}

    def start_follower(self, name):
        """What the unit does at its start."""
        self.send_again(name)
        return self.daemons.start(f'follow-{name}', EVENTS / 'vesk-events', 'follow', '127.0.0.1',
                                  self.port, *self.veskctl(name), env=environment_of(self.hosts[name]))

    def send_again(self, name):
        subprocess.run([EVENTS / 'vesk-events', 'again', '127.0.0.1', str(self.port),
                        *self.veskctl(name)], check=False, env=environment_of(self.hosts[name]),
                       stderr=subprocess.DEVNULL)

    def veskctl(self, name):
        """What vesk-events is told to run; nothing: the host's own."""
        return [*self.ssh, str(self.hosts[name] / 'veskctl')] if name == FAR_HOST else []

    def select(self, what):
        answer = http(self.store, f'SELECT {what} FORMAT JSONEachRow'.encode())
        return [json.loads(line) for line in (answer or '').splitlines()]

    def rows(self):
        return int(self.select('count() AS rows FROM vesk.events')[0]['rows'])

    def events_of(self, name):
        """What the controller holds now, by number and time."""
        done = subprocess.run(['veskctl', 'events', '--since', '1970-01-01', '--ndjson'], check=True,
                              capture_output=True, env=environment_of(self.hosts[name]))
        events = [json.loads(line) for line in done.stdout.splitlines()]
        return {(event['sequence'], event['time_raw']): event for event in events}

    def stored_of(self, name):
        rows = self.select(f"* FROM vesk.events FINAL WHERE host = '{name}'")
        stored = {(row['sequence'], row['time_raw']): row for row in rows}
        if len(stored) != len(rows):
            expect(False, f'{name}: no event is selected twice')
        return stored

    def wait_for_more(self, part):
        before = self.rows()
        wait_until(lambda: self.rows() > before + 20, f'events arrive again after {part} was killed')
        say(f'{part} was killed, and events arrive again')

    def send_rubbish(self):
        """What is no JSON, what is no event, what rsyslog says between batches, what is no UTF-8."""
        for line, _ in RUBBISH:
            subprocess.run(['logger', '--server', '127.0.0.1', '--port', str(self.port), '--tcp',
                            '--octet-count', '--rfc5424', '--tag', 'veskctl', '--', line], check=True)

    def check_rubbish(self):
        stored = {row['message'] for row in self.select("* FROM vesk.events FINAL WHERE host = 'odd'")}
        expect(stored == {message for _, message in RUBBISH if message},
               'what is no UTF-8 and still an event is in the store')
        refused = (self.daemons.folder / 'vesk-refused.log.1').read_bytes()
        missing = [line for line, message in RUBBISH if not message and line not in refused]
        expect(not missing, 'each line that is no event is among the refused ones')

    def kill_each_part(self):
        self.wait_for_more('nothing')
        self.kill_inside('host0', 'logger')
        self.kill_inside('host1', 'veskctl-sim')
        self.daemons.stop(self.followers['host2'], 9)
        self.kill_inside(FAR_HOST, 'ssh')
        for name in self.hosts:
            self.daemons.stop(self.followers[name])
            self.followers[name] = self.start_follower(name)
        self.wait_for_more('logger, veskctl, both, or ssh')

        self.daemons.stop(self.central, 9)
        time.sleep(3)
        self.central = self.daemons.start_central(self.port, self.store)
        self.restart_followers_that_ended()
        self.wait_for_more('rsyslogd')

        self.daemons.stop(self.clickhouse, 9)
        told = self.daemons.folder / 'vesk-refused.log'
        wait_until(lambda: told.read_bytes().count(b'tried again') == 1, 'it is told that the store is away')
        time.sleep(3)
        self.clickhouse, _, _ = self.daemons.start_clickhouse(ports=self.ports)
        self.wait_for_more('clickhouse-server')

    def kill_inside(self, name, program):
        """One process of a follower; the others of its pipe end by themselves."""
        group = self.followers[name].pid
        members = subprocess.run(['ps', '-o', 'pid=,comm=', '-g', str(group)], check=True,
                                 capture_output=True, text=True).stdout.split('\n')
        pids = [line.split()[0] for line in members if line.strip().endswith(program)]
        subprocess.run(['kill', '-9', *pids], check=True)
        wait_until(lambda: self.followers[name].poll() is not None,
                   f'vesk-events ends after {program} was killed')

    def restart_followers_that_ended(self):
        for name, follower in self.followers.items():
            if follower.poll() is not None:
                self.daemons.stop(follower)
                self.followers[name] = self.start_follower(name)

    def rotate(self):
        """As each day: the files get new ones."""
        folder = self.daemons.folder
        config = with_changes(EVENTS / 'vesk-central.logrotate', folder / 'logrotate.conf', **{
            '/var/log/vesk-events': folder / 'vesk-events', '/var/log/vesk-refused': folder / 'vesk-refused',
            '/usr/lib/rsyslog/rsyslog-rotate': f'kill -HUP {self.central.pid}'})
        subprocess.run(['/usr/sbin/logrotate', '--force', '--state', folder / 'logrotate.state', config],
                       check=True)
        wait_until((folder / 'vesk-events.ndjson').exists, 'rsyslog begins a new file')
        self.wait_for_more('nothing')

    def archived(self):
        """The lines of the central file of all days."""
        folder = self.daemons.folder
        with gzip.open(folder / 'vesk-events.ndjson.2.gz') as oldest:
            lines = oldest.readlines()
        for name in ('vesk-events.ndjson.1', 'vesk-events.ndjson'):
            lines += (folder / name).read_bytes().splitlines()
        return sum(json.loads(line.decode(errors='replace'))['host'] in self.hosts for line in lines
                   if b'"host": ' not in line)

    def check_account(self):
        for follower in self.followers.values():
            self.daemons.stop(follower)
        held = {name: self.events_of(name) for name in self.hosts}
        time.sleep(2)
        lost = sum(len(set(held[name]) - set(self.stored_of(name))) for name in self.hosts)
        say(f'{lost} of {sum(map(len, held.values()))} events got lost on the way, before they are '
            'sent once more')
        for name in self.hosts:
            self.send_again(name)
        wait_until(lambda: all(set(held[name]) <= set(self.stored_of(name)) for name in self.hosts),
                   'not all that the controllers hold is in the store')
        archive = self.archived()
        repeats = archive - sum(len(self.stored_of(name)) for name in self.hosts)
        for name in self.hosts:
            stored, now = self.stored_of(name), self.events_of(name)
            for key, event in held[name].items():
                wrong = {field for field, value in stored[key].items() if event[field] != value}
                if wrong:
                    expect(False, f'{name}: {event} is in the store as {stored[key]}')
            if not set(stored) <= set(held[name]) | set(now):
                expect(False, f'{name}: the store has nothing that the controller does not have')
        names = {row['host'] for row in self.select('DISTINCT host FROM vesk.events')}
        expect(names == {*self.hosts, 'odd'}, 'nothing else is in the store')
        expect(repeats > 0, f'everything is in the store as it was sent; {repeats} of {archive} '
                            'lines of the central file are repeats, none is selected')

    def check_question(self):
        """The SQL for people, against what the controllers hold."""
        http(self.store, b'OPTIMIZE TABLE vesk.events FINAL')
        text = (EVENTS / 'failed-last-day.sql').read_text().replace('PrettyCompactMonoBlock',
                                                                    'JSONEachRow')
        rows = [json.loads(line) for line in http(self.store, text.encode()).splitlines()]
        told = {}
        for row in rows:
            told[row['host']] = told.get(row['host'], 0) + int(row['times'])
        day_ago = time.time() - 86400
        grave = {name: sum(event['severity_code'] >= 5 and event['time_raw'] > day_ago
                           for event in self.stored_of(name).values()) for name in self.hosts}
        expect(any(row['severity'] is None for row in rows), 'also without the name of a severity')
        expect(told == grave, f'what failed where in the last day: {sum(told.values())} events of '
                              f'{len(told)} hosts in {len(rows)} rows')

    def check_expiry(self):
        """As the unit does it, with seconds instead of days."""
        values = '(host, sequence) VALUES'
        http(self.store, f"INSERT INTO vesk.events {values} ('old', 1)".encode())
        time.sleep(5)
        http(self.store, f"INSERT INTO vesk.events {values} ('new', 1)".encode())
        question = with_changes(EVENTS / 'expire.sql', self.daemons.folder / 'expire.sql',
                                **{'400 * 86400': 3})
        line = re.search(r'^ExecStart=(.*)$', (EVENTS / 'vesk-expire.service').read_text(),
                         re.MULTILINE).group(1)
        subprocess.run([{'http://localhost:8123/': self.store,
                         '@/usr/local/share/vesk/expire.sql': f'@{question}'}.get(word, word)
                        for word in shlex.split(line)], check=True)
        wait_until(lambda: [row['host'] for row in self.select('host FROM vesk.events')] == ['new'],
                   'old events are deleted, a new one stays', 10)
        say('old events are deleted, a new one stays')


def main():
    with Daemons() as daemons:
        check = Check(daemons)
        check.send_rubbish()
        check.kill_each_part()
        check.rotate()
        check.rotate()
        check.check_account()
        check.check_rubbish()
        check.check_question()
        check.check_expiry()


if __name__ == '__main__':
    main()
