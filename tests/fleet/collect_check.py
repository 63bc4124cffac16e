#!/usr/bin/env python3
"""The playbook for real: simulated hosts behind an sshd on loopback, one that is gone, one whose
answer is no document."""

import getpass
import json
import os
import subprocess
import time

from daemons import RECIPES, Daemons, expect, fail, free_port

COLLECT = RECIPES / 'collect'
LEVELS = {'good1': 'ok', 'good2': 'ok', 'mixed': 'warning', 'old': 'critical', 'half': 'critical',
          'bare': 'unknown', 'gone': 'unknown', 'rubbish': 'unknown', 'cut': 'unknown'}
SCENARIOS = {'good1': 'healthy', 'good2': 'healthy', 'mixed': 'mixed-volumes', 'old': 'worn',
             'half': 'degraded', 'bare': 'no-controller'}
# What each host that is not well is told with.
TEXTS = {'mixed': 'volume 1', 'old': '104 % of its rated life', 'half': '1 disk is there',
         'bare': 'no controller', 'gone': 'Failed to connect', 'rubbish': 'no document: not a document',
         'cut': 'no document: {'}


def inventory(daemons, port):
    hosts = {name: {'veskctl': f'{daemons.simulated_host(name, scenario)}/veskctl'}
             for name, scenario in SCENARIOS.items()}
    hosts['rubbish'] = {'veskctl': 'echo not a document;:'}
    hosts['cut'] = {'veskctl': 'printf "{ \\"verdict\\": {";:'}
    hosts['gone'] = {'ansible_port': free_port()}
    variables = {'ansible_host': '127.0.0.1', 'ansible_port': port, 'ansible_user': getpass.getuser(),
                 'ansible_ssh_private_key_file': str(daemons.folder / 'user_key'),
                 'ansible_ssh_common_args': f'-o UserKnownHostsFile={daemons.folder}/known_hosts '
                                            '-o StrictHostKeyChecking=accept-new'}
    file = daemons.folder / 'hosts.json'
    file.write_text(json.dumps({'vesk': {'hosts': hosts, 'vars': variables}}))
    return file


def main():
    with Daemons() as daemons:
        hosts = inventory(daemons, daemons.start_sshd())
        began = time.monotonic()
        done = subprocess.run(
            ['ansible-playbook', '-i', hosts, COLLECT / 'vesk-fleet.yml'], check=False, text=True,
            capture_output=True, cwd=COLLECT,
            env={**os.environ, 'HOME': str(daemons.folder), 'ANSIBLE_HOME': str(daemons.folder),
                 'ANSIBLE_CONFIG': str(COLLECT / 'ansible.cfg'), 'ANSIBLE_NOCOLOR': '1',
                 'LC_ALL': 'C.UTF-8'})
        seconds = time.monotonic() - began
        lines = [line.strip().strip('",') for line in done.stdout.splitlines()]
        counts = {level: list(LEVELS.values()).count(level) for level in
                  ('ok', 'warning', 'unknown', 'critical')}
        verdict = f'The fleet is critical: {len(LEVELS)} hosts, ' + ', '.join(
            f'{count} {level}' for level, count in counts.items())
        if verdict not in lines:
            fail(f'no line says: {verdict}\n{done.stdout}{done.stderr}')
        print('   ' + verdict)
        told = [line for line in lines if line.split(' ')[0] in counts]
        for name, level in LEVELS.items():
            mine = [line for line in told if f' {name}: ' in line]
            if level == 'ok':
                expect(not mine, f'{name}: nothing to tell')
            else:
                expect(len(mine) == 1 and mine[0].startswith(level) and TEXTS[name] in mine[0],
                       mine[0] if mine else f'{name} is told')
        order = [line.split(' ')[0] for line in told]
        expect(order == sorted(order, key=['critical', 'unknown', 'warning'].index),
               f'the gravest come first; {seconds:.0f} s')


if __name__ == '__main__':
    main()
