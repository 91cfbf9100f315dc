"""One random tree, packed by ours and read by all, and packed by all and read by ours"""
import json
import os
import random
import shutil

import readers
import records
import rules
import writers
from model import differences, look
from trees import randomTree

BAD_NAMES = [b"\xff", b"a\xc3", b"\xed\xa0\x80", b"\xc0\xaf", b"caf\xe9"]


class Round:
    """Works below a folder of its own. `results` gets (direction, tool, entries, differences)."""

    def __init__(self, folder, seed):
        self.folder = folder
        self.seed = seed
        self.choices = random.Random(seed)
        self.tree = os.path.join(folder, "tree")
        self.results = []

    def run(self):
        randomTree(self.tree, self.seed)
        if self.choices.random() < 0.05:
            self.refuseBadName()
        self.packByOurs()
        for tool in writers.WRITERS:
            self.packBy(tool)
        return self.results

    def path(self, name):
        return os.path.join(self.folder, name)

    def ours(self, *arguments):
        return readers.run([readers.OURS, "archive", *arguments], **readers.ourEnvironment(self.choices))

    def note(self, direction, tool, entries, found):
        self.results.append((direction, tool, entries, [f"seed {self.seed}: {line}" for line in found]))

    # --- Ours, read by others ----------------------------------------------------------------------

    def packByOurs(self):
        keepParent = self.choices.random() < 0.5
        method = self.choices.choice(["none", "deflate"])
        archive = self.path("ours.zip")
        ran = self.ours("create", archive, self.tree, "--method", method,
                        *(["--keep-parent"] if keepParent else []))
        if ran.returncode != 0 or ran.stderr:
            return self.note(rules.READS, "create", 0, [ran.stderr.decode(errors="replace")])
        os.chmod(archive, 0o600)  # whatever the umask was
        expected = rules.packedByOurs(look(self.tree, rules.ourSeconds), b"tree" if keepParent else b"")
        for tool in readers.READERS:
            self.readBy(tool, archive, expected)
        if expected:
            self.note(rules.READS, "zipinfo", len(expected), records.zipinfoProblems(archive))
        self.readByOurs(rules.READS, "ours", archive, rules.readBackByOurs(expected), [])
        os.remove(archive)

    def readBy(self, tool, archive, expected):
        try:
            wanted = rules.applied(rules.READS, tool, expected)
        except rules.Incomparable:
            return
        outcome = self.inFolder(lambda folder: readers.READERS[tool](archive, folder))
        found = differences(wanted, outcome.items)
        if outcome.code != rules.exitCode(tool, expected):
            found.append(f"exit code {outcome.code}: {outcome.said}")
        self.note(rules.READS, tool, len(expected), found)

    def refuseBadName(self):
        """A name that is no UTF-8 cannot be stored: an error that shows it, and no archive."""
        name = self.choices.choice(BAD_NAMES)
        bad = os.path.join(os.fsencode(self.tree), name)
        with open(bad, "wb"):
            pass
        ran = self.ours("create", self.path("bad.zip"), self.tree)
        shown = "".join(chr(byte) if byte < 128 else f"\\x{byte:02x}" for byte in name)
        isRight = ran.returncode == 1 and shown in ran.stderr.decode()
        found = [] if isRight else [f"{name!r}: {ran.returncode}, {ran.stderr}"]
        if os.path.exists(self.path("bad.zip")):
            found.append("an archive was left")
        self.note(rules.READS, "refusal", 1, found)
        os.remove(bad)

    # --- Others', read by ours ---------------------------------------------------------------------

    def packBy(self, tool):
        archive = self.path(f"{tool}.zip")
        items = look(self.tree, rules.secondsFor(tool))
        if not items:
            return  # other packers make no empty archive
        packing = writers.pack(tool, self.tree, items, archive, self.seed)
        wanted = rules.seenByOurs(rules.applied(rules.WRITES, tool, items), packing)
        self.readByOurs(rules.WRITES, tool, archive, wanted, packing.readOptions, packing.description)
        os.remove(archive)

    def readByOurs(self, direction, tool, archive, wanted, options, description=""):
        outcome = self.inFolder(lambda folder: readers.ours(archive, folder, self.choices, options))
        found = differences(wanted, outcome.items)
        if outcome.code != 0 or outcome.said:
            found.append(f"extract: exit code {outcome.code}: {outcome.said}")
        test = self.ours("test", archive)
        if test.returncode != 0 and rules.isTestable(wanted, options):
            found.append(f"test: {(test.stdout + test.stderr).decode(errors='replace')}")
        found += self.listingProblems(archive)
        self.note(direction, tool, len(wanted), [f"{line} ({description})" for line in found])

    def listingProblems(self, archive):
        ran = self.ours("list", archive, "--json")
        if ran.returncode != 0 or ran.stderr:
            return [f"list: {ran.returncode}, {ran.stderr.decode(errors='replace')}"]
        wanted = records.listing(archive)
        found = json.loads(ran.stdout)["entries"]
        if len(found) != len(wanted):
            return [f"list: {len(found)} entries, not {len(wanted)}"]
        return [f"list: {name} of {fields['path']!r} is {entry[name]!r}, not {value!r}"
                for entry, fields in zip(found, wanted) for name, value in fields.items()
                if entry[name] != value]

    # --- Folders -----------------------------------------------------------------------------------

    def inFolder(self, action):
        folder = self.path("out")
        try:
            return action(folder)
        finally:
            removeTree(folder)


def removeTree(folder):
    """Also what has folders that may not be listed."""
    if os.geteuid() != 0 and os.path.isdir(folder):
        for path, names, _ in os.walk(os.fsencode(folder)):
            os.chmod(path, 0o700)
            for name in names:
                if not os.path.islink(os.path.join(path, name)):
                    os.chmod(os.path.join(path, name), 0o700)
    shutil.rmtree(os.fsencode(folder), ignore_errors=True)


def roundOf(seed, base):
    folder = os.path.join(base, str(seed))
    os.mkdir(folder)
    try:
        return Round(folder, seed).run()
    except Exception as error:  # one tool that fails must not end all others' work
        return [("-", "error", 0, [f"seed {seed}: {type(error).__name__}: {error}"])]
    finally:
        removeTree(folder)
