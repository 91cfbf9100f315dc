"""Another user swaps folders and files for links while a command runs

The commands run as root in a folder that another user may write. That user's process exchanges
everything that it can reach for links to a folder outside, as fast as it can. Nothing outside may
be written, not even a mode or a time, and no byte of the secrets there may be packed. By hand:

    VELLOMIR_CLI=build/release/bin/vellomir-cli python3 tests/end_to_end/neighbours.py --seconds 60

What a command line names is looked up once. So the neighbour leaves the named folders alone until
the command has begun to work in them, which the hidden folder shows; everything below is swapped
from the beginning.
"""
import argparse
import collections
import ctypes
import os
import random
import shutil
import signal
import stat
import subprocess
import sys
import tempfile
import time
import zipfile
from pathlib import Path

from harness import NOBODY, PROGRAM, infoPlist, makeZip, packageEntries

SECRET = b"SECRET-0f8e2b71" * 64
EXCHANGE = 2
AT_FDCWD = -100
LIBC = ctypes.CDLL(None, use_errno=True)


def exchange(one, other):
    """Whether both names were exchanged, in one step."""
    return LIBC.renameat2(AT_FDCWD, os.fsencode(one), AT_FDCWD, os.fsencode(other), EXCHANGE) == 0


class Place:
    """The folders of one round: `shared` belongs to the neighbour, the rest to root."""

    def __init__(self):
        memory = "/dev/shm" if os.access("/dev/shm", os.W_OK | os.X_OK) else None
        self.root = Path(tempfile.mkdtemp(prefix="vellomir-neighbours-", dir=memory))
        self.root.chmod(0o755)
        self.shared, self.outside, self.own = (
            self.root / name for name in ["shared", "outside", "own"])
        self.own.mkdir()
        self.makeOutside()
        self.before = self.snapshot()

    def close(self):
        shutil.rmtree(self.root)

    def makeOutside(self):
        """Folders and files with the names of those that the commands work on."""
        for folder in ["out", "src", "files", "hidden/job/Documents", "hidden/job/tmp",
                       "src/deep/deeper", "out/Payload/Notes.app", "Payload/Notes.app"]:
            (self.outside / folder).mkdir(parents=True, exist_ok=True)
        for folder in [path for path in self.outside.rglob("*") if path.is_dir()]:
            for name in ["file", "one", "two", ".vellomir-lock", "big", "Info.plist"]:
                (folder / name).write_bytes(SECRET)
                (folder / name).chmod(0o600)
        for name in ["a.zip", "new.zip", "Notes2.ipa"]:
            makeZip(self.outside / "out" / name, [("old", SECRET), ("gone", SECRET)])
        for path in self.outside.rglob("*"):
            os.utime(path, (1_000_000_000, 1_000_000_000))

    def snapshot(self):
        found = {}
        for path in [self.outside, *self.outside.rglob("*")]:
            status = path.lstat()
            content = path.read_bytes() if stat.S_ISREG(status.st_mode) else b""
            found[str(path)] = (status.st_mode, status.st_uid, status.st_gid, status.st_nlink,
                                status.st_size, status.st_mtime_ns, status.st_ctime_ns,
                                hash(content))
        return found

    def make(self, files):
        """The shared folder anew. Names that end in "/" are folders."""
        if self.shared.exists():
            shutil.rmtree(self.shared)
        self.shared.mkdir()
        for name, content in files.items():
            path = self.shared / name
            path.parent.mkdir(parents=True, exist_ok=True)
            if name.endswith("/"):
                path.mkdir(exist_ok=True)
            else:
                path.write_bytes(content)
        for path in [self.shared, *self.shared.rglob("*")]:
            os.chown(path, NOBODY, NOBODY)

    def check(self):
        after = self.snapshot()
        for path in sorted(self.before.keys() | after.keys()):
            if self.before.get(path) != after.get(path):
                raise AssertionError(f"changed outside: {path}: {self.before.get(path)} became "
                                     f"{after.get(path)}")
        for path in self.shared.rglob("*"):
            status = path.lstat()
            if stat.S_ISREG(status.st_mode) and holdsSecret(path):
                raise AssertionError(f"a secret was packed or copied to {path}")


