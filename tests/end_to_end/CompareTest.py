"""vellomir-cli archive compare, with Python's zipfile as the referee"""
import collections
import json
import os
import random
import stat
import subprocess
import unittest
import warnings
import zipfile

from harness import PROGRAM, Case, corrupt, lines, makeZip, zipInfo

FILE, LINK, FOLDER = stat.S_IFREG, stat.S_IFLNK, stat.S_IFDIR
IN_CONTENTS = {"kind", "content", "link"}


class Compare(Case):
    def compare(self, *arguments, code):
        """Runs the program, which must be silent on standard error; returns its output."""
        result = self.cli("archive", "compare", *arguments)
        self.assertEqual((result.err, result.code), ("", code))
        return result.out

    def zip(self, name, *entries, **options):
        return makeZip(self.folder / name, entries, **options)

    def testEqualArchives(self):
        self.zip("a.zip", ("d/", b""), ("d/x", b"text"))
        self.assertEqual(self.compare("a.zip", "a.zip", code=0), "2 of 2 entries equal byte for byte\n")
        self.assertEqual(json.loads(self.compare("a.zip", "a.zip", "--json", code=0)),
                         {"equal": 2, "added": [], "removed": [], "changed": []})

    def testEmptyArchives(self):
        self.zip("a.zip")
        self.assertEqual(self.compare("a.zip", "a.zip", code=0), "0 of 0 entries equal byte for byte\n")

    def testEveryDifferenceHasALine(self):
        self.zip("a.zip", ("gone", b""), ("text", b"old"), ("mode", b"x"), ("link", b"x", LINK | 0o777),
                 ("kind", b"x", FILE | 0o777))
        self.zip("b.zip", ("text", b"new"), ("mode", b"x", FILE | 0o755), ("link", b"y", LINK | 0o777),
                 ("kind", b"x", LINK | 0o777), ("new", b""))
        self.assertEqual(self.compare("a.zip", "b.zip", code=1),
                         lines("removed: gone", "added: new", "changed: text (content)", "changed: mode (mode)",
                               "changed: link (link)", "changed: kind (kind)",
                               "1 of 6 entries equal byte for byte"))
        found = self.compare("a.zip", "b.zip", "--json", code=1)
        self.assertEqual(list(json.loads(found).items()),
                         [("equal", 1), ("added", ["new"]), ("removed", ["gone"]),
                          ("changed", [{"path": "text", "what": ["content"]}, {"path": "mode", "what": ["mode"]},
                                       {"path": "link", "what": ["link"]}, {"path": "kind", "what": ["kind"]}])])

    def testOnlyContentsCountForTheExitCode(self):
        self.zip("a.zip", ("a", b"text" * 9), ("b", b""))
        self.zip("b.zip", ("b", b""), ("a", b"text" * 9, FILE | 0o600), method=zipfile.ZIP_DEFLATED)
        self.assertEqual(self.compare("a.zip", "b.zip", code=0),
                         lines("changed: a (mode, method, order)", "changed: b (method)",
                               "2 of 2 entries equal byte for byte"))
        self.assertEqual(self.compare("a.zip", "b.zip", "--contents", code=0),
                         "2 of 2 entries equal byte for byte\n")
        self.assertEqual(json.loads(self.compare("a.zip", "b.zip", "--contents", "--json", code=0))["changed"], [])

    def testContentsLeavesOutTheRestOfAChange(self):
        self.zip("a.zip", ("a", b"1"))
        self.zip("b.zip", ("a", b"2", FILE | 0o600))
        self.assertEqual(self.compare("a.zip", "b.zip", "--contents", code=1),
                         lines("changed: a (content)", "0 of 1 entry equal byte for byte"))

    def testThousandsAreSeparated(self):
        self.zip("a.zip", *((f"{number}", b"") for number in range(1234)))
        self.assertIn("1,234 of 1,234 entries", self.compare("a.zip", "a.zip", code=0))

    def testQuiet(self):
        self.zip("a.zip", ("a", b"1"))
        self.zip("b.zip", ("a", b"2"))
        self.assertEqual(self.compare("a.zip", "a.zip", "--quiet", code=0), "")
        self.assertEqual(self.compare("a.zip", "b.zip", "--quiet", code=1), "")
        self.assertTrue(json.loads(self.compare("a.zip", "b.zip", "--quiet", "--json", code=1)))

    def testEncoding(self):
        self.zip("a.zip", ("ü", b""))
        self.zip("b.zip", ("ü", b""))
        content = (self.folder / "b.zip").read_bytes()
        self.write("b.zip", content.replace(b"\0\x08\0\0\x5d\x6b", b"\0\0\0\0\x5d\x6b")
                   .replace((0x800).to_bytes(2, "little"), b"\0\0"))
        self.assertIn("removed: ü\nadded: ├╝\n", self.compare("a.zip", "b.zip", code=1))
        self.assertIn("1 of 1", self.compare("a.zip", "b.zip", "--encoding", "utf-8", code=0))

    def testNamesControlNoTerminal(self):
        self.zip("a.zip", ("a\x1b[2J\u009b", b""))
        self.zip("b.zip", ("b\"\x7f", b""))
        found = self.compare("a.zip", "b.zip", "--json", code=1)
        self.assertEqual(json.loads(found)["removed"] + json.loads(found)["added"], ["a\x1b[2J\u009b", "b\"\x7f"])
        self.assertNotRegex(found, "[\x00-\x09\x0b-\x1f\x7f-\u009f]")


    def testANameMakesNoLineOfItsOwn(self):
        self.zip("a.zip", ("a\n0 of 0 entries equal byte for byte", b""), ("b\r", b"1"))
        self.zip("b.zip", ("b\r", b"2"))
        self.assertEqual(self.compare("a.zip", "b.zip", code=1),
                         lines("removed: a\\x0a0 of 0 entries equal byte for byte", "changed: b\\x0d (content)",
                               "0 of 2 entries equal byte for byte"))

    def testPathsThatAreNoText(self):
        for name, content in [("a.zip", b"1"), ("b.zip", b"2")]:
            self.zip(name, ("AA", content), (name, b""))
            self.write(name, (self.folder / name).read_bytes().replace(b"AA", b"A\xff").replace(
                b"a.zip", b"a\xff\xfe\xfdp"))
        options = ["--encoding", "utf-8"]
        self.assertEqual(self.compare("a.zip", "b.zip", *options, code=1),
                         lines("removed: a\\xff\\xfe\\xfdp", "added: b.zip", "changed: A\\xff (content)",
                               "0 of 3 entries equal byte for byte"))
        self.assertEqual(json.loads(self.compare("a.zip", "b.zip", "--json", *options, code=1)),
                         {"equal": 0, "added": ["b.zip"], "removed": [""],
                          "changed": [{"path": "", "what": ["content"]}]})


