"""vellomir-cli archive remove, and --memory"""
import os
import subprocess
import unittest
import zipfile

from harness import Case, makeZip


class Remove(Case):
    memory = []

    def setUp(self):
        super().setUp()
        makeZip(self.folder / "a.zip", [("one", b"1" * 1000), ("d/", b""), ("d/two", b"22"),
                                        ("three", b"333")], zipfile.ZIP_DEFLATED)

    def run_(self, command, *arguments):
        return ["archive", command, *self.memory, *arguments]

    def names(self):
        with zipfile.ZipFile(self.folder / "a.zip") as archive:
            self.assertIsNone(archive.testzip())
            return archive.namelist()

    def testEveryNamedEntryGoesAndTheOthersStay(self):
        self.assertEqual(self.succeed(*self.run_("remove", "a.zip", "one", "d/")), "")
        self.assertEqual(self.names(), ["d/two", "three"])
        self.succeed(*self.run_("remove", "a.zip", "three", "d/two"))
        self.assertEqual(self.names(), [])
        self.assertEqual((self.folder / "a.zip").stat().st_size, 22)
        self.assertEqual(os.listdir(self.folder), ["a.zip"])

    def testWhatIsNotThereIsNamedAndNothingGoes(self):
        before = (self.folder / "a.zip").read_bytes()
        self.assertEqual(self.fail_(*self.run_("remove", "a.zip", "one", "d")),
                         "cannot remove from a.zip: there is no entry d; vellomir-cli archive list "
                         "shows all paths")
        self.assertEqual((self.folder / "a.zip").read_bytes(), before)
        self.assertEqual(os.listdir(self.folder), ["a.zip"])

    def testNothingGoesWhereEntriesWouldBeLost(self):
        content = bytearray((self.folder / "a.zip").read_bytes())
        content[content.rindex(b"PK\1\2") + 8] |= 1
        (self.folder / "a.zip").write_bytes(content)
        self.assertIn("The archive holds entries that cannot be read, which would be lost",
                      self.fail_(*self.run_("remove", "a.zip", "one")))
        self.assertEqual((self.folder / "a.zip").read_bytes(), content)
        self.assertEqual(os.listdir(self.folder), ["a.zip"])

    def testPermissionsStayAndSoDoesALink(self):
        os.rename(self.folder / "a.zip", self.folder / "real.zip")
        (self.folder / "real.zip").chmod(0o604)
        os.symlink("real.zip", self.folder / "a.zip")
        self.succeed(*self.run_("remove", "a.zip", "one"))
        self.assertTrue((self.folder / "a.zip").is_symlink())
        self.assertEqual((self.folder / "real.zip").stat().st_mode & 0o7777, 0o604)
        self.assertEqual(self.names(), ["d/", "d/two", "three"])

    def testAReadOnlyArchiveIsLeftAlone(self):
        (self.folder / "a.zip").chmod(0o444)
        before = (self.folder / "a.zip").read_bytes()
        user = self.asUser()
        self.assertIn("Permission denied",
                      self.fail_(*self.run_("remove", "a.zip", "one"), **user))
        self.assertEqual((self.folder / "a.zip").read_bytes(), before)

    def testOthersReadWhatIsLeft(self):
        self.succeed(*self.run_("remove", "a.zip", "one"))
        for command in [["unzip", "-tqq"], ["7z", "t", "-bso0"], ["bsdtar", "-tf"]]:
            subprocess.run([*command, "a.zip"], cwd=self.folder, check=True,
                           stdout=subprocess.DEVNULL)

    def testNoArchive(self):
        self.write("b.zip", "no archive")
        self.assertEqual(self.fail_(*self.run_("remove", "b.zip", "x")),
                         "cannot remove from b.zip: This is not a ZIP archive: it has no end record: "
                         f"{self.folder}/b.zip (ArchiveError.unreadableArchive)")


class RemoveInMemory(Remove):
    memory = ["--memory"]


class Memory(Case):
    """The same words and the same bytes as with the file itself."""

    def setUp(self):
        super().setUp()
        makeZip(self.folder / "a.zip", [("one", b"1" * 1000), ("d/", b""),
                                        ("link", b"one", 0o120777)])
        self.write("new.txt", "new " * 1000)

    def testReading(self):
        for command in [["list"], ["list", "--json"], ["test"], ["test", "--json"], ["cat"]]:
            entry = ["one"] if command == ["cat"] else []
            plain = self.succeed("archive", *command, "a.zip", *entry)
            self.assertNotEqual(plain, "")
            self.assertEqual(self.succeed("archive", *command, "--memory", "a.zip", *entry), plain)

    def testAdding(self):
        content = (self.folder / "a.zip").read_bytes()
        self.succeed("archive", "add", "a.zip", "new.txt", "--method", "deflate")
        plain = (self.folder / "a.zip").read_bytes()
        (self.folder / "a.zip").write_bytes(content)
        (self.folder / "a.zip").chmod(0o640)
        self.succeed("archive", "add", "--memory", "a.zip", "new.txt", "--method", "deflate")
        self.assertEqual((self.folder / "a.zip").read_bytes(), plain)
        self.assertEqual((self.folder / "a.zip").stat().st_mode & 0o7777, 0o640)
        self.succeed("archive", "add", "--memory", "fresh.zip", "new.txt")
        with zipfile.ZipFile(self.folder / "fresh.zip") as archive:
            self.assertEqual(archive.read("new.txt"), b"new " * 1000)

    def testDamage(self):
        content = bytearray((self.folder / "a.zip").read_bytes())
        content[35] ^= 0xFF
        (self.folder / "a.zip").write_bytes(content)
        for command in ["test", "cat"]:
            entry = ["one"] if command == "cat" else []
            plain = self.cli("archive", command, "a.zip", *entry)
            memory = self.cli("archive", command, "--memory", "a.zip", *entry)
            self.assertEqual((memory.code, memory.out, memory.err),
                             (plain.code, plain.out, plain.err))
            self.assertEqual(plain.code, 1)


if __name__ == "__main__":
    unittest.main()
