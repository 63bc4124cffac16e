#!/usr/bin/env python3
"""scripts/make-vib: the package is taken apart with ar and tar, and all its sums are made anew.

  vib_test.py [BUILD]    BUILD: also packs this build and runs its program out of the package

Exit code 77 says that ar, tar or busybox is missing.
"""

import hashlib
import io
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as xml
import zipfile
import zlib
from pathlib import Path

from dead_links import dead_links

HERE = Path(__file__).resolve().parent
ROOT = HERE.parent.parent
MAKE_VIB = ROOT / 'scripts' / 'make-vib'
LISTINGS = HERE / 'listings'
BUILD = None

PAYLOAD = '''\
drwxr-xr-x root/root 2023-11-14 22:13 opt/
drwxr-xr-x root/root 2023-11-14 22:13 opt/orvo/
drwxr-xr-x root/root 2023-11-14 22:13 opt/orvo/kelpdesk/
drwxr-xr-x root/root 2023-11-14 22:13 opt/orvo/kelpdesk/etc/
drwxr-xr-x root/root 2023-11-14 22:13 opt/orvo/kelpdesk/etc/kelpdesk-storage/
-rw-r--r-T root/root 2023-11-14 22:13 \
opt/orvo/kelpdesk/etc/kelpdesk-storage/libVeskNVMeAlertMapping.ini
-rw-r--r-T root/root 2023-11-14 22:13 opt/orvo/kelpdesk/etc/kelpdesk-storage/libVeskNVMeConfig.ini
drwxr-xr-x root/root 2023-11-14 22:13 opt/orvo/vesk/
drwxr-xr-x root/root 2023-11-14 22:13 opt/orvo/vesk/bin/
-rwxr-xr-x root/root 2023-11-14 22:13 opt/orvo/vesk/bin/vesk-pciconfig
-rwxr-xr-x root/root 2023-11-14 22:13 opt/orvo/vesk/bin/veskctl
drwxr-xr-x root/root 2023-11-14 22:13 opt/orvo/vesk/doc/
-rw-r--r-- root/root 2023-11-14 22:13 opt/orvo/vesk/doc/LICENSE
-rw-r--r-- root/root 2023-11-14 22:13 opt/orvo/vesk/doc/NOTICE
-rw-r--r-- root/root 2023-11-14 22:13 opt/orvo/vesk/doc/capture.md
-rw-r--r-- root/root 2023-11-14 22:13 opt/orvo/vesk/doc/events.md
-rw-r--r-- root/root 2023-11-14 22:13 opt/orvo/vesk/doc/fields.md
-rw-r--r-- root/root 2023-11-14 22:13 opt/orvo/vesk/doc/fleet.md
-rw-r--r-- root/root 2023-11-14 22:13 opt/orvo/vesk/doc/host-build.md
-rw-r--r-- root/root 2023-11-14 22:13 opt/orvo/vesk/doc/host-install.md
-rw-r--r-- root/root 2023-11-14 22:13 opt/orvo/vesk/doc/operations.md
-rw-r--r-- root/root 2023-11-14 22:13 opt/orvo/vesk/doc/veskctl-json.md
-rw-r--r-- root/root 2023-11-14 22:13 opt/orvo/vesk/doc/veskctl.md
-rw-r--r-- root/root 2023-11-14 22:13 opt/orvo/vesk/doc/wire-formats.md
drwxr-xr-x root/root 2023-11-14 22:13 opt/orvo/vesk/init.d/
-rwxr-xr-x root/root 2023-11-14 22:13 opt/orvo/vesk/init.d/vesknvme
drwxr-xr-x root/root 2023-11-14 22:13 opt/orvo/vesk/lib/
-rwxr-xr-x root/root 2023-11-14 22:13 opt/orvo/vesk/lib/libVeskNvme.so
-rwxr-xr-x root/root 2023-11-14 22:13 opt/orvo/vesk/lib/libvesk-capture.so
'''

ELF = b'\x7fELF\x02\x01\x01' + bytes(9) + b'\x03\x00\x3e\x00'


def run(*command, **more):
    return subprocess.run([str(word) for word in command], check=True, capture_output=True,
                          timeout=120, **more).stdout


