"""Daemons of a check: on loopback, on free ports, in a temporary folder, ended when the check ends."""

import json
import os
import shutil
import socket
import subprocess
import sys
import tempfile
import time
import urllib.error
import urllib.parse
import urllib.request
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
RECIPES = ROOT / 'packaging' / 'fleet'
SIMULATOR = Path(os.environ.get('VESKCTL_SIM', ROOT / 'build/release/bin/veskctl-sim')).resolve()


def say(text):
    print(f'   {text}', flush=True)


def fail(text):
    sys.exit(f'check-fleet: {text}')


def expect(condition, text):
    """A check that failed ends the program; what it checked is told either way."""
    if not condition:
        fail(f'not so: {text}')
    say(text)


def wait_until(condition, what, seconds=60):
    """Polls; returns what the condition returned when it was true."""
    end = time.monotonic() + seconds
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > end:
            fail(f'{seconds} s went by: {what}')
        time.sleep(0.1)


def free_port():
    with socket.socket() as probe:
        probe.bind(('127.0.0.1', 0))
        return probe.getsockname()[1]


def listens(port):
    with socket.socket() as probe:
        return probe.connect_ex(('127.0.0.1', port)) == 0


def http(url, body=None, **parameters):
    """The answer's text; None if there was none."""
    if parameters:
        url += '?' + urllib.parse.urlencode(parameters)
    try:
        with urllib.request.urlopen(url, data=body, timeout=30) as answer:
            return answer.read().decode()
    except urllib.error.HTTPError as error:
        fail(f'{url}: {error.code} {error.read().decode()}')
    except OSError:
        return None


def with_changes(source, target, **changes):
    """A recipe with some of its texts changed. Each stands in it exactly once."""
    text = source.read_text()
    for before, after in changes.items():
        if text.count(before) != 1:
            fail(f'{source.name} has {text.count(before)} times {before}')
        text = text.replace(before, str(after))
    target.write_text(text)
    return target


