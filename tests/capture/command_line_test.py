#!/usr/bin/env python3
"""--capture, --mask, --replay and capture show, as a user has them: what is refused, and how.

    command_line_test.py VESKCTL_SIM CAPTURE_LIBRARY WITHOUT_PROC
"""

import json
import os
import random
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

PROGRAM, LIBRARY, WITHOUT_PROC = sys.argv[1:]


def run(*arguments, program=PROGRAM, timeout=None, **environment):
    environment = {**os.environ, 'ASAN_OPTIONS': 'verify_asan_link_order=0', **environment}
    return subprocess.run([program, *map(str, arguments)], capture_output=True, text=True,
                          check=False, env=environment, timeout=timeout)


def crc32c(data):
    crc = 0xFFFFFFFF
    for byte in data:
        crc ^= byte
        for _ in range(8):
            crc = crc >> 1 ^ (0x82F63B78 if crc & 1 else 0)
    return crc ^ 0xFFFFFFFF


def mutant(content, chance):
    """The same records with some bytes changed, and the checksums set right."""
    result, at = bytearray(content[:32]), 32
    while at < len(content):
        length = struct.unpack_from('<I', content, at + 4)[0]
        record = bytearray(content[at + 8:at + 16 + length])
        for _ in range(chance.choice((0, 0, 0, 1, 3))):
            # What stands at the front says what the rest is.
            place = chance.randrange(chance.choice((min(130, len(record)), len(record))))
            record[place] = chance.choice((0, 1, 0x7F, 0x80, 0xFF, chance.randrange(256)))
        del record[chance.choice((len(record),) * 20 + (len(record) // 2 + 8,)):]
        summed = struct.pack('<I', len(record) - 8) + record
        result += struct.pack('<I', crc32c(summed)) + summed
        at += 16 + length
    return bytes(result)


class CommandLine(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.file = self.folder / 'capture'

    def capture(self, *arguments, **environment):
        result = run('--capture', self.file, *arguments, **environment)
        said = [line for line in result.stderr.splitlines()
                if ': note: ' not in line and line != 'SIMULATED HOST']
        self.assertEqual((result.returncode, said), (0, []))
        return result.stdout

    def shown(self, *arguments):
        result = run('capture', 'show', self.file, '--json', *arguments)
        return result, json.loads(result.stdout)

    def test_several_runs_go_into_one_file_and_all_are_replayed(self):
        outputs = {command: self.capture(command) for command in ('controller', 'disks', 'volumes')}
        for command, output in outputs.items():
            self.assertEqual(run('--replay', self.file, command).stdout, output)
        starts = [record for record in self.shown()[1]['records'] if record['type'] == 'start']
        self.assertEqual([start['program'] for start in starts], ['veskctl-sim'] * 3)

    def test_a_dump_has_the_capture_inside_and_gives_it_back(self):
        dump, again = self.folder / 'dump.json', self.folder / 'again'
        self.capture('dump', dump)
        result = run('capture', 'extract', dump, again)
        self.assertEqual((result.returncode, result.stderr), (0, ''))
        self.assertEqual(again.read_bytes(), self.file.read_bytes())
        self.assertEqual([path.stat().st_mode & 0o777 for path in (dump, again)], [0o600, 0o600])
        self.assertIn('information on disk 0', run('capture', 'show', again).stdout)
        replayed = self.folder / 'replayed.json'
        self.assertEqual(run('--replay', again, 'dump', replayed).returncode, 0)
        documents = [json.loads(path.read_text()) for path in (dump, replayed)]
        self.assertEqual(documents[1]['capture'], None)
        for key in ('disks', 'health', 'volumes', 'controllers', 'events'):
            self.assertEqual(documents[0][key], documents[1][key])

    def test_extract_refuses_what_holds_no_capture_or_half_of_one(self):
        dump, again = self.folder / 'dump.json', self.folder / 'again'
        run('dump', dump)
        self.capture('controller')
        for document, reason in (
                (dump.read_text(), 'there is no capture in'),
                (self.file.read_bytes().decode('latin-1'), 'is no dump'),
                (dump.read_text().replace('"capture": null',
                                          '"capture": {"base64": "Zm9v", "size_bytes": 4}'),
                 'is damaged'),
                (dump.read_text().replace('"capture": null',
                                          '"capture": {"base64": 7, "size_bytes": 4}'),
                 'is damaged')):
            dump.write_text(document)
            result = run('capture', 'extract', dump, again)
            self.assertEqual(result.returncode, 1, result.stderr)
            self.assertIn(reason, result.stderr)
            self.assertFalse(again.exists())

    def test_what_was_never_recorded_is_an_error_and_no_answer(self):
        self.capture('controller')
        result = run('--replay', self.file, 'disks', '--json')
        document = json.loads(result.stdout)
        self.assertEqual(result.returncode, 1)
        self.assertNotIn('disks', document)
        self.assertEqual({error['code'] for error in document['errors']}, {'not_in_capture'})
        self.assertIn('information on disk 0', result.stderr)
        self.assertIn('never recorded', result.stderr)
        self.assertEqual(run('--replay', self.file, 'disks').stdout, '')

    def test_show_lists_commands_in_words_with_their_numbers(self):
        self.capture('locate', 'on', '1')
        text = run('capture', 'show', self.file).stdout
        self.assertIn('open "nvmeMgmt": result 0', text)
        self.assertIn('locate light on at disk 1: result 0', text)
        self.assertIn('opcode 0xe2, nsid 0x0, cdw10 0x0, cdw11 0x0, cdw12 0x7e1', text)
        self.assertNotIn('|', text)
        self.assertIn('3a 30 30 2e 30 20', run('capture', 'show', self.file, '--hex').stdout)
        document = self.shown('--hex')[1]
        self.assertEqual((document['format'], document['masked']), (1, False))
        locate = [record for record in document['records']
                  if record.get('name') == 'locate light on at disk 1']
        self.assertEqual(len(locate), 1)
        self.assertEqual(locate[0]['command']['cdw14'], 0x20001)
        self.assertEqual((locate[0]['status_code'], locate[0]['result']), (0, 0))
        self.assertTrue(locate[0]['pieces'][0]['hex'].startswith('01'))

    def test_damage_is_shown_up_to_its_place(self):
        self.capture('disks')
        whole = self.shown()[1]['records']
        content = self.file.read_bytes()
        self.file.write_bytes(content[:whole[10]['offset'] + 5])
        result, document = self.shown()
        self.assertEqual(result.returncode, 1)
        self.assertEqual(document['records'], whole[:10])
        self.assertEqual(document['errors'][0]['code'], 'capture_damaged')
        self.assertIn(f'record 11 at offset {whole[10]["offset"]}', document['errors'][0]['message'])

    def test_a_replay_tells_of_damage_where_an_answer_is_missing_and_where_none_is(self):
        self.capture('controller')
        self.capture('disks')
        records = self.shown()[1]['records']
        second = [record for record in records if record['type'] == 'start'][1]
        content = self.file.read_bytes()
        self.file.write_bytes(content[:second['offset'] + 5])
        place = f'record {second["number"]} at offset {second["offset"]}: the file ends inside'

        result = run('--replay', self.file, 'disks', '--json')
        self.assertEqual((result.returncode, 'disks' in json.loads(result.stdout)), (1, False))
        errors = json.loads(result.stdout)['errors']
        self.assertEqual([error['code'] for error in errors[:2]],
                         ['capture_damaged', 'not_in_capture'])
        self.assertIn(place, errors[0]['message'])
        self.assertIn(place, result.stderr)
        self.assertNotIn('take one of this command', result.stderr)

        result = run('--replay', self.file, 'controller')
        self.assertEqual(result.returncode, 0)
        self.assertIn('note: ', result.stderr)
        self.assertIn(place, result.stderr)

    def test_foreign_and_newer_files_are_refused(self):
        self.capture('controller')
        newer = bytearray(self.file.read_bytes())
        newer[8:10] = struct.pack('<H', 7)
        for content, reason in ((b'some text that is no capture at all', 'no capture file'),
                                (b'', 'empty'), (bytes(newer), 'newer program (format 7'),
                                (b'VESKC', 'ends inside its header, at offset 5'),
                                (bytes(newer[:8]), 'ends inside its header, at offset 8')):
            self.file.write_bytes(content)
            for arguments, code in ((['capture', 'show', self.file], 1),
                                    (['--replay', self.file, 'disks'], 2)):
                result = run(*arguments)
                self.assertEqual(result.returncode, code, result.stderr)
                self.assertIn(reason, result.stderr)

    def test_hostile_captures_give_an_answer_or_a_reason(self):
        self.capture('controller')
        content = self.file.read_bytes()
        for seed in range(12):
            self.file.write_bytes(mutant(content, random.Random(seed)))
            for arguments in (['capture', 'show', self.file, '--hex'],
                              ['capture', 'show', self.file, '--hex', '--json'],
                              ['--replay', self.file, 'controller']):
                result = run(*arguments)
                self.assertIn(result.returncode, (0, 1, 2), f'{seed}: {arguments}: {result.stderr}')
                self.assertTrue(result.returncode == 0 or 'veskctl' in result.stderr, seed)

    def test_files_that_are_not_there(self):
        for arguments, code in ((['capture', 'show', self.file], 1),
                                (['--replay', self.file, 'disks'], 2)):
            result = run(*arguments)
            self.assertEqual(result.returncode, code)
            self.assertIn('cannot be opened: No such file', result.stderr)
        self.assertEqual(run('capture', 'show').returncode, 2)

    def test_what_is_no_plain_file_is_refused_and_not_read_for_ever(self):
        os.mkfifo(self.file)
        for path in (self.file, '/dev/zero', self.folder):
            for arguments, code in ((['capture', 'show', path], 1),
                                    (['--replay', path, 'disks'], 2)):
                result = run(*arguments, timeout=30)
                self.assertEqual(result.returncode, code)
                self.assertIn('is no plain file', result.stderr)

    def test_a_capture_that_cannot_be_written_comes_before_the_command(self):
        for path in ('/nonexistent/capture', self.folder, '/dev/full'):
            result = run('--capture', path, 'events')
            self.assertEqual((result.returncode, result.stdout), (2, ''), result.stderr)
            self.assertIn('nothing is recorded', result.stderr)

    def test_a_host_without_proc_will_do(self):
        output = self.capture('controller', LD_PRELOAD=WITHOUT_PROC)
        self.assertEqual(run('--replay', self.file, 'controller').stdout, output)
        # However the program was called.
        link = self.folder / 'link'
        link.symlink_to(PROGRAM)
        environment = {'LD_PRELOAD': WITHOUT_PROC,
                       'PATH': f'{self.folder}:{Path(PROGRAM).parent}:{os.environ["PATH"]}'}
        for called in (link, os.path.relpath(PROGRAM), 'link', Path(PROGRAM).name):
            result = run('--capture', self.file, 'controller', program=called, **environment)
            self.assertEqual((result.returncode, result.stdout), (0, output), result.stderr)

    def test_a_program_that_cannot_start_itself_tells_the_other_way(self):
        result = run('--capture', self.file, 'controller', LD_PRELOAD=WITHOUT_PROC,
                     VESK_TEST_NO_EXEC='1')
        self.assertEqual((result.returncode, result.stdout), (1, ''))
        self.assertIn(f'LD_PRELOAD={LIBRARY} VESK_CAPTURE={self.file} ', result.stderr)

    def test_a_full_disk_leaves_the_answer_and_is_an_error(self):
        for _ in range(4):  # to be larger than what else is written
            self.capture('disks')
        # Without the counters that a build for coverage leaves behind.
        script = (f'export LLVM_PROFILE_FILE=/dev/null; '
                  f'ulimit -f {self.file.stat().st_size // 1024 + 16}; exec "$@"')
        result = run('-c', script, 'sh', PROGRAM, '--capture', self.file, 'disks', '--json',
                     program='bash')
        document = json.loads(result.stdout)
        self.assertEqual(len(document['disks']), 2)
        self.assertEqual([error['code'] for error in document['errors']], ['capture_failed'])
        self.assertEqual(result.returncode, 1)

    def test_options_that_do_not_go_together(self):
        for arguments in (['--mask', 'disks'], ['--replay', 'x', '--scenario', 'worn', 'disks'],
                          ['--replay', 'x', '--state', 'y', 'disks'],
                          ['--capture', self.file, 'capture', 'show', self.file]):
            self.assertEqual(run(*arguments).returncode, 2, arguments)
        self.capture('controller')
        self.assertEqual(run('--replay', self.file, 'sim', 'leds').returncode, 2)

    def test_a_missing_capture_library_is_named(self):
        (self.folder / 'bin').mkdir()
        program = self.folder / 'bin' / 'veskctl-sim'
        shutil.copy2(PROGRAM, program)
        libraries = self.folder / 'other'
        libraries.mkdir()
        for name in ('libVeskNvme.so', 'libvmkmgmt.so'):
            shutil.copy2(Path(LIBRARY).with_name(name), libraries)
        arguments = ['--library', libraries / 'libVeskNvme.so', '--capture', self.file, 'controller']
        result = run(*arguments, program=program, LD_LIBRARY_PATH=str(libraries))
        self.assertEqual(result.returncode, 1)
        self.assertIn(f'neither {self.folder}/lib/libvesk-capture.so nor '
                      f'{libraries}/libvesk-capture.so', result.stderr)
        shutil.copy2(LIBRARY, libraries)
        result = run(*arguments, program=program, LD_LIBRARY_PATH=str(libraries))
        self.assertEqual((result.returncode, result.stderr), (0, ''))

    def test_masks_stay_the_same_with_the_same_key_only(self):
        self.capture('--mask', 'disks', VESK_CAPTURE_MASK='one key')
        self.capture('--mask', 'health', VESK_CAPTURE_MASK='one key')
        serials = [[disk['serial_number'] for disk in json.loads(
            run('--replay', self.file, command, '--json').stdout)[command]]
                   for command in ('disks', 'health')]
        self.assertEqual(serials[0], serials[1])
        self.assertNotIn(b'VD00480A00017', self.file.read_bytes())
        other = run('--capture', self.file, '--mask', 'disks')
        self.assertEqual(other.returncode, 2)
        self.assertIn('another key', other.stderr)
        self.assertIn('is masked', run('--capture', self.file, 'disks').stderr)

    def test_serials_in_texts_of_events_are_masked_also_where_a_page_cuts_them(self):
        serial = 'VD00480A000170'
        events = [{'sequence': number, 'event_id': 101, 'class': 'PD', 'severity': 'INFO',
                   'description': f'{"x" * (number % 23)} {serial}'}
                  for number in range(1, 500)]
        scenario = {'adapters': [{'name': 'vmhba2', 'cut_event_lines': True, 'events': events}]}
        path = self.folder / 'scenario.json'
        path.write_text(json.dumps(scenario))
        live = self.capture('--scenario', path, '--mask', 'events', '--ndjson')
        content = self.file.read_bytes()
        for size in range(6, len(serial) + 1):
            for at in range(len(serial) - size + 1):
                self.assertNotIn(serial[at:at + size].encode(), content)
        replayed = run('--replay', self.file, 'events', '--ndjson').stdout
        mask = json.loads(replayed.splitlines()[0])['message'].split()[-1]
        self.assertEqual(len(mask), len(serial))
        for one, other in zip(live.splitlines(), replayed.splitlines(), strict=True):
            one, other = json.loads(one), json.loads(other)
            # 29 characters of a description are kept, so the end of a serial number may be missing.
            for size in range(len(serial), 0, -1):
                if one['message'].endswith(serial[:size]):
                    one['message'] = one['message'][:-size] + mask[:size]
                    break
            self.assertEqual(one, other)


if __name__ == '__main__':
    unittest.main(argv=sys.argv[:1])
