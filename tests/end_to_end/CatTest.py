"""vellomir-cli archive cat"""
import unittest
import zipfile

from harness import Case, corrupt, makeZip


class Cat(Case):
    def setUp(self):
        super().setUp()
        self.content = bytes(range(256)) * 1000
        makeZip(self.folder / "a.zip", [("d/", b""), ("d/data", self.content),
                                        ("link", b"d/data", 0o120777), ("empty", b"")],
                zipfile.ZIP_DEFLATED)
        with zipfile.ZipFile(self.folder / "a.zip", "a") as archive:
            archive.writestr("stored", b"right content")

    def testData(self):
        self.assertEqual(self.cli("archive", "cat", "a.zip", "d/data").bytes, self.content)
        self.assertEqual(self.succeed("archive", "cat", "a.zip", "stored"), "right content")
        self.assertEqual(self.succeed("archive", "cat", "a.zip", "empty"), "")

    def testFoldersAreEmptyAndLinksAreTheirTargets(self):
        self.assertEqual(self.succeed("archive", "cat", "a.zip", "d/"), "")
        makeZip(self.folder / "b.zip", [("link", b"target", 0o120777)])
        self.assertEqual(self.succeed("archive", "cat", "b.zip", "link"), "target")

    def testPathsAreExact(self):
        for name in ["d", "D/data", "./stored", "missing"]:
            self.assertEqual(self.fail_("archive", "cat", "a.zip", name),
                             f"cannot print {name} of a.zip: there is no entry of this path; "
                             "vellomir-cli archive list shows all paths")

    def testAPathBeyondReachIsExplained(self):
        makeZip(self.folder / "b.zip", [("one", b"1"), ("two", b"2")])
        content = bytearray((self.folder / "b.zip").read_bytes())
        content[content.index(b"PK\1\2") + 8] |= 1
        (self.folder / "b.zip").write_bytes(content)
        self.assertEqual(self.fail_("archive", "cat", "b.zip", "two"),
                         "cannot print two of b.zip: there is no entry of this path; the directory "
                         "promises 2 entries, 0 could be reached: entry 1 is encrypted")

    def testAWrongChecksum(self):
        corrupt(self.folder / "a.zip", b"right content", b"wrong content")
        line = self.fail_("archive", "cat", "a.zip", "stored", out="wrong content")
        self.assertRegex(line, r"\Acannot print stored of a\.zip: .*\(ArchiveError\.invalidCRC32\); "
                               r"vellomir-cli archive test names all damaged entries\Z")

    def testAnUnknownMethod(self):
        makeZip(self.folder / "b.zip", [("a", b"1" * 1000)], zipfile.ZIP_LZMA)
        line = self.fail_("archive", "cat", "b.zip", "a")
        self.assertRegex(line, r"\(ArchiveError\.invalidCompressionMethod\)\Z")

    def testWhatIsNoArchive(self):
        self.write("text", "hello")
        self.assertRegex(self.fail_("archive", "cat", "text", "a"),
                         r"\(ArchiveError\.unreadableArchive\)\Z")

    def testNoMoreThanTheSizeOfAnEntry(self):
        content = bytearray(makeZip(self.folder / "a.zip", [("big", b"x" * 100_000)], 8).read_bytes())
        size = content.rindex(b"PK\1\2") + 24
        content[size:size + 4] = (10).to_bytes(4, "little")
        (self.folder / "a.zip").write_bytes(content)
        self.assertRegex(self.fail_("archive", "cat", "a.zip", "big"),
                         r"longer than the 10 bytes .*\(ArchiveError\.invalidEntrySize\)")


if __name__ == "__main__":
    unittest.main()
