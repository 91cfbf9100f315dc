"""vellomir-cli duplicate, when something is wrong: one line, the right exit code, nothing touched"""
import json
import os
import resource
import subprocess
import unittest

from harness import (Case, corrupt, infoPlist, lines, makePackage, makePicture, makeZip,
                     packageEntries, successLog)

UNZIP = "Error unzipping IPA file: "


class Failure(Case):
    def setUp(self):
        super().setUp()
        makePackage(self.folder / "app.ipa")
        (self.folder / "out").mkdir()

    def duplicate(self, *arguments, **options):
        return self.cli("duplicate", "app.ipa", "--number", "2", "--output", "out", *arguments,
                        **options)

    def fails(self, why, log, *arguments, **options):
        """The job fails; nothing in the folder changes, and both ways of asking say the same."""
        with self.unchanged():
            result = self.duplicate(*arguments, **options)
            asJson = self.duplicate("--json", *arguments, **options)
        self.assertEqual((result.code, asJson.code), (1, 1))
        line = self.errorLine(result.err)
        self.assertRegex(line, r"\Acannot duplicate app\.ipa: " + why + r"\Z")
        self.assertNotIn(".vellomir-", line)
        self.assertEqual(asJson.err, result.err)
        found = result.out.splitlines()
        self.assertEqual(len(found), len(log), found)
        for have, want in zip(found, log, strict=True):
            self.assertTrue(have == want or want.endswith(": ") and have.startswith(want), have)
        values = json.loads(asJson.out)
        self.assertIsNone(values["result"])
        self.assertEqual(len(values["log"]), len(log))
        return values["errorMessage"]

    def refused(self, why, *arguments, **options):
        """The command fails before the job starts."""
        with self.unchanged():
            for extra in [[], ["--json"]]:
                line = self.fail_("duplicate", "app.ipa", "--number", "2", *arguments, *extra,
                                  **options)
                self.assertRegex(line, r"\Acannot duplicate app\.ipa: " + why + r"\Z")


