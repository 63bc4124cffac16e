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
from pathlib import Path

COMMANDS = ['controller', 'disks', 'disks show 0', 'disks show 1', 'health', 'health 0', 'volumes',
            'volumes show 0', 'link', 'space', 'check', 'locate on 1', 'locate off 0', 'version']
MASKED = ['controller', 'disks', 'health', 'events']


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


def same(what, expected, result):
    for stream in ('returncode', 'stdout', 'stderr'):
        if getattr(expected, stream) != getattr(result, stream):
            fail(f'{what}: {stream} differs\n--- expected\n{getattr(expected, stream)}\n--- got\n'
                 f'{getattr(result, stream)}')


def serials_of(result):
    document = json.loads(result.stdout)
    return [disk['serial_number'] for key in ('disks', 'health') for disk in document.get(key, [])
            if disk['serial_number']]


def check_masked(tool, file, what, words, live):
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


def main():
    tool = Tool(*sys.argv[1:])
    with tempfile.TemporaryDirectory() as name:
        file = Path(name) / 'capture'
        # Without waiting, the library's look at the log may be cut short, in the capture as well.
        events = 'events --wait 1'
        for command in [*COMMANDS, events]:
            # What a command shows of one thing is in its list as well.
            single = 'show' in command or command == 'health 0'
            for form in ([['--json']] if single else [[], ['--json']]):
                words = [*command.split(), *form]
                what = f'{tool.scenario}: {" ".join(words)}'
                live = tool.captured(file, words)
                # A log that grows is another one in another run.
                if not form and tool.scenario != 'event-storm':
                    same(f'{what}, while it is captured', tool.live(words), live)
                same(f'{what}, replayed', live, tool.replayed(file, words))
                file.unlink()
                if form and words[0] in MASKED and tool.scenario != 'event-storm':
                    check_masked(tool, file, what, words, live)


if __name__ == '__main__':
    main()