class Failures(Case):
    def setUp(self):
        super().setUp()
        makeZip(self.folder / "good.zip", [("a", b"1"), ("text", b"content"), ("z", b"1")])
        makeZip(self.folder / "bad.zip", [("a", b"2"), ("text", b"content"), ("z", b"1")])
        corrupt(self.folder / "bad.zip", b"content", b"c0ntent")

    def testDamagedEntriesDoNotHideTheRest(self):
        for pair in [("good.zip", "bad.zip"), ("bad.zip", "good.zip")]:
            result = self.cli("archive", "compare", *pair)
            self.assertEqual((result.code, result.out),
                             (1, lines("changed: a (content)", "changed: text (unreadable)",
                                       "1 of 3 entries equal byte for byte")))
            self.assertRegex(self.errorLine(result.err),
                             f"^the comparison of {pair[0]} with {pair[1]} is incomplete: 1 entry could not be "
                             r"read: .*checksum.*\(entry text\).*/bad\.zip .*invalidCRC32")

    def testAllOfSeveralDamagedEntriesAreNamed(self):
        makeZip(self.folder / "good.zip", [("x", b"content"), ("y", b"Content")])
        makeZip(self.folder / "bad.zip", [("x", b"content"), ("y", b"Content")])
        corrupt(self.folder / "bad.zip", b"content", b"c0ntent")
        corrupt(self.folder / "bad.zip", b"Content", b"C0ntent")
        result = self.cli("archive", "compare", "good.zip", "bad.zip", "--json")
        self.assertEqual([entry["what"] for entry in json.loads(result.out)["changed"]], [["unreadable"]] * 2)
        self.assertRegex(result.err, r"\Avellomir-cli: warning: [^\n]*\by\b[^\n]*\nvellomir-cli: [^\n]*2 entries "
                                     r"could not be read: [^\n]*\bx\b[^\n]*\n\Z")

    def testWhatIsNoArchive(self):
        self.write("text", "no archive")
        for pair in [("text", "good.zip"), ("good.zip", "text")]:
            self.assertRegex(self.fail_("archive", "compare", *pair),
                             f"^cannot compare {pair[0]} with {pair[1]}: .*/text ")
        self.assertIn("missing.zip", self.fail_("archive", "compare", "good.zip", "missing.zip"))

    def testEncryptedEntries(self):
        content = bytearray((self.folder / "good.zip").read_bytes())
        content[content.index(b"PK\1\2") + 8] |= 1
        self.write("locked.zip", bytes(content))
        self.assertRegex(self.fail_("archive", "compare", "good.zip", "locked.zip"),
                         "entry 1 is encrypted.*locked.zip")

    def testWrongUsage(self):
        for arguments in [[], ["good.zip"], ["good.zip", "bad.zip", "good.zip"],
                          ["good.zip", "bad.zip", "--encoding", "x"]]:
            self.assertIn("wrong command line", self.fail_("archive", "compare", *arguments, code=2))

    def testAFullDiskIsAFailure(self):
        with open("/dev/full", "wb") as full:
            run = subprocess.run([PROGRAM, "archive", "compare", "good.zip", "good.zip"], cwd=self.folder,
                                 stdout=full, stderr=subprocess.PIPE, check=False)
        self.assertEqual(run.returncode, 1)
        self.assertIn(b"No space left", run.stderr)


