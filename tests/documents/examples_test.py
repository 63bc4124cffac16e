#!/usr/bin/env python3
"""Runs the examples of the reference and compares what they show, and its field tables with the schemas.

Usage: examples_test.py VESKCTL_SIM SCHEMAS USE.md JSON.md

An example is a block fenced as "console": lines that begin with "$ " are typed into one shell, in an
empty folder; what follows is what must appear, on a screen of 80 columns. "..." stands for any number
of lines, or for any text within one.

With VESK_UPDATE=1 in the environment, blocks without "..." are written anew.
"""
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile

PROGRAM, SCHEMAS = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2])
USE, FIELDS = pathlib.Path(sys.argv[3]), pathlib.Path(sys.argv[4])
MARK = "<end of output>"
BLOCK = re.compile(r"^```console\n(.*?)^```$", re.MULTILINE | re.DOTALL)


def entries_of(block):
    """Pairs of what is typed and the lines that follow."""
    entries = []
    for line in block.splitlines():
        if line.startswith("$ "):
            entries.append((line[2:], []))
        else:
            entries[-1][1].append(line)
    return entries


def outputs_of(commands):
    """Of one shell, so that what a command leaves is there for the next."""
    script = "\n".join(f"{command}\ncode=$?; echo '{MARK}'; (exit $code)" for command in commands)
    environment = {"PATH": f"{PROGRAM.parent}:{os.environ['PATH']}", "COLUMNS": "80",
                   "LC_ALL": "C.UTF-8", "TERM": "dumb"}
    for name in ("ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS"):
        if name in os.environ:
            environment[name] = os.environ[name]
    with tempfile.TemporaryDirectory() as folder:
        done = subprocess.run(["bash", "-c", script], cwd=folder, env=environment, timeout=60,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
    outputs = done.stdout.decode().split(MARK + "\n")
    return [output.rstrip("\n").split("\n") if output.strip() else [] for output in outputs[:-1]]


def matches(expected, output):
    text = "\n".join(expected)
    parts = re.split(r"(^\.\.\.$\n?|\.\.\.)", text, flags=re.MULTILINE)
    pattern = "".join("(?:.*\n)*?.*" if part.rstrip("\n") == "..." and part != "..." else
                      (r"[\s\S]*?" if part == "..." else re.escape(part)) for part in parts)
    return re.fullmatch(pattern, "\n".join(output)) is not None


def test_examples(path):
    """The faults; the commands that were shown."""
    faults, shown = [], []
    text = path.read_text()
    for match in BLOCK.finditer(text):
        entries = entries_of(match.group(1))
        commands = [command for command, _ in entries]
        shown += commands
        outputs = outputs_of(commands)
        elided = "..." in match.group(1)
        if os.environ.get("VESK_UPDATE") == "1" and not elided:
            block = "".join(f"$ {command}\n" + "".join(line + "\n" for line in output)
                            for command, output in zip(commands, outputs))
            path.write_text(path.read_text().replace(match.group(1), block, 1))
            continue
        for (command, expected), output in zip(entries, outputs):
            if not matches(expected, output):
                faults.append(f"{path.name}: $ {command}\n--- shown:\n" + "\n".join(expected) +
                              "\n--- real:\n" + "\n".join(output))
    return faults, shown


def commands_of_the_program():
    text = subprocess.run([PROGRAM, "help"], capture_output=True, text=True, check=True).stdout
    section = text.split("\nCommands:\n")[1].split("\n\n")[0]
    return re.findall(r"^  (\w+)", section, re.MULTILINE)


def fields_of_the_schemas():
    names = set()

    def collect(value):
        if isinstance(value, dict):
            if isinstance(value.get("properties"), dict):
                names.update(value["properties"])
            for child in value.values():
                collect(child)
        elif isinstance(value, list):
            for child in value:
                collect(child)

    for path in SCHEMAS.glob("*.schema.json"):
        collect(json.loads(path.read_text()))
    return names


def main():
    faults, shown = [], []
    for path in (USE, FIELDS):
        own_faults, own_shown = test_examples(path)
        faults += own_faults
        shown += own_shown
    for command in commands_of_the_program():
        if not any(re.search(rf"veskctl-sim\b[^|]* {command}\b", line) for line in shown):
            faults.append(f"{USE.name} shows no example of '{command}'")
    text = FIELDS.read_text()
    spoken = {name for quoted in re.findall(r"`([^`\n]+)`", text)
              for name in re.split(r"[.: ]", quoted)}
    names = fields_of_the_schemas()
    faults += [f"{FIELDS.name} does not tell of the field {name}"
               for name in sorted(names) if re.sub("_s$", "", name) not in spoken]
    rows = re.findall(r"^\| (`[^|]+?) \|", text, re.MULTILINE)
    told = {name for row in rows for quoted in re.findall(r"`([^`]+)`", row)
            for name in quoted.split(".")}
    codes = {code for code in re.findall(r'"([a-z_]+)"', (SCHEMAS / "definitions.schema.json").read_text())}
    faults += [f"{FIELDS.name} tells of {name}, which no schema has"
               for name in sorted(told) if name not in names | codes]
    print("\n".join(faults) if faults else f"{len(shown)} examples show what the program does")
    return 1 if faults else 0


sys.exit(main())
