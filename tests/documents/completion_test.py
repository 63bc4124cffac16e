#!/usr/bin/env python3
"""Loads a completion script into its shell, and asks for what may follow.

Usage: completion_test.py SHELL SCRIPT
SHELL: bash, zsh or fish. SCRIPT: the installed file, named as it is installed.
"""
import os
import pathlib
import pty
import select
import shutil
import subprocess
import sys
import tempfile
import time

SHELL, SCRIPT = sys.argv[1], pathlib.Path(sys.argv[2]).resolve()
BASH_COMPLETION = pathlib.Path("/usr/share/bash-completion/bash_completion")
END = "<end>"

# What was typed, what must be offered, what must not.
ROWS = [
    ("veskctl d", ["disks", "doctor"], ["show", "--json"]),
    ("veskctl disks ", ["show"], ["doctor", "0"]),
    ("veskctl disks show ", ["0", "1"], ["show"]),
    ("veskctl --json disks --r", ["--raw"], ["--json"]),
    ("veskctl -o json locate o", ["on", "off"], ["doctor"]),
    ("veskctl disks -o ", ["table", "json", "ndjson", "csv"], ["show"]),
    ("veskctl --output=n", ["ndjson"], ["doctor", "table"]),
    ("veskctl --timeout 5 vol", ["volumes"], ["disks"]),
    ("veskctl help disks ", ["show"], ["0"]),
    ("veskctl completion ", ["bash", "zsh", "fish"], ["disks"]),
    ("veskctl disks --library /usr/li", ["lib"], ["show"]),
    ("veskctl events --p", ["--peek"], ["--raw"]),
]


def skip(reason):
    print("skipped: " + reason)
    sys.exit(77)


def bash_offers(typed):
    """Through bash-completion, which finds the file by the program's name."""
    words = typed.replace("=", " = ").split() + ([""] if typed.endswith(" ") else [])
    line = f"""
        source {BASH_COMPLETION}
        _completion_loader veskctl
        set -- $(complete -p veskctl)
        while [ $# -gt 1 ] && [ "$1" != -F ]; do shift; done
        COMP_WORDS=({' '.join("'" + word + "'" for word in words)})
        COMP_CWORD={len(words) - 1}
        COMP_LINE='{typed}' COMP_POINT={len(typed)}
        $2
        printf '%s\\n' "${{COMPREPLY[@]}}"
    """
    with tempfile.TemporaryDirectory() as folder:
        place = pathlib.Path(folder) / "completions"
        place.mkdir()
        shutil.copy(SCRIPT, place / "veskctl")
        done = subprocess.run(["bash", "--norc", "--noprofile", "-c", line], text=True,
                              capture_output=True, timeout=30, check=False,
                              env=dict(os.environ, BASH_COMPLETION_USER_DIR=folder))
    assert not done.stderr, done.stderr
    return done.stdout.split()


def fish_offers(typed):
    line = f"source {SCRIPT}; complete -C '{typed}'"
    with tempfile.TemporaryDirectory() as home:
        done = subprocess.run(["fish", "--no-config", "-c", line], text=True, capture_output=True,
                              timeout=30, check=False, env=dict(os.environ, HOME=home))
    assert not done.stderr, done.stderr
    return [offer.split("\t")[0].split("=")[-1] for offer in done.stdout.splitlines()]


class Zsh:
    """A shell on a terminal: zsh completes on no other. It is asked to list, not to insert."""

    def __init__(self):
        folder = tempfile.mkdtemp()
        shutil.copy(SCRIPT, folder)
        process, self.terminal = pty.fork()
        if process == 0:
            os.environ.update(TERM="dumb", PS1="", HOME=folder, COLUMNS="300", LINES="100")
            os.execvp("zsh", ["zsh", "-f", "-i"])
        self.folder = folder
        self.say("PS1=''; unsetopt zle_bracketed_paste prompt_cr prompt_sp; stty -echo; "
                 f"fpath=({folder} $fpath); autoload -Uz compinit; compinit -D -u; "
                 # Everything that is added as a match is written to a file.
                 "compadd() { builtin compadd -O offers \"$@\"; print -l -- $offers >> "
                 f"{folder}/offers; builtin compadd \"$@\"; }}; "
                 f"complete-and-say() {{ zle list-choices; print -- '{END}' >> {folder}/offers; "
                 "BUFFER=''; }; zle -N complete-and-say; bindkey '^X' complete-and-say; "
                 f"print -- '{END}' >> {folder}/offers\n")
        self.answer()

    def say(self, text):
        os.write(self.terminal, text.encode())

    def answer(self):
        """Reads the terminal empty meanwhile: the shell must not wait for that."""
        offers = pathlib.Path(self.folder) / "offers"
        until = time.monotonic() + 30
        while time.monotonic() < until:
            if select.select([self.terminal], [], [], 0.02)[0]:
                os.read(self.terminal, 65536)
            if offers.exists() and END in offers.read_text():
                found = offers.read_text().split()
                offers.unlink()
                return found[:-1]
        raise AssertionError("zsh does not answer")

    def offers(self, typed):
        self.say(typed + "\x18")
        return self.answer()

    def leave(self):
        os.close(self.terminal)
        shutil.rmtree(self.folder)


def main():
    if shutil.which(SHELL) is None:
        skip(f"{SHELL} is not installed")
    if SHELL == "bash" and not BASH_COMPLETION.exists():
        skip("the package bash-completion is not installed")
    zsh = Zsh() if SHELL == "zsh" else None
    offers_of = {"bash": bash_offers, "fish": fish_offers}.get(SHELL) or zsh.offers
    faults = []
    for typed, wanted, unwanted in ROWS:
        offers = [offer.rstrip("/").split("/")[-1] for offer in offers_of(typed)]
        faults += [f"'{typed}': {word} is not offered: {offers}"
                   for word in wanted if word not in offers]
        faults += [f"'{typed}': {word} is offered: {offers}" for word in unwanted if word in offers]
    if zsh is not None:
        zsh.leave()
    print("\n".join(faults) if faults else f"{len(ROWS)} lines complete in {SHELL}")
    return 1 if faults else 0


sys.exit(main())