class MakeVib(unittest.TestCase):
    def setUp(self):
        self.root = Path(tempfile.mkdtemp(prefix='vesk-vib-'))
        self.addCleanup(shutil.rmtree, self.root)
        self.build = self.root / 'build'
        self.put('lib/libVeskNvme.so', ELF + b'library GLIBC_2.4 GLIBC_2.17')
        self.put('lib/libvesk-capture.so', ELF + b'capture GLIBC_2.17')
        self.put('bin/veskctl', ELF + b'program GLIBC_2.2.5')
        self.vib = self.root / 'vesk.vib'

    def put(self, name, data):
        path = self.build / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(data)

    def make(self, *arguments, epoch='1700000000', output=None, build=None):
        environment = dict(os.environ, SOURCE_DATE_EPOCH=epoch)
        if epoch is None:
            del environment['SOURCE_DATE_EPOCH']
        return subprocess.run([sys.executable, '-B', MAKE_VIB, '--from', build or self.build,
                               *arguments, output or self.vib], env=environment, check=False,
                              capture_output=True, text=True, timeout=120)

    def made(self, *arguments, **more):
        done = self.make(*arguments, **more)
        self.assertEqual(done.returncode, 0, done.stderr)
        return done

    def member(self, name):
        return run('ar', 'p', self.vib, name)

    def descriptor(self):
        return xml.fromstring(self.member('descriptor.xml'))

    def expect_xml(self, data, name):
        """The text of the file in expected/; there, sums, sizes and the version have a name."""
        version = (ROOT / 'CMakeLists.txt').read_text().split('VERSION ')[2].split()[0]
        text = re.sub(r'[0-9a-f]{40,64}', 'SUM', data.decode()).replace(version, 'VERSION')
        text = re.sub(r'(size="|[Ss]ize>)\d+', r'\1SIZE', text)
        self.assertEqual(text, (HERE / 'expected' / name).read_text())

    def payload_listing(self):
        listing = run('tar', '--utc', '-tvz', input=self.member('vesknvme')).decode()
        # Without the sizes.
        fields = [line.split(None, 5) for line in listing.splitlines()]
        return ''.join(' '.join(line[:2] + line[3:]) + '\n' for line in fields)

    def unpack(self, folder):
        folder.mkdir()
        run('tar', '-xz', '-C', folder, input=self.member('vesknvme'))