class Daemons:
    def __init__(self):
        self.folder = Path(tempfile.mkdtemp(prefix='vesk-fleet-'))
        self.folder.chmod(0o755)
        self.processes = []

    def __enter__(self):
        return self

    def __exit__(self, *error):
        if any(error):
            for log in sorted(self.folder.glob('*.log')):
                print(f'--- {log.name}\n' + '\n'.join(log.read_text().splitlines()[-4:]),
                      file=sys.stderr)
        for process in reversed(self.processes):
            self.stop(process)
        shutil.rmtree(self.folder, ignore_errors=True)

    def start(self, name, *command, **options):
        """In a session of its own, so that it ends with all that it started."""
        with open(self.folder / f'{name}.log', 'ab') as log:
            process = subprocess.Popen([str(word) for word in command], stdin=subprocess.DEVNULL,
                                       stdout=log, stderr=log, start_new_session=True, **options)
        self.processes.append(process)
        return process

    def stop(self, process, signal=15):
        """Also what it started. With 9: as a failure of power would."""
        if process not in self.processes:
            return
        try:
            os.killpg(process.pid, signal)
            process.wait(20)
        except ProcessLookupError:
            pass
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, 9)
        process.wait()
        self.processes.remove(process)

    def start_victoria_metrics(self, *options):
        """And its address."""
        port = free_port()
        process = self.start('victoria-metrics', 'victoria-metrics', f'-httpListenAddr=127.0.0.1:{port}',
                   f'-storageDataPath={self.folder}/victoria-metrics', '-search.latencyOffset=0s',
                   *options)
        url = f'http://127.0.0.1:{port}'
        wait_until(lambda: http(url + '/health') == 'OK', 'victoria-metrics does not answer')
        return process, url

    def start_clickhouse(self, ports=None):
        """With its address and ports; with the same ports: as it was before. Has the table."""
        ports = ports or (free_port(), free_port())
        home = self.folder / 'clickhouse'
        fresh = not home.exists()
        home.mkdir(exist_ok=True)
        (home / 'users.xml').write_text(
            '<yandex><profiles><default/></profiles><quotas><default/></quotas><users><default>'
            '<password/><networks><ip>127.0.0.1</ip></networks><profile>default</profile>'
            '<quota>default</quota></default></users></yandex>')
        (home / 'config.xml').write_text(
            '<yandex><logger><level>warning</level><console>1</console></logger>'
            f'<http_port>{ports[0]}</http_port><tcp_port>{ports[1]}</tcp_port>'
            f'<listen_host>127.0.0.1</listen_host><path>{home}/data/</path>'
            f'<tmp_path>{home}/tmp/</tmp_path><format_schema_path>{home}/schemas/</format_schema_path>'
            f'<users_config>{home}/users.xml</users_config><default_profile>default</default_profile>'
            '<default_database>default</default_database>'
            '<mark_cache_size>268435456</mark_cache_size></yandex>')
        process = self.start('clickhouse', 'clickhouse-server', f'--config-file={home}/config.xml',
                             cwd=home)
        url = f'http://127.0.0.1:{ports[0]}/'
        wait_until(lambda: http(url), 'clickhouse-server does not answer')
        if fresh:
            http(url, b'CREATE DATABASE vesk')
            http(url, (RECIPES / 'events/events.sql').read_bytes())
        return process, url, ports

    def start_central(self, port, clickhouse):
        """rsyslog as the recipe has it, with folders and ports of this check."""
        recipes = RECIPES / 'events'
        (self.folder / 'spool').mkdir(exist_ok=True)
        config = with_changes(recipes / 'vesk-central.conf', self.folder / 'central.conf', **{
            '/var/spool/rsyslog': self.folder / 'spool',
            'port="514"': f'address="127.0.0.1" port="{port}"',
            '/var/log/vesk-events': self.folder / 'vesk-events',
            'output="/var/log': f'output="{self.folder}',
            'file="/var/log/vesk-refused': f'file="{self.folder}/vesk-refused',
            '/usr/local/bin/vesk-to-clickhouse http://localhost:8123':
                f'{recipes}/vesk-to-clickhouse {clickhouse.rstrip("/")}',
            'action.resumeInterval="5"': 'action.resumeInterval="1"'})
        process = self.start('rsyslogd', 'rsyslogd', '-n', '-f', config,
                             '-i', self.folder / 'rsyslogd.pid')
        wait_until(lambda: listens(port), 'rsyslogd does not listen')
        return process

    def start_sshd(self):
        """Its port. With keys of its own, for the user who runs this."""
        folder = self.folder
        for name in ('host_key', 'user_key'):
            subprocess.run(['ssh-keygen', '-q', '-t', 'ed25519', '-N', '', '-f', folder / name],
                           check=True)
        shutil.copy(folder / 'user_key.pub', folder / 'authorized_keys')
        port = free_port()
        (folder / 'sshd_config').write_text(
            f'Port {port}\nListenAddress 127.0.0.1\nHostKey {folder}/host_key\nPidFile none\n'
            f'UsePAM no\nAuthorizedKeysFile {folder}/authorized_keys\nStrictModes no\n'
            'PasswordAuthentication no\nKbdInteractiveAuthentication no\n'
            'PermitRootLogin prohibit-password\nMaxStartups 200\n')
        if os.geteuid() == 0:
            Path('/run/sshd').mkdir(exist_ok=True)  # sshd wants it, and says so by ending
        self.start('sshd', shutil.which('sshd', path='/usr/sbin:/usr/bin'), '-D', '-e', '-f',
                   folder / 'sshd_config')
        wait_until(lambda: listens(port), 'sshd does not listen')
        return port

    def simulated_host(self, name, scenario, interval=1):
        """A folder with a program `veskctl`, which is a host of this name and follows in this interval."""
        folder = self.folder / 'hosts' / name
        folder.mkdir(parents=True)
        if isinstance(scenario, dict):
            (folder / 'scenario.json').write_text(json.dumps(scenario))
            scenario = folder / 'scenario.json'
        program = folder / 'veskctl'
        program.write_text('#!/bin/sh\n'
                           f'case $* in *--follow*) set -- "$@" --interval {interval} ;; esac\n'
                           f'exec {SIMULATOR} --quiet --host {name} --scenario {scenario} '
                           f'--state {folder}/state "$@" 2>>{folder}/errors\n')
        program.chmod(0o755)
        return folder


def environment_of(host):
    return {**os.environ, 'PATH': f'{host}:{os.environ["PATH"]}'}


def push(daemons, url, name, command):
    """As a host's cron does: by busybox and by its own name."""
    tools = daemons.folder / 'busybox'
    if not tools.exists():
        tools.mkdir()
        subprocess.run(['busybox', '--install', '-s', tools], check=True)
        (tools / 'hostname').unlink()
        (tools / 'hostname').write_text('#!/bin/sh\necho "$PUSHED_NAME"\n')
        (tools / 'hostname').chmod(0o755)
    subprocess.run([shutil.which('busybox'), 'sh', RECIPES / 'metrics/vesk-push', url, *command],
                   check=True, stderr=subprocess.DEVNULL,
                   env={'PATH': str(tools), 'PUSHED_NAME': name})
