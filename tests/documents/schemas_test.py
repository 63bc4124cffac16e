#!/usr/bin/env python3
"""Holds documents and lines of NDJSON to their schemas.

Usage: schemas_test.py VESKCTL_SIM SCHEMAS SCENARIOS [--all]

Without --all, what is made of the same answers as another output is tried on few scenarios only.
"""
import copy
import json
import pathlib
import subprocess
import sys
import tempfile
from concurrent.futures import ThreadPoolExecutor

try:
    from jsonschema import Draft202012Validator
except ImportError:
    print("skipped: python3-jsonschema is not installed")
    sys.exit(77)

PROGRAM, SCHEMAS, SCENARIOS = sys.argv[1], pathlib.Path(sys.argv[2]), pathlib.Path(sys.argv[3])

# On every scenario.
COMMANDS = ["status", "check", "doctor", "controller", "disks", "health", "volumes", "events --peek"]
# Made of the same answers, so on a few.
FURTHER = [
    "link", "disks show 1", "health show 0", "space", "volumes show 1", "events --wait 0",
    "events --all", "mark show", "mark set 3", "locate on 0", "locate off --all", "metrics",
    "version", "sim leds", "dump FOLDER/SCENARIO.dump", "report FOLDER/SCENARIO.html",
    "diff FOLDER/first.dump",
]
FEW = ("healthy", "degraded", "foreign-disk", "commands-fail", "no-controller")
# On one, since no host is looked at.
HOSTLESS = ["capture show FOLDER/first.cap", "capture show FOLDER/first.cap --hex",
            "capture extract FOLDER/captured.dump FOLDER/extracted.cap", "help disks",
            "completion bash", "man", "disks show 7", "frob", "disks --frob"]
ALL = sys.argv[4:] == ["--all"]
NO_LIBRARY = [command + " --library /nonexistent/lib.so" for command in COMMANDS + FURTHER]

TEXTS = {path.name: json.loads(path.read_text()) for path in sorted(SCHEMAS.glob("*.schema.json"))}
COMMON = "definitions.schema.json"
VALIDATORS = {}
SPOILT = set()
FOLDER = ""  # for files that commands write


def validator(name, line=False):
    """For the document, or for one line of its NDJSON. The common definitions are put inside."""
    if (name, line) not in VALIDATORS:
        schema = json.loads(json.dumps(TEXTS[name]).replace(COMMON + "#", "#"))
        definitions = {**TEXTS[COMMON]["$defs"], **schema.get("$defs", {})}
        if line:
            schema = {"$ref": "#/$defs/line"}
        VALIDATORS[name, line] = Draft202012Validator({**schema, "$defs": definitions})
    return VALIDATORS[name, line]


def schema_of(command):
    """As the documentation says: by the command's words, or by the first of them."""
    for words in (command.replace(" ", "_"), command.split(" ")[0]):
        if words + ".schema.json" in TEXTS:
            return words + ".schema.json"
    raise AssertionError(f"no schema for '{command}'")


def faults_of(checker, value):
    return [f"{'/'.join(map(str, fault.path))}: {fault.message[:200]}"
            for fault in checker.iter_errors(value)]


def faults_of_document(document):
    codes = [error["code"] for error in document.get("errors", [])]
    if "usage" in codes and document.get("command") is None or codes == ["usage"]:
        return faults_of(validator("usage_error.schema.json"), document)
    return faults_of(validator(schema_of(document["command"])), document)


def run(words, scenario):
    words = words.replace("FOLDER", FOLDER).replace("SCENARIO", scenario.stem)
    line = [PROGRAM, "--scenario", str(scenario)] + words.split()
    return subprocess.run(line, capture_output=True, text=True, timeout=60, check=False)


