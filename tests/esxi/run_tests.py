#!/usr/bin/env python3
"""Runs the project's tests, built natively, against a libVeskNvme.so that was built for the host.

    run_tests.py RELEASE_BUILD_FOLDER LIBRARY UNWINDER

Works in a copy of the build folder (hard links, beside the library) in which the library is swapped, and
the capture library beside it.
Fails if a test fails that is not in excluded_tests.txt, and if one passes that is.
"""

import os
import re
import shutil
import subprocess
import sys
import xml.etree.ElementTree
from pathlib import Path

LIST = Path(__file__).resolve().parent / 'excluded_tests.txt'
NAME = 'libVeskNvme.so'
SWAPPED = (NAME, 'libvesk-capture.so')


CHANCE = ' (by chance)'  # threads decide
# They look at packages, documents and recipes, which this library changes nothing of.
OF_OTHERS = r'^(Packaging|Listings/.*|Documents|Fleet)\.'


def excluded(unwinder):
    """The tests below those headings, '[static|host|both] reason', that count for the unwinder, each
    with whether it may pass all the same: that row ends with ' (by chance)'."""
    tests, counts = {}, None
    for line in LIST.read_text().splitlines():
        heading = re.match(r'\[(static|host|both)\] .', line)
        if heading:
            counts = heading[1] in (unwinder, 'both')
        elif line and not line.startswith('#'):
            if counts is None:
                sys.exit(f'{LIST}: {line} stands below no heading of the form [static] REASON')
            if counts:
                tests[line.removesuffix(CHANCE)] = line.endswith(CHANCE)
    return tests


def copy_build(build, copy, library):
    """What the tests need of a build folder; its scripts name the folder, so they are rewritten."""
    shutil.rmtree(copy, ignore_errors=True)
    for folder, folders, files in os.walk(build):
        folders[:] = [name for name in folders if name not in ('CMakeFiles', 'Testing', '_deps')]
        target = copy / Path(folder).relative_to(build)
        target.mkdir(parents=True)
        for name in files:
            source = Path(folder, name)
            if name in SWAPPED:
                shutil.copy2(library.with_name(name), target / name)
            elif name.endswith('.cmake'):
                (target / name).write_text(source.read_text().replace(str(build), str(copy)))
            elif not re.search(r'\.(o|a|gch|ninja|json)$', name):
                os.link(source, target / name)


def own_new(library):
    """Where the library's own operator new stands, for tests that let it fail."""
    link_map = library.with_name(library.name + '.map')
    place = re.search(r'^ \.text\._Znwm\s+0x([0-9a-f]+)\s+0x([0-9a-f]+) ', link_map.read_text(), re.M)
    if not place:
        sys.exit(f'run_tests: {link_map} has no operator new')
    begin, size = int(place[1], 16), int(place[2], 16)
    return f'{NAME} {begin:x} {begin + size:x}'


def run(copy, library):
    """{test: passed}"""
    report = copy / 'tests.xml'
    # The library for the host has no run path to the simulated platform library.
    environment = {**os.environ, 'LD_LIBRARY_PATH': str(copy / 'lib'),
                   'VESK_OWN_NEW': own_new(library)}
    # One more than there are cores: some tests wait.
    result = subprocess.run(['ctest', '--test-dir', copy, '--parallel', str(os.cpu_count() + 1),
                             '--exclude-regex', OF_OTHERS, '--output-junit', report, '--quiet', '--no-tests=error'],
                            env=environment, check=False)
    if not report.exists():
        sys.exit(f'run_tests: ctest failed with {result.returncode}')
    cases = xml.etree.ElementTree.parse(report).getroot().iter('testcase')
    # Behind the name of a parametrised test stands what its parameter is.
    return {case.get('name').split('  #')[0]: case.get('status') == 'run' for case in cases}


def main():
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    build, library, unwinder = Path(sys.argv[1]).resolve(), Path(sys.argv[2]).resolve(), sys.argv[3]
    if not (build / 'CTestTestfile.cmake').exists():
        sys.exit(f'run_tests: {build} has no tests; build them with scripts/build release')
    expected = excluded(unwinder)
    copy = library.parent.parent / 'tests-against-it'
    copy_build(build, copy, library)
    results = run(copy, library)

    wrong = 0
    for test, passed in sorted(results.items()):
        if not passed and test not in expected:
            print(f'run_tests: {test} fails against the library for the host', file=sys.stderr)
            wrong += 1
        elif passed and expected.get(test) is False:
            print(f'run_tests: {test} passes; take it out of {LIST}', file=sys.stderr)
            wrong += 1
    for test in sorted(set(expected) - set(results)):
        print(f'run_tests: there is no test {test}; take it out of {LIST}', file=sys.stderr)
        wrong += 1
    if wrong:
        print(f'run_tests: look with LD_LIBRARY_PATH={copy}/lib ctest --test-dir {copy} '
              f'--output-on-failure -R NAME; what cannot pass here goes into {LIST}', file=sys.stderr)
    passed = sum(results.values())
    print(f'{passed} of {len(results)} tests pass against the library for the host '
          f'(unwinder: {unwinder}); {len(expected)} are excluded')
    return 1 if wrong else 0


if __name__ == '__main__':
    sys.exit(main())
