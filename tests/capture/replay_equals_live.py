#!/usr/bin/env python3
"""What a command shows on a simulated host, it shows again out of a capture of that run.

    replay_equals_live.py VESKCTL_SIM CAPTURE_LIBRARY SCENARIO

Each command runs as table and as JSON, those about one disk or volume as JSON: live, while it is
captured, and out of that capture. Then with masks: but for these nothing differs, and no serial number
is in the file.
"""

import json
import os
import re
import subprocess
import sys
import tempfile
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

COMMANDS = ['controller', 'disks', 'disks show 0', 'disks show 1', 'health', 'health 0', 'volumes',
            'volumes show 0', 'link', 'space', 'check', 'status', 'doctor', 'locate on 1',
            'locate off 0', 'version']
MASKED = ['controller', 'disks', 'health', 'events']
# These wait half a second for the library's look at the log. On a machine that is so busy that it has
# not begun by then they tell of no events: another try.
HASTY = ['check', 'status', 'doctor']
TRIES = 50
WAIT = 100  # seconds; 'events' goes on at once when there are some
SILENT = ['empty-mapping']  # there never are


def fail(text):
    sys.exit(f'replay_equals_live: {text}')


class Tool:
    def __init__(self, program, library, scenario):
        self.program, self.library, self.scenario = program, library, scenario
        # The capture library stands before a sanitizer's.
        self.environment = {**os.environ, 'ASAN_OPTIONS': 'verify_asan_link_order=0'}

    def run(self, *arguments, **environment):
        return subprocess.run([self.program, *arguments], capture_output=True, check=False,
                              env={**self.environment, **environment})

    def live(self, words):
        return self.run('--scenario', self.scenario, *words)

    def captured(self, file, words, **environment):
        if words[0] in ('controller', 'version'):  # the program's own way to the same
            return self.run('--scenario', self.scenario, '--capture', str(file), *words,
                            **environment)
        return self.run('--scenario', self.scenario, *words, LD_PRELOAD=self.library,
                        VESK_CAPTURE=str(file), **environment)

    def replayed(self, file, words):
        return self.run('--replay', str(file), *words)


STREAMS = ('returncode', 'stdout', 'stderr')


def equal(one, other):
    return all(getattr(one, stream) == getattr(other, stream) for stream in STREAMS)


def same(what, expected, result):
    for stream in STREAMS:
        if getattr(expected, stream) != getattr(result, stream):
            fail(f'{what}: {stream} differs\n--- expected\n{getattr(expected, stream)}\n--- got\n'
                 f'{getattr(result, stream)}')


def serials_of(result):
    document = json.loads(result.stdout)
    return [disk['serial_number'] for key in ('disks', 'health') for disk in document.get(key, [])
            if disk['serial_number']]


def check_masked(tool, file, what, words):
    live = tool.live(words)
    masked = tool.captured(file, words, VESK_CAPTURE_MASK='key of this test')
    same(f'{what}, masked, while it is captured', live, masked)
    replayed = tool.replayed(file, words)
    masks = {}
    for serial, mask in zip(serials_of(live), serials_of(replayed)):
        if masks.setdefault(serial, mask) != mask or mask == serial:
            fail(f'{what}: {serial} is masked as {mask} and as {masks[serial]}')
    for serial, mask in masks.items():
        live.stdout = live.stdout.replace(json.dumps(serial, ensure_ascii=False).encode(),
                                          json.dumps(mask, ensure_ascii=False).encode())
    same(f'{what}, masked', live, replayed)
    content = file.read_bytes()
    for serial in masks:
        # Behind the first byte that the document could not show.
        text = re.split('[^ -~]', serial)[0].encode()
        if len(text) >= 4 and text in content:
            fail(f'{what}: {text} is in the masked capture')
    file.unlink()


def check_silent(tool, file):
    """Nothing of the library's look at the log is shown, so the capture has to tell of it."""
    words = ['events', '--wait', '1', '--json']
    for _ in range(TRIES):
        live = tool.captured(file, words)
        if b'event log' in tool.run('capture', 'show', str(file)).stdout:
            same(f'{tool.scenario}: {" ".join(words)}, replayed', live, tool.replayed(file, words))
            return
        file.unlink()
    fail(f'{tool.scenario}: the library never looks at the log')


def check_once(tool, file, words, with_live, last):
    """True if all is the same; False if it is not, or the end if this was the last try."""
    what = f'{tool.scenario}: {" ".join(words)}'
    captured = tool.captured(file, words)
    results = [(f'{what}, replayed', captured, tool.replayed(file, words))]
    if with_live:
        results.append((f'{what}, while it is captured', tool.live(words), captured))
    file.unlink()
    if not last and not all(equal(one, other) for _, one, other in results):
        return False
    for result in results:
        same(*result)
    return True


def check_command(tool, file, command):
    if tool.scenario in SILENT and command.startswith('events'):
        check_silent(tool, file)
        return
    # What a command shows of one thing is in its list as well.
    single = 'show' in command or command in ('health 0', 'status', 'doctor')
    for form in ([['--json']] if single else [[], ['--json']]):
        words = [*command.split(), *form]
        # A log that grows is another one in another run.
        with_live = not form and tool.scenario != 'event-storm'
        tries = TRIES if command in HASTY else 1
        while not check_once(tool, file, words, with_live, tries == 1):
            tries -= 1
        if form and words[0] in MASKED and tool.scenario != 'event-storm':
            check_masked(tool, file, f'{tool.scenario}: {" ".join(words)}', words)


def main():
    tool = Tool(*sys.argv[1:])
    # Some at once, since some wait.
    with tempfile.TemporaryDirectory() as folder, ThreadPoolExecutor(4) as executor:
        checks = [executor.submit(check_command, tool, Path(folder, f'capture-{number}'), command)
                  for number, command in enumerate([f'events --wait {WAIT}', *COMMANDS])]
        for ended in checks:
            ended.result()


if __name__ == '__main__':
    main()