def try_out(job):
    words, scenario = job
    where = f"{words} on {scenario.stem}"
    found = []
    output = run(words + " -o json", scenario).stdout
    try:
        document = json.loads(output)
    except ValueError as error:
        return [f"{where}: no document: {error}: {output[:200]}"], None
    found += [f"{where}: {fault}" for fault in faults_of_document(document)]
    if words.startswith("dump ") and not words.endswith("lib.so"):
        written = json.loads(pathlib.Path(FOLDER, scenario.stem + ".dump").read_text())
        found += [f"{where}, the file: {fault}" for fault in faults_of_document(written)]
        return found, written
    if document["command"] is None or words in HOSTLESS:
        return found, document
    name = schema_of(document["command"])
    if "line" not in TEXTS[name].get("$defs", {}) or not (ALL or scenario.stem in FEW):
        return found, document  # its one line is the document
    for line in run(words + " -o ndjson", scenario).stdout.splitlines():
        found += [f"{where}, a line: {fault}"
                  for fault in faults_of(validator(name, True), json.loads(line))]
    return found, document


def places(value, path=()):
    """Each object in the document, by the way to it; of an array the first."""
    if isinstance(value, dict):
        yield path
    children = value.items() if isinstance(value, dict) else (
        enumerate(value[:1]) if isinstance(value, list) else ())
    for key, child in children:
        yield from places(child, path + (key,))


def at(value, path):
    for key in path:
        value = value[key]
    return value


def slips_through(document):
    """Names of fields that could be left out, or misspelt, and no schema would see it."""
    found = set()
    document = copy.deepcopy(document)
    checker = validator(schema_of(document["command"]))
    for path in places(document):
        if "by_severity" in path:
            continue  # its names are no fields
        place = at(document, path)
        if tuple(place) in SPOILT:
            continue  # of the same definition, in another document
        SPOILT.add(tuple(place))
        for name, value in list(place.items()):
            del place[name]
            caught = not checker.is_valid(document)
            if not caught and not name.endswith("_s"):
                found.add(f"missing {name}")
            place[name + "x"] = value
            if checker.is_valid(document):
                found.add(f"misspelt {name}")
            del place[name + "x"]
            place[name] = value
    return [f"{document['command']}: the schema does not see {slip}" for slip in sorted(found)]


def main():
    with tempfile.TemporaryDirectory() as folder:
        global FOLDER  # pylint: disable=global-statement
        FOLDER = folder
        return check_all()


def check_all():
    for name, text in TEXTS.items():
        Draft202012Validator.check_schema(text)
        if not text.get("title"):
            raise AssertionError(f"{name} has no title")
    scenarios = sorted(path for path in SCENARIOS.glob("*.json") if ".schema" not in path.name)
    if len(scenarios) < 10:
        raise AssertionError(f"only {len(scenarios)} scenarios in {SCENARIOS}")
    healthy = SCENARIOS / "healthy.json"
    jobs = [(words, scenario) for scenario in scenarios for words in
            COMMANDS + (FURTHER if ALL or scenario.stem in FEW else [])]
    jobs += [(words, healthy) for words in HOSTLESS + NO_LIBRARY]
    run("dump FOLDER/first.dump", healthy)
    run("--capture FOLDER/first.cap controller", healthy)
    run("--capture FOLDER/dumped.cap dump FOLDER/captured.dump", healthy)
    with ThreadPoolExecutor(4) as pool:
        results = list(pool.map(try_out, jobs))
    faults = [fault for found, _ in results for fault in found]
    captured = json.loads(pathlib.Path(FOLDER, "captured.dump").read_text())
    faults += faults_of_document(captured)
    used = set()
    for (words, scenario), (_, document) in zip(jobs, results):
        if document is not None and document["command"] is not None and words not in HOSTLESS[6:]:
            used.add(schema_of(document["command"]))
            if scenario == healthy and words in COMMANDS + FURTHER:
                faults += slips_through(document)
    unused = set(TEXTS) - used - {COMMON, "usage_error.schema.json"}
    faults += [f"{name} belongs to no command that was tried" for name in sorted(unused)]
    print("\n".join(faults) if faults else f"{len(jobs)} command lines hold to their schemas")
    return 1 if faults else 0


sys.exit(main())
