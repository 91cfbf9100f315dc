"""Kills commands at random moments and looks at what they leave

Each kill is one round: the command starts with the old destination, is killed, and then the
destination must be the old one byte for byte or the new one entry for entry. The next command in
the same folder must leave nothing hidden there, and the temporary folder must be empty. The moments
are spread over the time that the command takes. By hand:

    VELLOMIR_CLI=build/release/bin/vellomir-cli python3 tests/end_to_end/kills.py --count 200

`--calls` kills at every system call that changes something instead, where strace may trace.
"""
import argparse
import collections
import hashlib
import os
import random
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import zipfile
from pathlib import Path

from harness import PROGRAM, infoPlist, makePackage, makeZip

MEBIBYTE = 1 << 20


def digest(path):
    with open(path, "rb") as file:
        return hashlib.file_digest(file, "sha256").hexdigest() if hasattr(
            hashlib, "file_digest") else hashlib.sha256(file.read()).hexdigest()


def entries(path):
    """Names, modes and contents of an archive that must be whole."""
    with zipfile.ZipFile(path) as archive:
        if archive.testzip() is not None:
            raise AssertionError(f"{path} is damaged")
        return {info.filename: (info.external_attr, info.CRC, info.file_size)
                for info in archive.infolist()}


class Command:
    """What is run in every round. `old` is the destination's content before, None if it is new."""

    def __init__(self, folder, size):
        self.folder = folder
        self.size = size
        self.sources = {}

    def write(self, name, content):
        path = self.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)
        return path

    def bytes(self, seed, size=None):
        return random.Random(seed).randbytes(size or self.size)


class Duplicate(Command):
    name, destination = "duplicate --force", "out/Notes2.ipa"
    arguments = ["duplicate", "app.ipa", "--number", "2", "--output", "out", "--force", "--quiet"]

    def prepare(self):
        third = self.size // 3
        makeZip(self.folder / "app.ipa",
                [("Payload/Notes.app/Info.plist", infoPlist()),
                 *((f"Payload/Notes.app/data{index}", self.bytes(index, third))
                   for index in range(3)),
                 *((f"Payload/Notes.app/small/{index}", b"text" * index) for index in range(50))])
        (self.folder / "out").mkdir()
        makePackage(self.folder / "out/Notes2.ipa")