class Vib(MakeVib):
    def test_members_stand_in_the_order_that_hosts_expect(self):
        self.made()
        self.assertEqual(run('ar', 't', self.vib), b'descriptor.xml\nsig.pkcs7\nvesknvme\n')
        self.assertEqual(self.member('sig.pkcs7'), b'')

    def test_payload_holds_the_files_with_their_folders(self):
        done = self.made()
        self.assertEqual(done.stderr, '')
        self.assertEqual(self.payload_listing(), PAYLOAD)

    def test_payload_is_what_was_built_and_what_stands_in_the_repository(self):
        self.made()
        self.unpack(self.root / 'host')
        home = self.root / 'host' / 'opt' / 'orvo' / 'vesk'
        ini = self.root / 'host' / 'opt/orvo/kelpdesk/etc/kelpdesk-storage'
        for unpacked, source in (
                (home / 'lib' / 'libVeskNvme.so', self.build / 'lib' / 'libVeskNvme.so'),
                (home / 'lib' / 'libvesk-capture.so',
                 self.build / 'lib' / 'libvesk-capture.so'),
                (home / 'bin' / 'veskctl', self.build / 'bin' / 'veskctl'),
                (home / 'bin' / 'vesk-pciconfig', ROOT / 'packaging/pciconfig/vesk-pciconfig'),
                (home / 'init.d' / 'vesknvme', ROOT / 'packaging/vib/vesknvme'),
                (home / 'doc' / 'LICENSE', ROOT / 'LICENSE'),
                (home / 'doc' / 'NOTICE', ROOT / 'packaging/vib/NOTICE'),
                (ini / 'libVeskNVMeConfig.ini', ROOT / 'packaging/ini/libVeskNVMeConfig.ini'),
                (ini / 'libVeskNVMeAlertMapping.ini',
                 ROOT / 'packaging/ini/libVeskNVMeAlertMapping.ini')):
            self.assertEqual(unpacked.read_bytes(), source.read_bytes(), unpacked)

    def test_pages_lead_to_nothing_that_is_not_in_the_package(self):
        self.made()
        self.unpack(self.root / 'host')
        pages = self.root / 'host' / 'opt' / 'orvo' / 'vesk' / 'doc'
        self.assertEqual(dead_links(pages), [])
        text = (pages / 'fleet.md').read_text()
        self.assertIn('(events.md#the-mark)', text)
        self.assertIn('packaging/fleet', text)
        self.assertNotIn('![', (pages / 'operations.md').read_text())

    def test_descriptor_is_the_expected_one(self):
        self.made()
        self.expect_xml(self.member('descriptor.xml'), 'descriptor.xml')

    def test_descriptor_lists_the_files_of_the_payload(self):
        self.made()
        listed = [element.text for element in self.descriptor().iter('file')]
        packed = run('tar', '-tz', input=self.member('vesknvme')).decode().splitlines()
        self.assertEqual(listed, [path for path in packed if not path.endswith('/')])

    def test_sums_are_those_of_the_payload(self):
        self.made()
        packed = self.member('vesknvme')
        unpacked = zlib.decompress(packed, 31)
        payload = self.descriptor().find('payloads/payload')
        self.assertEqual(payload.attrib,
                         {'name': 'vesknvme', 'type': 'tgz', 'size': str(len(packed))})
        self.assertEqual([(dict(sum.attrib), sum.text) for sum in payload], [
            ({'checksum-type': 'sha-256'}, hashlib.sha256(packed).hexdigest()),
            ({'checksum-type': 'sha-256', 'verify-process': 'gunzip'},
             hashlib.sha256(unpacked).hexdigest()),
            ({'checksum-type': 'sha-1', 'verify-process': 'gunzip'},
             hashlib.sha1(unpacked).hexdigest()),
        ])

    def test_payload_is_a_tar_file_of_the_kind_that_hosts_read(self):
        self.made()
        tar = zlib.decompress(self.member('vesknvme'), 31)
        self.assertEqual(tar[257:265], b'ustar\x0000')
        # No time in front of it: that would be the time of packing.
        self.assertEqual(self.member('vesknvme')[4:8], bytes(4))

    def test_same_input_makes_the_same_bytes(self):
        bundle = self.root / 'one.zip'
        self.made('--bundle', bundle)
        first = (self.vib.read_bytes(), bundle.read_bytes())
        # Neither the time of the files nor where they lie counts.
        moved = self.root / 'elsewhere'
        self.build.rename(moved)
        for path in moved.rglob('*'):
            os.utime(path, (1, 1))
        again = self.root / 'two.zip'
        self.made('--bundle', again, output=self.root / 'two.vib', build=moved)
        self.assertEqual(((self.root / 'two.vib').read_bytes(), again.read_bytes()), first)

    def test_time_is_that_of_the_last_change_unless_it_is_named(self):
        # Not the time of packing: that would make other bytes each time.
        try:
            committed = run('git', '-C', ROOT, 'log', '-1', '--format=%ct').decode().strip()
        except (OSError, subprocess.CalledProcessError):
            self.skipTest('this tree is not in git')
        self.made(epoch=None)
        self.assertEqual(self.vib.read_bytes()[24:36].decode().strip(), committed)

    def test_other_input_makes_other_bytes(self):
        self.made()
        first = self.vib.read_bytes()
        self.made(epoch='1700000001')
        self.assertNotEqual(self.vib.read_bytes(), first)

    def test_ini_files_go_where_the_host_saves_them_if_wanted(self):
        self.made('--ini', 'etc')
        lines = self.payload_listing().splitlines()
        self.assertIn('-rw-r--r-T root/root 2023-11-14 22:13 etc/cim/orvo/kelpdesk/'
                      'kelpdesk-storage/libVeskNVMeAlertMapping.ini', lines)
        self.assertEqual(sum(line.endswith('.ini') for line in lines), 2)

    def test_ini_files_stay_out_if_wanted(self):
        self.made('--ini', 'none')
        self.assertNotIn('.ini', self.payload_listing())

    def test_init_script_is_added_if_wanted(self):
        self.made('--init-script')
        self.assertIn('-rwxr-xr-x root/root 2023-11-14 22:13 etc/init.d/vesknvme\n',
                      self.payload_listing())

    def test_build_for_a_newer_host_is_told(self):
        self.put('bin/veskctl', ELF + b'GLIBC_2.34 GLIBC_2.9')
        done = self.made()
        self.assertEqual(done.stderr,
                         f'make-vib: warning: {self.build}/bin/veskctl needs GLIBC_2.34; hosts are '
                         'known to have GLIBC_2.17: good for a trial only\n')


