"""vellomir-cli duplicate, when something is wrong: one line, the right exit code, nothing touched"""
import json
import os
import resource
import stat
import subprocess
import unittest

from harness import (UNCOUNTED, Case, corrupt, infoPlist, lines, makePackage, makePicture,
                     makeZip, packageEntries, successLog)

TEST_ARCHIVE = "; vellomir-cli archive test names all damaged entries"
LIST_ARCHIVE = "; vellomir-cli archive list shows what is in it"
UNZIP = "Error unzipping IPA file: "
HINT = "; --allow-incomplete copies what can be reached"


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
                   r"\(ArchiveError\.invalidCRC32\)" + TEST_ARCHIVE, ["Unzipping IPA...", UNZIP])

    def testDamagedCompressedData(self):
        content = bytearray((self.folder / "app.ipa").read_bytes())
        start = content.index(b"Payload/Notes.app/Notes") + len("Payload/Notes.app/Notes")
        content[start] = 0xFF
        self.write("app.ipa", bytes(content))
        self.fails(UNZIP + r".*\(entry Payload/Notes\.app/Notes\).*\(CompressionError\.corruptedData\)" +
                   TEST_ARCHIVE,
                   ["Unzipping IPA...", UNZIP])

    def testAPathThatLeaves(self):
        makeZip(self.folder / "app.ipa", [*packageEntries(), ("../../../../evil", b"1")])
        self.fails(UNZIP + r".*\(entry \.\./\.\./\.\./\.\./evil\).*"
                   r"\(FileError\.fileReadInvalidFileName\)", ["Unzipping IPA...", UNZIP])

    def testNoBundle(self):
        makeZip(self.folder / "app.ipa", [("Payload/readme", b"")])
        message = self.fails("Info.plist not found in the unzipped folder" + LIST_ARCHIVE,
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

    def testAnEncryptedEntry(self):
        for name in ["Payload/Notes.app/Info.plist", "Payload/Notes.app/Notes"]:
            self.write(name, infoPlist())
        os.unlink(self.folder / "app.ipa")
        subprocess.run(["zip", "-q", "-P", "secret", "app.ipa", "Payload/Notes.app/Info.plist",
                        "Payload/Notes.app/Notes"], cwd=self.folder, check=True)
        why = "the directory promises 2 entries, 0 could be reached: entry 1 is encrypted"
        self.assertEqual(self.fails(why + HINT, []), why + HINT)
        self.assertEqual(len(self.duplicate("--quiet").err.splitlines()), 1)
        with self.unchanged():
            result = self.duplicate("--allow-incomplete")
        self.assertEqual(result.code, 1)
        self.assertEqual(result.err, lines(
            f"vellomir-cli: warning: app.ipa: {why}; the copy is incomplete",
            "vellomir-cli: cannot duplicate app.ipa: Info.plist not found in the unzipped folder"
            + LIST_ARCHIVE))

    def testADamagedRecord(self):
        self.incomplete(self.damaged(b"PK\1\2", 6, b"PK\1\3"),
                        "the directory promises 7 entries, 5 could be reached: the directory's "
                        "record 6 is damaged")

    def testADamagedLocalHeader(self):
        self.incomplete(self.damaged(b"PK\3\4", 7, b"PK\3\5"),
                        "the directory promises 7 entries, 6 could be reached: there is no local "
                        "header where the directory's record 7 says")

    def testEntriesThatTheEndRecordDoesNotCount(self):
        content = bytearray((self.folder / "app.ipa").read_bytes())
        content[-22 + 8] = content[-22 + 10] = 4
        self.incomplete(bytes(content), "the directory holds 7 entries, 4 could be reached: the "
                                        "end record counts no more")

    def damaged(self, signature, number, replacement):
        """The package with another signature in front of the record of this number."""
        parts = (self.folder / "app.ipa").read_bytes().split(signature)
        return signature.join(parts[:number]) + replacement + signature.join(parts[number:])

    def incomplete(self, content, why):
        """A failure, unless it is allowed: then the copy has what could be reached."""
        self.write("app.ipa", content)
        self.assertEqual(self.fails(why + HINT, []), why + HINT)
        warning = why + "; the copy is incomplete"
        with self.unchanged():
            line = self.errorLine(self.duplicate("--allow-incomplete", "--strict").err)
        self.assertEqual(line, "cannot duplicate app.ipa: --strict allows no warning: " + warning)
        result = self.duplicate("--allow-incomplete", "--json")
        self.assertEqual((result.code, result.err),
                         (0, f"vellomir-cli: warning: app.ipa: {warning}\n"))
        self.assertEqual(json.loads(result.out)["warnings"], [warning])
        self.assertEqual(os.listdir(self.folder / "out"), ["Notes2.ipa"])

    def testNoPermissionToRead(self):
        options = self.asUser()
        (self.folder / "app.ipa").chmod(0)
        self.addCleanup((self.folder / "app.ipa").chmod, 0o600)
        result = self.duplicate(**options)
        if os.geteuid() != 0 or options:
            self.assertEqual(result.code, 1)
            self.assertRegex(self.errorLine(result.err), r"The file may not be read: app\.ipa "
                                                         r"\(FileError\.fileReadNoPermission\)")
            self.assertEqual(os.listdir(self.folder / "out"), [])


class Places(Failure):
    def testAResultThatExistsIsRefusedBeforeTheJob(self):
        self.write("out/my.ipa", "old")
        self.refused(r"The file exists already; --force replaces it, or choose another name: out/my\.ipa "
                     r"\(FileError\.fileWriteFileExists\)", "--output", "out/my.ipa")

    def testThePackageItselfIsNotReplaced(self):
        self.refused(r".*--force.*", "--output", "app.ipa")

    def testAResultThatExistsIsRefusedAfterTheJobIfItsNameWasUnknown(self):
        self.write("out/Notes2.ipa", "old")
        message = self.fails(r"The file exists already; --force replaces it, or choose another name: "
                             r".*/out/Notes2\.ipa \(FileError\.fileWriteFileExists\)",
                             successLog("2"))
        self.assertIn("exists already", message)

    def testWhatIsNoRegularFileIsNotReplaced(self):
        """Its name is known only after the job, or before."""
        def pipe(path):
            os.mkfifo(path)

        def link(path):
            os.symlink("/dev/null", path)

        def dangling(path):
            os.symlink("nowhere", path)

        why = (r"Something that is no regular file is in the way; --force does not replace it: "
               r".*out/Notes2\.ipa \(FileError\.fileWriteFileExists\)")
        target = self.folder / "out/Notes2.ipa"
        for make, remove in [(os.mkdir, os.rmdir), (pipe, os.unlink), (link, os.unlink),
                             (dangling, os.unlink)]:
            make(target)
            self.fails(why, successLog("2"), "--force")
            if make is not os.mkdir: # a folder takes the result
                self.refused(why, "--force", "--output", "out/Notes2.ipa")
            remove(target)

    def testALinkToARegularFileIsReplaced(self):
        self.write("old", "old")
        os.symlink("../old", self.folder / "out/Notes2.ipa")
        result = self.duplicate("--force")
        self.assertEqual((result.code, result.err), (0, ""))
        self.assertTrue(stat.S_ISREG((self.folder / "out/Notes2.ipa").lstat().st_mode))
        self.assertEqual((self.folder / "old").read_text(), "old")

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
                   ["Unzipping IPA...", UNZIP], preexec_fn=limit, env=UNCOUNTED)

    def testAtALimitWhilePacking(self):
        def limit():
            resource.setrlimit(resource.RLIMIT_FSIZE, ((1 << 20) + 100, (1 << 20) + 100))

        self.fails(r"Error while zipping updated app: .*\(entry Payload/Notes\.app/big\).*"
                   r"File too large.*|Error while zipping updated app: .*File too large.*",
                   [*successLog("2")[:-3], "Error while zipping updated app: ",
                    "Error while processing the IPA file"], preexec_fn=limit, env=UNCOUNTED)

    def testOfTheDiskItself(self):
        disk = self.folder / "out"
        mount = subprocess.run(["mount", "-t", "tmpfs", "-o", "size=512k,mode=777", "none", disk],
                               capture_output=True, check=False)
        if mount.returncode != 0:
            self.skipTest("no file system can be mounted here")
        self.addCleanup(subprocess.run, ["umount", disk], check=True)
        self.fails(UNZIP + r".*/out: No space left on device.*", ["Unzipping IPA...", UNZIP])
        self.assertEqual(os.listdir(disk), [])


if __name__ == "__main__":
    unittest.main()
