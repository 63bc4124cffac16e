#!/usr/bin/env python3
"""Looks that each undefined symbol of a library stands in symbols.txt.

usage: check_symbols.py LIBRARY
"""
import re
import subprocess
import sys
from pathlib import Path

KINDS = ("swept", "infallible", "exempt")


def rows():
    for number, line in enumerate(Path(__file__).with_name("symbols.txt").read_text().splitlines(), 1):
        if line and not line.startswith("#"):
            fields = re.split(r"\s{2,}", line)
            if len(fields) != 3 or fields[0] not in KINDS:
                sys.exit(f"symbols.txt:{number}: not a kind, a name and a reason: {line}")
            # Of the pattern language of shells, only the asterisk.
            yield fields[0], re.compile(re.escape(fields[1]).replace(r"\*", ".*"))


def undefined(library):
    listing = subprocess.run(["nm", "-D", "--undefined-only", library],
                             check=True, capture_output=True, text=True).stdout
    names = [line.split()[-1].split("@")[0] for line in listing.splitlines()]
    return subprocess.run(["c++filt"], input="\n".join(names), check=True, capture_output=True,
                          text=True).stdout.splitlines()


def main():
    table = list(rows())
    counts = dict.fromkeys(KINDS, 0)
    unknown = []
    for name in undefined(sys.argv[1]):
        kind = next((kind for kind, pattern in table if pattern.fullmatch(name)), None)
        if kind is None:
            unknown.append(name)
        else:
            counts[kind] += 1
    for name in unknown:
        print(f"not in symbols.txt, say there whether it can fail and how that is tested: {name}")
    print(", ".join(f"{count} {kind}" for kind, count in counts.items()))
    if unknown or counts["swept"] < 20:
        sys.exit(1)


main()