class Packages(Failure):
    def testAMissingFile(self):
        os.unlink(self.folder / "app.ipa")
        message = self.fails(UNZIP + r"There is no such file: .*app\.ipa.*"
                             r"\(FileError\.fileReadNoSuchFile\)", ["Unzipping IPA...", UNZIP])
        self.assertEqual(message, "")

    def testAFolder(self):
        os.unlink(self.folder / "app.ipa")
        self.write("app.ipa/file")
        self.fails(UNZIP + r".*\(FileError\.fileReadUnknown\)", ["Unzipping IPA...", UNZIP])

    def testAPipe(self):
        os.unlink(self.folder / "app.ipa")
        os.mkfifo(self.folder / "app.ipa")
        self.fails(UNZIP + r".*\(FileError\.fileReadUnknown\)", ["Unzipping IPA...", UNZIP])

    def testNoArchive(self):
        self.write("app.ipa", "hello")
        self.fails(UNZIP + r".*not a ZIP archive.*: app\.ipa \(ArchiveError\.unreadableArchive\)",
                   ["Unzipping IPA...", UNZIP])

    def testAnEmptyFile(self):
        self.write("app.ipa")
        self.fails(UNZIP + r".*\(ArchiveError\.unreadableArchive\)", ["Unzipping IPA...", UNZIP])

    def testCutShort(self):
        content = (self.folder / "app.ipa").read_bytes()
        self.write("app.ipa", content[:len(content) // 2])
        self.fails(UNZIP + r".*cut short.*\(ArchiveError\.unreadableArchive\)",
                   ["Unzipping IPA...", UNZIP])

    def testAWrongChecksum(self):
        makePackage(self.folder / "app.ipa", method=0)
        corrupt(self.folder / "app.ipa", b"old icon", b"odd icon")
        self.fails(UNZIP + r".*checksum.*\(entry Payload/Notes\.app/icon\.png\).*"
                   r"\(ArchiveError\.invalidCRC32\)", ["Unzipping IPA...", UNZIP])

    def testDamagedCompressedData(self):
        content = bytearray((self.folder / "app.ipa").read_bytes())
        start = content.index(b"Payload/Notes.app/Notes") + len("Payload/Notes.app/Notes")
        content[start] = 0xFF
        self.write("app.ipa", bytes(content))
        self.fails(UNZIP + r".*\(entry Payload/Notes\.app/Notes\).*\(CompressionError\.corruptedData\)",
                   ["Unzipping IPA...", UNZIP])

    def testAPathThatLeaves(self):
        makeZip(self.folder / "app.ipa", [*packageEntries(), ("../../../../evil", b"1")])
        self.fails(UNZIP + r".*\(entry \.\./\.\./\.\./\.\./evil\).*"
                   r"\(FileError\.fileReadInvalidFileName\)", ["Unzipping IPA...", UNZIP])

    def testNoBundle(self):
        makeZip(self.folder / "app.ipa", [("Payload/readme", b"")])
        message = self.fails("Info.plist not found in the unzipped folder",
                             ["Unzipping IPA...", "Unzipped IPA file successfully",
                              "No image selected", "Info.plist not found in the unzipped folder",
                              "Error while processing the IPA file"])
        self.assertEqual(message, "Error while processing the IPA file")

    def testGarbageForAPropertyList(self):
        makePackage(self.folder / "app.ipa", plist=b"garbage \xff\x00")
        self.fails(r".*Info\.plist.*\(PropertyListError\.unreadablePropertyList\)",
                   ["Unzipping IPA...", "Unzipped IPA file successfully", "No image selected",
                    "Updating Info.plist", "Error while processing the IPA file"])

    def testANameThatIsNoName(self):
        makePackage(self.folder / "app.ipa", infoPlist(CFBundleDisplayName="../../evil"))
        self.fails(r"Error while zipping updated app: .*",
                   [*successLog("2", oldName="../../evil")[:-3], "Error while zipping updated app: ",
                    "Error while processing the IPA file"])

    def testAnEncryptedEntryIsWarnedOf(self):
        for name in ["Payload/Notes.app/Info.plist", "Payload/Notes.app/Notes"]:
            self.write(name, infoPlist())
        os.unlink(self.folder / "app.ipa")
        subprocess.run(["zip", "-q", "-P", "secret", "app.ipa", "Payload/Notes.app/Info.plist",
                        "Payload/Notes.app/Notes"], cwd=self.folder, check=True)
        with self.unchanged():
            result = self.duplicate()
        self.assertEqual((result.code, result.out), (1, lines(
            "Unzipping IPA...", "Unzipped IPA file successfully", "No image selected",
            "Info.plist not found in the unzipped folder", "Error while processing the IPA file")))
        self.assertEqual(result.err, lines(
            "vellomir-cli: warning: app.ipa: the directory promises 2 entries, 0 could be reached: "
            "entry 1 is encrypted",
            "vellomir-cli: cannot duplicate app.ipa: Info.plist not found in the unzipped folder"))
        self.assertEqual(len(self.duplicate("--quiet").err.splitlines()), 1)

    def testNoPermissionToRead(self):
        options = self.asUser()
        (self.folder / "app.ipa").chmod(0)
        self.addCleanup((self.folder / "app.ipa").chmod, 0o600)
        result = self.duplicate(**options)
        if os.geteuid() != 0 or options:
            self.assertEqual(result.code, 1)
            self.assertRegex(self.errorLine(result.err), r"app\.ipa.*Permission denied "
                                                         r"\(FileError\.fileReadNoPermission\)")
            self.assertEqual(os.listdir(self.folder / "out"), [])


class Places(Failure):
    def testAResultThatExistsIsRefusedBeforeTheJob(self):
        self.write("out/my.ipa", "old")
        self.refused(r"The file exists already, and only --force replaces it: out/my\.ipa "
                     r"\(FileError\.fileWriteFileExists\)", "--output", "out/my.ipa")

    def testThePackageItselfIsNotReplaced(self):
        self.refused(r".*--force.*", "--output", "app.ipa")

    def testAResultThatExistsIsRefusedAfterTheJobIfItsNameWasUnknown(self):
        self.write("out/Notes2.ipa", "old")
        message = self.fails(r"The file exists already, and only --force replaces it: "
                             r".*/out/Notes2\.ipa \(FileError\.fileWriteFileExists\)",
                             successLog("2"))
        self.assertIn("exists already", message)

    def testAFolderInThePlaceOfTheResult(self):
        (self.folder / "out/Notes2.ipa").mkdir()
        self.fails(r".*/out/Notes2\.ipa.*Is a directory.*", successLog("2"), "--force")

    def testAMissingFolder(self):
        for path in ["missing/my.ipa", "missing/", "app.ipa/my.ipa"]:
            self.refused(r"There is no such folder: .*\(FileError\.fileReadNoSuchFile\)",
                         "--output", path)

    def testNoPermissionToWrite(self):
        options = self.asUser()
        (self.folder / "out").chmod(0o555)
        if not options and os.geteuid() == 0:
            self.skipTest("the superuser may write everywhere")
        self.refused(r"The file may not be written: out: Permission denied "
                     r"\(FileError\.fileWriteNoPermission\)", "--output", "out", **options)


class Pictures(Failure):
    def testAMissingPicture(self):
        self.refused(r".*/missing\.png.*\(FileError\.fileReadNoSuchFile\)", "--icon", "missing.png")

    def testWhatIsNoPicture(self):
        self.write("text.png", "hello")
        self.refused(r".*text\.png.*\(PictureError\.unreadablePicture\)", "--icon", "text.png")

    def testADamagedPicture(self):
        makePicture(self.folder / "icon.png", 200, 200)
        content = (self.folder / "icon.png").read_bytes()
        self.write("icon.png", content[:60])
        self.refused(r".*icon\.png.*\(PictureError\.unreadablePicture\)", "--icon", "icon.png")

    def testAFolderForAPicture(self):
        self.refused(r".*/out.*", "--icon", "out")


class FullDisks(Failure):
    """The package holds a megabyte, and there is less room."""

    def setUp(self):
        super().setUp()
        makeZip(self.folder / "app.ipa",
                [*packageEntries(), ("Payload/Notes.app/big", b"x" * (1 << 20))], 8)

    def testAtALimitOfTheProcess(self):
        def limit():
            resource.setrlimit(resource.RLIMIT_FSIZE, (200_000, 200_000))

        self.fails(UNZIP + r".*\(entry Payload/Notes\.app/big\).*File too large.*",
                   ["Unzipping IPA...", UNZIP], preexec_fn=limit)

    def testAtALimitWhilePacking(self):
        def limit():
            resource.setrlimit(resource.RLIMIT_FSIZE, ((1 << 20) + 100, (1 << 20) + 100))

        self.fails(r"Error while zipping updated app: .*\(entry Payload/Notes\.app/big\).*"
                   r"File too large.*|Error while zipping updated app: .*File too large.*",
                   [*successLog("2")[:-3], "Error while zipping updated app: ",
                    "Error while processing the IPA file"], preexec_fn=limit)

    def testOfTheDiskItself(self):
        disk = self.folder / "out"
        mount = subprocess.run(["mount", "-t", "tmpfs", "-o", "size=512k,mode=777", "none", disk],
                               capture_output=True, check=False)
        if mount.returncode != 0:
            self.skipTest("no file system can be mounted here")
        self.addCleanup(subprocess.run, ["umount", disk], check=True)
        room = "There is not enough room: [0-9]+ bytes are needed, [0-9]+ are free: app/unzipped.*"
        self.fails(UNZIP + room, ["Unzipping IPA...", UNZIP])
        self.assertEqual(os.listdir(disk), [])


if __name__ == "__main__":
    unittest.main()
