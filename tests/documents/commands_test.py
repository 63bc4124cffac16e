#!/usr/bin/env python3
"""Runs the commands that documents tell without their output: in indented blocks, and in those fenced as
"sh". What cannot run here stands in not_run.txt with its reason.

Usage: commands_test.py SOURCE BUILD

Commands of one document run in one shell, in a folder that looks like the source tree, where veskctl is
the one with the simulated host. Each has to end with 0. Links lead somewhere, scripts that are named
are there, and a ctest that is named within a line finds tests.
"""
import pathlib
import re
import sys

from documents import Tree

TREE = Tree(sys.argv[1], sys.argv[2])
NOT_RUN = pathlib.Path(__file__).parent / "not_run.txt"
FENCED = re.compile(r"^```(\w*)\n(.*?)^```$", re.MULTILINE | re.DOTALL)
INDENTED = re.compile(r"(?:(?<=\n\n)|(?<=\n\n\n))((?: {4,}\S.*\n(?:\n(?= {4}))?)+)")
# What a line begins with that is meant to be typed; others are excerpts of files and of output.
TYPED = re.compile(r"(?:[A-Z_]+=\S+ +)*(?:(?:\./|\.ci/|scripts/|build/|examples/|packaging/|tests/|/opt/)\S+|"
                   r"veskctl|veskctl-sim|esxcli|localcli|cmake|ctest|ninja|sh|bash|busybox|cc|c\+\+|ar|cp|mv|"
                   r"mkdir|cat|export|alias|for|git|make|apt-get|apt|sudo|curl|systemctl|promtool|grep|"
                   r"ansible-playbook|ansible|rsyslogd|crontab|man|install|pip|tar|LD_PRELOAD=\S+)(?: |$)")


def blocks_of(text):
    for language, block in FENCED.findall(text):
        if language in ("sh", "bash", "shell"):
            yield block
    for block in INDENTED.findall(FENCED.sub("", text)):
        yield block


def commands_of(text):
    """Each command as it is typed, without the remark behind it."""
    commands = []
    for block in blocks_of(text):
        lines = [line.strip() for line in block.splitlines() if line.strip()]
        if not lines or not TYPED.match(lines[0]):
            continue
        command = ""
        for line in lines:
            command += ("\n" if command else "") + re.sub(r" +# .*$", "", line)
            inside = command.startswith("for ") and not command.endswith("done")
            if not line.endswith("\\") and not inside:
                commands.append(command)
                command = ""
    return commands


def read_not_run():
    """Pairs of document and command, which is "*" for all of a document; the reason of each."""
    reasons, document, reason = {}, "", ""
    for line in NOT_RUN.read_text().splitlines():
        if line.startswith("    "):
            reasons[document, line.strip()] = reason
        elif line and not line.startswith("#"):
            document, reason = line.split(": ", 1)
    return reasons


# What runs here touches nothing but its folder: these programs, and no file outside. All else needs a
# reason why it is sound without.
HARMLESS = {"veskctl", "veskctl-sim", "export", "alias", "mkdir", "cat", "grep", "head", "tail", "od",
            "tr", "sed", "sort", "wc", "jq", "cc", "c++", "./inventory", "busybox"}


def is_harmless(command):
    if re.search(r">>?\s*(?!/dev/null\b)/|[`&;]|\.\./", command):
        return False
    for piece in re.sub(r"'[^']*'", "text", command).split("|"):
        words = re.sub(r"^(?:[A-Z_]+=\S+ +)+", "", piece.strip()).split()
        if not words or words[0] not in HARMLESS:
            return False
    return True


def fault_of_a_script(command):
    """Of one that is too long to be run here, at least this must be true."""
    match = re.match(r"((?:\.ci|scripts)/\S+)", command)
    if not match:
        return None
    script = TREE.source / match.group(1)
    if not script.is_file() or not script.stat().st_mode & 0o100:
        return "there is no such script"
    unknown = [option for option in re.findall(r" (--[a-z-]+)", command)
               if option not in script.read_text() and "ctest" not in script.read_text()]
    return f"the script does not know {unknown[0]}" if unknown else None


def faults_of_ctest(path):
    """Of those within a line; NAME stands for any test."""
    commands = [command for command in re.findall(r"`(ctest [^`\n]+)`", path.read_text())
                if "NAME" not in command]
    for command, (printed, _) in zip(commands, TREE.play([command + " -N" for command in commands])):
        if not re.search(r"^Total Tests: [1-9]", printed, re.MULTILINE):
            yield f"{TREE.name_of(path)}: {command} finds no tests"


def headings_of(path):
    """As the anchors of links name them."""
    lines = FENCED.sub("", path.read_text()).splitlines()
    return {re.sub(r"[^a-z0-9 _-]", "", line.lstrip("# ").lower()).replace(" ", "-")
            for line in lines if line.startswith("#")}


def faults_of_references(path):
    text = FENCED.sub("", path.read_text())
    for target in re.findall(r"\]\(([^)\s]+)\)", text):
        file, _, anchor = target.partition("#")
        if "://" in target:
            continue
        place = (path.parent / file).resolve() if file else path
        if not place.exists():
            yield f"{TREE.name_of(path)}: nothing is at {target}"
        elif anchor and anchor not in headings_of(place):
            yield f"{TREE.name_of(path)}: no heading is at {target}"
    for script in set(re.findall(r"(?<![\w./-])scripts/[a-z][a-z-]*", path.read_text())):
        if not (TREE.source / script).exists():
            yield f"{TREE.name_of(path)}: there is no {script}"


def main():
    faults, run, told = [], 0, set()
    reasons = read_not_run()
    of_ci = [line.strip() for line in (TREE.source / ".ci/run").read_text().splitlines()]
    for path in TREE.documents():
        name = TREE.name_of(path)
        faults += faults_of_references(path)
        faults += faults_of_ctest(path)
        commands = commands_of(path.read_text())
        if (name, "*") in reasons:
            told.add((name, "*"))
            continue
        first_lines = {command: command.split("\n")[0] for command in commands}
        told |= {(name, line) for line in first_lines.values()}
        wanted = [command for command in commands if (name, first_lines[command]) not in reasons]
        for command in commands:
            if command not in wanted and (fault := fault_of_a_script(command)):
                faults.append(f"{name}: {command}: {fault}")
            if command not in wanted and command not in of_ci and \
                    reasons[name, first_lines[command]] == "run by .ci/run":
                faults.append(f"{name}: {command}: not run by .ci/run")
        faults += [f"{name}: {command}: is not run here; give the reason in {NOT_RUN.name}"
                   for command in wanted if not is_harmless(command)]
        wanted = [command for command in wanted if is_harmless(command)]
        if not wanted:
            continue
        run += len(wanted)
        results = TREE.play(wanted, 'veskctl() { veskctl-sim "$@"; }\n')
        faults += [f"{name}: {command} ends with {code}:\n{printed}"
                   for command, (printed, code) in zip(wanted, results) if code != 0]
    faults += [f"{NOT_RUN.name}: {document} does not tell '{line}'"
               for document, line in sorted(set(reasons) - told)]
    print("\n".join(faults) if faults else
          f"{run} commands run, {len(reasons)} do not, for the reasons in {NOT_RUN.name}")
    return 1 if faults else 0


sys.exit(main())
