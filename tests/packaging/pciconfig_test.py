#!/usr/bin/env python3
"""vesk-pciconfig under the host's shell: recorded listings in, the library's two text files out.

Runs with busybox programs and nothing else on its path. Exit code 77 says that busybox is missing.
"""

import os
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

HERE = Path(__file__).resolve().parent
SCRIPT = HERE.parent.parent / 'packaging' / 'pciconfig' / 'vesk-pciconfig'
LISTINGS = HERE / 'listings'
EXPECTED = HERE / 'expected'
BUSYBOX = shutil.which('busybox')

ADDRESS_FILE = 'Templspcibdf.txt'
CONFIG_FILE = 'Templspciconfig.txt'
PROGRAMS = ['awk', 'cat', 'mkdir', 'mv', 'rm', 'sed', 'sh']

CONTROLLER = '0000:3b:00.0 vmhba2\n'
CONTROLLER_AND_SATA = '0000:00:17.0 vmhba0\n0000:3b:00.0 vmhba2\n'

# Name, listing, further arguments, address file, file with the expected bytes.
GOOD = [
    ('pciutils with 256 bytes', 'pciutils_xxx.txt', ['--adapter', 'vmhba2=0000:3b:00.0'],
     CONTROLLER, 'controller.txt'),
    ('an address without a domain', 'pciutils_xxx.txt', ['--adapter', 'vmhba2=3B:00.0'],
     CONTROLLER, 'controller.txt'),
    ('an address with a short domain', 'pciutils_xxx.txt', ['--adapter', 'vmhba2=0:3b:00.0'],
     CONTROLLER, 'controller.txt'),
    ('two adapters, the later one first', 'pciutils_xxx.txt',
     ['--adapter', 'vmhba2=3b:00.0', '--adapter', 'vmhba0=00:17.0'],
     CONTROLLER_AND_SATA, 'controller_and_sata.txt'),
    ('pciutils with domains and 4096 bytes', 'pciutils_domain_xxxx.txt',
     ['--adapter', 'vmhba2=0000:3b:00.0'], CONTROLLER, 'controller.txt'),
    ('pciutils with explanations between', 'pciutils_verbose.txt',
     ['--adapter', 'vmhba2=3b:00.0'], CONTROLLER, 'controller.txt'),
    ('the host, names from its plain listing', 'host_e.txt', ['--names', 'host_plain.txt'],
     CONTROLLER_AND_SATA, 'controller_and_sata.txt'),
    ('the host, names from its device list', 'host_e.txt', ['--names', 'host_pci_list.txt'],
     CONTROLLER_AND_SATA, 'controller_and_sata.txt'),
    ('an adapter that is given keeps the named ones out', 'host_e.txt',
     ['--names', 'host_plain.txt', '--adapter', 'vmhba2=0000:3b:00.0'],
     CONTROLLER, 'controller.txt'),
    ('odd domains, the name that begins another one first', 'odd_domains.txt', [],
     '0001:3b:00.1 vmhba1\n10000:01:00.0 vmhba12\n', 'odd_domains.txt'),
    ('capital letters and carriage returns', 'upper_case_crlf.txt', [],
     CONTROLLER, 'controller.txt'),
]

