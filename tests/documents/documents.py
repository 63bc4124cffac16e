"""What the tests of the documents share: which documents there are, and a folder to follow them in."""
import os
import pathlib
import subprocess
import tempfile

MARK = "<end of output>"


class Tree:
    """What a reader has: the sources, with this build as its release build, and the programs."""

    def __init__(self, source, build):
        self.source, self.build = pathlib.Path(source).resolve(), pathlib.Path(build).resolve()

    def documents(self):
        names = ["README.md", "CONTRIBUTING.md", "docs/*.md", "sim/scenarios/README.md",
                 "packaging/*/README.md"]
        return sorted(path for name in names for path in self.source.glob(name))

    def name_of(self, path):
        return str(path.relative_to(self.source))

    def make(self, folder):
        """Fills the folder: links, so that what a command writes stays in there."""
        for entry in self.source.iterdir():
            if entry.name not in ("build", ".git"):
                (folder / entry.name).symlink_to(entry)
        (folder / "build").mkdir()
        (folder / "build" / "release").symlink_to(self.build)

    def play(self, commands, beginning=""):
        """Types the commands into one shell, on a screen of 80 columns. For each of them, what it
        printed and its exit code."""
        script = beginning + "\n".join(
            f"{command}\ncode=$?; echo \"{MARK} $code\"; (exit $code)" for command in commands)
        environment = {"PATH": f"{self.build}/bin:{os.environ['PATH']}", "COLUMNS": "80",
                       "LC_ALL": "C.UTF-8", "TERM": "dumb"}
        with tempfile.TemporaryDirectory() as place:
            folder = pathlib.Path(place) / "tree"
            folder.mkdir()
            self.make(folder)
            environment["HOME"] = environment["TMPDIR"] = place
            done = subprocess.run(["bash", "-c", script], cwd=folder, env=environment, timeout=100,
                                  stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                  stderr=subprocess.STDOUT, check=False)
        results, printed = [], ""
        for line in done.stdout.decode().splitlines(keepends=True):
            head, found, code = line.rpartition(MARK + " ")
            if found:
                results.append((printed + head, int(code)))
                printed = ""
            else:
                printed += line
        # A shell that ended early has typed no more.
        return results + [(printed, done.returncode)] * (len(commands) - len(results))