class Refusals(MakeVib):
    def expect_refused(self, said, *arguments, **more):
        done = self.make(*arguments, **more)
        self.assertEqual(done.stderr, f'make-vib: {said}\n')
        self.assertEqual(done.returncode, 1)
        self.assertFalse(self.vib.exists())

    def test_missing_build(self):
        self.expect_refused('there is no build in /absent: build it first with scripts/build-esxi, '
                            'or name another folder with --from', build='/absent')

    def test_missing_library(self):
        (self.build / 'lib' / 'libVeskNvme.so').unlink()
        self.expect_refused(f'{self.build}/lib/libVeskNvme.so is missing: build it first with '
                            'scripts/build-esxi, or name the folder of another build with --from')

    def test_missing_program(self):
        (self.build / 'bin' / 'veskctl').unlink()
        self.expect_refused(f'{self.build}/bin/veskctl is missing: build it first with '
                            'scripts/build-esxi, or name the folder of another build with --from')

    def test_library_for_another_machine(self):
        self.put('lib/libVeskNvme.so', ELF[:18] + b'\xb7\x00')
        self.expect_refused(f'{self.build}/lib/libVeskNvme.so is no program or library for x86-64')

    def test_release_that_is_no_number(self):
        for release in ('0', '-1', '1.2', '01', 'one', '', '1234567890'):
            done = self.make(f'--release={release}')
            self.assertEqual(done.returncode, 2)
            self.assertIn(f'"{release}" is no number from 1 to 999999999', done.stderr)
            self.assertFalse(self.vib.exists())

    def test_bad_time(self):
        # The last one is the first second that a bundle cannot hold.
        for epoch in ('today', '-1', '', '4354819200'):
            self.expect_refused(f'SOURCE_DATE_EPOCH is "{epoch}"; it has to be seconds since 1970, '
                                'and before 2108', epoch=epoch)

    def test_output_that_cannot_be_written(self):
        output = self.root / 'absent' / 'vesk.vib'
        self.expect_refused(f'cannot write {output}: No such file or directory', output=output)

    def test_output_that_is_a_device_or_the_like(self):
        # Root could replace /dev/null.
        os.mkfifo(self.vib)
        done = self.make()
        self.assertEqual(done.stderr, f'make-vib: cannot write {self.vib}: it is no plain file\n')
        self.assertTrue(self.vib.is_fifo())

    def test_vib_and_bundle_of_one_name(self):
        self.expect_refused(f'the VIB and the bundle cannot both be {self.vib}', '--bundle',
                            self.build / '..' / self.vib.name)

    def test_output_that_is_a_folder(self):
        output = self.root / 'folder'
        output.mkdir()
        self.expect_refused(f'cannot write {output}: Is a directory', output=output)
        self.assertEqual(sorted(path.name for path in self.root.iterdir()), ['build', 'folder'])