def holdsSecret(path):
    if SECRET[:64] in path.read_bytes():
        return True
    if not zipfile.is_zipfile(path):
        return False
    with zipfile.ZipFile(path) as archive:
        return any(SECRET[:64] in archive.read(name) for name in archive.namelist())


# --- The neighbour -----------------------------------------------------------------------------------


class Neighbour:
    """A process of the other user that attacks between `begin` and `end`."""

    def __init__(self, place, targets):
        self.place = place
        self.targets = targets
        self.process = None

    def begin(self):
        self.reading, writing = os.pipe()
        self.process = os.fork()
        if self.process == 0:
            try:
                os.setgroups([])
                os.setgid(NOBODY)
                os.setuid(NOBODY)
                random.seed()
                self.attack(writing)
            finally:
                os._exit(1)
        os.close(writing)
        os.read(self.reading, 1) # it has begun

    def end(self):
        """The number of swaps that succeeded."""
        os.kill(self.process, signal.SIGTERM)
        os.waitpid(self.process, 0)
        with os.fdopen(self.reading, "rb") as answer:
            text = answer.read()
        return int(text or b"0")

    def attack(self, writing):
        swaps = 0

        def stop(*_):
            os.write(writing, str(swaps).encode())
            os._exit(0)

        signal.signal(signal.SIGTERM, stop)
        os.write(writing, b"!")
        os.chdir(self.place.shared)
        # Some of the items, and not always as fast as possible: so that every step of the command
        # meets a swap in some run.
        targets = random.sample(self.targets, random.randint(1, len(self.targets)))
        pause = random.choice([0, 0, 0.0005, 0.002])
        swapsHidden = random.random() < 0.7
        time.sleep(random.choice([0, 0.002, 0.01]))
        while True:
            for target in targets:
                swaps += self.swap(target)
            if swapsHidden:
                swaps += self.swapHidden()
            time.sleep(pause)

    def swap(self, target):
        """The item for a link to the one of its name outside, and back."""
        path, needsStart = target
        if needsStart and not self.hasStarted():
            return 0
        decoy = path + ".decoy"
        if not os.path.lexists(decoy):
            try:
                os.symlink(self.place.outside / path, decoy)
            except OSError:
                return 0
        return exchange(path, decoy)

    def hasStarted(self):
        """Swapped folders stay so for a moment: also where the hidden folder is out of sight."""
        for folder in ["out", "out.decoy"]:
            try:
                if any(name.startswith(".vellomir-") or name == "Payload"
                       for name in os.listdir(folder)):
                    return True
            except OSError:
                pass
        return False

    def swapHidden(self):
        """The hidden folder of the command for a link or a folder of one's own."""
        swaps = 0
        for folder in ["out", "out.decoy"]:
            try:
                names = [name for name in os.listdir(folder)
                         if name.startswith(".vellomir-") and not name.endswith(".decoy")]
            except OSError:
                continue
            for name in names:
                path = f"{folder}/{name}"
                decoy = path + ".decoy"
                try:
                    if not os.path.lexists(decoy):
                        self.makeDecoy(decoy)
                except OSError:
                    continue
                swaps += exchange(path, decoy)
        return swaps

    def makeDecoy(self, decoy):
        if random.random() < 0.5:
            os.symlink(self.place.outside / "hidden", decoy)
            return
        os.mkdir(decoy)
        os.mkdir(decoy + "/job")
        os.symlink(self.place.outside / "hidden/job/Documents", decoy + "/job/Documents")
        os.symlink(self.place.outside / "hidden/job/tmp", decoy + "/job/tmp")
        os.symlink(self.place.outside / "hidden/file", decoy + "/file")


# --- The commands --------------------------------------------------------------------------------------

CONTENT = b"content of the user's own " * 20_000


class Duplicate:
    name = "duplicate"
    arguments = ["duplicate", "../own/app.ipa", "--number", "2", "--output", "out", "--force",
                 "--quiet"]
    files = {"out/": b"", "out/Notes2.ipa": b"old"}
    targets = [("out", True), ("out/Notes2.ipa", False)]

    def prepare(self, place):
        makeZip(place.own / "app.ipa",
                [*packageEntries(), *((f"Payload/Notes.app/{index}", CONTENT)
                                      for index in range(20))])


