"""vellomir-cli archive add"""
import os
import subprocess
import unittest
import zipfile

from harness import Case, makeZip


class Add(Case):
    def setUp(self):
        super().setUp()
        makeZip(self.folder / "a.zip", [("old", b"old content")])
        self.write("new.txt", "hello " * 1000)
        self.write("d/inside", "x")
        os.symlink("new.txt", self.folder / "link")

    def entries(self, archive="a.zip"):
        with zipfile.ZipFile(self.folder / archive) as found:
            self.assertIsNone(found.testzip())
            return {info.filename: info for info in found.infolist()}

    def testPathsAreStoredUnderTheirOwnText(self):
        self.assertEqual(self.succeed("archive", "add", "a.zip", "new.txt", "./d/inside", "link"), "")
        self.assertEqual(list(self.entries()), ["old", "new.txt", "./d/inside", "link"])
        subprocess.run(["unzip", "-tqq", "a.zip"], cwd=self.folder, check=True)
        with zipfile.ZipFile(self.folder / "a.zip") as found:
            self.assertEqual(found.read("link"), b"new.txt")
            self.assertEqual(found.read("old"), b"old content")

    def testAFolderComesWithoutItsContent(self):
        self.succeed("archive", "add", "a.zip", "d")
        self.assertEqual(list(self.entries()), ["old", "d/"])

    def testAMissingArchiveIsMade(self):
        self.succeed("archive", "add", "fresh.zip", "new.txt", "--method", "deflate")
        self.assertEqual(self.entries("fresh.zip")["new.txt"].compress_type, zipfile.ZIP_DEFLATED)
        self.assertEqual(self.entries("fresh.zip")["new.txt"].file_size, 6000)

    def testRelativeTo(self):
        self.succeed("archive", "add", "a.zip", "inside", "--relative-to", "d")
        self.assertEqual(list(self.entries()), ["old", "inside"])

    def testOddPaths(self):
        for name in ["[a,b]", "-x", "--json", "ü\n"]:
            self.write(name, "odd")
        self.succeed("archive", "add", "a.zip", "[a,b]", "--", "-x", "--json", "ü\n")
        self.assertEqual(list(self.entries()), ["old", "[a,b]", "-x", "--json", "ü\n"])

    def testPermissionsStay(self):
        (self.folder / "a.zip").chmod(0o640)
        self.succeed("archive", "add", "a.zip", "new.txt")
        self.assertEqual((self.folder / "a.zip").stat().st_mode & 0o7777, 0o640)

    def testTheOwnerStays(self):
        if os.geteuid() != 0:
            self.skipTest("only the superuser gives files away")
        os.chown(self.folder / "a.zip", 1234, 5678)
        self.succeed("archive", "add", "a.zip", "new.txt")
        status = (self.folder / "a.zip").stat()
        self.assertEqual((status.st_uid, status.st_gid), (1234, 5678))

    def testALinkStaysALink(self):
        (self.folder / "elsewhere").mkdir()
        os.rename(self.folder / "a.zip", self.folder / "elsewhere/real.zip")
        os.symlink("elsewhere/real.zip", self.folder / "a.zip")
        self.succeed("archive", "add", "a.zip", "new.txt")
        self.assertEqual(os.readlink(self.folder / "a.zip"), "elsewhere/real.zip")
        self.assertEqual(list(self.entries("elsewhere/real.zip")), ["old", "new.txt"])
        self.assertEqual(os.listdir(self.folder / "elsewhere"), ["real.zip"])

    def testManyAtOnceAreAllThere(self):
        names = [f"d/{number}" for number in range(500)]
        for name in names:
            self.write(name, name)
        self.succeed("archive", "add", "a.zip", *names)
        self.assertEqual(list(self.entries()), ["old", *names])

    def testAFailureChangesNothing(self):
        self.write("text", "hello")
        cases = [(["a.zip", "new.txt", "missing"], r"/missing.*\(FileError\.fileReadNoSuchFile\)"),
                 (["a.zip", "new.txt", "old"], r"\(entry old\).*\(FileError\.fileReadNoSuchFile\)|/old"),
                 (["text", "new.txt"], r"not a ZIP archive.*text.*\(ArchiveError\.unreadableArchive\)"),
                 (["d", "new.txt"], r"not a regular file"),
                 (["fresh.zip", "missing"], r"/missing.*\(FileError\.fileReadNoSuchFile\)"),
                 (["missing/fresh.zip", "new.txt"], r"There is no such folder: .*/missing ")]
        with self.unchanged():
            for arguments, expected in cases:
                line = self.fail_("archive", "add", *arguments)
                self.assertRegex(line, r"\Acannot add to " + arguments[0])
                self.assertRegex(line, expected)
                self.assertNotIn(".vellomir-", line)

    def testAPathThatIsThereAlreadyIsRefused(self):
        self.write("old", "another")
        with self.unchanged():
            self.assertEqual(self.fail_("archive", "add", "a.zip", "new.txt", "old"),
                             "cannot add to a.zip: The archive holds an entry of this path already "
                             "(entry old) (FileError.fileWriteFileExists)")

    def testSomethingInFrontIsNotLost(self):
        content = (self.folder / "a.zip").read_bytes()
        (self.folder / "a.zip").write_bytes(b"#!/bin/sh\n" + content)
        with self.unchanged():
            line = self.fail_("archive", "add", "a.zip", "new.txt")
        self.assertIn("something stands in front of the archive in its file (10 bytes)", line)

    def testADamagedDirectoryIsNotLost(self):
        content = (self.folder / "a.zip").read_bytes()
        (self.folder / "a.zip").write_bytes(content.replace(b"PK\1\2", b"PK\1\3"))
        with self.unchanged():
            line = self.fail_("archive", "add", "a.zip", "new.txt")
        self.assertIn("the directory's record 1 is damaged", line)

    def testAnEncryptedNeighbourStays(self):
        subprocess.run(["zip", "-q", "-P", "secret", "locked.zip", "d/inside"], cwd=self.folder,
                       check=True)
        result = self.cli("archive", "add", "locked.zip", "new.txt")
        self.assertEqual(result.code, 0)
        self.assertIn("warning: locked.zip: ", result.err)
        subprocess.run(["unzip", "-tqq", "-P", "secret", "locked.zip"], cwd=self.folder, check=True)

    def testAReadOnlyArchiveStaysAsItIs(self):
        options = self.asUser()
        (self.folder / "a.zip").chmod(0o444)
        if not options and os.geteuid() == 0:
            self.skipTest("the superuser may write everything")
        with self.unchanged():
            self.assertRegex(self.fail_("archive", "add", "a.zip", "new.txt", **options),
                             r"/a\.zip: Permission denied \(FileError\.fileWriteNoPermission\)")

    def testAFileThatMayNotBeRead(self):
        options = self.asUser()
        (self.folder / "new.txt").chmod(0)
        names = sorted(os.listdir(self.folder))
        self.assertRegex(self.fail_("archive", "add", "a.zip", "new.txt", **options),
                         r"\(FileError\.fileReadNoPermission\)")
        self.assertEqual(sorted(os.listdir(self.folder)), names)
        self.assertEqual(list(self.entries()), ["old"])


if __name__ == "__main__":
    unittest.main()