# Name, listing, further arguments, exit code, what is said.
REFUSED = [
    ('64 bytes', 'pciutils_x.txt', ['--adapter', 'vmhba2=3b:00.0'], 5,
     'vesk-pciconfig: the bytes of vmhba2 at 0000:3b:00.0 are cut: 4 of 16 rows\n'
     'vesk-pciconfig: list them as root, with lspci -e or lspci -xxx; files that are there stay as '
     'they are\n'),
    ('a listing that ends within a row', 'cut_in_a_row.txt', [], 5,
     'vesk-pciconfig: the bytes of vmhba2 at 0000:3b:00.0 are cut: 15 of 16 rows; '
     'not understood: f0: 00 00 00 00 00 00 00 00 00\n'
     'vesk-pciconfig: list them as root, with lspci -e or lspci -xxx; files that are there stay as '
     'they are\n'),
    ('a missing row', 'row_missing.txt', [], 5,
     'vesk-pciconfig: the bytes of vmhba2 at 0000:3b:00.0 are cut: 7 of 16 rows; '
     'not understood: 80: 40 00 43 10 00 00 00 00 00 00 00 00 00 00 00 00\n'
     'vesk-pciconfig: list them as root, with lspci -e or lspci -xxx; files that are there stay as '
     'they are\n'),
    ('a byte that is none', 'bad_byte.txt', [], 5,
     'vesk-pciconfig: the bytes of vmhba2 at 0000:3b:00.0 are cut: 7 of 16 rows; '
     'not understood: 70: 10 00 02 00 c1 8f 00 10 37 28 0a 00 8g 30 40 00\n'
     'vesk-pciconfig: list them as root, with lspci -e or lspci -xxx; files that are there stay as '
     'they are\n'),
    ('no bytes at all', 'host_plain.txt', [], 5,
     'vesk-pciconfig: the bytes of vmhba0 at 0000:00:17.0 are cut: 0 of 16 rows\n'
     'vesk-pciconfig: list them as root, with lspci -e or lspci -xxx; files that are there stay as '
     'they are\n'),
    ('a device that does not answer', 'silent_device.txt', [], 5,
     'vesk-pciconfig: vmhba2 at 0000:3b:00.0 does not answer: its bytes are ff\n'
     'vesk-pciconfig: look whether the adapter is still there; files stay as they are\n'),
    ('no name', 'pciutils_xxx.txt', [], 4,
     'vesk-pciconfig: no storage adapter has a name (vmhbaN) in the listing\n'
     'vesk-pciconfig: say where it is: --adapter vmhba2=0000:3b:00.0\n'),
    ('an address that is not there', 'pciutils_xxx.txt', ['--adapter', 'vmhba2=0001:3b:00.0'], 4,
     'vesk-pciconfig: the listing has no device at 0001:3b:00.0 for vmhba2\n'
     'vesk-pciconfig: look for its address with: lspci\n'),
    ('one name at two addresses', 'host_e.txt',
     ['--adapter', 'vmhba2=3b:00.0', '--adapter', 'vmhba2=00:17.0'], 4,
     'vesk-pciconfig: vmhba2 stands at 0000:3b:00.0 and at 0000:00:17.0\n'
     'vesk-pciconfig: say which one it is with --adapter vmhba2=ADDRESS\n'),
    ('an adapter without an address', 'host_e.txt', ['--adapter', 'vmhba2'], 2,
     'vesk-pciconfig: "vmhba2" is no adapter and address\n'
     'vesk-pciconfig: write it like this: --adapter vmhba2=0000:3b:00.0\n'),
    ('a name that is none of an adapter', 'host_e.txt', ['--adapter', 'b=0000:3b:00.0'], 2,
     'vesk-pciconfig: "b=0000:3b:00.0" is no adapter and address\n'
     'vesk-pciconfig: write it like this: --adapter vmhba2=0000:3b:00.0\n'),
    ('a file that is not there', 'absent.txt', [], 3,
     f'vesk-pciconfig: cannot read {LISTINGS}/absent.txt\n'
     'vesk-pciconfig: name a file with the output of lspci\n'),
    ('an unknown argument', 'host_e.txt', ['--form', 'x'], 2,
     "vesk-pciconfig: unknown argument '--form'\n"
     'vesk-pciconfig: see vesk-pciconfig --help\n'),
    ('an option without its value', 'host_e.txt', ['--to'], 2,
     'vesk-pciconfig: --to needs a value\n'
     'vesk-pciconfig: see vesk-pciconfig --help\n'),
    ('an option for a value', 'host_e.txt', ['--to', '--names'], 2,
     'vesk-pciconfig: --to needs a value\n'
     'vesk-pciconfig: see vesk-pciconfig --help\n'),
    ('standard input where nothing is read', 'host_e.txt', ['--to', '-'], 2,
     'vesk-pciconfig: --to needs a value\n'
     'vesk-pciconfig: see vesk-pciconfig --help\n'),
    ('an adapter of two lines', 'host_e.txt', ['--adapter', 'vmhba2=3b:00.0\n= bytes'], 2,
     'vesk-pciconfig: --adapter has a line end or another control character in its value\n'
     'vesk-pciconfig: write it like this: --adapter vmhba2=0000:3b:00.0\n'),
]


