#!/usr/bin/env python3
"""Holds what docs/events.md and docs/operations.md say of loss and of faults against the build.

Usage: operations_test.py BUILD LIBRARY DOCS

Each row of a table with the column "Shown by" names tests, and all of them are there. What the column
"The log says" quotes stands in the library. The codes in the column of veskctl are ones of its documents.
"""
import pathlib
import re
import subprocess
import sys

BUILD, LIBRARY, DOCS = sys.argv[1], pathlib.Path(sys.argv[2]), pathlib.Path(sys.argv[3])
# Of the C++ library, which a shared one does not have inside.
FOREIGN_TEXTS = {"basic_string::substr", "std::bad_alloc"}


def tables_of(path):
    """Each table as a list of rows: objects of its column titles."""
    rows, titles, tables = [], None, []
    for line in path.read_text().splitlines() + [""]:
        if not line.startswith("|"):
            if titles:
                tables.append(rows)
            titles, rows = None, []
            continue
        cells = [cell.strip() for cell in line.strip("|").split("|")]
        if titles is None:
            titles = cells
        elif not set(line) <= set("|- "):
            rows.append(dict(zip(titles, cells)))
    return tables


def quoted(text):
    """Between backquotes, blanks at the end included: log lines have them."""
    return re.findall(r"`([^`]+)`", text)


def main():
    listed = subprocess.run(["ctest", "--test-dir", BUILD, "-N"], capture_output=True, text=True,
                            check=True).stdout
    tests = set(re.findall(r"^ +Test +#\d+: (\S+)", listed, re.MULTILINE))
    tests |= {re.sub(r"^\w+/|/\w+$", "", test) for test in tests}
    library = LIBRARY.read_bytes()
    codes = (DOCS / "veskctl-json.md").read_text() + (DOCS / "veskctl.md").read_text()
    faults, rows_of_loss, texts = [], 0, 0
    for name in ("events.md", "operations.md"):
        for row in (row for table in tables_of(DOCS / name) for row in table):
            first = next(iter(row.values()))
            if "Shown by" in row:
                rows_of_loss += 1
                named = [test for test in quoted(row["Shown by"]) if "." in test]
                if not named:
                    faults.append(f"{name}: nothing shows '{first}'")
                faults += [f"{name}: there is no test {test}" for test in named if test not in tests]
            for text in quoted(row.get("The log says", "")):
                texts += 1
                if (text not in FOREIGN_TEXTS and text not in ("ENTRY",) and
                        text.encode() not in library):
                    faults.append(f"{name}: the library never logs '{text}'")
            for text in quoted(row.get("`veskctl` says", "")):
                if re.fullmatch(r"[a-z]+(_[a-z]+)+", text) and f"`{text}`" not in codes:
                    faults.append(f"{name}: veskctl has no code '{text}'")
    if rows_of_loss < 40 or texts < 10:
        faults.append(f"only {rows_of_loss} rows of loss and {texts} log lines were found")
    print("\n".join(faults) if faults else
          f"{rows_of_loss} rows of loss are shown by tests, {texts} log lines are real")
    return 1 if faults else 0


sys.exit(main())