class Bundle(MakeVib):
    def setUp(self):
        super().setUp()
        self.made('--bundle', self.root / 'vesk.zip')
        self.bundle = zipfile.ZipFile(self.root / 'vesk.zip')
        self.addCleanup(self.bundle.close)
        self.id = 'orvo_bootbank_vesk-nvme_' + self.descriptor().findtext('version')
        self.path = f'vib20/vesk-nvme/{self.id}.vib'
        self.metadata = zipfile.ZipFile(io.BytesIO(self.bundle.read('metadata.zip')))
        self.addCleanup(self.metadata.close)

    def test_it_holds_the_vib_and_what_describes_it(self):
        self.assertEqual(self.bundle.namelist(),
                         ['index.xml', 'vendor-index.xml', 'metadata.zip', self.path])
        name = 'vesk-nvme-' + self.descriptor().findtext('version')
        self.assertEqual(self.metadata.namelist(), ['vendor-index.xml', 'vmware.xml',
                                                    f'bulletins/{name}.xml', f'vibs/{name}.xml'])
        self.assertEqual(self.bundle.read(self.path), self.vib.read_bytes())
        self.assertEqual(self.bundle.read('vendor-index.xml'),
                         self.metadata.read('vendor-index.xml'))

    def test_descriptions_are_the_expected_ones(self):
        self.expect_xml(self.bundle.read('index.xml'), 'index.xml')
        self.expect_xml(self.bundle.read('vendor-index.xml'), 'vendor-index.xml')
        self.expect_xml(self.metadata.read('vmware.xml'), 'vmware.xml')
        self.expect_xml(self.metadata.read(self.metadata.namelist()[2]), 'bulletin.xml')

    def test_release_is_the_number_behind_the_version_everywhere(self):
        version, _, release = self.descriptor().findtext('version').rpartition('-')
        self.assertEqual(release, '1')
        self.made('--bundle', self.root / 'vesk.zip', '--release', '27')
        self.assertEqual(self.descriptor().findtext('version'), f'{version}-27')
        with zipfile.ZipFile(self.root / 'vesk.zip') as bundle:
            self.assertIn(f'vib20/vesk-nvme/orvo_bootbank_vesk-nvme_{version}-27.vib',
                          bundle.namelist())
            with zipfile.ZipFile(io.BytesIO(bundle.read('metadata.zip'))) as metadata:
                full = xml.fromstring(metadata.read('vmware.xml')).find('bulletin')
                self.assertEqual(full.find('componentVersionSpec').get('version'), f'{version}-27')
                self.assertEqual(full.findtext('id'), f'vesk-nvme-{version}-27')

    def test_its_files_may_be_read_by_everybody(self):
        for info in self.bundle.infolist() + self.metadata.infolist():
            self.assertEqual(info.external_attr >> 16, 0o100644, info.filename)

    def test_times_that_a_bundle_cannot_hold_are_no_obstacle(self):
        for epoch, date in (('0', (1980, 1, 1, 0, 0, 0)),
                            ('4354819199', (2107, 12, 31, 23, 59, 58))):
            self.made('--bundle', self.root / 'other.zip', epoch=epoch)
            with zipfile.ZipFile(self.root / 'other.zip') as other:
                self.assertEqual(other.infolist()[0].date_time, date)

    def test_size_and_sum_are_those_of_the_vib(self):
        data = self.vib.read_bytes()
        full = xml.fromstring(self.metadata.read('vmware.xml')).find('bulletin/vibList/vib')
        self.assertEqual(full.findtext('vibID'), self.id)
        self.assertEqual(full.findtext('vibFile/relativePath'), self.path)
        self.assertEqual(full.findtext('vibFile/packedSize'), str(len(data)))
        self.assertEqual(full.findtext('vibFile/checksum/checksum'),
                         hashlib.sha256(data).hexdigest())
        copy = xml.fromstring(self.metadata.read(self.metadata.namelist()[3]))
        self.assertEqual(copy.findtext('relative-path'), self.path)
        self.assertEqual(copy.findtext('packed-size'), str(len(data)))
        self.assertEqual(copy.findtext('checksum'), hashlib.sha256(data).hexdigest())
        # But for these three it is the VIB's own descriptor.
        for tag in ('relative-path', 'packed-size', 'checksum'):
            copy.remove(copy.find(tag))
        own = self.descriptor()
        xml.indent(copy)
        self.assertEqual(xml.tostring(copy), xml.tostring(own))


