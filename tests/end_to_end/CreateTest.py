"""vellomir-cli archive create"""
import os
import subprocess
import unittest
import zipfile

from harness import Case, snapshot


class Create(Case):
    def setUp(self):
        super().setUp()
        self.write("src/a.txt", "hello " * 1000)
        self.write("src/d/run", "#!/bin/sh\n", 0o755)
        self.write("src/ü", "")
        (self.folder / "src/empty").mkdir()
        os.symlink("a.txt", self.folder / "src/link")

    def names(self, archive="new.zip"):
        with zipfile.ZipFile(self.folder / archive) as found:
            self.assertIsNone(found.testzip())
            return sorted(found.namelist())

    def testAFolder(self):
        self.assertEqual(self.succeed("archive", "create", "new.zip", "src"), "")
        self.assertEqual(self.names(), ["a.txt", "d/", "d/run", "empty/", "link", "ü"])
        with zipfile.ZipFile(self.folder / "new.zip") as found:
            self.assertEqual({info.compress_type for info in found.infolist()}, {0})

    def testEveryoneUnpacksIt(self):
        for method in ["none", "deflate"]:
            self.succeed("archive", "create", f"{method}.zip", "src", "--method", method)
            for referee in [["unzip", "-tqq"], ["7z", "t"], ["bsdtar", "-tf"]]:
                subprocess.run([*referee, f"{method}.zip"], cwd=self.folder, check=True,
                               stdout=subprocess.DEVNULL)
            subprocess.run(["unzip", "-q", f"{method}.zip", "-d", method], cwd=self.folder,
                           check=True)
            self.assertEqual(snapshot(self.folder / method), snapshot(self.folder / "src"))

    def testKeepParent(self):
        self.succeed("archive", "create", "new.zip", "src/", "--keep-parent")
        self.assertEqual(self.names()[0], "src/a.txt")

    def testKeepParentStoresTheRealNameOfDots(self):
        for source, cwd in [(".", "src"), ("..", "src/d"), ("./", "src"), ("d/..", "src")]:
            self.succeed("archive", "create", self.folder / "new.zip", source, "--keep-parent",
                         cwd=self.folder / cwd)
            self.assertEqual(self.names(), ["src/a.txt", "src/d/", "src/d/run", "src/empty/",
                                            "src/link", "src/ü"], source)
            os.remove(self.folder / "new.zip")

    def testDeflate(self):
        self.succeed("archive", "create", "new.zip", "src", "--method", "deflate")
        with zipfile.ZipFile(self.folder / "new.zip") as found:
            self.assertEqual(found.getinfo("a.txt").compress_type, zipfile.ZIP_DEFLATED)
            self.assertEqual(found.getinfo("link").compress_type, zipfile.ZIP_STORED)

    def testASingleFile(self):
        self.succeed("archive", "create", "new.zip", "src/d/run")
        self.assertEqual(self.names(), ["run"])

    def testAnEmptyFolder(self):
        self.succeed("archive", "create", "new.zip", "src/empty")
        self.assertEqual(self.names(), [])

    def testInsideItsSource(self):
        self.succeed("archive", "create", "self.zip", ".", cwd=self.folder / "src")
        self.assertEqual(self.names("src/self.zip"), ["a.txt", "d/", "d/run", "empty/", "link", "ü"])

    def testTheModeIsThatOfAnyNewFile(self):
        old = os.umask(0o027)
        self.succeed("archive", "create", "new.zip", "src")
        os.umask(old)
        self.assertEqual((self.folder / "new.zip").stat().st_mode & 0o7777, 0o640)

    def testAnExistingFileIsRefused(self):
        self.write("new.zip", "old")
        os.symlink("nowhere", self.folder / "dangling.zip")
        with self.unchanged():
            for name in ["new.zip", "dangling.zip"]:
                self.assertRegex(self.fail_("archive", "create", name, "src"),
                                 rf"\Acannot create {name}: .*exists.*{name}.*"
                                 r"\(FileError\.fileWriteFileExists\); choose another name, or add "
                                 r"to it with vellomir-cli archive add\Z")

    def testAMissingSource(self):
        with self.unchanged():
            self.assertRegex(self.fail_("archive", "create", "new.zip", "missing"),
                             r"/missing \(FileError\.fileReadNoSuchFile\)")

    def testAMissingFolder(self):
        with self.unchanged():
            self.assertRegex(self.fail_("archive", "create", "missing/new.zip", "src"),
                             r"There is no such folder: .*/missing \(FileError\.fileReadNoSuchFile\)")

    def testAFileThatMayNotBeRead(self):
        options = self.asUser()
        (self.folder / "src/a.txt").chmod(0)
        before = sorted(os.listdir(self.folder))
        line = self.fail_("archive", "create", "new.zip", "src", **options)
        self.assertRegex(line, r"src/a\.txt.*\(FileError\.fileReadNoPermission\)")
        self.assertEqual(sorted(os.listdir(self.folder)), before)

    def testAFolderThatMayNotBeWritten(self):
        (self.folder / "closed").mkdir()
        options = self.asUser()
        (self.folder / "closed").chmod(0o500)
        line = self.fail_("archive", "create", "closed/new.zip", "src", **options)
        self.assertRegex(line, r"/closed: Permission denied")
        self.assertNotIn(".vellomir-", line)


if __name__ == "__main__":
    unittest.main()