class HostShell(unittest.TestCase):
    def setUp(self):
        self.root = Path(tempfile.mkdtemp(prefix='vesk-pciconfig-'))
        self.addCleanup(shutil.rmtree, self.root)
        self.programs = self.root / 'bin'
        self.programs.mkdir()
        for program in PROGRAMS:
            (self.programs / program).symlink_to(BUSYBOX)
        self.target = self.root / 'opt' / 'pciconfig'

    def run_script(self, *arguments, before='', text=None):
        """The script with its target folder; `before` is shell text that runs first."""
        command = [str(self.programs / 'sh'), '-c', before + ' exec sh "$0" "$@"', str(SCRIPT),
                   '--to', str(self.target), *arguments]
        return subprocess.run(command, env={'PATH': str(self.programs)}, input=text, check=False,
                              capture_output=True, text=True, timeout=60)

    def program(self, name, text):
        """A program of the host, as shell text."""
        path = self.programs / name
        path.write_text('#!' + str(self.programs / 'sh') + '\n' + text)
        path.chmod(0o755)

    def read(self, name):
        return (self.target / name).read_text()

    def fill_target(self):
        self.target.mkdir(parents=True)
        (self.target / ADDRESS_FILE).write_text('good addresses\n')
        (self.target / CONFIG_FILE).write_text('good bytes\n')

    def expect_untouched(self):
        self.assertEqual(sorted(os.listdir(self.target)), [ADDRESS_FILE, CONFIG_FILE])
        self.assertEqual(self.read(ADDRESS_FILE), 'good addresses\n')
        self.assertEqual(self.read(CONFIG_FILE), 'good bytes\n')

    def expect_controller(self):
        self.assertEqual(sorted(os.listdir(self.target)), [ADDRESS_FILE, CONFIG_FILE])
        self.assertEqual(self.read(ADDRESS_FILE), CONTROLLER)
        self.assertEqual(self.read(CONFIG_FILE), (EXPECTED / 'controller.txt').read_text())


class Listings(HostShell):
    def arguments(self, listing, more):
        more = [str(LISTINGS / item) if item.endswith('.txt') else item for item in more]
        return ['--from', str(LISTINGS / listing), *more]

    def test_good_ones_become_both_files(self):
        for name, listing, more, addresses, config in GOOD:
            with self.subTest(name):
                shutil.rmtree(self.target, ignore_errors=True)
                done = self.run_script(*self.arguments(listing, more))
                self.assertEqual(done.stderr, '')
                self.assertEqual(done.returncode, 0)
                self.assertEqual(sorted(os.listdir(self.target)), [ADDRESS_FILE, CONFIG_FILE])
                self.assertEqual(self.read(ADDRESS_FILE), addresses)
                self.assertEqual(self.read(CONFIG_FILE), (EXPECTED / config).read_text())

    def test_refused_ones_leave_the_files_alone(self):
        self.fill_target()
        for name, listing, more, code, said in REFUSED:
            with self.subTest(name):
                done = self.run_script(*self.arguments(listing, more))
                self.assertEqual(done.stderr, said)
                self.assertEqual(done.returncode, code)
                self.assertEqual(done.stdout, '')
                self.expect_untouched()

    def test_shorter_names_stand_first(self):
        # The library takes the first line that contains a name: vmhba1 is in vmhba10.
        names = ['vmhba10', 'vmhba1', 'vmhba100', 'vmhba2', 'vmhba11', 'vmhba32', 'vmhba9']
        more = [item for name in names for item in ('--adapter', name + '=3b:00.0')]
        done = self.run_script(*self.arguments('pciutils_xxx.txt', more))
        self.assertEqual(done.returncode, 0, done.stderr)
        expected = ['0000:3b:00.0 vmhba1', '0000:3b:00.0 vmhba2', '0000:3b:00.0 vmhba9',
                    '0000:3b:00.0 vmhba10', '0000:3b:00.0 vmhba11', '0000:3b:00.0 vmhba32',
                    '0000:3b:00.0 vmhba100']
        self.assertEqual(self.read(ADDRESS_FILE).splitlines(), expected)
        self.assertEqual(self.read(CONFIG_FILE).splitlines()[::17], expected)

    def test_row_of_any_length_is_refused_at_once(self):
        listing = (LISTINGS / 'pciutils_xxx.txt').read_text()
        self.fill_target()
        done = self.run_script('--from', '-', '--adapter', 'vmhba2=3b:00.0',
                               text=listing.replace('\n40: ', '\n40: ' + '00 ' * 300000))
        self.assertEqual(done.returncode, 5)
        self.assertIn('are cut: 4 of 16 rows; not understood: 40: 00 00 ', done.stderr)
        self.assertLess(len(done.stderr), 400)
        self.expect_untouched()

    def test_rows_of_another_form_are_shown(self):
        listing = (LISTINGS / 'pciutils_xxx.txt').read_text()
        for old, new, shown in (
                (': ', '\t', '00\t4b 1b 37 52'), ('\n', '\n0x', '0x00: 4b 1b 37 52'),
                ('00: 4b 1b', '000: 4b1b', '000: 4b1b 37 52')):
            head, device, rows = listing.partition('3b:00.0 ')
            title, _, rows = rows.partition('\n')
            done = self.run_script('--from', '-', '--adapter', 'vmhba2=3b:00.0',
                                   text=f'{head}{device}{title}\n' +
                                        f'\n{rows}'.replace(old, new)[1:])
            self.assertEqual(done.returncode, 5)
            self.assertIn(f'are cut: 0 of 16 rows; not understood: {shown}'.replace('\t', '?'),
                          done.stderr)

    def test_cut_copy_of_an_adapter_does_not_count_beside_a_whole_one(self):
        whole = (LISTINGS / 'pciutils_xxx.txt').read_text()
        cut = (LISTINGS / 'pciutils_x.txt').read_text()
        for name, text in (('behind it', whole + cut), ('before it', cut + whole)):
            with self.subTest(name):
                shutil.rmtree(self.target, ignore_errors=True)
                done = self.run_script('--from', '-', '--adapter', 'vmhba2=3b:00.0', text=text)
                self.assertEqual(done.returncode, 0, done.stderr)
                self.expect_controller()

    def test_closed_standard_input_is_told(self):
        done = self.run_script('--from', '-', before='exec <&-;')
        self.assertEqual(done.returncode, 3)
        self.assertEqual(done.stderr, 'vesk-pciconfig: cannot read standard input\n'
                         'vesk-pciconfig: name a file with the output of lspci\n')

    def test_standard_input_is_a_listing_too(self):
        done = self.run_script('--from', '-', '--adapter', 'vmhba2=3b:00.0',
                               text=(LISTINGS / 'pciutils_xxx.txt').read_text())
        self.assertEqual(done.returncode, 0, done.stderr)
        self.expect_controller()