class Create:
    name = "archive create"
    arguments = ["archive", "create", "out/new.zip", "src"]
    files = {"out/": b"", "src/one": CONTENT, "src/deep/two": CONTENT,
             "src/deep/deeper/file": CONTENT, "src/file": CONTENT,
             **{f"src/deep/deeper/{index}": CONTENT for index in range(20)}}
    targets = [("out", True), ("src", True), ("src/deep", False), ("src/one", False),
               ("src/deep/deeper", False), ("src/deep/deeper/file", False)]

    def prepare(self, place):
        pass


class Add:
    name = "archive add"
    arguments = ["archive", "add", "out/a.zip", "files/one", "files/two", "files/file"]
    files = {"out/": b"", "files/one": CONTENT, "files/two": CONTENT, "files/file": CONTENT}
    targets = [("files/one", False), ("files", True), ("files/two", False), ("out", True),
               ("out/a.zip", True), ("files/file", False)]

    def prepare(self, place):
        self.files["out/a.zip"] = makeZip(place.own / "a.zip",
                                          [("old", CONTENT), ("gone", CONTENT)]).read_bytes()


class AddInMemory(Add):
    name = "archive add --memory"
    arguments = [*Add.arguments, "--memory"]


class Remove(Add):
    name = "archive remove"
    arguments = ["archive", "remove", "out/a.zip", "gone"]
    targets = [("out", True), ("out/a.zip", True)]


class RemoveInMemory(Remove):
    name = "archive remove --memory"
    arguments = [*Remove.arguments, "--memory"]


class Extract:
    name = "archive extract"
    arguments = ["archive", "extract", "../own/tree.zip", "out"]
    files = {"out/": b"", "out/files/": b"", "out/files/deep/": b""}
    targets = [("out", True), ("out/Payload", False), ("out/files", False),
               ("out/files/deep", False), ("out/one", False), ("out/link", False)]

    def prepare(self, place):
        for path in ["files/deep", "link"]:
            (place.outside / "out" / path).mkdir(parents=True, exist_ok=True)
        place.before = place.snapshot()
        makeZip(place.own / "tree.zip",
                [("Payload/", b"", 0o042755), ("Payload/Notes.app/", b"", 0o044777),
                 ("files/", b"", 0o044777), ("files/deep/", b"", 0o044777), ("one", CONTENT),
                 *((f"Payload/Notes.app/{index}", CONTENT) for index in range(10)),
                 *((f"files/deep/{index}", CONTENT) for index in range(10)),
                 ("link", b"one", 0o120777), ("files/deep/link", b"one", 0o120777)])


COMMANDS = [Duplicate, Create, Add, AddInMemory, Remove, RemoveInMemory, Extract]


def run(kind, seconds):
    """Runs the command again and again; returns what was counted."""
    command = kind()
    place = Place()
    counts = collections.Counter()
    try:
        command.prepare(place)
        end = time.monotonic() + seconds
        while time.monotonic() < end or counts["swaps"] == 0:
            place.make(command.files)
            neighbour = Neighbour(place, command.targets)
            neighbour.begin()
            try:
                done = subprocess.run([PROGRAM, *command.arguments], cwd=place.shared, check=False,
                                      stdin=subprocess.DEVNULL, capture_output=True)
            finally:
                counts["swaps"] += neighbour.end()
            counts["runs"] += 1
            counts["done" if done.returncode == 0 else "refused"] += 1
            if done.returncode not in [0, 1]:
                raise AssertionError(f"{kind.name} ended with {done.returncode}: {done.stderr}")
            place.check()
    finally:
        place.close()
    return counts


def isPossible():
    return os.geteuid() == 0


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--seconds", type=float, default=60, help="for each command")
    parser.add_argument("--command", help="only those whose name contains this")
    options = parser.parse_args()
    if not isPossible():
        sys.exit("only root can run one process as another user")
    print("| command | runs | done | refused | swaps |\n|---|---|---|---|---|", flush=True)
    failures = 0
    for kind in COMMANDS:
        if options.command and options.command not in kind.name:
            continue
        try:
            counts = run(kind, options.seconds)
            print(f"| {kind.name} | " + " | ".join(str(counts[each]) for each in
                                                   ["runs", "done", "refused", "swaps"]) + " |",
                  flush=True)
        except AssertionError as error:
            failures += 1
            print(f"| {kind.name} | FAILED: {error} |", flush=True)
    sys.exit(1 if failures else 0)


if __name__ == "__main__":
    main()
