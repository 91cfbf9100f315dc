"""vellomir-cli archive test"""
import json
import os
import resource
import subprocess
import unittest
import zipfile

from harness import Case, corrupt, lines, makeZip


class GoodArchives(Case):
    """What other programs write has no problems."""

    def setUp(self):
        super().setUp()
        self.write("src/a.txt", "hello " * 10000)
        self.write("src/d/run", "#!/bin/sh\n", 0o755)
        self.write("src/empty")
        self.write("src/ü", "umlaut")
        os.symlink("a.txt", self.folder / "src/link")

    def check(self, name, entries):
        self.assertEqual(self.succeed("archive", "test", name),
                         f"{name}: {entries} entries, no problems\n")
        self.assertEqual(json.loads(self.succeed("archive", "test", name, "--json")),
                         {"archive": name, "ok": True, "problems": []})
        self.assertEqual(self.succeed("archive", "test", name, "--quiet"), "")

    def make(self, *command):
        subprocess.run(command, cwd=self.folder / "src", check=True, stdout=subprocess.DEVNULL)

    def testByZip(self):
        self.make("zip", "-ry", "../a.zip", ".")
        self.check("a.zip", 6)

    def zipToAPipe(self, *arguments):
        return subprocess.run(["zip", "-qr", "-", *arguments], cwd=self.folder / "src",
                              stdin=subprocess.DEVNULL, capture_output=True, check=False)

    def testByZipToAPipe(self):
        zipped = self.zipToAPipe("a.txt", "d", "empty", "ü")
        self.assertEqual(zipped.returncode, 0, zipped.stderr)
        self.write("a.zip", zipped.stdout)
        self.check("a.zip", 5)

    def testByZipToAPipeWithALink(self):
        zipped = self.zipToAPipe("-y", ".")
        if zipped.returncode != 0:
            self.skipTest("this zip writes no links to a pipe: " + zipped.stderr.decode().strip())
        self.write("a.zip", zipped.stdout)
        self.check("a.zip", 6)

    def testByZipWithZip64(self):
        self.make("zip", "-fz", "-0r", "../a.zip", "a.txt", "d/run")
        self.check("a.zip", 2)

    def testBySevenZip(self):
        self.make("7z", "a", "-tzip", "../a.zip", ".")
        self.check("a.zip", 6)

    def testByBsdtar(self):
        self.make("bsdtar", "-cf", "../a.zip", "--format", "zip", "a.txt", "d", "empty", "link")
        self.check("a.zip", 5)

    def testByPython(self):
        makeZip(self.folder / "a.zip", [("d/", b""), ("d/f", b"1"), ("ü", b"2")],
                zipfile.ZIP_DEFLATED)
        self.check("a.zip", 3)

    def testByOurselves(self):
        self.succeed("archive", "create", "a.zip", "src", "--method", "deflate")
        self.succeed("archive", "add", "a.zip", "src/empty")
        self.check("a.zip", 7)


class Problems(Case):
    def setUp(self):
        super().setUp()
        makeZip(self.folder / "a.zip", [("good", b"1"), ("bad", b"right content"), ("also", b"2")])

    def testAreNamedAndCounted(self):
        corrupt(self.folder / "a.zip", b"right content", b"wrong content")
        result = self.cli("archive", "test", "a.zip")
        self.assertEqual((result.code, result.out), (1, lines(
            "bad: the data has the checksum ae5d14e4, not ec6801b3")))
        self.assertEqual(self.errorLine(result.err), "the test of a.zip failed: 1 problem")

    def testAsJson(self):
        corrupt(self.folder / "a.zip", b"right content", b"wrong content")
        content = bytearray((self.folder / "a.zip").read_bytes())
        content[content.rindex(b"PK\1\2") + 8] |= 1
        (self.folder / "a.zip").write_bytes(content)
        result = self.cli("archive", "test", "a.zip", "--json")
        self.assertEqual(result.code, 1)
        self.assertEqual(json.loads(result.out), {"archive": "a.zip", "ok": False, "problems": [
            {"entry": "bad", "problem": "the data has the checksum ae5d14e4, not ec6801b3"},
            {"entry": "also", "problem": "the flag word is 0 in the local header, 1 in the directory"},
            {"entry": "also", "problem": "it is encrypted, so its data cannot be checked"}]})

    def testQuietLeavesTheProblems(self):
        corrupt(self.folder / "a.zip", b"right content", b"wrong content")
        self.assertIn("bad: ", self.cli("archive", "test", "a.zip", "--quiet").out)

    def testWhatIsNoArchive(self):
        self.write("text", "hello")
        line = self.fail_("archive", "test", "text")
        self.assertRegex(line, r"\Acannot test text: .*\(ArchiveError\.unreadableArchive\)\Z")
        result = self.cli("archive", "test", "text", "--json")
        found = json.loads(result.out)
        self.assertEqual((result.code, found["ok"], found["problems"][0]["entry"]), (1, False, ""))
        self.errorLine(result.err)

    def testAHostileNameStaysInItsLine(self):
        makeZip(self.folder / "b.zip", [("\x1b[2J\n", b"right content")])
        corrupt(self.folder / "b.zip", b"right content", b"wrong content")
        found = json.loads(self.cli("archive", "test", "b.zip", "--json").out)
        self.assertEqual(found["problems"][0]["entry"], "\x1b[2J\n")

    def testMemoryStaysFlat(self):
        # A gigabyte of zeros in a megabyte, in a process that may not grow to a tenth of it.
        self.write("zeros")
        os.truncate(self.folder / "zeros", 1 << 30)
        subprocess.run(["zip", "-q1", "zeros.zip", "zeros"], cwd=self.folder, check=True)

        def limit():
            resource.setrlimit(resource.RLIMIT_DATA, (100 << 20, 100 << 20))

        self.succeed("archive", "test", "zeros.zip",
                     preexec_fn=None if os.environ.get("VELLOMIR_SANITIZE") else limit)


if __name__ == "__main__":
    unittest.main()