class Host(HostShell):
    def lspci(self, cases):
        """An lspci whose options are the given case branches; all others fail."""
        self.program('lspci', f'case ${{1-}} in\n{cases}\n*) echo usage >&2; exit 1 ;;\nesac\n')

    def test_names_and_bytes_come_from_lspci(self):
        self.lspci(f"'') cat {LISTINGS}/host_plain.txt ;;\n-e) cat {LISTINGS}/host_e.txt ;;")
        done = self.run_script()
        self.assertEqual(done.stderr, '')
        self.assertEqual(done.returncode, 0)
        self.assertEqual(self.read(ADDRESS_FILE), CONTROLLER_AND_SATA)
        self.assertEqual(self.read(CONFIG_FILE),
                         (EXPECTED / 'controller_and_sata.txt').read_text())

    def test_names_come_from_the_device_list_where_lspci_has_none(self):
        self.lspci(f"'') sed 's/ .vmhba.*//' {LISTINGS}/host_plain.txt ;;\n"
                   f'-e) cat {LISTINGS}/host_e.txt ;;')
        self.program('localcli', '[ "$*" = "hardware pci list" ] || exit 1\n'
                                 f'cat {LISTINGS}/host_pci_list.txt\n')
        done = self.run_script()
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(self.read(ADDRESS_FILE), CONTROLLER_AND_SATA)

    def test_names_of_lspci_and_of_the_device_list_go_together(self):
        self.lspci(f"'') sed '/3b:00/s/ .vmhba.*//' {LISTINGS}/host_plain.txt ;;\n"
                   f'-e) cat {LISTINGS}/host_e.txt ;;')
        self.program('localcli', f'sed "/Name: vmhba0/d" {LISTINGS}/host_pci_list.txt\n')
        done = self.run_script()
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(self.read(ADDRESS_FILE), CONTROLLER_AND_SATA)

    def test_names_that_contradict_each_other_are_told(self):
        self.lspci(f"'') cat {LISTINGS}/host_plain.txt ;;\n-e) cat {LISTINGS}/host_e.txt ;;")
        self.program('localcli', f'sed "s/vmhba0/vmhba2/" {LISTINGS}/host_pci_list.txt\n')
        self.fill_target()
        done = self.run_script()
        self.assertEqual(done.returncode, 4)
        self.assertIn('vmhba2 stands at 0000:3b:00.0 and at 0000:00:17.0\n', done.stderr)
        self.expect_untouched()

    def test_next_option_is_tried_where_one_lists_too_little(self):
        self.lspci(f"-e) cat {LISTINGS}/pciutils_x.txt ;;\n"
                   f'-xxx) cat {LISTINGS}/pciutils_xxx.txt ;;')
        done = self.run_script('--adapter', 'vmhba2=3b:00.0')
        self.assertEqual(done.stderr, '')
        self.assertEqual(done.returncode, 0)
        self.expect_controller()

    def test_command_may_bring_arguments_along(self):
        self.program('pci', '[ "$1 $2" = "-F dump" ] || exit 1\nshift 2\n'
                            f'[ "${{1-}}" = -xxx ] && exec cat {LISTINGS}/pciutils_xxx.txt\nexit 1')
        done = self.run_script('--lspci', 'pci -F dump', '--adapter', 'vmhba2=3b:00.0')
        self.assertEqual(done.returncode, 0, done.stderr)
        self.expect_controller()

    def test_too_little_from_all_options_is_refused(self):
        self.lspci(f'-e | -d | -xxx) cat {LISTINGS}/pciutils_x.txt ;;')
        self.fill_target()
        done = self.run_script('--adapter', 'vmhba2=3b:00.0')
        self.assertEqual(done.returncode, 5)
        self.assertIn('are cut: 4 of 16 rows\n', done.stderr)
        self.expect_untouched()

    def test_missing_program_of_the_shell_is_told(self):
        self.lspci(f"'') cat {LISTINGS}/host_plain.txt ;;\n-e) cat {LISTINGS}/host_e.txt ;;")
        self.fill_target()
        for program in ('awk', 'mkdir', 'mv', 'rm', 'sed'):
            with self.subTest(program):
                (self.programs / program).rename(self.root / program)
                done = self.run_script()
                (self.root / program).rename(self.programs / program)
                self.assertEqual(done.returncode, 3)
                self.assertEqual(done.stderr,
                                 f'vesk-pciconfig: there is no {program} here\n'
                                 'vesk-pciconfig: save what lspci lists, make the files on another '
                                 'machine with --from, and copy them here\n')
                self.expect_untouched()

    def test_missing_lspci_is_told(self):
        self.fill_target()
        done = self.run_script()
        self.assertEqual(done.returncode, 3)
        self.assertEqual(done.stderr,
                         'vesk-pciconfig: there is no lspci here\n'
                         'vesk-pciconfig: run this on the host itself, or give a listing with '
                         '--from\n')
        self.expect_untouched()

    def test_failing_lspci_is_told(self):
        self.lspci('never) ;;')
        self.fill_target()
        done = self.run_script('--adapter', 'vmhba2=3b:00.0')
        self.assertEqual(done.returncode, 3)
        self.assertEqual(done.stderr,
                         'vesk-pciconfig: lspci lists no bytes: it failed with -e, -d and -xxx\n'
                         'vesk-pciconfig: run it by hand and see what it says, or give a listing '
                         'with --from\n')
        self.expect_untouched()

    def test_host_without_adapters_is_told(self):
        self.lspci(f"'' | -e) cat {LISTINGS}/pciutils_xxx.txt ;;")
        done = self.run_script()
        self.assertEqual(done.returncode, 4)
        self.assertEqual(done.stderr,
                         'vesk-pciconfig: no storage adapter has a name (vmhbaN) in the listing\n'
                         'vesk-pciconfig: say where it is: --adapter vmhba2=0000:3b:00.0\n')
        self.assertFalse(self.target.exists())