# --- Random pairs of archives ------------------------------------------------------------------------

Item = collections.namedtuple("Item", "name content mode date method")
NAMES = ["a", "b/c", "b/d", "ü", "日本", "with space", "-x", "Info.plist", "e\u0301", "\u00e9"]
CONTENTS = [b"", b"x", b"y", b"long text " * 2000, b"long text " * 1999 + b"long test ",
            bytes(200_000), random.Random(1).randbytes(150_000)]
MODES = [0o644, 0o755, 0o600, 0]


class RandomPairs(Case):
    """What the program says is what the referee finds."""

    def testAll(self):
        warnings.simplefilter("ignore")  # duplicate names
        seed = int(os.environ.get("VELLOMIR_COMPARE_SEED", "20250101"))
        for number in range(int(os.environ.get("VELLOMIR_COMPARE_ROUNDS", "150"))):
            choices = random.Random(seed + number)
            first = [self.item(choices) for _ in range(choices.randrange(12))]
            with self.subTest(seed=seed + number):
                self.write_("a.zip", first)
                self.write_("b.zip", self.changed(choices, first))
                self.check()

    def item(self, choices):
        kind = choices.choices([FILE, LINK, FOLDER], [6, 1, 1])[0]
        content = {FILE: choices.choice(CONTENTS), LINK: choices.choice([b"x", b"y"]), FOLDER: b""}[kind]
        method = choices.choice([zipfile.ZIP_STORED, zipfile.ZIP_DEFLATED]) if kind == FILE else 0
        date = (choices.choice([1980, 2025]), 1, choices.choice([1, 2]), 13, 25, choices.choice([0, 58]))
        return Item(choices.choice(NAMES) + ("/" if kind == FOLDER else ""), content,
                    kind | choices.choice(MODES), date, method)

    def changed(self, choices, items):
        """Some items more or less, some with another value, some elsewhere."""
        found = []
        for item in items:
            kind = choices.randrange(8)
            if kind == 0:
                continue
            if kind == 1:
                other = self.item(choices)
                field = choices.choice(["mode", "date", "method", "content"])
                item = item._replace(**{field: getattr(other, field)})
                if stat.S_IFMT(item.mode) != FILE:
                    item = item._replace(method=0)
            found.append(item)
            if kind == 2:
                found.append(self.item(choices))
        if choices.randrange(3) == 0 and found:
            found.insert(choices.randrange(len(found)), found.pop(choices.randrange(len(found))))
        return found

    def write_(self, name, items):
        with zipfile.ZipFile(self.folder / name, "w") as archive:
            for item in items:
                info = zipInfo(item.name, item.mode, item.method)
                info.date_time = item.date
                archive.writestr(info, item.content)

    def check(self):
        first, second = self.read("a.zip"), self.read("b.zip")
        result = self.cli("archive", "compare", "a.zip", "b.zip", "--json")
        found = json.loads(result.out)
        pairs, removed, added = paired(first, second)
        self.assertEqual((sorted(found["removed"]), sorted(found["added"])), (removed, added))
        expected = [(name, differences(*items)) for name, items in pairs]
        expected = sorted((name, what) for name, what in expected if what)
        moved = sum("order" in entry["what"] for entry in found["changed"])
        self.assertEqual(sorted((entry["path"], set(entry["what"]) - {"order"}) for entry in found["changed"]
                                if entry["what"] != ["order"]), expected)
        self.assertEqual(moved, fewestMoved(first, second))
        equal = sum(not differences(*items) & IN_CONTENTS for _, items in pairs)
        self.assertEqual(found["equal"], equal)
        total = len(pairs) + len(removed) + len(added)
        self.assertEqual((result.code, result.err), (0 if equal == total else 1, ""))

    def read(self, name):
        """Pairs of a path, with its number among those of one name, and an item."""
        seen = collections.Counter()
        found = []
        with zipfile.ZipFile(self.folder / name) as archive:
            for info in archive.infolist():
                found.append(((info.filename, seen[info.filename]),
                              Item(info.filename, archive.read(info), info.external_attr >> 16, info.date_time,
                                   info.compress_type)))
                seen[info.filename] += 1
        return found