class Add(Command):
    name, destination = "archive add", "out/a.zip"
    arguments = ["archive", "add", "out/a.zip", "big", "small"]

    def prepare(self):
        self.write("big", self.bytes(1, self.size // 2))
        self.write("small", b"text")
        (self.folder / "out").mkdir()
        makeZip(self.folder / "out/a.zip", [("old", self.bytes(2, self.size // 2)), ("b", b"1")])


class Remove(Command):
    name, destination = "archive remove", "out/a.zip"
    arguments = ["archive", "remove", "out/a.zip", "gone"]

    def prepare(self):
        (self.folder / "out").mkdir()
        makeZip(self.folder / "out/a.zip", [("gone", self.bytes(1, self.size // 4)),
                                            *((f"kept{index}", self.bytes(index, self.size // 4))
                                              for index in range(3))])


class Create(Command):
    name, destination = "archive create", "out/new.zip"
    arguments = ["archive", "create", "out/new.zip", "src"]

    def prepare(self):
        for index in range(4):
            self.write(f"src/folder{index}/data", self.bytes(index, self.size // 4))
        for index in range(50):
            self.write(f"src/small/{index}", b"text" * index)
        (self.folder / "out").mkdir()


COMMANDS = [Duplicate, Add, Remove, Create]
# What the next run in the folder is: any command that makes something there.
NEXT = [["archive", "create", "out/next.zip", "note"],
        ["archive", "add", "out/next.zip", "note"],
        ["duplicate", "next.ipa", "--number", "3", "--output", "out/next.zip", "--quiet"],
        ["archive", "remove", "out/other.zip", "gone"]]


class Rounds:
    """All rounds of one command, in a folder of their own."""

    def __init__(self, kind, seed, size=32 * MEBIBYTE):
        memory = "/dev/shm" if os.access("/dev/shm", os.W_OK | os.X_OK) else None
        self.root = Path(tempfile.mkdtemp(prefix="vellomir-kills-", dir=memory))
        self.folder = self.root / "work"
        self.temporary = self.root / "tmp"
        for path in [self.folder, self.temporary]:
            path.mkdir()
        self.random = random.Random(seed)
        self.command = kind(self.folder, size)
        self.counts = collections.Counter()
        self.prepare()

    def close(self):
        shutil.rmtree(self.root)

    def prepare(self):
        self.command.prepare()
        (self.folder / "note").write_text("of the next run")
        makePackage(self.folder / "next.ipa")
        self.destination = self.folder / self.command.destination
        self.old = self.root / "old"
        if self.destination.exists():
            shutil.copy2(self.destination, self.old)
        self.before = digest(self.old) if self.old.exists() else None
        self.kept = self.sources()
        self.times = []
        for _ in range(3):
            self.reset()
            start = time.monotonic()
            subprocess.run(self.line(), **self.options(), check=True)
            self.times.append(time.monotonic() - start)
        self.after = entries(self.destination)

    def line(self):
        return [PROGRAM, *self.command.arguments]

    def options(self):
        return {"cwd": self.folder, "stdin": subprocess.DEVNULL, "stdout": subprocess.DEVNULL,
                "env": {**os.environ, "TMPDIR": str(self.temporary)}}

    def sources(self):
        """All that no command may touch."""
        return {str(path.relative_to(self.folder)): (path.lstat().st_mtime_ns, path.lstat().st_size)
                for path in self.folder.rglob("*")
                if path.is_file() and "out" not in path.relative_to(self.folder).parts}

    def reset(self):
        out = self.folder / "out"
        shutil.rmtree(out)
        out.mkdir()
        makeZip(out / "other.zip", [("kept", b"1"), ("gone", b"2")])
        if self.old.exists():
            shutil.copy2(self.old, self.destination)

    # --- One round -----------------------------------------------------------------------------------

    def killAtRandom(self):
        """False if the command was over before the kill."""
        self.reset()
        moment = self.random.uniform(0, sorted(self.times)[1])
        run = subprocess.Popen(self.line(), stderr=subprocess.DEVNULL, **self.options())
        time.sleep(moment)
        run.kill()
        killed = run.wait() == -signal.SIGKILL
        if killed:
            self.check(f"killed after {moment:.4f} s")
        return killed

    def check(self, what):
        """The destination, before and after the next run in the folder."""
        state = self.state(what)
        self.counts["kills"] += 1
        self.counts[state] += 1
        self.counts["left until the next run"] += bool(self.hidden())
        found = digest(self.destination) if self.destination.exists() else None
        command = self.random.choice(NEXT)
        after = subprocess.run([PROGRAM, *command], stderr=subprocess.PIPE, check=False,
                               **self.options())
        self.require(after.returncode == 0, f"{what}, then {command}: {after.stderr}")
        left = self.hidden() + os.listdir(self.temporary)
        self.counts["left after it"] += bool(left)
        self.require(not left, f"{what}, then {command}: {left} is left")
        now = digest(self.destination) if self.destination.exists() else None
        self.require(now == found, f"{what}: the next run changed the destination")
        self.require(self.sources() == self.kept, f"{what}: a source was changed")

    def state(self, what):
        if not self.destination.exists():
            self.require(self.before is None, f"{what}: the old destination is gone")
            return "old"
        if digest(self.destination) == self.before:
            return "old"
        self.require(zipfile.is_zipfile(self.destination), f"{what}: the destination is no archive")
        self.require(entries(self.destination) == self.after, f"{what}: neither old nor new")
        return "new"

    def hidden(self):
        return [str(path) for path in self.folder.rglob(".*")]

    def require(self, condition, message):
        if not condition:
            raise AssertionError(f"{self.command.name}: {message}")

    # --- All rounds ------------------------------------------------------------------------------------

    def run(self, count):
        while self.counts["kills"] < count:
            self.killAtRandom()
        return self.counts


# --- Kills at system calls ---------------------------------------------------------------------------

CALLS = ["open", "openat", "mkdir", "mkdirat", "write", "pwrite64", "copy_file_range", "ftruncate",
         "fchmod", "fchmodat", "chmod", "chown", "fchown", "utimensat", "flock", "fsync",
         "fdatasync", "rename", "renameat", "renameat2", "link", "linkat", "symlinkat", "unlink",
         "unlinkat", "close"]
CHANGES = [call for call in CALLS if call not in ["open", "openat", "close", "flock"]]


def mayTrace():
    strace = shutil.which("strace")
    return strace is not None and subprocess.run(
        [strace, "-f", "-o", os.devnull, "-e", "inject=getppid:signal=SIGCONT:when=1", "true"],
        capture_output=True, check=False).returncode == 0


class CallRounds(Rounds):
    """Kills at the entry of every system call of the kinds that change something."""

    def trace(self, *options):
        return ["strace", "-f", "-qq", *options, *self.line()]

    def callCounts(self):
        self.reset()
        log = self.root / "strace.log"
        subprocess.run(self.trace("-o", str(log), "-e", "trace=" + ",".join(CHANGES)), check=True,
                       stderr=subprocess.DEVNULL, **self.options())
        names = (line.split("(")[0].split()[-1] for line in log.read_text().splitlines()
                 if "(" in line and "resumed" not in line)
        return collections.Counter(name for name in names if name in CHANGES)

    def run(self, count=0):
        """`count` is the greatest number for one kind of call; 0: all."""
        for call, number in sorted(self.callCounts().items()):
            numbers = range(1, number + 1)
            if count and number > count:
                numbers = sorted(self.random.sample(numbers, count))
            for when in numbers:
                self.reset()
                subprocess.run(self.trace("-o", os.devnull, "-e", f"trace={call}", "-e",
                                          f"inject={call}:signal=SIGKILL:when={when}"),
                               check=False, stderr=subprocess.DEVNULL, **self.options())
                self.check(f"killed at {call} {when}")
        return self.counts


def row(name, counts):
    columns = ["kills", "old", "new", "left until the next run", "left after it"]
    return f"| {name} | " + " | ".join(str(counts[each]) for each in columns) + " |"


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--count", type=int, default=200, help="kills of each command")
    parser.add_argument("--seed", type=int, default=random.SystemRandom().randrange(1 << 32))
    parser.add_argument("--calls", action="store_true", help="kill at every system call instead")
    parser.add_argument("--command", help="only those whose name contains this")
    options = parser.parse_args()
    print(f"seed {options.seed}")
    print("| command | kills | old | new | left until the next run | left after it |")
    print("|---|---|---|---|---|---|", flush=True)
    if options.calls and not mayTrace():
        sys.exit("strace is missing or may not trace here")
    for kind in COMMANDS:
        if options.command and options.command not in kind.name:
            continue
        rounds = CallRounds(kind, options.seed, MEBIBYTE) if options.calls else \
            Rounds(kind, options.seed)
        try:
            print(row(kind.name, rounds.run(0 if options.calls else options.count)), flush=True)
        finally:
            rounds.close()


if __name__ == "__main__":
    main()
