#!/usr/bin/env python3
"""Runs the examples of all documents and compares what they show; holds the reference's field tables
against the schemas, and each excerpt of a program against the program.

Usage: examples_test.py SOURCE BUILD

An example is a block fenced as "console": lines that begin with "$ " are typed into one shell, in a
folder that looks like the source tree; what follows is what must appear, on a screen of 80 columns.
"..." stands for any number of lines, or for any text within one. Blocks fenced as "c" or "cpp" stand in
a file of examples/, which the build compiles.

With VESK_UPDATE=1 in the environment, blocks without "..." are written anew.
"""
import json
import os
import re
import subprocess
import sys
import textwrap

from documents import Tree

TREE = Tree(sys.argv[1], sys.argv[2])
PROGRAM, SCHEMAS = TREE.build / "bin/veskctl-sim", TREE.source / "tools/veskctl/schemas"
USE, FIELDS = TREE.source / "docs/veskctl.md", TREE.source / "docs/veskctl-json.md"
BLOCK = re.compile(r"^```(console|c|cpp)\n(.*?)^```$", re.MULTILINE | re.DOTALL)


def entries_of(block):
    """Pairs of what is typed and the lines that follow. A backslash at its end continues a line,
    and so does "> " in front of what a command reads."""
    entries, open_line = [], False
    for line in block.splitlines():
        if open_line:
            entries[-1] = (entries[-1][0] + "\n" + line, [])
        elif line.startswith("$ "):
            entries.append((line[2:], []))
        elif line.startswith("> ") and "<<" in entries[-1][0]:
            entries[-1] = (entries[-1][0] + "\n" + line[2:], [])
        else:
            entries[-1][1].append(line)
        open_line = line.endswith("\\") and (open_line or line.startswith("$ "))
    return entries


def matches(expected, output):
    text = "\n".join(expected)
    parts = re.split(r"(^\.\.\.$\n?|\.\.\.)", text, flags=re.MULTILINE)
    pattern = "".join("(?:.*\n)*?.*" if part.rstrip("\n") == "..." and part != "..." else
                      (r"[\s\S]*?" if part == "..." else re.escape(part)) for part in parts)
    return re.fullmatch(pattern, "\n".join(output)) is not None


def test_console(path, block):
    """The faults; the commands that were shown."""
    entries = entries_of(block)
    commands = [command for command, _ in entries]
    outputs = [printed.rstrip("\n").split("\n") if printed.strip() else []
               for printed, _ in TREE.play(commands)]
    if os.environ.get("VESK_UPDATE") == "1" and "..." not in block:
        new = "".join(f"$ {command}\n" + "".join(line + "\n" for line in output)
                      for command, output in zip(commands, outputs))
        path.write_text(path.read_text().replace(block, new, 1))
        return [], commands
    return [f"{path.name}: $ {command}\n--- shown:\n" + "\n".join(expected) + "\n--- real:\n" +
            "\n".join(output)
            for (command, expected), output in zip(entries, outputs)
            if not matches(expected, output)], commands


def test_excerpt(path, block):
    for program in (TREE.source / "examples").glob("*.c*"):
        if textwrap.dedent(block) in textwrap.dedent(program.read_text()) or \
                block in program.read_text():
            return []
    return [f"{path.name}: no program of examples/ has this:\n{block}"]


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


def faults_of_the_field_tables():
    text = FIELDS.read_text()
    spoken = {name for quoted in re.findall(r"`([^`\n]+)`", text)
              for name in re.split(r"[.: ]", quoted)}
    names = fields_of_the_schemas()
    faults = [f"{FIELDS.name} does not tell of the field {name}"
              for name in sorted(names) if re.sub("_s$", "", name) not in spoken]
    rows = re.findall(r"^\| (`[^|]+?) \|", text, re.MULTILINE)
    told = {name for row in rows for quoted in re.findall(r"`([^`]+)`", row)
            for name in quoted.split(".")}
    codes = set(re.findall(r'"([a-z_]+)"', (SCHEMAS / "definitions.schema.json").read_text()))
    return faults + [f"{FIELDS.name} tells of {name}, which no schema has"
                     for name in sorted(told) if name not in names | codes]


def main():
    faults, shown, of_reference = faults_of_the_field_tables(), [], []
    for path in TREE.documents():
        for match in BLOCK.finditer(path.read_text()):
            language, block = match.groups()
            if language != "console":
                faults += test_excerpt(path, block)
                continue
            own_faults, own_shown = test_console(path, block)
            faults += own_faults
            shown += own_shown
            of_reference += own_shown if path in (USE, FIELDS) else []
    for command in commands_of_the_program():
        if not any(re.search(rf"veskctl-sim\b[^|]* {command}\b", line) for line in of_reference):
            faults.append(f"{USE.name} shows no example of '{command}'")
    print("\n".join(faults) if faults else f"{len(shown)} examples show what the program does")
    return 1 if faults else 0


sys.exit(main())