def paired(first, second):
    """Pairs of entries of one path, and the paths that only one of the archives has."""
    ours, theirs = dict(first), dict(second)
    pairs = [(key[0], (item, theirs[key])) for key, item in first if key in theirs]
    return (pairs, sorted(key[0] for key in ours if key not in theirs),
            sorted(key[0] for key in theirs if key not in ours))


def kindOf(item):
    kind = stat.S_IFMT(item.mode)
    return kind if kind in (FILE, LINK, FOLDER) else FOLDER if item.name.endswith("/") else FILE


def differences(first, second):
    def modeOf(item):
        return stat.S_IMODE(item.mode) or (0o755 if kindOf(item) == FOLDER else 0o644)

    kinds = kindOf(first), kindOf(second)
    found = {"kind": kinds[0] != kinds[1], "mode": modeOf(first) != modeOf(second),
             "date": first.date != second.date, "method": first.method != second.method,
             "content": kinds == (FILE, FILE) and first.content != second.content,
             "link": kinds == (LINK, LINK) and first.content != second.content}
    return {word for word, differs in found.items() if differs}


def fewestMoved(first, second):
    """How many pairs are not in the longest common order."""
    places = {key: place for place, (key, _) in enumerate(second)}
    order = [places[key] for key, _ in first if key in places]
    longest = []
    for end, place in enumerate(order):
        longest.append(1 + max((longest[each] for each in range(end) if order[each] < place), default=0))
    return len(order) - max(longest, default=0)


if __name__ == "__main__":
    unittest.main()
