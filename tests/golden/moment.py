#!/usr/bin/env python3
"""dump, diff and report: what one moment leaves, and what two have to say of each other.

moment.py VESKCTL_SIM
"""
import html.parser
import json
import os
import re
import subprocess
import sys
import tempfile

TOOL = sys.argv[1]


def run(*arguments, scenario="healthy"):
    done = subprocess.run([TOOL, "--scenario", scenario, *arguments], capture_output=True, text=True)
    return done.returncode, done.stdout, done.stderr


def demand(condition, what):
    if not condition:
        sys.exit(f"moment: {what}")


class Page(html.parser.HTMLParser):
    """The texts of a page, its JSON, and what it would fetch."""

    def __init__(self, text):
        super().__init__()
        self.text = ""
        self.json = ""
        self.fetched = []
        self.tags = set()
        self.inside = []
        self.feed(text)

    def handle_starttag(self, tag, attributes):
        self.tags.add(tag)
        if tag not in ("meta", "link"):
            self.inside.append((tag, dict(attributes).get("id")))
        for name, value in attributes:
            if name in ("src", "href", "action", "data", "poster", "srcset") and not re.match(
                    r"#|data:", value):
                self.fetched.append(value)

    def handle_endtag(self, tag):
        demand(not self.inside or self.inside[-1][0] == tag, f"</{tag}> closes {self.inside[-1:]}")
        self.inside.pop()

    def handle_data(self, data):
        if ("pre", "json") in self.inside:
            self.json += data
        elif ("style", None) not in self.inside:
            self.text += data


def check_page(scenario, folder):
    path = os.path.join(folder, scenario + ".html")
    code, _, error = run("report", path, scenario=scenario)
    demand(code in (0, 1, 3), f"report of {scenario} ends with {code}: {error}")
    with open(path, encoding="utf-8") as file:
        text = file.read()
    page = Page(text)
    document = json.loads(page.json)
    demand(page.fetched == [], f"the page of {scenario} fetches {page.fetched}")
    demand("script" not in page.tags and "url(" not in text and "@import" not in text,
           f"the page of {scenario} runs or fetches something")
    demand("SIMULATED HOST" in page.text, f"the page of {scenario} does not name the simulation")
    demand(f"Verdict: {document['verdict']['level']}" in page.text, f"no verdict: {scenario}")
    for reason in document["verdict"]["reasons"]:
        demand(f"{reason['subject']}: {reason['text']}" in page.text, f"{scenario} lacks {reason}")
    demand("✓ ok absent" not in page.text and "✓ ok did not" not in page.text,
           f"the page of {scenario} calls a missing disk ok")
    for disk in document["disks"]:
        for name in ("model_name", "serial_number", "firmware_version"):
            demand(disk[name] is None or disk[name] in page.text, f"{scenario} lacks {disk[name]}")
    for finding in document["findings"]:
        demand(finding["text"] in page.text, f"{scenario} lacks {finding['text']}")
    for event in document["events"][-200:]:
        demand((event["message"] or "–") in page.text, f"{scenario} lacks {event}")
    demand(page.inside == [], f"the page of {scenario} leaves open {page.inside}")


def check_diff(folder):
    paths = {}
    for scenario in ("healthy", "worn", "degraded"):
        paths[scenario] = os.path.join(folder, scenario + ".json")
        code, _, error = run("dump", paths[scenario], scenario=scenario)
        demand(code == 0, f"dump of {scenario} ends with {code}: {error}")

    code, out, _ = run("diff", paths["healthy"])
    demand(code == 0 and "Nothing changed between 20" in out, f"same host: {code}, {out}")
    code, out, _ = run("diff", paths["healthy"], paths["worn"])
    for line in ("verdict: level was ok, is critical", "disk 0: percentage used was 2, is 61",
                 "disk 1: SMART status was ok, is alert", "disk 1: health alert was no, is yes",
                 "new event 2: 2026-09-21T14:13:24Z major Drive health alert"):
        demand(line in out.splitlines(), f"no '{line}' in:\n{out}")
    demand(code == 4, f"a worn disk ends with {code}")
    code, out, _ = run("diff", paths["healthy"], "--json", scenario="degraded")
    changes = {(change["subject"], change["field"]): change for change in json.loads(out)["changes"]}
    demand(code == 4 and changes["disk 1", "state"]["after"] == "absent", f"{code}: {out}")
    demand(("disk 1", "model_name") not in changes, "what is unknown is told as a change")

    os.mkfifo(os.path.join(folder, "pipe"))
    for bad in ("/dev/zero", folder, os.path.join(folder, "pipe"), TOOL, "/nonexistent"):
        code, _, error = run("diff", bad)
        demand(code == 2 and "name a file that 'veskctl dump' wrote" in error, f"{bad}: {error}")
    code, _, error = run("dump", os.path.join(folder, "no", "such", "folder"))
    demand(code == 1 and "cannot be written" in error, f"a folder that is not there: {error}")


with tempfile.TemporaryDirectory() as temporary:
    check_diff(temporary)
    for name in ("healthy", "degraded", "worn", "busy-log", "foreign-disk", "commands-fail",
                 "no-controller", "empty-mapping"):
        check_page(name, temporary)