class StartScript(MakeVib):
    """Out of the unpacked package, under the host's shell."""

    def setUp(self):
        super().setUp()
        self.made()
        self.host = self.root / 'host'
        self.unpack(self.host)
        self.programs = self.root / 'programs'
        self.programs.mkdir()
        for program in ('awk', 'cat', 'mkdir', 'mv', 'rm', 'rmdir', 'sed', 'sh'):
            (self.programs / program).symlink_to(shutil.which('busybox'))
        self.pci = self.host / 'opt' / 'orvo' / 'pciconfig'

    def lspci(self, listing):
        path = self.programs / 'lspci'
        path.write_text(f'#!{self.programs}/sh\ncat {LISTINGS}/{listing}\n')
        path.chmod(0o755)

    def script(self, *arguments):
        return subprocess.run([self.programs / 'sh',
                               self.host / 'opt/orvo/vesk/init.d/vesknvme', *arguments],
                              env={'PATH': str(self.programs), 'VESK_ROOT': str(self.host)},
                              check=False, capture_output=True, text=True, timeout=60)

    def test_start_makes_the_text_files_and_the_log_folder(self):
        self.lspci('odd_domains.txt')
        self.assertEqual(self.script('status').returncode, 3)
        done = self.script('start', 'install')
        self.assertEqual(done.stdout, 'vesknvme: PCI text files are up to date\n')
        self.assertEqual(done.returncode, 0)
        self.assertEqual((self.pci / 'Templspcibdf.txt').read_text(),
                         '0001:3b:00.1 vmhba1\n10000:01:00.0 vmhba12\n')
        self.assertTrue((self.host / 'scratch' / 'log').is_dir())
        self.assertEqual(self.script('status').returncode, 0)

    def test_empty_text_file_counts_as_missing(self):
        self.lspci('odd_domains.txt')
        self.script('start')
        (self.pci / 'Templspciconfig.txt').write_text('')
        self.assertEqual(self.script('status').returncode, 3)

    def test_systems_log_is_told_too(self):
        self.lspci('odd_domains.txt')
        logger = self.programs / 'logger'
        logger.write_text(f'#!{self.programs}/sh\necho "$*" >>{self.root}/log\n')
        logger.chmod(0o755)
        self.script('start')
        self.assertEqual((self.root / 'log').read_text(),
                         '-t vesknvme PCI text files are up to date\n')

    def test_failed_start_says_why_and_keeps_the_files(self):
        self.lspci('odd_domains.txt')
        self.script('start')
        self.lspci('cut_in_a_row.txt')
        done = self.script('start')
        self.assertEqual(done.returncode, 5)
        self.assertIn('vesknvme: PCI text files were not made: vesk-pciconfig: the bytes of vmhba2 '
                      'at 0000:3b:00.0 are cut: 15 of 16 rows; not understood: f0: 00 ', done.stdout)
        self.assertEqual(self.script('status').returncode, 0)

    def test_missing_log_folder_does_not_keep_the_text_files_back(self):
        self.lspci('odd_domains.txt')
        (self.host / 'scratch').write_text('')
        done = self.script('start')
        self.assertEqual(done.stdout, f'vesknvme: cannot make {self.host}/scratch/log: there will '
                         'be no trace log\nvesknvme: PCI text files are up to date\n')
        self.assertEqual(done.returncode, 1)
        self.assertEqual(self.script('status').returncode, 0)

    def test_stop_keeps_the_text_files_unless_the_package_goes(self):
        self.lspci('odd_domains.txt')
        self.script('start')
        for arguments in (['stop'], ['stop', 'upgrade']):
            self.assertEqual(self.script(*arguments).returncode, 0)
            self.assertEqual(len(os.listdir(self.pci)), 2, arguments)
        for _ in range(2):
            self.assertEqual(self.script('stop', 'remove').returncode, 0)
            self.assertFalse(self.pci.exists())

    def test_what_others_keep_beside_the_text_files_stays(self):
        self.lspci('odd_domains.txt')
        self.script('start')
        (self.pci / 'note').write_text('')
        done = self.script('stop', 'remove')
        self.assertEqual((done.returncode, done.stderr), (0, ''))
        self.assertEqual(os.listdir(self.pci), ['note'])

    def test_what_is_missing_of_the_package_is_told(self):
        (self.host / 'opt/orvo/vesk/bin/vesk-pciconfig').unlink()
        done = self.script('start')
        self.assertEqual(done.returncode, 4)
        self.assertEqual(done.stdout, f'vesknvme: {self.host}/opt/orvo/vesk/bin/vesk-pciconfig is '
                         'missing: install the package again\n')
        self.assertEqual(done.stderr, '')

    def test_unknown_argument_is_refused(self):
        done = self.script('begin')
        self.assertEqual(done.returncode, 2)
        self.assertIn('start|stop|restart|status', done.stderr)


class RealBuild(MakeVib):
    def test_program_finds_the_library_of_the_package(self):
        if not BUILD:
            self.skipTest('no build was named')
        self.made(build=BUILD)
        self.unpack(self.root / 'host')
        home = self.root / 'host' / 'opt' / 'orvo' / 'vesk'
        library = home / 'lib' / 'libVeskNvme.so'
        said = run(home / 'bin' / 'veskctl', '--library', library, 'version')
        self.assertIn(str(library), said.decode())


if __name__ == '__main__':
    for needed in ('ar', 'tar', 'busybox'):
        if not shutil.which(needed):
            print(f'vib_test: {needed} is missing; scripts/install-packages installs it')
            sys.exit(77)
    if len(sys.argv) > 1 and Path(sys.argv[1]).is_dir():
        BUILD = Path(sys.argv.pop(1))
    unittest.main()
