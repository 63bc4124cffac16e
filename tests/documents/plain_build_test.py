#!/usr/bin/env python3
"""Configures the tree without a preset, as README.md tells packagers, and compares: each source is compiled
by the command of this build, which is a release build. Building it would take minutes and tell no more.

Usage: plain_build_test.py SOURCE BUILD
"""
import json
import subprocess
import sys
import tempfile
from pathlib import Path

SOURCE, BUILD = Path(sys.argv[1]), Path(sys.argv[2])
LAUNCHERS = ("ccache", "sccache", "distcc")


def commands_of(build):
    commands = set()
    for entry in json.loads((build / "compile_commands.json").read_text()):
        words = entry["command"].replace(str(build), "BUILD").split()
        commands.add(" ".join(words[1:] if words[0].endswith(LAUNCHERS) else words))
    return commands


def main():
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run(["cmake", "-S", SOURCE, "-B", folder, "-G", "Ninja"], check=True,
                       stdout=subprocess.DEVNULL, timeout=200)
        plain = commands_of(Path(folder))
    if not plain:
        print("nothing would be compiled")
        return 1
    others = sorted(plain - commands_of(BUILD))
    print("\n".join(others) if others else f"{len(plain)} sources are compiled as in this build")
    return 1 if others else 0


sys.exit(main())
