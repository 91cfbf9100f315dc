"""What error messages name: folders and files that the user knows, and what is to be mended"""
import os
import subprocess
import unittest

from harness import Case, makePackage, makeZip, packageEntries


class FullDisks(Case):
    """A file system with little room, and more to write."""

    def setUp(self):
        super().setUp()
        self.disk = self.folder / "disk"
        self.disk.mkdir()
        mount = subprocess.run(["mount", "-t", "tmpfs", "-o", "size=256k,mode=777", "none", self.disk],
                               capture_output=True, check=False)
        if mount.returncode != 0:
            self.skipTest("no file system can be mounted here")
        self.addCleanup(subprocess.run, ["umount", self.disk], check=True)
        self.write("big", os.urandom(400_000))

    def isNamed(self, line):
        """The disk's folder is named, and neither the source nor a hidden file."""
        self.assertRegex(line, r"/disk(/out)?: No space left on device|"
                               r"No space left on device: [^ ]*/disk ")
        self.assertNotIn(".vellomir-", line)
        self.assertNotRegex(line, r"(app\.ipa|/big): No space")

    def package(self, content, method=0):
        makeZip(self.folder / "app.ipa",
                [*packageEntries(), ("Payload/Notes.app/big", content)], method)

    def testDuplicateWhileCopying(self):
        self.package(os.urandom(400_000))
        for place in [self.folder, self.disk]:
            self.isNamed(self.fail_("duplicate", self.folder / "app.ipa", "--number", "2",
                                    "--output", self.disk, "--quiet", cwd=place))
        self.isNamed(self.fail_("duplicate", "../app.ipa", "--number", "2", "--quiet",
                                cwd=self.disk))
        self.assertEqual(os.listdir(self.disk), [])

    def testDuplicateWhileUnpackingAndPacking(self):
        for size, *options in [(400_000,), (400_000, "--on-disk"), (200_000, "--on-disk")]:
            self.package(b"x" * size, 8)
            result = self.cli("duplicate", "app.ipa", "--number", "2", "--output", "disk", *options)
            self.isNamed(self.errorLine(result.err))
            self.assertNotIn(".vellomir-", result.out)
            self.isNamed(result.out.splitlines()[-1 if size == 400_000 else -2] + " ")

    def testCreate(self):
        self.isNamed(self.fail_("archive", "create", "disk/new.zip", "big"))
        self.assertEqual(os.listdir(self.disk), [])

    def testAdd(self):
        makeZip(self.disk / "a.zip", [("a", b"1")])
        for options in [[], ["--memory"]]:
            self.isNamed(self.fail_("archive", "add", "disk/a.zip", "big", *options))
        self.isNamed(self.fail_("archive", "add", "disk/new.zip", "big"))

    def testRemove(self):
        makeZip(self.disk / "a.zip", [("a", os.urandom(100_000)), ("b", b"")])
        (self.disk / "fill").write_bytes(bytes(120_000))
        for options in [[], ["--memory"]]:
            self.isNamed(self.fail_("archive", "remove", "disk/a.zip", "b", *options))

    def testExtract(self):
        makeZip(self.folder / "a.zip", [("big", os.urandom(400_000))])
        self.isNamed(self.fail_("archive", "extract", "a.zip", "disk/out"))


class ReadOnlyFolders(Case):
    def setUp(self):
        super().setUp()
        makePackage(self.folder / "app.ipa")
        (self.folder / "closed.d").mkdir()
        makeZip(self.folder / "closed.d/a.zip", [("a", b"1"), ("b", b"2")])
        self.options = self.asUser()
        if os.geteuid() == 0 and not self.options:
            self.skipTest("the superuser may write everywhere")
        (self.folder / "closed.d").chmod(0o555)

    def testTheFolderIsNamed(self):
        for command in [["duplicate", "app.ipa", "--number", "2", "--output", "closed.d"],
                        ["archive", "create", "closed.d/new.zip", "app.ipa"],
                        ["archive", "add", "closed.d/new.zip", "app.ipa"],
                        ["archive", "add", "closed.d/a.zip", "app.ipa"],
                        ["archive", "add", "closed.d/a.zip", "app.ipa", "--memory"],
                        ["archive", "remove", "closed.d/a.zip", "b", "--memory"],
                        ["archive", "remove", "closed.d/a.zip", "b"]]:
            with self.unchanged():
                line = self.fail_(*command, **self.options)
            self.assertRegex(line, r"The file may not be written: ([^ ]*/)?closed\.d: "
                                   r"Permission denied \(FileError\.fileWriteNoPermission\)")

    def testTheCurrentFolderIsNamedByItsPath(self):
        for command in [["duplicate", "../app.ipa", "--number", "2"],
                        ["archive", "create", "new.zip", "../app.ipa"]]:
            line = self.fail_(*command, cwd=self.folder / "closed.d", **self.options)
            self.assertIn(f"{self.folder}/closed.d: Permission denied", line)


class NoFolders(Case):
    """Where a folder is needed, and something else is there."""

    def setUp(self):
        super().setUp()
        makeZip(self.folder / "a.zip", [("one", b"1")])
        self.write("file", "content")
        os.mkfifo(self.folder / "pipe")
        os.symlink("missing", self.folder / "dangling")
        os.symlink("file", self.folder / "link")

    def testDestinationsOfExtraction(self):
        for name in ["file", "pipe", "link", "dangling", "/dev/null"]:
            with self.subTest(name), self.unchanged():
                self.assertRegex(self.fail_("archive", "extract", "a.zip", name),
                                 r"\Acannot extract a\.zip: The destination is no folder: .*"
                                 rf"{name} \(FileError\.fileWriteFileExists\); nothing is "
                                 r"overwritten, so choose a new folder\Z")

    def testAFileOnTheWayToTheDestination(self):
        with self.unchanged():
            self.assertRegex(self.fail_("archive", "extract", "a.zip", "file/sub"),
                             r"file/sub: Not a directory ")

    def testFoldersOfNewArchives(self):
        for command in ["create", "add"]:
            with self.unchanged():
                self.assertRegex(self.fail_("archive", command, "missing/new.zip", "file"),
                                 r"There is no such folder: .*/missing ")
                self.assertRegex(self.fail_("archive", command, "file/new.zip", "file"),
                                 r"This is no folder: .*/file ")


class PackageNames(Case):
    def testANameWithoutAnExtension(self):
        makePackage(self.folder / "app")
        with self.unchanged():
            self.assertEqual(self.fail_("duplicate", "app", "--number", "2", "--quiet"),
                             "cannot duplicate app: the name of a package needs an extension, as in "
                             "app.ipa")


if __name__ == "__main__":
    unittest.main()
