#!/usr/bin/env python3
"""Writes stand-ins for the libraries of glibc 2.17 to link against, from this machine's own glibc.

    make_stubs.py COMPILER FOLDER

A C library keeps each symbol under the version in which it appeared, for old programs. So what the
one of this machine offers at versions up to 2.17 is what 2.17 offers. The stand-ins have the names,
versions, kinds and sizes, and no code: they are for the linker only and never run.
"""

import os
import re
import subprocess
import sys
from typing import NamedTuple

NEWEST = (2, 17)
LIBC, LIBM, LOADER = 'libc.so.6', 'libm.so.6', 'ld-linux-x86-64.so.2'
LIBPTHREAD, LIBDL = 'libpthread.so.0', 'libdl.so.2'

# Version 2.34 took other libraries into libc: each of their functions has a new version there next to
# the old one. In 2.17 these stood in the library on the right.
MOVED = (2, 34)
HOMES = ((re.compile(r'_*(pthread|sem)_'), LIBPTHREAD), (re.compile(r'dl'), LIBDL))
# The one function of libc that has such a second version for another reason.
START = '__libc_start_main'

# Address, flags, section, size, version (in brackets: not the default one), name.
LINE = re.compile(r'([0-9a-f]+) (.{7}) (\S+)\s+([0-9a-f]+)\s+\(?GLIBC_([0-9.]+)\)?\s+(\S+)$')


class Symbol(NamedTuple):
    version: tuple
    address: int
    name: str
    weak: bool
    function: bool
    size: int


def fail(text):
    sys.exit(f'make_stubs: {text}')


def symbols(path):
    """{name: its symbols, one for each version} of all that a library defines."""
    text = subprocess.run(['objdump', '-T', path], check=True, capture_output=True, text=True,
                          env={**os.environ, 'LC_ALL': 'C'}).stdout
    found = {}
    for line in text.splitlines():
        match = LINE.match(line)
        if not match or match[3] in ('*UND*', '*ABS*'):
            continue
        flags = match[2]
        found.setdefault(match[6], []).append(Symbol(
            version=tuple(int(part) for part in match[5].split('.')), address=int(match[1], 16),
            name=match[6], weak=flags[1] == 'w', function=flags[6] == 'F' or flags[4] == 'i',
            size=int(match[4], 16)))
    return found


def home(name, library, versions):
    """The library that had the symbol in 2.17, or None if it was one that nobody here needs."""
    if library != LIBC:
        return library
    for pattern, where in HOMES:
        if pattern.match(name) and (where == LIBPTHREAD or MOVED in versions):
            return where
    return None if MOVED in versions and name != START else LIBC


def collect(compiler):
    """{library: the symbols that it has in 2.17}"""
    stubs = {name: [] for name in (LIBC, LIBM, LIBPTHREAD, LIBDL, LOADER)}
    for library in (LIBC, LIBM, LOADER):
        path = subprocess.run([compiler, f'-print-file-name={library}'], check=True,
                              capture_output=True, text=True).stdout.strip()
        if not os.path.isabs(path):
            fail(f'{compiler} knows no {library}; install libc6-dev')
        for name, entries in symbols(path).items():
            old = [entry for entry in entries if entry.version <= NEWEST]
            where = home(name, library, [entry.version for entry in entries])
            if old and where:
                stubs[where].append(max(old))
    return stubs


def node(version):
    return 'GLIBC_' + '.'.join(str(part) for part in version)


def write(compiler, folder, library, stubs):
    # Names of one object stay at one address: a program that takes a copy of it needs them all.
    places = {}
    for stub in stubs:
        places.setdefault((stub.function, stub.address), []).append(stub)
    base = os.path.join(folder, library)
    with open(base + '.s', 'w', encoding='ascii') as file:
        for (function, _), names in sorted(places.items()):
            file.write('.text\n' if function else '.data\n')
            for stub in names:
                file.write(f'.{"weak" if stub.weak else "globl"} {stub.name}\n'
                           f'.type {stub.name},@{"function" if function else "object"}\n'
                           f'.size {stub.name},{stub.size}\n{stub.name}:\n')
            file.write(f'.skip {1 if function else max(1, *(stub.size for stub in names))}\n')
        file.write('.section .note.GNU-stack,"",@progbits\n')
    with open(base + '.map', 'w', encoding='ascii') as file:
        for version in sorted({stub.version for stub in stubs}):
            names = sorted(stub.name for stub in stubs if stub.version == version)
            file.write(f'{node(version)} {{ {" ".join(name + ";" for name in names)} }};\n')
    subprocess.run([compiler, '-shared', '-nostdlib', f'-Wl,-soname,{library}',
                    f'-Wl,--version-script={base}.map', '-o', base, base + '.s'], check=True)


def main():
    if len(sys.argv) != 3:
        fail('usage: make_stubs.py COMPILER FOLDER')
    compiler, folder = sys.argv[1:]
    os.makedirs(folder, exist_ok=True)
    for library, stubs in collect(compiler).items():
        if not stubs:
            fail(f'nothing of glibc 2.17 was found for {library}; this needs glibc on x86-64')
        write(compiler, folder, library, stubs)


if __name__ == '__main__':
    main()