class Target(HostShell):
    GOOD_ARGUMENTS = ['--from', str(LISTINGS / 'pciutils_xxx.txt'), '--adapter', 'vmhba2=3b:00.0']

    def test_files_that_would_not_change_stay_untouched(self):
        first = self.run_script(*self.GOOD_ARGUMENTS)
        self.assertEqual(first.stdout, f'{self.target}/{ADDRESS_FILE}: written\n'
                                       f'{self.target}/{CONFIG_FILE}: written\n')
        before = [os.stat(self.target / name) for name in (ADDRESS_FILE, CONFIG_FILE)]
        second = self.run_script(*self.GOOD_ARGUMENTS)
        self.assertEqual(second.stdout, f'{self.target}/{ADDRESS_FILE}: unchanged\n'
                                        f'{self.target}/{CONFIG_FILE}: unchanged\n')
        self.assertEqual(second.returncode, 0)
        after = [os.stat(self.target / name) for name in (ADDRESS_FILE, CONFIG_FILE)]
        self.assertEqual([(s.st_ino, s.st_mtime_ns) for s in before],
                         [(s.st_ino, s.st_mtime_ns) for s in after])

    def test_changed_file_is_replaced_and_not_rewritten(self):
        self.fill_target()
        # Whoever has the old file open goes on reading the old file.
        with open(self.target / CONFIG_FILE, encoding='ascii') as reader:
            done = self.run_script(*self.GOOD_ARGUMENTS)
            self.assertEqual(done.returncode, 0, done.stderr)
            self.assertEqual(reader.read(), 'good bytes\n')
        self.expect_controller()
        self.assertEqual((self.target / CONFIG_FILE).stat().st_mode & 0o777, 0o644)

    def test_file_without_its_last_line_end_is_replaced(self):
        self.assertEqual(self.run_script(*self.GOOD_ARGUMENTS).returncode, 0)
        (self.target / ADDRESS_FILE).write_text(CONTROLLER.rstrip('\n'))
        done = self.run_script(*self.GOOD_ARGUMENTS)
        self.assertEqual(done.stdout, f'{self.target}/{ADDRESS_FILE}: written\n'
                                      f'{self.target}/{CONFIG_FILE}: unchanged\n')
        self.expect_controller()

    def test_full_disk_leaves_the_good_files(self):
        self.fill_target()
        # No file may grow: the write fails as it does on a full disk.
        done = self.run_script(*self.GOOD_ARGUMENTS, before="trap '' XFSZ; ulimit -f 0;")
        self.assertEqual(done.returncode, 6)
        self.assertEqual(done.stderr,
                         f'vesk-pciconfig: cannot write {self.target}/{ADDRESS_FILE}\n'
                         'vesk-pciconfig: look whether the disk is full or '
                         f'{self.target} is read-only\n')
        self.expect_untouched()

    def test_disk_that_is_full_for_the_second_file_leaves_both(self):
        self.fill_target()
        # One block is enough for the first file only.
        done = self.run_script(*self.GOOD_ARGUMENTS, before="trap '' XFSZ; ulimit -f 1;")
        self.assertEqual(done.returncode, 6)
        self.assertIn(f'cannot write {self.target}/{CONFIG_FILE}\n', done.stderr)
        self.expect_untouched()

    def test_what_is_no_plain_file_is_replaced_and_never_read(self):
        victim = self.root / 'victim'
        victim.write_text('precious\n')
        for name, make in (('a pipe', os.mkfifo),
                           ('a link to a device', lambda path: path.symlink_to('/dev/zero')),
                           ('a link to a file', lambda path: path.symlink_to(victim)),
                           ('a link to nowhere', lambda path: path.symlink_to('absent'))):
            with self.subTest(name):
                shutil.rmtree(self.target, ignore_errors=True)
                self.target.mkdir(parents=True)
                make(self.target / ADDRESS_FILE)
                make(self.target / CONFIG_FILE)
                self.assertEqual(self.run_script(*self.GOOD_ARGUMENTS).returncode, 0)
                self.expect_controller()
                self.assertFalse((self.target / ADDRESS_FILE).is_symlink())
                self.assertEqual(victim.read_text(), 'precious\n')

    def test_runs_at_once_do_not_meet(self):
        runs = [subprocess.Popen([str(self.programs / 'sh'), str(SCRIPT), '--to',
                                  str(self.target), *self.GOOD_ARGUMENTS],
                                 env={'PATH': str(self.programs)}, stdout=subprocess.DEVNULL)
                for _ in range(8)]
        self.assertEqual([run.wait(60) for run in runs], [0] * 8)
        self.expect_controller()

    def test_stopped_run_leaves_the_good_files(self):
        self.fill_target()
        # The first file is made, and the run is stopped before it is moved to its place.
        (self.programs / 'mv').unlink()
        self.program('mv', 'kill -TERM $PPID\nexit 1\n')
        done = self.run_script(*self.GOOD_ARGUMENTS)
        self.assertEqual(done.returncode, 6)
        self.expect_untouched()

    def test_what_killed_runs_left_goes_and_what_running_ones_have_stays(self):
        gone = subprocess.Popen([str(self.programs / 'sh'), '-c', ':'])
        gone.wait(60)
        self.target.mkdir(parents=True)
        kept = [f'{ADDRESS_FILE}.{os.getpid()}', f'{CONFIG_FILE}.old', 'other.1']
        for name in [f'{ADDRESS_FILE}.{gone.pid}', f'{CONFIG_FILE}.{gone.pid}', *kept]:
            (self.target / name).write_text('left\n')
        for _ in range(2):  # one that writes, and one that need not
            self.assertEqual(self.run_script(*self.GOOD_ARGUMENTS).returncode, 0)
            self.assertEqual(sorted(os.listdir(self.target)),
                             sorted([ADDRESS_FILE, CONFIG_FILE, *kept]))

    def test_nobody_has_to_listen(self):
        done = self.run_script(*self.GOOD_ARGUMENTS, before='exec >&-;')
        self.assertEqual(done.returncode, 0)
        self.expect_controller()

    def test_target_that_is_no_folder_is_told(self):
        self.target.parent.mkdir()
        self.target.write_text('a file\n')
        done = self.run_script(*self.GOOD_ARGUMENTS)
        self.assertEqual(done.returncode, 6)
        self.assertEqual(done.stderr,
                         f'vesk-pciconfig: cannot make the folder {self.target}\n'
                         'vesk-pciconfig: run this as root, or name another one with --to\n')
        self.assertEqual(self.target.read_text(), 'a file\n')

    @unittest.skipIf(os.geteuid() == 0 and not shutil.which('setpriv'), 'root may write everywhere')
    def test_read_only_target_keeps_its_files(self):
        self.fill_target()
        self.root.chmod(0o755)
        self.target.chmod(0o555)
        self.addCleanup(self.target.chmod, 0o755)
        shell = [str(self.programs / 'sh'), str(SCRIPT), '--to', str(self.target),
                 *self.GOOD_ARGUMENTS[2:], '--from', '-']
        if os.geteuid() == 0:
            shell = [shutil.which('setpriv'), '--reuid', '65534', '--clear-groups', *shell]
        with open(SCRIPT, encoding='ascii') as script, \
                open(LISTINGS / 'pciutils_xxx.txt', encoding='ascii') as listing:
            # The user without rights may not even reach the folder that the script is in.
            copy = self.root / 'script'
            copy.write_text(script.read())
            shell[shell.index(str(SCRIPT))] = str(copy)
            done = subprocess.run(shell, env={'PATH': str(self.programs)}, stdin=listing,
                                  capture_output=True, text=True, check=False, timeout=60)
        self.assertEqual(done.returncode, 6)
        self.assertEqual(done.stderr,
                         f'vesk-pciconfig: cannot write {self.target}/{ADDRESS_FILE}\n'
                         'vesk-pciconfig: look whether the disk is full or '
                         f'{self.target} is read-only\n')
        self.expect_untouched()

    def test_folder_in_a_files_place_is_told(self):
        (self.target / ADDRESS_FILE).mkdir(parents=True)
        done = self.run_script(*self.GOOD_ARGUMENTS)
        self.assertEqual(done.returncode, 6)
        self.assertEqual(done.stderr, f'vesk-pciconfig: {self.target}/{ADDRESS_FILE} is a folder\n'
                                      'vesk-pciconfig: move it away\n')
        self.assertEqual(os.listdir(self.target), [ADDRESS_FILE])


class Help(HostShell):
    def test_it_names_every_option_and_exit_code(self):
        done = self.run_script('--help')
        self.assertEqual(done.returncode, 0)
        self.assertEqual(done.stderr, '')
        for word in ('--to', '--lspci', '--from', '--names', '--adapter', 'Exit codes: 0', '6 a'):
            self.assertIn(word, done.stdout)


if __name__ == '__main__':
    if not BUSYBOX:
        print('pciconfig_test: busybox is missing; scripts/install-packages installs it')
        sys.exit(77)
    unittest.main()
