#!/usr/bin/env python3
"""What a command shows on a simulated host, it shows again out of a capture of that run.

    replay_equals_live.py VESKCTL_SIM CAPTURE_LIBRARY SCENARIO

Each command runs as JSON, some as CSV or NDJSON, those that write a file once, and on the healthy host
most as tables, too: live, while it is captured, and out of that capture. Then with masks:
but for these nothing differs, and no serial number is in the file. "serials-in-events" is a scenario of
this test's own.
"""

import copy
import difflib
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
            'locate off 0', 'version', 'disks -o csv', 'volumes --ndjson', 'dump', 'metrics', 'report']
MASKED = ['controller', 'disks', 'health', 'events', 'dump']
WRITERS = ['dump', 'report']
# Where each look at the log takes long, one that shows its events and one that keeps them.
LONG_LOG = {'busy-log': ['check', 'dump']}
# No second form: the words say which, or there is one only.
ONE_FORM = ['disks -o csv', 'volumes --ndjson', 'metrics', *WRITERS]
# These wait half a second for the library's look at the log. On a machine that is so busy that it has
# not begun by then they tell of no events: another try.
HASTY = ['check', 'status', 'doctor', 'dump', 'metrics', 'report']
TRIES = 50
WAIT = 100  # seconds; 'events' goes on at once when there are some
SILENT = ['empty-mapping']  # there never are
KEY = 'key of this test'
OWN_SCENARIO = 'serials-in-events'
# What differs in each run: when it was, how long it took, and the capture inside.
OF_THE_RUN = [(rb'(taken_at(_raw)?(&quot;|")): [^\n]*', rb'\1: -'),
              (rb'(vesk_scrape_duration_seconds) [0-9.e-]+', rb'\1 -'),
              (rb'(<title>[^<]*), [^<]*<', rb'\1, -<'),
              (rb'(<p class="soft">As it was at ).*', rb'\1-'),
              (rb'"capture": (null|{[^}]*})', rb'"capture": -')]


def fail(text):
    sys.exit(f'replay_equals_live: {text}')


class Tool:
    def __init__(self, program, library, scenario):
        self.program, self.library, self.scenario = program, library, scenario
        # The capture library stands before a sanitizer's.
        self.environment = {**os.environ, 'ASAN_OPTIONS': 'verify_asan_link_order=0'}

    def run(self, *arguments, **environment):
        """Of a command that writes a file, standard output is what is in the file."""
        written = None
        if arguments[-1] in WRITERS:
            with tempfile.NamedTemporaryFile(delete=False) as file:
                written = Path(file.name)
            arguments = [*arguments, written]
        result = subprocess.run([self.program, *arguments], capture_output=True, check=False,
                                env={**self.environment, **environment})
        if written:
            result.stdout = written.read_bytes()
            written.unlink()
        for form, replacement in OF_THE_RUN:
            result.stdout = re.sub(form, replacement, result.stdout)
        return result

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
            lines = [repr(getattr(one, stream)).split('\\n') for one in (expected, result)]
            fail(f'{what}: {stream} differs\n' +
                 '\n'.join(difflib.unified_diff(*lines, 'expected', 'got', lineterm='', n=1)))


def serials_of(result):
    """Of a list of disks or of controllers, in its order."""
    document = json.loads(result.stdout)
    return [part['serial_number'] for key in ('disks', 'health', 'controllers')
            for part in document.get(key, []) if part.get('serial_number')]


def masks_of(tool, folder):
    """The mask of each serial number of the host."""
    masks = {}
    for words in (['controller', '--json'], ['disks', '--json'], ['health', '--json']):
        file = folder / 'masks'
        tool.captured(file, words, VESK_CAPTURE_MASK=KEY)
        found = zip(serials_of(tool.live(words)), serials_of(tool.replayed(file, words)),
                    strict=True)
        for serial, mask in found:
            if masks.setdefault(serial, mask) != mask or mask == serial:
                fail(f'{tool.scenario}: {serial} is masked as {mask} and as {masks[serial]}')
        file.unlink()
    return masks


def check_masked(tool, file, what, words, last):
    """True if all is as it should be, as check_once()."""
    live = tool.live(words)
    captured = tool.captured(file, words, VESK_CAPTURE_MASK=KEY)
    replayed = tool.replayed(file, words)
    content = file.read_bytes()
    file.unlink()
    for serial in tool.masks:
        # Behind the first byte that the document could not show.
        text = re.split('[^ -~]', serial)[0].encode()
        if len(text) >= 4 and text in content:
            fail(f'{what}: {text} is in the masked capture')
    masked = copy.copy(live)
    for serial, mask in tool.masks.items():
        masked.stdout = masked.stdout.replace(*(json.dumps(text, ensure_ascii=False)[1:-1].encode()
                                                for text in (serial, mask)))
    results = [(f'{what}, masked, while it is captured', live, captured),
               (f'{what}, masked', masked, replayed)]
    if not last and not all(equal(one, other) for _, one, other in results):
        return False
    for result in results:
        same(*result)
    return True


def tried(check, tries):
    while not check(tries == 1):
        tries -= 1


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
    # All forms ask the same of the controller; what is shown of one thing is in its list as well.
    single = 'show' in command or command in ('health 0', 'status', 'doctor')
    both = tool.scenario == 'healthy' and not single
    forms = [[]] if command in ONE_FORM else [['--json'], []] if both else [['--json']]
    for form in forms:
        words = [*command.split(), *form]
        # A log that grows is another one in another run.
        with_live = form == forms[0] and tool.scenario != 'event-storm'
        tries = TRIES if command in HASTY else 1
        tried(lambda last: check_once(tool, file, words, with_live, last), tries)
        if (form == forms[0] and words[0] in MASKED and command != 'disks -o csv' and
                tool.scenario != 'event-storm'):
            what = f'{tool.scenario}: {" ".join(words)}'
            tried(lambda last: check_masked(tool, file, what, words, last), tries)


def own_scenario():
    disks = [{'id': number, 'serial': f'VD00480A00017{number}'} for number in (0, 1)]
    events = [{'event_id': 102, 'class': 'PD', 'severity': 'MAJOR', 'description': text}
              for disk in disks for text in (f'{disk["serial"]} gone', f'was {disk["serial"]}',
                                             f'SN:{disk["serial"]}, slot 1')]
    return {'adapters': [{'name': 'vmhba2', 'disks': disks, 'events': events}]}


def main():
    tool = Tool(*sys.argv[1:])
    # Some at once, since some wait.
    with tempfile.TemporaryDirectory() as folder, ThreadPoolExecutor(4) as executor:
        if tool.scenario == OWN_SCENARIO:
            tool.scenario = Path(folder, f'{OWN_SCENARIO}.json')
            tool.scenario.write_text(json.dumps(own_scenario()))
        tool.masks = masks_of(tool, Path(folder))
        commands = LONG_LOG.get(tool.scenario, COMMANDS)
        checks = [executor.submit(check_command, tool, Path(folder, f'capture-{number}'), command)
                  for number, command in enumerate([f'events --wait {WAIT}', *commands])]
        for ended in checks:
            ended.result()


if __name__ == '__main__':
    main()
