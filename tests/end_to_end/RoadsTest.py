"""duplicate without a tree and with one on disk: log, errors, result and report must be the same"""
import random
import sys
import tempfile
import unittest
from pathlib import Path

import generated
import roads
from harness import makePackage, packageEntries, makeZip

TESTS = Path(__file__).resolve().parents[1]
sys.path += [str(TESTS / "packages"), str(TESTS / "limits")]

import archives  # noqa: E402
import packages  # noqa: E402

CORPORA = TESTS.parents[1] / "shared/corpora"
# Those that are made in less than a second.
HOSTILE = [archives.wrongCount, archives.sharedHeader, archives.moreThanPromised, archives.overlapping,
           archives.onePath, archives.longComment, archives.commentBeyondTheEnd, archives.bytesBehindTheEnd,
           archives.chainOfLinks, archives.halfDamaged]


class TwoRoads(unittest.TestCase):
    def setUp(self):
        self.roads = roads.Roads()
        self.addCleanup(self.roads.close)

    def compare(self, words, content, arguments=None):
        with self.subTest(words):
            chance = random.Random(words)
            self.assertEqual(self.roads.compare(content, chance, arguments), "")

    def made(self, make):
        with tempfile.TemporaryDirectory(dir=self.roads.folder) as folder:
            path = Path(folder) / "package.ipa"
            make(path)
            return path.read_bytes()

    def testRealPackages(self):
        with tempfile.TemporaryDirectory(dir=self.roads.folder) as folder:
            for name in packages.PACKAGES:
                content = Path(packages.write(folder, name)).read_bytes()
                self.compare(name, content, ["--number", "2"])
                self.compare(name + " deeply", content, ["--number", "2", "--deep", "--icon", "picture.png",
                                                         "--report", "report"])
        # Links and closed folders take the disk; nearly all others do not.
        self.assertGreater(self.roads.counts["without a tree"], len(packages.PACKAGES))

    def testUsualPackage(self):
        content = self.made(makePackage)
        self.compare("usual", content, ["--number", "2"])
        self.assertEqual(self.roads.counts, {"copies": 1, "without a tree": 1})
        for options in [["--json"], ["--strict"], ["--quiet"], ["--icon", "picture.png"]]:
            self.compare(options[0], content, ["--number", "2", *options])
        self.compare("no folders", self.made(lambda path: makeZip(path, packageEntries()[2:])), ["--number", ""])

    def testHostilePackages(self):
        for make in HOSTILE:
            content = self.made(make)
            for options in [[], ["--allow-incomplete"]]:
                self.compare(f"{make.__name__} {options}", content, ["--number", "2", *options])

    @unittest.skipUnless(CORPORA.is_dir(), "no corpora beside the sources")
    def testCorpora(self):
        for path in sorted(CORPORA.glob("*/zip/**/*.zip")):
            for options in [[], ["--allow-incomplete"]]:
                self.compare(f"{path.stem} {options}", path.read_bytes(), ["--number", "2", *options])

    def testGeneratedPackages(self):
        for number in range(250):
            content, words = generated.make(number, "roads")
            self.compare(f"{number}: {words}", content)
        self.assertGreater(self.roads.counts["copies"], 100)
        self.assertGreater(self.roads.counts["without a tree"], 50)
        self.assertGreater(self.roads.counts["failures"], 30)


if __name__ == "__main__":
    unittest.main()
