"""vellomir-cli archive extract"""
import os
import subprocess
import unittest
import zipfile

from harness import Case, corrupt, makeZip, snapshot


class Extract(Case):
    def testATree(self):
        makeZip(self.folder / "a.zip",
                [("d/run", b"#!/bin/sh\n", 0o100755), ("d/link", b"run", 0o120777),
                 ("d/", b"", 0o040750), ("empty/", b""), ("ü", b""), ("d/secret", b"x", 0o100600)])
        self.assertEqual(self.succeed("archive", "extract", "a.zip", "out"), "")
        found = snapshot(self.folder / "out")
        self.assertEqual({name: mode for name, (mode, _) in found.items()},
                         {"d": "0o40750", "d/run": "0o100755", "d/link": "0o120777",
                          "d/secret": "0o100600", "empty": "0o40755", "ü": "0o100644"})
        self.assertEqual(found["d/link"][1], "run")
        self.assertEqual((self.folder / "out/d/run").read_text(), "#!/bin/sh\n")
        self.assertEqual((self.folder / "out/d/run").stat().st_mtime, 1735737958)

    def testAgreesWithAnotherUnpacker(self):
        self.write("src/a/b.txt", "text" * 10000)
        self.write("src/empty")
        os.symlink("a/b.txt", self.folder / "src/link")
        subprocess.run(["zip", "-qry", "../a.zip", "."], cwd=self.folder / "src", check=True)
        subprocess.run(["unzip", "-q", "a.zip", "-d", "theirs"], cwd=self.folder, check=True)
        self.succeed("archive", "extract", "a.zip", "ours")
        self.assertEqual(snapshot(self.folder / "ours"), snapshot(self.folder / "theirs"))

    def testTheNumberOfThreadsChangesNothing(self):
        makeZip(self.folder / "a.zip",
                [(f"d{number % 7}/{number}", b"x" * 2000 + b"<%d>" % number) for number in range(300)])
        corrupt(self.folder / "a.zip", b"<250>", b"<25?>")
        lines = set()
        for jobs in ("1", "2", "8", None):
            out = f"out{jobs}"
            options = ["--jobs", jobs] if jobs else []
            lines.add(self.fail_("archive", "extract", "a.zip", out, *options).replace(out, "out"))
            self.assertEqual({name for name in snapshot(self.folder / out) if "/" in name},
                             {f"d{number % 7}/{number}" for number in range(251)}, jobs)
        self.assertEqual(len(lines), 1, lines)
        self.assertIn("d5/250", lines.pop())

    def testTheDestinationIsMade(self):
        makeZip(self.folder / "a.zip", [("a", b"1")])
        self.succeed("archive", "extract", "a.zip", "not/yet/there/")
        self.assertEqual((self.folder / "not/yet/there/a").read_text(), "1")

    def testTheDestinationIsMadeForAnEmptyArchiveToo(self):
        makeZip(self.folder / "a.zip", [])
        self.succeed("archive", "extract", "a.zip", "out")
        self.assertEqual(snapshot(self.folder / "out"), {})
        self.assertTrue((self.folder / "out").is_dir())

    def testNothingIsOverwritten(self):
        makeZip(self.folder / "a.zip", [("new", b"1"), ("there", b"2")])
        self.write("out/there", "old")
        line = self.fail_("archive", "extract", "a.zip", "out")
        self.assertRegex(line, r"\Acannot extract a\.zip: .*\(entry there\).*/out/there.*"
                               r"\(FileError\.fileWriteFileExists\); nothing is overwritten, so "
                               r"choose a new folder\Z")
        self.assertEqual((self.folder / "out/there").read_text(), "old")

    def testAWrongChecksumNamesItsEntry(self):
        makeZip(self.folder / "a.zip", [("good", b"1"), ("bad", b"right content")])
        corrupt(self.folder / "a.zip", b"right content", b"wrong content")
        line = self.fail_("archive", "extract", "a.zip", "out")
        self.assertRegex(line, r"\Acannot extract a\.zip: .*checksum.*\(entry bad\).*"
                               r"\(ArchiveError\.invalidCRC32\); vellomir-cli archive test names all "
                               r"damaged entries\Z")
        self.succeed("archive", "extract", "a.zip", "out2", "--skip-crc32")
        self.assertEqual((self.folder / "out2/bad").read_text(), "wrong content")

    def testNothingLeavesTheDestination(self):
        for name in ["../evil", "a/../../evil"]:
            makeZip(self.folder / "a.zip", [(name, b"1")])
            with self.unchanged():
                line = self.fail_("archive", "extract", "a.zip", "out")
            self.assertIn(f"(entry {name})", line)
            self.assertIn("(FileError.fileReadInvalidFileName)", line)

    def testNothingGoesThroughALink(self):
        makeZip(self.folder / "a.zip", [("out", b"..", 0o120777), ("out/evil", b"1")])
        self.cli("archive", "extract", "a.zip", "out")
        self.assertFalse((self.folder / "evil").exists())

    def testEncoding(self):
        makeZip(self.folder / "a.zip", [("AA", b"")])
        content = (self.folder / "a.zip").read_bytes()
        (self.folder / "a.zip").write_bytes(content.replace(b"AA", b"\xc3\xbc"))
        self.succeed("archive", "extract", "a.zip", "ours", "--encoding", "utf-8")
        self.succeed("archive", "extract", "a.zip", "dos")
        self.assertEqual(list(snapshot(self.folder / "ours")), ["ü"])
        self.assertEqual(list(snapshot(self.folder / "dos")), ["├╝"])

    def testWhatCanBeReachedIsWrittenAndTheRestIsAnError(self):
        makeZip(self.folder / "a.zip", [("one", b"1"), ("two", b"2")])
        content = bytearray((self.folder / "a.zip").read_bytes())
        content[content.rindex(b"PK\1\2") + 8] |= 1
        (self.folder / "a.zip").write_bytes(content)
        for options in [[], ["--quiet"]]:
            self.assertEqual(self.fail_("archive", "extract", "a.zip", "out", *options),
                             "cannot extract all of a.zip: the directory promises 2 entries, 1 "
                             "could be reached: entry 2 is encrypted")
            self.assertEqual(list(snapshot(self.folder / "out")), ["one"])
            (self.folder / "out/one").unlink()

    def testEntriesThatTheEndRecordDoesNotCount(self):
        makeZip(self.folder / "a.zip", [("one", b"1"), ("two", b"2"), ("three", b"3")])
        content = bytearray((self.folder / "a.zip").read_bytes())
        content[-22 + 8] = content[-22 + 10] = 2
        (self.folder / "a.zip").write_bytes(content)
        self.assertEqual(self.fail_("archive", "extract", "a.zip", "out"),
                         "cannot extract all of a.zip: the directory holds 3 entries, 2 could be "
                         "reached: the end record counts no more")
        self.assertEqual(list(snapshot(self.folder / "out")), ["one", "two"])

    def testWhatIsNoArchive(self):
        self.write("text", "hello")
        with self.unchanged():
            self.assertIn("(ArchiveError.unreadableArchive)",
                          self.fail_("archive", "extract", "text", "out"))
            self.assertIn("No such file", self.fail_("archive", "extract", "missing", "out"))

    def testAFileInThePlaceOfTheDestination(self):
        makeZip(self.folder / "a.zip", [("one", b"1")])
        self.write("out", "file")
        with self.unchanged():
            self.assertIn("/out", self.fail_("archive", "extract", "a.zip", "out"))

    def testNoPermission(self):
        makeZip(self.folder / "a.zip", [("one", b"1")])
        (self.folder / "closed").mkdir()
        options = self.asUser()
        (self.folder / "closed").chmod(0o500)
        line = self.fail_("archive", "extract", "a.zip", "closed/out", **options)
        self.assertRegex(line, r"/closed: Permission denied \(FileError\.fileWriteNoPermission\)")
        (self.folder / "a.zip").chmod(0)
        line = self.fail_("archive", "extract", "a.zip", "out", **options)
        self.assertRegex(line, r"Permission denied.*\(ArchiveError\.unreadableArchive\)")


class CompressedLinks(Case):
    def testTheReasonIsSaid(self):
        for target in [b"t", b"target" * 20]:
            makeZip(self.folder / "a.zip", [("link", target, 0o120777)], zipfile.ZIP_DEFLATED)
            self.assertIn("The link is compressed: only a stored link can be read (entry link)",
                          self.fail_("archive", "extract", "a.zip", "out"))


if __name__ == "__main__":
    unittest.main()
